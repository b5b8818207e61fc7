#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/combine_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <cstring>

#include "mask/MaskCombineKernels.h"
#include "mask/MaskMath.h"
#include "simd/MaskMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

const MaskCombineKernels* MaskCombineKernelsOfTarget() { return &kPortableMaskCombineKernels; }

#else

// Integers are 0..full here. What leaves a lane on the way returns into it.
struct Copy {
  template <class D, class V>
  HWY_INLINE V Of(D, V s, V) const {
    return s;
  }
};
struct Add {
  template <class D, class V>
  HWY_INLINE V Of(D d, V s, V t) const {
    return hn::Sub(hn::Add(s, t), ProductOf(d, s, t));
  }
};
struct Subtract {
  template <class D, class V>
  HWY_INLINE V Of(D d, V s, V t) const {
    return ProductOf(d, t, hn::Sub(hn::Set(d, kFullCoverage<hn::TFromD<D> >), s));
  }
};
struct Intersect {
  template <class D, class V>
  HWY_INLINE V Of(D d, V s, V t) const {
    return ProductOf(d, s, t);
  }
};
// Floats are compared so that the second is the result wherever one is not a number.
struct Lighten {
  template <class D, class V>
  HWY_INLINE V Of(D, V s, V t) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D> >()) return hn::IfThenElse(hn::Gt(s, t), s, t);
    return hn::Max(s, t);
  }
};
struct Darken {
  template <class D, class V>
  HWY_INLINE V Of(D, V s, V t) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D> >()) return hn::IfThenElse(hn::Lt(s, t), s, t);
    return hn::Min(s, t);
  }
};
struct Difference {
  template <class D, class V>
  HWY_INLINE V Of(D, V s, V t) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D> >()) {
      return hn::Abs(hn::Sub(s, t));
    } else {
      return hn::Sub(hn::Max(s, t), hn::Min(s, t));
    }
  }
};

template <class D>
HWY_INLINE hn::Vec<D> LoadLimited(D d, const hn::TFromD<D>* from) {
  const auto v = hn::LoadU(d, from);
  if constexpr (sizeof(hn::TFromD<D>) == 2) return hn::Min(v, hn::Set(d, kFullCoverage<std::uint16_t>));
  return v;
}

template <class Mode, class T>
void Row(const void* s, const void* d, void* out, std::int64_t n) {
  const hn::ScalableTag<T> tag;
  const auto* first = static_cast<const T*>(s);
  const auto* second = static_cast<const T*>(d);
  auto* to = static_cast<T*>(out);
  const auto step = static_cast<std::int64_t>(hn::Lanes(tag));
  const Mode mode;
  std::int64_t i = 0;
  for (; i + step <= n; i += step) {
    hn::StoreU(mode.Of(tag, LoadLimited(tag, first + i), LoadLimited(tag, second + i)), tag, to + i);
  }
  if (i == n) return;
  HWY_ALIGN T last[2][hn::MaxLanes(tag)] = {};
  const std::size_t rest = static_cast<std::size_t>(n - i) * sizeof(T);
  std::memcpy(last[0], first + i, rest);
  std::memcpy(last[1], second + i, rest);
  hn::Store(mode.Of(tag, LoadLimited(tag, last[0]), LoadLimited(tag, last[1])), tag, last[0]);
  std::memcpy(to + i, last[0], rest);
}

#define PF_ROWS(Mode) \
  { &Row<Mode, std::uint8_t>, &Row<Mode, std::uint16_t>, &Row<Mode, float> }
constexpr MaskCombineKernels kKernels = {{PF_ROWS(Copy), PF_ROWS(Add), PF_ROWS(Subtract), PF_ROWS(Intersect),
                                          PF_ROWS(Lighten), PF_ROWS(Darken), PF_ROWS(Difference)}};
#undef PF_ROWS

const MaskCombineKernels* MaskCombineKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(MaskCombineKernelsOfTarget);

const MaskCombineKernels& VectorMaskCombineKernels() { return *HWY_DYNAMIC_DISPATCH(MaskCombineKernelsOfTarget)(); }

}  // namespace pf
#endif
