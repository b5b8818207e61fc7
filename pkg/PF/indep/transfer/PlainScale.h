// Values and pixels scaled by an opacity. A full one changes nothing.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "pixel/ConvertDepth.h"
#include "pixel/Depth.h"
#include "pixel/Scale.h"

namespace pf {

constexpr std::uint8_t ScaledBy(std::uint8_t v, std::uint8_t opacity) {
  return opacity == PF_MAX_CHAN8 ? v : MulDiv255(v, opacity);
}
// Values above full are scaled too; an opacity above full counts as full.
constexpr std::uint16_t ScaledBy(std::uint16_t v, std::uint16_t opacity) {
  return static_cast<std::uint16_t>(DivideBy32768(v * std::min<std::uint32_t>(opacity, PF_MAX_CHAN16)));
}
// What is not a number gets one form, as its bits would depend on the order of the factors.
constexpr float ScaledBy(float v, float opacity) {
  if (opacity == 1.0f) return v;
  const float product = v * opacity;
  return product == product ? product : std::bit_cast<float>(0x7FC00000u);
}

template <class P>
constexpr void ScaleColourBy(P& p, ChannelOf<P> opacity) {
  p.red = ScaledBy(p.red, opacity);
  p.green = ScaledBy(p.green, opacity);
  p.blue = ScaledBy(p.blue, opacity);
}

}  // namespace pf
