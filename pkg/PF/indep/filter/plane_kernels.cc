#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/plane_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <cstring>
#include <type_traits>
#include <utility>

#include "filter/Bell.h"
#include "filter/BoxSums-inl.h"
#include "filter/PixelRuns-inl.h"
#include "filter/PlaneKernels.h"
#include "simd/PairProducts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // emulation does not pay

const PlaneKernels* PlaneKernelsOfTarget() { return &kPortablePlaneKernels; }

#else

template <class T>
constexpr std::int64_t kStep = static_cast<std::int64_t>(hn::MaxLanes(DValues<T>()));

// A vector's worth of values, or as many as are left at the end of a row.
template <class T>
struct WholeBlock {
  HWY_INLINE hn::Vec<DValues<T> > Load(const T* p) const { return hn::LoadU(DValues<T>(), p); }
  HWY_INLINE void Store(hn::Vec<DValues<T> > v, T* p) const { hn::StoreU(v, DValues<T>(), p); }
};
template <class T>
struct LastBlock {
  std::int64_t n;

  HWY_INLINE hn::Vec<DValues<T> > Load(const T* p) const {
    HWY_ALIGN T values[kStep<T>] = {};
    std::memcpy(values, p, static_cast<std::size_t>(n) * sizeof(T));
    return hn::Load(DValues<T>(), values);
  }
  HWY_INLINE void Store(hn::Vec<DValues<T> > v, T* p) const {
    HWY_ALIGN T values[kStep<T>];
    hn::Store(v, DValues<T>(), values);
    std::memcpy(p, values, static_cast<std::size_t>(n) * sizeof(T));
  }
};

HWY_INLINE void Fetch(const RowsAhead& ahead, std::int64_t offset) {
  hwy::Prefetch(ahead.in + offset);
  hwy::Prefetch(ahead.out + offset);
}

// \name Boxes
// @{

// Calls f with the shortest means that the divider allows; of 16 bits in rows of single values there is but one.
template <class T, bool pixels = true, class F>
HWY_INLINE void WithMeans(const BoxDivider& divider, const F& f) {
  if constexpr (sizeof(T) == 1) {
    if (divider.narrow()) return f(NarrowMeans(divider));
    if (StepDivider::Fits(divider.window)) return f(StepMeans(divider));
  } else if constexpr (pixels) {
    if (NearDivider::Fits(divider.window)) return f(NearMeans(divider));
  }
  f(WideMeans<T>(divider));
}

template <class T, class Means>
void StartSums(std::uint32_t* sums, std::int64_t n, const BoxDivider& divider) {
  constexpr std::uint32_t kNothing[4] = {};
  const auto start = Means::Start::Of(kNothing, Means::BiasOf(divider));
  for (std::int64_t x = 0; x < n; x += kStep<T>) start.Save(sums + x);
}

template <class T, class Means>
void AddRowTo(std::uint32_t* sums, const T* row, std::uint32_t times, std::int64_t n) {
  const auto add = [&](std::int64_t x, const auto& block) HWY_ATTR {
    auto sum = Means::Start::Load(sums + x);
    sum.Add(Means::Split::Of(block.Load(row + x)), times);
    sum.Save(sums + x);
  };
  std::int64_t x = 0;
  for (; x + kStep<T> <= n; x += kStep<T>) add(x, WholeBlock<T>());
  if (x < n) add(x, LastBlock<T>{n - x});
}

template <class T, class Means>
void BeginSums(std::uint32_t* sums, std::int64_t n, const Means& means) {
  for (std::int64_t x = 0; x < n; x += kStep<T>) means.Begin(Means::Start::Load(sums + x)).Save(sums + x);
}

// Vectors whose sums stay in registers while rows go by.
using StripVectors = std::make_index_sequence<4>;

template <class T, bool keeps, class Means, class Block, std::size_t... k>
HWY_INLINE void SlideStrip(const BoxSlide<T>& slide, const Means& means, std::int64_t x, const Block& block,
                           std::index_sequence<k...>) {
  using Split = typename Means::Split;
  using Sums = typename Means::Sums;
  Sums sums[] = {Sums::Load(slide.sums + x + static_cast<std::int64_t>(k) * kStep<T>)...};
  const auto one = [&](const auto& row, Sums& sum, std::int64_t at) HWY_ATTR {
    hwy::Prefetch(row.ahead.in + at * static_cast<std::int64_t>(sizeof(T)));
    if constexpr (keeps) {
      block.Store(block.Load(row.out + at), row.kept + at);
    } else {
      hwy::Prefetch(row.ahead.out + at * static_cast<std::int64_t>(sizeof(T)));
    }
    means.Add(sum, Split::Of(block.Load(row.entering + at)) - Split::Of(block.Load(row.leaving + at)));
    block.Store(means.Of(sum), row.out + at);
  };
  for (std::int64_t i = 0; i < slide.rows; ++i) {
    const auto row = slide.row[i];  // a copy stays in registers
    (one(row, sums[k], x + static_cast<std::int64_t>(k) * kStep<T>), ...);
  }
  (sums[k].Save(slide.sums + x + static_cast<std::int64_t>(k) * kStep<T>), ...);
}

