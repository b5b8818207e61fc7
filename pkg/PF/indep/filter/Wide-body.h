// Blurs of values that are widened to double precision. This file is included inside a namespace that has, for R a
// double or lanes of them, Load<R>(p), Store(v, p), kLanesOf<R>(), LoadValues<R>(p) and StoreValues(v, p) of values,
// Prefetch(p) and PrefetchFar(p) to the nearest cache and to the next one, Settle, and the types RD, and RP of not more
// than four lanes.

#include "filter/Convolve-body.h"

template <class T, bool crosses>
void Widen(const T* in, std::int64_t n, double* out, const T* ahead) {
  constexpr std::int64_t kLine = 64 / static_cast<std::int64_t>(sizeof(T));
  std::int64_t x = 0;
  for (; x + kLine <= n; x += kLine) {
    const auto* const line = reinterpret_cast<const std::byte*>(ahead + x);
    crosses ? PrefetchFar(line) : Prefetch(line);
    for (std::int64_t i = 0; i < kLine; i += kLanesOf<RD>()) Store(LoadValues<RD>(in + x + i), out + x + i);
  }
  for (; x < n; x += kLanesOf<RP>()) Store(LoadValues<RP>(in + x), out + x);
}

// \name Bells
// @{
struct RowTaps {
  const double* const* rows;  // the first result's own
  std::int64_t x;

  const double* operator()(std::int64_t i) const { return rows[i] + x; }
};
struct PixelTaps {
  const double* at;

  const double* operator()(std::int64_t i) const { return at + 4 * i; }
};

template <class R, class T>
void BellAcrossAt(const double* const* rows, const WideWeights& weights, T* const* out, std::int64_t x) {
  const FourSums<R> sums = ConvolvedFour<R>(RowTaps{rows + weights.reach, x}, weights.values, weights.reach);
  StoreValues(sums.sum0, out[0] + x);
  StoreValues(sums.sum1, out[1] + x);
  StoreValues(sums.sum2, out[2] + x);
  StoreValues(sums.sum3, out[3] + x);
}

template <class T>
void BellAcross(const double* const* rows, const WideWeights& weights, T* const* out, std::int64_t n) {
  std::int64_t x = 0;
  for (; x + kLanesOf<RD>() <= n; x += kLanesOf<RD>()) BellAcrossAt<RD>(rows, weights, out, x);
  for (; x < n; x += kLanesOf<RP>()) BellAcrossAt<RP>(rows, weights, out, x);
}

template <class T>
void BellAlong(const double* in, const WideWeights& weights, T* out, std::int64_t n) {
  const std::int64_t reach = weights.reach;
  std::int64_t i = 0;
  for (; i + 4 <= n; i += 4) {
    for (std::int64_t c = 0; c < 4; c += kLanesOf<RP>()) {
      const double* const at = in + 4 * (i + reach) + c;
      const FourSums<RP> sums = ConvolvedFour<RP>(PixelTaps{at}, weights.values, reach);
      T* const to = out + 4 * i + c;
      StoreValues(sums.sum0, to);
      StoreValues(sums.sum1, to + 4);
      StoreValues(sums.sum2, to + 8);
      StoreValues(sums.sum3, to + 12);
    }
  }
  for (; i < n; ++i) {
    for (std::int64_t c = 0; c < 4; c += kLanesOf<RP>()) {
      const double* const at = in + 4 * (i + reach) + c;
      StoreValues(Convolved<RP>(PixelTaps{at}, weights.values, reach), out + 4 * i + c);
    }
  }
}
// @}

#include "filter/WideBox-body.h"

constexpr WideKernels kKernels = {
    {&Widen<std::uint16_t, false>, &Widen<std::uint16_t, true>, &BellAcross<std::uint16_t>, &BellAlong<std::uint16_t>},
    {&Widen<float, false>, &Widen<float, true>, &BellAcross<float>, &BellAlong<float>},
    &BoxColumns,
    &BoxRows,
    &Settle};
