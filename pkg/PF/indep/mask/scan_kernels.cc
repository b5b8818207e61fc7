#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/scan_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "mask/MaskScanKernels.h"
#include "mask/ScanMath.h"
#include "simd/PairProducts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // emulation does not pay

const MaskScanKernels* MaskScanKernelsOfTarget() { return &kPortableMaskScanKernels; }

#else

using D16 = hn::ScalableTag<std::uint16_t>;
using DI16 = hn::ScalableTag<std::int16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using D64 = hn::ScalableTag<std::uint64_t>;
using DF64 = hn::ScalableTag<double>;

// \name Bells
// Blocks of several vectors share the weights that are loaded.
// @{

// 8 bits. Two taps are multiplied at once, in lanes of 16 bits, by the high and the low parts of their
// weights; the parts are joined when all taps are added, modulo 2^32.
template <int vectors>
class Gauss8Block {
 public:
  using T = std::uint8_t;
  static constexpr std::int64_t kValues = vectors * static_cast<std::int64_t>(hn::MaxLanes(D16()));

  HWY_INLINE Gauss8Block() {
    for (int v = 0; v < 2 * vectors; ++v) high_[v] = low_[v] = hn::Zero(DI32());
  }

  // Adds the taps i and i + 1 of sums that `load` gives for a tap and a vector.
  template <class Load>
  HWY_INLINE void AddPair(const SplitWeights& weights, std::int64_t i, const Load& load) {
    const auto high = PairOf(weights.high + i), low = PairOf(weights.low + i);
    for (int v = 0; v < vectors; ++v) Add(v, high, low, load(i, v), load(i + 1, v));
  }
  template <class Load>
  HWY_INLINE void AddOne(const SplitWeights& weights, std::int64_t i, const Load& load) {
    const auto high = PairOf(weights.high + i), low = PairOf(weights.low + i);
    for (int v = 0; v < vectors; ++v) Add(v, high, low, load(i, v), hn::Zero(D16()));
  }

  static HWY_INLINE hn::Vec<D16> Load(const T* at, int v) {
    const D16 d;
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, D16>(), at + static_cast<std::size_t>(v) * hn::Lanes(d)));
  }

  HWY_INLINE void Store(T* out) const {
    const hn::Rebind<T, D16> d;
    for (int v = 0; v < vectors; ++v) {
      const auto means = hn::ReorderDemote2To(DI16(), Mean(2 * v), Mean(2 * v + 1));
      hn::StoreU(hn::DemoteTo(d, means), d, out + static_cast<std::size_t>(v) * hn::Lanes(d));
    }
  }

 private:
  static HWY_INLINE hn::Vec<DI16> PairOf(const std::int16_t* weights) {
    std::uint32_t pair;
    std::memcpy(&pair, weights, sizeof pair);
    return hn::BitCast(DI16(), hn::Set(D32(), pair));
  }
  HWY_INLINE void Add(int v, hn::Vec<DI16> high, hn::Vec<DI16> low, hn::Vec<D16> first, hn::Vec<D16> second) {
    const DI32 d;
    const auto lower = hn::BitCast(DI16(), hn::InterleaveLower(D16(), first, second));
    const auto upper = hn::BitCast(DI16(), hn::InterleaveUpper(D16(), first, second));
    high_[2 * v] = AddPairProducts(d, lower, high, high_[2 * v]);
    high_[2 * v + 1] = AddPairProducts(d, upper, high, high_[2 * v + 1]);
    low_[2 * v] = AddPairProducts(d, lower, low, low_[2 * v]);
    low_[2 * v + 1] = AddPairProducts(d, upper, low, low_[2 * v + 1]);
  }
  HWY_INLINE hn::Vec<DI32> Mean(int i) const {
    const D32 d;
    const auto sum = hn::Add(hn::ShiftLeft<12>(hn::BitCast(d, high_[i])), hn::BitCast(d, low_[i]));
    const auto half = hn::Set(d, 1u << (kGaussBits8 - 1));
    return hn::BitCast(DI32(), hn::ShiftRight<kGaussBits8>(hn::Add(sum, half)));
  }

  hn::Vec<DI32> high_[2 * vectors], low_[2 * vectors];
};

// 16 bits, in lanes of double.
template <int vectors>
class Gauss16Block {
 public:
  using T = std::uint16_t;
  static constexpr std::int64_t kValues = vectors * static_cast<std::int64_t>(hn::MaxLanes(D32()));

  HWY_INLINE Gauss16Block() {
    for (auto& sum : sums_) sum = hn::Set(DF64(), 0x1p36);
  }
  template <class Load>
  HWY_INLINE void AddPair(const double* weights, std::int64_t i, const Load& load) {
    AddOne(weights, i, load);
    AddOne(weights, i + 1, load);
  }
  template <class Load>
  HWY_INLINE void AddOne(const double* weights, std::int64_t i, const Load& load) {
    const DF64 d;
    const hn::Half<DI32> half;
    const auto weight = hn::Set(d, weights[i]);
    for (int v = 0; v < vectors; ++v) {
      const auto values = hn::BitCast(DI32(), load(i, v));
      const auto low = hn::PromoteTo(d, hn::LowerHalf(half, values));
      const auto high = hn::PromoteTo(d, hn::UpperHalf(half, values));
      sums_[2 * v] = hn::Add(sums_[2 * v], hn::Mul(low, weight));
      sums_[2 * v + 1] = hn::Add(sums_[2 * v + 1], hn::Mul(high, weight));
    }
  }

