#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sample/area_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
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

// The sum over a box from the sums of its columns.
HWY_INLINE Sum4 SumOf(const SampleColumns& columns, const double* sums) {
  const double* at = sums;
  Sum4 sum = Sum4::Zero() + Sum4::Load(at) * columns.first_weight;
  if (columns.end - columns.first == 1) return sum;
  for (std::int32_t i = columns.first + 1; i < columns.end - 1; ++i) sum = sum + Sum4::Load(at += 4);
  return sum + Sum4::Load(at + 4) * columns.last_weight;
}

void PrepareColumns(const SampleRow& row, const AreaCache& cache) {
  AreaHead& head = cache.head();
  SampleColumns* columns = cache.columns();
  head = {1, row.n, 0};
  for (std::int64_t k = 0; k < row.n; ++k) {
    const BoxSpan span = SpanOf(row.x0 + k * row.step_x, row.params->radius_x, row.params->src->width);
    columns[k] = {static_cast<std::int32_t>(span.first), static_cast<std::int32_t>(span.end), span.first_weight,
                  span.last_weight};
    if (span.IsEmpty()) continue;
    head.begin = std::min(head.begin, k);
    head.end = k + 1;
  }
}

template <class P, bool straight>
void AreaRow(const SampleRow& row, std::byte* scratch) {
  if (row.n <= 0) return;
  const Plane<P> src = SourceOf<P>(*row.params);
  P* out = static_cast<P*>(row.out);
  const AreaCache cache = {scratch, row.n};
  if (cache.head().ready == 0) PrepareColumns(row, cache);
  const BoxSpan rows = SpanOf(row.y, row.params->radius_y, src.height);
  std::int64_t k = cache.head().begin;
  const std::int64_t end = cache.head().end;
  if (rows.IsEmpty() || k >= end) {
    std::fill_n(out, row.n, P{});
    return;
  }
  std::fill(out, out + k, P{});
  std::fill(out + end, out + row.n, P{});
  const double inverse_area = InverseArea(*row.params) * ColumnSums<P, straight>::kUnit;
  const SampleColumns* columns = cache.columns();
  const std::int64_t tile = TileColumns(*row.params);
  while (k < end) {
    const std::int64_t first = columns[k].first, last = std::min<std::int64_t>(first + tile, columns[end - 1].end);
    SumColumnsOnVectors<P, straight>(src, rows, first, last - first, cache.sums());
    while (k < end && columns[k].end <= last) {
      alignas(32) double box_sums[4 * kMeans] = {};
      std::int64_t count = 0;
      for (; count < kMeans && k + count < end && columns[k + count].end <= last; ++count) {
        const SampleColumns& sample = columns[k + count];
        SumOf(sample, cache.sums() + 4 * (sample.first - first)).Store(box_sums + 4 * count);
      }
      StoreMeans<P, straight>(box_sums, inverse_area, count, out + k);
      k += count;
    }
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
