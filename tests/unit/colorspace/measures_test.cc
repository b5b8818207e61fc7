// After: exact halves, truncations and limits of the measures, and what is not a number.
#include <array>
#include <bit>
#include <cmath>
#include <limits>

#include "reference/Conversion.h"
#include "unit/colorspace/Colours.h"

namespace {

using pftest::Given;

// Luminance, hue, lightness, saturation.
template <class T>
using Measures = std::array<T, 4>;

auto Measured(const PF_Pixel8& p) {
  return Measures<std::uint32_t>{Given(PF_Luminance_Straight, p), Given(PF_Hue_Straight, p),
                                 Given(PF_Lightness_Straight, p), Given(PF_Saturation_Straight, p)};
}
auto Measured(const PF_Pixel16& p) {
  return Measures<std::uint32_t>{Given(PF_Luminance_Straight16, p), Given(PF_Hue_Straight16, p),
                                 Given(PF_Lightness_Straight16, p), Given(PF_Saturation_Straight16, p)};
}
auto Measured(float red, float green, float blue) {
  const PF_PixelFloat p = {1, red, green, blue};
  return Measures<float>{Given(PF_Luminance_StraightFloat, p), Given(PF_Hue_StraightFloat, p),
                         Given(PF_Lightness_StraightFloat, p), Given(PF_Saturation_StraightFloat, p)};
}

template <class P>
void ExpectExact(const P& p) {
  const std::int64_t full = pftest::FullOf(sizeof(P) * 2), levels = sizeof(P) == 4 ? 256 : 65536;
  const pftest::WholeParts c(p);
  const std::int64_t product = c.delta * (c.sum / 2 < levels / (sizeof(P) == 4 ? 2 : 4) ? c.sum : 2 * full - c.sum);
  const std::int64_t want[] = {30 * p.red + 59 * p.green + 11 * p.blue,
                               pftest::Nearest(full * c.place, c.turn, pftest::Half::kUp), c.sum / 2,
                               (product / full % levels + levels) % levels};
  const auto got = Measured(p);
  for (std::size_t k = 0; k < 4; ++k) ASSERT_EQ(got[k], want[k]) << "measure " << k << " of " << pftest::ToString(p);
}

TEST(Measures, EveryColourOfEightBitsIsExact) {
  pftest::ForEveryColour8(ExpectExact<PF_Pixel8>);
  EXPECT_EQ(Given(PF_Saturation_Straight, PF_Pixel8{0, 10, 1, 1}), 0u) << "9 * 11 / 255; the S of HLS is 0.82";
}

TEST(Measures, SixteenBitsAreExactAlsoAboveFull) {
  pftest::Random random(5);
  for (int i = 0; i < 1000000; ++i) ExpectExact(pftest::AnyColour16(random, i % 4 == 0 ? 65535 : 32768));
}

TEST(Measures, FloatsFollowTheFormulas) {
  pftest::Random random(6);
  for (int i = 0; i < 200000; ++i) {
    const PF_PixelFloat p = pftest::AnyColourFloat(random);
    const pftest::Parts<long double> c(p);
    const long double want[] = {30.0L * p.red + 59.0L * p.green + 11.0L * p.blue, c.place / c.turn, c.sum / 2,
                                c.delta * (c.sum < 1 ? c.sum : 2 - c.sum)};
    const auto got = Measured(p.red, p.green, p.blue);
    for (std::size_t k = 0; k < 4; ++k) {
      ASSERT_LE(std::fabs(got[k] - want[k]), 0x1.0001p-24L * std::max(std::fabs(want[k]), 1e-6L))
          << "measure " << k << " of " << pftest::ToString(p);
    }
  }
}

TEST(Measures, GreysInfinitiesAndNoNumbersAreDefined) {
  const float inf = std::numeric_limits<float>::infinity(), max = std::numeric_limits<float>::max();
  for (const float grey : {0.0f, 0.3f, -2.0f, 1e-45f, max, inf}) {
    const auto m = Measured(grey, grey, grey);
    EXPECT_TRUE(m[1] == 0 && m[2] == grey && m[3] == 0) << grey;
  }
  EXPECT_EQ(Measured(max, max, 0), (Measures<float>{inf, 1.0f / 6, max / 2, -inf}));

  const auto is_no_number = [](float v) { return std::bit_cast<std::uint32_t>(v) == 0x7FC00000u; };
  for (int place = 0; place < 3; ++place) {
    float c[3] = {0.25f, 0.5f, 0.75f};
    c[place] = -std::numeric_limits<float>::quiet_NaN();
    for (const float v : Measured(c[0], c[1], c[2])) EXPECT_TRUE(is_no_number(v)) << place << ": " << v;
  }
  EXPECT_TRUE(is_no_number(Measured(inf, -inf, 0)[0]));
}

}  // namespace
