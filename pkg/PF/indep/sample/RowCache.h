// What a bilinear row kernel keeps in its scratch between rows: two source rows in planes, their blend
// along the row where that can be shared, and how the alphas of the pair compare.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#include "sample/SampleKernels.h"
#include "sample/SampleSource.h"

namespace pf {

// The columns that a row of samples reads: element m of a plane is column `first` + m, zero outside the
// world. Block m is the square of elements m and m + 1 in two rows.
struct ColumnWindow {
  std::int64_t first, count;
};

constexpr ColumnWindow WindowOf(std::int64_t x0, std::int64_t step_x, std::int64_t n) {
  const std::int64_t first = WholePart(x0);
  return {first, WholePart(x0 + (n - 1) * step_x) - first + 2};
}

// Vectors of samples reach at most as many columns as they have lanes.
constexpr bool RowsOnVectors(std::int64_t step_x, std::int64_t n) { return n > 0 && step_x > 0 && step_x <= 65536; }

// How the alphas of the blocks in one tile of columns compare.
enum class AlphaClass : std::uint8_t {
  kMixed,
  kDiffering,  // not equal in any block
  kEqual,      // equal in every block, so all over the tile, and above 0
  kClear       // every block is all zero bits
};
inline constexpr std::int64_t kTileBlocks = 32;

// Whole vectors may be read and written this far beyond the end of an array.
inline constexpr std::int64_t kLanesSlack = 32;

// What is kept of a held row for all rows of samples that share it.
enum class RowForm : std::int32_t { kNone, kWeighed, kSpread, kPairs, kScaled, kFixed, kBytes };

// Where things stand in the scratch. The head comes first; all zero means that nothing is held.
struct RowCache {
  struct Head {
    std::int64_t held[2];     // by parity of the row: row + 1, kOutside, or 0 for nothing
    RowForm form[2][2];       // [parity][with alpha]: the RowForm in which the held row is shared
    std::int64_t classified;  // upper row of the classified pair + 2, or 0
    float alpha[2];           // by parity: that of all held pixels in the world, if the same and above 0; else 0
    std::int64_t asked_for;   // the last row that was asked for as a whole
    bool shares_equal, shares_differing;  // whether these classes have enough tiles of the classified pair
    bool all_equal;                       // one alpha above 0 in both rows of it
    bool all_differing;                   // no block of it has equal alphas
    bool within_full[2];                  // by parity: no 16-bit colour in the row is above full
  };
  static constexpr std::int64_t kOutside = -1;

  std::byte* base;
  std::int64_t column_bytes;   // of a column of a source row, all planes
  std::int64_t plane_stride;   // elements per plane
  std::int64_t spread_stride;  // reals per plane of a spread row
  std::int64_t spread_bytes;   // of one spread row of four planes

  static constexpr std::int64_t RoundUp(std::int64_t count) { return (count + kLanesSlack + 15) / 16 * 16; }

  // `real_size` 0: rows are not spread.
  constexpr RowCache(std::byte* scratch, std::int64_t columns, std::int64_t held_bytes, std::int64_t n,
                     std::int64_t real_size)
      : base(scratch),
        column_bytes(held_bytes),
        plane_stride(RoundUp(columns)),
        spread_stride(RoundUp(n)),
        spread_bytes(4 * spread_stride * real_size) {}

  Head& head() const { return *reinterpret_cast<Head*>(base); }
  template <class Element>
  Element* planes(std::int64_t slot) const {
    return reinterpret_cast<Element*>(base + 64 + slot * PlaneBytes());
  }
  template <class Real>
  Real* spread(std::int64_t slot, bool with_alpha) const {
    return reinterpret_cast<Real*>(base + 64 + 2 * PlaneBytes() + (2 * slot + (with_alpha ? 1 : 0)) * spread_bytes);
  }
  AlphaClass* classes() const { return reinterpret_cast<AlphaClass*>(base + 64 + 2 * PlaneBytes() + 4 * spread_bytes); }
  constexpr std::int64_t PlaneBytes() const { return column_bytes * plane_stride; }
  constexpr std::int64_t Size() const {
    return (64 + 2 * PlaneBytes() + 4 * spread_bytes + plane_stride / kTileBlocks + 64) / 64 * 64;
  }
};
static_assert(sizeof(RowCache::Head) <= 64);

// Fraction bits, 0..16, that the positions from `position` on in steps of `step` use.
constexpr int FractionBits(std::int64_t position, std::int64_t step) {
  return 16 - std::countr_zero(static_cast<std::uint64_t>(position | step | 65536));
}

}  // namespace pf
