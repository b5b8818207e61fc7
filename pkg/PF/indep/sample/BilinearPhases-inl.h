// Bilinear sampling in steps of 1/2, 1/4, 1/8 or 1/16 of a pixel: every block of source columns holds as
// many samples as the others, at the same fractions. Samples at one fraction, a phase, read whole vectors
// of neighbouring columns, so that nothing is permuted.
#if defined(PF_SAMPLE_BILINEAR_PHASES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_BILINEAR_PHASES_INL_H
#undef PF_SAMPLE_BILINEAR_PHASES_INL_H
#else
#define PF_SAMPLE_BILINEAR_PHASES_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
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
  return step <= 32768 && step >= 65536 / kMaxPhases && 65536 % step == 0 ? 65536 / step : 0;
}

// Blocks m..end-1, whose first sample is k, by whole vectors.
struct PhaseBlocks {
  std::int64_t m, end, k;
};

// The blocks that lie in samples begin..end-1 with all their samples.
template <class P>
PhaseBlocks PhaseBlocksOf(const SamplePositions& positions, std::int64_t begin, std::int64_t end) {
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(RealTag<P>()));
  const std::int64_t m = positions.ColumnAt(begin) + (positions.FractionAt(begin) >= positions.step() ? 1 : 0);
  const std::int64_t k = positions.SampleAt(m);
  const std::int64_t whole = std::max<std::int64_t>((end - k) / PhasesOf(positions.step()), 0);
  return {m, m + whole / lanes * lanes, k};
}

// Fractions of the phases as vectors.
template <class P>
class Phases {
 public:
  Phases(const SamplePositions& positions, std::int64_t k) : count_(PhasesOf(positions.step())) {
    for (std::int64_t p = 0; p < count_; ++p) {
      u_[p] = static_cast<RealOf<P>>(positions.FractionAt(k + p)) / RealOf<P>(65536);
    }
  }
  std::int64_t count() const { return count_; }
  RealOf<P> operator[](std::int64_t p) const { return u_[p]; }

 private:
  std::int64_t count_;
  RealOf<P> u_[kMaxPhases];
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

// Each lane a pixel, as vectors of blocks of 16 bytes: block b of vector i is pixel 4 b + i.
template <class V>
struct PixelBlocks {
  HWY_INLINE explicit PixelBlocks(const Channels<V>& p) {
    const hn::DFromV<V> d;
    const hn::Repartition<double, decltype(d)> wide;
    const auto low_ar = hn::BitCast(wide, hn::InterleaveLower(d, p.alpha, p.red));
    const auto low_gb = hn::BitCast(wide, hn::InterleaveLower(d, p.green, p.blue));
    const auto high_ar = hn::BitCast(wide, hn::InterleaveUpper(d, p.alpha, p.red));
    const auto high_gb = hn::BitCast(wide, hn::InterleaveUpper(d, p.green, p.blue));
    v[0] = hn::BitCast(d, hn::InterleaveLower(wide, low_ar, low_gb));
    v[1] = hn::BitCast(d, hn::InterleaveUpper(wide, low_ar, low_gb));
    v[2] = hn::BitCast(d, hn::InterleaveLower(wide, high_ar, high_gb));
    v[3] = hn::BitCast(d, hn::InterleaveUpper(wide, high_ar, high_gb));
  }
  V v[4];
};

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
  const Phases<P> phases(job.positions, blocks.k);
  Weights<RealVec<P>> weights[kMaxPhases];
  for (std::int64_t p = 0; p < phases.count(); ++p) {
    weights[p] = WeightsOf(hn::Set(d, 1.0f), hn::Set(d, phases[p]), hn::Set(d, job.v));
  }
  const std::int64_t stride = job.stride;
  P* out = job.out + blocks.k;
  for (std::int64_t m = blocks.m; m < blocks.end; m += lanes, out += lanes * phases.count()) {
    const auto load = [&](const float* from) HWY_ATTR {
      return Channels<RealVec<P>>{hn::LoadU(d, from), hn::LoadU(d, from + stride), hn::LoadU(d, from + 2 * stride),
                                  hn::LoadU(d, from + 3 * stride)};
    };
    const Taps<RealVec<P>> taps = {load(job.upper + m), load(job.upper + m + 1), load(job.lower + m),
                                   load(job.lower + m + 1)};
    const auto pixels = [&](std::int64_t p) HWY_ATTR {
      if (job.fy == 0 && phases[p] == 0.0f) return taps.p00;
      return BlendOf<P, alphas>(taps, weights[p]);
    };
    for (std::int64_t p = 0; p < phases.count(); p += 2) {
      StorePairsApart(pixels(p), pixels(p + 1), phases.count(), out + p);
    }
  }
}

// A row as doubles: alpha and alpha times colour.
HWY_NOINLINE inline void WeighRow(const std::uint16_t* planes, std::int64_t stride, double* out) {
  const RealTag<PF_Pixel16> d;
  for (std::int64_t m = 0; m < stride; m += static_cast<std::int64_t>(hn::Lanes(d))) {
    const auto alpha = LoadReals(planes + m);
    hn::StoreU(alpha, d, out + m);
    for (std::int64_t c = 1; c < 4; ++c) {
      hn::StoreU(hn::Mul(alpha, LoadReals(planes + c * stride + m)), d, out + c * stride + m);
    }
  }
}

// Fraction bits of both axes together up to which sums of alpha times colour, 32 bits, are exact doubles
// in any order.
inline constexpr int kWeighedBits = 21;

// Sums that are exact in any order: first between weighed rows, for all phases, then along them.
HWY_NOINLINE inline void WeighedPhases(const RowJob<PF_Pixel16>& job, const double* upper, const double* lower,
                                       const PhaseBlocks& blocks) {
  using P = PF_Pixel16;
  const RealTag<P> d;
  using V = RealVec<P>;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const Phases<P> phases(job.positions, blocks.k);
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
