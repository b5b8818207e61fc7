// Pictures that show what a blur promises exactly.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstring>

#include "support/Worlds.h"

namespace pftest {

// One colour for each row, of any size in float. In integer depths every alpha but 0 in turn; alpha is never 0.
inline void FillRowsWithOneColourEach(TestWorld& world, Random& random) {
  const auto fill = [&]<class P>(P) {
    using C = pf::ChannelOf<P>;
    for (std::int32_t y = 0; y < world.height(); ++y) {
      const auto channel = [&](int least) -> C {
        if constexpr (sizeof(C) == sizeof(float)) {
          const float unit = static_cast<float>(static_cast<std::int32_t>(random() >> 40) + least) * 0x1p-24f;
          return std::ldexp(unit, static_cast<int>(Between(random, -60, 40)));
        } else {
          return static_cast<C>(Between(random, least, pf::DepthTraits<P>::kFull));
        }
      };
      P p = {channel(1), channel(0), channel(0), channel(0)};
      if constexpr (sizeof(C) != sizeof(float)) p.alpha = static_cast<C>(y % pf::DepthTraits<P>::kFull + 1);
      std::fill_n(&world.At<P>(0, y), world.width(), p);
    }
  };
  pf::DispatchDepth(world.depth(), fill, [] {});
}

// Whether b is a with rows for columns, and making it so.
inline bool IsTurned(const TestWorld& a, const TestWorld& b) {
  const auto at = [](const TestWorld& world, std::int32_t x, std::int32_t y) {
    return world.Row(y) + static_cast<std::size_t>(x) * world.PixelSize();
  };
  for (std::int32_t y = 0; y < a.height(); ++y) {
    for (std::int32_t x = 0; x < a.width(); ++x) {
      if (std::memcmp(at(a, x, y), at(b, y, x), a.PixelSize()) != 0) return false;
    }
  }
  return true;
}
inline void Turn(const TestWorld& from, TestWorld& to) {
  for (std::int32_t y = 0; y < from.height(); ++y) {
    for (std::int32_t x = 0; x < from.width(); ++x) {
      std::memcpy(to.Row(x) + static_cast<std::size_t>(y) * to.PixelSize(),
                  from.Row(y) + static_cast<std::size_t>(x) * from.PixelSize(), from.PixelSize());
    }
  }
}

}  // namespace pftest
