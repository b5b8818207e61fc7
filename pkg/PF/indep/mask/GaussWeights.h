// Weights of a bell as integers that add up exactly.
#pragma once

#include <cstdint>

#include "mask/MaskScanKernels.h"
#include "mask/ScanMath.h"
#include "report/HostMemory.h"

namespace pf {

// Weight i, for i up to the radius rounded up, is the bell at i / (radius + 1), divided by the sum of the
// weights of both sides and rounded to an integer on the scale of 2^bits. What rounding took from the sum is
// given to the centre.
class GaussWeights {
 public:
  // Throws 4 when memory is short.
  GaussWeights(double radius, int bits);

  std::int64_t radius() const { return radius_; }
  // For values of type T, for whose sums the weights were made.
  template <class T>
  WeightsOf<T> For() const {
    const auto* whole = reinterpret_cast<const double*>(block_.data());
    if constexpr (sizeof(T) == 2) {
      return whole;
    } else {
      const auto* high = reinterpret_cast<const std::int16_t*>(whole + radius_ + 1);
      return {high, high + radius_ + 2};
    }
  }

 private:
  std::int64_t radius_;
  HostBlock block_;
};

}  // namespace pf
