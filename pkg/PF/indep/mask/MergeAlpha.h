// Alpha times coverage, for every depth of world (A: type of alpha) and of mask (M).
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "mask/MaskMath.h"

namespace pf {

// What a float alpha is multiplied by.
template <class M>
inline constexpr float kUnitOfCoverage = std::is_same_v<M, std::uint8_t> ? 0.003921569f : 0x1p-15f;

// a * m, neither 0 nor full by way of m.
constexpr std::uint8_t AlphaProduct(std::uint8_t a, std::uint8_t m) { return ProductOf(a, m); }
constexpr std::uint16_t AlphaProduct(std::uint16_t a, std::uint16_t m) { return ProductOf(a, m); }
constexpr std::uint8_t AlphaProduct(std::uint8_t a, std::uint16_t m) {
  return static_cast<std::uint8_t>(std::min<std::uint32_t>(DivideBy32768(std::uint32_t{a} * m), PF_MAX_CHAN8));
}
// 255 is odd, so there are no halves to settle.
constexpr std::uint16_t AlphaProduct(std::uint16_t a, std::uint8_t m) {
  return static_cast<std::uint16_t>(std::min<std::uint32_t>((std::uint32_t{a} * m + 127) / 255, PF_MAX_CHAN16));
}
template <class M>
constexpr float AlphaProduct(float a, M m) {
  return a * (static_cast<float>(m) * kUnitOfCoverage<M>);
}

// Coverage 0 gives 0 whatever alpha is, infinite too, and full coverage leaves alpha as it is.
template <class A, class M>
constexpr A MergedAlpha(A a, M m) {
  return m == 0 ? A{0} : m == kFullCoverage<M> ? a : AlphaProduct(a, m);
}

}  // namespace pf
