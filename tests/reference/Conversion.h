// Depth conversion and the alpha conventions channel by channel: integers as exact quotients, floats in
// double rounded to single precision after each step.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "PF/PF_Types.h"

namespace pftest {

enum class Half { kUp, kDown, kAway };

// numerator / denominator to nearest; denominator > 0.
inline std::int64_t Nearest(std::int64_t numerator, std::int64_t denominator, Half half) {
  const std::int64_t rest = (numerator % denominator + denominator) % denominator;
  const std::int64_t below = (numerator - rest) / denominator;
  const bool half_up = half == Half::kUp || (half == Half::kAway && numerator > 0);
  return below + (2 * rest > denominator || (2 * rest == denominator && half_up) ? 1 : 0);
}

inline double Single(double v) { return static_cast<double>(static_cast<float>(v)); }

constexpr std::int64_t FullOf(int depth) { return depth == 8 ? 255 : 32768; }

// What a float becomes at depth 8 or 16; of alpha the low bits.
inline std::uint32_t ReferenceFromFloat(float v, int depth, bool alpha) {
  const double full = static_cast<double>(FullOf(depth));
  double scaled = Single(static_cast<double>(v) * full);
  if (!alpha) scaled = std::isnan(scaled) ? 0.0 : std::clamp(scaled, 0.0, full);
  const double whole = std::trunc(Single(scaled + 0.5));
  if (!(std::fabs(whole) < 0x1p31)) return 0;  // the low bits of 0x80000000
  const std::int64_t modulus = depth == 8 ? 256 : 65536;
  return static_cast<std::uint32_t>((static_cast<std::int64_t>(whole) % modulus + modulus) % modulus);
}

// What an integer channel becomes; `noise` stands for the rounding of 16 to 8 bits.
template <class C>
double ReferenceFromInteger(C value, int to, std::uint32_t noise) {
  const std::uint64_t v = value;
  if (to == 16) return static_cast<double>((v * 8421504 + 33200) / 65536);
  if (to == 8) return static_cast<double>((v * 255 + noise) / 32768 % 256);
  return Single(static_cast<double>(v) * (sizeof(C) == 1 ? Single(1.0 / 255.0) : 1.0 / 32768.0));
}

// One pixel from depth `from` to depth `to`; with four random values 16 to 8 bits is dithered.
inline void ReferenceConvert(int from, const void* in, int to, void* out, const std::uint32_t* random = nullptr) {
  if (from == to) std::memcpy(out, in, static_cast<std::size_t>(from) / 2);
  for (int i = 0; i < 4 && from != to; ++i) {
    const std::uint32_t noise = random != nullptr ? random[i] % 32768 : 16384;
    const double v = from == 8    ? ReferenceFromInteger(static_cast<const std::uint8_t*>(in)[i], to, noise)
                     : from == 16 ? ReferenceFromInteger(static_cast<const std::uint16_t*>(in)[i], to, noise)
                                  : ReferenceFromFloat(static_cast<const float*>(in)[i], to, i == 0);
    if (to == 8) static_cast<std::uint8_t*>(out)[i] = static_cast<std::uint8_t>(v);
    if (to == 16) static_cast<std::uint16_t*>(out)[i] = static_cast<std::uint16_t>(v);
    if (to == 32) static_cast<float*>(out)[i] = static_cast<float>(v);
  }
}

template <class C>
constexpr std::int64_t kFull = FullOf(sizeof(C) == 1 ? 8 : 16);

// The alpha conventions, one colour channel c under alpha a; m is the matte's channel.
template <class C>
C ReferencePremultiply(C c, C a) {
  if constexpr (std::is_same_v<C, float>) return static_cast<float>(static_cast<double>(c) * static_cast<double>(a));
  const auto product = static_cast<std::int64_t>(c) * static_cast<std::int64_t>(a);
  return static_cast<C>(std::min<std::int64_t>(Nearest(product, kFull<C>, Half::kDown), 65535));
}

template <class C>
C ReferenceUnmultiply(C c, C a) {
  if (!(a > 0)) return 0;
  if constexpr (std::is_same_v<C, float>) return static_cast<float>(static_cast<double>(c) / static_cast<double>(a));
  const std::int64_t full = kFull<C>;
  return static_cast<C>(
      std::min(Nearest(full * static_cast<std::int64_t>(c), static_cast<std::int64_t>(a), Half::kUp), full));
}

template <class C>
C ReferenceOntoMatte(C c, C a, C m) {
  if constexpr (std::is_same_v<C, float>) {
    const double away = Single(static_cast<double>(c) - static_cast<double>(m));
    return static_cast<float>(static_cast<double>(m) + Single(away * static_cast<double>(a)));
  } else {
    const std::int64_t full = kFull<C>, limited = std::min<std::int64_t>(a, full);
    return static_cast<C>(Nearest(c * limited + m * (full - limited), full, Half::kDown));
  }
}

template <class C>
C ReferenceWithoutMatte(C c, C a, C m) {
  if (!(a > 0)) return 0;
  if constexpr (std::is_same_v<C, float>) {
    const double away = Single(static_cast<double>(c) - static_cast<double>(m));
    return static_cast<float>(static_cast<double>(m) + Single(away / static_cast<double>(a)));
  } else {
    const std::int64_t full = kFull<C>;
    return static_cast<C>(std::clamp<std::int64_t>(m + Nearest((std::int64_t{c} - m) * full, a, Half::kAway), 0, full));
  }
}

}  // namespace pftest
