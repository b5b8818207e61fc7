#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sample/bilinear_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>

#include "sample/AlphaClass-inl.h"
#include "sample/Bilinear.h"
#include "sample/BilinearBlend-inl.h"
#include "sample/BilinearBytes-inl.h"
#include "sample/BilinearFixed-inl.h"
#include "sample/BilinearFixedRows-inl.h"
#include "sample/BilinearFormula-inl.h"
#include "sample/BilinearGrid-inl.h"
#include "sample/BilinearPairs-inl.h"
#include "sample/BilinearPhases-inl.h"
#include "sample/BilinearScaled-inl.h"
#include "sample/BilinearSeparable-inl.h"
#include "sample/BilinearTaps-inl.h"
#include "sample/RowCache.h"
#include "sample/SampleKernels.h"
#include "sample/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

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
             static_cast<P*>(row.out),
             row.past_caches,
             src_.Row(std::clamp<std::int64_t>(j_ + 2, 0, src_.height - 1)) + window_.first},
        inside_begin_(std::clamp<std::int64_t>(-window_.first, 0, window_.count - 1)),
        inside_end_(std::clamp(src_.width - 1 - window_.first, inside_begin_, window_.count - 1)) {}

  static constexpr RowCache CacheFor(std::byte* scratch, std::int64_t columns, std::int64_t n) {
    return RowCache(scratch, columns, kHeldColumnBytes<P>, n, kIsFloat<P> ? 0 : sizeof(Real));
  }

  void Run() {
    const std::int64_t tiles = (inside_end_ + kTileBlocks - 1) / kTileBlocks;
    const AlphaClass* classes = Classify(tiles);
    shares_equal_ = cache_.head().shares_equal;
    // An integral row may have integral positions, which follow another rule.
    shares_differing_ = job_.fy != 0 && cache_.head().shares_differing;
    // Some kernels ask for it bit by bit.
    if (!shares_equal_ && !(cache_.head().all_differing && RunsSeparably())) PrefetchRow(cache_, src_, window_, j_ + 2);
    const auto at = [this](std::int64_t block) { return job_.positions.FirstAt(block, n_); };
    const std::int64_t left = at(inside_begin_ - 1), begin = at(inside_begin_), end = at(inside_end_);
    const std::int64_t right = at(inside_end_ + 1);
    if (cache_.head().all_equal && begin < end) JoinEnds(begin, end);
    RunRange(AlphaClass::kClear, 0, 0, std::min(left, begin - beside_left_));
    RunRange(AlphaClass::kMixed, 0, left, begin - beside_left_);
    if (cache_.head().all_equal) {
      RunRange(AlphaClass::kEqual, inside_begin_, begin, end);
    } else if (cache_.head().all_differing) {
      RunRange(AlphaClass::kDiffering, inside_begin_, begin, end);
    } else {
      RunTiles(classes, tiles, begin, end);
    }
    RunRange(AlphaClass::kMixed, 0, end + beside_right_, right);
    RunRange(AlphaClass::kClear, 0, std::max(end + beside_right_, right), n_);
  }

 private:
  static constexpr int kDifferingBits = 7;  // that FixedDifferingSampler takes

  // Leaves samples at the edges of the world to the kernel of those inside, where they are few and share a vector.
  void JoinEnds(std::int64_t begin, std::int64_t end) {
    constexpr std::int64_t kLanes = hn::MaxLanes(hn::ScalableTag<std::int32_t>());
    if (!RunsOnGrid()) return;
    const std::int64_t before = begin % kLanes, behind = std::min(n_, (end + kLanes - 1) / kLanes * kLanes) - end;
    if (before <= kMostBeside) beside_left_ = before;
    if (behind <= kMostBeside) beside_right_ = behind;
  }

  const HeldElement<P>* Hold(std::int64_t j) { return HoldRowIn(cache_, src_, window_, j); }
  HeldElement<P>* Planes(std::int64_t slot) const { return cache_.template planes<HeldElement<P>>(slot); }

  // Blocks beside the world are clear, those across its edges mixed, so tiles are classified without them.
  const AlphaClass* Classify(std::int64_t tiles) {
    AlphaClass* classes = cache_.classes();
    RowCache::Head& head = cache_.head();
    if (head.classified == j_ + 2) return classes;
    head.classified = j_ + 2;
    head.all_equal = head.alpha[0] > 0 && head.alpha[0] == head.alpha[1];
    head.all_differing = !head.all_equal && AllDiffering(job_.upper, job_.lower, inside_begin_, inside_end_);
    if (head.all_equal || head.all_differing) {
      head.shares_equal = head.all_equal && !kIsFloat<P>;
      head.shares_differing = head.all_differing && !kIsFloat<P>;
      return classes;
    }
    ClassifyAnew(classes, tiles);
    head.shares_equal = Shares(classes, tiles, AlphaClass::kEqual);
    head.shares_differing = Shares(classes, tiles, AlphaClass::kDiffering);
    return classes;
  }

  void ClassifyAnew(AlphaClass* classes, std::int64_t tiles) {
    for (std::int64_t tile = 0; tile < tiles; ++tile) {
      const std::int64_t begin = std::max(tile * kTileBlocks, inside_begin_);
      const std::int64_t end = std::min((tile + 1) * kTileBlocks, inside_end_);
      classes[tile] = AlphaClass::kClear;  // of no sample
      if (begin >= end) continue;
      classes[tile] = ClassOf(job_.upper, job_.lower, HeldRow<P>::kPlanes, job_.stride, begin, end);
    }
  }

  // Whether preparing whole rows pays for this class: it has a quarter of the tiles.
  static bool Shares(const AlphaClass* classes, std::int64_t tiles, AlphaClass alphas) {
    return !kIsFloat<P> && 4 * std::count(classes, classes + tiles, alphas) >= tiles;
  }

  // Samples begin..end-1, which read blocks inside the world, by runs of tiles of one class.
  void RunTiles(const AlphaClass* classes, std::int64_t tiles, std::int64_t begin, std::int64_t end) {
    for (std::int64_t tile = 0, k = begin; tile < tiles;) {
      const std::int64_t first = tile;
      while (tile < tiles && classes[tile] == classes[first]) ++tile;
      const std::int64_t next =
          tile == tiles ? end : job_.positions.FirstAt(std::min(tile * kTileBlocks, inside_end_), n_);
      RunRange(classes[first], std::max(first * kTileBlocks, inside_begin_), k, next);
      k = next;
    }
  }

  void RunRange(AlphaClass alphas, std::int64_t element, std::int64_t begin, std::int64_t end) {
    if (begin >= end) return;
    switch (alphas) {
      case AlphaClass::kMixed:
        if (end - begin <= 2) return RunSingly(begin, end);  // at edges of the world, as a rule
        return RunBlend<AlphaClass::kMixed>(begin, end);
      case AlphaClass::kDiffering:
        if (RunFixed<FixedDifferingSampler>(kDifferingBits, begin, end)) return;
        if (shares_differing_) return RunDiffering(begin, end);
        return RunBlend<AlphaClass::kDiffering>(begin, end);
      case AlphaClass::kEqual:
        if (shares_equal_) return RunEqual(element, begin, end);
        if (RunFixed<FixedEqualSampler>(8, begin, end)) return;
        return RunBlend<AlphaClass::kEqual>(begin, end);
      case AlphaClass::kClear:
        std::fill(job_.out + begin, job_.out + end, P{});
    }
  }

  void RunSingly(std::int64_t begin, std::int64_t end) {
    for (std::int64_t k = begin; k < end; ++k) job_.out[k] = BlendOne(job_, k);
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

  // Whole blocks by phases where that can be done, all else one by one. Those of differing alphas have most to compute
  // and start where they share most.
  template <AlphaClass alphas, class F>
  void RunPhases(std::int64_t begin, std::int64_t end, F run) {
    const std::int64_t phases = PhasesOf(job_.positions.step());
    if (phases == 0) return BlendRange<P, alphas>(job_, begin, end);
    constexpr bool kAligned = kIsFloat<P> || alphas != AlphaClass::kDiffering;
    const std::int64_t k =
        kAligned ? AlignedSample(job_.out, begin, end) : std::min(FirstOfBlock(job_.positions, begin), end);
    const PhaseBlocks blocks = PhaseBlocksFrom<P>(job_.positions, k, end);
    const std::int64_t whole = (blocks.end - blocks.m) * phases;
    BlendRange<P, alphas>(job_, begin, k);
    if (whole > 0) run(blocks);
    BlendRange<P, alphas>(job_, k + whole, end);
  }

  // In integers of at most `bits` fraction bits, if that can be done. Rows without a vertical fraction may
  // have integral positions, which follow another rule.
  template <class Sampler>
  bool RunFixed([[maybe_unused]] int bits, [[maybe_unused]] std::int64_t begin, [[maybe_unused]] std::int64_t end) {
    if (!RunsFixed(bits)) return false;
    if constexpr (sizeof(P) == sizeof(PF_Pixel8)) FixedRange<Sampler>(job_, bits_u_, bits_v_, begin, end);
    return true;
  }
  bool RunsFixed(int bits) const {
    return sizeof(P) == sizeof(PF_Pixel8) && job_.fy != 0 && bits_u_ + bits_v_ <= bits &&
           FixedFits(job_.positions, bits_u_);
  }

  bool RunsWeighed() const {
    return sizeof(P) == sizeof(PF_Pixel16) && PhasesOf(job_.positions.step()) != 0 && bits_u_ + bits_v_ <= kWeighedBits;
  }
  // Whether differing alphas of the whole row do.
  bool RunsSeparably() const { return shares_differing_ && !RunsFixed(kDifferingBits) && !RunsWeighed(); }

  void RunDiffering([[maybe_unused]] std::int64_t begin, [[maybe_unused]] std::int64_t end) {
    if constexpr (sizeof(P) == sizeof(PF_Pixel16)) {
      if (RunsWeighed()) {
        return RunPhases<AlphaClass::kDiffering>(begin, end, [this](const PhaseBlocks& blocks) {
          const auto weighed = [this](std::int64_t j) {
            return Shared<Real, true>(j, RowForm::kWeighed, [this](const HeldElement<P>* held, Real* to) {
              WeighColumns<P>(held, cache_.plane_stride, cache_.plane_stride, to, cache_.plane_stride);
            });
          };
          WeighedPhases(job_, weighed(j_), weighed(j_ + 1), blocks);
        });
      }
    }
    if constexpr (!kIsFloat<P>) {
      const auto spread = [this](std::int64_t j) {
        return Shared<Real, true>(j, RowForm::kSpread, [this](const HeldElement<P>* held, Real* to) {
          SpreadWeighed<P>(held, cache_.plane_stride, job_.positions, n_, cache_.spread_stride, to);
        });
      };
      SeparableRange<P>(job_, spread(j_), spread(j_ + 1), cache_.spread_stride, begin, end);
    }
  }

  void RunEqual([[maybe_unused]] std::int64_t element, [[maybe_unused]] std::int64_t begin,
                [[maybe_unused]] std::int64_t end) {
    if constexpr (sizeof(P) == sizeof(PF_Pixel8)) {
      if (FixedSpreadFits(job_.positions, bits_u_ + bits_v_)) {
        return FixedBetween(job_, Fixed(j_), Fixed(j_ + 1), bits_u_, bits_v_, WithEnds(begin, end));
      }
      const std::uint32_t alpha = job_.upper[element] & 0xFF;
      if (bits_u_ == 16) return RunSpread<BytesSpread<true>, BytesBetween>(RowForm::kBytes, alpha, begin, end);
      return RunSpread<BytesSpread<false>, BytesBetween>(RowForm::kBytes, alpha, begin, end);
    }
    if constexpr (sizeof(P) == sizeof(PF_Pixel16)) {
      if (RunsByPairs()) {
        return RunPhases<AlphaClass::kEqual>(begin, end, [this](const PhaseBlocks& blocks) {
          PairPhases(job_, Pairs(j_), Pairs(j_ + 1), bits_u_, bits_v_, blocks);
        });
      }
      if (WithinFull()) {
        return RunSpread<ScaledSpread, ScaledBetween>(RowForm::kScaled, job_.upper[element], begin, end);
      }
      RunBlend<AlphaClass::kEqual>(begin, end);
    }
  }

  SampleRange WithEnds(std::int64_t begin, std::int64_t end) const {
    return {begin, end, begin - beside_left_, end + beside_right_};
  }
  bool RunsByPairs() const { return PhasesOf(job_.positions.step()) != 0 && bits_u_ + bits_v_ <= kPairBits; }
  bool WithinFull() const { return cache_.head().within_full[0] && cache_.head().within_full[1]; }
  // Whether equal alphas of the whole row do.
  bool RunsOnGrid() const {
    if constexpr (kIsFloat<P>) return false;
    return sizeof(P) == sizeof(PF_Pixel8) || (!RunsByPairs() && WithinFull());
  }

  // Between rows in that form. If the range is all there is, the lower one is spread on the way.
  template <class Spread, class Between>
  void RunSpread(RowForm form, std::uint32_t alpha, std::int64_t begin, std::int64_t end) {
    using Element = SpreadElement<Spread>;
    const auto spread = [this, form](std::int64_t j) {
      return Shared<Element, false>(j, form, [this](const HeldElement<P>* held, Element* to) {
        SpreadWhole<Spread>(held, cache_.plane_stride, job_.positions, n_, to);
      });
    };
    const Element* upper = spread(j_);
    RowForm& lower_is = cache_.head().form[(j_ + 1) & 1][0];
    if (!cache_.head().all_equal || lower_is == form) {
      return SpreadRange<Spread, Between>(job_, upper, spread(j_ + 1), alpha, WithEnds(begin, end));
    }
    lower_is = form;
    Element* lower = cache_.template spread<Element>((j_ + 1) & 1, false);
    SpreadingRange<Spread, Between>(job_, upper, lower, alpha, WithEnds(begin, end));
  }

  // Of the blocks inside the world.
  const std::uint32_t* Pairs(std::int64_t j) {
    return Shared<std::uint32_t, false>(j, RowForm::kPairs, [this, j](const HeldElement<P>*, std::uint32_t* to) {
      PairRow(src_.Row(j) + window_.first, inside_begin_, inside_end_, to);
    });
  }

  const std::uint16_t* Fixed(std::int64_t j) {
    return Shared<std::uint16_t, false>(j, RowForm::kFixed, [this](const HeldElement<P>* held, std::uint16_t* to) {
      SpreadFixed(held, job_.positions, bits_u_, n_, to);
    });
  }

  // Row j in a form that `make` writes, once for all rows of samples.
  template <class Element, bool with_alpha, class Make>
  const Element* Shared(std::int64_t j, RowForm form, Make make) {
    const std::int64_t slot = j & 1;
    Element* shared = cache_.template spread<Element>(slot, with_alpha);
    RowForm& is = cache_.head().form[slot][with_alpha ? 1 : 0];
    if (is != form) make(Planes(slot), shared);
    is = form;
    return shared;
  }

  Plane<P> src_;
  ColumnWindow window_;
  RowCache cache_;
  std::int64_t n_;
  int bits_u_, bits_v_;
  std::int64_t j_;
  RowJob<P> job_;
  std::int64_t inside_begin_, inside_end_;  // the blocks with both columns in the world
  std::int64_t beside_left_ = 0, beside_right_ = 0;
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
