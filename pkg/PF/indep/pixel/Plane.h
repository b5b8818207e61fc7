// A view of rows of pixels; offsets are 64-bit because y * stride leaves 32 bits in large worlds.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Types.h"

namespace pf {

template <class P>
struct Plane {
  std::byte* base = nullptr;
  std::int64_t stride = 0;
  std::int64_t width = 0;
  std::int64_t height = 0;

  P* Row(std::int64_t y) const { return reinterpret_cast<P*>(base + y * stride); }
  P* At(std::int64_t x, std::int64_t y) const { return Row(y) + x; }
};

template <class P>
Plane<P> PlaneOf(const PF_LayerDef& record) {
  return {static_cast<std::byte*>(record.data), record.row_bytes, record.width, record.height};
}

}  // namespace pf
