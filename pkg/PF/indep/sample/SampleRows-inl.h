// Source rows made ready for sampling, and vectors of samples stored as pixels.
#if defined(PF_SAMPLE_SAMPLE_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_SAMPLE_ROWS_INL_H
#undef PF_SAMPLE_SAMPLE_ROWS_INL_H
#else
#define PF_SAMPLE_SAMPLE_ROWS_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "PF/PF_Types.h"
#include "pixel/Depth.h"
#include "pixel/Plane.h"
#include "sample/RowCache.h"
#include "simd/ConvertDepth-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// One value per channel, in vectors.
template <class V>
struct Channels {
  V alpha, red, green, blue;
};

// Blocks of 16 bytes of a vector of 32-bit lanes, each from its own place.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const hn::TFromD<D>* from, const std::int64_t* place) {
  if constexpr (hn::MaxLanes(D()) <= 4) {
    return hn::LoadU(d, from + *place);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, LoadBlocks(half, from, place + hn::MaxLanes(half) / 4), LoadBlocks(half, from, place));
  }
}

// Block b of a vector.
template <class D>
HWY_INLINE hn::Vec<hn::Full128<hn::TFromD<D>>> BlockAt(D, hn::Vec<D> v, std::size_t b) {
  if constexpr (hn::MaxLanes(D()) * sizeof(hn::TFromD<D>) == 16) {
    return v;
  } else {
    const hn::Half<D> half;
    constexpr std::size_t kHalf = hn::MaxLanes(half) * sizeof(hn::TFromD<D>) / 16;
    return b < kHalf ? BlockAt(half, hn::LowerHalf(half, v), b) : BlockAt(half, hn::UpperHalf(half, v), b - kHalf);
  }
}

// Lanes(d) groups of four values, like pixels, each value in a vector of its own. Groups are loaded one by
// one, since they have just been stored one by one.
template <class D, class V = hn::Vec<D>>
HWY_INLINE Channels<V> LoadGroups(D d, const hn::TFromD<D>* from) {
  if constexpr (sizeof(hn::TFromD<D>) == 8) {
    Channels<V> groups;
    hn::LoadInterleaved4(d, from, groups.alpha, groups.red, groups.green, groups.blue);
    return groups;
  } else {
    const hn::Repartition<double, D> wide;
    const auto row = [&](std::int64_t r) HWY_ATTR {
      const std::int64_t place[4] = {4 * r, 4 * r + 16, 4 * r + 32, 4 * r + 48};
      return LoadBlocks(d, from, place);
    };
    const V v0 = row(0), v1 = row(1), v2 = row(2), v3 = row(3);
    const auto low01 = hn::BitCast(wide, hn::InterleaveLower(d, v0, v1));
    const auto low23 = hn::BitCast(wide, hn::InterleaveLower(d, v2, v3));
    const auto high01 = hn::BitCast(wide, hn::InterleaveUpper(d, v0, v1));
    const auto high23 = hn::BitCast(wide, hn::InterleaveUpper(d, v2, v3));
    return {hn::BitCast(d, hn::InterleaveLower(wide, low01, low23)),
            hn::BitCast(d, hn::InterleaveUpper(wide, low01, low23)),
            hn::BitCast(d, hn::InterleaveLower(wide, high01, high23)),
            hn::BitCast(d, hn::InterleaveUpper(wide, high01, high23))};
  }
}

// How a source row is kept for sampling: 8-bit pixels as they are, others as four planes.
template <class P>
struct HeldRow {
  using Element = ChannelOf<P>;
  static constexpr std::int64_t kPlanes = 4;
};
template <>
struct HeldRow<PF_Pixel8> {
  using Element = std::uint32_t;
  static constexpr std::int64_t kPlanes = 1;
};
template <class P>
using HeldElement = typename HeldRow<P>::Element;
template <class P>
inline constexpr std::int64_t kHeldColumnBytes = HeldRow<P>::kPlanes* std::int64_t{sizeof(HeldElement<P>)};

inline float AlphaOf(float alpha) { return alpha; }
inline float AlphaOf(std::uint16_t alpha) { return static_cast<float>(alpha); }
inline float AlphaOf(std::uint32_t pixel) { return static_cast<float>(pixel & 0xFF); }

// What holds for all pixels of a row.
struct HeldFacts {
  float alpha = 0;           // theirs, if it is the same and above 0; else 0
  bool within_full = false;  // no 16-bit colour is above full
};

