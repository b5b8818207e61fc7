// Bilinear sampling of 8-bit pixels in integers, for whole-fraction enlargements as of 2 and 4. Every
// step of the formula is exact there up to the division, so these are the bits of sample/Bilinear.h.
#if defined(PF_SAMPLE_BILINEAR_FIXED_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_FIXED_INL_H
#undef PF_SAMPLE_BILINEAR_FIXED_INL_H
#else
#define PF_SAMPLE_BILINEAR_FIXED_INL_H
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

using FixedPlaces = SamplePositions;
using FixedTag = hn::RebindToSigned<RealTag<PF_Pixel8>>;  // one lane per sample
using FixedBytes = hn::Repartition<std::uint8_t, FixedTag>;
using FixedShorts = hn::Repartition<std::int16_t, FixedTag>;

// Blocks of four samples in a vector; 16 bytes of columns serve one.
inline constexpr std::size_t kFixedBlocks = (hn::MaxLanes(FixedTag()) + 3) / 4;

// Whether all vectors of samples look alike, and both columns of four samples lie in one block of four.
inline bool FixedFits(const FixedPlaces& positions, int bits_u) {
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(FixedTag()));
  return (lanes * positions.step() & 0xFFFF) == 0 && 65535 + 3 * positions.step() < 3 * 65536 && bits_u <= 7;
}

// Offsets and weights of the samples from k on, as one vector sees them.
struct FixedPattern {
  FixedPattern(const FixedPlaces& positions, std::int64_t k, int bits_u)
      : places(positions), first(k), shift(16 - bits_u) {}

  std::int64_t Offset(std::int64_t sample) const {  // within its block
    return places.ColumnAt(first + sample) - places.ColumnAt(first + sample / 4 * 4);
  }
  std::int64_t Right(std::int64_t sample) const { return places.FractionAt(first + sample) >> shift; }
  std::int64_t Left(std::int64_t sample) const { return (std::int64_t{1} << (16 - shift)) - Right(sample); }

  const FixedPlaces& places;
  std::int64_t first;
  int shift;
};

struct PackedPixels {
  hn::Vec<FixedTag> v;
};

HWY_INLINE void StorePixels(RealTag<PF_Pixel8>, const PackedPixels& pixels, PF_Pixel8* to) {
  hn::StoreU(hn::BitCast(FixedBytes(), pixels.v), FixedBytes(), reinterpret_cast<std::uint8_t*>(to));
}
template <class How>
HWY_INLINE void StorePixels(FixedTag d, const PackedPixels& pixels, PF_Pixel8* to, const How& how) {
  StoreVector(pixels.v, d, reinterpret_cast<std::int32_t*>(to), how);
}

// The blocks of both rows at sample k.
struct FixedRows {
  HWY_INLINE hn::Vec<FixedBytes> Blocks(const std::uint32_t* row, std::int64_t k) const {
    std::int64_t column[kFixedBlocks];
    for (std::size_t b = 0; b < kFixedBlocks; ++b) {
      column[b] = positions.ColumnAt(k + static_cast<std::int64_t>(4 * b));
    }
    return hn::BitCast(FixedBytes(), LoadBlocks(hn::RebindToUnsigned<FixedTag>(), row, column));
  }

  const std::uint32_t *upper, *lower;
  FixedPlaces positions;
};

