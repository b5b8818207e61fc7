// The bell that every Gaussian weight comes from.
#pragma once

#include <cstdint>

#include "filter/Elementary.h"
#include "report/HostMemory.h"

namespace pf {

// 1 at 0, falling to about 0.0002 at 1, exactly 0 beyond. x is a distance divided by (radius + 1).
inline double BellValue(double x) { return x > 1 ? 0.0 : 1 - (1 - ExpOfNegative(-2.378 * (x * x))) * 1.102; }

inline constexpr double kLargestRadius = 32767;

// Largest radius whose weights are summed one by one; above it a series stands for the bell. The same everywhere, for
// results differ in their last bits.
inline constexpr std::int64_t kDirectReach = 12;

// How fine weights are: those of integer depths are whole numbers on this scale of 2^bits and add up to it, so that
// sums are exact in any order; 0: as fine as a double is.
inline constexpr int kBellBits8 = 24;
inline constexpr int kBellBits16 = 37;

// Weight i, for i up to the radius rounded up, is the bell at i / (radius + 1) divided by the sum of the weights of
// both sides. What rounding took from the sum is given to the centre.
class BellWeights {
 public:
  // Throws 4 when memory is short.
  BellWeights(double radius, int bits);

  std::int64_t reach() const { return reach_; }
  const double* values() const { return reinterpret_cast<const double*>(block_.data()); }

 private:
  std::int64_t reach_;
  HandleBlock block_;
};

}  // namespace pf
