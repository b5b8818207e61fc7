#include "lifecycle/Modules.h"

#include <new>

#include "host/LIST.h"
#include "host/PLUG.h"
#include "host/vexcore.h"
#include "lifecycle/Globals.h"
#include "report/HostMemory.h"
#include "report/Report.h"

namespace pf {
namespace {

struct Module {
  PLUG_RoutineRef routine;
  PLUG_EntryFunc entry;  // null when the host has taken the module away
};

constexpr std::uint32_t Code(char a, char b, char c, char d) {
  const auto byte = [](char v) { return static_cast<std::uint32_t>(static_cast<unsigned char>(v)); };
  return byte(a) << 24 | byte(b) << 16 | byte(c) << 8 | byte(d);
}
constexpr PLUG_ScanDescriptor kModules = {Code('e', 'F', 'S', 'T'), Code('.', 'V', 'X', 'X')};

PF_Err FirstOf(PF_Err first, PF_Err second) { return first != PF_Err_NONE ? first : second; }

PF_Err Keep(PLUG_RoutineRef routine, PLUG_EntryFunc entry) {
  void* place = vexcore::AllocateSmallBlock(sizeof(Module));
  if (place == nullptr) return PF_Err_OUT_OF_MEMORY;
  auto* module = new (place) Module{routine, entry};
  const PF_Err error = LIST_Append(g_start.routines.load(), module);
  if (error != PF_Err_NONE) vexcore::FreeSmallBlock(module, sizeof(Module));
  return error;
}

// Starts a prepared module and enters it. After a failure the host takes it out of its registry again.
PF_Err StartModule(PLUG_RoutineRef routine, PLUG_EntryFunc entry) {
  if (const PF_Err error = entry(PLUG_SELECTOR_STARTUP, nullptr)) return error;
  const PF_Err registered = PLUG_RegisterRoutine(routine);
  const PF_Err error = registered != PF_Err_NONE ? registered : Keep(routine, entry);
  if (error != PF_Err_NONE) entry(PLUG_SELECTOR_SHUTDOWN, nullptr);
  return error;
}

U_Err OnLoad(PLUG_RoutineRef routine, void*) {
  PLUG_EntryFunc entry = nullptr;
  QuietErrors quiet;  // the user hears of it below, in the library's words
  PF_Err error = quiet.End(PLUG_PrepRoutine(routine, &entry));
  if (error == PF_Err_NONE) {
    error = StartModule(routine, entry);
    if (error != PF_Err_NONE) PLUG_UnprepRoutine(routine);
  }
  if (error != PF_Err_NONE) ReportCaller(Site::kModules, Message::kModuleNotOpened);
  return error;
}

U_Err OnUnload(PLUG_RoutineRef routine, void*) {
  const LIST_List routines = g_start.routines.load();
  for (std::int32_t i = 0; routines != nullptr && i < LIST_Count(routines); ++i) {
    auto* module = static_cast<Module*>(LIST_Get(routines, i));
    if (module->routine != routine || module->entry == nullptr) continue;
    const PF_Err error = module->entry(PLUG_SELECTOR_SHUTDOWN, nullptr);
    module->entry = nullptr;
    return error;
  }
  return PF_Err_NONE;
}

PF_Err Unload(Module* module) {
  PF_Err error = PF_Err_NONE;
  if (module->entry != nullptr) {
    error = module->entry(PLUG_SELECTOR_SHUTDOWN, nullptr);
    error = FirstOf(error, PLUG_UnprepRoutine(module->routine));
    error = FirstOf(error, PLUG_UnregisterRoutine(module->routine));
  }
  vexcore::FreeSmallBlock(module, sizeof(Module));
  return error;
}

}  // namespace

PF_Err LoadModules() {
  const LIST_List routines = LIST_New();
  if (routines == nullptr) return PF_Err_OUT_OF_MEMORY;
  g_start.routines = routines;
  const PF_Err error = PLUG_InstallScan(0, 2, &kModules, OnLoad, OnUnload, nullptr);
  return FirstOf(error, LIST_Lock(routines));
}

PF_Err UnloadModules() {
  const LIST_List routines = g_start.routines.exchange(nullptr);
  if (routines == nullptr) return PF_Err_NONE;
  PF_Err error = PF_Err_NONE;
  for (std::int32_t i = 0; i < LIST_Count(routines); ++i) {
    error = FirstOf(error, Unload(static_cast<Module*>(LIST_Get(routines, i))));
  }
  error = FirstOf(error, LIST_Unlock(routines));
  LIST_Dispose(routines);
  return error;
}

}  // namespace pf
