#include "brush.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "PF/PF_Paint.h"
#include "mask.h"

namespace pftool {
namespace {

bool IsBar(const Brush& brush) { return (brush.shape & PF_SpotShape_BAR) != 0; }
bool IsVertical(const Brush& brush) { return (brush.shape & PF_SpotShape_VERTICAL) != 0; }

std::uint32_t Coverage(double v) { return static_cast<std::uint32_t>(std::clamp(v, 0.0, 1.0) * 255 + 0.5); }

std::size_t Count(int size) { return static_cast<std::size_t>(size) * static_cast<std::size_t>(size); }

}  // namespace

int Brush::HalfWidth() const { return IsBar(*this) && IsVertical(*this) ? 0 : size / 2; }
int Brush::HalfHeight() const { return IsBar(*this) && !IsVertical(*this) ? 0 : size / 2; }

Brush DiskBrush(int size, double hardness) {
  Brush brush = {0, size, std::vector<std::uint32_t>(Count(size))};
  const double radius = size / 2.0, half = size / 2;
  const double edge = std::max(1.0, radius * (1 - hardness));  // width of the fall, in pixels
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      const double distance = std::hypot(x - half, y - half);
      const double v = (radius + 0.5 - distance) / edge;
      brush.coverage[static_cast<std::size_t>(y) * static_cast<std::size_t>(size) + static_cast<std::size_t>(x)] =
          Coverage(v);
    }
  }
  return brush;
}

Brush SquareBrush(int size) { return {0, size, std::vector<std::uint32_t>(Count(size), 255)}; }

Brush BarBrush(int size, bool vertical) {
  return {PF_SpotShape_BAR | (vertical ? PF_SpotShape_VERTICAL : 0u), size,
          std::vector<std::uint32_t>(static_cast<std::size_t>(size), 255)};
}

Brush PictureBrush(const InputName& input, Reporter* reporter) {
  const MaskRead read = ReadMask(input, {Channel::kAuto, 16}, reporter);
  const PF_UnoBuffer& mask = *read.mask;
  const int size = std::max(mask.width, mask.height) | 1;
  if (size > kLargestBrush) {
    throw Failure(ExitCode::kBadData, "cannot use the brush", QuotedInput(input.name),
                  fmt::format("it has {} x {} pixels and {} are the most", mask.width, mask.height, kLargestBrush),
                  "make it smaller with 'pf scale'");
  }
  Brush brush = {0, size, std::vector<std::uint32_t>(Count(size))};
  const int left = (size - mask.width) / 2, top = (size - mask.height) / 2;
  for (int y = 0; y < mask.height; ++y) {
    for (int x = 0; x < mask.width; ++x) {
      const std::size_t from =
          static_cast<std::size_t>(y) * static_cast<std::size_t>(mask.width) + static_cast<std::size_t>(x);
      const std::size_t to =
          static_cast<std::size_t>(y + top) * static_cast<std::size_t>(size) + static_cast<std::size_t>(x + left);
      const double v = mask.depth == 8 ? static_cast<const std::uint8_t*>(*mask.data)[from] / 255.0
                                       : static_cast<const std::uint16_t*>(*mask.data)[from] / 32768.0;
      brush.coverage[to] = Coverage(v);
    }
  }
  return brush;
}

Brush Weakened(Brush brush, double opacity) {
  for (std::uint32_t& v : brush.coverage) v = Coverage(v / 255.0 * opacity);
  return brush;
}

}  // namespace pftool
