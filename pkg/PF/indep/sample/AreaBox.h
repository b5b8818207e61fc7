// The box of an area sample along one axis: which pixels of the world it touches, and how much of each.
#pragma once

#include <algorithm>
#include <cstdint>

namespace pf {

// Pixels first..end-1 lie inside the world and the box. All but the first and the last are covered
// whole; weights count covered pixels, 0..1, and are multiples of 1/65536.
struct BoxSpan {
  std::int64_t first, end;
  double first_weight, last_weight;

  bool IsEmpty() const { return first >= end; }
  double WeightOf(std::int64_t i) const { return i == first ? first_weight : i == end - 1 ? last_weight : 1.0; }

  struct Range {
    std::int64_t begin, end;
  };
  // The pixels that are covered whole; at most one on either side is not.
  Range Whole() const {
    const std::int64_t begin = first_weight < 1.0 ? first + 1 : first;
    return {begin, begin < end && last_weight < 1.0 ? end - 1 : end};
  }
};

// Length of the box in pixels; a radius of 0 covers its position alone.
constexpr double BoxExtent(std::int32_t radius) {
  return radius > 0 ? static_cast<double>(2 * std::int64_t{radius}) / 65536.0 : 1.0;
}

// `centre` in 16.16 along an axis of `size` pixels.
constexpr BoxSpan SpanOf(std::int64_t centre, std::int32_t radius, std::int64_t size) {
  if (radius <= 0) {
    const std::int64_t i = (centre + 32768) >> 16;
    return i >= 0 && i < size ? BoxSpan{i, i + 1, 1.0, 1.0} : BoxSpan{0, 0, 0.0, 0.0};
  }
  const std::int64_t low = centre - radius, high = centre + radius;
  const auto overlap = [low, high](std::int64_t i) {
    const std::int64_t from = std::max(low, i * 65536 - 32768), to = std::min(high, i * 65536 + 32768);
    return static_cast<double>(to - from) / 65536.0;
  };
  const std::int64_t first = std::max<std::int64_t>((low + 32768) >> 16, 0);
  const std::int64_t end = std::min(((high + 32767) >> 16) + 1, size);
  return first < end ? BoxSpan{first, end, overlap(first), overlap(end - 1)} : BoxSpan{0, 0, 0.0, 0.0};
}

}  // namespace pf
