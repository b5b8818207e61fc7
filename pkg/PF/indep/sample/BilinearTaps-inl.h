// Where the samples of a row lie in unpacked source rows, and the taps there, without gathers.
#if defined(PF_SAMPLE_BILINEAR_TAPS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_TAPS_INL_H
#undef PF_SAMPLE_BILINEAR_TAPS_INL_H
#else
#define PF_SAMPLE_BILINEAR_TAPS_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "sample/BilinearBlend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR

// As many floats as the depth has lanes.
template <class P>
using FloatTag = hn::Rebind<float, RealTag<P>>;
// Samples that one block of 16 bytes of floats serves.
template <class P>
inline constexpr std::size_t kBlocks = (hn::MaxLanes(FloatTag<P>()) + 3) / 4;

template <class P>
HWY_INLINE RealVec<P> ToReal(hn::Vec<FloatTag<P>> v) {
  if constexpr (std::is_same_v<RealOf<P>, double>) {
    return hn::PromoteTo(RealTag<P>(), v);
  } else {
    return v;
  }
}

// Lanes samples: the column where each block of four starts, the bytes of each sample in its block (of
// packed pixels the alpha, as a 32-bit value), and the fraction, in 1/65536 and in pixels.
template <class P>
struct SamplePlace {
  std::int64_t column[kBlocks<P>];
  hn::Vec<hn::Repartition<std::uint8_t, FloatTag<P>>> bytes;
  hn::Vec<hn::RebindToSigned<FloatTag<P>>> fraction;
  RealVec<P> u;
};

// Positions of samples k = 0, 1, ... from `x` in steps of at most a pixel, relative to element 0 of the
// planes. So four samples reach over no more than four columns, and one load of four floats serves them.
template <class P>
class SamplePositions {
 public:
  SamplePositions(std::int64_t x, std::int64_t step) : x_(x), step_(step) {}

  HWY_INLINE SamplePlace<P> At(std::int64_t k) const {
    const FloatTag<P> d;
    const hn::RebindToSigned<FloatTag<P>> di;
    const hn::Repartition<std::uint8_t, FloatTag<P>> d8;
    const std::int64_t x = x_ + k * step_;
    const auto steps = hn::Mul(hn::Iota(di, 0), hn::Set(di, static_cast<std::int32_t>(step_)));
    const auto position = hn::Add(hn::Set(di, static_cast<std::int32_t>(x & 0xFFFF)), steps);
    const auto column = hn::ShiftRight<16>(position);
    const auto offset = hn::ShiftLeft<2>(hn::Sub(column, hn::Broadcast<0>(column)));
    auto bytes = hn::BitCast(d8, hn::Or(offset, hn::Set(di, static_cast<std::int32_t>(0x80808000u))));
    if constexpr (HeldRow<P>::kPlanes == 4) {
      alignas(16) static constexpr std::uint8_t kFirst[16] = {0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12};
      const auto start = hn::TableLookupBytes(hn::BitCast(d8, offset), hn::LoadDup128(d8, kFirst));
      bytes = hn::Add(start, hn::BitCast(d8, hn::Set(di, 0x03020100)));
    }
    const auto fraction = hn::And(position, hn::Set(di, 0xFFFF));
    const auto u = hn::Mul(hn::ConvertTo(d, fraction), hn::Set(d, 0x1p-16f));
    SamplePlace<P> place = {{}, bytes, fraction, ToReal<P>(u)};
    for (std::size_t b = 0; b < kBlocks<P>; ++b) place.column[b] = ColumnAt(k + static_cast<std::int64_t>(4 * b));
    return place;
  }

  std::int64_t ColumnAt(std::int64_t k) const { return (x_ + k * step_) >> 16; }
  std::int64_t FractionAt(std::int64_t k) const { return (x_ + k * step_) & 0xFFFF; }
  std::int64_t step() const { return step_; }

  // The first sample at or behind an element that is not left of sample 0.
  std::int64_t SampleAt(std::int64_t element) const { return (element * 65536 - x_ + step_ - 1) / step_; }
  // The same limited to 0..n.
  std::int64_t FirstAt(std::int64_t element, std::int64_t n) const {
    return std::clamp<std::int64_t>(SampleAt(element), 0, n);
  }

 private:
  std::int64_t x_, step_;
};

template <class P>
HWY_INLINE Channels<RealVec<P>> LoadTap(const float* planes, std::int64_t stride, const SamplePlace<P>& place) {
  const FloatTag<P> d;
  const hn::Repartition<std::uint8_t, FloatTag<P>> d8;
  const auto tap = [&](std::int64_t c) HWY_ATTR {
    const auto blocks = hn::BitCast(d8, LoadBlocks(d, planes + c * stride, place.column));
    return ToReal<P>(hn::BitCast(d, hn::TableLookupBytes(blocks, place.bytes)));
  };
  return {tap(0), tap(1), tap(2), tap(3)};
}

template <class P>
HWY_INLINE Channels<RealVec<P>> LoadTap(const std::uint32_t* pixels, std::int64_t, const SamplePlace<P>& place) {
  const FloatTag<P> d;
  const hn::RebindToSigned<FloatTag<P>> di;
  const hn::Repartition<std::uint8_t, FloatTag<P>> d8;
  const auto blocks = hn::BitCast(d8, LoadBlocks(hn::RebindToUnsigned<FloatTag<P>>(), pixels, place.column));
  const auto tap = [&](std::int32_t c) HWY_ATTR {
    const auto bytes = hn::Add(place.bytes, hn::BitCast(d8, hn::Set(di, c)));
    return hn::ConvertTo(d, hn::BitCast(di, hn::TableLookupBytesOr0(blocks, bytes)));
  };
  return {tap(0), tap(1), tap(2), tap(3)};
}

// Two held source rows and the samples between them.
template <class P>
struct RowJob {
  const HeldElement<P>* upper;
  const HeldElement<P>* lower;
  std::int64_t stride;
  SamplePositions<P> positions;
  std::int64_t fy;
  RealOf<P> v;  // fy in pixels
  P* out;
};

template <class V>
HWY_INLINE V Lerp(V u, V c0, V c1) {
  return hn::Add(c0, hn::Mul(u, hn::Sub(c1, c0)));
}

template <class V>
HWY_INLINE Channels<V> TimesAlpha(const Channels<V>& p) {
  return {p.alpha, hn::Mul(p.alpha, p.red), hn::Mul(p.alpha, p.green), hn::Mul(p.alpha, p.blue)};
}

// Stores samples begin..end-1; sample(k) yields those from k on. A sampler is an object with all it reads
// in its own members, so that they stay in registers.
template <class P, class Sampler>
HWY_INLINE void ForLanes(std::int64_t begin, std::int64_t end, P* out, const Sampler sample) {
  const RealTag<P> d;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  std::int64_t k = begin;
  for (; k + lanes <= end; k += lanes) StorePixels(d, sample(k), out + k);
  if (k >= end) return;
  P last[HWY_MAX_BYTES / sizeof(RealOf<P>)];
  StorePixels(d, sample(k), last);
  std::memcpy(out + k, last, static_cast<std::size_t>(end - k) * sizeof(P));
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
