// Cross-fades of two pictures, and a brush dab.
#include <algorithm>
#include <cstring>

#include "PF/PF_Blend.h"
#include "PF/PF_Paint.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

constexpr auto kRatio = static_cast<std::int32_t>(65536 * kFadeRatio);
constexpr std::int32_t kDabSize = 101;

template <auto kBlend>
PF_Err Fade(Picture& src, Picture& dst) {
  return kBlend(nullptr, src.record(), src.second->record(), kRatio, dst.record());
}

// A soft round brush.
std::vector<std::uint32_t> BrushMask() {
  std::vector<std::uint32_t> mask;
  constexpr std::int32_t kHalf = kDabSize / 2;
  for (std::int32_t y = -kHalf; y <= kHalf; ++y) {
    for (std::int32_t x = -kHalf; x <= kHalf; ++x) {
      const std::int32_t distance = x * x + y * y;
      mask.push_back(distance >= kHalf * kHalf ? 0u
                                               : 255u - 255u * static_cast<std::uint32_t>(distance) / (kHalf * kHalf));
    }
  }
  return mask;
}

// The picture is copied first, so that every call paints on the same pixels.
PF_Err Dab(Picture& src, Picture& dst) {
  static const std::vector<std::uint32_t> mask = BrushMask();
  for (std::int32_t y = 0; y < dst.height(); ++y) std::memcpy(dst.row(y), src.row(y), dst.used_row_bytes());
  return PF_PaintSpot(nullptr, kDabSize / 2, kDabSize / 2, 0, kDabSize, mask.data(), 0x4080C0FF, dst.record());
}

// No library that we know weights both colours by their alphas, nor paints a dab from a mask of 32 bits.
void NoPeers(const Task&, std::vector<Contender>&) {}

}  // namespace

void AddBlendCases(Size size, std::vector<Case>& cases) {
  for (const std::int32_t depth : {8, 16, 32}) {
    const auto add = [&](const char* name, bool opaque, Function own, AddContenders contenders) {
      cases.push_back({name, DepthName(depth), size, Work::kBlend, opaque, depth, depth, size, size, own, nullptr, true,
                       contenders, 2});
    };
    add("cross-fade premultiplied", false, &Fade<&PF_Blend_Premul>, &AddPeers);
    add("cross-fade straight", false, &Fade<&PF_Blend_Straight>, &NoPeers);
    add("cross-fade straight, opaque", true, &Fade<&PF_Blend_Straight>, &AddPeers);
  }
  // The same for all sizes.
  constexpr const char* kDab = "brush dab";
  if (std::ranges::any_of(cases, [](const Case& c) { return c.operation == kDab; })) return;
  constexpr Size kSize = {kDabSize, kDabSize};
  cases.push_back({kDab, DepthName(8), kSize, Work::kBlend, false, 8, 8, kSize, kSize, &Dab, nullptr, true, &NoPeers});
}

}  // namespace pfbench
