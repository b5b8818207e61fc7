// Versions of the host libraries.
#pragma once

#include <cstdint>

#include "u/ThreadState.h"

namespace pfhost {

inline constexpr std::int32_t kVersionU = 61;
inline constexpr std::int32_t kVersionSTR = 3;
inline constexpr std::int32_t kVersionBM = 31;
inline constexpr std::int32_t kVersionM = 18;
inline constexpr std::int32_t kVersionFILE = 39;
inline constexpr std::int32_t kVersionLIST = 9;
inline constexpr std::int32_t kVersionVXFX = 8;
inline constexpr std::int32_t kVersionPLUG = 11;

// A library serves callers that were built against its own version. Returns 0, or 3, reported.
inline U_Err CheckVersion(std::int32_t expected, std::int32_t own) {
  return expected == own ? 0 : ReportVerification("a caller was built against another version of this host library");
}

}  // namespace pfhost
