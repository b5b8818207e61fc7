// Copies between worlds with conversion of depth.
#pragma once

#include <cstdint>

#include "PF/PF_Worlds.h"

namespace pf {

// Where a rectangle of one world lands in another, clipped to both.
struct CopyArea {
  std::int64_t src_x, src_y;
  std::int64_t dst_x, dst_y;
  std::int64_t width, height;  // not positive when nothing is to be copied
};
CopyArea ClipCopy(const PF_World& src, const M_LRect& rect, const PF_World& dst, std::int64_t x, std::int64_t y);

struct CopyOptions {
  bool dither = false;
  const PF_ProgressInfo* progress = nullptr;
};

// Copies an area that lies in both worlds, as if through a temporary when the worlds share pixels. Both
// depths are known ones. Throws the code of a progress or abort function, and 4 when a temporary is needed
// and cannot be had.
void CopyPixels(const PF_World& src, const PF_World& dst, const CopyArea& area, const CopyOptions& options = {});

// The same for every second row of the area, from its first.
void CopySecondRows(const PF_World& src, const PF_World& dst, const CopyArea& area);

}  // namespace pf
