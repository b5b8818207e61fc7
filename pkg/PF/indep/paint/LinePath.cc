#include "paint/LinePath.h"

#include <algorithm>
#include <cmath>

namespace pf {
namespace {

// Positions up to here, and their distances times a slope of one, stay within 64 bits.
constexpr double kFarthestStart = 0x1p44;
constexpr double kNoLength = 1e-12;
constexpr std::int64_t kHalf = 32768, kOne = 65536;

// Half away from zero.
std::int64_t RoundedFixed(double v) { return static_cast<std::int64_t>(v * 65536.0 + std::copysign(0.5, v)); }

// QUIRK-33: the end is rounded unlike the start. What is limited here lies beyond any world.
std::int64_t EndPixel(double v) { return static_cast<std::int64_t>(std::clamp(v + 0.5, -0x1p60, 0x1p60)); }

struct Axis {
  double start, end, distance;
};

// Half the distance when the whole leaves the range of numbers; only the ratio of both axes counts then.
void MeasureDistances(Axis& x, Axis& y) {
  x.distance = x.end - x.start;
  y.distance = y.end - y.start;
  if (std::isfinite(x.distance) && std::isfinite(y.distance)) return;
  x.distance = x.end / 2 - x.start / 2;
  y.distance = y.end / 2 - y.start / 2;
}

LinePath PointPath(const Axis& x, const Axis& y) {
  const std::int64_t at_x = (RoundedFixed(x.start) + kHalf) >> 16;
  return {true, at_x, 1, RoundedFixed(y.start) + kHalf, 0, 0, 0};
}

LinePath SteppedPath(bool along_x, const Axis& major, const Axis& minor) {
  const std::int64_t start = RoundedFixed(major.start);
  const std::int64_t aligned = (start + kHalf) & ~(kOne - 1);
  std::int64_t slope = RoundedFixed(minor.distance / major.distance);
  const std::int64_t position = RoundedFixed(minor.start) + ((slope * (aligned - start)) >> 16) + kHalf;
  std::int64_t last = EndPixel(major.end) - (aligned >> 16);
  std::int64_t direction = 1;
  if (last < 0) {
    last = -last;
    direction = -1;
    slope = -slope;
  }
  return {along_x, aligned >> 16, direction, position, slope, 0, last};
}

// Keeps the pixels from 0 to size - 1 along the longer axis.
void ClipMajor(LinePath& path, std::int64_t size) {
  const std::int64_t to_low = -path.major, to_high = size - 1 - path.major;
  path.first = std::max(path.first, path.direction > 0 ? to_low : -to_high);
  path.last = std::min(path.last, path.direction > 0 ? to_high : -to_low);
}

}  // namespace

std::optional<LinePath> PathOf(const M_Vector2T<double>& start, const M_Vector2T<double>& end, std::int64_t width,
                               std::int64_t height) {
  Axis x = {start.h, end.h, 0}, y = {start.v, end.v, 0};
  MeasureDistances(x, y);
  const bool point = std::abs(x.distance) < kNoLength && std::abs(y.distance) < kNoLength;
  const bool along_x = point || std::abs(y.distance) < std::abs(x.distance);
  Axis& major = along_x ? x : y;
  Axis& minor = along_x ? y : x;
  if (std::abs(major.start) > kFarthestStart) {
    if (point) return std::nullopt;
    const double nearer = std::copysign(kFarthestStart, major.start);
    const double ratio = minor.distance / major.distance;
    // In this order: beside the far start, the nearer one would be lost.
    minor.start = minor.start - major.start * ratio + nearer * ratio;
    major.start = nearer;
  }
  // From here the line would reach rows and columns of a world only beyond them.
  if (!(std::abs(minor.start) <= 2 * kFarthestStart)) return std::nullopt;

  LinePath path = point ? PointPath(x, y) : SteppedPath(along_x, major, minor);
  ClipMajor(path, along_x ? width : height);
  return path.first <= path.last ? std::optional(path) : std::nullopt;
}

}  // namespace pf
