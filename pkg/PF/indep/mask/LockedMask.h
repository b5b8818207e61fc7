// A mask that is being worked on.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Masks.h"

namespace pf {

// Bytes that a value takes: a depth of 0 counts as 16 and a depth of 1 as 8 (QUIRK-21). 0 for impossible
// depths.
constexpr std::int32_t ValueBytes(std::int32_t depth) {
  return depth == 0 ? 2 : depth == 1 ? 1 : depth > 0 ? depth / 8 : 0;
}

constexpr bool IsSound(const PF_UnoBuffer& mask) { return mask.magic == PF_UnoBuffer_MAGIC && mask.data != nullptr; }

// Tells the host of a damaged record, with or without a text. Returns 3.
PF_Err FailDamagedMask(std::int32_t line = __builtin_LINE());

// Reports a damaged record and goes on; throws 3 when going on would need what is missing. Masks are
// checked, all that a call is given, before the first is locked.
void CheckMask(const PF_UnoBuffer* mask);

// Keeps a checked mask's values at one address.
class LockedMask {
 public:
  explicit LockedMask(const PF_UnoBuffer* mask);
  ~LockedMask();
  LockedMask(const LockedMask&) = delete;
  LockedMask& operator=(const LockedMask&) = delete;

  std::int64_t width() const { return width_; }
  std::int64_t height() const { return height_; }
  std::int32_t depth() const { return depth_; }
  std::int64_t stride() const { return width_ * ValueBytes(depth_); }
  // Value (x, y), whose size is that of the depth.
  std::byte* At(std::int64_t x, std::int64_t y) const { return base_ + (y * width_ + x) * ValueBytes(depth_); }
  template <class T>
  T* Row(std::int64_t y) const {
    return reinterpret_cast<T*>(At(0, y));
  }

 private:
  U_Handle handle_;
  std::byte* base_;
  std::int64_t width_, height_;
  std::int32_t depth_;
};

}  // namespace pf
