// Sums of boxes in lanes, and their means.
#if defined(PF_FILTER_BOX_SUMS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_FILTER_BOX_SUMS_INL_H
#undef PF_FILTER_BOX_SUMS_INL_H
#else
#define PF_FILTER_BOX_SUMS_INL_H
#endif

#include <hwy/highway.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "PF/PF_Types.h"
#include "filter/BoxDivider.h"
#include "simd/Saturate-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using D32 = hn::CappedTag<std::uint32_t, 16>;
using D64 = hn::Repartition<std::uint64_t, D32>;
template <class T>
using DValues = hn::Repartition<T, D32>;
template <class T>
using DWide = hn::RepartitionToWide<DValues<T>>;

// Values 0, 2, 4... and 1, 3, 5... of a vector, in lanes of twice their size; or sums and differences of them.
template <class T>
struct Halves {
  hn::Vec<DWide<T>> even, odd;

  static HWY_INLINE Halves Of(hn::Vec<DValues<T>> values) {
    const DWide<T> d;
    const auto wide = hn::BitCast(d, values);
    return {hn::And(wide, hn::Set(d, static_cast<T>(~T{0}))), hn::ShiftRight<8 * sizeof(T)>(wide)};
  }
};
template <class T>
HWY_INLINE Halves<T> operator+(Halves<T> a, Halves<T> b) {
  return {hn::Add(a.even, b.even), hn::Add(a.odd, b.odd)};
}
template <class T>
HWY_INLINE Halves<T> operator-(Halves<T> a, Halves<T> b) {
  return {hn::Sub(a.even, b.even), hn::Sub(a.odd, b.odd)};
}

// Sums that fit lanes of twice the values' size.
template <class T>
struct HalfSums {
  Halves<T> sums;

  // For values or channels 0 to 3, over and over.
  static HWY_INLINE HalfSums Of(const std::uint32_t* start, std::uint32_t bias) {
    const std::uint32_t s[4] = {start[0] + bias, start[1] + bias, start[2] + bias, start[3] + bias};
    const DWide<T> d;
    if constexpr (sizeof(T) == 1) {
      return {{hn::BitCast(d, hn::Set(D32(), (s[0] & 0xFFFFu) | s[2] << 16)),
               hn::BitCast(d, hn::Set(D32(), (s[1] & 0xFFFFu) | s[3] << 16))}};
    } else {
      return {{hn::BitCast(d, hn::Set(D64(), s[0] | std::uint64_t{s[2]} << 32)),
               hn::BitCast(d, hn::Set(D64(), s[1] | std::uint64_t{s[3]} << 32))}};
    }
  }
  static HWY_INLINE HalfSums Load(const std::uint32_t* p) {
    const DWide<T> d;
    return {{hn::BitCast(d, hn::LoadU(D32(), p)), hn::BitCast(d, hn::LoadU(D32(), p + hn::MaxLanes(D32())))}};
  }
  HWY_INLINE void Save(std::uint32_t* p) const {
    hn::StoreU(hn::BitCast(D32(), sums.even), D32(), p);
    hn::StoreU(hn::BitCast(D32(), sums.odd), D32(), p + hn::MaxLanes(D32()));
  }
  HWY_INLINE void Add(Halves<T> change) { sums = sums + change; }
  HWY_INLINE void Add(Halves<T> values, std::uint32_t times) {
    const auto factor = hn::Set(DWide<T>(), static_cast<hn::TFromD<DWide<T>>>(times));
    Add({hn::Mul(values.even, factor), hn::Mul(values.odd, factor)});
  }
};

// Values of 16 bits in lanes of 32, four beside four: of every 8 values `lower` has the first four, a pixel.
struct PixelHalves {
  hn::Vec<D32> lower, upper;

