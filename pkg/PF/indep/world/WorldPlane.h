// Worlds as planes, and the rectangles of planes.
#pragma once

#include <algorithm>
#include <cstdint>

#include "PF/PF_Worlds.h"
#include "pixel/Plane.h"

namespace pf {

template <class P>
Plane<P> PlaneOf(const PF_World& world) {
  return {static_cast<std::byte*>(world.data), world.row_bytes, world.width, world.height};
}

// The part of a plane inside `rect`; an empty plane when there is none.
template <class P>
Plane<P> Clip(const Plane<P>& plane, const M_LRect& rect) {
  const std::int64_t left = std::max<std::int64_t>(rect.left, 0);
  const std::int64_t top = std::max<std::int64_t>(rect.top, 0);
  const std::int64_t width = std::min<std::int64_t>(rect.right, plane.width) - left;
  const std::int64_t height = std::min<std::int64_t>(rect.bottom, plane.height) - top;
  if (width <= 0 || height <= 0) return {};
  return {reinterpret_cast<std::byte*>(plane.At(left, top)), plane.stride, width, height};
}

// The whole plane for a null rectangle. A shrunk world may have a negative size.
template <class P>
Plane<P> Clip(const Plane<P>& plane, const M_LRect* rect) {
  if (rect != nullptr) return Clip(plane, *rect);
  return plane.width > 0 && plane.height > 0 ? plane : Plane<P>{};
}

}  // namespace pf
