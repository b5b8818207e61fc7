// Dabs and lines restated pixel by pixel.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "PF/PF_Paint.h"

namespace pftest {

inline std::uint8_t ReferenceMix(std::uint8_t old, std::uint8_t colour, std::uint32_t coverage) {
  const double m = coverage;  // all sums are exact
  return static_cast<std::uint8_t>(std::clamp(std::trunc((old * (255 - m) + colour * m) / 255), 0.0, 255.0));
}

// Walks the whole mask. Positions must not leave 16 bits.
inline void ReferenceSpot(std::int64_t x, std::int64_t y, std::uint32_t shape, std::int64_t size,
                          const std::uint32_t* mask, std::uint32_t colour, const PF_LayerDef& world) {
  const bool bar = (shape & 1) != 0, vertical = (shape & 32) != 0;
  const std::int64_t columns = bar && vertical ? 1 : size, rows = bar && !vertical ? 1 : size;
  const std::int64_t left = x - columns / 2, top = y - rows / 2;
  const auto c = std::bit_cast<std::array<std::uint8_t, 4>>(colour);
  for (std::int64_t j = 0; j < rows; ++j) {
    for (std::int64_t i = 0; i < columns; ++i) {
      if (top + j < 0 || top + j >= world.height || left + i < 0 || left + i >= world.width) continue;
      const std::int64_t row = top + j + 3 * std::max<std::int64_t>(-top, 0);
      if (row >= world.height) continue;
      auto* pixel = static_cast<std::uint8_t*>(world.data) + row * world.row_bytes + (left + i) * 4;
      for (std::size_t k = 0; k < 4; ++k) pixel[k] = ReferenceMix(pixel[k], c[k], mask[j * columns + i]);
    }
  }
}

struct LinePixel {
  std::int64_t x, y;
  bool operator==(const LinePixel&) const = default;
};

// Every pixel from end to end that is inside width x height, step by step.
inline std::vector<LinePixel> ReferenceLine(M_Vector2T<double> start, M_Vector2T<double> end, std::int64_t width,
                                            std::int64_t height) {
  const auto fixed = [](double v) { return static_cast<std::int64_t>(std::trunc(v * 65536 + (v < 0 ? -0.5 : 0.5))); };
  std::vector<LinePixel> pixels;
  const auto add = [&](std::int64_t x, std::int64_t y) {
    if (x >= 0 && x < width && y >= 0 && y < height) pixels.push_back({x, y});
  };
  const double dx = end.h - start.h, dy = end.v - start.v;
  std::int64_t x = fixed(start.h), y = fixed(start.v);
  if (std::abs(dx) < 1e-12 && std::abs(dy) < 1e-12) {
    add((x + 32768) >> 16, (y + 32768) >> 16);
    return pixels;
  }
  const bool along_x = std::abs(dy) < std::abs(dx);
  std::int64_t& major = along_x ? x : y;
  std::int64_t& minor = along_x ? y : x;
  std::int64_t step = 65536, slope = fixed(along_x ? dy / dx : dx / dy);
  const std::int64_t aligned = (major + 32768) >> 16 << 16;
  minor += ((slope * (aligned - major)) >> 16) + 32768;
  major = aligned;
  std::int64_t n = static_cast<std::int64_t>(std::trunc((along_x ? end.h : end.v) + 0.5)) - (major >> 16);
  if (n < 0) {
    n = -n;
    step = -step;
    slope = -slope;
  }
  for (; n >= 0; --n, major += step, minor += slope) add(x >> 16, y >> 16);
  return pixels;
}

}  // namespace pftest
