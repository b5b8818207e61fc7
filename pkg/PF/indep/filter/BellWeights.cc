#include <cmath>

#include "filter/Bell.h"

namespace pf {

BellWeights::BellWeights(double radius, int bits)
    : reach_(static_cast<std::int64_t>(std::ceil(radius))),
      block_(static_cast<std::uint64_t>(8 * (reach_ + 1)), Message::kGaussianWeights) {
  auto* weights = reinterpret_cast<double*>(block_.data());
  double sum = weights[0] = BellValue(0);
  for (std::int64_t i = 1; i <= reach_; ++i) {
    weights[i] = BellValue(static_cast<double>(i) / (radius + 1));
    sum += 2 * weights[i];
  }
  const double total = std::ldexp(1.0, bits);
  double sides = 0;
  for (std::int64_t i = 1; i <= reach_; ++i) {
    weights[i] /= sum;
    if (bits != 0) weights[i] = std::trunc(weights[i] * total + 0.5) / total;
    sides += 2 * weights[i];
  }
  weights[0] = 1 - sides;
}

}  // namespace pf
