// Pixels between the alpha conventions, one at a time.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pixel/Depth.h"
#include "pixel/Scale.h"

namespace pf {

template <class P>
constexpr bool kIsFloat = std::is_same_v<P, PF_PixelFloat>;

// The pixel with f applied to its colour.
template <class P, class F>
constexpr P MapColour(const P& p, F f) {
  return {p.alpha, f(p.red), f(p.green), f(p.blue)};
}
// The same with the channels of a second colour.
template <class P, class F>
constexpr P MapColour(const P& p, const P& other, F f) {
  return {p.alpha, f(p.red, other.red), f(p.green, other.green), f(p.blue, other.blue)};
}

template <class P>
constexpr P Premultiplied(const P& p) {
  if constexpr (kIsFloat<P>) {
    return MapColour(p, [a = p.alpha](float c) { return c * a; });
  } else {
    return MapColour(p, [a = std::uint32_t{p.alpha}](std::uint32_t c) { return FromProduct<P>(c * a); });
  }
}

template <class P>
constexpr P Unmultiplied(const P& p) {
  if (!(p.alpha > 0)) return {p.alpha, 0, 0, 0};
  if constexpr (kIsFloat<P>) {
    return MapColour(p, [a = p.alpha](float c) { return c / a; });
  } else {
    return MapColour(p, [a = std::uint32_t{p.alpha}](std::uint32_t c) { return DivideByAlpha<P>(c, a); });
  }
}

// Composited onto the opaque `matte`.
template <class P>
constexpr P OntoMatte(const P& p, const P& matte) {
  if constexpr (kIsFloat<P>) {
    return MapColour(p, matte, [a = p.alpha](float c, float m) { return m + (c - m) * a; });
  } else {
    constexpr std::uint32_t kFull = DepthTraits<P>::kFull;
    const std::uint32_t a = std::min<std::uint32_t>(p.alpha, kFull);
    return MapColour(p, matte,
                     [a](std::uint32_t c, std::uint32_t m) { return FromProduct<P>(c * a + m * (kFull - a)); });
  }
}

// `difference` / alpha on the scale of P, halves away from zero.
template <class P>
constexpr std::int64_t DividedDifference(std::int64_t difference, std::int64_t alpha) {
  const std::int64_t scaled = difference * DepthTraits<P>::kFull;
  return (scaled < 0 ? scaled - alpha / 2 : scaled + alpha / 2) / alpha;
}

// The inverse of OntoMatte.
template <class P>
constexpr P WithoutMatte(const P& p, const P& matte) {
  if (!(p.alpha > 0)) return {p.alpha, 0, 0, 0};
  if constexpr (kIsFloat<P>) {
    return MapColour(p, matte, [a = p.alpha](float c, float m) { return m + (c - m) / a; });
  } else {
    return MapColour(p, matte, [a = std::int64_t{p.alpha}](std::int64_t c, std::int64_t m) {
      const std::int64_t straight = m + DividedDifference<P>(c - m, a);
      return static_cast<ChannelOf<P>>(std::clamp<std::int64_t>(straight, 0, DepthTraits<P>::kFull));
    });
  }
}

}  // namespace pf
