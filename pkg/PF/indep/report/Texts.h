// The library's localisable texts and the numbers they are looked up by.
#pragma once

#include <cstdint>

namespace pf {

enum class Message : std::int32_t {
  kInvalidCallbackSelector = 0,
  kInvalidParameter = 1,
  kForeignWorld = 2,
  kImagePlaneBuffer = 3,
  kBadCallbackParameter = 4,
  kModuleNotOpened = 5,
  kUnimplementedMode = 6,
  kNoiseTable = 7,
  kNoAlphaGuess = 8,
  kObsoleteRoutine = 9,
  kBlurMemory = 10,
  kMaskMemory = 11,
  kDamagedMask = 12,
  kMaskNotUnlocked = 13,
  kGaussianWeights = 14,
  kBlendingScratch = 15,
  kDifferentWorlds = 16,
  kChunkMemory = 17,
  kImageBuffer = 18,
  kInvalidPlatformWorld = 19
};
constexpr std::int32_t kMessageCount = 20;

// The host's translation of a message, or null when it has none.
const char* LookUp(Message message);

// These stand in no table.
inline constexpr char kInvalidSizeText[] =
    "$$$/VX/PF/PF_WorldX/Constructor/InvalidSizeError=invalid image buffer size (^L1x^L2).";

inline constexpr char kWorkingSpaceText[] = "$$$/VX/PF/PF_ColorManagement/ColorProfile/PWS=Working Space -";
inline constexpr char kNoProfileText[] = "$$$/VX/PF/PF_ColorManagement/ColorProfile/None=None";

}  // namespace pf
