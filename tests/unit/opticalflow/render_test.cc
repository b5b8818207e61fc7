// After: times that are off, pictures that are moved the wrong way or by the wrong part, results that depend on how
// rows lie or on which world receives them.
#include <limits>
#include <string>

#include "Support.h"

namespace {

using pftest::BlendingAt;
using pftest::Colour;
using pftest::DistanceOf;
using pftest::Frame;
using pftest::Host;
using pftest::Moved;
using pftest::Random;
using pftest::RenderInto;
using pftest::Scene;
using pftest::Texture;
using pftest::Vectors;
using pftest::VectorsOf;
using Algo = PF_Tavros_AlgoParams;

class FrameBlending : public pftest::LibraryTest {};

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

TEST_F(FrameBlending, TimesNextToAFrameGiveThatFrameNearly) {
  Scene scene(32);
  for (const float time : {1e-45f, 1e-30f, 1e-6f, 0.99999994f}) {
    RenderInto(scene.out, scene.previous, scene.next, BlendingAt(time));
    EXPECT_LE(DistanceOf(scene.out, time < 0.5f ? scene.previous : scene.next).largest, 1e-4) << time;
  }
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

// Rows must not be overwritten before they are read.
TEST_F(FrameBlending, AFrameIsCopiedAcrossItself) {
  Frame sheet(8, 40, 36), expected(8, 40, 33);
  sheet.Paint([](int x, int y) { return Texture(x, y); });
  expected.Paint([](int x, int y) { return Texture(x, y); });
  const std::unique_ptr<PF_World> upper(PF_World::NewReference(sheet.world(), M_LRect{0, 0, 40, 33}));
  const std::unique_ptr<PF_World> lower(PF_World::NewReference(sheet.world(), M_LRect{0, 3, 40, 36}));
  ASSERT_EQ(BlendingAt(0).Render(upper.get(), expected.world(), lower.get()), 0);
  for (int y = 0; y < 33; ++y) ASSERT_EQ(sheet.Get(7, y + 3), expected.Get(7, y)) << y;
}

// Whatever full is: the same picture moves alike.
TEST_F(FrameBlending, DepthsSeeTheSameMotion) {
  const auto vectors_at = [](std::int32_t depth) {
    const Scene scene(depth);
    return VectorsOf(scene.previous, scene.next);
  };
  const Vectors expected = vectors_at(32);
  const auto miss = [&](std::int32_t depth) {
    return pftest::MissOf(*vectors_at(depth), [&](std::int32_t x, std::int32_t y) {
      return expected->Vector(PF_MotionDirection_FORWARD, x, y);
    });
  };
  EXPECT_LE(miss(8), 0.25);
  EXPECT_LE(miss(16), 0.02);
}

}  // namespace
