// Where a rectangle of one mask lands in another.
#pragma once

#include <algorithm>
#include <cstdint>

#include "PF/PF_Masks.h"

namespace pf {

// A rectangle in two masks at once, inside both unless it is empty.
struct MaskArea {
  std::int64_t src_x, src_y;
  std::int64_t dst_x, dst_y;
  std::int64_t width, height;

  bool Empty() const { return width <= 0 || height <= 0; }
};

struct MaskInterval {
  std::int64_t src, dst, size;
};

// One direction: [from, to) of a source of src_size whose `from` comes to lie at `at` of dst_size values.
constexpr MaskInterval ClipInterval(std::int64_t from, std::int64_t to, std::int64_t src_size, std::int64_t at,
                                    std::int64_t dst_size) {
  const std::int64_t offset = at - from;  // source to destination
  const std::int64_t begin = std::max({from, std::int64_t{0}, -offset});
  const std::int64_t end = std::min({to, src_size, dst_size - offset});
  return {begin, begin + offset, end - begin};
}

// `rect` of the source, whose top left corner comes to lie at `at`, clipped to both.
inline MaskArea ClipMasks(const PF_UnoBuffer& src, const M_LRect& rect, const M_LPoint& at, const PF_UnoBuffer& dst) {
  const MaskInterval h = ClipInterval(rect.left, rect.right, src.width, at.h, dst.width);
  const MaskInterval v = ClipInterval(rect.top, rect.bottom, src.height, at.v, dst.height);
  return {h.src, v.src, h.dst, v.dst, h.size, v.size};
}

}  // namespace pf
