// Bilinear sampling in steps of 1/2, 1/4, 1/8 or 1/16 of a pixel: every block of source columns holds as
// many samples as the others, at the same fractions. Samples at one fraction, a phase, read whole vectors
// of neighbouring columns, so that nothing is permuted. Counting phases from a sample that is stored at the
// start of a cache line lets no store cross one.
#if defined(PF_SAMPLE_BILINEAR_PHASES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_PHASES_INL_H
#undef PF_SAMPLE_BILINEAR_PHASES_INL_H
#else
#define PF_SAMPLE_BILINEAR_PHASES_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <bit>
#include <cstdint>

#include "sample/BilinearTaps-inl.h"
#include "sample/RowCache.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

inline constexpr std::int64_t kMaxPhases = 16;

// Of a step that divides the pixel; 0 for any other.
constexpr std::int64_t PhasesOf(std::int64_t step) {
  const auto bits = static_cast<std::uint64_t>(step);
  const bool divides = step <= 32768 && step >= 65536 / kMaxPhases && std::has_single_bit(bits);
  return divides ? std::int64_t{65536} >> std::countr_zero(bits) : 0;
}

// As many samples as a block holds, from k on in block m, and as many again from each block behind it up
// to end-1, by whole vectors.
struct PhaseBlocks {
  std::int64_t m, end, k;
};

// From sample k on, up to end-1.
template <class P>
PhaseBlocks PhaseBlocksFrom(const SamplePositions& positions, std::int64_t k, std::int64_t end) {
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(RealTag<P>()));
  const std::int64_t m = positions.ColumnAt(k);
  return {m, m + std::max<std::int64_t>(end - k, 0) / PhasesOf(positions.step()) / lanes * lanes, k};
}

// The first sample from `begin` on that is the first in its block: no phase then reads further on.
inline std::int64_t FirstOfBlock(const SamplePositions& positions, std::int64_t begin) {
  return positions.SampleAt(positions.ColumnAt(begin) + (positions.FractionAt(begin) >= positions.step() ? 1 : 0));
}

// Fractions of the phases, and the columns behind the first one's at which they read.
template <class P>
class Phases {
 public:
  Phases(const SamplePositions& positions, const PhaseBlocks& blocks) : count_(PhasesOf(positions.step())) {
    for (std::int64_t p = 0; p < count_; ++p) {
      u_[p] = static_cast<RealOf<P>>(positions.FractionAt(blocks.k + p)) / RealOf<P>(65536);
      column_[p] = positions.ColumnAt(blocks.k + p) - blocks.m;
    }
  }
  std::int64_t count() const { return count_; }
  RealOf<P> operator[](std::int64_t p) const { return u_[p]; }
  std::int64_t ColumnOf(std::int64_t p) const { return column_[p]; }

 private:
  std::int64_t count_;
  RealOf<P> u_[kMaxPhases];
  std::int64_t column_[kMaxPhases];
};

// Block b of both vectors, two pixels side by side, to pixels (first + 4 b) * distance.
template <class D>
HWY_INLINE void StoreBlockPairs(D d, hn::Vec<D> even, hn::Vec<D> odd, std::int64_t first, std::int64_t distance,
                                PF_PixelFloat* to) {
  const auto at = [&](std::int64_t pixel) { return reinterpret_cast<float*>(to + pixel * distance); };
  if constexpr (hn::MaxLanes(D()) <= 4) {
    hn::StoreU(even, d, at(first));
    hn::StoreU(odd, d, at(first) + 4);
  } else if constexpr (hn::MaxLanes(D()) == 8) {
    hn::StoreU(hn::ConcatLowerLower(d, odd, even), d, at(first));
    hn::StoreU(hn::ConcatUpperUpper(d, odd, even), d, at(first + 4));
  } else {
    const hn::Half<D> half;
    constexpr std::int64_t kHalfLanes = hn::MaxLanes(half);
    StoreBlockPairs(half, hn::LowerHalf(half, even), hn::LowerHalf(half, odd), first, distance, to);
    StoreBlockPairs(half, hn::UpperHalf(half, even), hn::UpperHalf(half, odd), first + kHalfLanes, distance, to);
  }
}

// Pixels of two phases, which are neighbours and all there are.
template <class V>
HWY_INLINE void StorePairs(const Channels<V>& even, const Channels<V>& odd, PF_PixelFloat* to, bool past_caches) {
  const hn::DFromV<V> d;
  const PixelBlocks<V> first(even), second(odd);
  for (std::int64_t i = 0; i < 4; i += 2) {
    StoreBlocksInTurn(d, first.v[i], second.v[i], first.v[i + 1], second.v[i + 1], 32,
                      reinterpret_cast<float*>(to + 2 * i), past_caches);
  }
}

template <class V>
HWY_INLINE void StorePairsApart(const Channels<V>& even, const Channels<V>& odd, std::int64_t distance,
                                PF_PixelFloat* to) {
  const PixelBlocks<V> first(even), second(odd);
  for (std::int64_t i = 0; i < 4; ++i) StoreBlockPairs(hn::DFromV<V>(), first.v[i], second.v[i], i, distance, to);
}

