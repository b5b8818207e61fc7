// Bilinear sampling of 16-bit pixels of equal alphas in integers, at any fractions, between two rows first and then
// along them. The sum of the formula in sample/Bilinear.h is exact in doubles, so exact integers rounded once give the
// same bits.
#if defined(PF_SAMPLE_BILINEAR_SCALED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_SCALED_INL_H
#undef PF_SAMPLE_BILINEAR_SCALED_INL_H
#else
#define PF_SAMPLE_BILINEAR_SCALED_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "sample/BilinearTaps-inl.h"
#include "simd/PairProducts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using ScaledTag = hn::ScalableTag<std::int32_t>;

// Three planes of colours less full, each with that of the row below in the upper half. False where one is above full.
HWY_NOINLINE inline bool PairWithBelow(const std::uint16_t* upper, const std::uint16_t* lower, std::int64_t stride,
                                       std::int64_t columns, std::uint32_t* pairs) {
  const hn::ScalableTag<std::uint16_t> d;
  const auto full = hn::Set(d, 32768);
  auto highest = full;
  for (std::int64_t c = 1; c < 4; ++c, pairs += stride) {
    for (std::int64_t m = 0; m < columns; m += static_cast<std::int64_t>(hn::Lanes(d))) {
      const auto above = hn::LoadU(d, upper + c * stride + m), below = hn::LoadU(d, lower + c * stride + m);
      highest = hn::Max(highest, hn::Max(above, below));
      hn::StoreInterleaved2(hn::Xor(above, full), hn::Xor(below, full), d, reinterpret_cast<std::uint16_t*>(pairs + m));
    }
  }
  return hn::AllTrue(d, hn::Eq(highest, full));
}

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

// Pixels in two halves of 32 bits, in the order of ScaledOrder.
struct HalvedPixels {
  hn::Vec<hn::RebindToUnsigned<ScaledTag>> alpha_red, green_blue;
};

HWY_INLINE void StorePixels(ScaledTag, const HalvedPixels& p, PF_Pixel16* to, bool past_caches) {
  const hn::RebindToUnsigned<ScaledTag> d;
  auto* at = reinterpret_cast<std::uint32_t*>(to);
  StoreVector(hn::InterleaveLower(d, p.alpha_red, p.green_blue), d, at, past_caches);
  StoreVector(hn::InterleaveUpper(d, p.alpha_red, p.green_blue), d, at + hn::Lanes(d), past_caches);
}

// Between the rows, what full exceeds the colours by is summed: both factors are then negative, colours less full and
// weights. So weights up to 65536 fit 16 bits if they are halved, which even vertical fractions allow, or (`fine`) if
// given constants are split off.
//
// `near`: both columns of all samples in a vector are among as many columns as it has lanes.
template <bool fine, bool near>
class ScaledSampler {
 public:
  HWY_INLINE ScaledSampler(const RowJob<PF_Pixel16>& job, const std::uint32_t* pairs, std::uint32_t alpha)
      : pairs_(pairs),
        stride_(job.stride),
        positions_(job.positions),
        steps_(hn::Mul(ScaledOrder(), hn::Set(ScaledTag(), static_cast<std::int32_t>(job.positions.step())))),
        weights_(fine ? Weights(job.fy - 32768, 32767 - job.fy) : Weights(job.fy / 2 - 32768, -job.fy / 2)),
        alpha_(hn::Set(D(), alpha)) {}

