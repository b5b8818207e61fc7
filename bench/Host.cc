#include "Host.h"

#include <stdexcept>

#include "PF/PF_Lifecycle.h"
#include "embedded/PFhost.h"
#include "host/U.h"
#include "lifecycle/Globals.h"

namespace pfbench {
namespace {

constexpr std::int32_t kIterateGeneric = 53;

int g_threads = 0;  // of the running host; 0 = stopped

pf::KernelSet g_vector_kernels;  // what start-up put there

}  // namespace

void UseThreads(int threads) {
  if (threads == g_threads) return;
  StopHost();
  PFhost_Options options = {};
  options.threads = threads;
  Check(PFhost_Start(&options), "starting the host");
  g_threads = threads;
  g_vector_kernels = pf::g_kernels.Get();
}

void StopHost() {
  if (g_threads == 0) return;
  g_threads = 0;
  Check(PFhost_Stop(), "stopping the host");
}

std::string VectorTarget() {
  if (U_G_CPU_DataP == nullptr) return "portable";
  struct Level {
    std::uint32_t feature;
    const char* name;
  };
  constexpr Level kLevels[] = {{U_CPU_AVX512_DL, "AVX-512 with byte permutes"},
                               {U_CPU_AVX512, "AVX-512"},
                               {U_CPU_AVX2, "AVX2"},
                               {U_CPU_SSE4, "SSE4"},
                               {U_CPU_SSSE3, "SSSE3"},
                               {U_CPU_VECTOR, "128-bit vectors"}};
  for (const Level& level : kLevels) {
    if ((U_G_CPU_DataP->features & level.feature) != 0) return level.name;
  }
  return "portable";
}

void Check(PF_Err error, const std::string& what) {
  if (error == PF_Err_NONE) return;
  std::string message = what + " failed with code " + std::to_string(error);
  PFhost_Report report;
  const std::int32_t count = PFhost_ReportCount();
  if (count > 0 && PFhost_GetReport(count - 1, &report) == 0 && report.text != nullptr) {
    message += std::string(": ") + report.text;
  }
  throw std::runtime_error(message);
}

OnCallingThread::OnCallingThread() : installed_(PF_GetOverrideFunc(kIterateGeneric)) {
  PF_SetOverrideFunc(kIterateGeneric, nullptr);
}

OnCallingThread::~OnCallingThread() { PF_SetOverrideFunc(kIterateGeneric, installed_); }

PortableKernels::PortableKernels() { pf::g_kernels.Set(pf::kPortableKernels); }

PortableKernels::~PortableKernels() { pf::g_kernels.Set(g_vector_kernels); }

}  // namespace pfbench
