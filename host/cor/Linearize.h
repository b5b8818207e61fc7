#pragma once

#include "cor/Profile.h"

namespace pfhost {

// As COR_LinearizeProfile.
COR_XCE_ProfileRef Linearized(const COR_XCE_Profile& profile);

}  // namespace pfhost
