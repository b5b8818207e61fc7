// Bilinear sampling by the formula as it stands in sample/Bilinear.h, four taps per sample.
#if defined(PF_SAMPLE_BILINEAR_FORMULA_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_FORMULA_INL_H
#undef PF_SAMPLE_BILINEAR_FORMULA_INL_H
#else
#define PF_SAMPLE_BILINEAR_FORMULA_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "sample/BilinearBlend-inl.h"
#include "sample/BilinearTaps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

template <class P, AlphaClass alphas>
struct BlendSampler {
  using V = RealVec<P>;

  HWY_INLINE explicit BlendSampler(const RowJob<P>& job)
      : upper(job.upper),
        lower(job.lower),
        stride(job.stride),
        positions(job.positions),
        v(hn::Set(RealTag<P>(), job.v)),
        integral_row(job.v == RealOf<P>(0)) {}

  HWY_INLINE Channels<V> operator()(std::int64_t k) const {
    const RealTag<P> d;
    const auto place = PlaceAt<P>(positions, k);
    const Taps<V> taps = {LoadTap(upper, stride, place), LoadTap(upper + 1, stride, place),
                          LoadTap(lower, stride, place), LoadTap(lower + 1, stride, place)};
    const auto weights = WeightsOf(hn::Set(d, RealOf<P>(1)), place.u, v);
    // Integers need no more here: uniform blocks and integral positions come out exactly.
    if constexpr (alphas == AlphaClass::kEqual && !kIsFloat<P>) return BlendEqual<P>(taps, weights);
    const auto out = BlendOf<P, alphas>(taps, weights);
    if (!integral_row) return out;
    return Select<P>(hn::Eq(place.u, hn::Zero(d)), taps.p00, out);
  }

  const HeldElement<P>*upper, *lower;
  std::int64_t stride;
  SamplePositions positions;
  V v;
  bool integral_row;
};

// Sample k alone.
template <class P>
P BlendOne(const RowJob<P>& job, std::int64_t k) {
  const std::int64_t column = job.positions.ColumnAt(k);
  const auto pixel = [&](const HeldElement<P>* row) { return PixelAt(row + column, job.stride, P{}); };
  const Block<P> block = {pixel(job.upper), pixel(job.upper + 1), pixel(job.lower), pixel(job.lower + 1)};
  if (Integral(job.positions.At(k), job.fy)) return block.p00;
  return BlendStraight(block,
                       pf::WeightsOf<RealOf<P>>(Fraction(job.positions.At(k)), static_cast<std::uint32_t>(job.fy)));
}

template <class P, AlphaClass alphas>
HWY_NOINLINE void BlendRange(const RowJob<P>& job, std::int64_t begin, std::int64_t end) {
  const BlendSampler<P, alphas> sample(job);
  if constexpr (kIsFloat<P>) {
    ForAlignedLanes(RealTag<P>(), begin, end, job, sample);
  } else {
    ForLanes(RealTag<P>(), begin, end, job.out, sample);
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