  static HWY_INLINE hn::Vec<D32> Load(const T* at, int v) {
    const D32 d;
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, D32>(), at + static_cast<std::size_t>(v) * hn::Lanes(d)));
  }

  HWY_INLINE void Store(T* out) const {
    const hn::Rebind<T, DI32> d;
    const hn::Half<DI32> half;
    const auto unit = hn::Set(DF64(), 0x1p-37);
    for (int v = 0; v < vectors; ++v) {
      const auto low = hn::DemoteTo(half, hn::Mul(sums_[2 * v], unit));
      const auto high = hn::DemoteTo(half, hn::Mul(sums_[2 * v + 1], unit));
      const auto means = hn::Min(hn::Combine(DI32(), high, low), hn::Set(DI32(), PF_MAX_CHAN16));
      hn::StoreU(hn::DemoteTo(d, means), d, out + static_cast<std::size_t>(v) * hn::Lanes(d));
    }
  }

 private:
  hn::Vec<DF64> sums_[2 * vectors];
};

template <class Block, class Load, class Weights>
HWY_INLINE std::int64_t AddTaps(Block& block, const Weights& weights, std::int64_t i, std::int64_t last,
                                const Load& load) {
  for (; i < last; i += 2) block.AddPair(weights, i, load);
  if (i == last) block.AddOne(weights, i++, load);
  return i;
}

template <class Block, class T, class Weights>
HWY_INLINE void GaussBlock(const GaussRun<T>& run, const Weights& weights, std::int64_t x) {
  Block block;
  const T* at = run.centre + x;
  const std::int64_t step = run.step;
  block.AddOne(weights, 0, [&](std::int64_t, int v) HWY_ATTR { return Block::Load(at, v); });
  const auto both = [&](std::int64_t i, int v)
                        HWY_ATTR { return hn::Add(Block::Load(at - i * step, v), Block::Load(at + i * step, v)); };
  const std::int64_t next = AddTaps(block, weights, 1, std::min(run.before, run.behind), both);
  const std::int64_t side = run.before > run.behind ? -step : step;
  const auto one = [&](std::int64_t i, int v) HWY_ATTR { return Block::Load(at + i * side, v); };
  AddTaps(block, weights, next, std::max(run.before, run.behind), one);
  block.Store(run.out + x);
}

template <class T, int vectors>
using GaussBlockOf = std::conditional_t<sizeof(T) == 1, Gauss8Block<vectors>, Gauss16Block<vectors> >;

// Large blocks, small ones, then one that overlaps the last.
template <class T>
void Gauss(const GaussRun<T>& run, const WeightsOf<T>& weights) {
  using Large = GaussBlockOf<T, 2>;
  using Small = GaussBlockOf<T, 1>;
  std::int64_t x = 0;
  if (run.n < Small::kValues) {
    for (; x < run.n; ++x) run.out[x] = GaussMean(run, weights, x);
    return;
  }
  for (; x + Large::kValues <= run.n; x += Large::kValues) GaussBlock<Large>(run, weights, x);
  for (; x + Small::kValues <= run.n; x += Small::kValues) GaussBlock<Small>(run, weights, x);
  if (x < run.n) GaussBlock<Small>(run, weights, run.n - Small::kValues);
}
// @}

// \name Boxes
// @{

class BoxDividerLanes {
 public:
  HWY_INLINE explicit BoxDividerLanes(const BoxDivider& divider)
      : multiplier_(hn::Set(D32(), divider.multiplier)),
        addend_(hn::Set(D64(), divider.addend)),
        shift_(divider.shift) {}

  HWY_INLINE hn::Vec<D32> MeanOf(hn::Vec<D32> sums) const {
    const D32 d;
    const D64 wide;
    const auto odd = hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(wide, sums)));
    const auto low = hn::ShiftRightSame(hn::Add(hn::MulEven(sums, multiplier_), addend_), shift_);
    const auto high = hn::ShiftRightSame(hn::Add(hn::MulEven(odd, multiplier_), addend_), shift_);
    return hn::BitCast(d, hn::Or(low, hn::ShiftLeft<32>(high)));
  }

 private:
  hn::Vec<D32> multiplier_;
  hn::Vec<D64> addend_;
  int shift_;
};

template <class T>
HWY_INLINE void StoreMeans(hn::Vec<D32> means, T* out) {
  const hn::Rebind<T, DI32> d;
  if constexpr (sizeof(T) == 2) means = hn::Min(means, hn::Set(D32(), PF_MAX_CHAN16));
  hn::StoreU(hn::DemoteTo(d, hn::BitCast(DI32(), means)), d, out);
}

