// After: roundings to fixed point and back, sectors of the hue, and colours outside the range.
#include <cmath>
#include <limits>

#include "reference/Conversion.h"
#include "unit/colorspace/Colours.h"

namespace {

using pftest::Given, pftest::Half;

constexpr std::int32_t kOne = 65536, kLargest = std::numeric_limits<std::int32_t>::max();

bool Same(const PF_HLSTriple& a, const PF_HLSTriple& b) {
  return a.hue == b.hue && a.lightness == b.lightness && a.saturation == b.saturation;
}

// By quotients of whole numbers: no colour of an integer depth is halfway between two fixed-point values.
template <class P>
PF_HLSTriple Expected(const P& p) {
  const pftest::WholeParts c(p);
  const std::int64_t white = 2 * pftest::FullOf(sizeof(P) * 2);
  const auto fixed = [](std::int64_t numerator, std::int64_t denominator) {
    return static_cast<std::int32_t>(pftest::Nearest(kOne * numerator, denominator, Half::kUp));
  };
  const std::int64_t whole = 2 * c.sum <= white ? c.sum : white - c.sum;
  return {fixed(360 * c.place, c.turn), fixed(c.sum, white), c.delta == 0 ? 0 : fixed(c.delta, whole)};
}

// `steps`: how far a channel may be after the way back. Alpha is not written.
template <class P>
void ExpectExactAndBack(PF_Err (*there)(void*, const P*, PF_HLSTriple*), PF_Err (*back)(void*, const PF_HLSTriple*, P*),
                        const P& p, int steps) {
  const PF_HLSTriple hls = Given(there, p);
  ASSERT_TRUE(Same(hls, Expected(p))) << pftest::ToString(p);
  P again{77, 1, 2, 3};
  ASSERT_EQ(back(nullptr, &hls, &again), 0);
  ASSERT_TRUE(again.alpha == 77 && std::abs(again.red - p.red) <= steps && std::abs(again.green - p.green) <= steps &&
              std::abs(again.blue - p.blue) <= steps)
      << pftest::ToString(p) << " became " << pftest::ToString(again);
}

TEST(Hls, EveryColourOfEightBitsIsExactAndComesBack) {
  pftest::ForEveryColour8(
      [](const PF_Pixel8& p) { ExpectExactAndBack(PF_RGBtoHLS_Straight, PF_HLStoRGB_Straight, p, 0); });
}

TEST(Hls, SixteenBitsAreExactAndComeBackNearly) {
  pftest::Random random(1);
  for (int i = 0; i < 500000; ++i) {
    ExpectExactAndBack(PF_RGBtoHLS_Straight16, PF_HLStoRGB_Straight16, pftest::AnyColour16(random), 1);
  }
}

TEST(Hls, IntoRgbFollowsTheTrapezoidAtEveryDepth) {
  pftest::Random random(2);
  for (int i = 0; i < 300000; ++i) {
    const auto up_to = [&](std::int32_t top) { return static_cast<std::int32_t>(pftest::Between(random, 0, top)); };
    const PF_HLSTriple hls = {up_to(360 * kOne), up_to(kOne), i % 16 == 0 ? 0 : up_to(kOne)};
    const PF_PixelFloat p = Given(PF_HLStoRGB_StraightFloat, hls);
    const PF_Pixel8 p8 = Given(PF_HLStoRGB_Straight, hls);
    const PF_Pixel16 p16 = Given(PF_HLStoRGB_Straight16, hls);
    const float got[] = {p.red, p.green, p.blue};
    const int got8[] = {p8.red, p8.green, p8.blue}, got16[] = {p16.red, p16.green, p16.blue};
    for (int k = 0; k < 3; ++k) {
      // Chroma around the lightness, by the distance to the channel's own hue.
      const long double l = hls.lightness / 65536.0L, chroma = (1 - std::fabs(2 * l - 1)) * hls.saturation / 65536.0L;
      const long double distance = std::fabs(std::remainder(hls.hue / 65536.0L - 120 * k, 360.0L)) / 60;
      const double want = static_cast<double>(l + chroma * (std::clamp(2 - distance, 0.0L, 1.0L) - 0.5L));
      ASSERT_NEAR(got[k], want, 6.1e-8) << hls.hue << " " << hls.lightness << " " << hls.saturation;
      ASSERT_NEAR(got8[k], want * 255, 0.5 + 1e-9) << hls.hue << " " << hls.lightness << " " << hls.saturation;
      ASSERT_NEAR(got16[k], want * 32768, 0.5 + 1e-9) << hls.hue << " " << hls.lightness << " " << hls.saturation;
    }
  }
}

TEST(Hls, FloatsOutsideTheRangeAreLimitedInFixedPointOnly) {
  const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
  const float tiny = -0.75f / kOne;
  const struct {
    float red, green, blue;
    PF_HLSTriple hls;
  } kCases[] = {
      {1, 0, 1e-12f, {360 * kOne, kOne / 2, kOne}},
      {3, 2, 1, {30 * kOne, 2 * kOne, -kOne}},
      {tiny, tiny, tiny, {0, -1, 0}},
      {1, -1, -1, {0, 0, kLargest}},  // a divisor of 0 on either side
      {2, 0, 0, {0, kOne, kLargest}},
      {1e38f, 1e38f, 1e38f, {0, kLargest, 0}},
      {-inf, -inf, -inf, {0, -kLargest - 1, 0}},
      {inf, 0, 0, {0, kLargest, 0}},
      {inf, -inf, 0, {0, 0, 0}},
      {nan, 1, 1, {0, 0, 0}},
      {1, 1, nan, {0, 0, 0}},
  };
  for (const auto& c : kCases) {
    const PF_HLSTriple got = Given(PF_RGBtoHLS_StraightFloat, PF_PixelFloat{1, c.red, c.green, c.blue});
    EXPECT_TRUE(Same(got, c.hls)) << c.red << " " << c.green << " " << c.blue << ": " << got.hue << " " << got.lightness
                                  << " " << got.saturation;
  }
}

// L = 0.5 and S = 1 have m1 = 0 and m2 = 1; L = 2 and S = 0.5 have 2.5 and 1.5.
TEST(Hls, AnglesTurnOnceAndIntegersAreLimited) {
  const struct {
    PF_HLSTriple hls;
    float red, green, blue;
  } kCases[] = {
      {{1000 * kOne, kOne / 2, kOne}, 0, 0, 0},
      {{-480 * kOne, kOne / 2, kOne}, 0, -2, -4},
      {{360 * kOne, kOne / 2, kOne}, 1, 0, 0},
      {{30 * kOne, 2 * kOne, kOne / 2}, 1.5f, 2, 2.5f},
      {{kLargest, kLargest, 0}, 32768 - 1.0f / kOne, 32768, 32768},
  };
  for (const auto& c : kCases) {
    const PF_PixelFloat p = Given(PF_HLStoRGB_StraightFloat, c.hls);
    EXPECT_TRUE(p.red == c.red && p.green == c.green && p.blue == c.blue) << pftest::ToString(p);
    const PF_Pixel16 p16 = Given(PF_HLStoRGB_Straight16, c.hls);
    EXPECT_EQ(p16.green, c.green > 0 ? 32768 : 0);
    EXPECT_EQ(Given(PF_HLStoRGB_Straight, c.hls).green, c.green > 0 ? 255 : 0);
  }
}

}  // namespace
