// Source rows unpacked into four planes of floats, and destination vectors packed into pixels.
#if defined(PF_SIMD_SAMPLE_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SIMD_SAMPLE_ROWS_INL_H
#undef PF_SIMD_SAMPLE_ROWS_INL_H
#else
#define PF_SIMD_SAMPLE_ROWS_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>

#include "PF/PF_Types.h"
#include "pixel/Plane.h"
#include "simd/ConvertDepth-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// One value per channel, in vectors.
template <class V>
struct Channels {
  V alpha, red, green, blue;
};

// Lanes(d) pixels as floats. All integer values are exact.
template <class DF, class V = hn::Vec<DF>>
HWY_INLINE Channels<V> LoadPixels(DF d, const PF_Pixel8* from) {
  const hn::RebindToSigned<DF> di;
  const auto packed = hn::BitCast(hn::RebindToUnsigned<DF>(), hn::LoadU(hn::Repartition<std::uint8_t, DF>(),
                                                                        reinterpret_cast<const std::uint8_t*>(from)));
  const auto byte = hn::Set(hn::RebindToUnsigned<DF>(), 0xFF);
  const auto real = [&](auto bits) { return hn::ConvertTo(d, hn::BitCast(di, bits)); };
  return {real(hn::And(packed, byte)), real(hn::And(hn::ShiftRight<8>(packed), byte)),
          real(hn::And(hn::ShiftRight<16>(packed), byte)), real(hn::ShiftRight<24>(packed))};
}

template <class DF, class V = hn::Vec<DF>>
HWY_INLINE Channels<V> LoadPixels(DF d, const PF_Pixel16* from) {
  const hn::Rebind<std::uint16_t, DF> d16;
  const hn::RebindToSigned<DF> di;
  hn::Vec<decltype(d16)> a, r, g, b;
  hn::LoadInterleaved4(d16, reinterpret_cast<const std::uint16_t*>(from), a, r, g, b);
  const auto real = [&](auto half) { return hn::ConvertTo(d, hn::PromoteTo(di, half)); };
  return {real(a), real(r), real(g), real(b)};
}

template <class DF, class V = hn::Vec<DF>>
HWY_INLINE Channels<V> LoadPixels(DF d, const PF_PixelFloat* from) {
  Channels<V> p;
  hn::LoadInterleaved4(d, reinterpret_cast<const float*>(from), p.alpha, p.red, p.green, p.blue);
  return p;
}

// Unpacks columns first..first+count-1 of row `j` into planes of `stride` floats; what lies outside the
// world, and the rest of every plane, is zero.
template <class P>
HWY_NOINLINE void UnpackRow(const Plane<P>& src, std::int64_t j, std::int64_t first, std::int64_t count,
                            std::int64_t stride, float* HWY_RESTRICT planes) {
  const hn::ScalableTag<float> d;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const std::int64_t left = std::clamp<std::int64_t>(-first, 0, count);
  const std::int64_t right = j >= 0 && j < src.height ? std::clamp(src.width - first, left, count) : left;
  for (int c = 0; c < 4; ++c) {
    std::fill_n(planes + c * stride, left, 0.0f);
    std::fill_n(planes + c * stride + right, stride - right, 0.0f);
  }
  if (left == right) return;
  const P* row = src.Row(j);
  std::int64_t m = left;
  for (; m + lanes <= right; m += lanes) {
    const auto p = LoadPixels(d, row + (first + m));
    hn::StoreU(p.alpha, d, planes + m);
    hn::StoreU(p.red, d, planes + stride + m);
    hn::StoreU(p.green, d, planes + 2 * stride + m);
    hn::StoreU(p.blue, d, planes + 3 * stride + m);
  }
  for (; m < right; ++m) {
    const P& pixel = row[first + m];
    planes[m] = static_cast<float>(pixel.alpha);
    planes[stride + m] = static_cast<float>(pixel.red);
    planes[2 * stride + m] = static_cast<float>(pixel.green);
    planes[3 * stride + m] = static_cast<float>(pixel.blue);
  }
}

// Lanes(d) pixels to memory. Values are limited already; integers are truncated.
template <class DF, class V = hn::Vec<DF>>
HWY_INLINE void StorePixels(DF, const Channels<V>& p, PF_Pixel8* to) {
  const auto whole = [](V v) { return TruncateToInt32(v); };
  const auto low = hn::Or(whole(p.alpha), hn::ShiftLeft<16>(whole(p.green)));
  const auto high = hn::Or(whole(p.red), hn::ShiftLeft<16>(whole(p.blue)));
  hn::StoreU(hn::BitCast(hn::Repartition<std::uint8_t, DF>(), hn::Or(low, hn::ShiftLeft<8>(high))),
             hn::Repartition<std::uint8_t, DF>(), reinterpret_cast<std::uint8_t*>(to));
}

template <class DD, class V = hn::Vec<DD>>
HWY_INLINE void StorePixels(DD, const Channels<V>& p, PF_Pixel16* to) {
  const hn::Rebind<std::int32_t, DD> di;
  const auto whole = [&](V v) { return hn::DemoteTo(di, v); };
  const auto low = hn::Or(whole(p.alpha), hn::ShiftLeft<16>(whole(p.red)));
  const auto high = hn::Or(whole(p.green), hn::ShiftLeft<16>(whole(p.blue)));
  hn::StoreInterleaved2(low, high, di, reinterpret_cast<std::int32_t*>(to));
}

template <class DF, class V = hn::Vec<DF>>
HWY_INLINE void StorePixels(DF d, const Channels<V>& p, PF_PixelFloat* to) {
  hn::StoreInterleaved4(p.alpha, p.red, p.green, p.blue, d, reinterpret_cast<float*>(to));
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