template <class T, bool keeps, class Means>
void SlideSums(const BoxSlide<T>& slide, const Means& means) {
  using One = std::make_index_sequence<1>;
  constexpr auto kStrip = static_cast<std::int64_t>(StripVectors::size()) * kStep<T>;
  std::int64_t x = 0;
  for (; x + kStrip <= slide.n; x += kStrip) SlideStrip<T, keeps>(slide, means, x, WholeBlock<T>(), StripVectors());
  for (; x + kStep<T> <= slide.n; x += kStep<T>) SlideStrip<T, keeps>(slide, means, x, WholeBlock<T>(), One());
  if (x < slide.n) SlideStrip<T, keeps>(slide, means, x, LastBlock<T>{slide.n - x}, One());
}

template <class T, bool pixels, class Means>
void RowSums(const BoxRow<T>& row, const BoxDivider& divider, const Means& means) {
  using Split = typename Means::Split;
  using Start = typename Means::Start;
  using Sums = typename Means::Sums;
  const Runs<T, pixels> runs;

  constexpr std::uint32_t kNothing[4] = {};
  Start around = Start::Of(kNothing, 0);
  std::int64_t x = 0;
  for (; x + kStep<T> <= row.n_first; x += kStep<T>) around.Add(Split::Of(WholeBlock<T>().Load(row.first + x)));
  if (x < row.n_first) around.Add(Split::Of(LastBlock<T>{row.n_first - x}.Load(row.first + x)));
  Sums last = means.Begin(runs.Total(around, Start::Of(row.more, Means::BiasOf(divider))));

  const RowsAhead ahead = row.ahead;
  T* out = row.out;
  std::int64_t begin = 0;
  for (const BoxPiece<T> piece : row.pieces) {
    if (piece.n == 0) continue;
    const auto change = [&](std::int64_t at, const auto& block) HWY_ATTR {
      return Split::Of(block.Load(piece.entering + at)) - Split::Of(block.Load(piece.leaving + at));
    };
    const auto next = [&](auto run) HWY_ATTR {
      const Sums sums = runs.Next(means, last, run);
      last = runs.Last(sums);
      return sums;
    };
    // Four vectors are under way, each at a stage of its own, so that none waits for what it has just begun.
    constexpr std::int64_t kStages = 3 * kStep<T>;
    const std::int64_t whole = piece.n / kStep<T> * kStep<T>;
    auto coming = change(0, LastBlock<T>{0});
    auto run = runs.Run(coming);
    Sums done = last;
    const auto stages = [&](std::int64_t at, auto all) HWY_ATTR {
      Fetch(ahead, (begin + at) * static_cast<std::int64_t>(sizeof(T)));
      const auto following = all || at < whole ? change(at, WholeBlock<T>()) : coming;
      if (all || at >= kStages) WholeBlock<T>().Store(means.Of(done), out + at - kStages);
      if (all || (at >= 2 * kStep<T> && at < whole + 2 * kStep<T>)) done = next(run);
      if (all || (at >= kStep<T> && at < whole + kStep<T>)) run = runs.Run(coming);
      coming = following;
    };
    for (x = 0; x < kStages; x += kStep<T>) stages(x, std::false_type());
    for (; x < whole; x += kStep<T>) stages(x, std::true_type());
    for (; x < whole + kStages; x += kStep<T>) stages(x, std::false_type());
    const LastBlock<T> rest = {piece.n - whole};
    if (rest.n > 0) rest.Store(means.Of(next(runs.Run(change(whole, rest)))), out + whole);
    out += piece.n;
    begin += piece.n;
  }
}

template <class T>
void Start(std::uint32_t* sums, std::int64_t n, const BoxDivider& divider) {
  WithMeans<T>(divider, [&]<class Means>(const Means&) HWY_ATTR { StartSums<T, Means>(sums, n, divider); });
}
template <class T>
void AddRow(std::uint32_t* sums, const T* row, std::uint32_t times, std::int64_t n, const BoxDivider& divider) {
  WithMeans<T>(divider, [&]<class Means>(const Means&) HWY_ATTR { AddRowTo<T, Means>(sums, row, times, n); });
}
template <class T>
void Begin(std::uint32_t* sums, std::int64_t n, const BoxDivider& divider) {
  WithMeans<T>(divider, [&](const auto& means) HWY_ATTR { BeginSums<T>(sums, n, means); });
}
template <class T>
void Slide(const BoxSlide<T>& slide, const BoxDivider& divider) {
  const bool keeps = slide.row[0].kept != nullptr;
  WithMeans<T>(divider, [&](const auto& means)
                            HWY_ATTR { keeps ? SlideSums<T, true>(slide, means) : SlideSums<T, false>(slide, means); });
}
template <class T, bool pixels>
void Row(const BoxRow<T>& row, const BoxDivider& divider) {
  WithMeans<T, pixels>(divider, [&](const auto& means) HWY_ATTR { RowSums<T, pixels>(row, divider, means); });
}
// @}