template <class V>
HWY_INLINE bool AllZero(V v) {
  return hn::AllTrue(hn::DFromV<V>(), hn::Eq(v, hn::Zero(hn::DFromV<V>())));
}

// Pixels of a row to planes.
template <class P>
HWY_INLINE HeldFacts HoldPixels(const P* from, std::int64_t n, std::int64_t stride, ChannelOf<P>* HWY_RESTRICT planes) {
  const hn::ScalableTag<ChannelOf<P>> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  using V = hn::Vec<decltype(d)>;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const V first = hn::Set(d, from->alpha);
  auto differing = hn::Zero(du);
  V highest = hn::Zero(d);
  const auto take = [&](V alpha, V red, V green, V blue) HWY_ATTR {
    differing = hn::Or(differing, hn::BitCast(du, hn::Xor(alpha, first)));
    if constexpr (sizeof(ChannelOf<P>) == 2) highest = hn::Max(hn::Max(highest, red), hn::Max(green, blue));
  };
  const auto hold = [&](std::int64_t m) HWY_ATTR {
    V alpha, red, green, blue;
    hn::LoadInterleaved4(d, reinterpret_cast<const ChannelOf<P>*>(from + m), alpha, red, green, blue);
    hn::StoreU(alpha, d, planes + m);
    hn::StoreU(red, d, planes + stride + m);
    hn::StoreU(green, d, planes + 2 * stride + m);
    hn::StoreU(blue, d, planes + 3 * stride + m);
    take(alpha, red, green, blue);
  };
  std::int64_t m = 0;
  for (; m + lanes <= n; m += lanes) hold(m);
  if (m < n && m > 0) {
    hold(n - lanes);
    m = n;
  }
  for (; m < n; ++m) {
    planes[m] = from[m].alpha;
    planes[stride + m] = from[m].red;
    planes[2 * stride + m] = from[m].green;
    planes[3 * stride + m] = from[m].blue;
    take(hn::Set(d, from[m].alpha), hn::Set(d, from[m].red), hn::Set(d, from[m].green), hn::Set(d, from[m].blue));
  }
  const float alpha = AlphaOf(from->alpha);
  const V full = hn::Set(d, ChannelOf<P>(32768));
  return {alpha > 0 && AllZero(differing) ? alpha : 0, hn::AllTrue(d, hn::Eq(hn::Max(highest, full), full))};
}

HWY_INLINE HeldFacts HoldPixels(const PF_Pixel8* from, std::int64_t n, std::int64_t, std::uint32_t* HWY_RESTRICT to) {
  const hn::ScalableTag<std::uint32_t> d;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const auto* pixels = reinterpret_cast<const std::uint32_t*>(from);
  std::memcpy(to, from, sizeof *to);
  const auto first = hn::Set(d, *to);
  auto differing = hn::Zero(d);
  const auto hold = [&](std::int64_t m) HWY_ATTR {
    const auto v = hn::LoadU(d, pixels + m);
    hn::StoreU(v, d, to + m);
    differing = hn::Or(differing, hn::Xor(v, first));
  };
  std::int64_t m = 0;
  for (; m + lanes <= n; m += lanes) hold(m);
  if (m < n && m > 0) {
    hold(n - lanes);
    m = n;
  }
  for (; m < n; ++m) {
    std::memcpy(to + m, from + m, sizeof *to);
    differing = hn::Or(differing, hn::Xor(hn::Set(d, to[m]), first));
  }
  return {AllZero(hn::And(differing, hn::Set(d, 0xFF))) ? AlphaOf(*to) : 0, true};
}

// Keeps columns first..first+count-1 of row `j`; what lies outside the world, and the rest of a plane's
// `stride` elements, is zero. A row in the world leaves those as they are, unless `fresh`: a scratch keeps to one
// window. Facts of its pixels.
template <class P>
HWY_NOINLINE HeldFacts HoldRow(const Plane<P>& src, std::int64_t j, std::int64_t first, std::int64_t count,
                               std::int64_t stride, bool fresh, HeldElement<P>* HWY_RESTRICT held) {
  const std::int64_t left = std::clamp<std::int64_t>(-first, 0, count);
  const std::int64_t right = std::clamp(src.width - first, left, count);
  const bool inside = j >= 0 && j < src.height && left < right;
  if (fresh || !inside) std::fill_n(held, HeldRow<P>::kPlanes * stride, HeldElement<P>{0});
  if (!inside) return {0, true};
  return HoldPixels(src.Row(j) + (first + left), right - left, stride, held + left);
}