  static HWY_INLINE PixelHalves Of(hn::Vec<DValues<std::uint16_t>> values) {
    const DValues<std::uint16_t> d;
    return {hn::BitCast(D32(), hn::InterleaveLower(d, values, hn::Zero(d))),
            hn::BitCast(D32(), hn::InterleaveUpper(d, values, hn::Zero(d)))};
  }
};
HWY_INLINE PixelHalves operator-(PixelHalves a, PixelHalves b) {
  return {hn::Sub(a.lower, b.lower), hn::Sub(a.upper, b.upper)};
}

// What their sums are short of the bias.
struct PixelSums {
  PixelHalves less;

  static HWY_INLINE PixelSums Of(const std::uint32_t* start, std::uint32_t bias) {
    HWY_ALIGN const std::uint32_t s[4] = {bias - start[0], bias - start[1], bias - start[2], bias - start[3]};
    const auto pixel = hn::LoadDup128(D32(), s);
    return {{pixel, pixel}};
  }
  static HWY_INLINE PixelSums Load(const std::uint32_t* p) {
    return {{hn::LoadU(D32(), p), hn::LoadU(D32(), p + hn::MaxLanes(D32()))}};
  }
  HWY_INLINE void Save(std::uint32_t* p) const {
    hn::StoreU(less.lower, D32(), p);
    hn::StoreU(less.upper, D32(), p + hn::MaxLanes(D32()));
  }
  HWY_INLINE void Add(PixelHalves change) { less = less - change; }
  HWY_INLINE void Add(PixelHalves values, std::uint32_t times) {
    const auto factor = hn::Set(D32(), times);
    Add({hn::Mul(values.lower, factor), hn::Mul(values.upper, factor)});
  }
};

// Sums of bytes in lanes of 32 bits: quarter i has values i, i + 4, i + 8... of a vector.
struct QuarterSums {
  hn::Vec<D32> sums[4];

  static HWY_INLINE QuarterSums Of(const std::uint32_t* start, std::uint32_t bias) {
    QuarterSums of;
    for (int i = 0; i < 4; ++i) of.sums[i] = hn::Set(D32(), start[i] + bias);
    return of;
  }
  static HWY_INLINE QuarterSums Load(const std::uint32_t* p) {
    QuarterSums of;
    for (std::size_t i = 0; i < 4; ++i) of.sums[i] = hn::LoadU(D32(), p + i * hn::MaxLanes(D32()));
    return of;
  }
  HWY_INLINE void Save(std::uint32_t* p) const {
    for (std::size_t i = 0; i < 4; ++i) hn::StoreU(sums[i], D32(), p + i * hn::MaxLanes(D32()));
  }
  HWY_INLINE void Add(Halves<std::uint8_t> change) {
    for (int i = 0; i < 4; ++i) sums[i] = hn::Add(sums[i], Quarter(change, i));
  }
  HWY_INLINE void Add(Halves<std::uint8_t> values, std::uint32_t times) {
    const auto factor = hn::Set(D32(), times);
    for (int i = 0; i < 4; ++i) sums[i] = hn::Add(sums[i], hn::Mul(Quarter(values, i), factor));
  }

 private:
  static HWY_INLINE hn::Vec<D32> Quarter(Halves<std::uint8_t> of, int i) {
    const hn::RebindToSigned<D32> d;
    const auto half = hn::BitCast(d, i % 2 == 0 ? of.even : of.odd);
    return hn::BitCast(D32(), hn::ShiftRight<16>(i < 2 ? hn::ShiftLeft<16>(half) : half));
  }
};

// Sums as quotients and remainders, with the bias of StepDivider.
struct StepSums {
  Halves<std::uint8_t> rest, quotient;

  static HWY_INLINE StepSums Load(const std::uint32_t* p) {
    constexpr std::size_t kNext = 2 * hn::MaxLanes(D32());
    return {HalfSums<std::uint8_t>::Load(p).sums, HalfSums<std::uint8_t>::Load(p + kNext).sums};
  }
  HWY_INLINE void Save(std::uint32_t* p) const {
    HalfSums<std::uint8_t>{rest}.Save(p);
    HalfSums<std::uint8_t>{quotient}.Save(p + 2 * hn::MaxLanes(D32()));
  }
};