// \name Bells
// @{

// Two taps are multiplied at once, in lanes of 16 bits, by the high and the low parts of their weights; the parts are
// joined when all taps are added, modulo 2^32.
class BellSums {
 public:
  using T = std::uint8_t;

  HWY_INLINE BellSums() {
    for (int i = 0; i < 4; ++i) {
      high_[i] = hn::Zero(DI32());
      low_[i] = hn::Set(DI32(), 1 << (kBellBits8 - 1));
    }
  }

  HWY_INLINE void Add(const SplitWeights& weights, std::int64_t i, Halves<T> first, Halves<T> second) {
    const auto high = PairOf(weights.high + i), low = PairOf(weights.low + i);
    AddTo<0>(high, low, first.even, second.even);
    AddTo<2>(high, low, first.odd, second.odd);
  }

  HWY_INLINE hn::Vec<DValues<T> > Means() const {
    const auto even = hn::ReorderDemote2To(DI16(), Mean(0), Mean(1));
    const auto odd = hn::ReorderDemote2To(DI16(), Mean(2), Mean(3));
    return hn::BitCast(DValues<T>(), hn::Or(even, hn::ShiftLeft<8>(odd)));
  }

 private:
  using DI32 = hn::RebindToSigned<D32>;
  using D16 = DWide<T>;
  using DI16 = hn::RebindToSigned<D16>;

  static HWY_INLINE hn::Vec<DI16> PairOf(const std::int16_t* weights) {
    std::uint32_t pair;
    std::memcpy(&pair, weights, sizeof pair);
    return hn::BitCast(DI16(), hn::Set(D32(), pair));
  }
  template <int i>
  HWY_INLINE void AddTo(hn::Vec<DI16> high, hn::Vec<DI16> low, hn::Vec<D16> first, hn::Vec<D16> second) {
    const auto lower = hn::BitCast(DI16(), hn::InterleaveLower(D16(), first, second));
    const auto upper = hn::BitCast(DI16(), hn::InterleaveUpper(D16(), first, second));
    high_[i] = AddPairProducts(DI32(), lower, high, high_[i]);
    high_[i + 1] = AddPairProducts(DI32(), upper, high, high_[i + 1]);
    low_[i] = AddPairProducts(DI32(), lower, low, low_[i]);
    low_[i + 1] = AddPairProducts(DI32(), upper, low, low_[i + 1]);
  }
  HWY_INLINE hn::Vec<DI32> Mean(int i) const {
    const auto sum = hn::BitCast(D32(), hn::Add(hn::ShiftLeft<12>(high_[i]), low_[i]));
    return hn::BitCast(DI32(), hn::ShiftRight<kBellBits8>(sum));
  }

  hn::Vec<DI32> high_[4], low_[4];
};

template <class Block>
HWY_INLINE hn::Vec<DValues<std::uint8_t> > BellAt(const std::uint8_t* const* centre, const SplitWeights& weights,
                                                  std::int64_t x, const Block& block) {
  using Both = Halves<std::uint8_t>;
  BellSums sums;
  const auto both = [&](std::int64_t i)
                        HWY_ATTR { return Both::Of(block.Load(centre[-i] + x)) + Both::Of(block.Load(centre[i] + x)); };
  const Both nothing = Both::Of(hn::Zero(DValues<std::uint8_t>())), middle = Both::Of(block.Load(centre[0] + x));
  const std::int64_t reach = weights.reach;
  sums.Add(weights, 0, middle, reach > 0 ? both(1) : nothing);
  std::int64_t i = 2;
  for (; i < reach; i += 2) sums.Add(weights, i, both(i), both(i + 1));
  if (i == reach) sums.Add(weights, i, both(i), nothing);
  return sums.Means();
}

void Bell(const std::uint8_t* const* taps, const SplitWeights& weights, std::uint8_t* out, std::int64_t n,
          const RowsAhead& ahead) {
  using T = std::uint8_t;
  const SplitWeights own = weights;  // copies stay in registers
  const RowsAhead following = ahead;
  std::int64_t x = 0;
  for (; x + kStep<T> <= n; x += kStep<T>) {
    Fetch(following, x);
    WholeBlock<T>().Store(BellAt(taps + own.reach, own, x, WholeBlock<T>()), out + x);
  }
  const LastBlock<T> last = {n - x};
  if (x < n) last.Store(BellAt(taps + own.reach, own, x, last), out + x);
}
// @}

template <class T>
constexpr BoxKernels<T> kBoxes = {&Start<T>, &AddRow<T>, &Begin<T>, &Slide<T>, &Row<T, false>, &Row<T, true>};
constexpr PlaneKernels kKernels = {kBoxes<std::uint8_t>, kBoxes<std::uint16_t>, &Bell};

const PlaneKernels* PlaneKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(PlaneKernelsOfTarget);

const PlaneKernels& VectorPlaneKernels() { return *HWY_DYNAMIC_DISPATCH(PlaneKernelsOfTarget)(); }

}  // namespace pf
#endif
