// Frames of known content and motion, how far they are from each other, and questions that are counted.
#pragma once

#include <cmath>
#include <cstdint>

#include "selftest/Frames.h"
#include "support/Worlds.h"

namespace pftest {

using selftest::BlendingAt;
using selftest::Colour;
using selftest::Frame;
using selftest::Noise;
using selftest::Texture;
using selftest::WireAt;

// The largest and the mean difference of colour and alpha, `border` pixels left out on all sides.
struct Distance {
  double largest, mean;
};
inline Distance DistanceOf(const Frame& a, const Frame& b, std::int32_t border = 0) {
  Distance distance = {0, 0};
  std::int64_t count = 0;
  for (std::int32_t y = border; y < a.height() - border; ++y) {
    for (std::int32_t x = border; x < a.width() - border; ++x, count += 4) {
      const Colour p = a.Get(x, y), q = b.Get(x, y);
      for (std::size_t c = 0; c < 4; ++c) {
        const double difference = std::abs(p[c] - q[c]);
        distance.largest = std::fmax(distance.largest, difference);
        distance.mean += difference;
      }
    }
  }
  distance.mean /= static_cast<double>(count);
  return distance;
}

// Counts how often it is asked; stops at one number.
struct InterruptPolls {
  int asked = 0;
  int stop_at = -1;

  PF_Tavros_InterruptFuncs Functions() {
    return {[](void* self) -> std::int32_t {
              auto& polls = *static_cast<InterruptPolls*>(self);
              return polls.asked++ == polls.stop_at ? 1 : 0;
            },
            this};
  }
};

}  // namespace pftest
