// What differs between the depths, as far as operations on exports need it.
#pragma once

#include <cstdint>

#include "PF/PF_Types.h"

namespace selftest {

template <class P>
struct DepthTraits;
template <>
struct DepthTraits<PF_Pixel8> {
  using Channel = std::uint8_t;
  static constexpr std::int32_t kDepth = 8;
  static constexpr Channel kFull = PF_MAX_CHAN8;
};
template <>
struct DepthTraits<PF_Pixel16> {
  using Channel = std::uint16_t;
  static constexpr std::int32_t kDepth = 16;
  static constexpr Channel kFull = PF_MAX_CHAN16;
};
template <>
struct DepthTraits<PF_PixelFloat> {
  using Channel = float;
  static constexpr std::int32_t kDepth = 32;
  static constexpr Channel kFull = 1.0f;
};
template <class P>
using ChannelOf = typename DepthTraits<P>::Channel;

// f(P{}) with the pixel type of a depth, which is 8, 16 or 32.
template <class F>
auto WithDepth(std::int32_t depth, F&& f) {
  if (depth == 8) return f(PF_Pixel8{});
  if (depth == 16) return f(PF_Pixel16{});
  return f(PF_PixelFloat{});
}

}  // namespace selftest
