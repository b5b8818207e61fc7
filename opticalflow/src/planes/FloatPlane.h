// Planes of floats with room around them.
#pragma once

#include <algorithm>
#include <cstdint>

#include "multiprocess/Workspace.h"

namespace pf {

// What lies left and right of a row: vectors may read and write there.
inline constexpr std::int32_t kRim = 16;

struct FloatPlane {
  float* at;  // (0, 0), aligned to 64 bytes, as every row is
  std::int64_t stride;
  std::int32_t width, height;

  float* Row(std::int64_t y) const { return at + y * stride; }
  float* ClampedRow(std::int64_t y) const { return Row(std::clamp<std::int64_t>(y, 0, height - 1)); }
};

// Two components of a motion.
struct FlowPlanes {
  FloatPlane u, v;
};

// `rim` columns and, where `rim_rows` is not 0, so many rows on each side.
inline FloatPlane NewPlane(Workspace& workspace, std::int32_t width, std::int32_t height, std::int32_t rim = kRim,
                           std::int32_t rim_rows = 0) {
  const std::int64_t margin = (rim + 15) / 16 * 16;
  const std::int64_t stride = (width + 15) / 16 * 16 + 2 * margin;
  float* memory = workspace.Take<float>(stride * (std::int64_t{height} + 2 * rim_rows));
  return {memory + rim_rows * stride + margin, stride, width, height};
}

inline FlowPlanes NewFlow(Workspace& workspace, std::int32_t width, std::int32_t height) {
  return {NewPlane(workspace, width, height), NewPlane(workspace, width, height)};
}

// Repeats the ends of a row into `n` columns beside it.
inline void FinishRow(float* row, std::int32_t width, std::int32_t n = 2) {
  std::fill(row - n, row, row[0]);
  std::fill(row + width, row + width + n, row[width - 1]);
}

}  // namespace pf
