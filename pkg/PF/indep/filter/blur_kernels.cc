#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/blur_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <bit>
#include <type_traits>

#include "PF/PF_Types.h"
#include "filter/LaneKernels.h"
#include "simd/Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const BlurKernels* BlurKernelsOfTarget() { return &kPortableBlurKernels; }

#else

using DD = hn::CappedTag<double, 8>;
using RD = Lanes<DD>;
using DI = hn::Rebind<std::int32_t, DD>;

template <class R>
HWY_INLINE R Load(const double* p) {
  return R(hn::LoadU(DD(), p));
}
HWY_INLINE void Store(RD v, double* p) { hn::StoreU(v.v, DD(), p); }
template <class R>
HWY_INLINE constexpr std::int64_t kLanesOf() {
  return static_cast<std::int64_t>(hn::MaxLanes(DD()));
}

#include "filter/Lanes-body.h"

constexpr std::int64_t kStep = static_cast<std::int64_t>(hn::MaxLanes(DD()));

void Peaks(const double* lanes, std::int64_t n, std::uint32_t* peaks) {
  const hn::Repartition<std::uint32_t, DD> d;
  const auto magnitude = hn::BitCast(d, hn::Set(hn::RebindToUnsigned<DD>(), 0x7FFFFFFF00000000u));
  for (std::int64_t lane = 0; lane < kLanes; lane += kStep) {
    auto largest = hn::Zero(d);
    for (std::int64_t i = 0; i < n; ++i) {
      largest = hn::Max(largest, hn::And(hn::BitCast(d, hn::LoadU(DD(), lanes + kLanes * i + lane)), magnitude));
    }
    HWY_ALIGN std::uint32_t words[hn::MaxLanes(d)];
    hn::Store(largest, d, words);
    for (std::int64_t i = 0; i < kStep; ++i) peaks[lane + i] = words[2 * i + 1];
  }
}

// Of pixels in a vector: each one's alpha in all its lanes, and the lanes of colour.
class PixelLanes {
 public:
  HWY_INLINE PixelLanes()
      : of_alpha_(hn::SetTableIndices(DD(), kAlphas)), colours_(hn::MaskFromVec(hn::Load(DD(), kColours))) {}

  HWY_INLINE hn::Vec<DD> Alphas(hn::Vec<DD> v) const { return hn::TableLookupLanes(v, of_alpha_); }
  HWY_INLINE hn::Vec<DD> ScaleColours(hn::Vec<DD> v, hn::Vec<DD> factors) const {
    return hn::IfThenElse(colours_, hn::Mul(v, factors), v);
  }

 private:
  static constexpr double kSet = std::bit_cast<double>(~std::uint64_t{0});
  alignas(64) static constexpr double kColours[8] = {0, kSet, kSet, kSet, 0, kSet, kSet, kSet};
  alignas(64) static constexpr std::int64_t kAlphas[8] = {0, 0, 0, 0, 4, 4, 4, 4};

  decltype(hn::SetTableIndices(DD(), kAlphas)) of_alpha_;
  hn::Mask<DD> colours_;
};

void Weigh(double* lanes, std::int64_t n) {
  if constexpr (kStep < 4) return kPortableBlurKernels.lanes.weigh(lanes, n);
  const PixelLanes pixels;
  for (double* p = lanes; p < lanes + kLanes * n; p += kStep) {
    const auto v = hn::LoadU(DD(), p);
    hn::StoreU(pixels.ScaleColours(v, pixels.Alphas(v)), DD(), p);
  }
}

// Divisions take long: those of a run of alphas, side by side.
void Unweigh(double* lanes, std::int64_t n) {
  if constexpr (kStep < 4) return kPortableBlurKernels.lanes.unweigh(lanes, n);
  constexpr std::int64_t kRun = 32;
  HWY_ALIGN double factors[2 * kRun];
  std::fill_n(factors, 2 * kRun, 1.0);
  const PixelLanes pixels;
  for (std::int64_t i = 0; i < n; i += kRun) {
    const std::int64_t count = 2 * std::min(kRun, n - i);
    double* const run = lanes + kLanes * i;
    for (std::int64_t f = 0; f < count; ++f) factors[f] = run[4 * f];
    for (std::int64_t f = 0; f < count; f += kStep) {
      const RD alpha(hn::Load(DD(), factors + f));
      hn::Store(Quotient(alpha == RD(0), RD(0), RD(1), alpha).v, DD(), factors + f);
    }
    for (std::int64_t f = 0; f < count; f += kStep / 4) {
      auto each = hn::Set(DD(), factors[f]);
      if constexpr (kStep == 8) each = hn::ConcatLowerLower(DD(), hn::Set(DD(), factors[f + 1]), each);
      hn::StoreU(pixels.ScaleColours(hn::LoadU(DD(), run + 4 * f), each), DD(), run + 4 * f);
    }
  }
}

template <class T>
HWY_INLINE hn::Vec<DD> LoadValues(const T* p) {
  const hn::Rebind<T, DD> d;
  if constexpr (std::is_same_v<T, float>) {
    return hn::PromoteTo(DD(), hn::LoadU(d, p));
  } else {
    return hn::PromoteTo(DD(), hn::PromoteTo(DI(), hn::LoadU(d, p)));
  }
}

