// One table of operations. The self-test hashes what they give; the tests of allocation faults, cancel points, vector
// targets and misbehaving hosts walk it too, so an operation that is entered here is tested by all of them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "PF/PF.h"
#include "selftest/Hash.h"
#include "selftest/Random.h"

namespace selftest {

// What one run of an operation is given and gives back.
struct Trial {
  explicit Trial(std::uint64_t seed) : random(seed) {}
  Random random;
  const PF_ProgressInfo* progress = nullptr;  // null: the operation is run without polling
  PF_InData* in = nullptr;                    // the same for iterations
  Hash results;
};

struct Operation {
  std::string name;
  std::int32_t depth;  // of its destination; 0 when it has none
  bool polls;          // whether it polls a progress record, for pictures of at least 130 rows
  std::function<PF_Err(Trial&)> run;
};

const std::vector<Operation>& Operations();

// Runs `body`, which may throw, as the exported edge would: a twin of the edge, for members.
PF_Err CodeOf(const std::function<void()>& body);

}  // namespace selftest
