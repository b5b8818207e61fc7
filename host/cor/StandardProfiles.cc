// The standard profiles: chromaticities and curves as their standards print them.
#include <algorithm>
#include <iterator>

#include "cor/Profile.h"

namespace pfhost {
namespace {

struct Primaries {
  double red[2], green[2], blue[2], white[2];
};
constexpr Primaries kBT709 = {{0.640, 0.330}, {0.300, 0.600}, {0.150, 0.060}, {0.3127, 0.3290}};
constexpr Primaries kOpRGB = {{0.640, 0.330}, {0.210, 0.710}, {0.150, 0.060}, {0.3127, 0.3290}};
constexpr Primaries kBT601Lines525 = {{0.630, 0.340}, {0.310, 0.595}, {0.155, 0.070}, {0.3127, 0.3290}};
constexpr Primaries kBT601Lines625 = {{0.640, 0.330}, {0.290, 0.600}, {0.150, 0.060}, {0.3127, 0.3290}};
constexpr Primaries kBT2020 = {{0.708, 0.292}, {0.170, 0.797}, {0.131, 0.046}, {0.3127, 0.3290}};
constexpr Primaries kP3D65 = {{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, {0.3127, 0.3290}};
constexpr Primaries kP3DCI = {{0.680, 0.320}, {0.265, 0.690}, {0.150, 0.060}, {0.314, 0.351}};
constexpr Primaries kROMM = {{0.7347, 0.2653}, {0.1596, 0.8404}, {0.0366, 0.0001}, {0.3457, 0.3585}};
constexpr Primaries kAP1 = {{0.713, 0.293}, {0.165, 0.830}, {0.128, 0.044}, {0.32168, 0.33767}};
constexpr Primaries kAP0 = {{0.73470, 0.26530}, {0.0, 1.0}, {0.00010, -0.07700}, {0.32168, 0.33767}};

// Type and parameters of a parametric curve: 1 is x^g; 4 is (a x + b)^g for x >= d, else c x.
struct CurveParameters {
  cmsInt32Number type;
  double values[5];
};
constexpr CurveParameters kLinear = {1, {1}};
constexpr CurveParameters kSRGB = {4, {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045}};
constexpr CurveParameters kCamera = {4, {1 / 0.45, 1 / 1.099, 0.099 / 1.099, 1 / 4.5, 0.081}};
// BT.2020 gives the constants of the camera curve more precisely.
constexpr CurveParameters kCamera2020 = {
    4, {1 / 0.45, 1 / 1.09929682680944, 0.09929682680944 / 1.09929682680944, 1 / 4.5, 4.5 * 0.018053968510807}};
constexpr CurveParameters kROMMCurve = {4, {1.8, 1, 0, 1 / 16.0, 16 * 0.001953125}};

struct Standard {
  XCE_ProfileCode code;
  const char* name;
  const Primaries& primaries;
  CurveParameters curve;
  bool grey = false;
};
constexpr Standard kStandards[] = {
    {XCE_Profile_SRGB, "sRGB IEC 61966-2-1", kBT709, kSRGB},
    {XCE_Profile_LINEAR_SRGB, "sRGB primaries, linear light", kBT709, kLinear},
    {XCE_Profile_OPRGB, "opRGB IEC 61966-2-5", kOpRGB, {1, {563.0 / 256}}},
    {XCE_Profile_REC601_525, "ITU-R BT.601, 525 lines", kBT601Lines525, kCamera},
    {XCE_Profile_REC601_625, "ITU-R BT.601, 625 lines", kBT601Lines625, kCamera},
    {XCE_Profile_REC709, "ITU-R BT.709", kBT709, kCamera},
    {XCE_Profile_REC709_DISPLAY, "ITU-R BT.709, gamma 2.4", kBT709, {1, {2.4}}},
    {XCE_Profile_REC2020, "ITU-R BT.2020", kBT2020, kCamera2020},
    {XCE_Profile_LINEAR_REC2020, "ITU-R BT.2020 primaries, linear light", kBT2020, kLinear},
    {XCE_Profile_DISPLAY_P3, "Display P3", kP3D65, kSRGB},
    {XCE_Profile_LINEAR_P3, "P3 primaries, linear light", kP3D65, kLinear},
    {XCE_Profile_DCI_P3, "DCI-P3, gamma 2.6", kP3DCI, {1, {2.6}}},
    {XCE_Profile_ROMM, "ROMM RGB ISO 22028-2", kROMM, kROMMCurve},
    {XCE_Profile_LINEAR_ROMM, "ROMM primaries, linear light", kROMM, kLinear},
    {XCE_Profile_ACESCG, "ACEScg", kAP1, kLinear},
    {XCE_Profile_ACES2065, "ACES2065-1", kAP0, kLinear},
    {XCE_Profile_GREY_LINEAR, "Grey, linear light", kBT709, kLinear, true},
    {XCE_Profile_GREY_18, "Grey, gamma 1.8", kBT709, {1, {1.8}}, true},
    {XCE_Profile_GREY_22, "Grey, gamma 2.2", kBT709, {1, {2.2}}, true},
    {XCE_Profile_GREY_SRGB, "Grey, sRGB curve", kBT709, kSRGB, true},
};

constexpr cmsCIExyY Chromaticity(const double (&xy)[2]) { return {xy[0], xy[1], 1}; }

LcmsProfile MakeRGB(const Primaries& primaries, const cmsToneCurve* curve) {
  const cmsCIExyY white = Chromaticity(primaries.white);
  const cmsCIExyYTRIPLE rgb = {Chromaticity(primaries.red), Chromaticity(primaries.green),
                               Chromaticity(primaries.blue)};
  auto* each = const_cast<cmsToneCurve*>(curve);
  cmsToneCurve* curves[3] = {each, each, each};
  return LcmsProfile(cmsCreateRGBProfileTHR(TheLcms(), &white, &rgb, curves));
}

}  // namespace

LcmsProfile GreyAsRGB(const cmsToneCurve* curve) {
  LcmsProfile profile = MakeRGB(kBT709, curve);
  if (profile == nullptr) Fail(XCE_ERR_BAD_PROFILE);
  return profile;
}

COR_XCE_ProfileRef StandardProfile(XCE_ProfileCode code) {
  const auto* standard =
      std::find_if(std::begin(kStandards), std::end(kStandards), [&](const Standard& one) { return one.code == code; });
  if (standard == std::end(kStandards)) Fail(XCE_ERR_UNKNOWN_CODE);
  const LcmsCurve curve(cmsBuildParametricToneCurve(TheLcms(), standard->curve.type, standard->curve.values));
  if (curve == nullptr) Fail(4);
  if (!standard->grey) return NewProfile(MakeRGB(standard->primaries, curve.get()), standard->name);
  const cmsCIExyY white = Chromaticity(standard->primaries.white);
  return NewProfile(LcmsProfile(cmsCreateGrayProfileTHR(TheLcms(), &white, curve.get())), standard->name);
}

const COR_XCE_Profile& OrDefault(const COR_XCE_Profile* profile) {
  static const COR_XCE_ProfileRef standard = StandardProfile(XCE_Profile_SRGB);
  return profile != nullptr ? *profile : *standard;
}

}  // namespace pfhost