// Asks for row j, which the next row of samples is likely to need, unless that was done last.
template <class P>
HWY_INLINE void PrefetchRow(const RowCache& cache, const Plane<P>& src, const ColumnWindow& window, std::int64_t j) {
  if (j < 0 || j >= src.height || cache.head().asked_for == j) return;
  cache.head().asked_for = j;
  const std::int64_t left = std::clamp<std::int64_t>(window.first, 0, src.width);
  const std::int64_t right = std::clamp<std::int64_t>(window.first + window.count, left, src.width);
  constexpr std::int64_t kLine = 64 / std::int64_t{sizeof(P)};
  for (std::int64_t i = left; i < right; i += kLine) hwy::Prefetch(src.Row(j) + i);
}

// Row j, from the scratch when it is there.
template <class P>
HWY_INLINE const HeldElement<P>* HoldRowIn(const RowCache& cache, const Plane<P>& src, const ColumnWindow& window,
                                           std::int64_t j) {
  const std::int64_t slot = j & 1;
  RowCache::Head& head = cache.head();
  HeldElement<P>* held = cache.template planes<HeldElement<P>>(slot);
  const std::int64_t key = j >= 0 && j < src.height ? j + 1 : RowCache::kOutside;
  if (head.held[slot] != key) {
    const HeldFacts facts = HoldRow(src, j, window.first, window.count, cache.plane_stride, head.held[slot] == 0, held);
    head.held[slot] = key;
    head.form[slot][0] = head.form[slot][1] = RowForm::kNone;
    head.alpha[slot] = facts.alpha;
    head.within_full[slot] = facts.within_full;
  }
  return held;
}

// Truncated lanes that fit 32 bits.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto Truncated(D, V v) {
  if constexpr (sizeof(hn::TFromD<D>) == 8) {
    return hn::DemoteTo(hn::Rebind<std::int32_t, D>(), v);
  } else {
    return TruncateToInt32(v);
  }
}

// Past the caches, `to` must be aligned to the vector, and neighbouring vectors ought to follow at once.
template <class D>
HWY_INLINE void StoreVector(hn::Vec<D> v, D d, hn::TFromD<D>* to, bool past_caches) {
  if (past_caches) {
    hn::Stream(v, d, to);
  } else {
    hn::StoreU(v, d, to);
  }
}

// Lanes(d) pixels to memory. Values are limited already; integers are truncated.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void StorePixels(D d, const Channels<V>& p, PF_Pixel8* to) {
  const hn::Rebind<std::int32_t, D> di;
  const auto low = hn::Or(Truncated(d, p.alpha), hn::ShiftLeft<16>(Truncated(d, p.green)));
  const auto high = hn::Or(Truncated(d, p.red), hn::ShiftLeft<16>(Truncated(d, p.blue)));
  hn::StoreU(hn::Or(low, hn::ShiftLeft<8>(high)), di, reinterpret_cast<std::int32_t*>(to));
}

// Doubles in 0..65535.99 truncated, in the low 16 bits of each lane; the rest of the lane is 2^52 as a double, or 0.
template <class V>
HWY_INLINE auto TruncatedInLow16(V v) {
  const hn::DFromV<V> d;
  return hn::BitCast(hn::RebindToUnsigned<decltype(d)>(), hn::Add(hn::Floor(v), hn::Set(d, 0x1p52)));
}
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3
HWY_INLINE hn::Vec512<std::uint64_t> TruncatedInLow16(hn::Vec512<double> v) { return {_mm512_cvttpd_epu64(v.raw)}; }
#endif

