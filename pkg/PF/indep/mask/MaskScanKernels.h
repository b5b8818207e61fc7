// Kernels of the blurs along one direction. All sums are exact integers, whatever carries them.
#pragma once

#include <cstdint>
#include <type_traits>

#include "mask/BoxDivider.h"

namespace pf {

// A run of results and the values around it. Tap i of a result lies i * step values before and behind the
// one it replaces; on a side where `before` or `behind` is less than the radius the rest counts as 0.
template <class T>
struct GaussRun {
  const T* centre;
  T* out;  // does not overlap what is read
  std::int64_t n;
  std::int64_t step;
  std::int64_t before, behind;
};

// Weight i is 4096 high[i] + low[i], 0 <= low < 4096, in units of 2^-24. One entry follows the last weight.
struct SplitWeights {
  const std::int16_t* high;
  const std::int16_t* low;
};

// What a bell is weighted with; 16 bits: integers in units of 2^-37. Sums stay below 2^53.
template <class T>
using WeightsOf = std::conditional_t<sizeof(T) == 1, SplitWeights, const double*>;

template <class T>
struct ScanKernels {
  void (*gauss)(const GaussRun<T>& run, const WeightsOf<T>& weights);
  // Along columns: to each of n sums the value that enters is added and the value that leaves is
  // subtracted, then the mean is written.
  void (*slide)(std::uint32_t* sums, const T* entering, const T* leaving, T* out, std::int64_t n,
                const BoxDivider& divider);
  // Along a row: n means of the values from x - reach to x + reach. `line` is followed by `reach` and preceded
  // by reach + 1 zeros.
  void (*box)(const T* line, T* out, std::int64_t n, std::int64_t reach, const BoxDivider& divider);
};

struct MaskScanKernels {
  ScanKernels<std::uint8_t> of8;
  ScanKernels<std::uint16_t> of16;

  template <class T>
  const ScanKernels<T>& Of() const {
    if constexpr (sizeof(T) == 1) {
      return of8;
    } else {
      return of16;
    }
  }
};

// Plain C++: the reference.
extern const MaskScanKernels kPortableMaskScanKernels;
// The widest target that is allowed.
const MaskScanKernels& VectorMaskScanKernels();

}  // namespace pf
