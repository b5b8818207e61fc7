// Bilinear sampling of integer pixels in two steps, along each source row once and then between rows. Its
// sums are not rounded as those of sample/Bilinear.h; where that could change a stored bit, the formula
// decides.
#if defined(PF_SAMPLE_BILINEAR_SEPARABLE_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_SEPARABLE_INL_H
#undef PF_SAMPLE_BILINEAR_SEPARABLE_INL_H
#else
#define PF_SAMPLE_BILINEAR_SEPARABLE_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

#include "sample/BilinearFormula-inl.h"
#include "sample/BilinearTaps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Added to `base`, a value up to full has its whole part in the bits from `shift` on, and behind them its
// fraction in units of the last bit. One half and a margin are added to a computed value; if the fraction
// of that sum is at least twice the margin, its whole part is what the formula stores. For this the margin
// has to cover the distance d between the formula's value plus one half, rounded, and ours plus one half,
// exact; and half a unit for each rounding here.
//
// The distance. Let e be the rounding unit (2^-24, 2^-53), x the exact value, p a pixel's four channels.
//
// 16 bits: weights and sums of alphas are exact in either order, so alpha and colours of equal alphas are
// too. Sums of alpha times colour are exact along the row (48 bits); all terms being positive, they are off
// by 2 e of themselves between rows and by 4 e in the formula. Inverse and product add 2 e each. So
// d < 65536 * 10 e + 2^-38 < 2^-33: half a unit of 2^-16, and none that counts.
//
// 8 bits: the formula rounds weights, absolutely by at most h = e / 2 each time, being at most 1:
//   w11 = uv + r1, w10 = u - w11 + r2, w01 = v - w11 + r3, w00 = 1 - w10 - w01 - w11 + r4 + r5 + r6,
// which changes a sum of w p by r1 (p11 - p10 - p01 + p00) + r2 (p10 - p00) + r3 (p01 - p00) +
// (r4 + r5 + r6) p00. With values of p in a range that is R wide and holds 0 that is 7 h R = 3.5 e R.
//   Equal alphas, and alpha: R = 255; four more roundings of each term in the formula, at most four here:
//   d < 11.5 * 255 e + 2^-17 < 3.1 units of 2^-14. With the sum's rounding 3.6: 4 units.
//   Colours: the quotient of the sums of w a c and w a is off by the sum of w a (c - x) over the sum of
//   w a: R = 255^2, as x is between 0 and 255. In the formula 5 e for the sum, 4 e for alpha's and 2 e for
//   inverse and product, here 4 e, 4 e and 2 e: d < 3.5 * 255^2 e / alpha + 21 * 255 e + 2^-17, which is
//   less than 0.01357 / alpha + 5.4 units. With the roundings of the sum and of what is added 6.4: 7 units;
//   and 0.0138, since alpha is off too, by less than a hundredth where it is visible, 0.5 and more.
template <class P>
struct SeparableMath;
template <>
struct SeparableMath<PF_Pixel8> {
  static constexpr int kShift = 14;
  static constexpr std::uint32_t kUnits = 4;  // kMargin
  static constexpr float kBase = 512.0f, kMargin = 0x1p-12f, kColourMargin = 7 * 0x1p-14f, kOverAlpha = 0.0138f;
};
template <>
struct SeparableMath<PF_Pixel16> {
  static constexpr int kShift = 16;
  static constexpr std::uint64_t kUnits = 1;
  static constexpr double kBase = 0x1p36, kMargin = 0x1p-16, kColourMargin = 0x1p-16, kOverAlpha = 0;
};

template <class V>
HWY_INLINE V Mix(V weight0, V v0, V weight1, V v1) {
  return hn::Add(hn::Mul(weight0, v0), hn::Mul(weight1, v1));
}

// Samples k..behind-1 along four planes, planes[0] being column `first`. `one_load`: those of a vector and their right
// neighbours lie in as many columns as it has lanes.
template <class P, bool one_load>
HWY_NOINLINE void SpreadAlong(const RealOf<P>* planes, std::int64_t stride, std::int64_t first,
                              const SamplePositions positions, std::int64_t k, std::int64_t behind,
                              std::int64_t out_stride, RealOf<P>* out) {
  const RealTag<P> d;
  for (; k < behind; k += static_cast<std::int64_t>(hn::Lanes(d))) {
    const auto place = PlaceAt<P>(positions, k);
    const auto rest = hn::Sub(hn::Set(d, RealOf<P>(1)), place.u);
    for (std::int64_t c = 0; c < 4; ++c) {
      const RealOf<P>* from = planes + (c * stride + place.column - first);
      const auto columns = hn::LoadU(d, from);
      const auto left = hn::TableLookupLanes(columns, place.columns);
      auto right = left;
      if constexpr (one_load) {
        right = hn::TableLookupLanes(columns, PlaceAt<P>(positions, k, 1).columns);
      } else {
        right = hn::TableLookupLanes(hn::LoadU(d, from + 1), place.columns);
      }
      hn::StoreU(Mix(rest, left, place.u, right), d, out + c * out_stride + k);
    }
  }
}

