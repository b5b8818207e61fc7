/// \file
/// Start and stop, versions, and the table of replaceable functions.
///
/// PF_CheckVersions and PF_Birth are called once by the host after loading the library, PF_Death before
/// unloading it. In between every exported function may be called from any thread. PF_SetOverrideFunc
/// is called right after PF_Birth or while no other call runs.
#ifndef PF_LIFECYCLE_H
#define PF_LIFECYCLE_H

#include "PF/PF_Export.h"
#include "PF/PF_Types.h"
#include "host/U.h"

/// The version that callers compare with, and the one of the package (17.0 in 16.16).
enum : std::int32_t { PF_VERSION = 17, PF_PACKAGE_VERSION = 0x110000 };
/// The library's module number in reports, and its identifier towards host libraries.
enum : std::uint32_t { PF_MODULE = 0x25, PF_MODULE_IDENTIFIER = 0x250063 };
/// Number of replaceable functions.
enum : std::int32_t { PF_OVERRIDE_COUNT = 117 };

extern "C" {

/// Starts the library: vector targets, routine slots, geometry, dither sequence, scratch memory,
/// acceleration modules, vector routines, log entry, in this order.
/// \return 0, or the first failing step's code. Earlier steps are not undone, steps that need a failed
///   one (the dither sequence needs geometry) are skipped, the others are done; call PF_Death all the same.
PF_EXPORT PF_Err PF_Birth();

/// Stops the library: log entry, scratch memory, acceleration modules (each gets its shutdown
/// selector), geometry. \return the first non-zero code of these steps.
PF_EXPORT PF_Err PF_Death();

/// Asks whether a caller built against version `expected_version` can use this library.
/// The first call also asks the eight host libraries for their versions, and remembers a refusal.
/// \param caller_module module number of the caller, named in the host's report.
/// \return 0, or 7. A wrong expected version is reported to the host on every call.
PF_EXPORT PF_Err PF_CheckVersions(std::uint32_t caller_module, std::int32_t expected_version);

/// \return PF_PACKAGE_VERSION.
PF_EXPORT std::int32_t PF_PkgObjectVersion();

/// Gives back memory the library keeps for speed: the shared scratch block, which starts at 1024 bytes
/// again when it is next needed, and the working memory of the last frame blending call (up to 512 MiB, about 120 bytes
/// for each pixel of a frame). Blocks in use stay. May be called by the host's allocator from within a
/// call of the library.
PF_EXPORT void PF_FreeUpSomeMemory();

/// Replaces a function of the override table.
/// \param index 1 to 117; PF_GetOverrideName tells which function each index is.
/// \param function a function of exactly the replaced function's type, or null for the library's own. An
///   index without a function of the library keeps what it is given, and only PF_GetOverrideFunc and
///   PF_GetCallbackAddr read it.
/// \return 0, or 3 without a change when the index is outside the table.
PF_EXPORT PF_Err PF_SetOverrideFunc(std::int32_t index, PF_AnyFunc function);
/// The function that is installed at an index, or null for an empty or impossible one.
PF_EXPORT PF_AnyFunc PF_GetOverrideFunc(std::int32_t index);
/// The exported name behind an index, or null for an unassigned or impossible index.
PF_EXPORT const char* PF_GetOverrideName(std::int32_t index);

/// Obsolete; does nothing. \return 515, reported.
PF_EXPORT PF_Err PF_OverrideStdFuncs(const void* functions);

/// Looks up the function that stands behind a callback selector. Selectors are the indices of the
/// override table, so the answer is what the host installed, or the library's own.
/// \param out receives the function; null after a failure.
/// \return 0; 515, reported, for a selector without a function; 516, reported, when `out` is null.
PF_EXPORT PF_Err PF_GetCallbackAddr(std::int32_t selector, PF_AnyFunc* out);

/// The library's table of localisable texts, for U_ZLookupLStrCache.
PF_EXPORT extern const U_ZRef PF_G_zref;
}

#endif
