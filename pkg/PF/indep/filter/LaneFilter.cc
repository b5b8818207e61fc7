#include "filter/LaneFilter.h"

#include <algorithm>

namespace pf {
namespace {

// Running sums keep rounding errors of about 10^-12 of the largest sample that went by. Where the largest sample in
// reach may be smaller than that one by more than 2^17, they are not used.
constexpr std::uint32_t kWidestRange = 17u << 20;  // of high words
constexpr std::uint32_t kNotFinite = 0x7FF00000u;

// What the samples of eight lines are like.
struct LineTraits {
  bool even = true;        // finite, and of one size
  bool gaps[kLanes] = {};  // lines that may have nothing but 0 in reach of a result
};

// In blocks so short that whatever reaches a result covers one of them.
LineTraits TraitsOf(const LaneKernels& kernels, const double* lanes, std::int64_t n, std::int64_t reach) {
  LineTraits traits;
  std::uint32_t largest[kLanes] = {}, least[kLanes];
  std::fill_n(least, kLanes, kNotFinite);
  for (std::int64_t i = 0; i < n; i += reach + 1) {
    std::uint32_t peaks[kLanes];
    kernels.peaks(lanes + kLanes * i, std::min(reach + 1, n - i), peaks);
    for (std::int64_t l = 0; l < kLanes; ++l) {
      largest[l] = std::max(largest[l], peaks[l]);
      if (peaks[l] == 0) traits.gaps[l] = true;
      if (peaks[l] != 0) least[l] = std::min(least[l], peaks[l]);
    }
  }
  for (std::int64_t l = 0; l < kLanes; ++l) {
    if (largest[l] >= kNotFinite || (largest[l] > least[l] && largest[l] - least[l] > kWidestRange))
      traits.even = false;
  }
  return traits;
}

// Results of a line that have nothing but 0 in reach, to 0. What lies beyond the line is 0 where its end is.
void ClearGaps(const double* in, double* out, std::int64_t n, std::int64_t reach) {
  for (std::int64_t x = 0; x < n;) {
    if (in[kLanes * x] != 0) {
      ++x;
      continue;
    }
    const std::int64_t begin = x;
    while (x < n && in[kLanes * x] == 0) ++x;
    const std::int64_t first = begin == 0 ? 0 : begin + reach, last = x == n ? n - 1 : x - 1 - reach;
    for (std::int64_t i = first; i <= last; ++i) out[kLanes * i] = 0;
  }
}

}  // namespace

LaneFilter::LaneFilter(const LaneKernels& kernels, double radius, const LaneDemands& demands)
    : kernels_(kernels),
      reach_(static_cast<std::int64_t>(std::ceil(radius))),
      is_box_(false),
      residues_(demands.residues) {
  const bool direct = reach_ <= kDirectReach;
  if (direct || residues_) weights_.emplace(radius, demands.bits);
  if (!direct) series_.emplace(radius, demands.terms);
}

LaneFilter::LaneFilter(const LaneKernels& kernels, std::int64_t span)
    : kernels_(kernels), reach_(span), is_box_(true), residues_(false), scale_(1 / static_cast<double>(2 * span + 1)) {}

void LaneFilter::Run(const double* in, double* out, std::int64_t n, double* scratch) const {
  const LaneRun run = {in, out, n, reach_};
  if (is_box_) return kernels_.box(run, scale_, scratch);
  if (!series_) return kernels_.convolve(run, weights_->values());
  if (!residues_) return kernels_.series(run, series_->terms());
  const LineTraits traits = TraitsOf(kernels_, in, n, reach_);
  if (!traits.even) return kernels_.convolve(run, weights_->values());
  kernels_.series(run, series_->terms());
  for (std::int64_t l = 0; l < kLanes; ++l) {
    if (traits.gaps[l]) ClearGaps(in + l, out + l, n, reach_);
  }
}

}  // namespace pf
