#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/plane_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <cstring>

#include "filter/Bell.h"
#include "filter/BoxSums-inl.h"
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

// \name Boxes
// @{
template <class T, bool narrow>
void StartSums(std::uint32_t* sums, std::int64_t n, const BoxDivider& divider) {
  constexpr std::uint32_t kNothing[4] = {};
  const auto start = SumsOf<T, narrow>::Of(kNothing, divider.bias);
  for (std::int64_t x = 0; x < n; x += kStep<T>) start.Save(sums + x);
}

template <class T, bool narrow>
void AddRowTo(std::uint32_t* sums, const T* row, std::uint32_t times, std::int64_t n) {
  const auto add = [&](std::int64_t x, const auto& block) HWY_ATTR {
    auto sum = SumsOf<T, narrow>::Load(sums + x);
    sum.Add(Halves<T>::Of(block.Load(row + x)), times);
    sum.Save(sums + x);
  };
  std::int64_t x = 0;
  for (; x + kStep<T> <= n; x += kStep<T>) add(x, WholeBlock<T>());
  if (x < n) add(x, LastBlock<T>{n - x});
}

template <class T, bool narrow>
void SlideSums(std::uint32_t* sums, const T* entering, const T* leaving, T* out, std::int64_t n,
               const BoxDivider& divider) {
  const MeansOf<narrow> means(divider);
  const auto slide = [&](std::int64_t x, const auto& block) HWY_ATTR {
    auto sum = SumsOf<T, narrow>::Load(sums + x);
    sum.Add(Halves<T>::Of(block.Load(entering + x)) - Halves<T>::Of(block.Load(leaving + x)));
    sum.Save(sums + x);
    block.Store(means.Of(sum), out + x);
  };
  std::int64_t x = 0;
  for (; x + kStep<T> <= n; x += kStep<T>) slide(x, WholeBlock<T>());
  if (x < n) slide(x, LastBlock<T>{n - x});
}

template <class T, bool narrow, bool pixels>
void RowSums(const BoxRow<T>& row, const BoxDivider& divider) {
  using Sums = SumsOf<T, narrow>;
  constexpr std::int64_t kChannels = pixels ? 4 : 1;
  const MeansOf<narrow> means(divider);
  const Runs<T, pixels> runs;
  const T *leaving = row.line - kChannels * (row.reach + 1), *entering = row.line + kChannels * row.reach;

  constexpr std::uint32_t kNothing[4] = {};
  Sums before = Sums::Of(kNothing, 0);
  const std::int64_t around = kChannels * (2 * row.reach + 1), n = kChannels * row.n;
  std::int64_t x = 0;
  for (; x + kStep<T> <= around; x += kStep<T>) before.Add(Halves<T>::Of(WholeBlock<T>().Load(leaving + x)));
  if (x < around) before.Add(Halves<T>::Of(LastBlock<T>{around - x}.Load(leaving + x)));
  Sums carry = Sums::Of(row.more, divider.bias);
  carry.AddTotal(before, runs);

  const auto slide = [&](std::int64_t at, const auto& block) HWY_ATTR {
    const hn::Vec<DValues<T> > in = WholeBlock<T>().Load(entering + at), gone = WholeBlock<T>().Load(leaving + at);
    const Halves<T> run = runs.Of(Halves<T>::Of(in) - Halves<T>::Of(gone));
    Sums sums = carry;
    sums.Add(run);
    carry.Add(runs.Last(run));
    block.Store(means.Of(sums), row.out + at);
  };
  for (x = 0; x + kStep<T> <= n; x += kStep<T>) slide(x, WholeBlock<T>());
  if (x < n) slide(x, LastBlock<T>{n - x});
}

template <class T>
void Start(std::uint32_t* sums, std::int64_t n, const BoxDivider& divider) {
  divider.narrow() ? StartSums<T, sizeof(T) == 1>(sums, n, divider) : StartSums<T, false>(sums, n, divider);
}
template <class T>
void AddRow(std::uint32_t* sums, const T* row, std::uint32_t times, std::int64_t n, const BoxDivider& divider) {
  divider.narrow() ? AddRowTo<T, sizeof(T) == 1>(sums, row, times, n) : AddRowTo<T, false>(sums, row, times, n);
}
template <class T>
void Slide(std::uint32_t* sums, const T* entering, const T* leaving, T* out, std::int64_t n,
           const BoxDivider& divider) {
  divider.narrow() ? SlideSums<T, sizeof(T) == 1>(sums, entering, leaving, out, n, divider)
                   : SlideSums<T, false>(sums, entering, leaving, out, n, divider);
}
template <class T, bool pixels>
void Row(const BoxRow<T>& row, const BoxDivider& divider) {
  divider.narrow() ? RowSums<T, sizeof(T) == 1, pixels>(row, divider) : RowSums<T, false, pixels>(row, divider);
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

void Bell(const std::uint8_t* const* taps, const SplitWeights& weights, std::uint8_t* out, std::int64_t n) {
  using T = std::uint8_t;
  const std::int64_t reach = weights.reach;
  const std::uint8_t* const* centre = taps + reach;
  const auto blur = [&](std::int64_t x, const auto& block) HWY_ATTR {
    BellSums sums;
    const auto both = [&](std::int64_t i) HWY_ATTR {
      return Halves<T>::Of(block.Load(centre[-i] + x)) + Halves<T>::Of(block.Load(centre[i] + x));
    };
    const Halves<T> nothing = Halves<T>::Of(hn::Zero(DValues<T>()));
    const Halves<T> middle = Halves<T>::Of(block.Load(centre[0] + x));
    sums.Add(weights, 0, middle, reach > 0 ? both(1) : nothing);
    std::int64_t i = 2;
    for (; i < reach; i += 2) sums.Add(weights, i, both(i), both(i + 1));
    if (i == reach) sums.Add(weights, i, both(i), nothing);
    block.Store(sums.Means(), out + x);
  };
  std::int64_t x = 0;
  for (; x + kStep<T> <= n; x += kStep<T>) blur(x, WholeBlock<T>());
  if (x < n) blur(x, LastBlock<T>{n - x});
}
// @}

template <class T>
constexpr BoxKernels<T> kBoxes = {&Start<T>, &AddRow<T>, &Slide<T>, &Row<T, false>, &Row<T, true>};
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
