#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/wide_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "PF/PF_Types.h"
#include "filter/WideKernels.h"
#include "simd/Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const WideKernels* WideKernelsOfTarget() { return &kPortableWideKernels; }

#else

using DD = hn::CappedTag<double, 8>;
using DP = hn::CappedTag<double, 4>;  // a pixel, or half of one
using RD = Lanes<DD>;
using RP = Lanes<DP>;

template <class R>
struct TagOf;
template <class D>
struct TagOf<Lanes<D> > {
  using Type = D;
};
template <class R>
using Tag = typename TagOf<R>::Type;

template <class R>
HWY_INLINE constexpr std::int64_t kLanesOf() {
  return static_cast<std::int64_t>(hn::MaxLanes(Tag<R>()));
}
template <class R>
HWY_INLINE R Load(const double* p) {
  return R(hn::LoadU(Tag<R>(), p));
}
template <class D>
HWY_INLINE void Store(Lanes<D> v, double* p) {
  hn::StoreU(v.v, D(), p);
}

template <class R, class T>
HWY_INLINE R LoadValues(const T* p) {
  using D = Tag<R>;
  const auto values = hn::LoadU(hn::Rebind<T, D>(), p);
  if constexpr (std::is_same_v<T, float>) {
    return R(hn::PromoteTo(D(), values));
  } else {
    return R(hn::PromoteTo(D(), hn::PromoteTo(hn::Rebind<std::int32_t, D>(), values)));
  }
}

// Rounded and limited.
template <class D>
HWY_INLINE hn::Vec<hn::Rebind<std::int32_t, D> > WholesOf(Lanes<D> v) {
  const auto rounded = hn::Max(hn::Add(v.v, hn::Set(D(), 0.5)), hn::Zero(D()));
  return hn::DemoteTo(hn::Rebind<std::int32_t, D>(), hn::Min(rounded, hn::Set(D(), PF_MAX_CHAN16)));
}

template <class D>
HWY_INLINE void StoreValues(Lanes<D> v, float* p) {
  const hn::Rebind<float, D> d;
  hn::StoreU(hn::DemoteTo(d, v.v), d, p);
}
template <class D>
HWY_INLINE void StoreValues(Lanes<D> v, std::uint16_t* p) {
  const hn::Rebind<std::uint16_t, D> d;
  hn::StoreU(hn::DemoteTo(d, WholesOf(v)), d, p);
}
// `p` is where vectors of a pixel may stand.
template <class D>
HWY_INLINE void StreamValues(Lanes<D> v, float* p) {
  const hn::Rebind<float, D> d;
  if constexpr (hn::MaxLanes(d) == 4) {
    hn::Stream(hn::DemoteTo(d, v.v), d, p);
  } else {
    StoreValues(v, p);
  }
}

HWY_INLINE void Prefetch(const std::byte* p) { hwy::Prefetch(p); }
// Not into the nearest cache.
HWY_INLINE void PrefetchFar(const std::byte* p) { __builtin_prefetch(p, 0, 2); }
void Settle() { hwy::FlushStream(); }

#include "filter/Wide-body.h"

const WideKernels* WideKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(WideKernelsOfTarget);

const WideKernels& VectorWideKernels() { return *HWY_DYNAMIC_DISPATCH(WideKernelsOfTarget)(); }

}  // namespace pf
#endif
