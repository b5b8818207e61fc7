// The lane forms of mask/MaskMath.h: the same names, the same bits.
#if defined(PF_SIMD_MASK_MATH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SIMD_MASK_MATH_INL_H
#undef PF_SIMD_MASK_MATH_INL_H
#else
#define PF_SIMD_MASK_MATH_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// Lanes of 16 bits, v <= 65407; quotients of sums up to 255 * 255 are exact.
template <class D16, class V = hn::Vec<D16>>
HWY_INLINE V DivideBy255(D16 d, V v) {
  return hn::MulHigh(hn::Add(v, hn::Set(d, 128)), hn::Set(d, 257));
}

// 8-bit lanes; f is applied to the values of the even and then the odd lanes, as lanes of 16 bits, and
// gives lanes of 16 bits that hold 8-bit results. Nothing is shuffled.
template <class D8, class V8 = hn::Vec<D8>, class F>
HWY_INLINE V8 ForEvenAndOdd(D8 d, V8 a, V8 b, const F& f) {
  const hn::Repartition<std::uint16_t, D8> d16;
  const auto low = hn::Set(d16, 255);
  const auto a16 = hn::BitCast(d16, a);
  const auto b16 = hn::BitCast(d16, b);
  const auto even = f(d16, hn::And(a16, low), hn::And(b16, low));
  const auto odd = f(d16, hn::ShiftRight<8>(a16), hn::ShiftRight<8>(b16));
  return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd)));
}

// a * b on the scale of full, for 8-bit lanes.
template <class D, hwy::EnableIf<sizeof(hn::TFromD<D>) == 1>* = nullptr>
HWY_INLINE hn::Vec<D> ProductOf(D d, hn::Vec<D> a, hn::Vec<D> b) {
  return ForEvenAndOdd(d, a, b, [](auto d16, auto x, auto y) HWY_ATTR { return DivideBy255(d16, hn::Mul(x, y)); });
}

// The same for 16-bit lanes of any value, limited to full. The halves of the product are joined by an
// average, which gives the carry of the sum a place; from 2^30 on the result is full.
template <class D, hwy::EnableIf<sizeof(hn::TFromD<D>) == 2>* = nullptr>
HWY_INLINE hn::Vec<D> ProductOf(D d, hn::Vec<D> a, hn::Vec<D> b) {
  const auto high = hn::Min(hn::MulHigh(a, b), hn::Set(d, 16384));
  const auto low = hn::ShiftRight<14>(hn::AverageRound(hn::Mul(a, b), hn::Set(d, 16382)));
  return hn::Min(hn::Add(hn::Add(high, high), low), hn::Set(d, 32768));
}

// The same for float lanes.
template <class D, hwy::EnableIf<sizeof(hn::TFromD<D>) == 4>* = nullptr>
HWY_INLINE hn::Vec<D> ProductOf(D, hn::Vec<D> a, hn::Vec<D> b) {
  return hn::Mul(a, b);
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
