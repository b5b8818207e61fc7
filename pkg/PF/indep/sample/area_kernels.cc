#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sample/area_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <type_traits>

#include "sample/Area.h"
#include "sample/AreaCache.h"
#include "sample/AreaColumns-inl.h"
#include "sample/AreaMeans-inl.h"
#include "sample/AreaPairs-inl.h"
#include "sample/SampleKernels.h"
#include "sample/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Means that are computed together.
inline constexpr std::int64_t kMeans = 64;

// `sums` has room for kMeans.
template <class P, bool straight>
HWY_INLINE void StoreMeans(const Means<P, straight>& means, AreaReal<P>* sums, std::int64_t count, P* out) {
  constexpr std::int64_t kLanes = Means<P, straight>::kLanes;
  std::int64_t k = 0;
  for (; k + kLanes <= count; k += kLanes) means.Store(sums + 4 * k, out + k);
  if (k == count) return;
  std::fill(sums + 4 * count, sums + 4 * (k + kLanes), AreaReal<P>{0});
  P pixels[kLanes];
  means.Store(sums + 4 * k, pixels);
  std::memcpy(out + k, pixels, static_cast<std::size_t>(count - k) * sizeof(P));
}

// The sum over a box of `width` columns, some of weight 0, from the sums of the columns. Only floats can
// hold what a weight of 0 does not silence.
template <class P, std::size_t width>
HWY_INLINE void SumOfSmall(const SampleColumns<double>& columns, const double* sums, double* out) {
  Sum4 sum = Sum4::Zero();
  Unrolled<width>([&](auto i) HWY_ATTR {
    const Sum4 weighted = Sum4::Load(sums + 4 * i) * columns.weights[i];
    if constexpr (std::is_same_v<P, PF_PixelFloat>) {
      sum = sum + weighted.OrZero(columns.weights[i]);
    } else {
      sum = sum + weighted;
    }
  });
  sum.Store(out);
}

HWY_INLINE void SumOfLarge(const SampleColumns<double>& columns, const double* sums, double* out) {
  Sum4 sum = Sum4::Zero() + Sum4::Load(sums) * columns.weights[0];
  if (columns.end - columns.first > 1) {
    for (std::int32_t i = columns.first + 1; i < columns.end - 1; ++i) sum = sum + Sum4::Load(sums += 4);
    sum = sum + Sum4::Load(sums + 4) * columns.weights[1];
  }
  sum.Store(out);
}

// Single precision: even and odd columns apart, in the halves of a vector where it has two.
using NarrowTag = hn::CappedTag<float, 8>;
inline constexpr std::size_t kNarrowBlocks = hn::MaxLanes(NarrowTag()) / 4;

template <class D>
HWY_INLINE void StoreSides(D d, const hn::Vec<D> (&side)[2], float* out) {
  if constexpr (hn::MaxLanes(D()) == 4) {
    hn::StoreU(hn::Add(side[0], side[1]), d, out);
  } else {
    const hn::Half<D> half;
    hn::StoreU(hn::Add(hn::LowerHalf(half, side[0]), hn::UpperHalf(half, side[0])), half, out);
  }
}

template <class P, std::size_t width>
HWY_INLINE void SumOfSmall(const SampleColumns<float>& columns, const float* sums, float* out) {
  const NarrowTag d;
  const hn::Repartition<std::uint8_t, NarrowTag> d8;
  alignas(32) static constexpr std::uint8_t kPairs[2][32] = {
      {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 4, 5, 6, 7, 4, 5, 6, 7},
      {8,  9,  10, 11, 8,  9,  10, 11, 8,  9,  10, 11, 8,  9,  10, 11,
       12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15}};
  hn::Vec<NarrowTag> side[2] = {hn::Zero(d), hn::Zero(d)};
  Unrolled<(width + kNarrowBlocks - 1) / kNarrowBlocks>([&](auto i) HWY_ATTR {
    constexpr std::size_t kColumn = i * kNarrowBlocks;
    const auto four = hn::LoadDup128(d, columns.weights + kColumn / 4 * 4);
    const auto bytes = hn::Load(d8, kPairs[kColumn % 4 / 2] + (kNarrowBlocks == 1 ? kColumn % 2 * 16 : 0));
    const auto weights = hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, four), bytes));
    auto& sum = side[kColumn % 2];
    sum = hn::Add(sum, hn::Mul(hn::LoadU(d, sums + 4 * kColumn), weights));
  });
  StoreSides(d, side, out);
}

