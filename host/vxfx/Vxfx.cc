#include "host/VXFX.h"

#include "u/Version.h"

U_Err VXFX_CheckVersions(std::uint32_t, std::int32_t expected_version) {
  return pfhost::CheckVersion(expected_version, pfhost::kVersionVXFX);
}
