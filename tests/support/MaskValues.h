// Masks for tests: the host's memory behind them ends right at the last value.
#pragma once

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "PF/PF_Masks.h"
#include "support/Worlds.h"

namespace pftest {

// Edges of the scale and of the type for a third of the values, anything else for the rest.
template <class T>
T AnyValue(Random& random) {
  const std::uint64_t bits = random();
  if constexpr (std::is_same_v<T, float>) {
    constexpr float kEdges[] = {0.0f, -0.0f, 1.0f, 0.5f, 1.5f, -1.5f, 1e-40f, 3e38f, -INFINITY, INFINITY, NAN, 1e-30f};
    if (bits % 3 == 0) return kEdges[bits / 3 % std::size(kEdges)];
    return static_cast<float>(bits >> 40) * 0x1p-24f;
  } else {
    constexpr std::uint16_t kEdges[] = {0, 1, 127, 128, 254, 255, 16383, 16384, 32767, 32768, 32769, 65535};
    if (bits % 3 == 0) return static_cast<T>(kEdges[bits / 3 % std::size(kEdges)]);
    return static_cast<T>(sizeof(T) == 1 ? bits >> 32 : (bits >> 32) % 32769);
  }
}

// A mask object whose values are read and written where they are at the moment.
struct ValueMask : PF_UnoBuffer {
  using PF_UnoBuffer::PF_UnoBuffer;

  template <class T>
  T* Values() const {
    return static_cast<T*>(*data);
  }
  template <class T>
  T& At(std::int32_t x, std::int32_t y) const {
    return Values<T>()[std::int64_t{y} * width + x];
  }
  std::size_t Count() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(height); }
  template <class T>
  std::vector<T> Copy() const {
    return {Values<T>(), Values<T>() + Count()};
  }
  void FillRandom(Random& random) const {
    for (std::size_t i = 0; i < Count(); ++i) {
      if (depth == 8) Values<std::uint8_t>()[i] = AnyValue<std::uint8_t>(random);
      if (depth == 16) Values<std::uint16_t>()[i] = AnyValue<std::uint16_t>(random);
      if (depth == 32) Values<float>()[i] = AnyValue<float>(random);
    }
  }
  // Every byte, as far as the size of a value is known.
  std::vector<std::byte> Bytes() const {
    const auto* first = static_cast<const std::byte*>(*data);
    return {first, first + Count() * static_cast<std::size_t>(depth / 8)};
  }
};

}  // namespace pftest
