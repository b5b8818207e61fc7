#include "plug/Registry.h"

#include <algorithm>
#include <exception>

#include "file/KeyValueFile.h"
#include "host/ALOG.h"
#include "u/Version.h"

namespace pfhost {

PLUG_RoutineRef Registry::Add(const std::filesystem::path& file) {
  routines_.push_back(std::make_unique<PLUG_Routine>());
  routines_.back()->file = file;
  routines_.back()->scanned = true;
  return routines_.back().get();
}

bool Registry::Knows(PLUG_RoutineRef routine) const {
  return std::any_of(routines_.begin(), routines_.end(), [&](const auto& known) { return known.get() == routine; });
}

void Registry::ReleaseIfUnused(PLUG_RoutineRef routine) {
  if (routine->scanned || routine->registered || routine->library.IsOpen()) return;
  std::erase_if(routines_, [&](const auto& known) { return known.get() == routine; });
}

Registry& TheRegistry() {
  static Registry registry;
  return registry;
}

U_Err StartPlugIns(const char* folder) noexcept {
  try {
    TheRegistry().folder = folder != nullptr ? PathFromUtf8(folder) : std::filesystem::path();
    return 0;
  } catch (const std::exception&) {
    ReportOutOfMemory("plug-in folder");
    return 4;
  }
}

void StopPlugIns() noexcept {
  TheRegistry().Clear();
  TheRegistry().folder.clear();
}

namespace {

U_Err CheckKnown(PLUG_RoutineRef routine) {
  return TheRegistry().Knows(routine) ? 0 : ReportVerification("not a routine of this host");
}

// The library tells the user that a module could not be opened; why stands in the log.
U_Err LogRefusal(const PLUG_Routine& routine, const std::string& reason) {
  ALOG_Log("PLUG", "Prepare", (routine.file.string() + ": " + reason).c_str());
  return 3;
}

U_Err Prepare(PLUG_Routine& routine, PLUG_EntryFunc* entry) {
  std::string reason;
  if (!routine.library.IsOpen() && !routine.library.Open(routine.file, &reason)) return LogRefusal(routine, reason);
  *entry = reinterpret_cast<PLUG_EntryFunc>(routine.library.Find("VXX_Entry"));
  if (*entry != nullptr) return 0;
  routine.library.Close();
  return LogRefusal(routine, "has no VXX_Entry");
}

}  // namespace
}  // namespace pfhost

U_Err PLUG_CheckVersions(std::uint32_t, std::int32_t expected_version) {
  return pfhost::CheckVersion(expected_version, pfhost::kVersionPLUG);
}

U_Err PLUG_PrepRoutine(PLUG_RoutineRef routine, PLUG_EntryFunc* entry) {
  if (entry == nullptr) return pfhost::ReportVerification("no place for a routine's entry point");
  *entry = nullptr;
  if (const U_Err error = pfhost::CheckKnown(routine)) return error;
  try {
    return pfhost::Prepare(*routine, entry);
  } catch (const std::exception&) {
    pfhost::ReportOutOfMemory("plug-in module");
    return 4;
  }
}

U_Err PLUG_UnprepRoutine(PLUG_RoutineRef routine) {
  if (const U_Err error = pfhost::CheckKnown(routine)) return error;
  routine->library.Close();
  pfhost::TheRegistry().ReleaseIfUnused(routine);
  return 0;
}

U_Err PLUG_RegisterRoutine(PLUG_RoutineRef routine) {
  if (const U_Err error = pfhost::CheckKnown(routine)) return error;
  routine->registered = true;
  return 0;
}

U_Err PLUG_UnregisterRoutine(PLUG_RoutineRef routine) {
  if (const U_Err error = pfhost::CheckKnown(routine)) return error;
  routine->registered = false;
  pfhost::TheRegistry().ReleaseIfUnused(routine);
  return 0;
}
