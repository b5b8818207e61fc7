// After wrong tables between stored values and linear light: places where the inverse reads past its end, falls,
// leaves its range or rounds the wrong way.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "PF/PF_ColorSettings.h"
#include "support/TestEngine.h"
#include "support/TestHost.h"
#include "support/Throws.h"

namespace {

using pftest::Host;
using pftest::NewPowerProfile;
using pftest::NewProfile;

class LinearTables : public testing::Test {
 protected:
  void SetUp() override { Host().Reset(); }
};

std::uint16_t Ramp(std::uint32_t code) { return static_cast<std::uint16_t>((code * 8421504u + 33200u) >> 16); }

TEST_F(LinearTables, OfALinearProfileAreTheRampAndEveryEighthValue) {
  const auto tables = PF_MakeLinearizationTables(NewPowerProfile(1));
  for (std::uint32_t k = 0; k < 256; ++k) EXPECT_EQ(tables->toLinear8[k], Ramp(k)) << k;
  for (int m = 0; m <= 4096; ++m) {
    EXPECT_EQ(tables->fromLinear16[m], m == 4080 ? 32639 : 8 * m) << "m = " << m << ", QUIRK-39";
  }
  EXPECT_EQ(tables->gamma, 1.0f);
  EXPECT_EQ(tables->inverseGamma, 1.0f);
}

TEST_F(LinearTables, AskTheEngineOnceFor256PixelsOfSixteenBits) {
  PF_MakeLinearizationTables(NewPowerProfile(2));
  EXPECT_EQ(Host().engine_runs, (std::vector<pftest::EngineRun>{{XCE_Layout_16, XCE_Layout_16, 256}}));
  EXPECT_EQ(Host().last_transform.intent, XCE_Intent_RELATIVE_COLORIMETRIC);
}

TEST_F(LinearTables, OfAnEmptyProfileAreThoseOfTheDefaultWorkingProfile) {
  const auto tables = PF_MakeLinearizationTables({});
  EXPECT_EQ(tables->toLinear8[128], std::lround(std::pow(Ramp(128) / 32768.0, 2) * 32768));
  EXPECT_EQ(tables->gamma, 2.0f);
  EXPECT_EQ(tables->inverseGamma, 0.5f);
}

// Linear light at every eighth 16-bit value: straight lines between the 8-bit codes, to nearest, the highest so far.
std::vector<double> HighestSoFar(const PF_LinearBlendingTables& tables) {
  std::vector<double> highest;
  for (int j = 0; j <= 4096; ++j) {
    const double place = j / 4096.0 * 255;
    const int i = std::min(static_cast<int>(place), 254);
    const double light = tables.toLinear8[i] + (place - i) * (tables.toLinear8[i + 1] - tables.toLinear8[i]);
    highest.push_back(std::max(std::floor(light + 0.5), j > 0 ? highest.back() : 0.0));
  }
  return highest;
}

// Light through the inverse and forth again is the light, but for the rounding of the inverse to whole values.
void ExpectInverse(const PF_LinearBlendingTables& tables, const std::string& name) {
  const std::vector<double> forward = HighestSoFar(tables);
  for (int m = 0; m <= 4096; ++m) {
    SCOPED_TRACE(name + ", m = " + std::to_string(m));
    const int value = tables.fromLinear16[m];
    const double light = 8.0 * m;
    ASSERT_GE(value, tables.fromLinear16[std::max(m, 1) - 1]) << "never falls";
    ASSERT_LE(value, 32768);
    if (light < forward.front() || light >= forward.back()) {
      ASSERT_EQ(value, light < forward.front() ? 0 : 32768);
      continue;
    }
    const auto i = static_cast<std::size_t>(std::min(value / 8, 4095));
    const double step = forward[i + 1] - forward[i], step_before = i > 0 ? forward[i] - forward[i - 1] : 0;
    const double there_and_back = forward[i] + step * (value / 8.0 - static_cast<double>(i));
    ASSERT_NEAR(there_and_back, light, (std::max(step, step_before) + 1) / 16 + 1e-9);
  }
}

TEST_F(LinearTables, InvertPowersToTheNearestValue) {
  for (const double gamma : {0.45, 1.0, 1.8, 2.2, 2.6, 4.0}) {
    const auto tables = PF_MakeLinearizationTables(NewPowerProfile(gamma));
    ExpectInverse(*tables, "gamma " + std::to_string(gamma));
    EXPECT_EQ(tables->fromLinear16[4096], 32768) << gamma;
    EXPECT_EQ(tables->gamma, static_cast<float>(gamma));
    EXPECT_EQ(tables->inverseGamma, 1.0f / tables->gamma);
  }
}

TEST_F(LinearTables, OfStrangeCurvesInvertTheHighestLightSoFar) {
  const std::pair<const char*, pftest::Curve> curves[] = {
      {"falling", [](double v) { return 1 - v; }},
      {"hill", [](double v) { return 4 * v * (1 - v); }},
      {"constant black", [](double) { return 0.0; }},
      {"constant white", [](double) { return 1.0; }},
      {"black is lifted", [](double v) { return 0.2 + 0.8 * v; }},
      {"white is missed", [](double v) { return 0.5 * v; }},
      {"beyond white", [](double v) { return 1.9 * v; }},
      {"steps", [](double v) { return std::floor(v * 7) / 7; }},
      {"saw", [](double v) { return std::fmod(v * 9, 1.0); }},
  };
  for (const auto& [name, curve] : curves) {
    const auto tables = PF_MakeLinearizationTables(NewProfile(name, curve, 1));
    for (const std::uint16_t value : tables->toLinear8) EXPECT_LE(value, 32768) << name;
    ExpectInverse(*tables, name);
  }
  const auto lifted = PF_MakeLinearizationTables(NewProfile("lifted", curves[4].second, 1));
  EXPECT_EQ(lifted->fromLinear16[0], 0) << "light below black is black";
  const auto dim = PF_MakeLinearizationTables(NewProfile("dim", curves[5].second, 1));
  EXPECT_EQ(dim->fromLinear16[4096], 32768) << "light above white is white";
}

TEST_F(LinearTables, WithAGammaThatIsNoneAreAnEngineFailure) {
  for (const double gamma : {0.0, -1.0, 1e300, 1e-320, std::nan(""), HUGE_VAL}) {
    Host().Reset();
    EXPECT_EQ(pftest::ThrownCode([&] { PF_MakeLinearizationTables(NewProfile("odd", {}, gamma)); }), 3) << gamma;
    EXPECT_EQ(Host().engine_errors, std::vector<std::int32_t>{XCE_ERR_BAD_PROFILE}) << gamma;
    float green = 5;
    EXPECT_EQ(PF_GetCalRGBGammas(NewProfile("odd", {}, gamma).get(), nullptr, &green, nullptr), 3) << gamma;
    EXPECT_EQ(green, 5.0f);
  }
}

TEST_F(LinearTables, TellOfEveryEngineCallThatFailsAndLeaveNothing) {
  const auto profile = NewPowerProfile(2);
  const std::int64_t before = Host().live_allocations;
  Host().Reset();
  PF_MakeLinearizationTables(profile);
  const std::int64_t calls = Host().engine_calls;
  ASSERT_GE(calls, 4);
  for (std::int64_t k = 0; k < calls; ++k) {
    for (const std::int32_t error : {std::int32_t{XCE_ERR_NO_TRANSFORM}, 4}) {
      Host().Reset();
      Host().fail_engine_call = k;
      Host().engine_error = error;
      EXPECT_EQ(pftest::ThrownCode([&] { PF_MakeLinearizationTables(profile); }), error == 4 ? 4 : 3) << k;
      EXPECT_EQ(Host().engine_errors, std::vector<std::int32_t>{error}) << k;
      EXPECT_EQ(Host().live_allocations, before) << k;
    }
  }
  Host().Reset();
  Host().no_engine = true;
  EXPECT_EQ(pftest::ThrownCode([&] { PF_MakeLinearizationTables(profile); }), 0x67656E20);
  EXPECT_TRUE(Host().engine_errors.empty()) << "there is nobody to tell";
}

TEST_F(LinearTables, TheirTransformRunsInBothDirections) {
  const auto profile = NewPowerProfile(2);
  PF_Pixel16 pixel = {32768, 16384, 32768, 0};
  const pftest::TestTransform there(PF_GetLinearizeTransform(profile, {}, true));
  EXPECT_EQ(COR_ApplyTransform(there.transform, XCE_Layout_16, &pixel, XCE_Layout_16, &pixel, 1), 0);
  EXPECT_EQ(pixel.red, 8192);
  const pftest::TestTransform back(PF_GetLinearizeTransform(profile, NewPowerProfile(1), false));
  EXPECT_EQ(COR_ApplyTransform(back.transform, XCE_Layout_16, &pixel, XCE_Layout_16, &pixel, 1), 0);
  EXPECT_EQ(pixel.red, 16384);
}

}  // namespace
