// The lane forms of sample/Bilinear.h: the same operations in the same order, so the same bits.
#if defined(PF_SAMPLE_BILINEAR_BLEND_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_BLEND_INL_H
#undef PF_SAMPLE_BILINEAR_BLEND_INL_H
#else
#define PF_SAMPLE_BILINEAR_BLEND_INL_H
#endif

#include <hwy/highway.h>

#include <limits>
#include <type_traits>

#include "sample/Bilinear.h"
#include "sample/RowCache.h"
#include "sample/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// The lanes that a depth computes in.
template <class P>
using RealTag = hn::ScalableTag<RealOf<P>>;
template <class P>
using RealVec = hn::Vec<RealTag<P>>;
template <class P>
inline constexpr bool kIsFloat = std::is_same_v<P, PF_PixelFloat>;

template <class V>
struct Taps {
  Channels<V> p00, p10, p01, p11;
};

template <class V>
HWY_INLINE V WeightedSum(const Weights<V>& w, V c00, V c10, V c01, V c11) {
  return hn::Add(hn::Add(hn::Add(hn::Mul(w.w00, c00), hn::Mul(w.w10, c10)), hn::Mul(w.w01, c01)), hn::Mul(w.w11, c11));
}

template <class V>
HWY_INLINE Weights<V> WeightsOf(V one, V u, V v) {
  const V w11 = hn::Mul(u, v);
  const V w10 = hn::Sub(u, w11);
  const V w01 = hn::Sub(v, w11);
  return {hn::Sub(hn::Sub(hn::Sub(one, w10), w01), w11), w10, w01, w11};
}

template <class P, class M, class V = RealVec<P>>
HWY_INLINE Channels<V> Select(M mask, const Channels<V>& yes, const Channels<V>& no) {
  return {hn::IfThenElse(mask, yes.alpha, no.alpha), hn::IfThenElse(mask, yes.red, no.red),
          hn::IfThenElse(mask, yes.green, no.green), hn::IfThenElse(mask, yes.blue, no.blue)};
}

// Integers get their half here; storing truncates. No limits are needed: weights of 0 and more that add
// up to 1 within a few ulps leave the range by far less than the half that rounding has in hand.
template <class P, class V>
HWY_INLINE V BeforeStore(V v) {
  if constexpr (kIsFloat<P>) {
    return hn::IfThenElse(hn::IsNaN(v), hn::Set(RealTag<P>(), std::numeric_limits<float>::quiet_NaN()), v);
  } else {
    return hn::Add(v, hn::Set(RealTag<P>(), RealOf<P>(0.5)));
  }
}

// From the sum of alpha and the sums of alpha times colour.
template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> DivideByAlpha(const Channels<V>& sum) {
  const RealTag<P> d;
  const V inverse = hn::Div(hn::Set(d, RealOf<P>(1)), sum.alpha);
  if constexpr (kIsFloat<P>) {
    const auto visible = hn::Gt(sum.alpha, hn::Zero(d));
    const auto shown = [&](V v) { return hn::IfThenElseZero(visible, v); };
    return {shown(sum.alpha), shown(BeforeStore<P>(hn::Mul(sum.red, inverse))),
            shown(BeforeStore<P>(hn::Mul(sum.green, inverse))), shown(BeforeStore<P>(hn::Mul(sum.blue, inverse)))};
  } else {
    const auto visible = hn::Ge(sum.alpha, hn::Set(d, RealOf<P>(0.5)));
    const V factor = hn::IfThenElseZero(visible, inverse);
    return {BeforeStore<P>(hn::IfThenElseZero(visible, sum.alpha)), BeforeStore<P>(hn::Mul(sum.red, factor)),
            BeforeStore<P>(hn::Mul(sum.green, factor)), BeforeStore<P>(hn::Mul(sum.blue, factor))};
  }
}

template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> BlendDiffering(const Taps<V>& t, const Weights<V>& w) {
  const Weights<V> q = {hn::Mul(t.p00.alpha, w.w00), hn::Mul(t.p10.alpha, w.w10), hn::Mul(t.p01.alpha, w.w01),
                        hn::Mul(t.p11.alpha, w.w11)};
  return DivideByAlpha<P>(Channels<V>{hn::Add(hn::Add(hn::Add(q.w00, q.w10), q.w01), q.w11),
                                      WeightedSum(q, t.p00.red, t.p10.red, t.p01.red, t.p11.red),
                                      WeightedSum(q, t.p00.green, t.p10.green, t.p01.green, t.p11.green),
                                      WeightedSum(q, t.p00.blue, t.p10.blue, t.p01.blue, t.p11.blue)});
}

