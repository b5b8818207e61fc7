#include "cor/Profile.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <boost/make_shared.hpp>
#include <cmath>
#include <cstring>
#include <limits>

#include "cor/Gamma.h"

namespace pfhost {
namespace {

constexpr std::size_t kHeaderSize = 128;
constexpr std::size_t kDateOffset = 24;
// 1 January 2020, 0:00:00, in the profile's byte order.
constexpr std::uint8_t kDate[12] = {0x07, 0xE4, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};

LcmsProfile Open(const std::vector<std::uint8_t>& icc) {
  if (icc.size() < kHeaderSize || icc.size() > std::numeric_limits<cmsUInt32Number>::max()) Fail(XCE_ERR_BAD_PROFILE);
  LcmsProfile profile(cmsOpenProfileFromMemTHR(TheLcms(), icc.data(), static_cast<cmsUInt32Number>(icc.size())));
  if (profile == nullptr) Fail(XCE_ERR_BAD_PROFILE);
  return profile;
}

void RequireRGBOrGrey(cmsHPROFILE profile) {
  const cmsProfileClassSignature kind = cmsGetDeviceClass(profile);
  const bool of_devices = kind == cmsSigInputClass || kind == cmsSigDisplayClass || kind == cmsSigOutputClass ||
                          kind == cmsSigColorSpaceClass;
  const cmsColorSpaceSignature space = cmsGetColorSpace(profile);
  if (!of_devices || (space != cmsSigRgbData && space != cmsSigGrayData)) Fail(XCE_ERR_NOT_RGB);
  const cmsColorSpaceSignature connection = cmsGetPCS(profile);
  if (connection != cmsSigXYZData && connection != cmsSigLabData) Fail(XCE_ERR_BAD_PROFILE);
}

LcmsProfile StandInOf(LcmsProfile grey) {
  const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(grey.get(), cmsSigGrayTRCTag));
  if (curve == nullptr) Fail(XCE_ERR_BAD_PROFILE);
  return GreyAsRGB(curve);
}

bool HasTables(cmsHPROFILE profile) {
  for (const cmsTagSignature tag : {cmsSigAToB0Tag, cmsSigAToB1Tag, cmsSigAToB2Tag, cmsSigDToB0Tag, cmsSigDToB1Tag,
                                    cmsSigDToB2Tag, cmsSigDToB3Tag, cmsSigBToA0Tag, cmsSigBToA1Tag, cmsSigBToA2Tag}) {
    if (cmsIsTag(profile, tag)) return true;
  }
  return false;
}

void ReadName(cmsHPROFILE profile, char (&name)[256]) {
  char text[256] = {};
  // Wide characters of the profile, which the colour library gives in the machine's own.
  wchar_t wide[256] = {};
  const cmsUInt32Number size =
      cmsGetProfileInfo(profile, cmsInfoDescription, "en", "US", wide, sizeof wide / sizeof *wide);
  std::size_t length = 0;
  for (std::size_t i = 0; size > 0 && i < 255 && wide[i] != 0; ++i) {
    const auto c = static_cast<std::uint32_t>(wide[i]);
    const std::size_t bytes = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    if (length + bytes >= sizeof text || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) break;
    constexpr std::uint32_t kLead[] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (std::size_t k = bytes; k-- > 1;) {
      text[length + k] = static_cast<char>(0x80 | (c >> (6 * (bytes - 1 - k)) & 0x3F));
    }
    text[length] = static_cast<char>(kLead[bytes] | c >> (6 * (bytes - 1)));
    length += bytes;
  }
  std::memcpy(name, text, sizeof text);
}

bool Invertible(const double (&m)[9]) {
  const double determinant =
      m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
  return std::isfinite(determinant) && std::fabs(determinant) > 1e-6;
}

void Describe(COR_XCE_Profile& profile) {
  ReadName(profile.rgb.get(), profile.info.name);
  profile.info.has_tables = HasTables(profile.rgb.get());
  CurvesAndMatrix shaper;
  if (ReadCurvesAndMatrix(profile, &shaper)) {
    if (!Invertible(shaper.matrix)) Fail(XCE_ERR_BAD_PROFILE);
    for (int i = 0; i < 3; ++i) profile.info.gamma[i] = GammaOfCurve(*shaper.curves[i]);
  } else if (profile.info.has_tables) {
    for (double& gamma : profile.info.gamma) gamma = GammaOfNeutrals(profile.rgb.get());
  } else {
    Fail(XCE_ERR_BAD_PROFILE);
  }
}

_t_XCE_ID IdOf(const std::vector<std::uint8_t>& icc) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(icc.data(), icc.size()));
  _t_XCE_ID id;
  static_assert(sizeof id == sizeof canonical);
  std::memcpy(&id, &canonical, sizeof id);
  if (id == _t_XCE_ID{}) id.bytes[15] = 1;
  return id;
}

