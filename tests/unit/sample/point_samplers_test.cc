// After samplers that differ from the reference at an edge, in a fraction, a weight or the last bit; spans
// and fours that are not single samples; unchecked forms that read other pixels than they are told to.
#include <gtest/gtest.h>

#include <limits>

#include "PF/PF_Lifecycle.h"
#include "PF/PF_Sampling.h"
#include "reference/PointSamplers.h"
#include "support/TestHost.h"
#include "support/Worlds.h"

namespace {

using pftest::Between;
using pftest::Bits;
using pftest::Random;
using pftest::ReferenceStraight;
using pftest::TestWorld;

constexpr std::int32_t kHalf = 32768, kOne = 65536;

template <class P>
struct Exports;
template <>
struct Exports<PF_Pixel8> {
  static constexpr auto straight = PF_SubpixelSample_Straight, nearest = PF_NNSample, premul = PF_SubpixelSample_Premul;
  static constexpr auto plus = PF_SubpixelSamplePlus_Straight;
  static constexpr auto no_clip = PF_SubpixelSampleNoClip_Straight;
  static constexpr auto translate = PF_SubpixelSampleTranslateNoClip_Straight;
  static constexpr auto span = PF_SubpixelSpanSampleTranslateNoClip_Straight;
};
template <>
struct Exports<PF_Pixel16> {
  static constexpr auto straight = PF_SubpixelSample_Straight16, nearest = PF_NNSample16,
                        premul = PF_SubpixelSample_Premul16;
  static constexpr auto plus = PF_SubpixelSamplePlus_Straight16;
  static constexpr auto no_clip = PF_SubpixelSampleNoClip_Straight16;
  static constexpr auto translate = PF_SubpixelSampleTranslateNoClip_Straight16;
  static constexpr auto span = PF_SubpixelSpanSampleTranslateNoClip_Straight16;
};
template <>
struct Exports<PF_PixelFloat> {
  static constexpr auto straight = PF_SubpixelBilinearFloat, nearest = PF_NNSampleFloat,
                        premul = PF_SubpixelSample_PremulFloat;
};

// A small world with row gaps, every fourth one bottom-up.
template <class P>
struct Picture {
  Picture(Random& random, int trial)
      : pixels(pf::DepthTraits<P>::kDepth, static_cast<std::int32_t>(Between(random, 1, 6)),
               static_cast<std::int32_t>(Between(random, 1, 6)), 16 * (trial % 3)),
        world(*pixels.record()) {
    pixels.Fill(random, static_cast<TestWorld::Kind>(trial % 5));
    if (trial % 4 == 0) {
      world.data = pixels.Row(world.height - 1);
      world.row_bytes = -world.row_bytes;
    }
  }
  TestWorld pixels;
  PF_LayerDef world;
  PF_SampPB params = {0, 0, 0, &world};
};

// Inside, around the edges, whole and half pixels and their neighbours, both ends of 32 bits.
std::int32_t AnyPosition(Random& random, std::int32_t size) {
  const std::int64_t whole = Between(random, -2, size + 1) * kOne;
  const std::int64_t positions[] = {
      whole, whole + 1, whole - 1, whole + kHalf - Between(random, 0, 1),
      random() % 2 == 0 ? std::numeric_limits<std::int32_t>::max() : std::numeric_limits<std::int32_t>::min()};
  const std::uint64_t choice = random() % 10;
  return static_cast<std::int32_t>(choice < std::size(positions) ? positions[choice]
                                                                 : Between(random, -2 * kOne, (size + 2) * kOne));
}

// `f(picture, x, y)` for many pictures and positions.
template <class P, class F>
void ForManyPositions(F f) {
  Random random(40);
  for (int trial = 0; trial < 500 && !testing::Test::HasFailure(); ++trial) {
    const Picture<P> picture(random, trial);
    for (int k = 0; k < 60; ++k) {
      const std::int32_t x = AnyPosition(random, picture.world.width), y = AnyPosition(random, picture.world.height);
      SCOPED_TRACE(testing::Message() << "trial " << trial << ", " << picture.world.width << " x "
                                      << picture.world.height << " at " << x << ", " << y);
      f(picture, x, y);
    }
  }
}

template <class P>
bool BlockInside(const Picture<P>& picture, std::int32_t x, std::int32_t y) {
  return x >= 0 && y >= 0 && (x >> 16) + 1 < picture.world.width && (y >> 16) + 1 < picture.world.height;
}

template <class P>
class TestedSamplers : public testing::Test {};
using AllPixels = testing::Types<PF_Pixel8, PF_Pixel16, PF_PixelFloat>;
TYPED_TEST_SUITE(TestedSamplers, AllPixels);

TYPED_TEST(TestedSamplers, GiveTheReferenceAtAnyPosition) {
  using P = TypeParam;
  ForManyPositions<P>([](const Picture<P>& picture, std::int32_t x, std::int32_t y) {
    P out;
    EXPECT_EQ(Exports<P>::straight(nullptr, x, y, &picture.params, &out), 0);
    EXPECT_EQ(Bits(out), Bits(ReferenceStraight<P>(picture.world, x, y)));
    EXPECT_EQ(Exports<P>::premul(nullptr, x, y, &picture.params, &out), 0);
    EXPECT_EQ(Bits(out), Bits(pftest::ReferencePremul<P>(picture.world, x, y))) << "premultiplied";
    EXPECT_EQ(Exports<P>::nearest(nullptr, x, y, &picture.params, &out), 0);
    EXPECT_EQ(Bits(out), Bits(pftest::ReferenceNearest<P>(picture.world, x, y))) << "nearest";
    if constexpr (!std::is_same_v<P, PF_PixelFloat>) {
      std::uint8_t inside = 9;
      EXPECT_EQ(Exports<P>::plus(nullptr, x, y, &picture.params, &inside, &out), 0);
      EXPECT_EQ(Bits(out), Bits(ReferenceStraight<P>(picture.world, x, y))) << "Plus";
      // An integral position is not called inside.
      EXPECT_EQ(inside, (x | y) % kOne != 0 && BlockInside(picture, x, y) ? 1 : 0);
    }
  });
}

template <class P>
class UntestedSamplers : public testing::Test {};
using IntegerPixels = testing::Types<PF_Pixel8, PF_Pixel16>;
TYPED_TEST_SUITE(UntestedSamplers, IntegerPixels);

TYPED_TEST(UntestedSamplers, GiveTheReferenceInsideTheWorld) {
  using P = TypeParam;
  Random random(41);
  ForManyPositions<P>([&](const Picture<P>& picture, std::int32_t x, std::int32_t y) {
    if (!BlockInside(picture, x, y)) return;
    P out;
    EXPECT_EQ(Exports<P>::no_clip(nullptr, x, y, &picture.params, &out), 0);
    EXPECT_EQ(Bits(out), Bits(ReferenceStraight<P>(picture.world, x, y)));

    double weights[4];
    PF_SubpixelSampleComputeWeight(static_cast<std::uint16_t>(random()), static_cast<std::uint16_t>(random()), weights);
    // Weights that no fractions have take 8 bits beyond both limits.
    if (std::is_same_v<P, PF_Pixel8> && random() % 2 == 0) {
      for (double& w : weights) w = static_cast<double>(Between(random, -2000, 2000)) / 999.0;
    }
    EXPECT_EQ(Exports<P>::translate(nullptr, x, y, weights, &picture.params, &out), 0);
    EXPECT_EQ(Bits(out), Bits(ReferenceStraight<P>(picture.world, x, y, weights))) << "given weights";

    P span[8] = {};
    const std::int32_t count = picture.world.width - 1 - (x >> 16);
    std::uint32_t sum = static_cast<std::uint32_t>(random()), expected = sum;
    EXPECT_EQ(Exports<P>::span(nullptr, -count, x, y, &picture.params, &sum, span), 0);
    EXPECT_EQ(Exports<P>::span(nullptr, 0, x, y, &picture.params, &sum, span), 0);
    EXPECT_EQ(sum, expected);
    EXPECT_EQ(Exports<P>::span(nullptr, count, x, y, &picture.params, &sum, span), 0);
    for (std::int32_t k = 0; k < 8; ++k) {
      const P pixel = k < count ? ReferenceStraight<P>(picture.world, x + k * kOne, y) : P{};
      EXPECT_EQ(Bits(span[k]), Bits(pixel)) << "span, sample " << k;
      expected += pixel.alpha;
    }
    EXPECT_EQ(sum, expected);

    if constexpr (std::is_same_v<P, PF_Pixel8>) {
      const PF_SamplePoint points[] = {{x, y}, {x, y & -kOne}, {x & -kOne, y}, {x & -kOne, y & -kOne}};
      P four[4], moved[4];
      EXPECT_EQ(PF_SubpixelSampleNoClip_Straight_4(nullptr, points, &picture.params, four), 0);
      EXPECT_EQ(PF_SubpixelSampleTranslateNoClip_Straight_4(nullptr, points, weights, &picture.params, moved), 0);
      for (int k = 0; k < 4; ++k) {
        const PF_SamplePoint at = points[k];
        EXPECT_EQ(Bits(four[k]), Bits(ReferenceStraight<P>(picture.world, at.x, at.y))) << "four, " << k;
        EXPECT_EQ(Bits(moved[k]), Bits(ReferenceStraight<P>(picture.world, at.x, at.y, weights))) << "four, " << k;
      }
    }
  });
}

TEST(PointSamplers, WeightsAreInTheOrderOfTheBlockAndNarrowInEightBits) {
  double weights[4];
  EXPECT_EQ(PF_SubpixelSampleComputeWeight(0x4000, 0xA000, weights), 0);
  EXPECT_EQ(std::to_array(weights), (std::array{0.28125, 0.09375, 0.46875, 0.15625}));
  // A weight just below a half is a half in single precision.
  TestWorld world(8, 2, 2);
  for (std::int32_t k = 0; k < 4; ++k) world.At<PF_Pixel8>(k % 2, k / 2) = {255, std::uint8_t(k == 0), 0, 0};
  const PF_SampPB params = {0, 0, 0, world.record()};
  PF_Pixel8 out;
  PF_SubpixelSampleTranslateNoClip_Straight(nullptr, 1, 1, std::array{0.5 - 0x1p-40, 0.0, 0.0, 0.0}.data(), &params,
                                            &out);
  EXPECT_EQ(out.red, 1);
}

#ifdef PF_CHECKED
TEST(PointSamplers, ABlockOutsideIsCaughtByName) {
  pftest::Host().Reset();
  ASSERT_EQ(PF_Birth(), 0);
  pftest::Host().reports.clear();
  TestWorld world(8, 3, 2);
  std::memset(world.Row(0), 0xFF, 24);
  const PF_SampPB params = {0, 0, 0, world.record()};
  for (const auto& [x, y] : {std::pair(-1, 0), {2 * kOne + 1, 0}, {3 * kOne, 0}, {0, kOne + 1}, {0, -kOne}}) {
    PF_Pixel8 out = {1, 1, 1, 1};
    EXPECT_EQ(PF_SubpixelSampleNoClip_Straight(nullptr, x, y, &params, &out), 0);
    EXPECT_EQ(Bits(out), Bits(PF_Pixel8{})) << x << ", " << y;
    EXPECT_EQ(pftest::Host().ReportTexts(), "sample block outside the world in PF_SubpixelSampleNoClip_Straight\n");
    pftest::Host().reports.clear();
  }
  PF_Pixel8 out;
  PF_SubpixelSampleNoClip_Straight(nullptr, 2 * kOne, kOne, &params, &out);
  EXPECT_EQ(out.alpha, 255);
  EXPECT_TRUE(pftest::Host().reports.empty());
  EXPECT_EQ(PF_Death(), 0);
}
#else
TEST(PointSamplers, UntestedColumnsAreSignedSixteenBits) {
  // Columns -32768 to 32767 can be read; each pixel tells its own.
  TestWorld pixels(16, 65536, 1);
  for (std::int32_t k = 0; k < 65536; ++k) pixels.At<PF_Pixel16>(k, 0) = {1, static_cast<std::uint16_t>(k), 0, 0};
  PF_LayerDef world = *pixels.record();
  world.data = &pixels.At<PF_Pixel16>(32768, 0);
  const PF_SampPB params = {0, 0, 0, &world};
  PF_Pixel16 out[2];
  PF_SubpixelSampleNoClip_Straight16(nullptr, -kOne, 0, &params, out);
  EXPECT_EQ(out[0].red, 32767);
  // A span goes on at the lowest column behind the highest.
  std::uint32_t sum = 0;
  PF_SubpixelSpanSampleTranslateNoClip_Straight16(nullptr, 2, 32767 * kOne, 0, &params, &sum, out);
  EXPECT_EQ(out[0].red, 65535);
  EXPECT_EQ(out[1].red, 0);
}
#endif

}  // namespace