// Blocks of differing alphas. Weights are integers that add up to 2^bits, bits <= 7, so that alpha times
// weight fits 15 bits.
class FixedDifferingSampler {
 public:
  HWY_INLINE FixedDifferingSampler(const FixedRows& rows, std::int64_t k, int bits_u, std::int64_t v, int bits_v)
      : rows_(rows), bits_(bits_u + bits_v) {
    const FixedPattern pattern(rows.positions, k, bits_u);
    alignas(HWY_MAX_BYTES) std::uint8_t bytes[HWY_MAX_BYTES];
    alignas(HWY_MAX_BYTES) std::int16_t top[HWY_MAX_BYTES / 2], bottom[HWY_MAX_BYTES / 2];
    for (std::size_t s = 0; s < hn::Lanes(FixedTag()); ++s) {
      const auto sample = static_cast<std::int64_t>(s);
      for (std::size_t side = 0; side < 2; ++side) {
        const std::int64_t u = side == 0 ? pattern.Left(sample) : pattern.Right(sample);
        bytes[4 * s + 2 * side] =
            static_cast<std::uint8_t>(4 * (pattern.Offset(sample) + static_cast<std::int64_t>(side)));
        bytes[4 * s + 2 * side + 1] = 0x80;
        top[2 * s + side] = static_cast<std::int16_t>(u * ((std::int64_t{1} << bits_v) - v));
        bottom[2 * s + side] = static_cast<std::int16_t>(u * v);
      }
    }
    bytes_ = hn::Load(FixedBytes(), bytes);
    top_ = hn::Load(FixedShorts(), top);
    bottom_ = hn::Load(FixedShorts(), bottom);
  }

  HWY_INLINE PackedPixels operator()(std::int64_t k) const {
    const FixedTag d;
    const RealTag<PF_Pixel8> df;
    const auto upper = rows_.Blocks(rows_.upper, k), lower = rows_.Blocks(rows_.lower, k);
    const auto top = hn::Mul(Pairs<0>(upper), top_), bottom = hn::Mul(Pairs<0>(lower), bottom_);
    const auto alpha = AddPairProducts(d, hn::Add(top, bottom), hn::Set(FixedShorts(), 1), hn::Zero(d));
    const auto half = hn::Set(d, 1 << (bits_ - 1));
    const auto inverse = hn::Div(hn::Set(df, 1.0f), hn::ConvertTo(df, alpha));
    const auto stored = [&](auto sum) HWY_ATTR {
      return TruncateToInt32(hn::Add(hn::Mul(hn::ConvertTo(df, sum), inverse), hn::Set(df, 0.5f)));
    };
    const auto red = stored(Sum<1>(top, upper, bottom, lower));
    const auto green = stored(Sum<2>(top, upper, bottom, lower));
    const auto blue = stored(Sum<3>(top, upper, bottom, lower));
    const auto low = hn::Or(hn::ShiftRightSame(hn::Add(alpha, half), bits_), hn::ShiftLeft<16>(green));
    const auto pixels = hn::Or(low, hn::ShiftLeft<8>(hn::Or(red, hn::ShiftLeft<16>(blue))));
    return {hn::IfThenZeroElse(hn::Lt(alpha, half), pixels)};
  }

 private:
  using Shorts = hn::Vec<FixedShorts>;
  using Bytes = hn::Vec<FixedBytes>;

  // A channel of the left and the right neighbour of each sample.
  template <int channel>
  HWY_INLINE Shorts Pairs(Bytes blocks) const {
    const auto bytes = hn::Add(bytes_, hn::BitCast(FixedBytes(), hn::Set(FixedShorts(), channel)));
    return hn::BitCast(FixedShorts(), hn::TableLookupBytesOr0(blocks, bytes));
  }

  template <int channel>
  HWY_INLINE hn::Vec<FixedTag> Sum(Shorts top, Bytes upper, Shorts bottom, Bytes lower) const {
    const FixedTag d;
    const auto below = AddPairProducts(d, bottom, Pairs<channel>(lower), hn::Zero(d));
    return AddPairProducts(d, top, Pairs<channel>(upper), below);
  }

  FixedRows rows_;
  int bits_;
  Bytes bytes_;
  Shorts top_, bottom_;
};

