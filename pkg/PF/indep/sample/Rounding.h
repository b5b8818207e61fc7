// How a computed channel becomes a stored one, per depth.
#pragma once

#include <cstdint>
#include <limits>

#include "pixel/Depth.h"

namespace pf {

// Truncated and limited; NaN gives 0.
constexpr std::uint8_t TruncateTo8(float v) {
  if (v >= 255.0f) return 255;
  return v > 0.0f ? static_cast<std::uint8_t>(v) : std::uint8_t{0};
}

// Truncated to 32 bits, of which the low 16 are kept. Only a caller's own weights can leave 0..65535; NaN
// and what is beyond 32 bits give 0, the low half of 0x80000000.
constexpr std::uint16_t TruncateTo16(double v) {
  if (!(v > -2147483649.0 && v < 2147483648.0)) return 0;
  return static_cast<std::uint16_t>(static_cast<std::uint32_t>(static_cast<std::int32_t>(v)));
}

// A computed NaN is always this one, because which of two NaN operands survives an operation is the
// compiler's choice.
constexpr float StoredFloat(float v) { return v == v ? v : std::numeric_limits<float>::quiet_NaN(); }

}  // namespace pf
