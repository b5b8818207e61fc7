// Conversion of one channel or pixel between depths: the one rule that portable and vector code share.
//
// Colour from float is limited to 0..full and NaN is 0. Alpha from float is truncated to 32 bits, of which
// the low 8 or 16 are kept. 16-bit values above 32768 wrap in 8 bits.
#pragma once

#include <cstdint>

#include "pixel/Depth.h"

namespace pf {

inline constexpr float kUnitOf8 = 1.0f / 255.0f;
inline constexpr float kUnitOf16 = 1.0f / 32768.0f;

// 8 to 16 bits. QUIRK-3: 254 gives 32640.
constexpr std::uint16_t Widen(std::uint8_t v) { return static_cast<std::uint16_t>((v * 8421504u + 33200u) >> 16); }

// 16 to 8 bits, to nearest.
constexpr std::uint8_t Narrow(std::uint16_t v) { return static_cast<std::uint8_t>((v * 255u + 16384u) >> 15); }

// 16 to 8 bits with noise below one step in place of the rounding.
constexpr std::uint8_t NarrowDithered(std::uint16_t v, std::uint32_t random) {
  return static_cast<std::uint8_t>((v * 255u + (random & 32767u)) >> 15);
}

// Truncates toward zero. NaN and what does not fit give 0x80000000.
constexpr std::int32_t TruncateToInt32(float v) {
  return v >= -0x1p31f && v < 0x1p31f ? static_cast<std::int32_t>(v) : INT32_MIN;
}

// Alpha of a pixel type of 8 or 16 bits. QUIRK-2: not limited, so values out of range wrap.
template <class P>
constexpr ChannelOf<P> AlphaFromFloat(float v) {
  return static_cast<ChannelOf<P>>(TruncateToInt32(v * static_cast<float>(DepthTraits<P>::kFull) + 0.5f));
}

template <class P>
constexpr ChannelOf<P> ColourFromFloat(float v) {
  constexpr auto kFull = static_cast<float>(DepthTraits<P>::kFull);
  const float scaled = v * kFull;
  if (!(scaled > 0.0f)) return 0;  // NaN too
  return scaled > kFull ? DepthTraits<P>::kFull : static_cast<ChannelOf<P>>(scaled + 0.5f);
}

constexpr float ToFloat(std::uint8_t v) { return static_cast<float>(v) * kUnitOf8; }
constexpr float ToFloat(std::uint16_t v) { return static_cast<float>(v) * kUnitOf16; }

// Applies f to the four channels.
template <class To, class From, class F>
constexpr To MapChannels(const From& p, F f) {
  return {f(p.alpha), f(p.red), f(p.green), f(p.blue)};
}

// One pixel from any depth to any depth.
template <class To, class From>
constexpr To ConvertPixel(const From& p) {
  if constexpr (std::is_same_v<To, From>) {
    return p;
  } else if constexpr (std::is_same_v<To, PF_PixelFloat>) {
    return MapChannels<To>(p, [](auto v) { return ToFloat(v); });
  } else if constexpr (std::is_same_v<From, PF_PixelFloat>) {
    return {AlphaFromFloat<To>(p.alpha), ColourFromFloat<To>(p.red), ColourFromFloat<To>(p.green),
            ColourFromFloat<To>(p.blue)};
  } else if constexpr (std::is_same_v<To, PF_Pixel16>) {
    return MapChannels<To>(p, [](auto v) { return Widen(v); });
  } else {
    return MapChannels<To>(p, [](auto v) { return Narrow(v); });
  }
}

}  // namespace pf
