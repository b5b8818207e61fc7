#include "HighQuality.h"

#include "PF/PF_Copy.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

PF_Err OwnStraight(Picture& src, Picture& dst) {
  return PF_CopyBits_HQ_Straight_Static(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

PF_Err InstalledStraight(Picture& src, Picture& dst) {
  return PF_CopyBits_HQ_Straight(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

PF_Err OwnPremultiplied(Picture& src, Picture& dst) {
  return PF_CopyBits_HQ_Premul_Static(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

PF_Err InstalledPremultiplied(Picture& src, Picture& dst) {
  return PF_CopyBits_HQ_Premul(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

}  // namespace

void AddHighQualityCases(const std::string& operation, Size size, Size src, Size dst, std::vector<Case>& cases) {
  for (const bool opaque : {false, true}) {
    for (const std::int32_t depth : {8, 16, 32}) {
      cases.push_back({operation + (opaque ? ", opaque" : ", random alpha"), DepthName(depth), size, Work::kStraight,
                       opaque, depth, depth, src, dst, &OwnStraight, &InstalledStraight, true, &AddPeers});
    }
  }
  cases.push_back({operation + ", premultiplied", DepthName(8), size, Work::kPremultiplied, false, 8, 8, src, dst,
                   &OwnPremultiplied, &InstalledPremultiplied, true, &AddPeers});
}

}  // namespace pfbench
