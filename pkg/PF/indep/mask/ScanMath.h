// One result of a blur along one direction.
#pragma once

#include <algorithm>
#include <cstdint>

#include "PF/PF_Types.h"
#include "mask/MaskScanKernels.h"

namespace pf {

inline constexpr int kGaussBits8 = 24;
inline constexpr int kGaussBits16 = 37;

// Sum of f(i, value before + value behind) over the taps i of result x, with a side that ends counting as 0.
template <class T, class F>
inline void ForTaps(const GaussRun<T>& run, std::int64_t x, const F& f) {
  const T* at = run.centre + x;
  f(0, std::uint32_t{at[0]});
  for (std::int64_t i = 1, last = std::max(run.before, run.behind); i <= last; ++i) {
    const std::uint32_t before = i <= run.before ? at[-i * run.step] : T{0};
    const std::uint32_t behind = i <= run.behind ? at[i * run.step] : T{0};
    f(i, before + behind);
  }
}

// The centre's weight may be below 0 for the widest bells, by less than 2^15: with the half for rounding the
// sum never is, nor does it leave 32 bits.
inline std::uint8_t GaussMean(const GaussRun<std::uint8_t>& run, const SplitWeights& weights, std::int64_t x) {
  std::uint32_t sum = 1u << (kGaussBits8 - 1);
  ForTaps(run, x, [&](std::int64_t i, std::uint32_t v) {
    sum += static_cast<std::uint32_t>(weights.high[i] * 4096 + weights.low[i]) * v;
  });
  return static_cast<std::uint8_t>(sum >> kGaussBits8);
}

// Values above full are legal bits; their mean is limited.
inline std::uint16_t GaussMean(const GaussRun<std::uint16_t>& run, const double* weights, std::int64_t x) {
  double sum = 0x1p36;
  ForTaps(run, x, [&](std::int64_t i, std::uint32_t v) { sum += weights[i] * v; });
  return static_cast<std::uint16_t>(std::min(static_cast<std::int32_t>(sum * 0x1p-37), std::int32_t{PF_MAX_CHAN16}));
}

template <class T>
T BoxMean(std::uint32_t sum, const BoxDivider& divider) {
  const std::uint32_t mean = divider.MeanOf(sum);
  return static_cast<T>(sizeof(T) == 1 ? mean : std::min<std::uint32_t>(mean, PF_MAX_CHAN16));
}

// Sum of the values that lie around the place before the first result.
template <class T>
std::uint32_t SumBeforeRow(const T* line, std::int64_t n, std::int64_t reach) {
  std::uint32_t sum = 0;
  for (std::int64_t x = 0, end = std::min(reach, n); x < end; ++x) sum += line[x];
  return sum;
}

}  // namespace pf
