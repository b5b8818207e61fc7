// Lanes to integers, and integers to bytes with limits.
#if defined(PF_SIMD_SATURATE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SIMD_SATURATE_INL_H
#undef PF_SIMD_SATURATE_INL_H
#else
#define PF_SIMD_SATURATE_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// To nearest, halves to even; for values that fit 32 bits, without Highway's repair of those that do not.
#if HWY_ARCH_X86
template <std::size_t N>
HWY_INLINE hn::Vec128<std::int32_t, N> RoundToInt32(hn::Vec128<float, N> v) {
  return hn::Vec128<std::int32_t, N>{_mm_cvtps_epi32(v.raw)};
}
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE hn::Vec256<std::int32_t> RoundToInt32(hn::Vec256<float> v) {
  return hn::Vec256<std::int32_t>{_mm256_cvtps_epi32(v.raw)};
}
#endif
#if HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec512<std::int32_t> RoundToInt32(hn::Vec512<float> v) {
  return hn::Vec512<std::int32_t>{_mm512_cvtps_epi32(v.raw)};
}
#endif
#else
template <class V>
HWY_INLINE auto RoundToInt32(V v) {
  return hn::NearestInt(v);
}
#endif

// Per block of 128 bits: the signed values of a, then those of b, limited to what is half as wide and unsigned. Those
// of 32 bits may be at most 65535.
template <class V>
HWY_INLINE auto PackUnsigned(V a, V b) {
  const hn::DFromV<V> d;
  constexpr std::size_t kSize = sizeof(hn::TFromV<V>);
  const hn::Repartition<hwy::UnsignedFromSize<kSize / 2>, decltype(d)> packed;
  using Packed = hn::Vec<decltype(packed)>;
#if HWY_ARCH_X86
  constexpr std::size_t kBytes = kSize * hn::MaxLanes(d);
  if constexpr (kSize == 2) {
    if constexpr (kBytes == 64) return Packed{_mm512_packus_epi16(a.raw, b.raw)};
    if constexpr (kBytes == 32) return Packed{_mm256_packus_epi16(a.raw, b.raw)};
    if constexpr (kBytes <= 16) return Packed{_mm_packus_epi16(a.raw, b.raw)};
  } else if constexpr (HWY_TARGET <= HWY_SSE4) {
    if constexpr (kBytes == 64) return Packed{_mm512_packus_epi32(a.raw, b.raw)};
    if constexpr (kBytes == 32) return Packed{_mm256_packus_epi32(a.raw, b.raw)};
    if constexpr (kBytes <= 16) return Packed{_mm_packus_epi32(a.raw, b.raw)};
  } else
#endif
  {
    static_assert(kSize == 4, "only x86 packs 16-bit lanes");
    const hn::RebindToSigned<decltype(packed)> shifted;
    const auto centre = hn::Set(d, 32768);
    const auto both = hn::ReorderDemote2To(shifted, hn::Sub(a, centre), hn::Sub(b, centre));
    return hn::BitCast(packed, hn::Xor(both, hn::Set(shifted, INT16_MIN)));
  }
}

// Lanes of 32 bits: four signed values limited to 0..255, the first in the lowest byte.
template <class V>
HWY_INLINE auto PackToBytes(V a, V b, V c, V d) {
  const hn::DFromV<V> di;
  const hn::RebindToUnsigned<decltype(di)> du;
#if HWY_ARCH_X86
  // Pairs of values side by side in blocks of 128 bits, then all four, then each block in order.
  const hn::Repartition<std::int16_t, decltype(di)> d16;
  const hn::Repartition<std::uint8_t, decltype(di)> d8;
  const auto ab = hn::ReorderDemote2To(d16, a, b), cd = hn::ReorderDemote2To(d16, c, d);
  alignas(16) static constexpr std::uint8_t kOrder[16] = {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15};
  return hn::BitCast(du, hn::TableLookupBytes(PackUnsigned(ab, cd), hn::LoadDup128(d8, kOrder)));
#else
  const auto limited = [=](V v)
                           HWY_ATTR { return hn::BitCast(du, hn::Min(hn::Max(v, hn::Zero(di)), hn::Set(di, 255))); };
  return hn::Or(hn::Or(limited(a), hn::ShiftLeft<8>(limited(b))),
                hn::Or(hn::ShiftLeft<16>(limited(c)), hn::ShiftLeft<24>(limited(d))));
#endif
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
