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
#include <utility>

#include "sample/BilinearBlend-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// As many 16-bit values as a vector has doubles.
HWY_INLINE RealVec<PF_Pixel16> LoadReals(const std::uint16_t* from) {
  const RealTag<PF_Pixel16> d;
  const hn::Rebind<std::uint16_t, RealTag<PF_Pixel16>> d16;
  const hn::Rebind<std::int32_t, RealTag<PF_Pixel16>> d32;
  return hn::PromoteTo(d, hn::PromoteTo(d32, hn::LoadU(d16, from)));
}

// As many samples as a vector has lanes: the column of the first, the columns of all behind it, and their
// fractions, in 1/65536 and in pixels.
template <class P>
struct SamplePlace {
  using Columns = hn::Vec<hn::RebindToSigned<RealTag<P>>>;

  std::int64_t column;
  decltype(hn::IndicesFromVec(RealTag<P>(), std::declval<Columns>())) columns;
  hn::Vec<hn::Rebind<std::int32_t, RealTag<P>>> fraction;
  RealVec<P> u;
};

// Positions of samples k = 0, 1, ... from `x` in steps of at most a pixel, relative to element 0 of the
// planes. So the samples of a vector reach over no more columns than it has lanes, and one load serves them.
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

// Of the samples from k on, in the order of `samples` counted from there; or of the columns `right` of them, behind the
// same first one.
template <class P>
HWY_INLINE SamplePlace<P> PlaceAt(const SamplePositions& positions, std::int64_t k,
                                  hn::Vec<hn::Rebind<std::int32_t, RealTag<P>>> samples, std::int32_t right = 0) {
  const RealTag<P> d;
  const hn::RebindToSigned<RealTag<P>> dc;
  const hn::Rebind<std::int32_t, RealTag<P>> di;
  const auto steps = hn::Mul(samples, hn::Set(di, static_cast<std::int32_t>(positions.step())));
  const auto position = hn::Add(hn::Set(di, static_cast<std::int32_t>(positions.FractionAt(k))), steps);
  const auto column = hn::Add(hn::ShiftRight<16>(position), hn::Set(di, right));
  const auto fraction = hn::And(position, hn::Set(di, 0xFFFF));
  const auto unit = hn::Set(d, RealOf<P>(1) / 65536);
  if constexpr (sizeof(RealOf<P>) == 8) {
    return {positions.ColumnAt(k), hn::IndicesFromVec(d, hn::PromoteTo(dc, column)), fraction,
            hn::Mul(hn::PromoteTo(d, fraction), unit)};
  } else {
    return {positions.ColumnAt(k), hn::IndicesFromVec(d, column), fraction, hn::Mul(hn::ConvertTo(d, fraction), unit)};
  }
}

// In ascending order.
template <class P>
HWY_INLINE SamplePlace<P> PlaceAt(const SamplePositions& positions, std::int64_t k, std::int32_t right = 0) {
  return PlaceAt<P>(positions, k, hn::Iota(hn::Rebind<std::int32_t, RealTag<P>>(), 0), right);
}

HWY_INLINE Channels<RealVec<PF_PixelFloat>> LoadTap(const float* planes, std::int64_t stride,
                                                    const SamplePlace<PF_PixelFloat>& place) {
  const RealTag<PF_PixelFloat> d;
  const auto tap = [&](std::int64_t c) HWY_ATTR {
    return hn::TableLookupLanes(hn::LoadU(d, planes + c * stride + place.column), place.columns);
  };
  return {tap(0), tap(1), tap(2), tap(3)};
}

HWY_INLINE Channels<RealVec<PF_Pixel16>> LoadTap(const std::uint16_t* planes, std::int64_t stride,
                                                 const SamplePlace<PF_Pixel16>& place) {
  const auto tap = [&](std::int64_t c) HWY_ATTR {
    return hn::TableLookupLanes(LoadReals(planes + c * stride + place.column), place.columns);
  };
  return {tap(0), tap(1), tap(2), tap(3)};
}

HWY_INLINE Channels<RealVec<PF_Pixel8>> RealChannels(hn::Vec<hn::RebindToUnsigned<RealTag<PF_Pixel8>>> p) {
  const RealTag<PF_Pixel8> d;
  const hn::RebindToUnsigned<RealTag<PF_Pixel8>> du;
  const auto low = hn::Set(du, 0xFF);
  const auto real = [&](auto v)
                        HWY_ATTR { return hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<decltype(d)>(), v)); };
  return {real(hn::And(p, low)), real(hn::And(hn::ShiftRight<8>(p), low)), real(hn::And(hn::ShiftRight<16>(p), low)),
          real(hn::ShiftRight<24>(p))};
}

HWY_INLINE Channels<RealVec<PF_Pixel8>> LoadTap(const std::uint32_t* pixels, std::int64_t,
                                                const SamplePlace<PF_Pixel8>& place) {
  const hn::RebindToUnsigned<RealTag<PF_Pixel8>> du;
  const auto columns = hn::BitCast(RealTag<PF_Pixel8>(), hn::LoadU(du, pixels + place.column));
  return RealChannels(hn::BitCast(du, hn::TableLookupLanes(columns, place.columns)));
}

