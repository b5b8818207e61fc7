// One table of operations. The tests of allocation faults, cancel points, vector targets, threads and
// misbehaving hosts all walk it, so an operation that is entered here is tested by all of them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "PF/PF.h"
#include "support/Worlds.h"

namespace pftest {

// A running hash over everything that an operation gives back: codes and pixels, padding left out.
class Hash {
 public:
  void Add(const void* bytes, std::size_t size);
  void Add(const TestWorld& world) {
    const auto pixels = world.Pixels();
    Add(pixels.data(), pixels.size());
  }
  template <class T>
  void AddValue(const T& value) {
    Add(&value, sizeof value);
  }
  std::uint64_t value() const { return state_; }

 private:
  std::uint64_t state_ = 0xCBF29CE484222325u;
};

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

// Runs `body`, which may throw, as the exported edge would. Test code's own twin of the edge, for members.
PF_Err CodeOf(const std::function<void()>& body);

}  // namespace pftest