template <class T>
void Slide(std::uint32_t* sums, const T* entering, const T* leaving, T* out, std::int64_t n,
           const BoxDivider& divider) {
  const D32 d;
  const hn::Rebind<T, D32> narrow;
  const BoxDividerLanes lanes(divider);
  const auto step = static_cast<std::int64_t>(hn::Lanes(d));
  std::int64_t x = 0;
  for (; x + step <= n; x += step) {
    const auto in = hn::PromoteTo(d, hn::LoadU(narrow, entering + x));
    const auto gone = hn::PromoteTo(d, hn::LoadU(narrow, leaving + x));
    const auto sum = hn::Sub(hn::Add(hn::LoadU(d, sums + x), in), gone);
    hn::StoreU(sum, d, sums + x);
    StoreMeans(lanes.MeanOf(sum), out + x);
  }
  for (; x < n; ++x) {
    sums[x] += entering[x] - std::uint32_t{leaving[x]};
    out[x] = BoxMean<T>(sums[x], divider);
  }
}

using Quad = hn::Full128<std::uint32_t>;

// Sums of the changes up to each lane, from one block of 16 bytes at a time, on top of `carry`.
HWY_INLINE void StoreRunning(const std::uint8_t* in, const std::uint8_t* gone, hn::Vec<Quad>& carry,
                             std::uint32_t* sums) {
  const hn::Full128<std::int16_t> d;
  const hn::Full64<std::uint8_t> narrow;
  const hn::Full128<std::int32_t> wide;
  const hn::Full64<std::int16_t> half;
  const Quad quad;
  auto change = hn::Sub(hn::PromoteTo(d, hn::LoadU(narrow, in)), hn::PromoteTo(d, hn::LoadU(narrow, gone)));
  change = hn::Add(change, hn::ShiftLeftLanes<1>(d, change));
  change = hn::Add(change, hn::ShiftLeftLanes<2>(d, change));
  change = hn::Add(change, hn::ShiftLeftLanes<4>(d, change));
  const auto low = hn::BitCast(quad, hn::PromoteTo(wide, hn::LowerHalf(half, change)));
  const auto high = hn::BitCast(quad, hn::PromoteTo(wide, hn::UpperHalf(half, change)));
  hn::StoreU(hn::Add(low, carry), quad, sums);
  hn::StoreU(hn::Add(high, carry), quad, sums + 4);
  carry = hn::Add(carry, hn::Broadcast<3>(high));
}
HWY_INLINE void StoreRunning(const std::uint16_t* in, const std::uint16_t* gone, hn::Vec<Quad>& carry,
                             std::uint32_t* sums) {
  const Quad quad;
  const hn::Full64<std::uint16_t> narrow;
  for (int i = 0; i < 8; i += 4) {
    auto change =
        hn::Sub(hn::PromoteTo(quad, hn::LoadU(narrow, in + i)), hn::PromoteTo(quad, hn::LoadU(narrow, gone + i)));
    change = hn::Add(change, hn::ShiftLeftLanes<1>(quad, change));
    change = hn::Add(change, hn::ShiftLeftLanes<2>(quad, change));
    hn::StoreU(hn::Add(change, carry), quad, sums + i);
    carry = hn::Add(carry, hn::Broadcast<3>(change));
  }
}

// Running sums of a stretch, then their means, from the cache.
template <class T>
void Box(const T* line, T* out, std::int64_t n, std::int64_t reach, const BoxDivider& divider) {
  constexpr std::int64_t kStretch = 256;
  alignas(64) std::uint32_t sums[kStretch];
  const D32 d;
  const BoxDividerLanes lanes(divider);
  const T* in = line + reach;
  const T* gone = line - reach - 1;
  auto carry = hn::Set(Quad(), SumBeforeRow(line, n, reach));
  const std::int64_t whole = n / 8 * 8;
  for (std::int64_t x = 0; x < whole; x += kStretch) {
    const std::int64_t count = std::min(kStretch, whole - x);
    for (std::int64_t i = 0; i < count; i += 8) StoreRunning(in + x + i, gone + x + i, carry, sums + i);
    const auto step = static_cast<std::int64_t>(hn::Lanes(d));
    std::int64_t i = 0;
    for (; i + step <= count; i += step) StoreMeans(lanes.MeanOf(hn::Load(d, sums + i)), out + x + i);
    for (; i < count; ++i) out[x + i] = BoxMean<T>(sums[i], divider);
  }
  std::uint32_t sum = hn::GetLane(carry);
  for (std::int64_t x = whole; x < n; ++x) {
    sum += in[x] - std::uint32_t{gone[x]};
    out[x] = BoxMean<T>(sum, divider);
  }
}
// @}

template <class T>
constexpr ScanKernels<T> kKernelsOf = {&Gauss<T>, &Slide<T>, &Box<T>};
constexpr MaskScanKernels kKernels = {kKernelsOf<std::uint8_t>, kKernelsOf<std::uint16_t>};

const MaskScanKernels* MaskScanKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(MaskScanKernelsOfTarget);

const MaskScanKernels& VectorMaskScanKernels() { return *HWY_DYNAMIC_DISPATCH(MaskScanKernelsOfTarget)(); }

}  // namespace pf
#endif
