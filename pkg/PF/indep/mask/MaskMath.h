// Arithmetic of coverage values. T is the type of a value: std::uint8_t, std::uint16_t or float.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "pixel/Depth.h"
#include "pixel/Scale.h"

namespace pf {

template <class T>
struct CoverageTraits;

template <>
struct CoverageTraits<std::uint8_t> : DepthTraits<PF_Pixel8> {
  // What a value is scaled by. Limited to the square of full, which gives full for all values but 0.
  using Scale = std::uint32_t;
};

template <>
struct CoverageTraits<std::uint16_t> : DepthTraits<PF_Pixel16> {
  using Scale = std::uint32_t;
};

template <>
struct CoverageTraits<float> : DepthTraits<PF_PixelFloat> {
  using Scale = float;
};

template <class T>
inline constexpr T kFullCoverage = CoverageTraits<T>::kFull;

template <class T>
using ScaleOf = typename CoverageTraits<T>::Scale;

// a * b on the scale of full; exact halves of 16 bits go down (QUIRK-20). 8-bit values are never above full; 16-bit
// ones may be, and the result is limited. Float is not limited.
constexpr std::uint8_t ProductOf(std::uint8_t a, std::uint8_t b) { return MulDiv255(a, b); }
constexpr std::uint16_t ProductOf(std::uint16_t a, std::uint16_t b) {
  return static_cast<std::uint16_t>(std::min<std::uint32_t>(DivideBy32768(std::uint32_t{a} * b), PF_MAX_CHAN16));
}
constexpr float ProductOf(float a, float b) { return a * b; }

// QUIRK-24: 16-bit values above full wrap.
template <class T>
constexpr T InverseOf(T v) {
  return static_cast<T>(kFullCoverage<T> - v);
}

// trunc(exact + 0.5), where `exact` is the factor times full; negative or NaN counts as 0.
template <class T>
constexpr std::uint32_t RoundScale(double exact) {
  constexpr double kLimit = double{kFullCoverage<T>} * kFullCoverage<T>;
  return exact > 0 ? static_cast<std::uint32_t>(std::min(exact + 0.5, kLimit)) : 0;
}

// The scale of a factor, 1 = full; the product with full is rounded to single precision. A scale of full
// changes nothing, and callers then leave the values alone.
template <class T>
constexpr ScaleOf<T> FadeScale(float fade) {
  if constexpr (std::is_same_v<T, float>) {
    return fade > 0 ? fade : 0.0f;
  } else {
    return RoundScale<T>(fade * static_cast<float>(kFullCoverage<T>));
  }
}

// The same of a 16.16 factor, in double precision.
template <class T>
constexpr ScaleOf<T> FadeScaleOfFixed(std::int32_t fade) {
  const double factor = fade > 0 ? fade * 0x1p-16 : 0.0;
  if constexpr (std::is_same_v<T, float>) {
    return static_cast<float>(factor);
  } else {
    return RoundScale<T>(factor * kFullCoverage<T>);
  }
}

// v * scale on the scale of full, limited to it; float is not limited.
constexpr std::uint8_t Scaled(std::uint8_t v, std::uint32_t scale) {
  return static_cast<std::uint8_t>(std::min<std::uint32_t>(DivideBy255(v * scale), PF_MAX_CHAN8));
}
constexpr std::uint16_t Scaled(std::uint16_t v, std::uint32_t scale) {
  return static_cast<std::uint16_t>(std::min<std::uint64_t>((std::uint64_t{v} * scale + 16383) >> 15, PF_MAX_CHAN16));
}
constexpr float Scaled(float v, float scale) { return v * scale; }

}  // namespace pf
