// Tables between stored values and linear light by a curve that takes nothing but square roots, so that they are the
// same everywhere.
#pragma once

#include <cmath>
#include <cstdint>

#include "PF/PF_ColorSettings.h"

namespace selftest {

// x to the power of 2.25 and of 1 / 2.25, nearly: rounded operations in a fixed order.
inline PF_LinearBlendingTables LightTables() {
  PF_LinearBlendingTables tables = {};
  for (int k = 0; k < 256; ++k) {
    const double x = k / 255.0;
    tables.toLinear8[k] = static_cast<std::uint16_t>(32768 * (x * x * std::sqrt(std::sqrt(x))) + 0.5);
  }
  for (int m = 0; m <= 4096; ++m) {
    const double y = m / 4096.0, root = std::sqrt(y), quarter = std::sqrt(root);
    // The power 4/9 = 0.4444 by 7/16 = 0.4375.
    const double x = quarter * std::sqrt(quarter) * std::sqrt(std::sqrt(quarter));
    tables.fromLinear16[m] = static_cast<std::uint16_t>(32768 * x + 0.5);
  }
  tables.gamma = 2.25f;
  tables.inverseGamma = 1 / 2.25f;
  return tables;
}

}  // namespace selftest