// As many held columns as a vector has reals.
HWY_INLINE Channels<RealVec<PF_Pixel8>> LoadColumns(const std::uint32_t* pixels, std::int64_t) {
  return RealChannels(hn::LoadU(hn::RebindToUnsigned<RealTag<PF_Pixel8>>(), pixels));
}
HWY_INLINE Channels<RealVec<PF_Pixel16>> LoadColumns(const std::uint16_t* planes, std::int64_t stride) {
  return {LoadReals(planes), LoadReals(planes + stride), LoadReals(planes + 2 * stride),
          LoadReals(planes + 3 * stride)};
}

// Two held source rows and the samples between them.
template <class P>
struct RowJob {
  const HeldElement<P>* upper;
  const HeldElement<P>* lower;
  std::int64_t stride;
  SamplePositions positions;
  std::int64_t fy;
  RealOf<P> v;  // fy in pixels
  P* out;
  bool past_caches;
  const P* ahead;  // the pixel of element 0 in the row that is needed next, or in one that is there already

  // Asks for the columns of `samples` samples from k on in that row. Doing so bit by bit costs nothing; a whole row at
  // once waits for the first lines of it.
  HWY_INLINE void FetchAhead(std::int64_t k, std::int64_t samples) const {
    const P* from = ahead + positions.ColumnAt(k);
    hwy::Prefetch(from);
    for (std::int64_t i = 1; i <= (samples * std::int64_t{sizeof(P)} - 1) / 64; ++i) {
      hwy::Prefetch(from + i * 64 / std::int64_t{sizeof(P)});
    }
  }

  // Whether vectors from sample k on may be stored past the caches.
  bool PastCaches(std::int64_t k) const {
    return past_caches && reinterpret_cast<std::uintptr_t>(out + k) % HWY_MAX_BYTES == 0;
  }
};

// A held pixel.
HWY_INLINE PF_Pixel8 PixelAt(const std::uint32_t* held, std::int64_t, PF_Pixel8) {
  PF_Pixel8 pixel;
  std::memcpy(&pixel, held, sizeof pixel);
  return pixel;
}
template <class P>
HWY_INLINE P PixelAt(const HeldElement<P>* held, std::int64_t stride, P) {
  return {held[0], held[stride], held[2 * stride], held[3 * stride]};
}

// Alpha and alpha times colour of `count` held columns, to planes that may be written by whole vectors.
template <class P>
HWY_NOINLINE void WeighColumns(const HeldElement<P>* held, std::int64_t stride, std::int64_t count, RealOf<P>* out,
                               std::int64_t out_stride) {
  const RealTag<P> d;
  for (std::int64_t m = 0; m < count; m += static_cast<std::int64_t>(hn::Lanes(d))) {
    const auto p = LoadColumns(held + m, stride);
    hn::StoreU(p.alpha, d, out + m);
    hn::StoreU(hn::Mul(p.alpha, p.red), d, out + out_stride + m);
    hn::StoreU(hn::Mul(p.alpha, p.green), d, out + 2 * out_stride + m);
    hn::StoreU(hn::Mul(p.alpha, p.blue), d, out + 3 * out_stride + m);
  }
}

// Stores samples begin..end-1; sample(k) yields those from k on, one per lane of d. A sampler is an object with all it
// reads in its own members, so that they stay in registers.
template <class D, class P, class Sampler>
HWY_INLINE void ForLanes(D d, std::int64_t begin, std::int64_t end, P* out, const Sampler sample) {
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  std::int64_t k = begin;
  for (; k + lanes <= end; k += lanes) StorePixels(d, sample(k), out + k);
  if (k >= end) return;
  P last[HWY_MAX_BYTES / sizeof(hn::TFromD<D>)];
  StorePixels(d, sample(k), last);
  std::memcpy(out + k, last, static_cast<std::size_t>(end - k) * sizeof(P));
}

// The first sample from begin on that is stored at a multiple of 64 bytes, if that is near: vectors from
// there on do not cross cache lines.
template <class P>
HWY_INLINE std::int64_t AlignedSample(const P* out, std::int64_t begin, std::int64_t end) {
  const std::int64_t behind = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(out + begin) % 64);
  return behind == 0 ? begin : std::min(begin + (64 - behind) / std::int64_t{sizeof(P)}, end);
}

// ForLanes from such a sample on by stores of whole lines, which may pass the caches.
template <class D, class P, class Sampler>
HWY_INLINE void ForAlignedLanes(D d, std::int64_t begin, std::int64_t end, const RowJob<P>& job, const Sampler sample) {
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  P* const out = job.out;
  std::int64_t k = AlignedSample(out, begin, end);
  ForLanes(d, begin, k, out, sample);
  const bool past_caches = job.PastCaches(k);
  for (; k + lanes <= end; k += lanes) StorePixels(d, sample(k), out + k, past_caches);
  ForLanes(d, k, end, out, sample);
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