HWY_INLINE void SumOfLarge(const SampleColumns<float>& columns, const float* sums, float* out) {
  const hn::Full128<float> d;
  Sum4 total = Sum4::Zero();
  const std::int32_t count = columns.end - columns.first;
  for (std::int32_t begin = 0; begin < count; begin += static_cast<std::int32_t>(kAreaBlock)) {
    auto even = hn::Zero(d), odd = hn::Zero(d);
    const std::int32_t end = std::min(begin + static_cast<std::int32_t>(kAreaBlock), count);
    const auto column = [&](std::int32_t i) HWY_ATTR {
      const auto sum = hn::LoadU(d, sums + 4 * i);
      if (i != 0 && i != count - 1) return sum;
      return hn::Mul(sum, hn::Set(d, columns.weights[i == 0 ? 0 : 1]));
    };
    for (std::int32_t i = begin; i < end; i += 2) {
      even = hn::Add(even, column(i));
      if (i + 1 < end) odd = hn::Add(odd, column(i + 1));
    }
    total = total + Sum4::Of(hn::Add(even, odd));
  }
  double wide[4];
  total.Store(wide);
  for (std::size_t c = 0; c < 4; ++c) out[c] = static_cast<float>(wide[c]);
}

// Samples k..end-1, or those whose columns end at `last`, whichever are fewer; `sums` begin at column
// `first`. Yields the sample to go on with. `width` 0: any.
template <class P, bool straight, std::size_t width>
HWY_NOINLINE std::int64_t SampleTile(const SampleColumns<AreaReal<P>>* columns, std::int64_t k, std::int64_t end,
                                     std::int64_t first, std::int64_t last, const AreaReal<P>* sums,
                                     AreaReal<P> inverse_area, P* out) {
  const Means<P, straight> means(inverse_area);
  alignas(64) AreaReal<P> box_sums[4 * kMeans];
  for (;;) {
    std::int64_t i = 0;
    for (; i < kMeans && k + i < end && columns[k + i].end <= last; ++i) {
      const auto& sample = columns[k + i];
      const AreaReal<P>* at = sums + 4 * (sample.first - first);
      if constexpr (width == 0) {
        SumOfLarge(sample, at, box_sums + 4 * i);
      } else {
        SumOfSmall<P, width>(sample, at, box_sums + 4 * i);
      }
    }
    StoreMeans(means, box_sums, i, out + k);
    k += i;
    if (i < kMeans) return k;
  }
}

template <class P, bool straight>
using TileFunction = decltype(&SampleTile<P, straight, 0>);

template <class P, bool straight>
TileFunction<P, straight> TileFunctionFor(std::int64_t widest) {
  constexpr TileFunction<P, straight> kSmall[] = {SampleTile<P, straight, 1>, SampleTile<P, straight, 2>,
                                                  SampleTile<P, straight, 3>, SampleTile<P, straight, 4>,
                                                  SampleTile<P, straight, 5>, SampleTile<P, straight, 6>};
  static_assert(std::size(kSmall) == kSmallBox);
  return widest <= kSmallBox ? kSmall[widest - 1] : SampleTile<P, straight, 0>;
}

