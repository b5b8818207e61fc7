// After: wrong rounding, limits, wrap and NaN handling of single channels. The row kernels' tests hold
// every value against the reference; here stand the values that callers know.
#include "pixel/ConvertDepth.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(ConvertDepth, KnownValuesStand) {
  EXPECT_EQ(pf::Widen(254), 32640);
  EXPECT_EQ(pf::Widen(255), 32768);
  for (std::uint32_t v = 0; v < 256; ++v) EXPECT_EQ(pf::Narrow(pf::Widen(static_cast<std::uint8_t>(v))), v);
  EXPECT_EQ(pf::ToFloat(std::uint8_t{1}), 0.003921569f);
  EXPECT_EQ(pf::ToFloat(std::uint16_t{1}), 3.0517578e-5f);
  EXPECT_EQ(pf::AlphaFromFloat<PF_Pixel8>(1.5f), 383 & 255);
  EXPECT_EQ(pf::ColourFromFloat<PF_Pixel8>(1.5f), 255);
  EXPECT_EQ(pf::AlphaFromFloat<PF_Pixel16>(-1.0f), 0x8001) << "-32767.5 truncates to -32767";
  EXPECT_EQ(pf::ColourFromFloat<PF_Pixel16>(-1.0f), 0);
}

TEST(ConvertDepth, TruncationIsDefinedForEveryFloat) {
  EXPECT_EQ(pf::TruncateToInt32(-1.99f), -1);
  EXPECT_EQ(pf::TruncateToInt32(2147483520.0f), 2147483520);
  for (const float v : {2147483648.0f, -2147483648.0f, -2147483904.0f, 1e30f, -INFINITY, INFINITY, NAN}) {
    EXPECT_EQ(pf::TruncateToInt32(v), INT32_MIN) << v;
  }
}

}  // namespace
