// Start and stop of the host and of the library on it.
#include "PF/PF_Lifecycle.h"
#include "alog/Log.h"
#include "cor/Displays.h"
#include "embedded/PFhost.h"
#include "mc/MediaCache.h"
#include "plug/Registry.h"
#include "pref/Preferences.h"
#include "threaded/Install.h"
#include "u/Cpu.h"
#include "u/Texts.h"
#include "u/ThreadState.h"
#include "vexcore/Executor.h"

namespace pfhost {
namespace {

// Written by PFhost_Start and PFhost_Stop, which one thread calls while no other call runs.
constinit bool g_started = false;

void StopHost() {
  TheMediaCache().Clear();
  StopPlugIns();
  StopDisplays();
  StopExecutor();
  StopCpu();
  StopTexts();
  StopPreferences();
  StopLog();
}

U_Err StartHost(const PFhost_Options& options) {
  StartLog(options.log_level);
  if (const U_Err error = StartPreferences(options.preferences)) return error;
  if (const U_Err error = StartTexts(options.text_catalogue)) return error;
  StartCpu(options.disabled_cpu_features);
  if (const U_Err error = StartExecutor(options.threads)) return error;
  return StartPlugIns(options.plug_in_folder);
}

U_Err StopLibrary() {
  RemoveThreadedRoutines();
  return PF_Death();
}

U_Err StartLibrary() {
  if (const U_Err error = PF_CheckVersions(kHostModule, PF_VERSION)) return error;
  if (const U_Err error = PF_Birth()) {
    StopLibrary();
    return error;
  }
  if (U_GetNumThreads() > 1) InstallThreadedRoutines();
  return 0;
}

}  // namespace
}  // namespace pfhost

U_Err PFhost_Start(const PFhost_Options* options) {
  if (pfhost::g_started) return pfhost::ReportVerification("the host has been started already");
  U_Err error = pfhost::StartHost(options != nullptr ? *options : PFhost_Options{});
  if (error == 0) error = pfhost::StartLibrary();
  if (error != 0) pfhost::StopHost();
  pfhost::g_started = error == 0;
  return error;
}

U_Err PFhost_Stop() {
  if (!pfhost::g_started) return pfhost::ReportVerification("the host has not been started");
  const U_Err error = pfhost::StopLibrary();
  pfhost::StopHost();
  pfhost::g_started = false;
  return error;
}
