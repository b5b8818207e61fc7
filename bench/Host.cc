#include "Host.h"

#include <stdexcept>

#include "copy/ReplicateKernels.h"
#include "embedded/PFhost.h"
#include "host/U.h"
#include "lifecycle/Globals.h"
#include "sample/SampleKernels.h"
#include "world/ConvertKernels.h"

namespace pfbench {
namespace {

int g_threads = 0;  // of the running host; 0 = stopped

struct Slots {
  const pf::ConvertKernels* convert;
  const pf::SampleKernels* sample;
  const pf::ReplicateKernels* replicate;
};
Slots g_vector_slots;  // what start-up put there

void Install(const Slots& slots) {
  pf::g_kernels.convert = slots.convert;
  pf::g_kernels.sample = slots.sample;
  pf::g_kernels.replicate = slots.replicate;
}

}  // namespace

void UseThreads(int threads) {
  if (threads == g_threads) return;
  StopHost();
  PFhost_Options options = {};
  options.threads = threads;
  Check(PFhost_Start(&options), "starting the host");
  g_threads = threads;
  g_vector_slots = {pf::g_kernels.convert, pf::g_kernels.sample, pf::g_kernels.replicate};
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

PortableKernels::PortableKernels() {
  Install({&pf::kPortableConvertKernels, &pf::kPortableSampleKernels, &pf::kPortableReplicateKernels});
}

PortableKernels::~PortableKernels() { Install(g_vector_slots); }

}  // namespace pfbench
