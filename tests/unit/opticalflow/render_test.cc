// After: times that are off, pictures that are moved the wrong way or by the wrong part, results that depend on how
// rows lie or on which world receives them, parameters that do nothing.
#include <cmath>
#include <functional>
#include <limits>
#include <string>

#include "PF/PF_Blend.h"
#include "support/Frames.h"
#include "support/LibraryTest.h"

namespace {

using pftest::BlendingAt;
using pftest::Colour;
using pftest::DistanceOf;
using pftest::Frame;
using pftest::Host;
using pftest::Random;
using pftest::Texture;
using Algo = PF_Tavros_AlgoParams;
using Change = std::function<void(Algo&)>;
using Vectors = boost::shared_ptr<PF_TavrosCache_Stuff>;

class FrameBlending : public pftest::LibraryTest {};

void RenderInto(
    Frame& out, const Frame& a, const Frame& b, PF_AdvancedFrameBlending blending,
    const Change& change = [](Algo&) {}) {
  change(blending.algoParams);
  ASSERT_EQ(blending.Render(a.world(), b.world(), out.world()), 0) << Host().ReportTexts();
  ASSERT_TRUE(out.GapsUntouched());
}

Vectors VectorsOf(
    const Frame& a, const Frame& b, const Change& change = [](Algo&) {}) {
  PF_AdvancedFrameBlending blending = BlendingAt(0.5f);
  change(blending.algoParams);
  Vectors found;
  EXPECT_EQ(blending.FindVectors(a.world(), b.world(), &found), 0) << Host().ReportTexts();
  return found;
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

TEST_F(FrameBlending, TimesAreLimitedAndOneHalfWhereThereIsNone) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInfinity = std::numeric_limits<float>::infinity();
  Frame previous(32, 21, 18), next(32, 21, 18), out(32, 21, 18), half(32, 21, 18);
  Random random(1);
  previous.Fill(random, pftest::TestWorld::kEdges);
  next.Fill(random, pftest::TestWorld::kEdges);
  RenderInto(half, previous, next, BlendingAt(0.5f));
  EXPECT_FALSE(half.SamePixels(previous) || half.SamePixels(next));
  PF_Tavros_OtherParams unset = {};
  unset.numbers[0] = 1;
  RenderInto(out, previous, next, {unset, {}});
  EXPECT_TRUE(out.SamePixels(half)) << "a time that is not set";
  for (const float time : {kNaN, kInfinity, -kInfinity}) {
    RenderInto(out, previous, next, BlendingAt(time));
    EXPECT_TRUE(out.SamePixels(half)) << time;
  }
  // Whatever bits the frames hold.
  previous.Fill(random, pftest::TestWorld::kRawBits);
  next.Fill(random, pftest::TestWorld::kRawBits);
  for (const float time : {0.0f, -0.0f, -3.0f, 1.0f, 7.0f}) {
    for (const std::int16_t mode : {std::int16_t{0}, std::int16_t{2}}) {
      RenderInto(out, previous, next, BlendingAt(time), [&](Algo& algo) { algo.mode = mode; });
      EXPECT_EQ(out.FirstDifference(time >= 1 ? next : previous), "") << time << ", mode " << mode;
    }
  }
  EXPECT_EQ(Host().filed.size(), 1u) << "only between the frames is motion needed";
}

TEST_F(FrameBlending, EqualFramesGiveThatFrame) {
  for (const std::int32_t depth : {8, 16, 32}) {
    Frame a(depth, 19, 23, 0), b(depth, 19, 23, 48), out(depth, 19, 23);
    Random random(2), again(2);
    a.Fill(random, pftest::TestWorld::kRawBits);
    b.Fill(again, pftest::TestWorld::kRawBits);
    RenderInto(out, a, b, BlendingAt(0.3f));
    EXPECT_EQ(out.FirstDifference(a), "");
  }
  EXPECT_TRUE(Host().filed.empty());
}

TEST_F(FrameBlending, WhereRowsLieAndWhoReceivesThemChangesNothing) {
  const std::int32_t sizes[][2] = {{1, 1}, {1, 7}, {7, 1}, {2, 2}, {9, 3}, {17, 5}, {33, 64}, {50, 41}};
  for (const auto& [width, height] : sizes) {
    for (const std::int32_t depth : {8, 16, 32}) {
      SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height) + ", depth " + std::to_string(depth));
      Frame a(depth, width, height, 0), b(depth, width, height, 80), out(depth, width, height);
      Random random(3), again(3);
      a.Fill(random, pftest::TestWorld::kRandom);
      b.Fill(random, pftest::TestWorld::kSparse);
      RenderInto(out, a, b, BlendingAt(0.4f));
      Frame a2(depth, width, height, 32), b2(depth, width, height, 0);
      a2.Fill(again, pftest::TestWorld::kRandom);
      b2.Fill(again, pftest::TestWorld::kSparse);
      Host().filed.clear();
      RenderInto(a2, a2, b2, BlendingAt(0.4f));
      EXPECT_EQ(a2.FirstDifference(out), "") << "into the previous frame";
      RenderInto(b2, a, b2, BlendingAt(0.4f));
      EXPECT_EQ(b2.FirstDifference(out), "") << "into the next frame, with kept motion";
    }
  }
}

