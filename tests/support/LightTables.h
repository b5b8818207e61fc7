// Tables between stored values and linear light by a formula, without a colour engine.
#pragma once

#include <cmath>
#include <cstdint>

#include "PF/PF_ColorSettings.h"

namespace pftest {

inline PF_LinearBlendingTables LightTables(double gamma) {
  PF_LinearBlendingTables tables = {};
  for (int k = 0; k < 256; ++k) {
    tables.toLinear8[k] = static_cast<std::uint16_t>(std::lround(32768 * std::pow(k / 255.0, gamma)));
  }
  for (int m = 0; m <= 4096; ++m) {
    tables.fromLinear16[m] = static_cast<std::uint16_t>(std::lround(32768 * std::pow(m / 4096.0, 1 / gamma)));
  }
  tables.gamma = static_cast<float>(gamma);
  tables.inverseGamma = static_cast<float>(1 / gamma);
  return tables;
}

}  // namespace pftest
