#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sample/bilinear_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "sample/AlphaClass-inl.h"
#include "sample/Bilinear.h"
#include "sample/BilinearBlend-inl.h"
#include "sample/BilinearFixed-inl.h"
#include "sample/BilinearPhases-inl.h"
#include "sample/BilinearTaps-inl.h"
#include "sample/RowCache.h"
#include "sample/SampleKernels.h"
#include "sample/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Fraction bits of both axes together up to which every sum of the formula is exact, so that blending
// along the row first, once per source row, gives the same bits. A product of two 8-bit channels leaves 8
// of a float's 24 bits, one channel 16; of a double's 53 bits, 16-bit channels leave 21 and 37.
template <class P>
constexpr int kSharedBits(bool with_alpha) {
  if (kIsFloat<P>) return -1;
  if (sizeof(P) == 4) return with_alpha ? 8 : 16;
  return with_alpha ? 21 : 32;
}

// Four taps per sample.
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
    const auto place = PlaceAt(positions, k);
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
  SamplePositions<P> positions;
  V v;
  bool integral_row;
};

template <class P, AlphaClass alphas>
HWY_NOINLINE void BlendRange(const RowJob<P>& job, std::int64_t begin, std::int64_t end) {
  ForLanes(begin, end, job.out, BlendSampler<P, alphas>(job));
}

// Blends a source row along itself at every sample: with alpha, the sums of alpha and of alpha times
// colour; else of colour alone.
template <class P, bool with_alpha>
HWY_NOINLINE void SpreadRow(const HeldElement<P>* planes, std::int64_t stride, SamplePositions<P> positions,
                            std::int64_t n, std::int64_t out_stride, RealOf<P>* out) {
  const RealTag<P> d;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  for (std::int64_t k = 0; k < n; k += lanes) {
    const auto place = PlaceAt(positions, k);
    auto p0 = LoadTap(planes, stride, place), p1 = LoadTap(planes + 1, stride, place);
    if constexpr (with_alpha) {
      p0 = TimesAlpha(p0);
      p1 = TimesAlpha(p1);
      hn::StoreU(Lerp(place.u, p0.alpha, p1.alpha), d, out + k);
    }
    hn::StoreU(Lerp(place.u, p0.red, p1.red), d, out + out_stride + k);
    hn::StoreU(Lerp(place.u, p0.green, p1.green), d, out + 2 * out_stride + k);
    hn::StoreU(Lerp(place.u, p0.blue, p1.blue), d, out + 3 * out_stride + k);
  }
}

// Blends two spread rows; without alpha, it is the same everywhere.
template <class P, bool with_alpha>
struct SharedSampler {
  using V = RealVec<P>;

  HWY_INLINE V Between(std::int64_t element) const {
    const RealTag<P> d;
    return Lerp(v, hn::LoadU(d, upper + element), hn::LoadU(d, lower + element));
  }

  HWY_INLINE Channels<V> operator()(std::int64_t k) const {
    const V red = Between(stride + k), green = Between(2 * stride + k), blue = Between(3 * stride + k);
    if constexpr (with_alpha) {
      return DivideByAlpha<P>(Channels<V>{Between(k), red, green, blue});
    } else {
      return {alpha, BeforeStore<P>(red), BeforeStore<P>(green), BeforeStore<P>(blue)};
    }
  }

  const RealOf<P>*upper, *lower;
  std::int64_t stride;
  V v, alpha;
};

template <class P, bool with_alpha>
HWY_NOINLINE void SharedRange(const RowJob<P>& job, const RealOf<P>* upper, const RealOf<P>* lower, std::int64_t stride,
                              float alpha, std::int64_t begin, std::int64_t end) {
  const RealTag<P> d;
  ForLanes(
      begin, end, job.out,
      SharedSampler<P, with_alpha>{upper, lower, stride, hn::Set(d, job.v), hn::Set(d, static_cast<RealOf<P>>(alpha))});
}

// One row of samples.
template <class P>
class StraightRow {
 public:
  using Real = RealOf<P>;

  StraightRow(const SampleRow& row, std::byte* scratch)
      : src_(SourceOf<P>(*row.params)),
        window_(WindowOf(row.x0, row.step_x, row.n)),
        cache_(CacheFor(scratch, window_.count, row.n)),
        n_(row.n),
        bits_u_(FractionBits(row.x0, row.step_x)),
        bits_v_(FractionBits(row.y, 65536)),
        j_(WholePart(row.y)),
        job_{Hold(j_),
             Hold(j_ + 1),
             cache_.plane_stride,
             {row.x0 - window_.first * 65536, row.step_x},
             Fraction(row.y),
             static_cast<Real>(Fraction(row.y)) / Real(65536),
             static_cast<P*>(row.out)} {}

