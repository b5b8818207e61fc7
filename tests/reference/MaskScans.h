// Blurs of masks along one direction: all taps of each value, in whole numbers.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "reference/Conversion.h"
#include "support/TestMask.h"

namespace pftest {

// Weights from the centre outwards, on the scale of 2^bits.
inline std::vector<std::int64_t> ReferenceBell(float radius, int bits) {
  const auto reach = static_cast<std::int64_t>(std::ceil(static_cast<double>(radius)));
  const auto bell = [&](std::int64_t i) {
    const double x = static_cast<double>(i) / (static_cast<double>(radius) + 1.0);
    return x > 1 ? 0.0 : 1.0 - (1.0 - std::exp(-2.378 * (x * x))) * 1.102;
  };
  double sum = bell(0);
  for (std::int64_t i = 1; i <= reach; ++i) sum += 2 * bell(i);
  const std::int64_t total = std::int64_t{1} << bits;
  std::vector<std::int64_t> weights = {total};
  for (std::int64_t i = 1; i <= reach; ++i) {
    weights.push_back(static_cast<std::int64_t>(bell(i) / sum * static_cast<double>(total) + 0.5));
    weights[0] -= 2 * weights.back();
  }
  return weights;
}

// All of the box's weights are 1 when `box`; the total is then their number.
inline std::vector<double> ReferenceScan(const TestMask& src, float radius, bool box, bool along_rows) {
  const int bits = src.depth() == 8 ? 24 : 37;
  std::vector<std::int64_t> weights = {1};
  std::int64_t total = 1;
  if (box) {
    weights.assign(static_cast<std::size_t>(static_cast<double>(radius) + 0.5) + 1, 1);
    total = 2 * static_cast<std::int64_t>(weights.size()) - 1;
  } else if (radius > 0) {
    weights = ReferenceBell(radius, bits);
    total = std::int64_t{1} << bits;
  }
  std::vector<double> out;
  for (std::int64_t y = 0; y < src.height(); ++y) {
    for (std::int64_t x = 0; x < src.width(); ++x) {
      if (weights.size() == 1) {
        out.push_back(src.Get(x, y));
        continue;
      }
      const std::int64_t at = along_rows ? x : y, size = along_rows ? src.width() : src.height();
      std::int64_t sum = 0;
      const auto reach = static_cast<std::int64_t>(weights.size()) - 1;
      for (std::int64_t k = std::max<std::int64_t>(at - reach, 0); k <= std::min(at + reach, size - 1); ++k) {
        const double v = along_rows ? src.Get(k, y) : src.Get(x, k);
        sum += static_cast<std::int64_t>(v) * weights[static_cast<std::size_t>(std::abs(k - at))];
      }
      const auto mean = static_cast<double>(Nearest(sum, total, Half::kUp));
      out.push_back(std::min(mean, src.Full()));
    }
  }
  return out;
}

}  // namespace pftest