// A source row blended along itself: alpha, and alpha times colour. Columns are weighed once for all samples beside
// them, as many at a time as stay in the first cache.
template <class P>
HWY_NOINLINE void SpreadWeighed(const HeldElement<P>* planes, std::int64_t stride, const SamplePositions positions,
                                std::int64_t n, std::int64_t out_stride, RealOf<P>* out) {
  constexpr std::int64_t kLanes = hn::MaxLanes(RealTag<P>()), kColumns = 2048 / sizeof(RealOf<P>);
  alignas(HWY_MAX_BYTES) RealOf<P> weighed[4 * kColumns];
  const bool one_load = (kLanes - 1) * positions.step() + 65535 < (kLanes - 1) * 65536;
  const auto spread = one_load ? &SpreadAlong<P, true> : &SpreadAlong<P, false>;
  for (std::int64_t k = 0; k < n;) {
    const std::int64_t first = positions.ColumnAt(k) / kLanes * kLanes;
    WeighColumns<P>(planes + first, stride, std::min(kColumns, stride - first), weighed, kColumns);
    // Steps are at most a column, so these are some vectors at least.
    const std::int64_t samples = (positions.SampleAt(first + kColumns - kLanes) - k) / kLanes * kLanes;
    spread(weighed, kColumns, first, positions, k, std::min(k + samples, n), out_stride, out);
    k += samples;
  }
}

// A whole pixel in each lane, from lanes of channels that hold theirs from bit `shift` on.
template <class DU, class V = hn::Vec<DU>>
HWY_INLINE V PackWholeParts(DU d, const Channels<V>& p, PF_Pixel8) {
  const auto at = [&](V v, std::uint32_t mask) HWY_ATTR { return hn::And(v, hn::Set(d, mask)); };
  return hn::Or(hn::Or(at(hn::ShiftRight<14>(p.alpha), 0xFF), at(hn::ShiftRight<6>(p.red), 0xFF00)),
                hn::Or(at(hn::ShiftLeft<2>(p.green), 0xFF0000), at(hn::ShiftLeft<10>(p.blue), 0xFF000000)));
}
template <class DU, class V = hn::Vec<DU>>
HWY_INLINE V PackWholeParts(DU d, const Channels<V>& p, PF_Pixel16) {
  const auto at = [&](V v, std::uint64_t mask) HWY_ATTR { return hn::And(v, hn::Set(d, mask)); };
  return hn::Or(hn::Or(at(hn::ShiftRight<16>(p.alpha), 0xFFFF), at(p.red, 0xFFFF0000)),
                hn::Or(at(hn::ShiftLeft<16>(p.green), std::uint64_t{0xFFFF} << 32),
                       at(hn::ShiftLeft<32>(p.blue), std::uint64_t{0xFFFF} << 48)));
}

// Between two spread rows.
template <class P>
class SeparableSampler {
 public:
  using Real = RealOf<P>;
  using V = RealVec<P>;
  using DU = hn::RebindToUnsigned<RealTag<P>>;
  using Bits = hn::Vec<DU>;
  using Math = SeparableMath<P>;

  HWY_INLINE SeparableSampler(const Real* upper, const Real* lower, std::int64_t stride, Real v)
      : upper_(upper),
        lower_(lower),
        stride_(stride),
        rest_(hn::Set(RealTag<P>(), 1 - v)),
        v_(hn::Set(RealTag<P>(), v)) {}

  // False: the formula must decide.
  HWY_INLINE bool operator()(std::int64_t k, Bits* pixels) const {
    const RealTag<P> d;
    const auto bits = [](V v) HWY_ATTR { return hn::BitCast(DU(), v); };
    const V half = hn::Set(d, Math::kBase + Real(0.5) + Math::kMargin);
    const V red = Between(stride_ + k), green = Between(2 * stride_ + k), blue = Between(3 * stride_ + k);
    const V alpha = Between(k), visible = hn::Set(d, Real(0.5));
    const V inverse = hn::IfThenElseZero(hn::Ge(alpha, visible), hn::Div(hn::Set(d, Real(1)), alpha));
    const V high = High(inverse);
    const auto colour = [&](V sum) HWY_ATTR { return bits(hn::Add(hn::Mul(sum, inverse), high)); };
    const Channels<Bits> whole = {bits(hn::Add(alpha, half)), colour(red), colour(green), colour(blue)};
    *pixels = PackWholeParts(DU(), whole, P{});
    const auto colours = hn::Min(hn::Min(Fraction(whole.red), Fraction(whole.green)), Fraction(whole.blue));
    return hn::AllFalse(I(), hn::Or(hn::Lt(Fraction(whole.alpha), TwiceMargin()), hn::Lt(colours, TwiceMargin(high))));
  }

