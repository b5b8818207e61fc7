// Start-up and shut-down, in the order that the header states.
#include "PF/PF_Lifecycle.h"
#include "color/Emergency.h"
#include "dispatch/OverrideTable.h"
#include "edge/Guard.h"
#include "host/ALOG.h"
#include "host/M.h"
#include "host/RND.h"
#include "lifecycle/Globals.h"
#include "lifecycle/Modules.h"
#include "multiprocess/Workspace.h"
#include "report/HostMemory.h"
#include "simd/Targets.h"

namespace pf {
namespace {

bool CpuHasVectors() { return U_G_CPU_DataP != nullptr && (U_G_CPU_DataP->features & U_CPU_VECTOR) != 0; }

void SetPortableSlots() {
  ResetOverrides();
  g_kernels.Set(kPortableKernels);
  for (auto& entry : g_lookup_table) entry = nullptr;
}

PF_Err PrepareGeometry() {
  void* state = nullptr;
  const PF_Err error = M_PrepareFCMD(1, &state);
  g_start.geometry_prepared = error == PF_Err_NONE;
  g_start.geometry = state;
  return error;
}

PF_Err ReleaseGeometry() {
  if (!g_start.geometry_prepared.exchange(false)) return PF_Err_NONE;
  return M_UnprepareFCMD(g_start.geometry.exchange(nullptr));
}

PF_Err BuildDitherSequence() {
  const std::uint32_t* table = nullptr;
  std::int64_t length = 0;
  if (const PF_Err error = RND_GetPrimeSizedTable(&table, &length)) return error;
  g_dither.cursor = 0;
  g_dither.length = length;
  g_dither.start = table;
  return PF_Err_NONE;
}

PF_Err Start() {
  if (CpuHasVectors()) LimitTargets(U_G_CPU_DataP->features);
  SetPortableSlots();
  PF_Err error = PrepareGeometry();
  if (error == PF_Err_NONE) error = BuildDitherSequence();
  PF_FreeUpSomeMemory();
  const PF_Err scan = LoadModules();
  if (error == PF_Err_NONE) error = scan;
  if (CpuHasVectors()) g_kernels.Set(VectorKernels());
  ALOG_Log("PF", "Birth", "PF Birth");
  return error;
}

PF_Err Stop() {
  ALOG_Log("PF", "Death", "PF Death");
  PF_FreeUpSomeMemory();
  ReleaseEmergencySettings();
  g_dither.length = 0;
  g_dither.start = nullptr;
  const PF_Err modules = UnloadModules();
  const PF_Err geometry = ReleaseGeometry();
  return modules != PF_Err_NONE ? modules : geometry;
}

}  // namespace
}  // namespace pf

PF_Err PF_Birth() { return pf::Guard(pf::Start); }

PF_Err PF_Death() { return pf::Guard(pf::Stop); }

void PF_FreeUpSomeMemory() {
  pf::HostBlock::ReleaseKept();
  pf::Workspace::ReleaseKept();
}