// \name Values from sums
// How values are split, how sums begin, with the bias in them, how they go on, and what means they have.
// @{
class NarrowMeans {
 public:
  using Split = Halves<std::uint8_t>;
  using Start = HalfSums<std::uint8_t>;
  using Sums = Start;

  static std::uint32_t BiasOf(const BoxDivider& divider) { return divider.bias; }

  HWY_INLINE explicit NarrowMeans(const BoxDivider& divider)
      : multiplier_(hn::Set(D16(), static_cast<std::uint16_t>(divider.multiplier))), shift_(divider.shift - 16) {}

  HWY_INLINE Sums Begin(const Start& start) const { return start; }
  HWY_INLINE void Add(Sums& sums, Halves<std::uint8_t> change) const { sums.Add(change); }
  HWY_INLINE hn::Vec<DValues<std::uint8_t>> Of(const Sums& of) const {
    const auto even = hn::ShiftRightSame(hn::MulHigh(of.sums.even, multiplier_), shift_);
    const auto odd = hn::ShiftLeftSame(hn::MulHigh(of.sums.odd, multiplier_), 8 - shift_);
    return hn::BitCast(DValues<std::uint8_t>(), hn::Or(even, hn::And(odd, hn::Set(D16(), 0xFF00))));
  }

 private:
  using D16 = DWide<std::uint8_t>;
  hn::Vec<D16> multiplier_;
  int shift_;
};

template <class T>
class WideMeans {
 public:
  using Split = Halves<T>;
  using Start = std::conditional_t<sizeof(T) == 1, QuarterSums, HalfSums<T>>;
  using Sums = Start;

  static std::uint32_t BiasOf(const BoxDivider& divider) { return divider.bias; }

  HWY_INLINE explicit WideMeans(const BoxDivider& divider)
      : multiplier_(hn::Set(D32(), divider.multiplier)), shift_(divider.shift) {}

  HWY_INLINE Sums Begin(const Start& start) const { return start; }
  HWY_INLINE void Add(Sums& sums, Halves<T> change) const { sums.Add(change); }
  HWY_INLINE hn::Vec<DValues<T>> Of(const Sums& of) const {
    const DValues<T> d;
    if constexpr (sizeof(T) == 1) {
      const auto even = hn::Or(Mean(of.sums[0]), hn::ShiftLeft<16>(Mean(of.sums[2])));
      const auto odd = hn::Or(Mean(of.sums[1]), hn::ShiftLeft<16>(Mean(of.sums[3])));
      return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<8>(odd)));
    } else {
      const auto means = hn::Or(Mean(of.sums.even), hn::ShiftLeft<16>(Mean(of.sums.odd)));
      return hn::Min(hn::BitCast(d, means), hn::Set(d, PF_MAX_CHAN16));
    }
  }
  HWY_INLINE hn::Vec<D32> Mean(hn::Vec<D32> sums) const {
    const auto upper = hn::BitCast(D32(), hn::ShiftRight<32>(hn::BitCast(D64(), sums)));
    const auto even = hn::ShiftRightSame(hn::MulEven(sums, multiplier_), shift_);
    const auto odd = hn::ShiftRightSame(hn::MulEven(upper, multiplier_), shift_ - 32);
    return hn::OddEven(hn::BitCast(D32(), odd), hn::BitCast(D32(), even));
  }

 private:
  hn::Vec<D32> multiplier_;
  int shift_;
};

// As NearDivider tells.
class NearMeans {
 public:
  using Split = PixelHalves;
  using Start = PixelSums;
  using Sums = Start;

  static std::uint32_t BiasOf(const BoxDivider& divider) { return divider.window * NearDivider::kCentre; }

