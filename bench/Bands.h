// Pictures laid onto pictures, for whoever works in place: bands of the second source are copied into the destination
// and laid on while they are in the cache. So every call finds the same destination; the copying does not count.
#pragma once

#include <algorithm>
#include <cstring>

#include "Picture.h"
#include "Timing.h"

namespace pfbench {

inline constexpr std::int32_t kBandRows = 32;

// lay(first row, rows) for each band after its copy.
template <class Lay>
void ForBands(const Picture& base, const Picture& dst, Lay lay) {
  for (std::int32_t y = 0; y < dst.height(); y += kBandRows) {
    const std::int32_t rows = std::min(kBandRows, dst.height() - y);
    {
      const Untimed copying;
      for (std::int32_t i = y; i < y + rows; ++i) std::memcpy(dst.row(i), base.row(i), dst.used_row_bytes());
    }
    lay(y, rows);
  }
}

}  // namespace pfbench
