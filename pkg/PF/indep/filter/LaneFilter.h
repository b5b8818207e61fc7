// What is done to eight lines in lanes: one of the ways to blur, chosen for a radius.
#pragma once

#include <cstdint>
#include <optional>

#include "filter/Bell.h"
#include "filter/BellSeries.h"
#include "filter/LaneKernels.h"

namespace pf {

// How fine results must be.
struct LaneDemands {
  int bits;       // of weights that are summed one by one
  int terms;      // of a series
  bool residues;  // no rounding hides what running sums have left of samples that went by
};

// For values of type T, alike or colour weighted by alpha.
template <class T>
constexpr LaneDemands DemandsOf(bool weighs) {
  if constexpr (sizeof(T) == 1) {
    return {kBellBits8, weighs ? 5 : 4, weighs};
  } else if constexpr (sizeof(T) == 2) {
    return {kBellBits16, weighs ? 6 : 5, weighs};
  } else {
    return {0, weighs ? 8 : 6, true};
  }
}

class LaneFilter {
 public:
  // A bell of a radius above 0. Throws 4 when memory is short.
  LaneFilter(const LaneKernels& kernels, double radius, const LaneDemands& demands);
  // A box of 2 span + 1 samples.
  LaneFilter(const LaneKernels& kernels, std::int64_t span);

  std::int64_t reach() const { return reach_; }
  // Whether results depend on nothing but what is in their reach, which is short.
  bool local() const { return !series_ && reach_ <= kDirectReach; }
  // Samples of a line that go through at once, `most` or less: results depend on where the blocks of a box begin.
  std::int64_t piece(std::int64_t most) const { return is_box_ ? most - most % (2 * reach_ + 1) : most; }
  // Samples that are read before the first and behind the last of a line.
  std::int64_t margin() const { return reach_ + 1; }
  // Doubles of scratch that a call of Run needs.
  std::int64_t scratch() const { return is_box_ ? kLanes * (2 * reach_ + 1) : 0; }

  // Samples stand in `in` from -margin() to n - 1 + margin(); n results are written.
  void Run(const double* in, double* out, std::int64_t n, double* scratch) const;

 private:
  // By the series as far as that is fine enough.
  void RunInPieces(const LaneRun& run) const;

  const LaneKernels& kernels_;
  std::int64_t reach_;
  bool is_box_, residues_;
  std::uint32_t widest_range_;  // of samples under one run of sums, in high words
  double scale_ = 1;
  std::optional<BellWeights> weights_;
  std::optional<BellSeries> series_;
};

}  // namespace pf
