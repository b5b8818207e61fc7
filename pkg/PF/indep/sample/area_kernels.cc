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
#include "sample/SampleKernels.h"
#include "simd/AreaColumns-inl.h"
#include "simd/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

// Means that are computed and stored together.
inline constexpr std::int64_t kMeans = 16;

// The lane form of MeanOf, from kMeans sums.
template <class P, bool straight>
HWY_INLINE void StoreMeans(const double* sums, double inverse_area, std::int64_t count, P* out) {
  const SumTag d;
  using V = hn::Vec<SumTag>;
  const V by_area = hn::Set(d, inverse_area);
  P pixels[kMeans];
  for (std::int64_t k = 0; k < kMeans; k += static_cast<std::int64_t>(kSumLanes)) {
    Channels<V> sum;
    hn::LoadInterleaved4(d, sums + 4 * k, sum.alpha, sum.red, sum.green, sum.blue);
    const V inverse = straight ? hn::Div(hn::Set(d, 1.0), sum.alpha) : by_area;
    const V alpha = hn::Mul(sum.alpha, by_area);
    Channels<V> mean = {alpha, hn::Mul(sum.red, inverse), hn::Mul(sum.green, inverse), hn::Mul(sum.blue, inverse)};
    if constexpr (!std::is_same_v<P, PF_PixelFloat>) {
      const V rounding = hn::Set(d, kAreaRounding);
      const auto visible = hn::Ge(hn::Add(alpha, rounding), hn::Set(d, 1.0));
      const auto shown = [&](V v) HWY_ATTR { return hn::IfThenElseZero(visible, hn::Add(v, rounding)); };
      mean = {shown(mean.alpha), shown(mean.red), shown(mean.green), shown(mean.blue)};
    } else if constexpr (straight) {
      const auto visible = hn::Gt(sum.alpha, hn::Zero(d));
      const auto shown = [&](V v) HWY_ATTR { return hn::IfThenElseZero(visible, v); };
      mean = {shown(mean.alpha), shown(mean.red), shown(mean.green), shown(mean.blue)};
    }
    StorePixels(d, mean, pixels + k);
  }
  std::memcpy(out, pixels, static_cast<std::size_t>(count) * sizeof(P));
}

// The sum over a box of `width` columns, some of weight 0, from the sums of the columns. Only floats can
// hold what a weight of 0 does not silence.
template <class P, std::size_t width>
HWY_INLINE Sum4 SumOfSmall(const SampleColumns& columns, const double* sums) {
  Sum4 sum = Sum4::Zero();
  Unrolled<width>([&](auto i) HWY_ATTR {
    const Sum4 weighted = Sum4::Load(sums + 4 * i) * columns.weights[i];
    if constexpr (std::is_same_v<P, PF_PixelFloat>) {
      sum = sum + weighted.OrZero(columns.weights[i]);
    } else {
      sum = sum + weighted;
    }
  });
  return sum;
}

HWY_INLINE Sum4 SumOfLarge(const SampleColumns& columns, const double* sums) {
  Sum4 sum = Sum4::Zero() + Sum4::Load(sums) * columns.weights[0];
  if (columns.end - columns.first == 1) return sum;
  for (std::int32_t i = columns.first + 1; i < columns.end - 1; ++i) sum = sum + Sum4::Load(sums += 4);
  return sum + Sum4::Load(sums + 4) * columns.weights[1];
}

// Samples of one tile of columns, `first` being the first of them. `width` 0: any.
template <class P, bool straight, std::size_t width>
HWY_NOINLINE void SampleTile(const SampleColumns* columns, std::int64_t count, std::int64_t first, const double* sums,
                             double inverse_area, P* out) {
  alignas(32) double box_sums[4 * kMeans] = {};
  for (std::int64_t k = 0; k < count; k += kMeans) {
    const std::int64_t part = std::min(count - k, kMeans);
    for (std::int64_t i = 0; i < part; ++i) {
      const SampleColumns& sample = columns[k + i];
      const double* at = sums + 4 * (sample.first - first);
      if constexpr (width == 0) {
        SumOfLarge(sample, at).Store(box_sums + 4 * i);
      } else {
        SumOfSmall<P, width>(sample, at).Store(box_sums + 4 * i);
      }
    }
    StoreMeans<P, straight>(box_sums, inverse_area, part, out + k);
  }
}

