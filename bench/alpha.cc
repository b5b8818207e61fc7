// Between straight and premultiplied, in place.
#include <cstring>

#include "PF/PF_Compositing.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

template <auto kRoutine>
PF_Err InPlace(Picture&, Picture& dst) {
  return kRoutine(nullptr, dst.record(), nullptr);
}

void Load(Picture& src, Picture& dst) {
  for (std::int32_t y = 0; y < dst.height(); ++y) std::memcpy(dst.row(y), src.row(y), dst.used_row_bytes());
}

}  // namespace

void AddAlphaCases(Size size, std::vector<Case>& cases) {
  for (const std::int32_t depth : {8, 16, 32}) {
    // A call works on what the call before it left, which is all the same to integers. Floats would end in the smallest
    // numbers, which processors multiply slowly, so theirs are opaque.
    const auto add = [&](const char* name, Work work, bool opaque, Function own) {
      cases.push_back({name, DepthName(depth), size, work, opaque, depth, depth, size, size, own, nullptr, true,
                       &AddPeers, 1, &Load});
    };
    const bool is_float = depth == 32;
    add("premultiply", Work::kToPremultiplied, is_float, &InPlace<&PF_Premultiply>);
    add("unmultiply", Work::kToStraight, is_float, &InPlace<&PF_Unmultiply>);
    if (!is_float) add("unmultiply, opaque", Work::kToStraight, true, &InPlace<&PF_Unmultiply>);
  }
}

}  // namespace pfbench