// Equal alphas above 0. At integer depths a uniform block and an integral position come out exactly too:
// the error of the sum is far below the half that is added.
template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> BlendEqual(const Taps<V>& t, const Weights<V>& w) {
  return {t.p00.alpha, BeforeStore<P>(WeightedSum(w, t.p00.red, t.p10.red, t.p01.red, t.p11.red)),
          BeforeStore<P>(WeightedSum(w, t.p00.green, t.p10.green, t.p01.green, t.p11.green)),
          BeforeStore<P>(WeightedSum(w, t.p00.blue, t.p10.blue, t.p01.blue, t.p11.blue))};
}

// Equality of bits, as a mask of reals. Integers have one pattern per value.
template <class P, class V = RealVec<P>>
HWY_INLINE auto SameBits(V a, V b) {
  if constexpr (kIsFloat<P>) {
    const hn::RebindToUnsigned<RealTag<P>> du;
    return hn::RebindMask(RealTag<P>(), hn::Eq(hn::BitCast(du, a), hn::BitCast(du, b)));
  } else {
    return hn::Eq(a, b);
  }
}

template <class P, class V>
HWY_INLINE auto AllSameBits(V a, V b, V c, V d) {
  return hn::And(hn::And(SameBits<P>(a, b), SameBits<P>(a, c)), SameBits<P>(a, d));
}

template <class P, class V>
HWY_INLINE auto UniformColours(const Taps<V>& t) {
  const auto red = AllSameBits<P>(t.p00.red, t.p10.red, t.p01.red, t.p11.red);
  const auto green = AllSameBits<P>(t.p00.green, t.p10.green, t.p01.green, t.p11.green);
  return hn::And(hn::And(red, green), AllSameBits<P>(t.p00.blue, t.p10.blue, t.p01.blue, t.p11.blue));
}

template <class P, class V>
HWY_INLINE auto SameAlphaBits(const Taps<V>& t) {
  return AllSameBits<P>(t.p00.alpha, t.p10.alpha, t.p01.alpha, t.p11.alpha);
}

// Lanes that a uniform block decides. Integers: only without alpha, else BlendEqual has it right.
template <class P, class M, class V>
HWY_INLINE Channels<V> WithUniform(const Taps<V>& t, M clear, const Channels<V>& out) {
  const RealTag<P> d;
  auto uniform = clear;
  if constexpr (kIsFloat<P>) uniform = SameAlphaBits<P>(t);
  uniform = hn::And(uniform, AllSameBits<P>(t.p00.red, t.p10.red, t.p01.red, t.p11.red));
  if (hn::AllFalse(d, uniform)) return out;
  return Select<P>(hn::And(uniform, UniformColours<P>(t)), t.p00, out);
}

// Any alphas: each lane by its own rule.
template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> BlendMixed(const Taps<V>& t, const Weights<V>& w) {
  const RealTag<P> d;
  const V zero = hn::Zero(d);
  const auto equal = hn::And(hn::And(hn::Eq(t.p00.alpha, t.p10.alpha), hn::Eq(t.p00.alpha, t.p01.alpha)),
                             hn::Eq(t.p00.alpha, t.p11.alpha));
  const auto clear = hn::And(equal, hn::Eq(t.p00.alpha, zero));
  if (hn::AllFalse(d, equal)) return WithUniform<P>(t, clear, BlendDiffering<P>(t, w));
  Channels<V> out = BlendEqual<P>(t, w);
  if (!hn::AllTrue(d, equal)) out = Select<P>(equal, out, BlendDiffering<P>(t, w));
  if (!hn::AllFalse(d, clear)) out = Select<P>(clear, {zero, zero, zero, zero}, out);
  return WithUniform<P>(t, clear, out);
}

// The rule for a class of blocks.
template <class P, AlphaClass alphas, class V = RealVec<P>>
HWY_INLINE Channels<V> BlendOf(const Taps<V>& t, const Weights<V>& w) {
  if constexpr (alphas == AlphaClass::kDiffering) {
    return BlendDiffering<P>(t, w);
  } else if constexpr (alphas == AlphaClass::kEqual) {
    Channels<V> out = BlendEqual<P>(t, w);
    if constexpr (kIsFloat<P>) {
      // Most vectors have no uniform block by the first comparison.
      if (HWY_UNLIKELY(!hn::AllFalse(RealTag<P>(), SameBits<P>(t.p00.red, t.p11.red)))) {
        const auto uniform = UniformColours<P>(t);
        out.red = hn::IfThenElse(uniform, t.p00.red, out.red);
        out.green = hn::IfThenElse(uniform, t.p00.green, out.green);
        out.blue = hn::IfThenElse(uniform, t.p00.blue, out.blue);
      }
    }
    return out;
  } else {
    return BlendMixed<P>(t, w);
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