template <class P, bool straight>
using TileFunction = void (*)(const SampleColumns*, std::int64_t, std::int64_t, const double*, double, P*);

template <class P, bool straight>
TileFunction<P, straight> TileFunctionFor(std::int64_t widest) {
  constexpr TileFunction<P, straight> kSmall[] = {SampleTile<P, straight, 1>, SampleTile<P, straight, 2>,
                                                  SampleTile<P, straight, 3>, SampleTile<P, straight, 4>,
                                                  SampleTile<P, straight, 5>, SampleTile<P, straight, 6>};
  static_assert(std::size(kSmall) == kSmallBox);
  return widest <= kSmallBox ? kSmall[widest - 1] : SampleTile<P, straight, 0>;
}

void PrepareColumns(const SampleRow& row, const AreaCache& cache) {
  AreaHead& head = cache.head();
  head = {1, row.n, 0, 1};
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
    SampleColumns& columns = cache.columns()[k];
    columns = {static_cast<std::int32_t>(span.first), static_cast<std::int32_t>(span.end), {}};
    if (head.widest > kSmallBox) {
      columns.weights[0] = span.first_weight;
      columns.weights[1] = span.last_weight;
    } else {
      for (std::int64_t i = span.first; i < span.end; ++i) columns.weights[i - span.first] = span.WeightOf(i);
    }
  }
  std::memset(cache.sums(), 0, static_cast<std::size_t>(AreaCache::SumBytes(*row.params)));
}

template <class P, bool straight>
void AreaRow(const SampleRow& row, std::byte* scratch) {
  if (row.n <= 0) return;
  const Plane<P> src = SourceOf<P>(*row.params);
  P* out = static_cast<P*>(row.out);
  const AreaCache cache = {scratch, row.n};
  if (cache.head().ready == 0) PrepareColumns(row, cache);
  const AreaHead& head = cache.head();
  const BoxSpan rows = SpanOf(row.y, row.params->radius_y, src.height);
  if (rows.IsEmpty() || head.begin >= head.end) {
    std::fill_n(out, row.n, P{});
    return;
  }
  std::fill(out, out + head.begin, P{});
  std::fill(out + head.end, out + row.n, P{});
  const double inverse_area = InverseArea(*row.params) * ColumnSums<P, straight>::kUnit;
  const SampleColumns* columns = cache.columns();
  const std::int64_t tile = TileColumns(*row.params);
  const auto sample_tile = TileFunctionFor<P, straight>(head.widest);
  for (std::int64_t k = head.begin; k < head.end;) {
    const std::int64_t first = columns[k].first, last = std::min<std::int64_t>(first + tile, columns[head.end - 1].end);
    SumColumnsOnVectors<P, straight>(src, rows, first, last - first, cache.sums());
    std::int64_t end = k;
    while (end < head.end && columns[end].end <= last) ++end;
    sample_tile(columns + k, end - k, first, cache.sums(), inverse_area, out + k);
    k = end;
  }
}

std::uint64_t AreaScratch(const PF_SampPB* params, std::int64_t, std::int64_t n) {
  return static_cast<std::uint64_t>(AreaCache::Size(*params, std::max<std::int64_t>(n, 0)));
}

template <bool straight>
constexpr SampleKernels::Pair kAreaPairs[] = {{AreaScratch, AreaRow<PF_Pixel8, straight>},
                                              {AreaScratch, AreaRow<PF_Pixel16, straight>},
                                              {AreaScratch, AreaRow<PF_PixelFloat, straight>}};

SampleKernels::Pair Area(bool straight, int depth_index) {
  return straight ? kAreaPairs<true>[depth_index] : kAreaPairs<false>[depth_index];
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();
