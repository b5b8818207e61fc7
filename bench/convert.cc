// Conversion of depth: the six unequal pairs, and 16 to 8 bits with dither.
#include <memory>

#include "Host.h"
#include "PF/PF_Copy.h"
#include "PF/PF_Worlds.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

PF_Err Own(Picture& src, Picture& dst) {
  return PF_CopyBits_HQ_Straight_Static(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

PF_Err Installed(Picture& src, Picture& dst) {
  return PF_CopyBits_HQ_Straight(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

// The noise starts anew, so that every run gives the same pixels.
PF_Err Dithered(Picture& src, Picture& dst) {
  PF_ResetDitherRandomIndex();
  const std::unique_ptr<PF_World> from(PF_World::NewReference(src.record()));
  const std::unique_ptr<PF_World> to(PF_World::NewReference(dst.record()));
  const M_LRect whole = {0, 0, src.width(), src.height()};
  to->CopyRectPossiblyDifferentBitdepth(from.get(), whole, PF_Dither_ON, 0, 0, nullptr);
  return PF_Err_NONE;
}

}  // namespace

void AddConvertCases(Size size, std::vector<Case>& cases) {
  for (const std::int32_t from : {8, 16, 32}) {
    for (const std::int32_t to : {8, 16, 32}) {
      if (from == to) continue;
      cases.push_back({"convert", DepthName(from) + " to " + DepthName(to), size, Work::kConvert, false, from, to, size,
                       size, &Own, &Installed, true, &AddPeers});
    }
  }
  cases.push_back({"convert with dither", DepthName(16) + " to " + DepthName(8), size, Work::kDither, false, 16, 8,
                   size, size, &Dithered, nullptr, true, &AddPeers});
}

}  // namespace pfbench
