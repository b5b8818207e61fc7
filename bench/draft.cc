// Draft copies: the nearest pixel, twice as large, half as large, and by an odd factor.
#include "PF/PF_Copy.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

PF_Err Own(Picture& src, Picture& dst) {
  return PF_CopyBits_Draft_Static(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

PF_Err Installed(Picture& src, Picture& dst) {
  return PF_CopyBits_Draft(nullptr, src.record(), dst.record(), nullptr, nullptr);
}

void Add(const char* operation, Size size, Size src, Size dst, std::vector<Case>& cases) {
  for (const std::int32_t depth : {8, 16, 32}) {
    cases.push_back({operation, DepthName(depth), size, Work::kReplicate, false, depth, depth, src, dst, &Own,
                     &Installed, true, &AddPeers});
  }
}

}  // namespace

void AddDraftCases(Size size, std::vector<Case>& cases) {
  Add("draft 2x", size, Scaled(size, 1 / 2.0), size, cases);
  Add("draft 1.5x", size, Scaled(size, 1 / 1.5), size, cases);
  Add("draft 1:2", size, size, Scaled(size, 1 / 2.0), cases);
}

}  // namespace pfbench
