// Bilinear sampling of 16-bit pixels of equal alphas in integers, by phases, for weights of few bits. The
// sum and its rounding are exact, so these are the bits of sample/Bilinear.h.
#if defined(PF_SAMPLE_BILINEAR_PAIRS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_PAIRS_INL_H
#undef PF_SAMPLE_BILINEAR_PAIRS_INL_H
#else
#define PF_SAMPLE_BILINEAR_PAIRS_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>
#include <cstring>

#include "sample/BilinearPhases-inl.h"
#include "sample/BilinearTaps-inl.h"
#include "simd/PairProducts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Fraction bits of both axes together: weights up to 2^14 are signed 16-bit values, and four products of
// them with 16-bit ones fit 32 bits.
inline constexpr int kPairBits = 14;

using PairTag = hn::ScalableTag<std::int32_t>;
using PairShorts = hn::Repartition<std::int16_t, PairTag>;

// The pairs of as many columns as a vector has 64-bit lanes; one pixel more is read.
HWY_INLINE void PairColumns(const PF_Pixel16* pixels, std::uint32_t* pairs) {
  const hn::ScalableTag<std::uint64_t> d64;
  const hn::Repartition<std::uint16_t, decltype(d64)> d;
  const hn::Repartition<std::uint32_t, decltype(d64)> d32;
  constexpr std::size_t kLanes = hn::MaxLanes(d64);
  // Interleaving halves of blocks then keeps the columns in order.
  alignas(HWY_MAX_BYTES) std::uint64_t order[kLanes];
  for (std::size_t i = 0; i < kLanes; ++i) order[i] = i / 2 + i % 2 * (kLanes / 2);
  const auto indices = hn::SetTableIndices(d64, order);
  const auto load = [&](const PF_Pixel16* from) HWY_ATTR {
    const auto in_order = hn::TableLookupLanes(hn::LoadU(d64, reinterpret_cast<const std::uint64_t*>(from)), indices);
    return hn::Xor(hn::BitCast(d, in_order), hn::Set(d, 0x8000));
  };
  const auto left = load(pixels), right = load(pixels + 1);
  hn::StoreU(hn::BitCast(d32, hn::InterleaveLower(d, left, right)), d32, pairs);
  hn::StoreU(hn::BitCast(d32, hn::InterleaveUpper(d, left, right)), d32, pairs + hn::Lanes(d32));
}

// Four 32-bit lanes per column begin..end-1, one per channel: the value there and, in the upper half, the one in the
// next column, both less 32768. Column 0 is pixels[0]; pixels begin..end are read.
HWY_NOINLINE inline void PairRow(const PF_Pixel16* pixels, std::int64_t begin, std::int64_t end, std::uint32_t* pairs) {
  constexpr std::int64_t kLanes = hn::MaxLanes(hn::ScalableTag<std::uint64_t>());
  std::int64_t m = begin;
  if (m % kLanes != 0 && m + kLanes <= end) {  // whole cache lines behind
    PairColumns(pixels + m, pairs + 4 * m);
    m += kLanes - m % kLanes;
  }
  for (; m + kLanes <= end; m += kLanes) PairColumns(pixels + m, pairs + 4 * m);
  if (m >= end) return;
  PF_Pixel16 last[kLanes + 1] = {};
  std::memcpy(last, pixels + m, static_cast<std::size_t>(end + 1 - m) * sizeof *last);
  PairColumns(last, pairs + 4 * m);
}

// Weights of the left and the right column at one phase, in both rows.
struct PairWeights {
  PairWeights() = default;
  PairWeights(std::int64_t right, int bits_u, std::int64_t v, int bits_v) {
    const std::int64_t left = (std::int64_t{1} << bits_u) - right, above = (std::int64_t{1} << bits_v) - v;
    top = Packed(left * above, right * above);
    bottom = Packed(left * v, right * v);
  }
  static std::int32_t Packed(std::int64_t low, std::int64_t high) {
    return static_cast<std::int32_t>(low | high << 16);
  }

  std::int32_t top, bottom;
};