// Blocks of equal alphas, which pass through the weights unchanged. Sums have 8 + bits <= 16 bits.
class FixedEqualSampler {
 public:
  HWY_INLINE FixedEqualSampler(const FixedRows& rows, std::int64_t k, int bits_u, std::int64_t v, int bits_v)
      : rows_(rows), bits_(bits_u + bits_v) {
    const FixedPattern pattern(rows.positions, k, bits_u);
    for (int half = 0; half < 2; ++half) {
      alignas(HWY_MAX_BYTES) std::uint8_t bytes[HWY_MAX_BYTES];
      alignas(HWY_MAX_BYTES) std::uint16_t weights[4][HWY_MAX_BYTES / 2];
      for (std::size_t lane = 0; lane < hn::Lanes(D()); ++lane) {
        // A block of 8 lanes holds two samples of four channels.
        const auto sample = static_cast<std::int64_t>(lane / 8 * 4 + lane % 8 / 4) + 2 * half;
        bytes[2 * lane] = static_cast<std::uint8_t>(4 * pattern.Offset(sample) + static_cast<std::int64_t>(lane % 4));
        bytes[2 * lane + 1] = 0x80;
        const std::int64_t left = pattern.Left(sample), right = pattern.Right(sample), above = (1 << bits_v) - v;
        weights[0][lane] = static_cast<std::uint16_t>(left * above);
        weights[1][lane] = static_cast<std::uint16_t>(right * above);
        weights[2][lane] = static_cast<std::uint16_t>(left * v);
        weights[3][lane] = static_cast<std::uint16_t>(right * v);
      }
      Half& into = half == 0 ? first_ : second_;
      into = {hn::Load(FixedBytes(), bytes), hn::Load(D(), weights[0]), hn::Load(D(), weights[1]),
              hn::Load(D(), weights[2]), hn::Load(D(), weights[3])};
    }
  }

  HWY_INLINE PackedPixels operator()(std::int64_t k) const {
    const auto upper = rows_.Blocks(rows_.upper, k), lower = rows_.Blocks(rows_.lower, k);
    // Even bytes are samples 0 and 1 of each block, odd bytes samples 2 and 3.
    const auto zipped = hn::Or(Blend(first_, upper, lower), hn::ShiftLeft<8>(Blend(second_, upper, lower)));
    alignas(16) static constexpr std::uint8_t kUnzip[16] = {0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15};
    const FixedBytes d8;
    return {hn::BitCast(FixedTag(), hn::TableLookupBytes(hn::BitCast(d8, zipped), hn::LoadDup128(d8, kUnzip)))};
  }

 private:
  using D = hn::Repartition<std::uint16_t, FixedTag>;
  using V = hn::Vec<D>;
  using Bytes = hn::Vec<FixedBytes>;
  struct Half {
    Bytes bytes;  // of the left neighbour; the right one stands 4 bytes behind
    V w00, w10, w01, w11;
  };

  HWY_INLINE V Blend(const Half& half, Bytes upper, Bytes lower) const {
    const auto right = hn::Add(half.bytes, hn::BitCast(FixedBytes(), hn::Set(D(), 4)));
    const auto tap = [](Bytes blocks, Bytes bytes, V weight)
                         HWY_ATTR { return hn::Mul(hn::BitCast(D(), hn::TableLookupBytesOr0(blocks, bytes)), weight); };
    const V above = hn::Add(tap(upper, half.bytes, half.w00), tap(upper, right, half.w10));
    const V below = hn::Add(tap(lower, half.bytes, half.w01), tap(lower, right, half.w11));
    const V rounding = hn::Set(D(), static_cast<std::uint16_t>((1 << bits_) / 2));
    return hn::ShiftRightSame(hn::Add(hn::Add(above, below), rounding), bits_);
  }

  FixedRows rows_;
  int bits_;
  Half first_, second_;
};

// Samples begin..end-1 in integers; `Sampler` is one of the fixed ones.
template <class Sampler>
HWY_NOINLINE void FixedRange(const RowJob<PF_Pixel8>& job, int bits_u, int bits_v, std::int64_t begin,
                             std::int64_t end) {
  const FixedRows rows = {job.upper, job.lower, job.positions};
  ForLanes(RealTag<PF_Pixel8>(), begin, end, job.out, Sampler(rows, begin, bits_u, job.fy >> (16 - bits_v), bits_v));
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
