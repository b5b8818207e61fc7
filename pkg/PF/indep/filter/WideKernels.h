// Kernels that blur values of planes in double precision where they lie, without the detour of lanes; the bits are
// those of the lanes.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pf {

// Values of a row that are widened and blurred together.
inline constexpr std::int64_t kWideTile = 128;
// Results, one after the other, of a bell that are found at once.
inline constexpr std::int64_t kWideRows = 4;

// Weights of a bell: the centre's, and those of both samples i away.
struct WideWeights {
  const double* values;
  std::int64_t reach;
};

// Samples of lines: `step` bytes from one to the next, `apart` bytes from a line to the next one.
template <class T>
struct WidePlace {
  T* at;
  std::int64_t step, apart;
};

// Lines under boxes, in place or elsewhere.
struct BoxLines {
  double* sums;    // BoxSums of them
  float* samples;  // kBoxRow for each sample of a window, for lines side by side
  WidePlace<const float> in;
  WidePlace<float> out;
  std::int64_t length, reach;
  bool transparent;
  double scale;
};
inline constexpr std::int64_t kBoxRow = 64;
// Samples of lines side by side whose sums are there at once.
inline constexpr std::int64_t kBoxPart = 32;
constexpr std::int64_t BoxSums(std::int64_t window, bool side_by_side) {
  return side_by_side ? (kBoxPart + window / kBoxPart + 1) * kBoxRow : window * 2 * 4;
}

// n is a multiple of 4.
template <class T>
struct WideBellKernels {
  // n values; those at `ahead` are fetched.
  void (*widen)(const T* in, std::int64_t n, double* out, const T* ahead);
  // The same for a piece of a row that columns cross: the nearest cache has few places for rows below each other.
  void (*widen_crossing)(const T* in, std::int64_t n, double* out, const T* ahead);
  // rows[i] and the 2 reach rows behind it make row i of results, n values of it, for all i < kWideRows.
  void (*across)(const double* const* rows, const WideWeights& weights, T* const* out, std::int64_t n);
  // n pixels of four values that stand behind each other; `in` is the first one of the first result's reach.
  void (*along)(const double* in, const WideWeights& weights, T* out, std::int64_t n);
};

struct WideKernels {
  WideBellKernels<std::uint16_t> bell16;
  WideBellKernels<float> bell_float;
  // Of n lines side by side, a multiple of 4; `apart` is not looked at.
  void (*box_columns)(const BoxLines& lines, std::int64_t n);
  // Of 1 or 2 rows of pixels. `streams`: past the caches where they lie so that this can be; all are there after
  // `settle`.
  void (*box_rows)(const BoxLines& lines, std::int64_t n, bool streams);
  void (*settle)();

  template <class T>
  const WideBellKernels<T>& Bell() const {
    if constexpr (sizeof(T) == 2) {
      return bell16;
    } else {
      return bell_float;
    }
  }
};

// Plain C++: the reference.
extern const WideKernels kPortableWideKernels;
// The widest target that is allowed.
const WideKernels& VectorWideKernels();

}  // namespace pf