  HWY_INLINE HalvedPixels operator()(std::int64_t k) const {
    const ScaledTag d;
    const auto position = hn::Add(hn::Set(d, static_cast<std::int32_t>(positions_.FractionAt(k))), steps_);
    const auto columns = hn::IndicesFromVec(d, hn::ShiftRight<16>(position));
    const auto fraction = hn::And(position, hn::Set(d, 0xFFFF));
    const auto next = hn::IndicesFromVec(d, hn::ShiftRight<16>(hn::Add(position, hn::Set(d, near ? 65536 : 0))));
    const auto channel = [&](std::int64_t c) HWY_ATTR {
      const std::uint32_t* at = pairs_ + c * stride_ + positions_.ColumnAt(k);
      const auto here = Between(at), behind = near ? here : Between(at + 1);
      return Rounded(hn::TableLookupLanes(here, columns), hn::TableLookupLanes(behind, next), fraction);
    };
    const auto red = channel(0), green = channel(1), blue = channel(2);
    const auto upper = [](auto sum)
                           HWY_ATTR { return hn::And(hn::ShiftLeft<16 - kBits>(sum), hn::Set(D(), 0xFFFF0000u)); };
    return {hn::Or(alpha_, upper(red)), hn::Or(hn::ShiftRight<kBits>(green), upper(blue))};
  }

 private:
  using D = hn::RebindToUnsigned<ScaledTag>;
  using Shorts = hn::Repartition<std::int16_t, ScaledTag>;
  using V = hn::Vec<ScaledTag>;
  static constexpr int kBits = fine ? 16 : 15;  // of the fraction of a sum

  static HWY_INLINE hn::Vec<Shorts> Weights(std::int64_t above, std::int64_t below) {
    return hn::BitCast(Shorts(), hn::Set(ScaledTag(), static_cast<std::int32_t>(below * 65536 + (above & 0xFFFF))));
  }

  HWY_INLINE V Between(const std::uint32_t* at) const {
    const ScaledTag d;
    const auto pairs = hn::BitCast(Shorts(), hn::LoadU(D(), at));
    V rest = hn::Zero(d);
    if constexpr (fine) rest = AddPairProducts(d, pairs, Weights(-32768, -32767), rest);
    return AddPairProducts(d, pairs, weights_, rest);
  }

  // From what full exceeds both columns by, the sum and one half. The former is cut to kBits, which cannot matter.
  // Where the one difference does not fit that is possible, 2^31, its sign is lost, and that of the sum, which is
  // otherwise never negative.
  static HWY_INLINE hn::Vec<D> Rounded(V left, V right, V fraction) {
    const ScaledTag d;
    const hn::RebindToUnsigned<Shorts> du16;
    const auto rise = hn::Sub(left, right);
    const auto coarse = hn::Mul(hn::ShiftRight<16>(rise), fraction);
    const auto fine_part = hn::BitCast(d, hn::MulHigh(hn::BitCast(du16, rise), hn::BitCast(du16, fraction)));
    const auto product = hn::Add(coarse, fine_part);
    if constexpr (fine) {
      const auto sum = hn::Add(hn::Sub(hn::Set(d, INT32_MIN), left), product);
      return hn::Add(hn::BitCast(D(), hn::Abs(sum)), hn::Set(D(), 32768));
    } else {
      return hn::BitCast(D(), hn::Add(hn::Sub(hn::Set(d, (1 << 30) + 16384), left), product));
    }
  }

  const std::uint32_t* pairs_;
  std::int64_t stride_;
  SamplePositions positions_;
  V steps_;
  hn::Vec<Shorts> weights_;
  hn::Vec<D> alpha_;
};

template <bool fine, bool near>
HWY_NOINLINE void ScaledRangeOf(const RowJob<PF_Pixel16>& job, const std::uint32_t* pairs, std::uint32_t alpha,
                                std::int64_t begin, std::int64_t end) {
  ForGridLanes(ScaledTag(), begin, end, job, ScaledSampler<fine, near>(job, pairs, alpha));
}

inline void ScaledRange(const RowJob<PF_Pixel16>& job, const std::uint32_t* pairs, std::uint32_t alpha,
                        std::int64_t begin, std::int64_t end) {
  constexpr auto kRises = static_cast<std::int64_t>(hn::MaxLanes(ScaledTag())) - 1;
  const bool near = 65535 + kRises * job.positions.step() < kRises * 65536;
  const auto range = job.fy % 2 == 0 ? (near ? &ScaledRangeOf<false, true> : &ScaledRangeOf<false, false>)
                                     : (near ? &ScaledRangeOf<true, true> : &ScaledRangeOf<true, false>);
  range(job, pairs, alpha, begin, end);
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
