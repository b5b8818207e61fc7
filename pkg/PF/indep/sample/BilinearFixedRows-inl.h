// Bilinear sampling of 8-bit pixels of equal alphas in integers in two steps, along each source row once and
// then between rows. Nothing is rounded before the division, so the order of the steps does not matter.
#if defined(PF_SAMPLE_BILINEAR_FIXED_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_FIXED_ROWS_INL_H
#undef PF_SAMPLE_BILINEAR_FIXED_ROWS_INL_H
#else
#define PF_SAMPLE_BILINEAR_FIXED_ROWS_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "sample/BilinearFixed-inl.h"
#include "sample/BilinearGrid-inl.h"
#include "sample/BilinearTaps-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Whether spread rows can be made by vectors that look alike, and sums fit 16 bits.
inline bool FixedSpreadFits(const FixedPlaces& positions, int bits) {
  return (static_cast<std::int64_t>(hn::Lanes(FixedTag())) * positions.step() & 0xFFFF) == 0 && bits <= 8;
}

using FixedSums = hn::Repartition<std::uint16_t, FixedTag>;

// A source row blended along itself, four channels per sample, in 1 / 2^bits_u. As many samples as a vector has
// 32-bit lanes make two vectors: the first holds samples 0 and 1 of each four, the second samples 2 and 3.
HWY_NOINLINE inline void SpreadFixed(const std::uint32_t* held, const FixedPlaces& positions, int bits_u,
                                     std::int64_t n, std::uint16_t* HWY_RESTRICT out) {
  const FixedSums d;
  const FixedBytes d8;
  const FixedPattern pattern(positions, 0, bits_u);
  constexpr std::size_t kLanes = hn::MaxLanes(FixedSums());
  alignas(HWY_MAX_BYTES) std::uint8_t bytes[2][2 * kLanes];
  alignas(HWY_MAX_BYTES) std::uint16_t weights[2][2][kLanes];
  std::int64_t column[2][kFixedBlocks];  // of the block of 16 bytes behind sample k's
  for (std::size_t half = 0; half < 2; ++half) {
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const auto first = static_cast<std::int64_t>(lane / 8 * 4 + 2 * half), sample = first + (lane % 8 >= 4 ? 1 : 0);
      const std::int64_t offset = positions.ColumnAt(sample) - positions.ColumnAt(first);
      column[half][lane / 8] = positions.ColumnAt(first);
      bytes[half][2 * lane] = static_cast<std::uint8_t>(4 * offset + static_cast<std::int64_t>(lane % 4));
      bytes[half][2 * lane + 1] = 0x80;
      weights[half][0][lane] = static_cast<std::uint16_t>(pattern.Left(sample));
      weights[half][1][lane] = static_cast<std::uint16_t>(pattern.Right(sample));
    }
  }
  constexpr auto kSamples = static_cast<std::int64_t>(hn::MaxLanes(FixedTag()));
  const std::int64_t columns = kSamples * positions.step() >> 16;
  const auto next = hn::BitCast(d8, hn::Set(d, 4));
  for (std::int64_t k = 0; k < n; k += kSamples, held += columns) {
    for (std::size_t half = 0; half < 2; ++half, out += kLanes) {
      const auto blocks = hn::BitCast(d8, LoadBlocks(hn::RebindToUnsigned<FixedTag>(), held, column[half]));
      const auto at = hn::Load(d8, bytes[half]);
      const auto left = hn::BitCast(d, hn::TableLookupBytesOr0(blocks, at));
      const auto right = hn::BitCast(d, hn::TableLookupBytesOr0(blocks, hn::Add(at, next)));
      const auto sum =
          hn::Add(hn::Mul(left, hn::Load(d, weights[half][0])), hn::Mul(right, hn::Load(d, weights[half][1])));
      hn::StoreU(sum, d, out);
    }
  }
}

// Between two spread rows.
class FixedRowsSampler {
 public:
  HWY_INLINE FixedRowsSampler(const std::uint16_t* upper, const std::uint16_t* lower, int bits_u, std::int64_t v,
                              int bits_v)
      : upper_(upper),
        lower_(lower),
        bits_(bits_u + bits_v),
        above_(hn::Set(D(), static_cast<std::uint16_t>((1 << bits_v) - v))),
        below_(hn::Set(D(), static_cast<std::uint16_t>(v))) {}

  HWY_INLINE PackedPixels operator()(std::int64_t k) const {
    const FixedBytes d8;
    alignas(16) static constexpr std::uint8_t kUnzip[16] = {0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15};
    // Even bytes are samples 0 and 1 of each four, odd bytes samples 2 and 3.
    const auto even = hn::ShiftRightSame(Sum(4 * k), bits_);
    const auto odd = hn::ShiftLeftSame(Sum(4 * k + std::int64_t{hn::MaxLanes(D())}), 8 - bits_);
    const auto zipped = hn::Or(even, hn::And(odd, hn::Set(D(), 0xFF00)));
    return {hn::BitCast(FixedTag(), hn::TableLookupBytes(hn::BitCast(d8, zipped), hn::LoadDup128(d8, kUnzip)))};
  }

 private:
  using D = FixedSums;

  HWY_INLINE hn::Vec<D> Sum(std::int64_t at) const {
    const auto upper = hn::Mul(hn::LoadU(D(), upper_ + at), above_);
    const auto lower = hn::Mul(hn::LoadU(D(), lower_ + at), below_);
    return hn::Add(hn::Add(upper, lower), hn::Set(D(), static_cast<std::uint16_t>((1 << bits_) / 2)));
  }

  const std::uint16_t *upper_, *lower_;
  int bits_;
  hn::Vec<D> above_, below_;
};

HWY_NOINLINE inline void FixedBetween(const RowJob<PF_Pixel8>& job, const std::uint16_t* upper,
                                      const std::uint16_t* lower, int bits_u, int bits_v, const SampleRange& range) {
  const std::int64_t v = job.fy >> (16 - bits_v);
  ForGridLanes(FixedTag(), range, job, [=]() HWY_ATTR { return FixedRowsSampler(upper, lower, bits_u, v, bits_v); });
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
