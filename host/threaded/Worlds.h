// What can be told about world records without a report.
#pragma once

#include <algorithm>
#include <cstdint>

#include "PF/PF_Worlds.h"

namespace pfhost {

inline bool HasPixels(const PF_LayerDef* world) { return world != nullptr && world->data != nullptr; }

// Depth of a record, by the library's rule; 0 where the library would report an unknown one.
inline std::int32_t KnownDepth(const PF_LayerDef& world) {
  if (world.world_object != nullptr) {
    const std::int32_t depth = world.world_object->Depth();
    return depth == 8 || depth == 16 || depth == 32 ? depth : 0;
  }
  const std::uint32_t format = world.world_flags >> PF_WorldFlag_FORMAT_SHIFT;
  return format <= 2 ? 8 << format : 0;
}

// A rectangle in coordinates wide enough for any offset.
struct WideRect {
  std::int64_t left, top, right, bottom;

  std::int64_t Rows() const { return std::max<std::int64_t>(bottom - top, 0); }
  std::int64_t Columns() const { return std::max<std::int64_t>(right - left, 0); }
  std::int64_t Pixels() const { return Rows() * Columns(); }
};

inline WideRect Clip(const WideRect& a, const WideRect& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}

// `rect`, or the whole world when there is none.
inline WideRect RectOrWorld(const M_LRect* rect, const PF_LayerDef& world) {
  if (rect == nullptr) return {0, 0, world.width, world.height};
  return {rect->left, rect->top, rect->right, rect->bottom};
}

}  // namespace pfhost
