#include "simd/Targets.h"

#include <hwy/targets.h>

#include "host/U.h"

namespace pf {

void LimitTargets(std::uint32_t cpu_features) {
  std::int64_t disabled = 0;
#if HWY_ARCH_X86
  struct Level {
    std::uint32_t feature;
    std::int64_t target;
  };
  constexpr Level kLevels[] = {{U_CPU_SSSE3, HWY_SSSE3},
                               {U_CPU_SSE4, HWY_SSE4},
                               {U_CPU_AVX2, HWY_AVX2},
                               {U_CPU_AVX512, HWY_AVX3},
                               {U_CPU_AVX512_DL, HWY_AVX3_DL}};
  for (const Level& level : kLevels) {
    if ((cpu_features & level.feature) == 0) disabled |= level.target;
  }
#else
  static_cast<void>(cpu_features);
#endif
  hwy::DisableTargets(disabled);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

}  // namespace pf