  HWY_INLINE explicit NearMeans(const BoxDivider& divider)
      : inverse_(hn::Set(DF(), NearDivider::InverseOf(divider.window))) {}

  HWY_INLINE Sums Begin(const Start& start) const { return start; }
  HWY_INLINE void Add(Sums& sums, PixelHalves change) const { sums.Add(change); }
  HWY_INLINE hn::Vec<DValues<std::uint16_t>> Of(const Sums& of) const {
    const auto less = PackUnsigned(Mean(of.less.lower), Mean(of.less.upper));
    return hn::Sub(hn::Set(DValues<std::uint16_t>(), NearDivider::kCentre), less);
  }

 private:
  using DF = hn::Rebind<float, D32>;
  using DI = hn::RebindToSigned<D32>;
  static_assert(PF_MAX_CHAN16 == NearDivider::kCentre, "what is larger is less than 0 below the centre, and limited");

  HWY_INLINE hn::Vec<DI> Mean(hn::Vec<D32> sums) const {
    return RoundToInt32(hn::Mul(hn::ConvertTo(DF(), hn::BitCast(DI(), sums)), inverse_));
  }

  hn::Vec<DF> inverse_;
};

class StepMeans {
 public:
  using Split = Halves<std::uint8_t>;
  using Start = QuarterSums;
  using Sums = StepSums;

  static std::uint32_t BiasOf(const BoxDivider& divider) { return divider.bias; }

  HWY_INLINE explicit StepMeans(const BoxDivider& divider)
      : divider_(divider),
        window_(hn::Set(D16(), divider.steps.window)),
        lead_(hn::Set(D16(), divider.steps.lead)),
        multiplier_(hn::Set(D16(), divider.steps.multiplier)),
        shift_(divider.steps.shift) {}

  HWY_INLINE Sums Begin(const Start& start) const {
    const WideMeans<std::uint8_t> means(divider_);
    const auto window = hn::Set(D32(), divider_.window);
    const auto bias = hn::Set(D32(), divider_.steps.bias + divider_.window / 2 - divider_.bias);
    hn::Vec<D32> quotient[4], rest[4];
    for (int i = 0; i < 4; ++i) {
      quotient[i] = means.Mean(start.sums[i]);
      rest[i] = hn::Sub(hn::Add(start.sums[i], bias), hn::Mul(quotient[i], window));
    }
    return {Join(rest), Join(quotient)};
  }
  HWY_INLINE void Add(Sums& sums, Halves<std::uint8_t> change) const {
    AddHalf(change.even, sums.rest.even, sums.quotient.even);
    AddHalf(change.odd, sums.rest.odd, sums.quotient.odd);
  }
  HWY_INLINE hn::Vec<DValues<std::uint8_t>> Of(const Sums& of) const {
    return hn::BitCast(DValues<std::uint8_t>(), hn::Or(of.quotient.even, hn::ShiftLeft<8>(of.quotient.odd)));
  }

 private:
  using D16 = DWide<std::uint8_t>;

  static HWY_INLINE Halves<std::uint8_t> Join(const hn::Vec<D32>* quarters) {
    return {hn::BitCast(D16(), hn::Or(quarters[0], hn::ShiftLeft<16>(quarters[2]))),
            hn::BitCast(D16(), hn::Or(quarters[1], hn::ShiftLeft<16>(quarters[3])))};
  }
  HWY_INLINE void AddHalf(hn::Vec<D16> change, hn::Vec<D16>& rest, hn::Vec<D16>& quotient) const {
    const auto n = hn::Add(rest, change);
    const auto step = hn::Sub(hn::ShiftRightSame(hn::MulHigh(n, multiplier_), shift_), lead_);
    quotient = hn::Add(quotient, step);
    rest = hn::Sub(n, hn::Mul(step, window_));
  }

  const BoxDivider& divider_;
  hn::Vec<D16> window_, lead_, multiplier_;
  int shift_;
};
// @}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
