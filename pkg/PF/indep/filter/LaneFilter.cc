#include "filter/LaneFilter.h"

#include <algorithm>
#include <array>
#include <bit>

namespace pf {
namespace {

constexpr std::uint32_t kNotFinite = 0x7FF00000u;  // high words of doubles, without the sign

// Running sums keep rounding errors of up to 0.35 reach^2 2^-53 of the largest sample that went by: a sum that errs by
// e at every step drifts by e / (2 - 2 cos(f)), f being about 1.7 / reach. Where the largest sample in reach is so much
// smaller that this comes near 10^-6 of it, the sums begin anew, or weights are summed one by one.
std::uint32_t WidestRange(std::int64_t reach) {
  const int bits = 32 - 2 * static_cast<int>(std::bit_width(static_cast<std::uint64_t>(reach)));
  return static_cast<std::uint32_t>(std::clamp(bits, 0, 17)) << 20;
}

// The high word of the first sample of a line that is not 0.
std::uint32_t FirstSize(const double* at, std::int64_t step, std::int64_t count) {
  for (std::int64_t i = 0; i < count; ++i, at += step) {
    if (*at != 0) return static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(*at) >> 32) & 0x7FFFFFFFu;
  }
  return kNotFinite;
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

LaneRun PieceOf(const LaneRun& run, std::int64_t begin, std::int64_t end) {
  return {run.in + kLanes * begin, run.out + kLanes * begin, end - begin, run.reach};
}

}  // namespace

LaneFilter::LaneFilter(const LaneKernels& kernels, double radius, const LaneDemands& demands)
    : kernels_(kernels),
      reach_(static_cast<std::int64_t>(std::ceil(radius))),
      is_box_(false),
      residues_(demands.residues),
      widest_range_(demands.bits == 0 ? WidestRange(reach_) : ~0u) {
  const bool direct = reach_ <= kDirectReach;
  if (direct || residues_) weights_.emplace(radius, demands.bits);
  if (!direct) series_.emplace(radius, demands.terms);
}

LaneFilter::LaneFilter(const LaneKernels& kernels, std::int64_t span)
    : kernels_(kernels),
      reach_(span),
      is_box_(true),
      residues_(false),
      widest_range_(0),
      scale_(1 / static_cast<double>(2 * span + 1)) {}

void LaneFilter::Run(const double* in, double* out, std::int64_t n, double* scratch) const {
  const LaneRun run = {in, out, n, reach_};
  if (is_box_) return kernels_.box(run, scale_, scratch);
  if (!series_) return kernels_.convolve(run, weights_->values());
  if (!residues_) return kernels_.series(run, series_->terms());
  RunInPieces(run);
}

// In blocks so short that whatever reaches a result of a block is at least as large as the block's largest sample; or,
// where all of the block is 0, as the first that is not 0 on one of its sides. Sums hold nothing from beyond a result's
// reach but what went by before, in this block or the one before it.
void LaneFilter::RunInPieces(const LaneRun& run) const {
  const double* const in = run.in;
  const std::int64_t n = run.n;
  using Peaks = std::array<std::uint32_t, kLanes>;
  const std::int64_t size = reach_ + 1;
  const auto count_at = [&](std::int64_t begin) { return std::min(size, n + size - begin); };
  const auto peaks_at = [&](std::int64_t begin) {
    Peaks peaks;
    kernels_.peaks(in + kLanes * begin, count_at(begin), peaks.data());
    return peaks;
  };
  const auto piece = [&](std::int64_t begin, std::int64_t end) { return PieceOf(run, begin, end); };
  const auto fits = [&](std::uint32_t largest, std::uint32_t least) {
    return largest < kNotFinite && largest - least <= widest_range_;
  };
  Peaks before = peaks_at(-size);
  Peaks since = {};        // the largest samples that went by since the sums began
  std::int64_t first = 0;  // where they began
  std::array<bool, kLanes> gaps = {};
  for (std::int64_t begin = 0; begin < n; begin += size) {
    const Peaks here = peaks_at(begin);
    bool goes_on = true, starts = true;
    Peaks around;
    for (std::size_t l = 0; l < kLanes; ++l) {
      around[l] = std::max(before[l], here[l]);
      since[l] = std::max(since[l], around[l]);
      std::uint32_t least = here[l];
      if (least == 0) gaps[l] = true;
      if (least == 0 && around[l] != 0) {
        const double* block = in + kLanes * begin + l;
        least = std::min({FirstSize(block - kLanes, -kLanes, size),
                          FirstSize(block + kLanes * size, kLanes, count_at(begin + size)), around[l]});
      }
      goes_on = goes_on && fits(since[l], least);
      starts = starts && fits(around[l], least);
    }
    if (!goes_on) {
      if (first < begin) kernels_.series(piece(first, begin), series_->terms());
      first = begin;
      since = around;
    }
    if (!starts) {
      first = std::min(begin + size, n);
      kernels_.convolve(piece(begin, first), weights_->values());
      since = {};
    }
    before = here;
  }
  if (first < n) kernels_.series(piece(first, n), series_->terms());
  for (std::size_t l = 0; l < kLanes; ++l) {
    if (gaps[l]) ClearGaps(in + l, run.out + l, n, reach_);
  }
}

}  // namespace pf
