// Bilinear sampling of 8-bit pixels of equal alphas at any fractions in two steps, along each source row in exact
// integers and then between rows. Where rounding could change a stored bit, the formula of sample/Bilinear.h decides.
#if defined(PF_SAMPLE_BILINEAR_BYTES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_BYTES_INL_H
#undef PF_SAMPLE_BILINEAR_BYTES_INL_H
#else
#define PF_SAMPLE_BILINEAR_BYTES_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "sample/BilinearFixed-inl.h"
#include "sample/BilinearFormula-inl.h"
#include "sample/BilinearGrid-inl.h"
#include "sample/BilinearTaps-inl.h"
#include "simd/PairProducts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// A spread colour is kept as a float of 2^24 and more: 65536 times the colour, plus one half and a margin. Floats there
// are 2 apart, so its bits are those of 2^24, the whole part from bit 15 on and behind it the fraction in units of
// 2^-15.
//
// A sum between rows whose fraction is at least twice the margin has the whole part that the formula stores, if the
// margin covers what they may be apart. In units: the formula is off by less than 7.5 * 255 / 2^9, as told in
// sample/BilinearSeparable-inl.h, and 1/4 when one half is added; this sum by 1/2 where a spread value is cut, 1/2 and
// 1/4 in the products, of which one at most reaches 2^24, and 1/2 in the sum. That is less than 5.8.
inline constexpr std::int32_t kBytesBase = 0x4B800000, kBytesMargin = 6;

// `fine`: fractions have 16 bits, else less.
template <bool fine>
class BytesSpread {
 public:
  using D = RealTag<PF_Pixel8>;

  HWY_INLINE BytesSpread(const std::uint32_t* held, std::int64_t, const SamplePositions& positions)
      : held_(held),
        positions_(positions),
        steps_(hn::Mul(hn::Iota(FixedTag(), 0), hn::Set(FixedTag(), static_cast<std::int32_t>(positions.step())))) {}

  HWY_INLINE ColorVectors<D> operator()(std::int64_t k) const {
    const FixedTag d;
    const hn::Repartition<std::uint16_t, FixedTag> dus;
    const auto position = hn::Add(hn::Set(d, static_cast<std::int32_t>(positions_.FractionAt(k))), steps_);
    const auto columns = hn::IndicesFromVec(D(), hn::ShiftRight<16>(position));
    const auto tap = [&](std::int64_t right) HWY_ATTR {
      const auto pixels = hn::BitCast(D(), hn::LoadU(U(), held_ + positions_.ColumnAt(k) + right));
      return hn::BitCast(U(), hn::TableLookupLanes(pixels, columns));
    };
    // In each lane a channel of the left pixel and behind it that of the right one.
    const auto left = tap(0), right = tap(1);
    const auto alpha_red = hn::OddEven(hn::BitCast(dus, hn::ShiftLeft<16>(right)), hn::BitCast(dus, left));
    const auto green_blue = hn::OddEven(hn::BitCast(dus, right), hn::BitCast(dus, hn::ShiftRight<16>(left)));
    const auto weights = Weights(position);
    return {Spread(hn::ShiftRight<8>(alpha_red), weights), Spread(hn::And(green_blue, hn::Set(dus, 0xFF)), weights),
            Spread(hn::ShiftRight<8>(green_blue), weights)};
  }

 private:
  using U = hn::RebindToUnsigned<FixedTag>;

  // Weights of up to 65536 are not 16-bit values. Less than a given constant they are, and so are half of them if
  // negative.
  static HWY_INLINE hn::Vec<FixedShorts> Weights(hn::Vec<FixedTag> position) {
    const FixedTag d;
    const FixedShorts ds;
    if constexpr (fine) {
      const auto both = hn::OddEven(hn::BitCast(ds, hn::ShiftLeft<16>(position)), hn::BitCast(ds, position));
      return hn::Xor(both, hn::BitCast(ds, hn::Set(d, 0x7FFF8000)));
    } else {
      const auto u = hn::And(hn::ShiftRight<1>(position), hn::Set(d, 0x7FFF));
      return hn::BitCast(ds, hn::Sub(hn::Add(u, hn::Set(d, 0x8000)), hn::ShiftLeft<16>(u)));
    }
  }

