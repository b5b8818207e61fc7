// Pictures that the benchmark works on: memory of its own with a world record over it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "PF/PF_Types.h"

namespace pfbench {

struct Size {
  std::int32_t width;
  std::int32_t height;
};

// Bytes that start at a multiple of 64.
class AlignedBytes {
 public:
  explicit AlignedBytes(std::size_t size);
  std::byte* data() const { return data_.get(); }
  std::size_t size() const { return size_; }

 private:
  struct Free {
    void operator()(std::byte* block) const;
  };
  std::size_t size_;
  std::unique_ptr<std::byte, Free> data_;
};

// ARGB pixels of depth 8, 16 or 32. Rows start at multiples of 64 bytes, as the pickiest peer wants it.
class Picture {
 public:
  Picture(Size size, std::int32_t depth);
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  Size size() const { return {record_.width, record_.height}; }
  std::int32_t width() const { return record_.width; }
  std::int32_t height() const { return record_.height; }
  std::int32_t depth() const { return depth_; }
  std::int32_t row_bytes() const { return record_.row_bytes; }
  // Bytes of pixels in a row, and in the picture: the padding left out.
  std::size_t used_row_bytes() const {
    return static_cast<std::size_t>(width()) * static_cast<std::size_t>(depth_) / 2;
  }
  std::size_t bytes() const { return used_row_bytes() * static_cast<std::size_t>(height()); }
  // Row y as channels of type C.
  template <class C = std::byte>
  C* row(std::int32_t y) const {
    return reinterpret_cast<C*>(memory_.data() + std::ptrdiff_t{y} * row_bytes());
  }
  PF_LayerDef* record() { return &record_; }

  // Every byte, padding too.
  void FillBytes(int value);
  // The same noise for the same size and depth: colour over the whole range, alpha likewise or full.
  void FillNoise(bool opaque);
  // Colour times alpha, so that the pixels are premultiplied ones.
  void Premultiply();
  // Compares pixels, not padding.
  bool SamePixels(const Picture& other) const;
  // Makes the picture upside down the second source.
  void MakeSecond();

  std::unique_ptr<Picture> second;  // of tasks that have two sources, else null

 private:
  std::int32_t depth_;
  AlignedBytes memory_;
  PF_LayerDef record_;
};

// The value of white in a depth.
constexpr double FullValue(std::int32_t depth) { return depth == 8 ? 255.0 : depth == 16 ? 32768.0 : 1.0; }

// Calls f with a value of the channel type of a depth.
template <class F>
void WithChannel(std::int32_t depth, F f) {
  if (depth == 8) return f(std::uint8_t{});
  if (depth == 16) return f(std::uint16_t{});
  f(float{});
}

}  // namespace pfbench
