/// \file
/// Host plug-in registry (PLUG), version 11: scanning for modules and preparing their routines.
///
/// Scans happen while the library starts, on the starting thread; routines are unregistered while it
/// stops, on the stopping thread. Nothing here throws.
#ifndef HOST_PLUG_H
#define HOST_PLUG_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

struct PLUG_Routine;  ///< one entry point of a module, private to the host
using PLUG_RoutineRef = PLUG_Routine*;

/// Entry point of an acceleration module, exported by the module under the name "VXX_Entry".
/// \param selector PLUG_SELECTOR_*.
/// \return 0 or an error code, which the caller of the selector passes on.
using PLUG_EntryFunc = std::int32_t (*)(std::int32_t selector, void* parameters);

enum : std::int32_t {
  PLUG_SELECTOR_STARTUP = 0,  ///< sent by the library when the module has been loaded
  PLUG_SELECTOR_SHUTDOWN = 1  ///< sent by the library before the routine is unprepared
};

/// What a scan looks for. Both codes hold four characters, the first in the most significant byte.
struct PLUG_ScanDescriptor {
  std::uint32_t plug_in_type;    ///< type code of the modules
  std::uint32_t file_extension;  ///< file name extension, the dot included
};

/// Called once for each module found. A non-zero result means that the module could not be used: the
/// host takes it out of its registry if it has been registered, releases the reference and goes on.
using PLUG_LoadHandler = U_Err (*)(PLUG_RoutineRef routine, void* reference);
/// Called when the host itself takes a module away before the library stops.
using PLUG_UnloadHandler = U_Err (*)(PLUG_RoutineRef routine, void* reference);

/// The suite that hands out the host's other suites; private to the host.
struct PLUG_BasicSuite;

extern "C" {
/// The host's basic suite, or null when it has none: then the services that frame blending needs are missing. May be
/// called from any thread.
HOST_EXPORT const PLUG_BasicSuite* PLUG_GetSPBasicSuite();
/// See U_CheckVersions.
HOST_EXPORT U_Err PLUG_CheckVersions(std::uint32_t caller, std::int32_t expected_version);
/// Scans the host's plug-in folders and calls the load handler for each module that fits.
/// \param reserved 0. \param scan_kind 2: scan now and keep the handlers. \param reference 0.
/// \return 0, or the code of a failure of the scan itself; a module that cannot be opened is none.
HOST_EXPORT U_Err PLUG_InstallScan(std::int32_t reserved, std::int32_t scan_kind, const PLUG_ScanDescriptor* descriptor,
                                   PLUG_LoadHandler load, PLUG_UnloadHandler unload, void* reference);
/// Loads the module and yields its entry point, which stays callable until PLUG_UnprepRoutine.
/// \return 0, or a code when the module cannot be opened or has no entry point.
HOST_EXPORT U_Err PLUG_PrepRoutine(PLUG_RoutineRef routine, PLUG_EntryFunc* entry);
/// Undoes PLUG_PrepRoutine and unloads the module.
HOST_EXPORT U_Err PLUG_UnprepRoutine(PLUG_RoutineRef routine);
/// Enters a routine into the host's registry.
HOST_EXPORT U_Err PLUG_RegisterRoutine(PLUG_RoutineRef routine);
/// Takes a routine out of the registry and releases the reference.
HOST_EXPORT U_Err PLUG_UnregisterRoutine(PLUG_RoutineRef routine);
}

#endif