template <class Real>
void PrepareColumns(const SampleRow& row, const AreaCache<Real>& cache) {
  AreaHead& head = cache.head();
  head = {1, row.n, 0, 1, 0};
  const auto span_of = [&](std::int64_t k) {
    return SpanOf(row.x0 + k * row.step_x, row.params->radius_x, row.params->src->width);
  };
  for (std::int64_t k = 0; k < row.n; ++k) {
    const BoxSpan span = span_of(k);
    if (span.IsEmpty()) continue;
    head.begin = std::min(head.begin, k);
    head.end = k + 1;
    head.widest = std::max(head.widest, span.end - span.first);
  }
  for (std::int64_t k = head.begin; k < head.end; ++k) {
    const BoxSpan span = span_of(k);
    SampleColumns<Real>& columns = cache.columns()[k];
    columns = {static_cast<std::int32_t>(span.first), static_cast<std::int32_t>(span.end), {}};
    if (head.widest > kSmallBox) {
      columns.weights[0] = static_cast<Real>(span.first_weight);
      columns.weights[1] = static_cast<Real>(span.last_weight);
    } else {
      for (std::int64_t i = span.first; i < span.end; ++i) {
        columns.weights[i - span.first] = static_cast<Real>(span.WeightOf(i));
      }
    }
  }
  const auto covers_two = [&](std::int64_t k) { return cache.columns()[k].end - cache.columns()[k].first == 2; };
  head.pairs = row.step_x == 2 * 65536 && row.params->radius_x == 65536 && (row.x0 & 65535) == 32768 &&
               head.begin < head.end && covers_two(head.begin) && covers_two(head.end - 1);
  std::memset(cache.sums(), 0, static_cast<std::size_t>(AreaCache<Real>::SumBytes(*row.params)));
}

template <class P, bool straight>
void AreaRow(const SampleRow& row, std::byte* scratch) {
  if (row.n <= 0) return;
  const Plane<P> src = SourceOf<P>(*row.params);
  P* out = static_cast<P*>(row.out);
  const AreaCache<AreaReal<P>> cache = {scratch, row.n};
  if (cache.head().ready == 0) PrepareColumns(row, cache);
  const AreaHead& head = cache.head();
  const BoxSpan rows = SpanOf(row.y, row.params->radius_y, src.height);
  if (rows.IsEmpty() || head.begin >= head.end) {
    std::fill_n(out, row.n, P{});
    return;
  }
  std::fill(out, out + head.begin, P{});
  std::fill(out + head.end, out + row.n, P{});
  const AreaReal<P> inverse_area = InverseArea<P>(*row.params);
  using Pairs = PairMeans<P, straight>;
  const bool whole_rows = rows.first_weight == 1.0 && rows.last_weight == 1.0;
  if (whole_rows && rows.end - rows.first <= Pairs::kMaxRows && head.pairs != 0 &&
      head.end - head.begin >= Pairs::kSamples) {
    SamplePairs<P, straight>(src, rows, cache.columns()[head.begin].first, head.end - head.begin, inverse_area,
                             out + head.begin);
    return;
  }
  const SampleColumns<AreaReal<P>>* columns = cache.columns();
  const std::int64_t tile = TileColumns(*row.params);
  const auto sample_tile = TileFunctionFor<P, straight>(head.widest);
  for (std::int64_t k = head.begin; k < head.end;) {
    const std::int64_t first = columns[k].first, last = std::min<std::int64_t>(first + tile, columns[head.end - 1].end);
    SumColumnsOnVectors<P, straight>(src, rows, first, last - first, cache.sums());
    k = sample_tile(columns, k, head.end, first, last, cache.sums(), inverse_area, out);
  }
}

template <class P>
std::uint64_t AreaScratch(const PF_SampPB* params, std::int64_t, std::int64_t n) {
  return static_cast<std::uint64_t>(AreaCache<AreaReal<P>>::Size(*params, std::max<std::int64_t>(n, 0)));
}

template <bool straight>
constexpr SampleKernels::Pair kAreaPairs[] = {{AreaScratch<PF_Pixel8>, AreaRow<PF_Pixel8, straight>},
                                              {AreaScratch<PF_Pixel16>, AreaRow<PF_Pixel16, straight>},
                                              {AreaScratch<PF_PixelFloat>, AreaRow<PF_PixelFloat, straight>}};

SampleKernels::Pair Area(bool straight, int depth_index) {
  return straight ? kAreaPairs<true>[depth_index] : kAreaPairs<false>[depth_index];
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();
