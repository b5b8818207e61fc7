// Shared by the tests of frame blending: pairs of frames with known motion, and what is made of them.
#pragma once

#include <cmath>
#include <functional>

#include "support/Frames.h"
#include "support/LibraryTest.h"

namespace pftest {

using Change = std::function<void(PF_Tavros_AlgoParams&)>;
using Vectors = boost::shared_ptr<PF_TavrosCache_Stuff>;

inline void RenderInto(
    Frame& out, const Frame& a, const Frame& b, PF_AdvancedFrameBlending blending,
    const Change& change = [](PF_Tavros_AlgoParams&) {}) {
  change(blending.algoParams);
  ASSERT_EQ(blending.Render(a.world(), b.world(), out.world()), 0) << Host().ReportTexts();
  ASSERT_TRUE(out.GapsUntouched());
}

inline Vectors VectorsOf(
    const Frame& a, const Frame& b, const Change& change = [](PF_Tavros_AlgoParams&) {},
    PF_AdvancedFrameBlending blending = BlendingAt(0.5f)) {
  change(blending.algoParams);
  Vectors found;
  EXPECT_EQ(blending.FindVectors(a.world(), b.world(), &found), 0) << Host().ReportTexts();
  return found;
}

// How far the vectors of one direction are from expected(x, y), on average and off the borders.
template <class Expected>
double MissOf(const PF_TavrosCache_Stuff& vectors, const Expected& expected) {
  double sum = 0;
  std::int64_t count = 0;
  for (std::int32_t y = 6; y < vectors.Height() - 6; ++y) {
    for (std::int32_t x = 8; x < vectors.Width() - 8; ++x, ++count) {
      const PF_MotionVector v = vectors.Vector(PF_MotionDirection_FORWARD, x, y), wanted = expected(x, y);
      sum += std::hypot(v.x - wanted.x, v.y - wanted.y);
    }
  }
  return sum / static_cast<double>(count);
}
inline double MissOf(const PF_TavrosCache_Stuff& vectors, float x, float y) {
  return MissOf(vectors, [=](std::int32_t, std::int32_t) { return PF_MotionVector{x, y}; });
}

// Two frames of a picture that moves by (dx, dy) as a whole.
struct Moved {
  Moved(std::int32_t depth, double dx, double dy, std::int32_t width = 96, std::int32_t height = 72)
      : previous(depth, width, height), next(depth, width, height, 4 * depth), out(depth, width, height), x(dx), y(dy) {
    PaintAt(0, previous);
    PaintAt(1, next);
  }
  void PaintAt(double time, Frame& frame) const {
    frame.Paint([&](int px, int py) { return Texture(px - time * x, py - time * y); });
  }
  Frame previous, next, out;
  double x, y;
};

// Two squares, one of them fast, before a background that moves the other way: something of everything.
struct Scene {
  explicit Scene(std::int32_t depth = 8) : previous(depth, 112, 84), next(depth, 112, 84), out(depth, 112, 84) {
    Paint(0, previous);
    Paint(1, next);
  }
  void Paint(double t, Frame& frame) const {
    frame.Paint([&](int x, int y) {
      const auto inside = [&](double left, double top) {
        return x >= left && x < left + 24 && y >= top && y < top + 24;
      };
      const double first = 20 + 9 * t, second = 70 - 14 * t;
      if (inside(first, 30)) return Texture(x - first, y - 30, 90);
      if (inside(second, 20)) return Texture(x - second, y - 20, 130);
      return Texture(x + 3 * t, y - 2 * t);
    });
  }
  Frame previous, next, out;
};

}  // namespace pftest
