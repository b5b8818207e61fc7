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
  // The sizes that pictures have: small and known ones, at which polls are reached; any from 1 x 1 to a few hundred
  // pixels, with sub-rectangles and any bits; or large ones, at which hosts share the work out.
  enum Sizes { kKnown, kAny, kLarge };
  explicit Trial(std::uint64_t seed, Sizes wanted = kKnown) : random(seed), sizes(wanted) {}
  bool known() const { return sizes == kKnown; }

  Random random;
  Sizes sizes;
  const PF_ProgressInfo* progress = nullptr;  // null: the operation is run without polling
  PF_InData* in = nullptr;                    // the same for iterations
  Hash results;
};

struct Operation {
  std::string name;
  std::int32_t depth;  // of its destination; 0 when it has none
  bool polls;          // whether it polls a progress record, for pictures of at least 130 rows
  std::function<PF_Err(Trial&)> run;
  bool refuses = false;  // whether it is about calls that are refused and reported
  int cost = 1;          // how much longer than most it takes; it gets as many fewer seeds
};

const std::vector<Operation>& Operations();

// Runs `body`, which may throw, as the exported edge would: a twin of the edge, for members.
PF_Err CodeOf(const std::function<void()>& body);

}  // namespace selftest
