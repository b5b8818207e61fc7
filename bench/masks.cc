// Masks: inversion, fading, and the merge into alpha. All work in place, so a mask of n bytes moves 2 n bytes
// and is compared with a memcpy of n; a merge reads and writes the world and reads the mask.
#include "PF/PF_Masks.h"

#include <memory>

#include "Host.h"
#include "MaskValues.h"
#include "PF/PF_Worlds.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

std::size_t Values(Size size) { return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height); }

// The mask that the running case works on: of the source's size and depth.
PF_UnoBuffer& MaskOf(const Picture& src) {
  static std::unique_ptr<PF_UnoBuffer> mask;
  if (mask == nullptr || mask->width != src.width() || mask->height != src.height() || mask->depth != src.depth()) {
    mask = std::make_unique<PF_UnoBuffer>(src.width(), src.height(), src.depth());
  }
  return *mask;
}

void LoadMask(Picture& src, Picture&) {
  ForValues(MaskOf(src), src, [](auto& value, auto& alpha) { value = alpha; });
}

void StoreMask(Picture& src, Picture& dst) {
  dst.FillBytes(0);
  ForValues(MaskOf(src), dst, [](auto& value, auto& alpha) { alpha = value; });
}

// Only high values: after many a run on the same world its alpha is still far from the smallest floats.
void LoadForMerge(Picture& src, Picture& dst) {
  src.FillNoise(false);
  ForValues(MaskOf(src), src, [&]<class T>(T& value, T& alpha) {
    const T full = static_cast<T>(FullValue(src.depth()));
    value = alpha = static_cast<T>(full - (full - alpha) / 16);
  });
  dst.FillNoise(false);
}

PF_Err Invert(Picture& src, Picture&) { return PF_InvertUnoBuffer(nullptr, &MaskOf(src)); }
PF_Err Fade(Picture& src, Picture&) { return PF_FadeUnoBuffer(nullptr, kBenchFade, &MaskOf(src)); }
PF_Err Merge(Picture& src, Picture& dst) {
  const std::unique_ptr<PF_World> world(PF_World::NewReference(dst.record()));
  return PF_MergeMaskAlpha(nullptr, 0, 0, nullptr, &MaskOf(src), nullptr, world.get());
}

template <Function function>
PF_Err Own(Picture& src, Picture& dst) {
  const OnCallingThread own;
  return function(src, dst);
}

}  // namespace

void AddMaskCases(Size size, std::vector<Case>& cases) {
  for (const std::int32_t depth : {8, 16, 32}) {
    const std::size_t moved = 2 * Values(size) * static_cast<std::size_t>(depth) / 8;
    cases.push_back({"invert mask", DepthName(depth), size, Work::kMaskInvert, false, depth, depth, size, size,
                     &Own<&Invert>, &Invert, true, &AddPeers, 1, &LoadMask, &StoreMask, moved});
    cases.push_back({"fade mask", DepthName(depth), size, Work::kMaskFade, false, depth, depth, size, size, &Fade,
                     nullptr, true, &AddPeers, 1, &LoadMask, &StoreMask, moved});
  }
  for (const std::int32_t mask : {8, 16}) {
    for (const std::int32_t depth : {8, 16, 32}) {
      const std::size_t moved = Values(size) * static_cast<std::size_t>(depth + mask / 8);
      cases.push_back({"merge mask into alpha", DepthName(mask) + " into " + DepthName(depth), size, Work::kMaskMerge,
                       false, mask, depth, size, size, &Own<&Merge>, &Merge, true, &AddPeers, 1, &LoadForMerge, nullptr,
                       moved});
    }
  }
}

}  // namespace pfbench