// Nothing from outside the frame and nothing left over in scratch memory gets in.
TEST_F(FrameBlending, TinyFramesStayWithinTheirColours) {
  const std::int32_t sizes[][2] = {{1, 1}, {1, 7}, {2, 2}, {9, 3}, {17, 5}, {33, 64}};
  for (const auto& [width, height] : sizes) {
    for (const std::int32_t depth : {8, 16, 32}) {
      for (std::int16_t variant = 0; variant < 4; ++variant) {
        Frame a(depth, width, height), b(depth, width, height), out(depth, width, height);
        a.Paint([](int, int) { return Colour{1, 0.5, 0.25, 0.75}; });
        b.Paint([](int, int) { return Colour{1, 0.51, 0.25, 0.75}; });
        RenderInto(out, a, b, BlendingAt(0.5f), [&](Algo& algo) {
          algo.variant = variant;
          algo.steps = 3;
        });
        EXPECT_LE(DistanceOf(out, a).largest, 0.0141) << width << " x " << height << ", depth " << depth;
      }
    }
  }
}

TEST_F(FrameBlending, APictureThatMovesIsMovedByPartOfItsWay) {
  const double motions[][2] = {{8, -4}, {-12, 8}, {20, 4}, {0, -16}};
  for (const std::int32_t depth : {8, 16, 32}) {
    for (const auto& [x, y] : motions) {
      if (depth != 8 && x != 8) continue;
      SCOPED_TRACE("depth " + std::to_string(depth) + ", by " + std::to_string(x) + ", " + std::to_string(y));
      Moved pair(depth, x, y);
      Frame expected(depth, 96, 72);
      for (const std::int16_t mode : {std::int16_t{1}, std::int16_t{2}}) {
        for (const float time : {0.5f, 0.25f}) {
          RenderInto(pair.out, pair.previous, pair.next, BlendingAt(time), [&](Algo& algo) { algo.mode = mode; });
          pair.PaintAt(static_cast<double>(time), expected);
          const pftest::Distance distance = DistanceOf(pair.out, expected, 24);
          EXPECT_LE(distance.mean, 0.002) << time << ", mode " << mode;
          EXPECT_LE(distance.largest, 0.02) << time << ", mode " << mode;
        }
      }
      const Vectors vectors = VectorsOf(pair.previous, pair.next);
      ASSERT_EQ(vectors->Width(), 48);
      ASSERT_EQ(vectors->Height(), 36);
      for (std::int32_t v = 12; v < 24; ++v) {
        for (std::int32_t u = 12; u < 36; ++u) {
          const PF_MotionVector there = vectors->Vector(PF_MotionDirection_FORWARD, u, v),
                                back = vectors->Vector(PF_MotionDirection_BACKWARD, u, v);
          ASSERT_NEAR(there.x, x, 0.1) << u << ", " << v;
          ASSERT_NEAR(there.y, y, 0.1) << u << ", " << v;
          ASSERT_NEAR(back.x, -x, 0.1) << u << ", " << v;
          ASSERT_NEAR(back.y, -y, 0.1) << u << ", " << v;
        }
      }
    }
  }
}

// Whatever vectors are found there, both frames are seen through them.
TEST_F(FrameBlending, FramesWithNothingInCommonCrossFade) {
  for (const std::int32_t width : {96, 200}) {
    const std::int32_t height = width * 3 / 4;
    Frame a(8, width, height), b(8, width, height), out(8, width, height), faded(8, width, height);
    a.Paint([](int x, int y) { return Texture(x, y, 1); });
    b.Paint([](int x, int y) { return Texture(x, y, 50); });
    RenderInto(out, a, b, BlendingAt(0.3f));
    RenderInto(faded, a, b, BlendingAt(0.3f), [](Algo& algo) { algo.mode = 0; });
    EXPECT_LE(DistanceOf(out, faded).mean, DistanceOf(a, b).mean / 10) << width;
  }
}

