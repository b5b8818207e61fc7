// Vector targets by name, as the embedded host's options know them.
#pragma once

#include <cstdint>
#include <iterator>

#include "host/U.h"

namespace selftest {

struct Target {
  const char* name;
  std::uint32_t features;  // the U_CPU_* bits that it needs, and all that it may use
};
// From the narrowest to the widest.
inline constexpr Target kTargets[] = {
    {"portable", 0},
    {"baseline", U_CPU_VECTOR},  // vector code for any processor
    {"ssse3", U_CPU_VECTOR | U_CPU_SSSE3},
    {"sse4", U_CPU_VECTOR | U_CPU_SSSE3 | U_CPU_SSE4},
    {"avx2", U_CPU_VECTOR | U_CPU_SSSE3 | U_CPU_SSE4 | U_CPU_AVX2},
    {"avx3", U_CPU_VECTOR | U_CPU_SSSE3 | U_CPU_SSE4 | U_CPU_AVX2 | U_CPU_AVX512},
    {"avx3_dl", U_CPU_VECTOR | U_CPU_SSSE3 | U_CPU_SSE4 | U_CPU_AVX2 | U_CPU_AVX512 | U_CPU_AVX512_DL}};

}  // namespace selftest
