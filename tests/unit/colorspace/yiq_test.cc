// After: products rounded together instead of one by one, coefficients, the 8-bit unit, limits.
#include <cmath>
#include <limits>

#include "unit/colorspace/Colours.h"

namespace {

using pftest::Given;

constexpr std::int32_t kOne = 65536, kLargest = std::numeric_limits<std::int32_t>::max();

// Ten-thousandths.
constexpr int kForward[3][3] = {{2989, 5866, 1144}, {5959, -2741, -3218}, {2113, -5227, 3113}};
constexpr int kBack[3][3] = {{10000, 9562, 6210}, {10000, -2717, -6485}, {10000, -11053, 17020}};

// `unit`: what a channel times ten-thousandths is multiplied by to be fixed point. Exact halves, which sixteen bits
// have, may go either way: the coefficients are no whole binary fractions.
template <class P>
void ExpectSumsOfRoundedProducts(PF_Err (*function)(void*, const P*, PF_YIQTriple*), const P& p, long double unit) {
  const PF_YIQTriple yiq = Given(function, p);
  const std::int32_t got[3] = {yiq.y, yiq.i, yiq.q};
  for (int k = 0; k < 3; ++k) {
    const long double products[] = {p.red * unit * kForward[k][0], p.green * unit * kForward[k][1],
                                    p.blue * unit * kForward[k][2]};
    std::int64_t least = 0, most = 0;
    for (const long double product : products) {
      least += std::llround(product - 1e-9L);
      most += std::llround(product + 1e-9L);
    }
    ASSERT_TRUE(least <= got[k] && got[k] <= most)
        << got[k] << " for " << most << ", row " << k << " of " << pftest::ToString(p);
  }
}

TEST(Yiq, EveryProductIsRoundedOnItsOwn) {
  pftest::Random random(3);
  for (int i = 0; i < 300000; ++i) {
    const auto any = [&] { return static_cast<std::uint8_t>(random()); };
    ExpectSumsOfRoundedProducts(PF_RGBtoYIQ_Straight, {any(), any(), any(), any()}, kOne * 3921569.0L / 1e13L);
    ExpectSumsOfRoundedProducts(PF_RGBtoYIQ_Straight16, pftest::AnyColour16(random), 2 / 1e4L);
    ExpectSumsOfRoundedProducts(PF_RGBtoYIQ_StraightFloat, pftest::AnyColourFloat(random), kOne / 1e4L);
  }
}

TEST(Yiq, FixedPointIsLimitedProductByProduct) {
  const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
  const auto yiq = [](float r, float g, float b) {
    return Given(PF_RGBtoYIQ_StraightFloat, PF_PixelFloat{1, r, g, b});
  };
  EXPECT_EQ(yiq(inf, -inf, 0).y, -1);
  EXPECT_EQ(yiq(inf, -inf, 0).i, kLargest);
  EXPECT_EQ(yiq(-1e30f, 1, 0).q, -kLargest - 1);
  EXPECT_EQ(yiq(nan, 1, 0).y, 38443) << "0.5866 of green alone";
}

// Coefficients are the stated ones, not those of the exact inverse, which differ by up to 0.002.
TEST(Yiq, IntoRgbByTheStatedCoefficients) {
  pftest::Random random(7);
  for (int i = 0; i < 300000; ++i) {
    const std::int64_t reach = i % 3 == 0 ? std::int64_t{kLargest} : 2 * kOne;
    const auto any = [&] { return static_cast<std::int32_t>(pftest::Between(random, -reach, reach)); };
    const PF_YIQTriple yiq = {any(), any(), any()};
    const PF_PixelFloat p = Given(PF_YIQtoRGB_StraightFloat, yiq);
    const PF_Pixel8 p8 = Given(PF_YIQtoRGB_Straight, yiq);
    const PF_Pixel16 p16 = Given(PF_YIQtoRGB_Straight16, yiq);
    ASSERT_TRUE(p.alpha == 0 && p8.alpha == 0 && p16.alpha == 0) << "alpha is not written";
    const float got[] = {p.red, p.green, p.blue};
    const int got8[] = {p8.red, p8.green, p8.blue}, got16[] = {p16.red, p16.green, p16.blue};
    for (int k = 0; k < 3; ++k) {
      const std::int64_t scale = std::int64_t{kOne} * 10000, sum = std::int64_t{kBack[k][0]} * yiq.y +
                                                                   std::int64_t{kBack[k][1]} * yiq.i +
                                                                   std::int64_t{kBack[k][2]} * yiq.q;
      const double want = static_cast<double>(sum) / static_cast<double>(scale);
      const double limited = std::clamp(want, 0.0, 1.0);
      ASSERT_NEAR(got8[k], limited * 255, 0.5 + 1e-9) << k << " of " << yiq.y;
      ASSERT_NEAR(got16[k], limited * 32768, 0.5 + 1e-9) << k << " of " << yiq.y;
      ASSERT_NEAR(got[k], want, 6.1e-8 * std::max(std::fabs(want), 1e-3)) << k << " of " << yiq.y;
    }
  }
}

}  // namespace
