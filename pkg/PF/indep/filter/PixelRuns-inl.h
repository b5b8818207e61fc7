// Running sums along a row, a vector at a time.
#if defined(PF_FILTER_PIXEL_RUNS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_FILTER_PIXEL_RUNS_INL_H
#undef PF_FILTER_PIXEL_RUNS_INL_H
#else
#define PF_FILTER_PIXEL_RUNS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>

#include "filter/BoxSums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Sums of a vector's changes up to each of its pixels, which take `kPixel` bytes of wide lanes.
template <class D, std::size_t kPixel>
class PrefixSums {
 public:
  HWY_INLINE PrefixSums() {
    constexpr std::size_t kBlocks = hn::MaxLanes(D32()) / 4;
    HWY_ALIGN std::int32_t one[16], two[16], last[16];
    HWY_ALIGN std::uint32_t has_one[16], has_two[16];
    for (std::size_t i = 0; i < hn::MaxLanes(D32()); ++i) {
      const std::size_t block = i / 4, at = kPixel <= 4 ? 3 : 4 - kPixel / 4 + i % (kPixel / 4);
      has_one[i] = block >= 1;
      has_two[i] = block >= 2;
      one[i] = static_cast<std::int32_t>(block >= 1 ? 4 * (block - 1) + at : at);
      two[i] = static_cast<std::int32_t>(block >= 2 ? 4 * (block - 2) + at : at);
      last[i] = static_cast<std::int32_t>(4 * (kBlocks - 1) + at);
    }
    const D32 d;
    one_before_ = hn::SetTableIndices(d, one);
    two_before_ = hn::SetTableIndices(d, two);
    last_ = hn::SetTableIndices(d, last);
    has_one_ = hn::Ne(hn::Load(d, has_one), hn::Zero(d));
    has_two_ = hn::Ne(hn::Load(d, has_two), hn::Zero(d));
  }

  HWY_INLINE hn::Vec<D> Of(hn::Vec<D> v) const {
    v = InBlocks<kPixel>(v);
    if constexpr (hn::MaxLanes(D32()) > 4) v = hn::Add(v, Before(v, one_before_, has_one_));
    if constexpr (hn::MaxLanes(D32()) > 8) v = hn::Add(v, Before(v, two_before_, has_two_));
    return v;
  }

  // The last pixel, everywhere.
  HWY_INLINE hn::Vec<D> Last(hn::Vec<D> v) const {
    return hn::BitCast(D(), hn::TableLookupLanes(UpperToBoth(v), last_));
  }

 private:
  using Indices = decltype(hn::SetTableIndices(D32(), static_cast<const std::int32_t*>(nullptr)));

  template <std::size_t kBytes>
  static HWY_INLINE hn::Vec<D> InBlocks(hn::Vec<D> v) {
    if constexpr (kBytes >= 16) {
      return v;
    } else {
      const hn::Repartition<std::uint8_t, D> bytes;
      const auto moved = hn::BitCast(D(), hn::ShiftLeftBytes<kBytes>(bytes, hn::BitCast(bytes, v)));
      return InBlocks<2 * kBytes>(hn::Add(v, moved));
    }
  }
  // Of pixels that take half a lane the last one stands in the upper half.
  static HWY_INLINE hn::Vec<D32> UpperToBoth(hn::Vec<D> v) {
    const auto wide = hn::BitCast(D32(), v);
    if constexpr (kPixel == 2) {
      return hn::Or(hn::ShiftRight<16>(wide), hn::And(wide, hn::Set(D32(), 0xFFFF0000u)));
    } else {
      return wide;
    }
  }
  static HWY_INLINE hn::Vec<D> Before(hn::Vec<D> v, Indices from, hn::Mask<D32> exists) {
    return hn::BitCast(D(), hn::IfThenElseZero(exists, hn::TableLookupLanes(UpperToBoth(v), from)));
  }

  Indices one_before_, two_before_, last_;
  hn::Mask<D32> has_one_, has_two_;
};

// The same for values one by one, or for pixels of four values.
template <class T, bool pixels>
class Runs {
 public:
  HWY_INLINE Runs() {}

  HWY_INLINE Halves<T> Of(Halves<T> change) const {
    if constexpr (pixels) {
      return {prefix_.Of(change.even), prefix_.Of(change.odd)};
    } else {
      const auto odd = prefix_.Of(hn::Add(change.even, change.odd));
      return {hn::Sub(odd, change.odd), odd};
    }
  }
  // What a vector's pixels add to the sums of the pixel before, each with those before it.
  struct PixelRun {
    hn::Vec<D32> upper, change;
  };
  HWY_INLINE PixelRun Run(PixelHalves change) const {
    return {pixels_.Of(hn::Add(change.lower, change.upper)), change.upper};
  }
  HWY_INLINE Halves<T> Run(Halves<T> change) const { return Of(change); }
  // The sums of a vector's pixels.
  template <class Means, class Sums>
  HWY_INLINE Sums Next(const Means& means, Sums last, Halves<T> run) const {
    means.Add(last, run);
    return last;
  }
  template <class Means>
  HWY_INLINE PixelSums Next(const Means&, const PixelSums& last, PixelRun run) const {
    const auto upper = hn::Sub(last.less.upper, run.upper);
    return {{hn::Add(upper, run.change), upper}};
  }
  // Sums of the last pixel, for all.
  HWY_INLINE Halves<T> Last(Halves<T> sums) const {
    const auto odd = prefix_.Last(sums.odd);
    if constexpr (pixels) {
      return {prefix_.Last(sums.even), odd};
    } else {
      return {odd, odd};
    }
  }
  HWY_INLINE HalfSums<T> Last(const HalfSums<T>& of) const { return {Last(of.sums)}; }
  HWY_INLINE StepSums Last(const StepSums& of) const { return {Last(of.rest), Last(of.quotient)}; }
  HWY_INLINE PixelSums Last(const PixelSums& of) const {
    const auto last = pixels_.Last(of.less.upper);
    return {{last, last}};
  }
  HWY_INLINE QuarterSums Last(const QuarterSums& of) const {
    const PrefixSums<D32, 4> lanes;
    QuarterSums last;
    for (int i = 0; i < 4; ++i) last.sums[i] = lanes.Last(of.sums[pixels ? i : 3]);
    return last;
  }

  // `to` and what all pixels of the vector add up to.
  HWY_INLINE HalfSums<T> Total(const HalfSums<T>& of, HalfSums<T> to) const {
    to.Add(Last(Of(of.sums)));
    return to;
  }
  HWY_INLINE PixelSums Total(const PixelSums& of, const PixelSums& to) const {
    const auto total = pixels_.Last(pixels_.Of(hn::Add(of.less.lower, of.less.upper)));
    return {{hn::Add(to.less.lower, total), hn::Add(to.less.upper, total)}};
  }
  HWY_INLINE QuarterSums Total(const QuarterSums& of, QuarterSums to) const {
    for (int i = 0; i < 4; ++i) {
      const auto total = hn::SumOfLanes(D32(), of.sums[i]);
      for (int k = 0; k < 4; ++k) {
        if (!pixels || k == i) to.sums[k] = hn::Add(to.sums[k], total);
      }
    }
    return to;
  }

 private:
  PrefixSums<DWide<T>, 2 * sizeof(T) * (pixels ? 2 : 1)> prefix_;
  PrefixSums<D32, 16> pixels_;  // of PixelHalves
};

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
