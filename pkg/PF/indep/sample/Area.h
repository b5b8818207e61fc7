// Area sampling: the mean of the source over a box.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "sample/AreaBox.h"
#include "sample/Rounding.h"
#include "sample/SampleSource.h"

namespace pf {

// Rows whose sums are exact in double at integer depths, whatever the order: 32 products of 16 x 16 bits
// under weights of 16 fraction bits fill the 53 bits.
inline constexpr std::int64_t kAreaRowBlock = 32;
// Columns summed at a time, to keep the sums in the fastest cache.
inline constexpr std::int64_t kAreaColumnTile = 64;

// What is summed of a pixel. Products of two channels are exact in double.
template <bool straight, class P>
PF_PixelDouble AreaTerm(const P& pixel) {
  const double alpha = static_cast<double>(pixel.alpha);
  const double factor = straight ? alpha : 1.0;
  return {alpha, factor * static_cast<double>(pixel.red), factor * static_cast<double>(pixel.green),
          factor * static_cast<double>(pixel.blue)};
}

inline void AddWeighted(PF_PixelDouble& sum, double weight, const PF_PixelDouble& term) {
  sum.alpha += weight * term.alpha;
  sum.red += weight * term.red;
  sum.green += weight * term.green;
  sum.blue += weight * term.blue;
}

// Sums `count` columns from `column` over the rows of the box.
template <bool straight, class P>
void SumColumns(const Plane<P>& src, const BoxSpan& rows, std::int64_t column, std::int64_t count,
                PF_PixelDouble* sums) {
  std::fill_n(sums, count, PF_PixelDouble{});
  for (std::int64_t top = rows.first; top < rows.end; top += kAreaRowBlock) {
    PF_PixelDouble block[kAreaColumnTile] = {};
    for (std::int64_t j = top; j < std::min(top + kAreaRowBlock, rows.end); ++j) {
      const P* row = src.At(column, j);
      for (std::int64_t k = 0; k < count; ++k) AddWeighted(block[k], rows.WeightOf(j), AreaTerm<straight>(row[k]));
    }
    for (std::int64_t k = 0; k < count; ++k) AddWeighted(sums[k], 1.0, block[k]);
  }
}

template <bool straight, class P>
PF_PixelDouble SumOverBox(const Plane<P>& src, const BoxSpan& columns, const BoxSpan& rows) {
  PF_PixelDouble sum = {}, tile[kAreaColumnTile];
  for (std::int64_t left = columns.first; left < columns.end; left += kAreaColumnTile) {
    const std::int64_t count = std::min(kAreaColumnTile, columns.end - left);
    SumColumns<straight>(src, rows, left, count, tile);
    for (std::int64_t k = 0; k < count; ++k) AddWeighted(sum, columns.WeightOf(left + k), tile[k]);
  }
  return sum;
}

// What rounds a mean half up. The excess makes up for the rounding of the reciprocal, so that exact halves
// go up.
inline constexpr double kAreaRounding = 0.5 + 0x1p-30;

template <class Channel>
Channel StoreMean(double mean) {
  if constexpr (std::is_same_v<Channel, float>) {
    return StoredFloat(static_cast<float>(mean));
  } else {
    return static_cast<Channel>(mean + kAreaRounding);
  }
}

// Divides: alpha, and premultiplied colour, by the box's area, straight colour by the sum of alpha.
template <bool straight, class P>
P MeanOf(const PF_PixelDouble& sum, double inverse_area) {
  using Channel = ChannelOf<P>;
  const Channel alpha = StoreMean<Channel>(sum.alpha * inverse_area);
  if constexpr (!std::is_same_v<Channel, float>) {
    if (alpha == 0) return {};
  } else if constexpr (straight) {
    if (!(sum.alpha > 0.0)) return {};
  }
  const double inverse = straight ? 1.0 / sum.alpha : inverse_area;
  return {alpha, StoreMean<Channel>(sum.red * inverse), StoreMean<Channel>(sum.green * inverse),
          StoreMean<Channel>(sum.blue * inverse)};
}

inline double InverseArea(const PF_SampPB& params) {
  return 1.0 / (BoxExtent(params.radius_x) * BoxExtent(params.radius_y));
}

template <class P, bool straight>
P SampleArea(const PF_SampPB& params, std::int64_t x, std::int64_t y) {
  const Plane<P> src = SourceOf<P>(params);
  const BoxSpan columns = SpanOf(x, params.radius_x, src.width);
  const BoxSpan rows = SpanOf(y, params.radius_y, src.height);
  if (columns.IsEmpty() || rows.IsEmpty()) return {};
  return MeanOf<straight, P>(SumOverBox<straight>(src, columns, rows), InverseArea(params));
}

}  // namespace pf
