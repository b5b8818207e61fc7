// Means of boxes from their sums, as sample/Area.h has them.
#if defined(PF_SAMPLE_AREA_MEANS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_AREA_MEANS_INL_H
#undef PF_SAMPLE_AREA_MEANS_INL_H
#else
#define PF_SAMPLE_AREA_MEANS_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>
#include <type_traits>

#include "sample/Area.h"
#include "sample/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// The lane form of MeanOf.
template <class P, bool straight>
class Means {
 public:
  using Real = AreaReal<P>;
  using D = hn::ScalableTag<Real>;
  using V = hn::Vec<D>;
  static constexpr std::int64_t kLanes = static_cast<std::int64_t>(hn::MaxLanes(D()));

  HWY_INLINE explicit Means(Real inverse_area) : by_area_(hn::Set(D(), inverse_area)) {}

  // Integers are still to be truncated.
  HWY_INLINE Channels<V> Of(const Channels<V>& sum) const {
    const D d;
    V inverse = by_area_;
    if constexpr (straight) inverse = hn::Div(hn::Set(d, Real{1}), sum.alpha);
    const V alpha = hn::Mul(sum.alpha, by_area_);
    if constexpr (!std::is_same_v<P, PF_PixelFloat>) {
      const V rounding = hn::Set(d, AreaMath<P>::kRounding);
      const V rounded = hn::Add(alpha, rounding);
      inverse = hn::IfThenElseZero(hn::Ge(rounded, hn::Set(d, Real{1})), inverse);
      const auto mean = [&](V v) HWY_ATTR { return hn::Add(hn::Mul(v, inverse), rounding); };
      return {rounded, mean(sum.red), mean(sum.green), mean(sum.blue)};
    } else {
      const auto visible = hn::Gt(sum.alpha, hn::Zero(d));
      const auto shown = [&](V v) HWY_ATTR { return straight ? hn::IfThenElseZero(visible, v) : v; };
      return {shown(alpha), shown(hn::Mul(sum.red, inverse)), shown(hn::Mul(sum.green, inverse)),
              shown(hn::Mul(sum.blue, inverse))};
    }
  }

  // kLanes means from as many sums.
  HWY_INLINE void Store(const Real* sums, P* out) const { StorePixels(D(), Of(LoadGroups(D(), sums)), out); }

 private:
  V by_area_;
};

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
