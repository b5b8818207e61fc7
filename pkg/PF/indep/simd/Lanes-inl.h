// Lanes of a vector as a number with operators, so that one formula serves single values and vectors: the
// counterpart of simd/PlainLanes.h, with the same names and the same bits.
#if defined(PF_SIMD_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SIMD_LANES_INL_H
#undef PF_SIMD_LANES_INL_H
#else
#define PF_SIMD_LANES_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

template <class D>
struct LaneMask {
  hn::Mask<D> m;
};

template <class D>
struct Lanes {
  using T = hn::TFromD<D>;
  hn::Vec<D> v;

  Lanes() = default;
  HWY_INLINE explicit Lanes(hn::Vec<D> vector) : v(vector) {}
  HWY_INLINE explicit Lanes(double constant) : v(hn::Set(D(), static_cast<T>(constant))) {}
};

// Not friends inside their classes: gcc forgets the target of those, which shows where nothing is inlined.
template <class D>
HWY_INLINE LaneMask<D> operator&(LaneMask<D> a, LaneMask<D> b) {
  return {hn::And(a.m, b.m)};
}
template <class D>
HWY_INLINE LaneMask<D> operator|(LaneMask<D> a, LaneMask<D> b) {
  return {hn::Or(a.m, b.m)};
}
template <class D>
HWY_INLINE LaneMask<D> operator!(LaneMask<D> a) {
  return {hn::Not(a.m)};
}
template <class D>
HWY_INLINE Lanes<D> operator+(Lanes<D> a, Lanes<D> b) {
  return Lanes<D>(hn::Add(a.v, b.v));
}
template <class D>
HWY_INLINE Lanes<D> operator-(Lanes<D> a, Lanes<D> b) {
  return Lanes<D>(hn::Sub(a.v, b.v));
}
template <class D>
HWY_INLINE Lanes<D> operator*(Lanes<D> a, Lanes<D> b) {
  return Lanes<D>(hn::Mul(a.v, b.v));
}
template <class D>
HWY_INLINE Lanes<D> operator/(Lanes<D> a, Lanes<D> b) {
  return Lanes<D>(hn::Div(a.v, b.v));
}
template <class D>
HWY_INLINE LaneMask<D> operator==(Lanes<D> a, Lanes<D> b) {
  return {hn::Eq(a.v, b.v)};
}
template <class D>
HWY_INLINE LaneMask<D> operator<(Lanes<D> a, Lanes<D> b) {
  return {hn::Lt(a.v, b.v)};
}
template <class D>
HWY_INLINE LaneMask<D> operator>(Lanes<D> a, Lanes<D> b) {
  return {hn::Gt(a.v, b.v)};
}
template <class D>
HWY_INLINE LaneMask<D> operator<=(Lanes<D> a, Lanes<D> b) {
  return {hn::Le(a.v, b.v)};
}
template <class D>
HWY_INLINE LaneMask<D> operator>=(Lanes<D> a, Lanes<D> b) {
  return {hn::Ge(a.v, b.v)};
}

template <class D>
HWY_INLINE Lanes<D> Select(LaneMask<D> condition, Lanes<D> yes, Lanes<D> no) {
  return Lanes<D>(hn::IfThenElse(condition.m, yes.v, no.v));
}

template <class D>
HWY_INLINE Lanes<D> Quotient(LaneMask<D> undivided, Lanes<D> otherwise, Lanes<D> num, Lanes<D> den) {
  return Select(undivided, otherwise, num / den);
}

// The instructions of x86 take the second one when either is not a number, and of equals.
template <class D>
HWY_INLINE Lanes<D> Min(Lanes<D> a, Lanes<D> b) {
#if HWY_ARCH_X86
  return Lanes<D>(hn::Min(a.v, b.v));
#else
  return Select(a < b, a, b);
#endif
}
template <class D>
HWY_INLINE Lanes<D> Max(Lanes<D> a, Lanes<D> b) {
#if HWY_ARCH_X86
  return Lanes<D>(hn::Max(a.v, b.v));
#else
  return Select(a > b, a, b);
#endif
}

template <class D>
HWY_INLINE Lanes<D> Abs(Lanes<D> a) {
  return Lanes<D>(hn::Abs(a.v));
}
template <class D>
HWY_INLINE Lanes<D> Sqrt(Lanes<D> a) {
  return Lanes<D>(hn::Sqrt(a.v));
}

template <class D>
HWY_INLINE LaneMask<D> IsTiny(Lanes<D> a) {
  const hn::RebindToUnsigned<D> du;
  using U = hn::TFromD<decltype(du)>;
  constexpr U kExponent = sizeof(U) == 4 ? U{0x7F800000u} : static_cast<U>(0x7FF0000000000000u);
  const auto exponent = hn::And(hn::BitCast(du, a.v), hn::Set(du, kExponent));
  return {hn::RebindMask(D(), hn::Eq(exponent, hn::Zero(du)))};
}

template <class R>
struct SplitNumber {
  R exponent, fraction;
};

// Whole numbers below 2^51 as the low bits of 1.5 * 2^52 + v, and back.
template <class D, class DI = hn::RebindToSigned<D>>
HWY_INLINE Lanes<D> NumberOf(DI d, hn::Vec<DI> v) {
  const auto magic = hn::BitCast(d, hn::Set(D(), 0x1.8p52));
  return Lanes<D>(hn::Sub(hn::BitCast(D(), hn::Add(v, magic)), hn::Set(D(), 0x1.8p52)));
}

template <class D>
HWY_INLINE SplitNumber<Lanes<D>> Split(Lanes<D> a) {
  const hn::RebindToSigned<D> di;
  const auto bits = hn::BitCast(di, a.v);
  const auto above = hn::Sub(bits, hn::Set(di, 0x3FE6A09E667F3BCD));
  // An arithmetic shift of 64-bit lanes is slow before AVX-512: numbers here are positive, so the exponent is made so.
  const hn::RebindToUnsigned<D> du;
  const auto biased = hn::Add(hn::BitCast(du, above), hn::Set(du, std::uint64_t{2048} << 52));
  const auto exponent = hn::Sub(hn::BitCast(di, hn::ShiftRight<52>(biased)), hn::Set(di, 2048));
  return {NumberOf<D>(di, exponent), Lanes<D>(hn::BitCast(D(), hn::Sub(bits, hn::ShiftLeft<52>(exponent))))};
}

template <class D>
HWY_INLINE Lanes<D> TimesPowerOfTwo(Lanes<D> a, Lanes<D> k) {
  const hn::RebindToSigned<D> di;
  const auto whole = hn::BitCast(di, hn::Add(k.v, hn::Set(D(), 0x1.8p52)));
  return Lanes<D>(hn::BitCast(D(), hn::Add(hn::BitCast(di, a.v), hn::ShiftLeft<52>(whole))));
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
