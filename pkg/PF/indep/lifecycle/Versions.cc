// Whether this library fits its host and its callers.
#include <cstdio>

#include "PF/PF_Lifecycle.h"
#include "host/BM.h"
#include "host/FILE.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/PLUG.h"
#include "host/STR.h"
#include "host/U.h"
#include "host/VXFX.h"
#include "lifecycle/Globals.h"

namespace pf {
namespace {

struct HostLibrary {
  U_Err (*check)(std::uint32_t, std::int32_t);
  std::int32_t built_against;
};

constexpr HostLibrary kHostLibraries[] = {{&U_CheckVersions, 61},   {&STR_CheckVersions, 3},   {&BM_CheckVersions, 31},
                                          {&M_CheckVersions, 18},   {&FILE_CheckVersions, 39}, {&LIST_CheckVersions, 9},
                                          {&VXFX_CheckVersions, 8}, {&PLUG_CheckVersions, 11}};

enum HostVersions { kNotAsked, kAccepted, kRefused };

// Asks all of them even after one has refused; only the first call asks, all calls know the answer.
bool HostAccepts() {
  const int known = g_host_versions.load();
  if (known != kNotAsked) return known == kAccepted;  // QUIRK-16
  U_Err refusals = 0;
  for (const HostLibrary& library : kHostLibraries) {
    refusals |= library.check(PF_MODULE_IDENTIFIER, library.built_against);
  }
  g_host_versions = refusals == 0 ? kAccepted : kRefused;
  return refusals == 0;
}

void ReportMismatch(std::uint32_t caller_module, std::int32_t expected_version) {
  Up_SetThreadLastError(0);
  if (char* buffer = Up_GetThreadLoggingBuffer()) {
    std::snprintf(buffer, U_LOGGING_BUFFER_SIZE,
                  "Plug-in version mismatch detected (did you install over an older version of Veltrix?). "
                  "Try uninstalling and re-installing. (%s package v%d != %s v%d)",
                  "PF", PF_VERSION, "PF", expected_version);
  }
  Up_ReportError(caller_module, 16);
}

}  // namespace
}  // namespace pf

PF_Err PF_CheckVersions(std::uint32_t caller_module, std::int32_t expected_version) {
  const bool host_accepts = pf::HostAccepts();
  if (expected_version != PF_VERSION) {
    pf::ReportMismatch(caller_module, expected_version);
    return PF_Err_VERSION_MISMATCH;
  }
  return host_accepts ? PF_Err_NONE : PF_Err_VERSION_MISMATCH;
}

std::int32_t PF_PkgObjectVersion() { return PF_PACKAGE_VERSION; }
