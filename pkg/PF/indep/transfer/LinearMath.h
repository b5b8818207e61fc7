// Look-ups in tables of linear light, and powers.
#pragma once

#include <algorithm>
#include <cstdint>

#include "PF/PF_ColorSettings.h"
#include "pixel/ConvertDepth.h"
#include "simd/PlainLanes.h"

namespace pf {
namespace plain {

#include "transfer/Power-body.h"

}  // namespace plain

// Linear light of a stored channel: an entry for 8 bits, between two entries for 16.
inline std::uint16_t ToLinear(const PF_LinearBlendingTables& tables, std::uint8_t v) { return tables.toLinear8[v]; }
inline std::uint16_t ToLinear(const PF_LinearBlendingTables& tables, std::uint16_t v) {
  const std::uint32_t place = std::min<std::uint32_t>(v, PF_MAX_CHAN16) * 255u;
  const auto i = place >> 15;
  const auto fraction = static_cast<std::int32_t>(place & 32767u);
  const std::int32_t low = tables.toLinear8[i];
  if (fraction == 0) return static_cast<std::uint16_t>(low);
  return static_cast<std::uint16_t>(low + ((fraction * (tables.toLinear8[i + 1] - low) + 16384) >> 15));
}

// Back to the 16-bit scale. QUIRK-40: linear 0 is 0, whatever the table begins with.
inline std::uint16_t FromLinear(const PF_LinearBlendingTables& tables, std::uint16_t v) {
  if (v == 0) return 0;
  const std::uint32_t limited = std::min<std::uint32_t>(v, PF_MAX_CHAN16);
  const auto i = limited >> 3;
  const auto fraction = static_cast<std::int32_t>(limited & 7u);
  const std::int32_t low = tables.fromLinear16[i];
  if (fraction == 0) return static_cast<std::uint16_t>(low);
  return static_cast<std::uint16_t>(low + ((fraction * (tables.fromLinear16[i + 1] - low) + 4) >> 3));
}

// v^exponent with the sign of v; exponent 1 changes nothing.
inline float Power(float v, float exponent) {
  if (exponent == 1.0f) return v;
  return static_cast<float>(plain::SignedPower(double{v}, double{exponent}));
}

}  // namespace pf
