// Products and quotients on the scales of the integer depths.
#pragma once

#include <algorithm>
#include <cstdint>

#include "pixel/Depth.h"

namespace pf {

// v / 255 rounded to nearest, exact for 0 <= v <= 255 * 255.
constexpr std::uint32_t DivideBy255(std::uint32_t v) { return (v + 128 + ((v + 128) >> 8)) >> 8; }

// a * b on the scale of 255.
constexpr std::uint8_t MulDiv255(std::uint32_t a, std::uint32_t b) {
  return static_cast<std::uint8_t>(DivideBy255(a * b));
}

// v / 32768 to nearest, exact halves down. v <= 2^32 - 16384.
constexpr std::uint32_t DivideBy32768(std::uint32_t v) { return (v + 16383) >> 15; }

// A sum of products of channels, back to a channel of P.
template <class P>
constexpr ChannelOf<P> FromProduct(std::uint32_t v) {
  if constexpr (std::is_same_v<P, PF_Pixel8>) {
    return static_cast<std::uint8_t>(DivideBy255(v));
  } else {
    // Only channels above full can leave 16 bits.
    return static_cast<std::uint16_t>(std::min<std::uint32_t>(DivideBy32768(v), 65535));
  }
}

// Straight colour of a premultiplied one: (full * colour + alpha / 2) / alpha, limited to full. alpha > 0.
template <class P>
constexpr ChannelOf<P> DivideByAlpha(std::uint32_t colour, std::uint32_t alpha) {
  constexpr std::uint32_t kFull = DepthTraits<P>::kFull;
  return static_cast<ChannelOf<P>>(std::min((kFull * colour + alpha / 2) / alpha, kFull));
}

}  // namespace pf