// Two squares, one of them fast, before a background that moves the other way: something of everything.
struct Scene {
  Scene() : previous(8, 112, 84), next(8, 112, 84), out(8, 112, 84) {
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

// \name What parameters do
// @{
TEST_F(FrameBlending, EveryParameterChangesThePicture) {
  Scene scene;
  Frame usual(8, 112, 84);
  RenderInto(usual, scene.previous, scene.next, BlendingAt(0.4f));
  const std::pair<const char*, Change> changes[] = {
      {"mode", [](Algo& a) { a.mode = 1; }},
      {"fraction", [](Algo& a) { a.fraction = 0.9f; }},
      {"boundA", [](Algo& a) { a.boundA = 4; }},
      {"boundB", [](Algo& a) { a.boundB = -5; }},
      {"count", [](Algo& a) { a.count = 1; }},
      {"threshold", [](Algo& a) { a.threshold = 0.09f; }},
      {"switchFlag", [](Algo& a) { a.switchFlag = 1; }},
      {"size", [](Algo& a) { a.size = 20; }},
      {"weights", [](Algo& a) { a.weightR = 1, a.weightG = a.weightB = 0; }},
      {"steps", [](Algo& a) { a.steps = 5; }},
      {"degrees", [](Algo& a) { a.steps = 5, a.degrees = 300; }},
      {"variant", [](Algo& a) { a.variant = 1; }},
      {"variant", [](Algo& a) { a.variant = 2; }},
      {"variant", [](Algo& a) { a.variant = 3; }}};
  std::vector<std::vector<std::byte>> seen = {usual.Pixels()};
  for (const auto& [name, change] : changes) {
    RenderInto(scene.out, scene.previous, scene.next, BlendingAt(0.4f), change);
    for (const auto& pixels : seen) EXPECT_NE(scene.out.Pixels(), pixels) << name;
    seen.push_back(scene.out.Pixels());
  }
}

TEST_F(FrameBlending, ModeZeroIsTheCrossFade) {
  Scene scene;
  Frame faded(8, 112, 84);
  RenderInto(scene.out, scene.previous, scene.next, BlendingAt(0.3f), [](Algo& a) { a.mode = 0; });
  ASSERT_EQ(PF_Blend_Straight(nullptr, scene.previous.record(), scene.next.record(), 19661, faded.record()), 0);
  EXPECT_EQ(scene.out.FirstDifference(faded), "");
  EXPECT_TRUE(Host().filed.empty());
}

TEST_F(FrameBlending, BoundsLimitMotionAlongEachAxis) {
  const Moved pair(8, 12, -8);
  const auto longest = [&](float across, float down) {
    const Vectors vectors = VectorsOf(pair.previous, pair.next, [&](Algo& a) { a.boundA = across, a.boundB = down; });
    PF_MotionVector most = {0, 0};
    for (std::int32_t y = 0; y < vectors->Height(); ++y) {
      for (std::int32_t x = 0; x < vectors->Width(); ++x) {
        for (const auto direction : {PF_MotionDirection_FORWARD, PF_MotionDirection_BACKWARD}) {
          const PF_MotionVector v = vectors->Vector(direction, x, y);
          most = {std::max(most.x, std::abs(v.x)), std::max(most.y, std::abs(v.y))};
        }
      }
    }
    return most;
  };
  const PF_MotionVector none_across = longest(0, 500), none_down = longest(500, 0), pixels = longest(5, 3),
                        shares = longest(-50, -25), enough = longest(13, 9);
  EXPECT_EQ(none_across.x, 0);
  EXPECT_GT(none_across.y, 0);
  EXPECT_EQ(none_down.y, 0);
  EXPECT_GT(none_down.x, 0);
  EXPECT_EQ(pixels.x, 5);
  EXPECT_EQ(pixels.y, 3);
  EXPECT_NEAR(shares.x, 4.8, 1.0 / 32);  // of 96 columns
  EXPECT_NEAR(shares.y, 1.8, 1.0 / 32);  // of 72 rows
  EXPECT_GE(enough.x, 11.9f);
  EXPECT_GE(enough.y, 7.9f);
}

// How far vectors are from (x, y), on average.
double MissOf(const Frame& a, const Frame& b, double x, double y, const Change& change) {
  const Vectors vectors = VectorsOf(a, b, change);
  double sum = 0;
  std::int64_t count = 0;
  for (std::int32_t v = 6; v < vectors->Height() - 6; ++v) {
    for (std::int32_t u = 8; u < vectors->Width() - 8; ++u, ++count) {
      const PF_MotionVector at = vectors->Vector(PF_MotionDirection_FORWARD, u, v);
      sum += std::hypot(at.x - x, at.y - y);
    }
  }
  return sum / static_cast<double>(count);
}

// Light that grows along a slope looks like motion, unless structure alone is looked at.
TEST_F(FrameBlending, FlickerIsOverlookedOnRequest) {
  Frame a(8, 112, 84), b(8, 112, 84);
  const auto paint = [](Frame& frame, double light) {
    frame.Paint([&](int x, int y) {
      Colour c = Texture(x, y);
      const double hill = 0.7 * std::exp(-std::pow(x - 50, 2) / 800 - std::pow(y - 40, 2) / 800);
      for (std::size_t i = 1; i < 4; ++i) c[i] = hill + 0.1 * (c[i] - 0.5) + light;
      return c;
    });
  };
  paint(a, 0.05);
  paint(b, 0.15);
  const double without = MissOf(a, b, 0, 0, [](Algo& algo) { algo.switchFlag = 0; });
  const double with = MissOf(a, b, 0, 0, [](Algo& algo) { algo.switchFlag = 1; });
  EXPECT_LT(with, 0.03);
  EXPECT_LT(with, 0.6 * without);
}

// The red channel moves, the blue one stands still.
TEST_F(FrameBlending, WeightsSayWhichColourIsLookedAt) {
  Frame a(8, 112, 84), b(8, 112, 84);
  const auto paint = [](Frame& frame, double shift) {
    frame.Paint([&](int x, int y) { return Colour{1, Texture(x - shift, y)[1], 0.5, Texture(x, y)[3]}; });
  };
  paint(a, 0);
  paint(b, 6);
  const auto weights = [](double red, double green, double blue) {
    return [=](Algo& algo) { algo.weightR = red, algo.weightG = green, algo.weightB = blue; };
  };
  EXPECT_LT(MissOf(a, b, 6, 0, weights(1, 0, 0)), 0.2);
  EXPECT_LT(MissOf(a, b, 0, 0, weights(0, 0, 1)), 0.2);
  EXPECT_LT(MissOf(a, b, 0, 0, weights(0, 1, 0)), 0.2) << "nothing is to be seen in green";
}

TEST_F(FrameBlending, TheShutterBlursAlongTheMotion) {
  Moved pair(8, 16, 0);
  Frame sharp(8, 96, 72), wider(8, 96, 72);
  const auto with = [](std::int16_t steps, float degrees) {
    return [=](Algo& algo) { algo.steps = steps, algo.degrees = degrees; };
  };
  RenderInto(sharp, pair.previous, pair.next, BlendingAt(0.5f));
  RenderInto(pair.out, pair.previous, pair.next, BlendingAt(0.5f), with(4, 0));
  EXPECT_LE(DistanceOf(pair.out, sharp).largest, 0.005) << "a closed shutter";
  // The mean of the picture at the moments (i + 0.5) / 4 - 0.5 of half the way.
  Frame expected(8, 96, 72);
  expected.Paint([](int x, int y) {
    Colour sum = {};
    for (const double moment : {-3, -1, 1, 3}) {
      const Colour c = Texture(x - 8 - moment, y);
      for (std::size_t i = 0; i < 4; ++i) sum[i] += c[i] / 4;
    }
    return sum;
  });
  RenderInto(pair.out, pair.previous, pair.next, BlendingAt(0.5f), with(4, 180));
  EXPECT_LE(DistanceOf(pair.out, expected, 24).largest, 0.02);
  RenderInto(wider, pair.previous, pair.next, BlendingAt(0.5f), with(4, 360));
  EXPECT_GT(DistanceOf(wider, sharp, 24).mean, 1.5 * DistanceOf(pair.out, sharp, 24).mean);
}

TEST_F(FrameBlending, VariantsTakeBothFramesOrTheNearerOne) {
  // The frames differ by their brightness alone.
  Frame a(8, 64, 48), b(8, 64, 48), out(8, 64, 48);
  const auto paint = [](Frame& frame, double brightness) {
    frame.Paint([&](int x, int y) {
      Colour c = Texture(x, y);
      for (std::size_t i = 1; i < 4; ++i) c[i] += brightness;
      return c;
    });
  };
  paint(a, 0);
  paint(b, 0.04);
  for (std::int16_t variant = 0; variant < 4; ++variant) {
    for (const float time : {0.25f, 0.75f}) {
      RenderInto(out, a, b, BlendingAt(time), [&](Algo& algo) { algo.variant = variant; });
      const double expected = variant < 2 ? 0.04 * static_cast<double>(time) : time < 0.5f ? 0 : 0.04;
      Frame made(8, 64, 48);
      paint(made, expected);
      EXPECT_LE(DistanceOf(out, made, 4).mean, 0.004) << "variant " << variant << ", time " << time;
    }
  }
  // Between pixels, the cubic is closer than the line.
  Moved pair(16, 5, 0);
  Frame middle(16, 96, 72);
  pair.PaintAt(0.5, middle);
  RenderInto(pair.out, pair.previous, pair.next, BlendingAt(0.5f));
  const double cubic = DistanceOf(pair.out, middle, 16).mean;
  RenderInto(pair.out, pair.previous, pair.next, BlendingAt(0.5f), [](Algo& algo) { algo.variant = 1; });
  EXPECT_LT(cubic, 0.7 * DistanceOf(pair.out, middle, 16).mean);
}
// @}

}  // namespace
