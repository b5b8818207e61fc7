/// \file
/// Host effects (VXFX), version 8. The library only asks for its version.
#ifndef HOST_VXFX_H
#define HOST_VXFX_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

extern "C" {
/// See U_CheckVersions.
HOST_EXPORT U_Err VXFX_CheckVersions(std::uint32_t caller, std::int32_t expected_version);
}

#endif
