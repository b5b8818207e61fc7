// What differs between the depths, and the one place that turns a depth number into a type.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "PF/PF_Types.h"

namespace pf {

// An unknown pixel type does not compile.
template <class P>
struct DepthTraits;

template <>
struct DepthTraits<PF_Pixel8> {
  using Pixel = PF_Pixel8;
  using Channel = std::uint8_t;
  static constexpr std::int16_t kDepth = 8;
  static constexpr std::uint8_t kFormatByte = 0;
  static constexpr Channel kFull = PF_MAX_CHAN8;
};

template <>
struct DepthTraits<PF_Pixel16> {
  using Pixel = PF_Pixel16;
  using Channel = std::uint16_t;
  static constexpr std::int16_t kDepth = 16;
  static constexpr std::uint8_t kFormatByte = 1;
  static constexpr Channel kFull = PF_MAX_CHAN16;
};

template <>
struct DepthTraits<PF_PixelFloat> {
  using Pixel = PF_PixelFloat;
  using Channel = float;
  static constexpr std::int16_t kDepth = 32;
  static constexpr std::uint8_t kFormatByte = 2;
  static constexpr Channel kFull = 1.0f;
};

template <class P>
using ChannelOf = typename DepthTraits<P>::Channel;

// 0, 1, 2 for depths 8, 16, 32; -1 for any other.
constexpr int DepthIndex(int depth) { return depth == 8 ? 0 : depth == 16 ? 1 : depth == 32 ? 2 : -1; }

// The flags word of a record of the depth with this index: its format byte and its deep bit.
constexpr std::uint32_t WorldFlagsOf(int depth_index) {
  const std::uint32_t deep = depth_index == DepthIndex(16) ? PF_WorldFlag_DEEP : 0u;
  return deep | static_cast<std::uint32_t>(depth_index) << PF_WorldFlag_FORMAT_SHIFT;
}

// Calls f(P{}) with the pixel type of `depth`; `otherwise()` for any other depth. Both return one type.
template <class F, class Otherwise>
auto DispatchDepth(int depth, F&& f, Otherwise&& otherwise) -> decltype(otherwise()) {
  switch (depth) {
    case 8:
      return f(PF_Pixel8{});
    case 16:
      return f(PF_Pixel16{});
    case 32:
      return f(PF_PixelFloat{});
    default:
      return otherwise();
  }
}

}  // namespace pf