 private:
  using I = hn::Repartition<std::int32_t, RealTag<P>>;
  using Fractions = hn::Vec<I>;

  // In units, in the low 32 bits of each lane.
  static HWY_INLINE Fractions Fraction(Bits sum) {
    return hn::BitCast(I(), hn::And(sum, hn::Set(DU(), (1 << Math::kShift) - 1)));
  }

  // What is added to colours: at least half a unit of their margin is for its rounding.
  static HWY_INLINE V High(V inverse) {
    const RealTag<P> d;
    const V high = hn::Set(d, Math::kBase + Real(0.5) + Math::kColourMargin);
    if constexpr (Math::kOverAlpha == 0) return high;
    return hn::Add(hn::Mul(inverse, hn::Set(d, Math::kOverAlpha)), high);
  }

  static_assert(Math::kMargin * (1 << Math::kShift) == Math::kUnits);
  static_assert(Math::kOverAlpha != 0 || Math::kColourMargin == Math::kMargin);
  static HWY_INLINE Fractions TwiceMargin() { return hn::BitCast(I(), hn::Set(DU(), 2 * Math::kUnits)); }
  static HWY_INLINE Fractions TwiceMargin(V high) {
    if constexpr (Math::kOverAlpha == 0) {
      return TwiceMargin();
    } else {
      const auto none = hn::BitCast(I(), hn::Set(RealTag<P>(), Math::kBase + Real(0.5)));
      return hn::ShiftLeft<1>(hn::Sub(hn::BitCast(I(), high), none));
    }
  }

  HWY_INLINE V Between(std::int64_t element) const {
    const RealTag<P> d;
    return Mix(rest_, hn::LoadU(d, upper_ + element), v_, hn::LoadU(d, lower_ + element));
  }

  const Real *upper_, *lower_;
  std::int64_t stride_;
  V rest_, v_;
};

// `upper` and `lower` are spread rows.
template <class P>
HWY_NOINLINE void SeparableRange(const RowJob<P>& job, const RealOf<P>* upper, const RealOf<P>* lower,
                                 std::int64_t stride, std::int64_t begin, std::int64_t end) {
  using Sampler = SeparableSampler<P>;
  const typename Sampler::DU d;
  const Sampler sample(upper, lower, stride, job.v);
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const auto pixels_at = [&](P* to) { return reinterpret_cast<hn::TFromD<typename Sampler::DU>*>(to); };
  const auto part = [&](std::int64_t k) HWY_ATTR {
    const std::int64_t first = std::max(k, begin), last = std::min(k + lanes, end);
    typename Sampler::Bits pixels;
    if (!sample(k, &pixels)) return BlendRange<P, AlphaClass::kDiffering>(job, first, last);
    alignas(HWY_MAX_BYTES) P all[HWY_MAX_BYTES / sizeof(P)];
    hn::Store(pixels, d, pixels_at(all));
    std::memcpy(job.out + first, all + (first - k), static_cast<std::size_t>(last - first) * sizeof(P));
  };
  // Spread rows are read by whole cache lines.
  std::int64_t k = begin / lanes * lanes;
  if (k < begin) {
    part(k);
    k += lanes;
  }
  // At 8 bits the formula decides so often that its own stores would cost more than is won.
  const bool past_caches = sizeof(P) > sizeof(PF_Pixel8) && job.PastCaches(k);
  while (k + lanes <= end) {
    // What the formula must decide is put off: which vectors that are cannot be foreseen.
    std::uint64_t undecided = 0;
    const std::int64_t chunk = k;
    for (std::uint64_t bit = 1; bit != 0 && k + lanes <= end; bit <<= 1, k += lanes) {
      typename Sampler::Bits pixels;
      undecided |= sample(k, &pixels) ? 0 : bit;
      StoreVector(pixels, d, pixels_at(job.out + k), past_caches);
      job.FetchAhead(k, hn::MaxLanes(d));
    }
    for (; undecided != 0; undecided &= undecided - 1) {
      const std::int64_t at = chunk + std::countr_zero(undecided) * lanes;
      BlendRange<P, AlphaClass::kDiffering>(job, at, at + lanes);
    }
  }
  if (k < end) part(k);
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
