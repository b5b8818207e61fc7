// The lane forms of pixel/ConvertDepth.h: the same names, the same bits.
#if defined(PF_SIMD_CONVERT_DEPTH_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SIMD_CONVERT_DEPTH_INL_H
#undef PF_SIMD_CONVERT_DEPTH_INL_H
#else
#define PF_SIMD_CONVERT_DEPTH_INL_H
#endif

#include <hwy/highway.h>

#include "pixel/ConvertDepth.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// Lanes of 16 bits that hold 8-bit values. (v * 8421504 + 33200) >> 16 is 128 v + ((257 v + 259) >> 9),
// and the average gives the carry of the sum a place.
template <class D16, class V = hn::Vec<D16>>
HWY_INLINE V Widen(D16 d, V v) {
  const V twice = hn::Or(v, hn::ShiftLeft<8>(v));
  return hn::Add(hn::ShiftLeft<7>(v), hn::ShiftRight<8>(hn::AverageRound(twice, hn::Set(d, 258))));
}

// Lanes of 16 bits; the result is in the low byte. (510 v + 32768) >> 16 without leaving 16 bits.
template <class D16, class V = hn::Vec<D16>>
HWY_INLINE V Narrow(D16 d, V v) {
  const V factor = hn::Set(d, 510);
  return hn::Add(hn::MulHigh(v, factor), hn::ShiftRight<15>(hn::Mul(v, factor)));
}

// Lanes of 16 bits; `random` holds the low 16 bits of the sequence, the result is in the low byte. Both
// summands of (510 v + 2 (random & 32767)) >> 16 are even, so their average loses nothing and its top bit
// is the carry.
template <class D16, class V = hn::Vec<D16>>
HWY_INLINE V NarrowDithered(D16 d, V v, V random) {
  const V factor = hn::Set(d, 510);
  const V sum = hn::AverageRound(hn::Mul(v, factor), hn::ShiftLeft<1>(random));
  return hn::Add(hn::MulHigh(v, factor), hn::ShiftRight<15>(sum));
}

// Limits of whole pixels, channel by channel, as lanes.
template <class DF>
struct FromFloatLimits {
  using V = hn::Vec<DF>;

  FromFloatLimits(DF d, float full) : scale(hn::Set(d, full)) {
    alignas(16) const float low_of[4] = {-0x1p31f, 0.0f, 0.0f, 0.0f};
    alignas(16) const float high_of[4] = {0x1p31f, full, full, full};
    low = hn::LoadDup128(d, low_of);
    high = hn::LoadDup128(d, high_of);
  }

  V scale, low, high;
};

#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
// The instruction itself, without Highway's saturation: what does not fit gives 0x80000000.
template <std::size_t N>
HWY_INLINE hn::Vec128<std::int32_t, N> TruncateToInt32(hn::Vec128<float, N> v) {
  return {_mm_cvttps_epi32(v.raw)};
}
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE hn::Vec256<std::int32_t> TruncateToInt32(hn::Vec256<float> v) { return {_mm256_cvttps_epi32(v.raw)}; }
#endif
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec512<std::int32_t> TruncateToInt32(hn::Vec512<float> v) { return {_mm512_cvttps_epi32(v.raw)}; }
#endif
#else
template <class V>
HWY_INLINE auto TruncateToInt32(V v) {
  const hn::DFromV<V> d;
  const hn::RebindToSigned<decltype(d)> di;
  const auto fits = hn::And(hn::Ge(v, hn::Set(d, -0x1p31f)), hn::Lt(v, hn::Set(d, 0x1p31f)));
  return hn::IfThenElse(hn::RebindMask(di, fits), hn::ConvertTo(di, v), hn::Set(di, INT32_MIN));
}
#endif

// Float lanes of whole pixels to 32-bit lanes of which the low 8 or 16 bits count.
template <class DF, class V = hn::Vec<DF>>
HWY_INLINE hn::Vec<hn::RebindToUnsigned<DF>> FromFloat(DF d, const FromFloatLimits<DF>& limits, V v) {
  const V scaled = hn::Mul(v, limits.scale);
#if HWY_ARCH_X86 && HWY_TARGET != HWY_EMU128
  // The maximum of this architecture yields its second operand for NaN. For alpha the lowest value stands
  // for NaN as well: its low bits are 0.
  const V raised = hn::Max(scaled, limits.low);
#else
  const V raised = hn::IfThenElse(hn::Gt(scaled, limits.low), scaled, limits.low);
#endif
  const V rounded = hn::Add(hn::Min(raised, limits.high), hn::Set(d, 0.5f));
  return hn::BitCast(hn::RebindToUnsigned<DF>(), TruncateToInt32(rounded));
}

// 32-bit lanes that hold 8- or 16-bit values.
template <class DF>
HWY_INLINE hn::Vec<DF> ToFloat(DF d, hn::Vec<hn::RebindToSigned<DF>> v, float unit) {
  return hn::Mul(hn::ConvertTo(d, v), hn::Set(d, unit));
}

#endif  // HWY_TARGET != HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
