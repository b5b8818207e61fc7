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

// Full - v, for any lanes; 16-bit values above full wrap.
template <class D>
HWY_INLINE hn::Vec<D> InverseOf(D d, hn::Vec<D> v) {
  using T = hn::TFromD<D>;
  return hn::Sub(hn::Set(d, static_cast<T>(sizeof(T) == 1 ? 255 : sizeof(T) == 2 ? 32768 : 1)), v);
}

// v * scale on the scale of full, limited to it, for 8-bit lanes and scales above full: products that leave
// 16 bits are full.
template <class D, hwy::EnableIf<sizeof(hn::TFromD<D>) == 1>* = nullptr>
HWY_INLINE hn::Vec<D> ScaledUp(D d, hn::Vec<D> v, std::uint32_t scale) {
  return ForEvenAndOdd(d, v, v, [scale](auto d16, auto x, auto) HWY_ATTR {
    const auto s = hn::Set(d16, static_cast<std::uint16_t>(scale));
    const auto fits = hn::Eq(hn::MulHigh(x, s), hn::Zero(d16));
    const auto product = hn::IfThenElse(fits, hn::Mul(x, s), hn::Set(d16, 65535));
    const auto sum = hn::SaturatedAdd(product, hn::Set(d16, 128));
    return hn::Min(hn::MulHigh(sum, hn::Set(d16, 257)), hn::Set(d16, 255));
  });
}

// The same for 16-bit lanes: the whole part of scale / 32768, which loses nothing, and the rest.
template <class D, hwy::EnableIf<sizeof(hn::TFromD<D>) == 2>* = nullptr>
HWY_INLINE hn::Vec<D> ScaledUp(D d, hn::Vec<D> v, std::uint32_t scale) {
  const auto whole = hn::Set(d, static_cast<std::uint16_t>(scale >> 15));
  const auto rest = hn::Set(d, static_cast<std::uint16_t>(scale & 32767));
  const auto fits = hn::Eq(hn::MulHigh(v, whole), hn::Zero(d));
  const auto multiple = hn::IfThenElse(fits, hn::Mul(v, whole), hn::Set(d, 65535));
  return hn::Min(hn::SaturatedAdd(multiple, ProductOf(d, v, rest)), hn::Set(d, 32768));
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
