// After colours that are wrong in the dark, out of gamut or beyond white, values that leave their range, and
// transforms that threads cannot share.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <thread>

#include "ColorSupport.h"
#include "PF/PF_ColorSettings.h"
#include "PF/PF_Worlds.h"
#include "Support.h"
#include "host/vexcore.h"
#include "support/Worlds.h"

namespace {

using namespace pftest;

// IEC 61966-2-1, both ways, beyond white and below black too.
double FromSRGB(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
double ToSRGB(double v) { return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055; }

TEST(Transforms, OfCurvesAreRightToHalfAStepForEveryCode) {
  const COR_XCE_ProfileRef srgb = Standard(XCE_Profile_SRGB), linear = LinearOf(srgb.get());
  const Conversion there(srgb.get(), linear.get()), back(linear.get(), srgb.get());
  std::vector<Rgb16> codes(32769), light(32769), stored(32769);
  for (std::size_t i = 0; i < codes.size(); ++i) {
    const auto v = static_cast<std::uint16_t>(i);
    codes[i] = {1, v, v, v};
  }
  ASSERT_EQ(COR_ApplyTransform(there.get(), XCE_Layout_16, codes.data(), XCE_Layout_16, light.data(), 32769), 0);
  ASSERT_EQ(COR_ApplyTransform(back.get(), XCE_Layout_16, codes.data(), XCE_Layout_16, stored.data(), 32769), 0);
  for (std::size_t i = 0; i < codes.size(); ++i) {
    const double v = static_cast<double>(i) / 32768;
    ASSERT_NEAR(light[i].green, FromSRGB(v) * 32768, 0.75) << i;
    ASSERT_NEAR(stored[i].blue, ToSRGB(v) * 32768, 0.75) << i;
  }
}

TEST(Transforms, OfLongRunsAreTheSameForEveryNumberOfThreads) {
  constexpr std::size_t kCount = 3 * 65536 + 17;
  std::vector<Rgb16> in(kCount), expected;
  std::mt19937 random(3);
  for (Rgb16& p : in) {
    const auto any = [&] { return static_cast<std::uint16_t>(random() % 32769); };
    p = {any(), any(), any(), any()};
  }
  for (const std::int32_t threads : {1, 2, 5}) {
    const RunningHost host(threads);
    const Conversion conversion(Standard(XCE_Profile_SRGB).get(), Standard(XCE_Profile_ROMM).get());
    std::vector<Rgb16> out(kCount);
    ASSERT_EQ(COR_ApplyTransform(conversion.get(), XCE_Layout_16, in.data(), XCE_Layout_16, out.data(), kCount), 0);
    if (threads == 1) expected = out;
    EXPECT_EQ(std::memcmp(out.data(), expected.data(), kCount * sizeof(Rgb16)), 0) << threads;
  }
}

TEST(Transforms, BetweenStandardSpacesGiveKnownColours) {
  const auto convert8 = [](XCE_ProfileCode from, XCE_ProfileCode to, std::vector<std::uint8_t> rgb) {
    rgb.insert(rgb.begin(), 77);
    const Conversion conversion(Standard(from).get(), Standard(to).get());
    EXPECT_EQ(COR_ApplyTransform(conversion.get(), XCE_Layout_8, rgb.data(), XCE_Layout_8, rgb.data(), 1), 0);
    return rgb;
  };
  using Codes = std::vector<std::uint8_t>;
  EXPECT_EQ(convert8(XCE_Profile_SRGB, XCE_Profile_DISPLAY_P3, {255, 0, 0}), (Codes{77, 234, 51, 35}));
  EXPECT_EQ(convert8(XCE_Profile_DISPLAY_P3, XCE_Profile_SRGB, {0, 255, 0}), (Codes{77, 0, 255, 0})) << "limited";
  EXPECT_EQ(convert8(XCE_Profile_SRGB, XCE_Profile_LINEAR_SRGB, {188, 128, 1}), (Codes{77, 128, 55, 0}));
  EXPECT_EQ(convert8(XCE_Profile_SRGB, XCE_Profile_SRGB, {1, 2, 254}), (Codes{77, 1, 2, 254}));
}

template <class T>
double Error(const std::vector<T>& out, std::size_t channel, double expected, double full) {
  return std::fabs(static_cast<double>(out[channel]) - std::clamp(expected, 0.0, 1.0) * full);
}

// Every pair of layouts against the colour library's own arithmetic in double precision, dark colours and those out
// of gamut among them.
TEST(Transforms, OfEveryPairOfLayoutsAgreeWithDoublePrecision) {
  const std::pair<XCE_ProfileCode, XCE_ProfileCode> pairs[] = {{XCE_Profile_SRGB, XCE_Profile_OPRGB},
                                                               {XCE_Profile_ROMM, XCE_Profile_SRGB},
                                                               {XCE_Profile_DCI_P3, XCE_Profile_ACESCG},
                                                               {XCE_Profile_LINEAR_P3, XCE_Profile_REC2020}};
  std::mt19937_64 random(5);
  for (const auto& [from, to] : pairs) {
    const COR_XCE_ProfileRef source = Standard(from), destination = Standard(to);
    const Bytes source_icc = IccOf(source.get()), destination_icc = IccOf(destination.get());
    const auto open = [](const Bytes& icc) {
      return cmsOpenProfileFromMem(icc.data(), static_cast<cmsUInt32Number>(icc.size()));
    };
    cmsHPROFILE a = open(source_icc), b = open(destination_icc);
    cmsHTRANSFORM precise = cmsCreateTransform(a, TYPE_RGB_DBL, b, TYPE_RGB_DBL, INTENT_RELATIVE_COLORIMETRIC,
                                               cmsFLAGS_NOCACHE | cmsFLAGS_NOOPTIMIZE);
    const Conversion convert(source.get(), destination.get());
    for (int i = 0; i < 3000; ++i) {
      std::vector<std::uint8_t> in8(4);
      for (auto& v : in8) v = static_cast<std::uint8_t>(i % 3 == 0 ? random() % 6 : random());
      std::vector<std::uint16_t> in16(4);
      for (auto& v : in16) v = static_cast<std::uint16_t>(i % 3 == 0 ? random() % 99 : random() % 32769);
      const auto check = [&](XCE_Layout layout, const void* in, const double(&unit)[3]) {
        double expected[3];
        cmsDoTransform(precise, unit, expected, 1);
        std::vector<std::uint8_t> out8(4, 9);
        std::vector<std::uint16_t> out16(4, 9);
        std::vector<float> out_float(4, 9);
        ASSERT_EQ(COR_ApplyTransform(convert.get(), layout, in, XCE_Layout_8, out8.data(), 1), 0);
        ASSERT_EQ(COR_ApplyTransform(convert.get(), layout, in, XCE_Layout_16, out16.data(), 1), 0);
        ASSERT_EQ(COR_ApplyTransform(convert.get(), layout, in, XCE_Layout_FLOAT, out_float.data(), 1), 0);
        EXPECT_TRUE(out8[0] == 9 && out16[0] == 9 && out_float[0] == 9) << "alpha is left alone";
        for (std::size_t c = 0; c < 3; ++c) {
          // The steepest curves are near black, where the matrix has its own small error.
          EXPECT_LE(Error(out8, c + 1, expected[c], 255), 0.75) << from << " to " << to << ", channel " << c;
          EXPECT_LE(Error(out16, c + 1, expected[c], 32768), 3) << from << " to " << to << ", channel " << c;
          EXPECT_NEAR(static_cast<double>(out_float[c + 1]), expected[c], 1e-4 + 1e-5 * std::fabs(expected[c]));
        }
      };
      check(XCE_Layout_8, in8.data(), {in8[1] / 255.0, in8[2] / 255.0, in8[3] / 255.0});
      check(XCE_Layout_16, in16.data(), {in16[1] / 32768.0, in16[2] / 32768.0, in16[3] / 32768.0});
      const std::vector<float> in = {0.5f, static_cast<float>(in16[1]) / 32768, static_cast<float>(in16[2]) / 32768,
                                     static_cast<float>(in16[3]) / 32768};
      check(XCE_Layout_FLOAT, in.data(),
            {static_cast<double>(in[1]), static_cast<double>(in[2]), static_cast<double>(in[3])});
    }
    cmsDeleteTransform(precise);
    cmsCloseProfile(a);
    cmsCloseProfile(b);
  }
}

TEST(Transforms, GoBeyondWhiteInFloatsAsFarAsTheCurvesReach) {
  const COR_XCE_ProfileRef srgb = Standard(XCE_Profile_SRGB), linear = LinearOf(srgb.get());
  const Conversion encode(linear.get(), srgb.get());
  const float infinity = std::numeric_limits<float>::infinity();
  for (const float v : {-3.0f, -0.01f, -0x1p-60f, 0.0f, 0x1p-60f, 0x1p-20f, 0.18f, 1.0f, 1.5f, 63.0f, 64.5f, 4000.0f}) {
    const RgbFloat out = encode(RgbFloat{0.25f, v, v, v});
    const double expected = ToSRGB(static_cast<double>(v));
    EXPECT_NEAR(static_cast<double>(out.green), expected, 4e-6 + 1e-4 * std::fabs(expected)) << v;
    EXPECT_EQ(out.alpha, 0.25f);
  }
  COR_XCE_TransformOptions limiting = Conversion::Relative();
  limiting.clip_float = 1;
  const Conversion limited(linear.get(), srgb.get(), limiting);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (const float v : {-3.0f, 1.5f, 9999.0f, infinity, -infinity, nan}) {
    const RgbFloat out = limited(RgbFloat{nan, v, 0.5f, v});
    EXPECT_EQ(out.red, v > 1 ? 1.0f : 0.0f) << v;
    EXPECT_TRUE(std::isnan(out.alpha));
    std::uint16_t narrow[4] = {5, 5, 5, 5};
    const RgbFloat in = {1, v, 0.5f, v};
    EXPECT_EQ(COR_ApplyTransform(encode.get(), XCE_Layout_FLOAT, &in, XCE_Layout_16, narrow, 1), 0);
    EXPECT_EQ(narrow[1], v > 1 ? 32768 : 0) << v;
  }
}

TEST(Transforms, FromAProfileToItselfChangeNoBit) {
  std::mt19937_64 random(9);
  for (const XCE_ProfileCode code : {XCE_Profile_SRGB, XCE_Profile_DCI_P3, XCE_Profile_ACES2065}) {
    const Conversion none(Standard(code).get(), Standard(code).get());
    for (int i = 0; i < 2000; ++i) {
      const auto any = [&] {
        return std::ldexp(static_cast<float>(random() % 4001) - 2000, -static_cast<int>(random() % 30));
      };
      const RgbFloat in = {any(), any(), any(), any()}, out = none(in);
      ASSERT_EQ(std::memcmp(&in, &out, sizeof in), 0) << in.red << ", " << in.green << ", " << in.blue;
    }
  }
}

TEST(Transforms, OfOtherIntentsAgreeWhereNothingIsToBeDecided) {
  const COR_XCE_ProfileRef from = Standard(XCE_Profile_OPRGB), to = Standard(XCE_Profile_DISPLAY_P3);
  const Rgb16 dull = {5, 15000, 12000, 18000}, expected = Conversion(from.get(), to.get())(dull);
  for (int intent = 0; intent < 8; ++intent) {
    COR_XCE_TransformOptions options = {};
    options.intent = static_cast<XCE_Intent>(intent % 4);
    options.black_point_compensation = intent / 4;
    const Rgb16 out = Conversion(from.get(), to.get(), options)(dull);
    EXPECT_NEAR(out.red, expected.red, 60) << intent;
    EXPECT_NEAR(out.green, expected.green, 60) << intent;
    EXPECT_NEAR(out.blue, expected.blue, 60) << intent;
    EXPECT_EQ(out.alpha, 5);
  }
}

TEST(Transforms, TakeSixteenBitValuesAboveFullAsFull) {
  const Conversion convert(Standard(XCE_Profile_ROMM).get(), Standard(XCE_Profile_SRGB).get());
  const Rgb16 full = convert(Rgb16{65535, 32768, 0, 32768}), above = convert(Rgb16{65535, 65535, 0, 40000});
  EXPECT_EQ(above.red, full.red);
  EXPECT_EQ(above.blue, full.blue);
  EXPECT_EQ(above.alpha, 65535);
  const COR_XCE_ProfileRef srgb = Standard(XCE_Profile_SRGB);
  const Rgb16 light = Conversion(srgb.get(), LinearOf(srgb.get()).get())(Rgb16{65535, 65535, 0, 40000});
  EXPECT_EQ(light.red, 32768);
  EXPECT_EQ(light.blue, 32768);
}

TEST(Transforms, OfStrangeSamplesStayInRangeBothWays) {
  const COR_XCE_ProfileRef linear = Standard(XCE_Profile_LINEAR_SRGB);
  const std::vector<std::uint16_t> curves[] = {{65535, 0},       {0, 65535, 0},
                                               {0, 0, 0, 65535}, {0, 65535, 65535, 65535},
                                               {30000, 30000},   {0, 9000, 8000, 40000, 30000, 65535}};
  for (const auto& samples : curves) {
    const Bytes icc = ProfileOfSamples(samples);
    COR_XCE_ProfileRef profile;
    ASSERT_EQ(COR_NewProfileFromICC(icc.data(), icc.size(), &profile), 0);
    const Conversion there(profile.get(), linear.get()), back(linear.get(), profile.get());
    for (int v = 0; v <= 32768; v += 64) {
      const auto code = static_cast<std::uint16_t>(v);
      const Rgb16 light = there(Rgb16{0, code, code, code}), stored = back(Rgb16{0, code, code, code});
      ASSERT_LE(std::max({light.red, light.blue, stored.red, stored.blue}), 32768);
      const double place = v / 32768.0 * static_cast<double>(samples.size() - 1);
      const auto i = std::min(static_cast<std::size_t>(place), samples.size() - 2);
      const double expected = samples[i] + (samples[i + 1] - samples[i]) * (place - static_cast<double>(i));
      ASSERT_NEAR(light.green, expected * 32768 / 65535, 8) << v << " of " << samples.size() << " samples";
    }
  }
}

TEST(Transforms, ThroughProofsShowWhatTheProofCanShow) {
  const COR_XCE_ProfileRef p3 = Standard(XCE_Profile_DISPLAY_P3), srgb = Standard(XCE_Profile_SRGB);
  COR_XCE_TransformOptions options = Conversion::Relative();
  options.proofs[1] = srgb.get();
  const Conversion proof(p3.get(), p3.get(), options);
  // The limited colour is the one that goes there and back by hand.
  const Conversion to_srgb(p3.get(), srgb.get()), to_p3(srgb.get(), p3.get());
  const Rgb16 green = {3, 0, 32768, 0}, by_hand = to_p3(to_srgb(green)), proofed = proof(green);
  EXPECT_NEAR(proofed.red, by_hand.red, 40);
  EXPECT_NEAR(proofed.green, by_hand.green, 40);
  EXPECT_GT(proofed.red, 10000) << "pure P3 green cannot be shown";
  EXPECT_EQ(proofed.alpha, 3);
  const Rgb16 dull = {3, 9000, 12000, 10000}, same = proof(dull);
  EXPECT_NEAR(same.green, dull.green, 40) << "what the proof can show stays";
}

TEST(Transforms, OfTablesWorkForAllLayoutsAndTheirLinearFormHasTheirPrimaries) {
  if (TestProfile("").empty()) GTEST_SKIP() << "PF_TEST_DATA is not set";
  COR_XCE_ProfileRef tables;
  ASSERT_EQ(COR_NewProfileFromFile(TestProfile("lut_rgb_lab_v4.icc").c_str(), &tables), 0);
  const Conversion convert(tables.get(), Standard(XCE_Profile_SRGB).get());
  const std::uint8_t in8[4] = {8, 200, 100, 51};
  const Rgb16 in16 = {9, 25700, 12850, 6554};
  const RgbFloat in_float = {0.5f, 200 / 255.0f, 100 / 255.0f, 51 / 255.0f};
  const RgbFloat expected = convert(in_float);
  for (const XCE_Layout layout : {XCE_Layout_8, XCE_Layout_16}) {
    const void* in = layout == XCE_Layout_8 ? static_cast<const void*>(in8) : &in16;
    std::uint8_t out8[4] = {1, 1, 1, 1};
    Rgb16 out16 = {1, 1, 1, 1};
    RgbFloat out = {1, 1, 1, 1};
    ASSERT_EQ(COR_ApplyTransform(convert.get(), layout, in, XCE_Layout_8, out8, 1), 0);
    ASSERT_EQ(COR_ApplyTransform(convert.get(), layout, in, XCE_Layout_16, &out16, 1), 0);
    ASSERT_EQ(COR_ApplyTransform(convert.get(), layout, in, XCE_Layout_FLOAT, &out, 1), 0);
    EXPECT_NEAR(out8[2], static_cast<double>(expected.green) * 255, 2);
    EXPECT_NEAR(out16.green, static_cast<double>(expected.green) * 32768, 60);
    EXPECT_NEAR(out.green, expected.green, 0.001f);
    EXPECT_TRUE(out8[0] == 1 && out16.alpha == 1 && out.alpha == 1);
  }
  const COR_XCE_ProfileRef linear = LinearOf(tables.get());
  EXPECT_FALSE(InfoOf(linear.get()).has_tables);
  EXPECT_EQ(InfoOf(linear.get()).gamma[1], 1);
  const auto made = PF_MakeLinearizationTables(tables);
  EXPECT_LT(made->toLinear8[0], 1500);
  EXPECT_GT(made->toLinear8[255], 31000);
}

TEST(Transforms, AreRefusedForUnknownIntentsAndLayouts) {
  COR_XCE_TransformOptions options = {};
  options.intent = static_cast<XCE_Intent>(4);
  COR_XCE_Transform none = nullptr;
  EXPECT_EQ(COR_NewTransform(nullptr, nullptr, &options, &none), XCE_ERR_BAD_PARAMETER);
  EXPECT_EQ(none, nullptr);
  const Conversion convert(nullptr, nullptr);
  std::uint8_t pixel[4] = {};
  EXPECT_EQ(COR_ApplyTransform(convert.get(), 0x72676270, pixel, XCE_Layout_8, pixel, 1), XCE_ERR_BAD_PARAMETER);
  EXPECT_EQ(COR_ApplyTransform(convert.get(), XCE_Layout_8, nullptr, XCE_Layout_8, pixel, 1), XCE_ERR_BAD_PARAMETER);
  EXPECT_EQ(COR_ApplyTransform(convert.get(), XCE_Layout_8, nullptr, XCE_Layout_8, nullptr, 0), 0);
  EXPECT_EQ(COR_ApplyTransform(nullptr, XCE_Layout_8, pixel, XCE_Layout_8, pixel, 1), XCE_ERR_BAD_PARAMETER);
}

TEST(Transforms, AreSharedByThreadsFromTheirFirstPixelOn) {
  std::vector<COR_XCE_ProfileRef> sources = {Standard(XCE_Profile_SRGB)};
  if (!TestProfile("").empty()) {
    sources.emplace_back();
    ASSERT_EQ(COR_NewProfileFromFile(TestProfile("lut_rgb_lab_v4.icc").c_str(), &sources.back()), 0);
  }
  for (const COR_XCE_ProfileRef& source : sources) {
    const Conversion alone(source.get(), Standard(XCE_Profile_OPRGB).get());
    const Conversion shared(source.get(), Standard(XCE_Profile_OPRGB).get());
    std::vector<Rgb16> in(3000);
    std::mt19937_64 random(8);
    for (Rgb16& pixel : in) {
      const auto v = [&] { return static_cast<std::uint16_t>(random() % 32769); };
      pixel = {0, v(), v(), v()};
    }
    std::vector<Rgb16> expected(in.size()), out[4];
    ASSERT_EQ(COR_ApplyTransform(alone.get(), XCE_Layout_16, in.data(), XCE_Layout_16, expected.data(), in.size()), 0);
    std::vector<std::thread> threads;
    for (auto& mine : out) {
      threads.emplace_back([&] {
        mine.resize(in.size());
        COR_ApplyTransform(shared.get(), XCE_Layout_16, in.data(), XCE_Layout_16, mine.data(), in.size());
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& mine : out) {
      EXPECT_EQ(std::memcmp(mine.data(), expected.data(), in.size() * sizeof(Rgb16)), 0);
    }
  }
}

TEST(LinearTables, OfStandardProfilesAreTheirCurves) {
  const auto srgb = PF_MakeLinearizationTables({});
  for (int k = 0; k < 256; ++k) {
    const double ramp = (static_cast<double>((static_cast<unsigned>(k) * 8421504u + 33200u) >> 16)) / 32768;
    EXPECT_NEAR(srgb->toLinear8[k], FromSRGB(ramp) * 32768, 0.75) << k;
  }
  for (int m = 0; m <= 4096; ++m) {
    // 255 straight lines for a curve: at most 1/600 of the range beside it, in the dark.
    EXPECT_NEAR(srgb->fromLinear16[m], ToSRGB(m / 4096.0) * 32768, 55) << m;
  }
  const auto linear = PF_MakeLinearizationTables(Standard(XCE_Profile_LINEAR_ROMM));
  for (int m = 0; m <= 4096; ++m) EXPECT_EQ(linear->fromLinear16[m], m == 4080 ? 32639 : 8 * m);
  EXPECT_EQ(linear->gamma, 1.0f);
}

TEST(WorldsOfProfiles, AreConvertedAndFailuresAreToldInWords) {
  const RunningHost host(2);
  TestWorld world(16, 3, 2, 8);
  for (int x = 0; x < 3; ++x) world.At<PF_Pixel16>(x, 1) = {500, 32768, 0, 0};
  const std::unique_ptr<PF_World> object(PF_World::NewReference(world.record()));
  EXPECT_EQ(
      PF_ConvertProfileToProfile(XCE_Profile_SRGB, XCE_Profile_DISPLAY_P3, object.get(), object.get(), true, nullptr),
      0);
  const PF_Pixel16 pixel = world.At<PF_Pixel16>(2, 1);
  EXPECT_EQ(pixel.alpha, 500);
  EXPECT_NEAR(pixel.red, 0.91749 * 32768, 8);
  EXPECT_NEAR(pixel.green, 0.20029 * 32768, 8);
  EXPECT_TRUE(world.GapsUntouched());
  EXPECT_EQ(PF_ConvertProfileToProfile(XCE_Profile_SRGB, 1, object.get(), object.get(), true, nullptr), 3);
  EXPECT_EQ(ReportTexts(), std::vector<std::string>{"there is no standard colour profile of that code"});
  EXPECT_EQ(PF_GetWorkingSpaceProfileName(), L"Working Space - sRGB IEC 61966-2-1");
  PF_ColorSettings* settings = PF_GetEmergencyColorSettings();
  EXPECT_EQ(settings->GetCalGrayGamma(), 1.0f);
  EXPECT_TRUE(settings->GetProfileID() == IdOf(Standard(XCE_Profile_SRGB)));
}

TEST(MixHash, DependsOnEveryByteOrderAndBorder) {
  const auto hash = [](std::vector<std::string> runs) {
    vexcore::MixHash mix("seed", 4);
    for (const std::string& run : runs) mix.Mix(run.data(), run.size());
    const vexcore::Guid guid = mix.Result();
    return std::string(reinterpret_cast<const char*>(guid.bytes), 16);
  };
  const std::vector<std::vector<std::string>> cases = {{},         {""},       {"ab"},       {"a", "b"},
                                                       {"b", "a"}, {"ab", ""}, {"", "ab"},   {"ac"},
                                                       {"a"},      {"a", "a"}, {"abc", "d"}, {"ab", "cd"}};
  std::vector<std::string> all;
  for (const auto& one : cases) all.push_back(hash(one));
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_EQ(all[i], hash(cases[i]));
    for (std::size_t k = 0; k < i; ++k) EXPECT_NE(all[i], all[k]) << i << ", " << k;
  }
  EXPECT_FALSE(vexcore::MixHash("x", 1).Result() == vexcore::MixHash("y", 1).Result());
}

}  // namespace
