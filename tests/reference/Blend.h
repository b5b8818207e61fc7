// Cross-fades restated channel by channel.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "pixel/Depth.h"

namespace pftest {

// The low 32 bits of a truncated float product, by doubles, which hold every float and every power of two.
inline std::uint32_t ReferenceTerm(float c, std::int64_t weight) {
  const float product = c * static_cast<float>(weight);
  if (std::isnan(product)) return 0;
  if (product >= 0x1p63f) return 0xFFFFFFFFu;
  if (product <= -0x1p63f) return 0;
  const double rest = std::fmod(std::trunc(static_cast<double>(product)), 0x1p32);
  return static_cast<std::uint32_t>(rest < 0 ? rest + 0x1p32 : rest);
}
template <class C>
std::uint32_t ReferenceTerm(C c, std::int64_t weight) {
  return static_cast<std::uint32_t>(c * weight);
}

template <class C>
C ReferenceSum(std::uint32_t a, std::uint32_t b) {
  if constexpr (std::is_same_v<C, float>) {
    return static_cast<float>(static_cast<double>(a + b) / 65536.0);  // wraps before it is divided
  } else {
    return static_cast<C>((std::uint64_t{a} + b + 32768) / 65536);
  }
}

template <class C>
C ReferenceColour(C c1, C c2, std::uint32_t share1, std::uint32_t share2) {
  if (share1 == 0 || share1 + share2 == 0) return c2;
  if (share2 == 0) return c1;
  if constexpr (std::is_same_v<C, float>) {
    const float zero = 0;
    const float v = (c1 * static_cast<float>(share1) + c2 * static_cast<float>(share2) + zero) /
                    static_cast<float>(share1 + share2);
    return std::isnan(v) ? std::numeric_limits<float>::quiet_NaN() : v;
  } else {
    const std::uint64_t sum = std::uint64_t{share1} + share2;
    return static_cast<C>((c1 * std::uint64_t{share1} + c2 * std::uint64_t{share2} + sum / 2) / sum);
  }
}

template <class P>
P ReferenceBlend(bool straight, const P& first, const P& second, std::int32_t ratio) {
  using C = pf::ChannelOf<P>;
  const std::int64_t w2 = std::clamp(ratio, 0, 65536), w1 = 65536 - w2;
  if (w2 == 0) return first;
  if (w1 == 0) return second;
  const auto a = std::bit_cast<std::array<C, 4>>(first), b = std::bit_cast<std::array<C, 4>>(second);
  std::array<C, 4> out;
  for (std::size_t k = 0; k < 4; ++k) {
    out[k] = straight && k > 0 ? ReferenceColour(a[k], b[k], ReferenceTerm(a[0], w1), ReferenceTerm(b[0], w2))
                               : ReferenceSum<C>(ReferenceTerm(a[k], w1), ReferenceTerm(b[k], w2));
  }
  return std::bit_cast<P>(out);
}

}  // namespace pftest