  static constexpr RowCache CacheFor(std::byte* scratch, std::int64_t columns, std::int64_t n) {
    return RowCache(scratch, columns, kHeldColumnBytes<P>, n, kIsFloat<P> ? 0 : sizeof(Real));
  }

  void Run() {
    const std::int64_t blocks = window_.count - 1;
    const std::int64_t tiles = (blocks + kTileBlocks - 1) / kTileBlocks;
    const AlphaClass* classes = Classify(blocks, tiles);
    shares_equal_ = Shares(classes, tiles, AlphaClass::kEqual, false);
    shares_differing_ = job_.v != Real(0) && Shares(classes, tiles, AlphaClass::kDiffering, true);
    for (std::int64_t tile = 0; tile < tiles;) {
      const std::int64_t first = tile;
      while (tile < tiles && classes[tile] == classes[first]) ++tile;
      const std::int64_t end = tile == tiles ? n_ : job_.positions.FirstAt(tile * kTileBlocks, n_);
      RunRange(classes[first], first * kTileBlocks, job_.positions.FirstAt(first * kTileBlocks, n_), end);
    }
  }

 private:
  const HeldElement<P>* Hold(std::int64_t j) { return HoldRowIn(cache_, src_, window_, j); }
  HeldElement<P>* Planes(std::int64_t slot) const { return cache_.template planes<HeldElement<P>>(slot); }

  const AlphaClass* Classify(std::int64_t blocks, std::int64_t tiles) {
    AlphaClass* classes = cache_.classes();
    if (cache_.head().classified == j_ + 2) return classes;
    for (std::int64_t tile = 0; tile < tiles; ++tile) {
      const std::int64_t first = tile * kTileBlocks, end = std::min(first + kTileBlocks, blocks);
      classes[tile] = ClassOf(job_.upper, job_.lower, HeldRow<P>::kPlanes, job_.stride, first, end);
    }
    cache_.head().classified = j_ + 2;
    return classes;
  }

  // Whether spreading whole rows is right and pays for this class: it has a quarter of the tiles.
  bool Shares(const AlphaClass* classes, std::int64_t tiles, AlphaClass alphas, bool with_alpha) const {
    return bits_u_ + bits_v_ <= kSharedBits<P>(with_alpha) && 4 * std::count(classes, classes + tiles, alphas) >= tiles;
  }

  void RunRange(AlphaClass alphas, std::int64_t element, std::int64_t begin, std::int64_t end) {
    if (begin >= end) return;
    switch (alphas) {
      case AlphaClass::kMixed:
        return RunBlend<AlphaClass::kMixed>(begin, end);
      case AlphaClass::kDiffering:
        if (RunFixed<FixedDifferingSampler>(7, begin, end)) return;
        if (shares_differing_) return RunShared<true>(element, begin, end);
        return RunBlend<AlphaClass::kDiffering>(begin, end);
      case AlphaClass::kEqual:
        if (RunFixed<FixedEqualSampler>(8, begin, end)) return;
        if (shares_equal_) return RunShared<false>(element, begin, end);
        return RunBlend<AlphaClass::kEqual>(begin, end);
      case AlphaClass::kClear:
        std::fill(job_.out + begin, job_.out + end, P{});
    }
  }

  // The formula as it stands.
  template <AlphaClass alphas>
  void RunBlend(std::int64_t begin, std::int64_t end) {
    if constexpr (kIsFloat<P>) {
      RunPhases<alphas>(begin, end, [this](const PhaseBlocks& blocks) { BlendPhases<alphas>(job_, blocks); });
    } else {
      BlendRange<P, alphas>(job_, begin, end);
    }
  }

  // Whole blocks by phases where that can be done, all else one by one.
  template <AlphaClass alphas, class F>
  void RunPhases(std::int64_t begin, std::int64_t end, F run) {
    const std::int64_t phases = PhasesOf(job_.positions.step());
    if (phases == 0) return BlendRange<P, alphas>(job_, begin, end);
    const PhaseBlocks blocks = PhaseBlocksOf(job_.positions, begin, end);
    const std::int64_t whole = std::max<std::int64_t>(blocks.end - blocks.m, 0) * phases;
    BlendRange<P, alphas>(job_, begin, std::min(blocks.k, end));
    if (whole > 0) run(blocks);
    BlendRange<P, alphas>(job_, std::min(blocks.k + whole, end), end);
  }

