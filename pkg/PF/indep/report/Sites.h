// Every place that reports to the host, in one table. A report's identifier is the library's module
// number in the high 16 bits and the site's number in the low 16 bits.
#pragma once

#include <cstdint>

namespace pf {

enum class Site : std::uint16_t {
  kDisposeEffectWorld = 1,
  kGetPixelData = 2,
  kChunk = 3,
  kGetCallbackAddr = 4,
  kOverrideStdFuncs = 5,
  kWorldSize = 6,
  kNewEffectWorld = 7,
  kWorldDepth = 8,
  kPaintSpot = 9,
  kCopyWorlds = 10,
  kPremulColor = 11,
  kChannelOrder = 104,  // with the module number this is 2424936
  kBlend = 12,
  kComposite = 13,
  kIterate = 14,
  kCopyDepth = 15,
  kModules = 16,
  kMask = 17,
  kTiles = 18,
  kColorSettings = 19,
  kColorTransform = 20,
  kAlphaConventions = 21,
  kGaussianKernel = 22,
  kBlurs = 23,
  kFrameBlending = 24,
  kBlendSizesStraight = 46,  // the two sources; 47: the destination
  kBlendDestinationStraight = 47,
  kIterateGeneric = 70,
  kBlendSizesPremul = 128,
  kBlendDestinationPremul = 129,
  kImageModel = 999  // the verification reports of worlds
};

constexpr std::uint32_t Identifier(Site site) { return (0x25u << 16) | static_cast<std::uint16_t>(site); }
static_assert(Identifier(Site::kChannelOrder) == 2424936);

}  // namespace pf
