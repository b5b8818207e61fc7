// What a bilinear row kernel keeps in its scratch between rows: two source rows, unpacked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "sample/SampleKernels.h"
#include "sample/SampleSource.h"

namespace pf {

// The columns that a row of samples reads: element m of a plane is column `first` + m, zero outside the
// world.
struct ColumnWindow {
  std::int64_t first, count;
};

constexpr ColumnWindow WindowOf(std::int64_t x0, std::int64_t step_x, std::int64_t n) {
  const std::int64_t first = WholePart(x0);
  return {first, WholePart(x0 + (n - 1) * step_x) - first + 2};
}

// The head of the scratch. All zero means that nothing is held.
struct RowCacheHead {
  std::int64_t held[2];     // by parity of the row: row + 1, kOutsideRow, or 0 for nothing
  std::int64_t classified;  // row + 2 of the upper row of the pair that pair_class describes, or 0
  std::int64_t pair_class;  // AlphaPair
};
static_assert(sizeof(RowCacheHead) <= 64);

inline constexpr std::int64_t kOutsideRow = -1;

// How the alphas of the blocks between two source rows compare.
enum class AlphaPair : std::int64_t { kMixed, kNoBlockEqual, kAllOpaque };

// Floats per plane: the window, and what whole vectors read beyond it.
constexpr std::int64_t PlaneStride(std::int64_t count, std::int64_t lanes) {
  return (count + 2 * lanes + 15) / 16 * 16;
}

}  // namespace pf
