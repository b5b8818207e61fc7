// What an area row kernel keeps in its scratch: where every sample's columns lie, which is the same for
// all rows of a copy, and room for sums of columns.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sample/AreaBox.h"
#include "sample/SampleKernels.h"

namespace pf {

// Columns of small boxes are summed in straight-line code, with a weight for each.
inline constexpr std::int64_t kSmallBox = 6;

// The columns of one sample, as BoxSpan. Boxes of at most kSmallBox columns have all their weights here,
// followed by zeros; larger ones the first and the last.
template <class Real>
struct SampleColumns {
  std::int32_t first, end;
  Real weights[sizeof(Real) == 4 ? 8 : kSmallBox];  // floats are loaded by fours
};

// The head of the scratch; all zero in a fresh one. Samples begin..end-1 have columns inside the world,
// no more than `widest` each. `pairs`: each has two whole ones, right behind those of the sample before.
struct AreaHead {
  std::int64_t ready, begin, end, widest, pairs;
};

// Most columns that a box covers.
constexpr std::int64_t BoxColumns(const PF_SampPB& params) {
  const std::int64_t columns = params.radius_x > 0 ? (2 * std::int64_t{params.radius_x} + 65535) / 65536 + 1 : 1;
  return std::min<std::int64_t>(columns, std::max(params.src->width, 0));
}

// Columns summed at a time: in the fastest cache for usual boxes, and enough for several of any. A box
// across the end of a tile is summed again in the next.
constexpr std::int64_t TileColumns(const PF_SampPB& params) {
  return std::min<std::int64_t>(std::max<std::int64_t>(256, 8 * BoxColumns(params)), std::max(params.src->width, 0));
}

template <class Real>
struct AreaCache {
  using Columns = SampleColumns<Real>;

  std::byte* base;
  std::int64_t samples;

  AreaHead& head() const { return *reinterpret_cast<AreaHead*>(base); }
  Columns* columns() const { return reinterpret_cast<Columns*>(base + 64); }
  Real* sums() const { return reinterpret_cast<Real*>(base + 64 + ColumnBytes(samples)); }

  static constexpr std::int64_t ColumnBytes(std::int64_t n) {
    return (n * std::int64_t{sizeof(Columns)} + 63) / 64 * 64;
  }
  static std::int64_t Size(const PF_SampPB& params, std::int64_t n) { return 64 + ColumnBytes(n) + SumBytes(params); }
  // Small boxes read on behind the last column.
  static std::int64_t SumBytes(const PF_SampPB& params) {
    return ((TileColumns(params) + kSmallBox) * 4 * std::int64_t{sizeof(Real)} + 63) / 64 * 64;
  }
};

}  // namespace pf
