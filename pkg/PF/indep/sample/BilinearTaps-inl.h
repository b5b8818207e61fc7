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

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Blocks of four samples in a vector; 16 bytes of 32-bit elements serve one.
template <class P>
inline constexpr std::size_t kBlocks = (hn::MaxLanes(RealTag<P>()) + 3) / 4;

// As many samples as a vector has lanes: the column where each block of four starts, the bytes of each
// sample in its block (of packed pixels the alpha, as a 32-bit value), and the fraction, in 1/65536 and in
// pixels.
template <class P>
struct SamplePlace {
  std::int64_t column[kBlocks<P>];
  hn::Vec<hn::Repartition<std::uint8_t, RealTag<P>>> bytes;
  hn::Vec<hn::RebindToSigned<RealTag<P>>> fraction;
  RealVec<P> u;
};

// 16 bits: four samples from eight columns, as 64-bit values.
template <>
struct SamplePlace<PF_Pixel16> {
  std::int64_t column;
  hn::Vec<hn::Repartition<std::uint8_t, RealTag<PF_Pixel16>>> bytes;
  RealVec<PF_Pixel16> u;
};

// Positions of samples k = 0, 1, ... from `x` in steps of at most a pixel, relative to element 0 of the
// planes. So four samples reach over no more than four columns, and one load serves them.
template <class P>
class SamplePositions {
 public:
  SamplePositions(std::int64_t x, std::int64_t step) : x_(x), step_(step) {}

  std::int64_t At(std::int64_t k) const { return x_ + k * step_; }
  std::int64_t ColumnAt(std::int64_t k) const { return At(k) >> 16; }
  std::int64_t FractionAt(std::int64_t k) const { return At(k) & 0xFFFF; }
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

// Of the samples from k on.
template <class P>
HWY_INLINE SamplePlace<P> PlaceAt(const SamplePositions<P>& positions, std::int64_t k) {
  const RealTag<P> d;
  const hn::RebindToSigned<RealTag<P>> di;
  const hn::Repartition<std::uint8_t, RealTag<P>> d8;
  const auto steps = hn::Mul(hn::Iota(di, 0), hn::Set(di, static_cast<std::int32_t>(positions.step())));
  const auto position = hn::Add(hn::Set(di, static_cast<std::int32_t>(positions.FractionAt(k))), steps);
  const auto column = hn::ShiftRight<16>(position);
  const auto offset = hn::ShiftLeft<2>(hn::Sub(column, hn::Broadcast<0>(column)));
  auto bytes = hn::BitCast(d8, hn::Or(offset, hn::Set(di, static_cast<std::int32_t>(0x80808000u))));
  if constexpr (kIsFloat<P>) {
    alignas(16) static constexpr std::uint8_t kFirst[16] = {0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12};
    const auto start = hn::TableLookupBytes(hn::BitCast(d8, offset), hn::LoadDup128(d8, kFirst));
    bytes = hn::Add(start, hn::BitCast(d8, hn::Set(di, 0x03020100)));
  }
  const auto fraction = hn::And(position, hn::Set(di, 0xFFFF));
  SamplePlace<P> place = {{}, bytes, fraction, hn::Mul(hn::ConvertTo(d, fraction), hn::Set(d, 0x1p-16f))};
  for (std::size_t b = 0; b < kBlocks<P>; ++b) {
    place.column[b] = positions.ColumnAt(k + static_cast<std::int64_t>(4 * b));
  }
  return place;
}

// A value below 2^52 as a double: the bits of 2^52 plus it are those of 2^52 with it below.
template <class D, class V>
HWY_INLINE hn::Vec<D> SmallToDouble(D d, V v) {
  const auto offset = hn::Set(d, 0x1p52);
  return hn::Sub(hn::BitCast(d, hn::Or(v, hn::BitCast(hn::DFromV<V>(), offset))), offset);
}

HWY_INLINE SamplePlace<PF_Pixel16> PlaceAt(const SamplePositions<PF_Pixel16>& positions, std::int64_t k) {
  const RealTag<PF_Pixel16> d;
  const hn::RebindToUnsigned<RealTag<PF_Pixel16>> du;
  const hn::Repartition<std::uint8_t, RealTag<PF_Pixel16>> d8;
  const hn::Repartition<std::uint32_t, decltype(du)> du32;
  const auto step = hn::Set(du32, static_cast<std::uint32_t>(positions.step()));
  const auto steps = hn::MulEven(hn::BitCast(du32, hn::Iota(du, 0)), step);
  const auto position = hn::Add(hn::Set(du, static_cast<std::uint64_t>(positions.FractionAt(k))), steps);
  // Column o stands in bytes 2 o and 2 o + 1; the other six of a lane are zero.
  const auto column = hn::ShiftRight<16>(position);
  const auto two = hn::Or(hn::ShiftLeft<1>(column), hn::ShiftLeft<9>(column));
  const auto bytes = hn::BitCast(d8, hn::Or(two, hn::Set(du, 0x8080808080800100u)));
  const auto u = SmallToDouble(d, hn::And(position, hn::Set(du, 0xFFFF)));
  return {positions.ColumnAt(k), bytes, hn::Mul(u, hn::Set(d, 0x1p-16))};
}

HWY_INLINE Channels<RealVec<PF_PixelFloat>> LoadTap(const float* planes, std::int64_t stride,
                                                    const SamplePlace<PF_PixelFloat>& place) {
  const RealTag<PF_PixelFloat> d;
  const hn::Repartition<std::uint8_t, RealTag<PF_PixelFloat>> d8;
  const auto tap = [&](std::int64_t c) HWY_ATTR {
    const auto blocks = hn::BitCast(d8, LoadBlocks(d, planes + c * stride, place.column));
    return hn::BitCast(d, hn::TableLookupBytes(blocks, place.bytes));
  };
  return {tap(0), tap(1), tap(2), tap(3)};
}

HWY_INLINE Channels<RealVec<PF_Pixel16>> LoadTap(const std::uint16_t* planes, std::int64_t stride,
                                                 const SamplePlace<PF_Pixel16>& place) {
  const RealTag<PF_Pixel16> d;
  const hn::RebindToUnsigned<RealTag<PF_Pixel16>> du;
  const hn::Repartition<std::uint8_t, RealTag<PF_Pixel16>> d8;
  const auto tap = [&](std::int64_t c) HWY_ATTR {
    const auto* from = reinterpret_cast<const std::uint8_t*>(planes + c * stride + place.column);
    return SmallToDouble(d, hn::BitCast(du, hn::TableLookupBytesOr0(hn::LoadDup128(d8, from), place.bytes)));
  };
  return {tap(0), tap(1), tap(2), tap(3)};
}

HWY_INLINE Channels<RealVec<PF_Pixel8>> LoadTap(const std::uint32_t* pixels, std::int64_t,
                                                const SamplePlace<PF_Pixel8>& place) {
  const RealTag<PF_Pixel8> d;
  const hn::RebindToSigned<RealTag<PF_Pixel8>> di;
  const hn::Repartition<std::uint8_t, RealTag<PF_Pixel8>> d8;
  const auto blocks = hn::BitCast(d8, LoadBlocks(hn::RebindToUnsigned<RealTag<PF_Pixel8>>(), pixels, place.column));
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
