// Linear-light forms of profiles.
#include <string>

#include "cor/Linearize.h"

namespace pfhost {
namespace {

// A straight line from 0 to 1; how else it is written down makes no difference.
bool IsLinear(const CurvesAndMatrix& shaper) {
  for (const cmsToneCurve* curve : shaper.curves) {
    if (!cmsIsToneCurveLinear(curve)) return false;
  }
  return true;
}

bool CopyTag(cmsHPROFILE from, cmsHPROFILE to, cmsTagSignature tag) {
  const void* value = cmsReadTag(from, tag);
  return value == nullptr || cmsWriteTag(to, tag, value);
}

LcmsCurve Line() {
  LcmsCurve line(cmsBuildGamma(TheLcms(), 1));
  if (line == nullptr) Fail(4);
  return line;
}

// What places the primaries is copied bit for bit, so that the two differ in their curves alone.
LcmsProfile WithLinearCurves(cmsHPROFILE from) {
  LcmsProfile linear(cmsCreateProfilePlaceholder(TheLcms()));
  if (linear == nullptr) Fail(4);
  cmsSetProfileVersion(linear.get(), 4.4);
  cmsSetDeviceClass(linear.get(), cmsSigDisplayClass);
  cmsSetColorSpace(linear.get(), cmsSigRgbData);
  cmsSetPCS(linear.get(), cmsSigXYZData);
  bool written = true;
  for (const cmsTagSignature tag : {cmsSigMediaWhitePointTag, cmsSigChromaticAdaptationTag, cmsSigRedColorantTag,
                                    cmsSigGreenColorantTag, cmsSigBlueColorantTag}) {
    written &= CopyTag(from, linear.get(), tag);
  }
  const LcmsCurve line = Line();
  written &= cmsWriteTag(linear.get(), cmsSigRedTRCTag, line.get()) &&
             cmsLinkTag(linear.get(), cmsSigGreenTRCTag, cmsSigRedTRCTag) &&
             cmsLinkTag(linear.get(), cmsSigBlueTRCTag, cmsSigRedTRCTag);
  if (!written) Fail(4);
  return linear;
}

// Of a profile of tables: the white of the connection space, and what pure red, green and blue look like.
LcmsProfile FromPureColours(cmsHPROFILE from) {
  const std::vector<cmsCIEXYZ> pure = ToXYZ(from, {1, 0, 0, 0, 1, 0, 0, 0, 1});
  cmsCIExyY xy[3];
  for (std::size_t i = 0; i < 3; ++i) {
    if (!(pure[i].X + pure[i].Y + pure[i].Z > 1e-6)) Fail(XCE_ERR_BAD_PROFILE);
    cmsXYZ2xyY(&xy[i], &pure[i]);
    xy[i].Y = 1;
  }
  const cmsCIExyYTRIPLE primaries = {xy[0], xy[1], xy[2]};
  const LcmsCurve line = Line();
  cmsToneCurve* curves[3] = {line.get(), line.get(), line.get()};
  LcmsProfile linear(cmsCreateRGBProfileTHR(TheLcms(), cmsD50_xyY(), &primaries, curves));
  if (linear == nullptr) Fail(XCE_ERR_BAD_PROFILE);
  return linear;
}

}  // namespace

COR_XCE_ProfileRef Linearized(const COR_XCE_Profile& profile) {
  LcmsProfile linear;
  {
    const std::lock_guard lock(LcmsLock());
    CurvesAndMatrix shaper;
    const bool has_shaper = ReadCurvesAndMatrix(profile, &shaper);
    if (has_shaper && IsLinear(shaper)) return boost::const_pointer_cast<COR_XCE_Profile>(profile.shared_from_this());
    linear = has_shaper ? WithLinearCurves(profile.rgb.get()) : FromPureColours(profile.rgb.get());
  }
  return NewProfile(std::move(linear), std::string(profile.info.name) + " (linear light)");
}

}  // namespace pfhost
