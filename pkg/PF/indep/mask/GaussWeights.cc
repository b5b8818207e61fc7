#include "mask/GaussWeights.h"

#include <cmath>

#include "filter/Bell.h"

namespace pf {
namespace {

// Bells at 0..n - 1 to weights.
void Fill(double radius, int bits, double* weights, std::int64_t n) {
  double sum = weights[0] = BellValue(0);
  for (std::int64_t i = 1; i < n; ++i) {
    weights[i] = BellValue(static_cast<double>(i) / (radius + 1));
    sum += 2 * weights[i];
  }
  const double total = std::ldexp(1.0, bits);
  double sides = 0;
  for (std::int64_t i = 1; i < n; ++i) {
    weights[i] = std::trunc(weights[i] / sum * total + 0.5);
    sides += 2 * weights[i];
  }
  weights[0] = total - sides;
}

void SplitAll(const double* weights, std::int64_t n, std::int16_t* high, std::int16_t* low) {
  for (std::int64_t i = 0; i < n; ++i) {
    const auto weight = static_cast<std::int32_t>(weights[i]);
    high[i] = static_cast<std::int16_t>(weight >> 12);
    low[i] = static_cast<std::int16_t>(weight & 4095);
  }
  high[n] = low[n] = 0;
}

}  // namespace

GaussWeights::GaussWeights(double radius, int bits)
    : radius_(static_cast<std::int64_t>(std::ceil(radius))),
      block_(static_cast<std::uint64_t>(8 * (radius_ + 1) + 4 * (radius_ + 2)), Message::kGaussianWeights) {
  auto* weights = reinterpret_cast<double*>(block_.data());
  Fill(radius, bits, weights, radius_ + 1);
  if (bits != kGaussBits8) return;
  auto* high = reinterpret_cast<std::int16_t*>(weights + radius_ + 1);
  SplitAll(weights, radius_ + 1, high, high + radius_ + 2);
}

}  // namespace pf
