// Frames of known content and motion, and what is made between them.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>

#include "PF/PF_FrameBlending.h"
#include "PF/PF_Worlds.h"
#include "selftest/Depth.h"
#include "selftest/Worlds.h"

namespace selftest {

// Alpha, red, green, blue; full is 1.
using Colour = std::array<double, 4>;

// Smooth random values, 0..1, `scale` pixels from one to the next.
inline double Noise(double x, double y, double scale, std::uint32_t seed) {
  x /= scale, y /= scale;
  const double left = std::floor(x), top = std::floor(y);
  const auto at = [&](int i, int j) {
    std::uint32_t h =
        seed * 0x9E3779B1u + static_cast<std::uint32_t>(static_cast<std::int32_t>(left) + i) * 0x85EBCA77u;
    h = (h ^ h >> 15) * 0x2C1B3C6Du + static_cast<std::uint32_t>(static_cast<std::int32_t>(top) + j) * 0xC2B2AE3Du;
    h = (h ^ h >> 13) * 0x297A2D39u;
    return static_cast<double>(h ^ h >> 16) * 0x1p-32;
  };
  const auto bend = [](double t) { return t * t * (3 - 2 * t); };
  const double a = bend(x - left), b = bend(y - top);
  const double upper = at(0, 0) + (at(1, 0) - at(0, 0)) * a, lower = at(0, 1) + (at(1, 1) - at(0, 1)) * a;
  return upper + (lower - upper) * b;
}

// An opaque picture that looks different everywhere.
inline Colour Texture(double x, double y, std::uint32_t seed = 1) {
  Colour colour = {1};
  for (std::uint32_t c = 1; c < 4; ++c) {
    colour[c] = 0.1 + 0.5 * Noise(x, y, 11, seed + c) + 0.3 * Noise(x, y, 5, seed + 7);
  }
  return colour;
}

// A background that moves by 2 pixels, and an upright dark wire, one pixel wide, that crosses it by 20 and is at `left`
// at first. Patches stay with the background.
inline Colour WireAt(double x, double y, double time, double left, double top, double bottom) {
  if (y >= top && y < bottom && std::abs(x - left - 20 * time) < 0.5) return {1, 0.02, 0.03, 0.02};
  Colour c = Texture(x - 2 * time, y);
  for (std::size_t i = 1; i < 4; ++i) c[i] = 0.2 + 0.3 * c[i];
  return c;
}

// Pixels, and a world object on them.
class Frame : public TestWorld {
 public:
  Frame(std::int32_t frame_depth, std::int32_t frame_width, std::int32_t frame_height, std::int32_t gap = 16)
      : TestWorld(frame_depth, frame_width, frame_height, gap), world_(PF_World::NewReference(record())) {}

  // Null when the host had no memory for it.
  PF_World* world() const { return world_.get(); }

  // Every pixel from draw(x, y).
  template <class Draw>
  void Paint(const Draw& draw) {
    for (std::int32_t y = 0; y < height(); ++y) {
      for (std::int32_t x = 0; x < width(); ++x) Set(x, y, draw(x, y));
    }
  }
  void Set(std::int32_t x, std::int32_t y, const Colour& c) {
    const auto set = [&]<class P>(P) {
      const auto channel = [](double v) {
        if constexpr (sizeof(P) == 16) return static_cast<float>(v);
        constexpr auto kFull = static_cast<double>(DepthTraits<P>::kFull);
        return static_cast<ChannelOf<P>>(std::floor(std::fmin(std::fmax(v, 0), 1) * kFull + 0.5));
      };
      At<P>(x, y) = {channel(c[0]), channel(c[1]), channel(c[2]), channel(c[3])};
    };
    WithDepth(depth(), set);
  }
  Colour Get(std::int32_t x, std::int32_t y) const {
    const auto get = [&]<class P>(P) {
      const P& p = At<P>(x, y);
      const auto unit = [](auto v) { return static_cast<double>(v) / static_cast<double>(DepthTraits<P>::kFull); };
      return Colour{unit(p.alpha), unit(p.red), unit(p.green), unit(p.blue)};
    };
    return WithDepth(depth(), get);
  }

 private:
  std::unique_ptr<PF_World> world_;
};

// The defaults, at a time.
inline PF_AdvancedFrameBlending BlendingAt(float time, const PF_Tavros_InterruptFuncs& interrupt = {}) {
  PF_Tavros_OtherParams other = {};
  other.numbers[0] = time;
  other.flag = 1;
  return {other, interrupt};
}

}  // namespace selftest
