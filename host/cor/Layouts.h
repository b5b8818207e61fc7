// The layouts that the engine reads and writes.
#pragma once

#include <cstdint>

#include "cor/Lcms.h"

namespace pfhost {

enum LayoutIndex { kEight, kSixteen, kFloat, kLayouts };

struct LayoutTraits {
  XCE_Layout code;
  cmsUInt32Number format;
  std::uint64_t pixel_bytes;
};
inline constexpr LayoutTraits kTraits[kLayouts] = {
    {XCE_Layout_8, TYPE_ARGB_8, 4}, {XCE_Layout_16, kFormat16, 8}, {XCE_Layout_FLOAT, TYPE_ARGB_FLT, 16}};

inline LayoutIndex IndexOf(XCE_Layout code) {
  for (const LayoutIndex index : {kEight, kSixteen, kFloat}) {
    if (kTraits[index].code == code) return index;
  }
  Fail(XCE_ERR_BAD_PARAMETER);
}

// Limits to 0..1; NaN becomes 0.
inline float Limited(float v) { return v > 0 ? (v < 1 ? v : 1.0f) : 0.0f; }

}  // namespace pfhost
