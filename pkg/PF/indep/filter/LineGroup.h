// Lines of a plane of values, eight lanes at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "filter/LaneKernels.h"

namespace pf {

// `count` lines of `length` samples. A sample is one value, or a pixel of four, `step` bytes from the next one on its
// line and `pitch` bytes from its neighbour on the next line.
struct LinePlane {
  std::byte* base;
  std::int64_t step, pitch;
  std::int64_t length, count;
  int channels;  // 1 or 4

  // The plane of rows of `width` samples, seen as rows or as columns.
  static LinePlane Of(void* base, std::int64_t row_bytes, std::int64_t width, std::int64_t height,
                      std::int64_t value_size, int channels, bool columns) {
    const std::int64_t size = value_size * channels;
    auto* bytes = static_cast<std::byte*>(base);
    if (columns) return {bytes, row_bytes, size, height, width, channels};
    return {bytes, size, row_bytes, width, height, channels};
  }
  // Lines that share the lanes.
  std::int64_t group() const { return kLanes / channels; }
  // Whether lines stand side by side, values of `value_size` bytes.
  bool Across(std::int64_t value_size) const { return pitch == channels * value_size; }
  template <class T>
  T* At(std::int64_t line, std::int64_t i) const {
    return reinterpret_cast<T*>(base + line * pitch + i * step);
  }
};

// The lines from `first` on, as many as share the lanes, and their lanes. Lanes without a line are 0.
template <class T>
class LineGroup {
 public:
  LineGroup(const BlurKernels& kernels, const LinePlane& plane, std::int64_t first)
      : values_(kernels.Of<T>()),
        plane_(plane),
        first_(first),
        lines_(std::min(plane.group(), plane.count - first)),
        size_(static_cast<std::int64_t>(sizeof(T))) {}

  std::int64_t lines() const { return lines_; }
  // Samples begin..begin + n - 1 of the lines, to and from `lanes` on.
  // Groups beside this one only where lines stand side by side.
  void Load(std::int64_t begin, std::int64_t n, double* lanes, Beside beside = {}) const {
    if (Across()) return values_.load_across(At(0, begin), plane_.step, n, lanes, beside);
    if (!Along()) return LoadEach(begin, n, lanes);
    if (lines_ < plane_.group()) std::fill_n(lanes, kLanes * n, 0.0);
    for (std::int64_t line = 0; line < lines_; ++line) values_.load_along(At(line, begin), n, lanes + 4 * line);
  }

  // `streams`: past the caches where that can be; Settle comes after the last one.
  void Store(std::int64_t begin, std::int64_t n, const double* lanes, bool streams = false, Beside beside = {}) const {
    if (Across()) return values_.store_across(lanes, n, At(0, begin), plane_.step, beside);
    if (!Along()) return StoreEach(begin, n, lanes);
    const auto store = streams ? values_.stream_along : values_.store_along;
    for (std::int64_t line = 0; line < lines_; ++line) store(lanes + 4 * line, n, At(line, begin));
  }
  void Settle() const { values_.settle(); }

  // Samples as they are, to a block that is laid out like lanes.
  void CopyOut(std::int64_t begin, std::int64_t n, T* block) const {
    ForSamples(begin, n, block, [&](T* to, const T* from) { std::memcpy(to, from, SampleBytes()); });
  }
  // Of pixels: `count` channels from channel `first` on.
  void CopyIn(std::int64_t begin, std::int64_t n, const T* block, int first, std::size_t count) const {
    ForSamples(begin, n, block,
               [&](const T* from, T* to) { std::memcpy(to + first, from + first, count * sizeof(T)); });
  }

 private:
  T* At(std::int64_t line, std::int64_t i) const { return plane_.template At<T>(first_ + line, i); }
  bool Across() const { return lines_ == plane_.group() && plane_.Across(size_); }
  bool Along() const { return plane_.channels == 4 && plane_.step == 4 * size_; }

  // Values that do not stand as in lanes, by way of a block of them that do. Calls f(sample in the block, sample of the
  // plane).
  template <class Value, class F>
  void ForSamples(std::int64_t begin, std::int64_t n, Value* block, const F& f) const {
    for (std::int64_t line = 0; line < lines_; ++line) {
      std::byte* at = reinterpret_cast<std::byte*>(At(line, begin));
      Value* in_block = block + line * plane_.channels;
      for (std::int64_t i = 0; i < n; ++i, at += plane_.step) f(in_block + kLanes * i, reinterpret_cast<T*>(at));
    }
  }
  std::size_t SampleBytes() const { return static_cast<std::size_t>(plane_.channels) * sizeof(T); }
  static void CopyValue(const T* from, T* to) { *to = *from; }
  static void CopyPixel(const T* from, T* to) { std::memcpy(to, from, 4 * sizeof(T)); }

  static constexpr std::int64_t kBlock = 64;

  void LoadEach(std::int64_t begin, std::int64_t n, double* lanes) const {
    T block[kBlock * kLanes] = {};
    for (std::int64_t i = 0; i < n; i += kBlock) {
      const std::int64_t count = std::min(kBlock, n - i);
      if (plane_.channels == 1) ForSamples(begin + i, count, block, [](T* to, const T* from) { CopyValue(from, to); });
      if (plane_.channels == 4) ForSamples(begin + i, count, block, [](T* to, const T* from) { CopyPixel(from, to); });
      values_.load_across(block, kLanes * size_, count, lanes + kLanes * i, {});
    }
  }
  void StoreEach(std::int64_t begin, std::int64_t n, const double* lanes) const {
    T block[kBlock * kLanes];
    for (std::int64_t i = 0; i < n; i += kBlock) {
      const std::int64_t count = std::min(kBlock, n - i);
      values_.store_across(lanes + kLanes * i, count, block, kLanes * size_, {});
      if (plane_.channels == 1) ForSamples(begin + i, count, block, [](const T* from, T* to) { CopyValue(from, to); });
      if (plane_.channels == 4) ForSamples(begin + i, count, block, [](const T* from, T* to) { CopyPixel(from, to); });
    }
  }

  const LaneValueKernels<T>& values_;
  const LinePlane& plane_;
  std::int64_t first_, lines_, size_;
};

}  // namespace pf
