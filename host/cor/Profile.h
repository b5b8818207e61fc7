// A profile: its bytes, the handle that transforms are made from, and what is known of it.
#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <cstdint>
#include <string>
#include <vector>

#include "cor/Lcms.h"

struct COR_XCE_Profile : boost::enable_shared_from_this<COR_XCE_Profile> {
  std::vector<std::uint8_t> icc;
  _t_XCE_ID id;
  COR_XCE_ProfileInfo info;
  pfhost::LcmsProfile rgb;  // of a grey profile its RGB stand-in, else `icc`
};

namespace pfhost {

// Fails with a status for whatever is no RGB or grey profile that colours can be read through.
COR_XCE_ProfileRef NewProfile(std::vector<std::uint8_t> icc);

// Finishes a profile that has been put together: gives it a name and bytes that do not depend on the time.
COR_XCE_ProfileRef NewProfile(LcmsProfile made, const std::string& name);

// The default working profile for null.
const COR_XCE_Profile& OrDefault(const COR_XCE_Profile* profile);
COR_XCE_ProfileRef StandardProfile(XCE_ProfileCode code);
// An RGB space of the primaries of IEC 61966-2-1 with one curve.
LcmsProfile GreyAsRGB(const cmsToneCurve* curve);

// The three curves and the matrix from linear light to the connection space, row by row. False for profiles of
// tables. The curves belong to the profile. Called under LcmsLock().
struct CurvesAndMatrix {
  const cmsToneCurve* curves[3];
  double matrix[9];
};
bool ReadCurvesAndMatrix(const COR_XCE_Profile& profile, CurvesAndMatrix* out);

// XYZ of `count` float pixels of red, green and blue, relative colorimetric. Called under LcmsLock().
std::vector<cmsCIEXYZ> ToXYZ(cmsHPROFILE profile, const std::vector<cmsFloat64Number>& rgb);

}  // namespace pfhost
