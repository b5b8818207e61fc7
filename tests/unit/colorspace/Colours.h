// Colours to convert: all of 8 bits, and random ones of the other depths.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>

#include "PF/PF_ColorSpaces.h"
#include "support/Worlds.h"

namespace pftest {

// All 2^24 in a release build, a lattice of 52^3 in the slow ones.
template <class F>
void ForEveryColour8(F f) {
#ifdef NDEBUG
  constexpr int kStep = 1;
#else
  constexpr int kStep = 5;
#endif
  for (int r = 0; r < 256; r += kStep) {
    for (int g = 0; g < 256; g += kStep) {
      for (int b = 0; b < 256; b += kStep) {
        f(PF_Pixel8{255, static_cast<std::uint8_t>(r), static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(b)});
      }
    }
  }
}

// Neighbours, ends and ties are as frequent as anything else. `top` is the largest channel.
inline PF_Pixel16 AnyColour16(Random& random, std::int64_t top = 32768) {
  const auto any = [&] { return Between(random, 0, top); };
  const std::int64_t base = any();
  const auto channel = [&] {
    const std::int64_t kinds[] = {any(), any(), base, base + Between(random, -2, 2), 0, top, top / 2};
    return static_cast<std::uint16_t>(std::clamp<std::int64_t>(kinds[random() % 7], 0, top));
  };
  return {channel(), channel(), channel(), channel()};
}

// 0..1, every fourth in -4..4.
inline PF_PixelFloat AnyColourFloat(Random& random) {
  const bool wide = random() % 4 == 0;
  const auto channel = [&] {
    const double unit = static_cast<double>(Between(random, 0, 1 << 24)) / (1 << 24);
    return static_cast<float>(wide ? 8 * unit - 4 : unit);
  };
  return {channel(), channel(), channel(), channel()};
}

// Max, min and their kin, and the hue as a fraction of a turn; T holds them exactly.
template <class T>
struct Parts {
  template <class P>
  explicit Parts(const P& p) : Parts(T{p.red}, T{p.green}, T{p.blue}) {}
  Parts(T r, T g, T b)
      : delta(std::max({r, g, b}) - std::min({r, g, b})), sum(std::max({r, g, b}) + std::min({r, g, b})) {
    const T max = std::max({r, g, b});
    turn = delta == 0 ? 1 : 6 * delta;
    place = r == max ? g - b : g == max ? b - r + 2 * delta : r - g + 4 * delta;
    if (place < 0) place += turn;
  }
  T delta, sum, place, turn;
};
using WholeParts = Parts<std::int64_t>;

// What one of the functions gives.
template <class P, class Out>
Out Given(PF_Err (*function)(void*, const P*, Out*), const P& pixel) {
  Out out{};
  EXPECT_EQ(function(nullptr, &pixel, &out), 0);
  return out;
}

template <class P>
std::string ToString(const P& p) {
  return std::to_string(p.red) + " " + std::to_string(p.green) + " " + std::to_string(p.blue);
}

}  // namespace pftest
