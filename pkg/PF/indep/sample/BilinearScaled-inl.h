// Bilinear sampling of 16-bit pixels of equal alphas in integers, at any fractions. The sum of the formula
// in sample/Bilinear.h is exact in doubles, so exact integers rounded once give the same bits.
#if defined(PF_SAMPLE_BILINEAR_SCALED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_SCALED_INL_H
#undef PF_SAMPLE_BILINEAR_SCALED_INL_H
#else
#define PF_SAMPLE_BILINEAR_SCALED_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "sample/BilinearGrid-inl.h"
#include "sample/BilinearTaps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using ScaledTag = hn::ScalableTag<std::int32_t>;

// Which sample of a vector stands in each lane: interleaving lower and upper halves of blocks then gives
// the samples in order.
HWY_INLINE hn::Vec<ScaledTag> ScaledOrder() {
  const ScaledTag d;
  constexpr std::size_t kLanes = hn::MaxLanes(d);
  alignas(HWY_MAX_BYTES) std::int32_t samples[kLanes];
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    samples[lane] = static_cast<std::int32_t>(lane / 4 * 2 + lane % 2 + (lane % 4 < 2 ? 0 : kLanes / 2));
  }
  return hn::Load(d, samples);
}

// In 1/65536, vectors in the order of ScaledOrder. No colour may be above full: 65536 times it fits 32 bits then, and
// differences of two such values do but for 2^31.
class ScaledSpread {
 public:
  using D = ScaledTag;

  HWY_INLINE ScaledSpread(const std::uint16_t* planes, std::int64_t stride, const SamplePositions& positions)
      : planes_(planes), stride_(stride), positions_(positions), order_(ScaledOrder()) {}

  HWY_INLINE ColorVectors<D> operator()(std::int64_t k) const {
    const auto place = PlaceAt<PF_Pixel8>(positions_, k, order_);  // as many lanes
    return {Color(place, 1), Color(place, 2), Color(place, 3)};
  }

 private:
  HWY_INLINE hn::Vec<D> Color(const SamplePlace<PF_Pixel8>& place, std::int64_t c) const {
    const RealTag<PF_Pixel8> df;
    const hn::Rebind<std::uint16_t, D> d16;
    const auto tap = [&](std::int64_t right) HWY_ATTR {
      const auto columns = hn::PromoteTo(D(), hn::LoadU(d16, planes_ + c * stride_ + place.column + right));
      return hn::BitCast(D(), hn::TableLookupLanes(hn::BitCast(df, columns), place.columns));
    };
    const auto left = tap(0), rise = hn::Mul(place.fraction, hn::Sub(tap(1), left));
    return hn::Add(hn::ShiftLeft<16>(left), rise);
  }

  const std::uint16_t* planes_;
  std::int64_t stride_;
  SamplePositions positions_;
  hn::Vec<D> order_;
};

// Pixels in two halves of 32 bits, in the order of ScaledOrder.
struct HalvedPixels {
  hn::Vec<hn::RebindToUnsigned<ScaledTag>> alpha_red, green_blue;
};

template <class How>
HWY_INLINE void StorePixels(ScaledTag, const HalvedPixels& p, PF_Pixel16* to, const How& how) {
  const hn::RebindToUnsigned<ScaledTag> d;
  auto* at = reinterpret_cast<std::uint32_t*>(to);
  StoreVector(hn::InterleaveLower(d, p.alpha_red, p.green_blue), d, at, how);
  StoreVector(hn::InterleaveUpper(d, p.alpha_red, p.green_blue), d, at + hn::Lanes(d), how);
}

class ScaledBetween {
 public:
  using Colors = ColorVectors<ScaledTag>;

  HWY_INLINE ScaledBetween(const RowJob<PF_Pixel16>& job, std::uint32_t alpha)
      : fy_(hn::Set(ScaledTag(), static_cast<std::int32_t>(job.fy))), alpha_(hn::Set(D(), alpha)) {}

  HWY_INLINE HalvedPixels operator()(std::int64_t, const Colors& upper, const Colors& lower) const {
    const auto upper_half = hn::Set(D(), 0xFFFF0000u);
    const auto red = Rounded(upper.red, lower.red), green = Rounded(upper.green, lower.green);
    const auto blue = Rounded(upper.blue, lower.blue);
    return {hn::Or(alpha_, hn::And(red, upper_half)), hn::Or(hn::ShiftRight<16>(green), hn::And(blue, upper_half))};
  }

 private:
  using V = hn::Vec<ScaledTag>;
  using D = hn::RebindToUnsigned<ScaledTag>;
  using Shorts = hn::Repartition<std::uint16_t, ScaledTag>;

  // The value in the upper half. What the lower half of the difference adds below 1/65536 cannot matter.
  // The one difference that does not fit is from 0 to 2^31 in the lower row: its sign is lost, and the
  // sum with it, which is otherwise never negative.
  HWY_INLINE hn::Vec<D> Rounded(V upper, V lower) const {
    const ScaledTag d;
    const auto rise = hn::Sub(lower, upper);
    const auto coarse = hn::Mul(hn::ShiftRight<16>(rise), fy_);
    const auto fine = hn::BitCast(d, hn::MulHigh(hn::BitCast(Shorts(), rise), hn::BitCast(Shorts(), fy_)));
    return hn::Add(hn::BitCast(D(), hn::Abs(hn::Add(hn::Add(upper, coarse), fine))), hn::Set(D(), 32768));
  }

  V fy_;
  hn::Vec<D> alpha_;
};

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
