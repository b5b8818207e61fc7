// Acceleration modules: found by the host's plug-in scan, told to start and to shut down.
#pragma once

#include "PF/PF_Errors.h"

namespace pf {

// Scans and starts every module found. 0, or the code of the list or of the scan.
PF_Err LoadModules();

// Sends every module its shutdown selector and gives its routine back. The first non-zero code.
PF_Err UnloadModules();

}  // namespace pf