std::vector<std::uint8_t> BytesOf(cmsHPROFILE profile) {
  cmsUInt32Number size = 0;
  if (!cmsSaveProfileToMem(profile, nullptr, &size)) Fail(4);
  std::vector<std::uint8_t> icc(size);
  if (!cmsSaveProfileToMem(profile, icc.data(), &size)) Fail(4);
  std::memcpy(icc.data() + kDateOffset, kDate, sizeof kDate);
  return icc;
}

void SetName(cmsHPROFILE profile, const std::string& name) {
  cmsMLU* text = cmsMLUalloc(TheLcms(), 1);
  if (text == nullptr) Fail(4);
  const bool set =
      cmsMLUsetASCII(text, "en", "US", name.c_str()) && cmsWriteTag(profile, cmsSigProfileDescriptionTag, text);
  cmsMLUfree(text);
  if (!set) Fail(4);
}

}  // namespace

COR_XCE_ProfileRef NewProfile(std::vector<std::uint8_t> icc) {
  const auto profile = boost::make_shared<COR_XCE_Profile>();
  const std::lock_guard lock(LcmsLock());
  profile->icc = std::move(icc);
  profile->id = IdOf(profile->icc);
  profile->info = {};
  profile->rgb = Open(profile->icc);
  RequireRGBOrGrey(profile->rgb.get());
  if (cmsGetColorSpace(profile->rgb.get()) == cmsSigGrayData) {
    char name[256];
    ReadName(profile->rgb.get(), name);
    profile->rgb = StandInOf(std::move(profile->rgb));
    Describe(*profile);
    profile->info.is_grey = 1;
    std::memcpy(profile->info.name, name, sizeof name);
  } else {
    Describe(*profile);
  }
  return profile;
}

COR_XCE_ProfileRef NewProfile(LcmsProfile made, const std::string& name) {
  if (made == nullptr) Fail(4);
  SetName(made.get(), name);
  return NewProfile(BytesOf(made.get()));
}

bool ReadCurvesAndMatrix(const COR_XCE_Profile& profile, CurvesAndMatrix* out) {
  if (profile.info.has_tables) return false;
  constexpr cmsTagSignature kCurves[] = {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
  constexpr cmsTagSignature kColorants[] = {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag};
  for (std::size_t i = 0; i < 3; ++i) {
    out->curves[i] = static_cast<const cmsToneCurve*>(cmsReadTag(profile.rgb.get(), kCurves[i]));
    const auto* colorant = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile.rgb.get(), kColorants[i]));
    if (out->curves[i] == nullptr || colorant == nullptr) return false;
    out->matrix[i] = colorant->X;
    out->matrix[3 + i] = colorant->Y;
    out->matrix[6 + i] = colorant->Z;
  }
  return cmsGetPCS(profile.rgb.get()) == cmsSigXYZData;
}

std::vector<cmsCIEXYZ> ToXYZ(cmsHPROFILE profile, const std::vector<cmsFloat64Number>& rgb) {
  const LcmsProfile xyz(cmsCreateXYZProfileTHR(TheLcms()));
  if (xyz == nullptr) Fail(4);
  const LcmsTransform transform(cmsCreateTransformTHR(TheLcms(), profile, TYPE_RGB_DBL, xyz.get(), TYPE_XYZ_DBL,
                                                      INTENT_RELATIVE_COLORIMETRIC,
                                                      cmsFLAGS_NOCACHE | cmsFLAGS_NOOPTIMIZE));
  if (transform == nullptr) Fail(XCE_ERR_BAD_PROFILE);
  std::vector<cmsCIEXYZ> out(rgb.size() / 3);
  cmsDoTransform(transform.get(), rgb.data(), out.data(), static_cast<cmsUInt32Number>(out.size()));
  return out;
}

}  // namespace pfhost
