// After: a form that is not what its name says, tables off by one, and null arguments.
#include <gtest/gtest.h>

#include <cstring>

#include "reference/Conversion.h"
#include "unit/colorspace/Colours.h"

namespace {

PF_Pixel8 AnyPixel8(pftest::Random& random) {
  const auto any = [&] { return static_cast<std::uint8_t>(random()); };
  return {any(), any(), any(), any()};
}

std::uint8_t Straight(std::uint8_t c, std::uint8_t alpha) {
  return alpha == 0 ? std::uint8_t{0} : static_cast<std::uint8_t>(pftest::ReferenceUnmultiply(c, alpha));
}

TEST(AlphaTables, HoldEveryProductAndQuotient) {
  for (std::size_t i = 0; i < 65536; ++i) {
    const auto alpha = static_cast<std::uint8_t>(i >> 8), c = static_cast<std::uint8_t>(i);
    ASSERT_EQ(PFp_G_fcd_table[i], Straight(c, alpha)) << "alpha " << +alpha << " channel " << +c;
    ASSERT_EQ(PFp_G_fcm_table[i], pftest::ReferencePremultiply(c, alpha)) << "alpha " << +alpha << " channel " << +c;
  }
}

// Every family: what a null argument leaves alone, and how the premultiplied form follows from the straight one.
template <class Out>
void ExpectOfPremultiplied(PF_Err (*premul)(void*, const PF_Pixel8*, Out*),
                           PF_Err (*straight)(void*, const PF_Pixel8*, Out*), const char* family) {
  SCOPED_TRACE(family);
  pftest::Random random(8);
  for (int i = 0; i < 20000; ++i) {
    const PF_Pixel8 p = AnyPixel8(random);
    const PF_Pixel8 s = {0, Straight(p.red, p.alpha), Straight(p.green, p.alpha), Straight(p.blue, p.alpha)};
    Out got{}, want{};
    ASSERT_EQ(premul(nullptr, &p, &got), 0);
    straight(nullptr, &s, &want);
    ASSERT_EQ(std::memcmp(&got, &want, sizeof got), 0)
        << +p.alpha << " " << +p.red << " " << +p.green << " " << +p.blue;
    Out kept = want;
    ASSERT_EQ(premul(nullptr, nullptr, &kept) | straight(nullptr, nullptr, &kept), 0);
    ASSERT_EQ(premul(nullptr, &p, nullptr) | straight(nullptr, &p, nullptr), 0);
    ASSERT_EQ(std::memcmp(&kept, &want, sizeof kept), 0);
  }
}

TEST(Forms, PremultipliedPixelsAreReadStraight) {
  ExpectOfPremultiplied(&PF_RGBtoHLS_Premul, &PF_RGBtoHLS_Straight, "HLS");
  ExpectOfPremultiplied(&PF_RGBtoYIQ_Premul, &PF_RGBtoYIQ_Straight, "YIQ");
  ExpectOfPremultiplied(&PF_Luminance_Premul, &PF_Luminance_Straight, "luminance");
  ExpectOfPremultiplied(&PF_Hue_Premul, &PF_Hue_Straight, "hue");
  ExpectOfPremultiplied(&PF_Lightness_Premul, &PF_Lightness_Straight, "lightness");
  ExpectOfPremultiplied(&PF_Saturation_Premul, &PF_Saturation_Straight, "saturation");
}

template <class Triple>
void ExpectStraightIsWritten(PF_Err (*premul)(void*, const Triple*, PF_Pixel8*),
                             PF_Err (*straight)(void*, const Triple*, PF_Pixel8*)) {
  const Triple triple = {{40000}, {30000}, {20000}};
  PF_Pixel8 got = {3, 0, 0, 0}, want = got;
  EXPECT_EQ(premul(nullptr, nullptr, &got) | premul(nullptr, &triple, nullptr), 0);
  EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0);
  EXPECT_EQ(premul(nullptr, &triple, &got) | straight(nullptr, &triple, &want), 0);
  EXPECT_EQ(std::memcmp(&got, &want, sizeof got), 0);
  EXPECT_GT(got.red, 3) << "more than alpha: straight";
}

TEST(Forms, IntoRgbWritesStraightColourInThePremultipliedFormToo) {
  ExpectStraightIsWritten(&PF_HLStoRGB_Premul, &PF_HLStoRGB_Straight);
  ExpectStraightIsWritten(&PF_YIQtoRGB_Premul, &PF_YIQtoRGB_Straight);
}

}  // namespace
