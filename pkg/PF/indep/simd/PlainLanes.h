// One value at a time, under the names that lanes of vectors have (simd/Lanes-inl.h).
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace pf::plain {

template <class R>
constexpr R Select(bool condition, R yes, R no) {
  return condition ? yes : no;
}

// num / den, or `otherwise` where the division is not to be done.
template <class R>
constexpr R Quotient(bool undivided, R otherwise, R num, R den) {
  return undivided ? otherwise : num / den;
}

// The second one when either is not a number, and of equals.
template <class R>
constexpr R Min(R a, R b) {
  return a < b ? a : b;
}
template <class R>
constexpr R Max(R a, R b) {
  return a > b ? a : b;
}

template <class R>
R Abs(R v) {
  return std::abs(v);
}
template <class R>
R Sqrt(R v) {
  return std::sqrt(v);
}

// Whether v is 0 or a denormal number, by its bits.
constexpr bool IsTiny(float v) { return (std::bit_cast<std::uint32_t>(v) & 0x7F800000u) == 0; }
constexpr bool IsTiny(double v) { return (std::bit_cast<std::uint64_t>(v) & 0x7FF0000000000000u) == 0; }

// A positive normal number as 2^exponent * fraction, the fraction within sqrt(1/2)..sqrt(2).
template <class R>
struct SplitNumber {
  R exponent, fraction;
};
inline SplitNumber<double> Split(double v) {
  constexpr std::int64_t kLeast = 0x3FE6A09E667F3BCD;  // sqrt(1/2)
  const std::int64_t exponent = (std::bit_cast<std::int64_t>(v) - kLeast) >> 52;
  return {static_cast<double>(exponent), std::bit_cast<double>(std::bit_cast<std::int64_t>(v) - (exponent << 52))};
}
// v * 2^k for a whole k, where neither leaves the normal numbers.
inline double TimesPowerOfTwo(double v, double k) {
  return std::bit_cast<double>(std::bit_cast<std::int64_t>(v) + (static_cast<std::int64_t>(k) << 52));
}

}  // namespace pf::plain
