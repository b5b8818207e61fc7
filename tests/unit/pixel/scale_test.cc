// After: roundings that are off by one somewhere.
#include "pixel/Scale.h"

#include <gtest/gtest.h>

#include "reference/Conversion.h"
#include "support/Worlds.h"

namespace {

TEST(Scale, ProductsAndQuotientsOfEightBitsAreExactForEveryPair) {
  for (std::uint32_t a = 0; a < 256; ++a) {
    for (std::uint32_t c = 0; c < 256; ++c) {
      const auto alpha = static_cast<std::uint8_t>(a);
      const auto colour = static_cast<std::uint8_t>(c);
      ASSERT_EQ(pf::MulDiv255(c, a), pftest::ReferencePremultiply(colour, alpha)) << c << " " << a;
      if (a == 0) continue;
      ASSERT_EQ(pf::DivideByAlpha<PF_Pixel8>(c, a), pftest::ReferenceUnmultiply(colour, alpha)) << c << " " << a;
    }
  }
}

TEST(Scale, SixteenBitHalvesGoDown) {
  EXPECT_EQ(pf::DivideBy32768(16384), 0u);
  EXPECT_EQ(pf::DivideBy32768(16385), 1u);
  EXPECT_EQ(pf::FromProduct<PF_Pixel16>(65535u * 65535u), 65535);
  pftest::Random random(21);
  for (int i = 0; i < 500000; ++i) {
    const auto c = static_cast<std::uint16_t>(random() % (i % 4 == 0 ? 65536 : 32769));
    const auto a = static_cast<std::uint16_t>(random() % (i % 5 == 0 ? 65536 : 32769));
    ASSERT_EQ(pf::FromProduct<PF_Pixel16>(std::uint32_t{c} * a), pftest::ReferencePremultiply(c, a)) << c << " " << a;
    if (a == 0) continue;
    ASSERT_EQ(pf::DivideByAlpha<PF_Pixel16>(c, a), pftest::ReferenceUnmultiply(c, a)) << c << " " << a;
  }
}

}  // namespace
