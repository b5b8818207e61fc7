/// \file
/// Host texts (STR), version 3. The library only asks for its version.
#ifndef HOST_STR_H
#define HOST_STR_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

extern "C" {
/// See U_CheckVersions.
HOST_EXPORT U_Err STR_CheckVersions(std::uint32_t caller, std::int32_t expected_version);
}

#endif
