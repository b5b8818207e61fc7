// Kernels of blurs in whole numbers. All sums are exact, whatever carries them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "filter/BoxDivider.h"

namespace pf {

// Weight i is 4096 high[i] + low[i], 0 <= low < 4096, in units of 2^-24. A 0 follows the last weight.
struct SplitWeights {
  const std::int16_t* high;
  const std::int16_t* low;
  std::int64_t reach;
};

// Sums along columns take four bytes for each value, rounded up to so many values, in an order of their kernels.
inline constexpr std::int64_t kSumsBlock = 64;

// Rows whose memory will be read and written soon: fetched while others are worked on. They may lie anywhere.
struct RowsAhead {
  const std::byte* in;
  const std::byte* out;
};

// Rows that slide together: sums stay in registers from one to the next.
inline constexpr std::int64_t kSlideRows = 8;

// A row enters the sums of n columns, another one leaves them; and so on for the next rows, in this order at every
// column: what one row keeps, or overwrites, may enter or leave with a later one.
template <class T>
struct BoxSlide {
  struct Row {
    const T *entering, *leaving;
    T* out;
    T* kept;  // takes what `out` holds before, first of all; null in all rows or in none
    RowsAhead ahead;
  };

  std::uint32_t* sums;
  std::int64_t n;
  std::int64_t rows;
  Row row[kSlideRows];
};

// Results of a row, one after the other: n values whose windows are those of the values before with `entering` added
// and `leaving` taken away. n is a multiple of kRowBlock, but for the last piece.
template <class T>
struct BoxPiece {
  const T *entering, *leaving;
  std::int64_t n;
};
inline constexpr std::int64_t kRowBlock = 64;

// The window before the first one holds n_first values from `first` on and, besides, `more` of four channels: without
// channels four times the same. `out` overlaps no piece; it may overlap `first`.
template <class T>
struct BoxRow {
  const T* first;
  std::int64_t n_first;
  const std::uint32_t* more;
  BoxPiece<T> pieces[3];
  T* out;
  RowsAhead ahead;
};

template <class T>
struct BoxKernels {
  // Along columns: sums of nothing; a row added so many times; after all of these once, to what slides; the means when
  // one more row has entered and left, and again.
  void (*start)(std::uint32_t* sums, std::int64_t n, const BoxDivider& divider);
  void (*add)(std::uint32_t* sums, const T* row, std::uint32_t times, std::int64_t n, const BoxDivider& divider);
  void (*begin)(std::uint32_t* sums, std::int64_t n, const BoxDivider& divider);
  void (*slide)(const BoxSlide<T>& slide, const BoxDivider& divider);
  // Along a row of values, and of pixels of four.
  void (*row)(const BoxRow<T>& row, const BoxDivider& divider);
  void (*row_of_pixels)(const BoxRow<T>& row, const BoxDivider& divider);
};

struct PlaneKernels {
  BoxKernels<std::uint8_t> of8;
  BoxKernels<std::uint16_t> of16;
  // out[x] = sum of weight[|i - reach|] * taps[i][x], i in 0..2 reach, for n values. `out` overlaps no tap.
  void (*bell)(const std::uint8_t* const* taps, const SplitWeights& weights, std::uint8_t* out, std::int64_t n,
               const RowsAhead& ahead);

  template <class T>
  const BoxKernels<T>& Of() const {
    if constexpr (sizeof(T) == 1) {
      return of8;
    } else {
      return of16;
    }
  }
};

// Plain C++: the reference.
extern const PlaneKernels kPortablePlaneKernels;
// The widest target that is allowed.
const PlaneKernels& VectorPlaneKernels();

}  // namespace pf
