// Blurs of whole numbers along the lines of a plane, exact and without a detour.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Types.h"
#include "iterate/ForRows.h"

namespace pf {

// Rows of `width` pixels of 1 or 4 values of 8 or 16 bits, and where their blur goes: onto themselves, or elsewhere.
struct BlurredPlane {
  const std::byte* src;
  std::int64_t src_row_bytes;
  std::byte* dst;
  std::int64_t dst_row_bytes;
  std::int64_t width, height;
  int channels;
  std::int64_t pixel_bytes;  // channels * size of a value
  bool columns;              // lines are columns
  bool transparent;          // beyond the ends of a line there is nothing, instead of its end pixels
  const PF_ProgressInfo* progress;
  RowReports reports;

  bool in_place() const { return src == dst; }
  std::int64_t width_bytes() const { return width * pixel_bytes; }
  std::int64_t lines() const { return columns ? width : height; }
};

// The means of the 2 span + 1 pixels around each, rounded to nearest; 16 bits limited to full. One iteration for each
// line. Throws 4 when memory is short.
template <class T>
PF_Err BlurByBox(const BlurredPlane& plane, std::int64_t span);

// The bell of a radius above 0 and up to kDirectReach at 8 bits. Weights are whole multiples of 2^-24.
PF_Err BlurByBell(const BlurredPlane& plane, double radius);

}  // namespace pf