  // In integers of at most `bits` fraction bits, if that can be done. Rows without a vertical fraction may
  // have integral positions, which follow another rule.
  template <class Sampler>
  bool RunFixed([[maybe_unused]] int bits, [[maybe_unused]] std::int64_t begin, [[maybe_unused]] std::int64_t end) {
    if constexpr (sizeof(P) == sizeof(PF_Pixel8)) {
      if (job_.fy == 0 || bits_u_ + bits_v_ > bits || !FixedFits(job_.positions, bits_u_)) return false;
      if (begin < end) FixedRange<Sampler>(job_, bits_u_, bits_v_, begin, end);
      return true;
    }
    return false;
  }

  template <bool with_alpha>
  void RunShared(std::int64_t element, std::int64_t begin, std::int64_t end) {
    const float alpha = AlphaOf(job_.upper[element]);
    if constexpr (sizeof(P) == sizeof(PF_Pixel16)) {
      if (PhasesOf(job_.positions.step()) != 0) {
        constexpr AlphaClass kAlphas = with_alpha ? AlphaClass::kDiffering : AlphaClass::kEqual;
        return RunPhases<kAlphas>(begin, end, [&](const PhaseBlocks& blocks) {
          SharedPhases<P, with_alpha>(job_, Shared<with_alpha>(j_), Shared<with_alpha>(j_ + 1), alpha, blocks);
        });
      }
    }
    if constexpr (!kIsFloat<P>) {
      SharedRange<P, with_alpha>(job_, Shared<with_alpha>(j_), Shared<with_alpha>(j_ + 1), cache_.spread_stride, alpha,
                                 begin, end);
    }
  }

  // What is shared of row j by all rows of samples: weighed for phases, which has no more columns than
  // samples, else spread.
  template <bool with_alpha>
  const Real* Shared(std::int64_t j) {
    const std::int64_t slot = j & 1;
    Real* shared = cache_.template spread<Real>(slot, with_alpha);
    std::int64_t& done = cache_.head().spread[slot][with_alpha ? 1 : 0];
    if (done == 0) {
      if constexpr (sizeof(P) == sizeof(PF_Pixel16)) {
        if (PhasesOf(job_.positions.step()) != 0) {
          done = 1;
          WeighRow<with_alpha>(Planes(slot), cache_.plane_stride, shared);
          return shared;
        }
      }
      SpreadRow<P, with_alpha>(Planes(slot), cache_.plane_stride, job_.positions, n_, cache_.spread_stride, shared);
      done = 1;
    }
    return shared;
  }

  Plane<P> src_;
  ColumnWindow window_;
  RowCache cache_;
  std::int64_t n_;
  int bits_u_, bits_v_;
  std::int64_t j_;
  RowJob<P> job_;
  bool shares_equal_ = false, shares_differing_ = false;
};

template <class P>
void BilinearStraightRow(const SampleRow& row, std::byte* scratch) {
  if (!RowsOnVectors(row.step_x, row.n)) {
    return kPortableSampleKernels.bilinear_straight[DepthIndex(DepthTraits<P>::kDepth)].row(row, scratch);
  }
  const Plane<P> src = SourceOf<P>(*row.params);
  const std::int64_t j = WholePart(row.y);
  if (j < -1 || j >= src.height || Empty(src)) {
    std::fill_n(static_cast<P*>(row.out), row.n, P{});
  } else {
    StraightRow<P>(row, scratch).Run();
  }
}

template <class P>
std::uint64_t BilinearStraightScratch(const PF_SampPB*, std::int64_t step_x, std::int64_t n) {
  if (!RowsOnVectors(step_x, n)) return 64;
  return static_cast<std::uint64_t>(StraightRow<P>::CacheFor(nullptr, WindowOf(65535, step_x, n).count, n).Size());
}

template <class P>
constexpr SampleKernels::Pair kStraight = {BilinearStraightScratch<P>, BilinearStraightRow<P>};

SampleKernels::Pair BilinearStraight(int depth_index) {
  constexpr SampleKernels::Pair kPairs[] = {kStraight<PF_Pixel8>, kStraight<PF_Pixel16>, kStraight<PF_PixelFloat>};
  return kPairs[depth_index];
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();
