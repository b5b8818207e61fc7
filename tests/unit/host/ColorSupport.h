// Profiles and pixels for the tests of the embedded host's colour engine.
#pragma once

#include <gtest/gtest.h>
#include <lcms2.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "host/COR.h"

namespace pftest {

using Bytes = std::vector<std::uint8_t>;

struct Rgb16 {
  std::uint16_t alpha, red, green, blue;
};
struct RgbFloat {
  float alpha, red, green, blue;
};

inline COR_XCE_ProfileRef Standard(XCE_ProfileCode code) {
  COR_XCE_ProfileRef profile;
  EXPECT_EQ(COR_GetStandardProfile(code, &profile), 0) << code;
  return profile;
}

inline _t_XCE_ID IdOf(const COR_XCE_ProfileRef& profile) {
  COR_XCE_ProfilePool* pool = nullptr;
  _t_XCE_ID id = {};
  EXPECT_EQ(COR_NewProfilePool(&pool), 0);
  EXPECT_EQ(COR_RegisterProfile(pool, &profile, &id), 0);
  COR_DisposeProfilePool(pool);
  return id;
}

inline Bytes IccOf(const COR_XCE_Profile* profile) {
  std::uint64_t size = 0;
  EXPECT_EQ(COR_GetProfileICC(profile, nullptr, 0, &size), 0);
  Bytes icc(size);
  EXPECT_EQ(COR_GetProfileICC(profile, icc.data(), size, &size), 0);
  return icc;
}

inline COR_XCE_ProfileInfo InfoOf(const COR_XCE_Profile* profile) {
  COR_XCE_ProfileInfo info;
  EXPECT_EQ(COR_DescribeProfile(profile, &info), 0);
  return info;
}

inline COR_XCE_ProfileRef LinearOf(const COR_XCE_Profile* profile) {
  COR_XCE_ProfileRef linear;
  EXPECT_EQ(COR_LinearizeProfile(profile, &linear), 0);
  return linear;
}

// A transform that goes with the object.
class Conversion {
 public:
  Conversion(const COR_XCE_Profile* from, const COR_XCE_Profile* to, COR_XCE_TransformOptions options = Relative()) {
    EXPECT_EQ(COR_NewTransform(from, to, &options, &transform_), 0);
  }
  ~Conversion() { COR_ReleaseTransform(transform_); }
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;

  static COR_XCE_TransformOptions Relative() {
    COR_XCE_TransformOptions options = {};
    options.intent = XCE_Intent_RELATIVE_COLORIMETRIC;
    return options;
  }
  COR_XCE_Transform get() const { return transform_; }
  Rgb16 operator()(Rgb16 pixel) const {
    EXPECT_EQ(COR_ApplyTransform(transform_, XCE_Layout_16, &pixel, XCE_Layout_16, &pixel, 1), 0);
    return pixel;
  }
  RgbFloat operator()(RgbFloat pixel) const {
    EXPECT_EQ(COR_ApplyTransform(transform_, XCE_Layout_FLOAT, &pixel, XCE_Layout_FLOAT, &pixel, 1), 0);
    return pixel;
  }

 private:
  COR_XCE_Transform transform_ = nullptr;
};

// ICC bytes put together by the test.
inline Bytes Saved(cmsHPROFILE profile) {
  cmsUInt32Number size = 0;
  cmsSaveProfileToMem(profile, nullptr, &size);
  Bytes icc(size);
  cmsSaveProfileToMem(profile, icc.data(), &size);
  cmsCloseProfile(profile);
  return icc;
}

// An RGB profile of BT.709 primaries whose curves have these samples.
inline Bytes ProfileOfSamples(const std::vector<std::uint16_t>& samples) {
  cmsToneCurve* curve =
      cmsBuildTabulatedToneCurve16(nullptr, static_cast<cmsUInt32Number>(samples.size()), samples.data());
  cmsToneCurve* curves[3] = {curve, curve, curve};
  const cmsCIExyY white = {0.3127, 0.3290, 1};
  const cmsCIExyYTRIPLE primaries = {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
  Bytes icc = Saved(cmsCreateRGBProfile(&white, &primaries, curves));
  cmsFreeToneCurve(curve);
  return icc;
}

// A profile from the folder of test data, empty when there is no folder.
inline std::string TestProfile(const std::string& name) {
  const char* folder = std::getenv("PF_TEST_DATA");
  return folder != nullptr ? std::string(folder) + "/icc/" + name : std::string();
}

}  // namespace pftest
