// One pixel's colour as the formulas take it, and the ways back to channels and fixed point.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "pixel/Depth.h"

namespace pf {

struct Colour {
  double red, green, blue;
};

template <class P>
constexpr double kFullScale = DepthTraits<P>::kFull;

template <class P>
Colour ColourOf(const P& p) {
  return {static_cast<double>(p.red), static_cast<double>(p.green), static_cast<double>(p.blue)};
}

struct Extremes {
  explicit Extremes(const Colour& c)
      : max(std::max({c.red, c.green, c.blue})), min(std::min({c.red, c.green, c.blue})) {
    // A comparison would drop it.
    if (std::isnan(c.red) || std::isnan(c.green) || std::isnan(c.blue)) max = min = NAN;
  }
  double Delta() const { return max - min; }
  double Sum() const { return max + min; }
  // Infinities have no difference, but are alike.
  bool Grey() const { return max == min; }

  double max, min;
};

// A value on the scale of the channels of P becomes one.
template <class P>
ChannelOf<P> ChannelFrom(double v) {
  if constexpr (std::is_floating_point_v<ChannelOf<P>>) {
    return static_cast<float>(v);
  } else {
    return static_cast<ChannelOf<P>>(std::clamp(v, 0.0, kFullScale<P>) + 0.5);
  }
}

template <class P>
void StoreColour(P& pixel, const Colour& c) {
  pixel = {pixel.alpha, ChannelFrom<P>(c.red), ChannelFrom<P>(c.green), ChannelFrom<P>(c.blue)};
}

constexpr double kFixedOne = 65536;

constexpr std::int32_t LimitedFixed(std::int64_t v) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, Limits::min(), Limits::max()));
}

inline std::int32_t FixedFrom(double v) {
  if (std::isnan(v)) return 0;
  constexpr double kBeyond = 4294967296.0;
  const double scaled = v * kFixedOne + (v < 0 ? -0.5 : 0.5);
  return LimitedFixed(static_cast<std::int64_t>(std::clamp(scaled, -kBeyond, kBeyond)));
}

}  // namespace pf
