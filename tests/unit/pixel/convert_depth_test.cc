// After: wrong rounding, wrong limits, wrap and NaN handling of single channels.
#include "pixel/ConvertDepth.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "reference/Conversion.h"
#include "support/Worlds.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(ConvertDepth, IntegerConversionsAgreeWithTheReferenceForEveryValue) {
  for (std::uint32_t v = 0; v < 65536; ++v) {
    const auto low = static_cast<std::uint8_t>(v);
    const auto word = static_cast<std::uint16_t>(v);
    const PF_Pixel8 in8 = {low, low, low, low};
    const PF_Pixel16 in16 = {word, word, word, word};
    PF_Pixel8 out8;
    PF_Pixel16 out16;
    PF_PixelFloat from8, from16;
    pftest::ReferenceConvert(8, &in8, 16, &out16);
    pftest::ReferenceConvert(8, &in8, 32, &from8);
    pftest::ReferenceConvert(16, &in16, 8, &out8);
    pftest::ReferenceConvert(16, &in16, 32, &from16);
    ASSERT_EQ(pf::Widen(low), out16.red) << v;
    ASSERT_EQ(pf::ToFloat(low), from8.red) << v;
    ASSERT_EQ(pf::Narrow(word), out8.red) << v;
    ASSERT_EQ(pf::ToFloat(word), from16.red) << v;
    for (const std::uint32_t random : {0u, 16383u, 16384u, 32767u, 32768u, 0xFFFFFFFFu, v * 2654435761u}) {
      const std::uint32_t four[4] = {random, random, random, random};
      pftest::ReferenceConvert(16, &in16, 8, &out8, four);
      ASSERT_EQ(pf::NarrowDithered(word, random), out8.red) << v << " random " << random;
    }
  }
}

TEST(ConvertDepth, KnownValuesStand) {
  EXPECT_EQ(pf::Widen(254), 32640);
  EXPECT_EQ(pf::Widen(255), 32768);
  for (std::uint32_t v = 0; v < 256; ++v) EXPECT_EQ(pf::Narrow(pf::Widen(static_cast<std::uint8_t>(v))), v);
  EXPECT_EQ(pf::ToFloat(std::uint8_t{1}), 0.003921569f);
  EXPECT_EQ(pf::ToFloat(std::uint16_t{1}), 3.0517578e-5f);
  EXPECT_EQ(pf::AlphaFromFloat<PF_Pixel8>(1.5f), 383 & 255);
  EXPECT_EQ(pf::ColourFromFloat<PF_Pixel8>(1.5f), 255);
  EXPECT_EQ(pf::AlphaFromFloat<PF_Pixel16>(-1.0f), 0x8000 + 1);  // -32767.5 truncates to -32767
  EXPECT_EQ(pf::AlphaFromFloat<PF_Pixel8>(kNaN), 0);
  EXPECT_EQ(pf::ColourFromFloat<PF_Pixel16>(kNaN), 0);
  EXPECT_EQ(pf::ColourFromFloat<PF_Pixel16>(kInfinity), 32768);
}

TEST(ConvertDepth, TruncationIsDefinedForEveryFloat) {
  EXPECT_EQ(pf::TruncateToInt32(-2147483648.0f), INT32_MIN);
  EXPECT_EQ(pf::TruncateToInt32(2147483520.0f), 2147483520);
  for (const float v : {2147483648.0f, -2147483904.0f, 1e30f, -1e30f, kInfinity, -kInfinity, kNaN}) {
    EXPECT_EQ(pf::TruncateToInt32(v), INT32_MIN) << v;
  }
  EXPECT_EQ(pf::TruncateToInt32(-1.99f), -1);
}

TEST(ConvertDepth, FloatConversionsAgreeWithTheReference) {
  pftest::Random random(20);
  for (int i = 0; i < 2000000; ++i) {
    const auto bits = static_cast<std::uint32_t>(random());
    float v;
    std::memcpy(&v, &bits, 4);
    // Half of the values near the range that matters, on and beside the steps.
    if (i % 2 == 0) v = (static_cast<float>(bits % 66000) + 0.5f) / 32768.0f * (bits >> 31 ? -1.0f : 1.0f);
    ASSERT_EQ(pf::AlphaFromFloat<PF_Pixel8>(v), pftest::ReferenceAlphaFromFloat(v, 8)) << v;
    ASSERT_EQ(pf::ColourFromFloat<PF_Pixel8>(v), pftest::ReferenceColourFromFloat(v, 8)) << v;
    ASSERT_EQ(pf::AlphaFromFloat<PF_Pixel16>(v), pftest::ReferenceAlphaFromFloat(v, 16)) << v;
    ASSERT_EQ(pf::ColourFromFloat<PF_Pixel16>(v), pftest::ReferenceColourFromFloat(v, 16)) << v;
  }
}

}  // namespace
