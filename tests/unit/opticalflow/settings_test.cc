// After: parameters that do nothing, something else than they say, or too much.
#include <string>

#include "PF/PF_Blend.h"
#include "Support.h"

namespace {

using pftest::BlendingAt;
using pftest::Change;
using pftest::Colour;
using pftest::DistanceOf;
using pftest::Frame;
using pftest::Host;
using pftest::Moved;
using pftest::RenderInto;
using pftest::Scene;
using pftest::Texture;
using pftest::Vectors;
using pftest::VectorsOf;
using Algo = PF_Tavros_AlgoParams;

class FrameBlendingSettings : public pftest::LibraryTest {};

double MissOf(const Frame& a, const Frame& b, float x, float y, const Change& change) {
  return pftest::MissOf(*VectorsOf(a, b, change), x, y);
}

TEST_F(FrameBlendingSettings, EveryParameterChangesThePicture) {
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

TEST_F(FrameBlendingSettings, ModeZeroIsTheCrossFade) {
  Scene scene;
  Frame faded(8, 112, 84);
  RenderInto(scene.out, scene.previous, scene.next, BlendingAt(0.3f), [](Algo& a) { a.mode = 0; });
  ASSERT_EQ(PF_Blend_Straight(nullptr, scene.previous.record(), scene.next.record(), 19661, faded.record()), 0);
  EXPECT_EQ(scene.out.FirstDifference(faded), "");
  EXPECT_TRUE(Host().filed.empty());
}

TEST_F(FrameBlendingSettings, BoundsLimitMotionAlongEachAxis) {
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

// Light that grows along a slope looks like motion, unless structure alone is looked at.
TEST_F(FrameBlendingSettings, FlickerIsOverlookedOnRequest) {
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
TEST_F(FrameBlendingSettings, WeightsSayWhichColourIsLookedAt) {
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

TEST_F(FrameBlendingSettings, TheShutterBlursAlongTheMotion) {
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

TEST_F(FrameBlendingSettings, VariantsTakeBothFramesOrTheNearerOne) {
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
}  // namespace
