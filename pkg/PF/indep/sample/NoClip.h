// Straight bilinear sampling without bounds tests: the caller keeps every block inside the world.
#pragma once

#include <cstdint>
#include <cstdio>

#include "report/Report.h"
#include "sample/Bilinear.h"

namespace pf {

// QUIRK-9: the column is the signed high half of x.
constexpr std::int64_t NarrowColumn(std::int64_t x) { return static_cast<std::int16_t>(WholePart(x)); }

// Whether what the sampler is about to read exists. Only the checked build looks, and tells by name; an
// empty world has nothing to read in any build.
template <class P>
bool Readable(const Plane<P>& src, std::int64_t i, std::int64_t j, bool one_pixel, [[maybe_unused]] const char* name) {
  if (Empty(src)) return false;
#ifdef PF_CHECKED
  const std::int64_t reach = one_pixel ? 0 : 1;
  if (!Inside(src, i, j) || !Inside(src, i + reach, j + reach)) {
    char text[128];
    std::snprintf(text, sizeof(text), "sample block outside the world in %s", name);
    FailVerification(text);
    return false;
  }
#else
  static_cast<void>(i);
  static_cast<void>(j);
  static_cast<void>(one_pixel);
#endif
  return true;
}

// One sample under given weights; the fractions only tell an integral position.
template <class P>
P SampleNoClip(const PF_SampPB& params, std::int64_t x, std::int64_t y, const Weights<RealOf<P>>& w, const char* name) {
  const Plane<P> src = SourceOf<P>(params);
  const std::int64_t i = NarrowColumn(x), j = WholePart(y);
  if (!Readable(src, i, j, Integral(x, y), name)) return {};
  const P* top = src.At(i, j);
  if (Integral(x, y)) return *top;
  const P* bottom = src.At(i, j + 1);
  return BlendStraight(Block<P>{top[0], top[1], bottom[0], bottom[1]}, w);
}

template <class P>
P SampleNoClip(const PF_SampPB& params, std::int64_t x, std::int64_t y, const char* name) {
  return SampleNoClip<P>(params, x, y, WeightsOf<RealOf<P>>(Fraction(x), Fraction(y)), name);
}

// A caller's weights in the depth's precision.
template <class P>
Weights<RealOf<P>> GivenWeights(const double weights[4]) {
  using Real = RealOf<P>;
  return {static_cast<Real>(weights[0]), static_cast<Real>(weights[1]), static_cast<Real>(weights[2]),
          static_cast<Real>(weights[3])};
}

}  // namespace pf