// A pixel in each 64-bit lane, of such doubles. Shifts drop what is above.
template <class D, class V = hn::Vec<D>>
HWY_INLINE auto PackPixels16(D, const Channels<V>& p) {
  const hn::RebindToUnsigned<D> du;
  const auto alpha = hn::And(TruncatedInLow16(p.alpha), hn::Set(du, 0xFFFF));
  const auto red = hn::ShiftLeft<16>(TruncatedInLow16(p.red)), green = hn::ShiftLeft<32>(TruncatedInLow16(p.green));
  return hn::Or(hn::Or(alpha, red), hn::Or(green, hn::ShiftLeft<48>(TruncatedInLow16(p.blue))));
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE void StorePixels(D d, const Channels<V>& p, PF_Pixel16* to) {
  hn::StoreU(PackPixels16(d, p), hn::RebindToUnsigned<D>(), reinterpret_cast<std::uint64_t*>(to));
}

// Each lane a pixel, as vectors of blocks of 16 bytes: block b of vector i is pixel 4 b + i.
template <class V>
struct PixelBlocks {
  HWY_INLINE explicit PixelBlocks(const Channels<V>& p) {
    const hn::DFromV<V> d;
    const hn::Repartition<double, decltype(d)> wide;
    const auto low_ar = hn::BitCast(wide, hn::InterleaveLower(d, p.alpha, p.red));
    const auto low_gb = hn::BitCast(wide, hn::InterleaveLower(d, p.green, p.blue));
    const auto high_ar = hn::BitCast(wide, hn::InterleaveUpper(d, p.alpha, p.red));
    const auto high_gb = hn::BitCast(wide, hn::InterleaveUpper(d, p.green, p.blue));
    v[0] = hn::BitCast(d, hn::InterleaveLower(wide, low_ar, low_gb));
    v[1] = hn::BitCast(d, hn::InterleaveUpper(wide, low_ar, low_gb));
    v[2] = hn::BitCast(d, hn::InterleaveLower(wide, high_ar, high_gb));
    v[3] = hn::BitCast(d, hn::InterleaveUpper(wide, high_ar, high_gb));
  }
  V v[4];
};

// Blocks of four vectors in turn: block b of each, b = 0, 1 ...
template <class D, class V = hn::Vec<D>>
HWY_INLINE void StoreBlocksInTurn(D d, V v0, V v1, V v2, V v3, std::int64_t distance, float* to, bool past_caches) {
  if constexpr (hn::MaxLanes(D()) <= 4) {
    const V in_turn[] = {v0, v1, v2, v3};
    for (std::int64_t i = 0; i < 4; ++i) StoreVector(in_turn[i], d, to + 4 * i, past_caches);
  } else if constexpr (hn::MaxLanes(D()) == 8) {
    StoreVector(hn::ConcatLowerLower(d, v1, v0), d, to, past_caches);
    StoreVector(hn::ConcatLowerLower(d, v3, v2), d, to + 8, past_caches);
    StoreVector(hn::ConcatUpperUpper(d, v1, v0), d, to + distance, past_caches);
    StoreVector(hn::ConcatUpperUpper(d, v3, v2), d, to + distance + 8, past_caches);
  } else {
    const auto even = [](V a, V b) HWY_ATTR { return hn::OddEvenBlocks(hn::SwapAdjacentBlocks(b), a); };
    const auto odd = [](V a, V b) HWY_ATTR { return hn::OddEvenBlocks(b, hn::SwapAdjacentBlocks(a)); };
    const V even01 = even(v0, v1), even23 = even(v2, v3), odd01 = odd(v0, v1), odd23 = odd(v2, v3);
    StoreVector(hn::ConcatLowerLower(d, even23, even01), d, to, past_caches);
    StoreVector(hn::ConcatLowerLower(d, odd23, odd01), d, to + distance, past_caches);
    StoreVector(hn::ConcatUpperUpper(d, even23, even01), d, to + 2 * distance, past_caches);
    StoreVector(hn::ConcatUpperUpper(d, odd23, odd01), d, to + 3 * distance, past_caches);
  }
}

// Past the caches, `to` must be aligned to the vector.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void StorePixels(D d, const Channels<V>& p, PF_PixelFloat* to, bool past_caches) {
  const PixelBlocks<V> pixels(p);
  StoreBlocksInTurn(d, pixels.v[0], pixels.v[1], pixels.v[2], pixels.v[3], 16, reinterpret_cast<float*>(to),
                    past_caches);
}

// Doubles are narrowed; what is not a number then becomes the one that is stored.
template <class D, class V = hn::Vec<D>>
HWY_INLINE void StorePixels(D d, const Channels<V>& p, PF_PixelFloat* to) {
  if constexpr (sizeof(hn::TFromD<D>) == 8) {
    const hn::Rebind<float, D> df;
    const auto narrow = [&](V v) HWY_ATTR {
      const auto f = hn::DemoteTo(df, v);
      return hn::IfThenElse(hn::IsNaN(f), hn::Set(df, std::numeric_limits<float>::quiet_NaN()), f);
    };
    hn::StoreInterleaved4(narrow(p.alpha), narrow(p.red), narrow(p.green), narrow(p.blue), df,
                          reinterpret_cast<float*>(to));
  } else {
    hn::StoreInterleaved4(p.alpha, p.red, p.green, p.blue, d, reinterpret_cast<float*>(to));
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