// Pixels of two phases, which are neighbours, to places `distance` pixels apart.
template <class V>
HWY_INLINE void StorePairsApart(const Channels<V>& even, const Channels<V>& odd, std::int64_t distance,
                                PF_Pixel16* to) {
  const hn::DFromV<V> d;
  const hn::RebindToUnsigned<hn::DFromV<V>> du;
  const hn::Full128<std::uint64_t> block;
  const auto first = PackPixels16(d, even), second = PackPixels16(d, odd);
  const auto lower = hn::InterleaveLower(du, first, second), upper = hn::InterleaveUpper(du, first, second);
  for (std::size_t b = 0; b < hn::MaxLanes(d) / 2; ++b) {
    PF_Pixel16* pair = to + static_cast<std::int64_t>(2 * b) * distance;
    hn::StoreU(BlockAt(du, lower, b), block, reinterpret_cast<std::uint64_t*>(pair));
    hn::StoreU(BlockAt(du, upper, b), block, reinterpret_cast<std::uint64_t*>(pair + distance));
  }
}

// The formula as it stands, for floats.
template <AlphaClass alphas>
HWY_NOINLINE void BlendPhases(const RowJob<PF_PixelFloat>& job, const PhaseBlocks& blocks) {
  using P = PF_PixelFloat;
  const RealTag<P> d;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const Phases<P> phases(job.positions, blocks);
  Weights<RealVec<P>> weights[kMaxPhases];
  for (std::int64_t p = 0; p < phases.count(); ++p) {
    weights[p] = WeightsOf(hn::Set(d, 1.0f), hn::Set(d, phases[p]), hn::Set(d, job.v));
  }
  const std::int64_t stride = job.stride;
  const bool past_caches = job.PastCaches(blocks.k);
  P* out = job.out + blocks.k;
  for (std::int64_t m = blocks.m; m < blocks.end; m += lanes, out += lanes * phases.count()) {
    const auto load = [&](const float* from) HWY_ATTR {
      return Channels<RealVec<P>>{hn::LoadU(d, from), hn::LoadU(d, from + stride), hn::LoadU(d, from + 2 * stride),
                                  hn::LoadU(d, from + 3 * stride)};
    };
    const auto pixels = [&](std::int64_t p) HWY_ATTR {
      const float *upper = job.upper + m + phases.ColumnOf(p), *lower = job.lower + m + phases.ColumnOf(p);
      const Taps<RealVec<P>> taps = {load(upper), load(upper + 1), load(lower), load(lower + 1)};
      if (job.fy == 0 && phases[p] == 0.0f) return taps.p00;
      return BlendOf<P, alphas>(taps, weights[p]);
    };
    if (phases.count() == 2) {
      StorePairs(pixels(0), pixels(1), out, past_caches);
      continue;
    }
    for (std::int64_t p = 0; p < phases.count(); p += 2) {
      StorePairsApart(pixels(p), pixels(p + 1), phases.count(), out + p);
    }
  }
}

// Fraction bits of both axes together up to which sums of alpha times colour, 32 bits, are exact doubles
// in any order.
inline constexpr int kWeighedBits = 21;

// Blocks from FirstOfBlock on. Sums that are exact in any order: first between weighed rows, for all phases, then along
// them.
HWY_NOINLINE inline void WeighedPhases(const RowJob<PF_Pixel16>& job, const double* upper, const double* lower,
                                       const PhaseBlocks& blocks) {
  using P = PF_Pixel16;
  const RealTag<P> d;
  using V = RealVec<P>;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const Phases<P> phases(job.positions, blocks);
  const V v = hn::Set(d, job.v);
  P* out = job.out + blocks.k;
  for (std::int64_t m = blocks.m; m < blocks.end; m += lanes, out += lanes * phases.count()) {
    const auto between = [&](std::int64_t at) HWY_ATTR {
      const V above = hn::LoadU(d, upper + at);
      return hn::Add(above, hn::Mul(v, hn::Sub(hn::LoadU(d, lower + at), above)));
    };
    V left[4], rise[4];
    for (std::int64_t c = 0; c < 4; ++c) {
      const std::int64_t at = c * job.stride + m;
      left[c] = between(at);
      rise[c] = hn::Sub(between(at + 1), left[c]);
    }
    const auto pixels = [&](std::int64_t p) HWY_ATTR {
      const V u = hn::Set(d, phases[p]);
      const auto sum = [&](std::size_t c) HWY_ATTR { return hn::Add(left[c], hn::Mul(u, rise[c])); };
      return DivideByAlpha<P>(Channels<V>{sum(0), sum(1), sum(2), sum(3)});
    };
    for (std::int64_t p = 0; p < phases.count(); p += 2) {
      StorePairsApart(pixels(p), pixels(p + 1), phases.count(), out + p);
    }
  }
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