  static HWY_INLINE hn::Vec<D> Spread(hn::Vec<hn::Repartition<std::uint16_t, FixedTag>> pairs,
                                      hn::Vec<FixedShorts> weights) {
    const FixedTag d;
    const FixedShorts ds;
    const auto channel = hn::BitCast(ds, pairs);
    if constexpr (fine) {
      const auto rest = AddPairProducts(d, channel, hn::BitCast(ds, hn::Set(d, -32767 * 65536 + 32768)), hn::Zero(d));
      const auto base = hn::Set(U(), 2u * (kBytesBase + kBytesMargin) + 32768);
      const auto twice = hn::Sub(base, hn::BitCast(U(), AddPairProducts(d, channel, weights, rest)));
      return hn::BitCast(D(), hn::ShiftRight<1>(twice));
    } else {
      const auto base = hn::Set(U(), std::uint32_t{kBytesBase + kBytesMargin} + 16384);
      return hn::BitCast(D(), hn::Sub(base, hn::BitCast(U(), AddPairProducts(d, channel, weights, hn::Zero(d)))));
    }
  }

  const std::uint32_t* held_;
  SamplePositions positions_;
  hn::Vec<FixedTag> steps_;
};

// The same pixels with the formula's at the lanes of `undecided`.
HWY_NOINLINE inline hn::Vec<FixedTag> WithFormulaAt(hn::Mask<FixedTag> undecided, const RowJob<PF_Pixel8>& job,
                                                    std::int64_t k, hn::Vec<FixedTag> pixels) {
  const FixedTag d;
  alignas(HWY_MAX_BYTES) PF_Pixel8 out[hn::MaxLanes(FixedTag())];
  StorePixels(RealTag<PF_Pixel8>(), BlendSampler<PF_Pixel8, AlphaClass::kEqual>(job)(k), out);
  return hn::IfThenElse(undecided, hn::Load(d, reinterpret_cast<const std::int32_t*>(out)), pixels);
}

class BytesBetween {
 public:
  using Colors = ColorVectors<RealTag<PF_Pixel8>>;

  HWY_INLINE BytesBetween(const RowJob<PF_Pixel8>& job, std::uint32_t alpha)
      : job_(job), rest_(hn::Set(DF(), 1 - job.v)), v_(hn::Set(DF(), job.v)), alpha_(hn::Set(D(), alpha)) {}

  HWY_INLINE PackedPixels operator()(std::int64_t k, const Colors& upper, const Colors& lower) const {
    const auto red = Sum(upper.red, lower.red), green = Sum(upper.green, lower.green);
    const auto blue = Sum(upper.blue, lower.blue);
    const auto select = [](std::uint32_t mask, auto yes, auto no) HWY_ATTR {
      return hn::Or(hn::And(hn::Set(D(), mask), yes), hn::AndNot(hn::Set(D(), mask), no));
    };
    const auto alpha_red = hn::Or(alpha_, hn::And(hn::ShiftRight<7>(red), hn::Set(D(), 0xFF00)));
    const auto green_blue = select(0xFF000000, hn::ShiftLeft<9>(blue), hn::ShiftLeft<1>(green));
    const auto pixels = hn::BitCast(FixedTag(), select(0xFFFF0000, green_blue, alpha_red));
    const auto fraction = [](auto sum) HWY_ATTR { return hn::And(sum, hn::Set(D(), 0x7FFF)); };
    const auto lowest = hn::Min(hn::Min(fraction(red), fraction(green)), fraction(blue));
    const auto undecided = hn::Lt(hn::BitCast(FixedTag(), lowest), hn::Set(FixedTag(), 2 * kBytesMargin));
    if (HWY_LIKELY(hn::AllFalse(FixedTag(), undecided))) return {pixels};
    return {WithFormulaAt(undecided, job_, k, pixels)};
  }

 private:
  using DF = RealTag<PF_Pixel8>;
  using D = hn::RebindToUnsigned<DF>;

  HWY_INLINE hn::Vec<D> Sum(hn::Vec<DF> upper, hn::Vec<DF> lower) const {
    return hn::BitCast(D(), hn::Add(hn::Mul(rest_, upper), hn::Mul(v_, lower)));
  }

  const RowJob<PF_Pixel8>& job_;
  hn::Vec<DF> rest_, v_;
  hn::Vec<D> alpha_;
};

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