template <class T>
HWY_INLINE auto ValuesOf(hn::Vec<DD> v) {
  const hn::Rebind<T, DD> d;
  if constexpr (std::is_same_v<T, float>) {
    return hn::DemoteTo(d, v);
  } else {
    const auto full = hn::Set(DD(), sizeof(T) == 1 ? PF_MAX_CHAN8 : PF_MAX_CHAN16);
    const auto limited = hn::Min(hn::Max(hn::Add(v, hn::Set(DD(), 0.5)), hn::Zero(DD())), full);
    return hn::DemoteTo(d, hn::DemoteTo(DI(), limited));
  }
}
template <class T>
HWY_INLINE void StoreValues(hn::Vec<DD> v, T* p) {
  hn::StoreU(ValuesOf<T>(v), hn::Rebind<T, DD>(), p);
}

template <class T>
void LoadAcross(const T* at, std::int64_t step, std::int64_t n, double* lanes, Beside beside) {
  for (std::int64_t i = 0; i < n; ++i) {
    const T* from = reinterpret_cast<const T*>(reinterpret_cast<const std::byte*>(at) + step * i);
    double* to = lanes + kLanes * i;
    // Not into the nearest cache, which has few places for rows below each other.
    __builtin_prefetch(reinterpret_cast<const std::byte*>(from) + 32 * step, 0, 2);
    for (std::int64_t g = 0; g < beside.groups; ++g, from += kLanes, to += beside.apart) {
      for (std::int64_t lane = 0; lane < kLanes; lane += kStep) hn::StoreU(LoadValues(from + lane), DD(), to + lane);
    }
  }
}
template <class T>
void StoreAcross(const double* lanes, std::int64_t n, T* at, std::int64_t step, Beside beside) {
  for (std::int64_t i = 0; i < n; ++i) {
    T* to = reinterpret_cast<T*>(reinterpret_cast<std::byte*>(at) + step * i);
    const double* from = lanes + kLanes * i;
    for (std::int64_t g = 0; g < beside.groups; ++g, to += kLanes, from += beside.apart) {
      for (std::int64_t lane = 0; lane < kLanes; lane += kStep) {
        StoreValues(hn::LoadU(DD(), from + lane), to + lane);
      }
    }
  }
}

// A pixel, or two where a vector holds them.
template <class T>
void LoadAlong(const T* at, std::int64_t n, double* lanes) {
  std::int64_t i = 0;
  if constexpr (kStep == 8) {
    const hn::Half<DD> half;
    for (; i + 2 <= n; i += 2) {
      const auto v = LoadValues(at + 4 * i);
      hn::StoreU(hn::LowerHalf(half, v), half, lanes + kLanes * i);
      hn::StoreU(hn::UpperHalf(half, v), half, lanes + kLanes * (i + 1));
    }
    for (; i < n; ++i) std::copy_n(at + 4 * i, 4, lanes + kLanes * i);
  } else {
    for (; i < n; ++i) {
      for (std::int64_t c = 0; c < 4; c += kStep) {
        hn::StoreU(LoadValues(at + 4 * i + c), DD(), lanes + kLanes * i + c);
      }
    }
  }
}
// Two pixels at once, with store(values, place); returns how many.
template <class T, class F>
HWY_INLINE std::int64_t StorePairs(const double* lanes, std::int64_t n, T* at, const F& store) {
  const hn::Half<DD> half;
  std::int64_t i = 0;
  for (; i + 2 <= n; i += 2) {
    const auto first = hn::LoadU(half, lanes + kLanes * i), second = hn::LoadU(half, lanes + kLanes * (i + 1));
    store(hn::Combine(DD(), second, first), at + 4 * i);
  }
  return i;
}

template <class T>
void StoreAlong(const double* lanes, std::int64_t n, T* at) {
  std::int64_t i = 0;
  if constexpr (kStep == 8) {
    i = StorePairs(lanes, n, at, [](auto v, T* p) HWY_ATTR { StoreValues(v, p); });
    for (; i < n; ++i) kPortableBlurKernels.Of<T>().store_along(lanes + kLanes * i, 1, at + 4 * i);
  } else {
    for (; i < n; ++i) {
      for (std::int64_t c = 0; c < 4; c += kStep) {
        StoreValues(hn::LoadU(DD(), lanes + kLanes * i + c), at + 4 * i + c);
      }
    }
  }
}

template <class T>
void StreamAlong(const double* lanes, std::int64_t n, T* at) {
  if constexpr (kStep == 8 && sizeof(T) > 1) {
    if (reinterpret_cast<std::uintptr_t>(at) % (8 * sizeof(T)) == 0) {
      const std::int64_t done =
          StorePairs(lanes, n, at, [](auto v, T* p) HWY_ATTR { hn::Stream(ValuesOf<T>(v), hn::Rebind<T, DD>(), p); });
      return StoreAlong(lanes + kLanes * done, n - done, at + 4 * done);
    }
  }
  StoreAlong(lanes, n, at);
}

void Settle() { hwy::FlushStream(); }

template <class T>
constexpr LaneValueKernels<T> kValues = {&LoadAcross<T>, &StoreAcross<T>, &LoadAlong<T>,
                                         &StoreAlong<T>, &StreamAlong<T>, &Settle};

constexpr BlurKernels kKernels = {{&Convolve<RD>, &Series<RD>, &Box<RD>, &Peaks, &Weigh, &Unweigh},
                                  kValues<std::uint8_t>,
                                  kValues<std::uint16_t>,
                                  kValues<float>};

const BlurKernels* BlurKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(BlurKernelsOfTarget);

const BlurKernels& VectorBlurKernels() { return *HWY_DYNAMIC_DISPATCH(BlurKernelsOfTarget)(); }

}  // namespace pf
#endif
