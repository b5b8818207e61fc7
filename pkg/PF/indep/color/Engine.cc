#include "color/Engine.h"

#include <cmath>

namespace pf {

OwnedTransform NewTransform(const COR_XCE_Profile* from, const COR_XCE_Profile* to,
                            const COR_XCE_TransformOptions* options) {
  COR_XCE_Transform transform = nullptr;
  CheckEngine(COR_NewTransform(from, to, options, &transform));
  return OwnedTransform(transform);
}

ProfileRef Linearized(const COR_XCE_Profile* profile) {
  ProfileRef linear;
  CheckEngine(COR_LinearizeProfile(profile, &linear));
  return linear;
}

ProfileRef StandardProfile(XCE_ProfileCode code) {
  ProfileRef profile;
  CheckEngine(COR_GetStandardProfile(code, &profile));
  return profile;
}

ChannelGammas GammasOf(const COR_XCE_Profile* profile) {
  COR_XCE_ProfileInfo info = {};
  CheckEngine(COR_DescribeProfile(profile, &info));
  for (const double gamma : info.gamma) {
    // A gamma that single precision cannot hold is none.
    const auto single = static_cast<float>(gamma);
    if (!std::isfinite(single) || !(single > 0) || !std::isfinite(1.0f / single)) CheckEngine(XCE_ERR_BAD_PROFILE);
  }
  return {info.gamma[0], info.gamma[1], info.gamma[2]};
}

}  // namespace pf
