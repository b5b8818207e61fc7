/// \file
/// Host files (FILE), version 39. The library only asks for its version.
#ifndef HOST_FILE_H
#define HOST_FILE_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

extern "C" {
/// See U_CheckVersions.
HOST_EXPORT U_Err FILE_CheckVersions(std::uint32_t caller, std::int32_t expected_version);
}

#endif
