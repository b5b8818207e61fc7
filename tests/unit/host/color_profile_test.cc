// After profiles that are taken for what they are not, bytes that bring the engine down, ids that depend on anything
// but content, and pools that lose or mix up profiles.
#include <cmath>
#include <limits>
#include <random>
#include <set>

#include "ColorSupport.h"
#include "PF/PF_ColorSettings.h"
#include "Support.h"
#include "embedded/PFhost.h"

namespace {

using namespace pftest;

constexpr XCE_ProfileCode kAll[] = {
    XCE_Profile_SRGB,           XCE_Profile_LINEAR_SRGB, XCE_Profile_OPRGB,          XCE_Profile_REC601_525,
    XCE_Profile_REC601_625,     XCE_Profile_REC709,      XCE_Profile_REC709_DISPLAY, XCE_Profile_REC2020,
    XCE_Profile_LINEAR_REC2020, XCE_Profile_DISPLAY_P3,  XCE_Profile_LINEAR_P3,      XCE_Profile_DCI_P3,
    XCE_Profile_ROMM,           XCE_Profile_LINEAR_ROMM, XCE_Profile_ACESCG,         XCE_Profile_ACES2065,
    XCE_Profile_GREY_LINEAR,    XCE_Profile_GREY_18,     XCE_Profile_GREY_22,        XCE_Profile_GREY_SRGB};

std::string Text(const _t_XCE_ID& id) { return std::string(reinterpret_cast<const char*>(id.bytes), 16); }

TEST(StandardProfiles, AreDistinctRepeatableAndSurviveAsBytes) {
  std::set<std::string> ids;
  for (const XCE_ProfileCode code : kAll) {
    const COR_XCE_ProfileRef profile = Standard(code);
    ids.insert(Text(IdOf(profile)));
    EXPECT_TRUE(IdOf(profile) == IdOf(Standard(code))) << "an id without the time of day";
    EXPECT_NE(InfoOf(profile.get()).name[0], 0);
    const Bytes icc = IccOf(profile.get());
    COR_XCE_ProfileRef again;
    ASSERT_EQ(COR_NewProfileFromICC(icc.data(), icc.size(), &again), 0);
    EXPECT_TRUE(IdOf(profile) == IdOf(again));
    EXPECT_STREQ(InfoOf(again.get()).name, InfoOf(profile.get()).name);
    EXPECT_EQ(IccOf(again.get()), icc);
  }
  EXPECT_EQ(ids.size(), std::size(kAll));
  COR_XCE_ProfileRef none;
  EXPECT_EQ(COR_GetStandardProfile(0x12345678, &none), XCE_ERR_UNKNOWN_CODE);
  EXPECT_EQ(none, nullptr);
}

TEST(StandardProfiles, AgreeOnWhiteAndBlack) {
  for (const XCE_ProfileCode code : kAll) {
    for (const bool there : {true, false}) {
      const COR_XCE_ProfileRef one = Standard(code), other = Standard(XCE_Profile_REC709_DISPLAY);
      const Conversion convert((there ? one : other).get(), (there ? other : one).get());
      const Rgb16 white = convert(Rgb16{7, 32768, 32768, 32768}), black = convert(Rgb16{7, 0, 0, 0});
      // Matrices are kept in 16 fractional bits.
      EXPECT_GE(std::min({white.red, white.green, white.blue}), 32760) << code << (there ? " there" : " back");
      EXPECT_EQ(black.red + black.green + black.blue, 0) << code << (there ? " there" : " back");
      EXPECT_EQ(white.alpha, 7);
    }
  }
}

TEST(Profiles, TellTheirGammas) {
  const auto green = [](XCE_ProfileCode code) { return InfoOf(Standard(code).get()).gamma[1]; };
  EXPECT_EQ(green(XCE_Profile_OPRGB), 563.0 / 256);
  EXPECT_NEAR(green(XCE_Profile_DCI_P3), 2.6, 1e-4);
  EXPECT_EQ(green(XCE_Profile_LINEAR_ROMM), 1);
  EXPECT_NEAR(green(XCE_Profile_SRGB), 2.2, 0.06);
  EXPECT_NEAR(green(XCE_Profile_GREY_22), 2.2, 1e-4);
  EXPECT_TRUE(InfoOf(Standard(XCE_Profile_GREY_22).get()).is_grey);
  EXPECT_EQ(InfoOf(nullptr).gamma[0], green(XCE_Profile_SRGB)) << "the default working profile";
}

TEST(Profiles, LinearFormsOfLinearOnesAreThemselves) {
  const COR_XCE_ProfileRef linear = Standard(XCE_Profile_LINEAR_REC2020), once = LinearOf(nullptr);
  EXPECT_EQ(LinearOf(linear.get()), linear);
  EXPECT_EQ(LinearOf(once.get()), once);
  EXPECT_STREQ(InfoOf(once.get()).name, "sRGB IEC 61966-2-1 (linear light)");
}

TEST(Profiles, OfTheTestDataAreReadByWhatTheyAre) {
  if (TestProfile("").empty()) GTEST_SKIP() << "PF_TEST_DATA is not set";
  const auto load = [](const char* name, COR_XCE_ProfileRef* out) {
    return COR_NewProfileFromFile(TestProfile(name).c_str(), out);
  };
  COR_XCE_ProfileRef matrix, wide, tables, none;
  ASSERT_EQ(load("Rec2020-v4.icc", &matrix), 0);
  ASSERT_EQ(load("WideGamutRGB.icc", &wide), 0);
  ASSERT_EQ(load("lut_rgb_lab_v4.icc", &tables), 0);
  EXPECT_EQ(load("cmyk_lut_v2_micro.icc", &none), XCE_ERR_NOT_RGB);
  EXPECT_EQ(load("no_such_file.icc", &none), XCE_ERR_FILE);
  EXPECT_EQ(none, nullptr);
  EXPECT_FALSE(InfoOf(matrix.get()).has_tables || InfoOf(wide.get()).has_tables);
  EXPECT_TRUE(InfoOf(tables.get()).has_tables);
  // The same primaries and white as the standard's, from other hands.
  const Conversion same(LinearOf(matrix.get()).get(), Standard(XCE_Profile_LINEAR_REC2020).get());
  const Rgb16 colour = same(Rgb16{0, 30000, 2000, 9000});
  EXPECT_NEAR(colour.red, 30000, 20);
  EXPECT_NEAR(colour.green, 2000, 20);
  EXPECT_NEAR(colour.blue, 9000, 20);
  const double gamma = InfoOf(tables.get()).gamma[1];
  EXPECT_TRUE(gamma > 0.5 && gamma < 4) << gamma;
}

// Whatever the engine takes can be used for anything, and gives numbers in their range.
void Use(const COR_XCE_ProfileRef& profile) {
  std::vector<Rgb16> ramp;
  for (int i = 0; i <= 64; ++i) {
    const auto v = static_cast<std::uint16_t>(512 * i);
    ramp.push_back({0, v, v, v});
    ramp.push_back({0, v, 0, static_cast<std::uint16_t>(32768 - v)});
  }
  const COR_XCE_ProfileRef standard = Standard(XCE_Profile_SRGB);
  for (const bool there : {true, false}) {
    COR_XCE_Transform transform = nullptr;
    const U_Err status =
        COR_NewTransform((there ? profile : standard).get(), (there ? standard : profile).get(), nullptr, &transform);
    if (status != 0) continue;
    std::vector<Rgb16> out(ramp.size());
    if (COR_ApplyTransform(transform, XCE_Layout_16, ramp.data(), XCE_Layout_16, out.data(), out.size()) == 0) {
      for (const Rgb16& pixel : out) ASSERT_LE(std::max({pixel.red, pixel.green, pixel.blue}), 32768);
    }
    COR_ReleaseTransform(transform);
  }
  try {
    const auto tables = PF_MakeLinearizationTables(profile);
    for (int m = 1; m <= 4096; ++m) ASSERT_GE(tables->fromLinear16[m], tables->fromLinear16[m - 1]);
    ASSERT_LE(tables->fromLinear16[4096], 32768);
    ASSERT_TRUE(tables->gamma > 0);
  } catch (const PF_Error& error) {
    EXPECT_EQ(error.code(), 3);
  }
}

Bytes Mutated(Bytes icc, std::mt19937_64& random) {
  const auto changes = 1 + random() % 4;
  for (std::uint64_t i = 0; i < changes; ++i) {
    // Mostly in the header, the table of tags and the heads of tags, where it matters.
    const std::size_t range = random() % 2 == 0 ? std::min<std::size_t>(icc.size(), 320) : icc.size();
    icc[random() % range] = static_cast<std::uint8_t>(random() % 3 == 0 ? 0xFF : random());
  }
  return icc;
}

TEST(HostileProfiles, AreTakenOrRefusedAndNeverBringTheEngineDown) {
  PFhost_ClearReports();
  std::vector<Bytes> seeds = {IccOf(Standard(XCE_Profile_SRGB).get()), IccOf(Standard(XCE_Profile_GREY_22).get()),
                              ProfileOfSamples({0, 100, 4000, 30000, 65535})};
  for (const char* name : {"lut_rgb_lab_v4.icc", "cmyk_lut_v2_micro.icc"}) {
    if (TestProfile("").empty()) break;
    std::ifstream file(TestProfile(name), std::ios::binary);
    seeds.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  int taken = 0, refused = 0;
  const auto attempt = [&](const Bytes& icc) {
    COR_XCE_ProfileRef profile;
    const U_Err status = COR_NewProfileFromICC(icc.data(), icc.size(), &profile);
    EXPECT_EQ(status == 0, profile != nullptr);
    EXPECT_TRUE(status == 0 || status == XCE_ERR_BAD_PROFILE || status == XCE_ERR_NOT_RGB || status == 4) << status;
    status == 0 ? ++taken : ++refused;
    if (profile != nullptr) Use(profile);
  };
  std::mt19937_64 random(11);
  for (const Bytes& seed : seeds) {
    for (std::size_t size = 0; size < seed.size(); size += 1 + size / 8)
      attempt(Bytes(seed.begin(), seed.begin() + static_cast<std::ptrdiff_t>(size)));
    for (int i = 0; i < (seed.size() < 1000 ? 120 : 12); ++i) attempt(Mutated(seed, random));
  }
  EXPECT_GT(taken, 100);
  EXPECT_GT(refused, 100);
  attempt({});
  EXPECT_EQ(COR_NewProfileFromICC(nullptr, 10, nullptr), XCE_ERR_BAD_PARAMETER);
}

TEST(HostileProfiles, OfOtherDataAndClassesAreRefused) {
  const auto refused = [](cmsHPROFILE made) {
    const Bytes icc = Saved(made);
    COR_XCE_ProfileRef profile;
    return COR_NewProfileFromICC(icc.data(), icc.size(), &profile);
  };
  EXPECT_EQ(refused(cmsCreateLab4Profile(nullptr)), XCE_ERR_NOT_RGB);
  EXPECT_EQ(refused(cmsCreateXYZProfile()), XCE_ERR_NOT_RGB);
  EXPECT_EQ(refused(cmsCreateInkLimitingDeviceLink(cmsSigCmykData, 200)), XCE_ERR_NOT_RGB);
  EXPECT_EQ(refused(cmsCreateNULLProfile()), XCE_ERR_BAD_PROFILE) << "grey without a curve";
  // Three primaries of one colour span no space.
  const cmsCIExyY white = {0.3127, 0.3290, 1};
  cmsToneCurve* line = cmsBuildGamma(nullptr, 1);
  cmsToneCurve* curves[3] = {line, line, line};
  const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
  cmsHPROFILE flat = cmsCreateRGBProfile(&white, &primaries, curves);
  const cmsCIEXYZ grey = {0.3, 0.3, 0.3};
  for (const cmsTagSignature tag : {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag}) {
    cmsWriteTag(flat, tag, &grey);
  }
  cmsFreeToneCurve(line);
  EXPECT_EQ(refused(flat), XCE_ERR_BAD_PROFILE);
}

TEST(HostileProfiles, WithoutAGammaAreAnEngineFailureOfTheLibrary) {
  Bytes icc = ProfileOfSamples({0, 65535});
  // A curve of one sample is a gamma in eighths and fractions: none at all here.
  const std::string head = {'c', 'u', 'r', 'v', 0, 0, 0, 0, 0, 0, 0, 2};
  for (auto at = icc.begin(); (at = std::search(at, icc.end(), head.begin(), head.end())) != icc.end(); ++at) {
    at[11] = 1;
    at[12] = at[13] = 0;
  }
  COR_XCE_ProfileRef profile;
  ASSERT_EQ(COR_NewProfileFromICC(icc.data(), icc.size(), &profile), 0);
  EXPECT_EQ(InfoOf(profile.get()).gamma[1], 0);
  PFhost_ClearReports();
  float green = 9;
  EXPECT_EQ(PF_GetCalRGBGammas(profile.get(), nullptr, &green, nullptr), 3);
  EXPECT_EQ(green, 9.0f);
  EXPECT_EQ(ReportTexts(), std::vector<std::string>{"a colour profile is damaged or contradicts itself"});
}

TEST(ProfilePools, FileByContentAndKeepWhatCameFirst) {
  COR_XCE_ProfilePool* pool = nullptr;
  ASSERT_EQ(COR_NewProfilePool(&pool), 0);
  const COR_XCE_ProfileRef first = Standard(XCE_Profile_OPRGB), twin = Standard(XCE_Profile_OPRGB);
  _t_XCE_ID id = {}, twin_id = {}, default_id = {};
  EXPECT_EQ(COR_RegisterProfile(pool, &first, &id), 0);
  EXPECT_EQ(COR_RegisterProfile(pool, &twin, &twin_id), 0);
  EXPECT_TRUE(id == twin_id && id != _t_XCE_ID{});
  COR_XCE_ProfileRef found;
  EXPECT_EQ(COR_FindProfile(pool, &id, &found), 0);
  EXPECT_EQ(found, first);
  const COR_XCE_ProfileRef none;
  EXPECT_EQ(COR_RegisterProfile(pool, &none, &default_id), 0);
  EXPECT_TRUE(default_id == IdOf(Standard(XCE_Profile_SRGB))) << "an empty profile is the default working profile";
  const _t_XCE_ID null_id = {};
  EXPECT_EQ(COR_FindProfile(pool, &null_id, &found), 0);
  EXPECT_EQ(found, nullptr);
  COR_DisposeProfilePool(pool);
  COR_DisposeProfilePool(nullptr);
}

TEST(Displays, HaveTheProfileThatWasTold) {
  const RunningHost host(1);
  const int left = 0, right = 0;
  const COR_XCE_ProfileRef p3 = Standard(XCE_Profile_DISPLAY_P3), bt2020 = Standard(XCE_Profile_REC2020);
  EXPECT_TRUE(IdOf(PF_GetPlatformDisplayProfile(&left)) == IdOf(Standard(XCE_Profile_SRGB)));
  EXPECT_EQ(PFhost_SetDisplayProfile(&left, &p3), 0);
  EXPECT_EQ(PFhost_SetDisplayProfile(nullptr, &bt2020), 0);
  EXPECT_EQ(PF_GetPlatformDisplayProfile(&left), p3);
  EXPECT_EQ(PF_GetPlatformDisplayProfile(&right), bt2020) << "unknown displays are like the main one";
  EXPECT_EQ(PF_GetPlatformDisplayProfile(nullptr), bt2020);
  EXPECT_EQ(PFhost_SetDisplayProfile(&left, nullptr), 0);
  EXPECT_EQ(PF_GetPlatformDisplayProfile(&left), bt2020);
}

}  // namespace
