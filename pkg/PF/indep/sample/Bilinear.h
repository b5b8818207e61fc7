// Bilinear sampling. Every formula stands here once, for all depths; row kernels repeat it on vectors.
#pragma once

#include <cstdint>

#include "sample/Rounding.h"
#include "sample/SampleSource.h"

namespace pf {

// In the order of the block's pixels.
template <class Real>
struct Weights {
  Real w00, w10, w01, w11;
};

template <class Real>
Weights<Real> WeightsOf(std::uint32_t fx, std::uint32_t fy) {
  const Real u = static_cast<Real>(fx) / Real{65536};
  const Real v = static_cast<Real>(fy) / Real{65536};
  const Real w11 = u * v;
  const Real w10 = u - w11;
  const Real w01 = v - w11;
  return {Real{1} - w10 - w01 - w11, w10, w01, w11};
}

// Precision, rounding and visibility of straight sums.
template <class P>
struct BilinearMath;

template <>
struct BilinearMath<PF_Pixel8> {
  using Real = float;
  static std::uint8_t Store(float v) { return TruncateTo8(v + 0.5f); }
  static bool Invisible(float alpha) { return alpha < 0.5f; }
};

template <>
struct BilinearMath<PF_Pixel16> {
  using Real = double;
  static std::uint16_t Store(double v) { return TruncateTo16(v + 0.5); }
  static bool Invisible(double alpha) { return alpha < 0.5; }
};

template <>
struct BilinearMath<PF_PixelFloat> {
  using Real = float;
  static float Store(float v) { return StoredFloat(v); }
  static bool Invisible(float alpha) { return !(alpha > 0.0f); }
};

template <class P>
using RealOf = typename BilinearMath<P>::Real;

template <class P, class Real>
Real WeightedSum(const Block<P>& block, const Weights<Real>& w, ChannelOf<P> P::*channel) {
  return w.w00 * static_cast<Real>(block.p00.*channel) + w.w10 * static_cast<Real>(block.p10.*channel) +
         w.w01 * static_cast<Real>(block.p01.*channel) + w.w11 * static_cast<Real>(block.p11.*channel);
}

template <class P>
bool EqualAlphas(const Block<P>& block) {
  const auto alpha = block.p00.alpha;
  return block.p10.alpha == alpha && block.p01.alpha == alpha && block.p11.alpha == alpha;
}

// A block of straight pixels under given weights.
template <class P>
P BlendStraight(const Block<P>& block, const Weights<RealOf<P>>& w) {
  using Math = BilinearMath<P>;
  using Real = RealOf<P>;
  if (Uniform(block)) return block.p00;
  if (EqualAlphas(block)) {
    if (block.p00.alpha == 0) return {};
    return {block.p00.alpha, Math::Store(WeightedSum(block, w, &P::red)), Math::Store(WeightedSum(block, w, &P::green)),
            Math::Store(WeightedSum(block, w, &P::blue))};
  }
  const Weights<Real> q = {static_cast<Real>(block.p00.alpha) * w.w00, static_cast<Real>(block.p10.alpha) * w.w10,
                           static_cast<Real>(block.p01.alpha) * w.w01, static_cast<Real>(block.p11.alpha) * w.w11};
  const Real alpha = q.w00 + q.w10 + q.w01 + q.w11;
  if (Math::Invisible(alpha)) return {};
  const Real inverse = Real{1} / alpha;
  return {Math::Store(alpha), Math::Store(WeightedSum(block, q, &P::red) * inverse),
          Math::Store(WeightedSum(block, q, &P::green) * inverse),
          Math::Store(WeightedSum(block, q, &P::blue) * inverse)};
}

// Straight pixels, bounds tested.
template <class P>
P SampleStraight(const PF_SampPB& params, std::int64_t x, std::int64_t y) {
  const Plane<P> src = SourceOf<P>(params);
  const std::int64_t i = WholePart(x), j = WholePart(y);
  if (Integral(x, y)) return PixelOrZero(src, i, j);
  return BlendStraight(TestedBlock(src, i, j), WeightsOf<RealOf<P>>(Fraction(x), Fraction(y)));
}

}  // namespace pf