// One phase between two rows of pairs, less 32768.
class PairPhase {
 public:
  PairPhase() = default;
  PairPhase(const RowJob<PF_Pixel16>& job, const std::uint32_t* upper, const std::uint32_t* lower, int bits_u,
            int bits_v, const PhaseBlocks& blocks, std::int64_t p)
      : weights_(job.positions.FractionAt(blocks.k + p) >> (16 - bits_u), bits_u, job.fy >> (16 - bits_v), bits_v),
        bits_(bits_u + bits_v),
        upper_(upper + 4 * (job.positions.ColumnAt(blocks.k + p) - blocks.m)),
        lower_(upper_ + (lower - upper)) {}

  // Four channels of each column from m on.
  HWY_INLINE hn::Vec<PairTag> operator()(std::int64_t m) const {
    const PairTag d;
    const hn::RebindToUnsigned<PairTag> du;
    const auto products = [&](const std::uint32_t* pairs, std::int32_t weights, hn::Vec<PairTag> sum) HWY_ATTR {
      const PairShorts d16;
      const auto both = hn::BitCast(d16, hn::LoadU(du, pairs + 4 * m));
      return AddPairProducts(d, both, hn::BitCast(d16, hn::Set(d, weights)), sum);
    };
    const auto above = products(upper_, weights_.top, hn::Set(d, (1 << bits_) / 2));
    return hn::ShiftRightSame(products(lower_, weights_.bottom, above), bits_);
  }

 private:
  PairWeights weights_;
  int bits_;
  const std::uint32_t *upper_, *lower_;
};

// Two neighbours per column, side by side.
HWY_INLINE hn::Vec<PairShorts> NeighbourPixels(const PairPhase& even, const PairPhase& odd, std::int64_t m) {
  const PairShorts d;
  return hn::Xor(hn::ReorderDemote2To(d, even(m), odd(m)), hn::Set(d, INT16_MIN));
}

// Whole blocks of two phases; the phases are copies, so that they stay in registers.
HWY_NOINLINE inline void TwoPairPhases(const RowJob<PF_Pixel16>& job, const PairPhase even, const PairPhase odd,
                                       const PhaseBlocks& blocks) {
  constexpr std::int64_t kColumns = hn::MaxLanes(PairTag()) / 4;
  const bool past_caches = job.PastCaches(blocks.k);
  auto* out = reinterpret_cast<std::int16_t*>(job.out + blocks.k);
  for (std::int64_t m = blocks.m; m < blocks.end; m += kColumns, out += 8 * kColumns) {
    StoreVector(NeighbourPixels(even, odd, m), PairShorts(), out, past_caches);
    hwy::Prefetch(job.ahead + m);
  }
}

// Whole blocks; `upper` and `lower` are rows of pairs.
HWY_NOINLINE inline void PairPhases(const RowJob<PF_Pixel16>& job, const std::uint32_t* upper,
                                    const std::uint32_t* lower, int bits_u, int bits_v, const PhaseBlocks& blocks) {
  const PairShorts d;
  const hn::Full128<std::int16_t> pixels;
  const std::int64_t phases = PhasesOf(job.positions.step());
  PairPhase phase[kMaxPhases];
  for (std::int64_t p = 0; p < phases; ++p) phase[p] = PairPhase(job, upper, lower, bits_u, bits_v, blocks, p);
  if (phases == 2) return TwoPairPhases(job, phase[0], phase[1], blocks);
  constexpr std::int64_t kColumns = hn::MaxLanes(PairTag()) / 4;
  PF_Pixel16* out = job.out + blocks.k;
  for (std::int64_t m = blocks.m; m < blocks.end; m += kColumns, out += kColumns * phases) {
    hwy::Prefetch(job.ahead + m);
    for (std::int64_t p = 0; p < phases; p += 2) {
      const auto both = NeighbourPixels(phase[p], phase[p + 1], m);
      for (std::int64_t b = 0; b < kColumns; ++b) {
        hn::StoreU(BlockAt(d, both, static_cast<std::size_t>(b)), pixels,
                   reinterpret_cast<std::int16_t*>(out + b * phases + p));
      }
    }
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
