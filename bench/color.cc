// Colour conversion of a whole picture between two profiles of curves and a matrix.
#include <algorithm>

#include "Host.h"
#include "PF/PF_ColorSettings.h"
#include "PF/PF_Worlds.h"
#include "Suite.h"
#include "peers/Peers.h"

namespace pfbench {
namespace {

XCETransform* Transform() {
  static XCETransform* const transform = [] {
    COR_XCE_ProfileRef from, to;
    COR_XCE_Transform made = nullptr;
    Check(COR_GetStandardProfile(XCE_Profile_SRGB, &from), "profile");
    Check(COR_GetStandardProfile(XCE_Profile_DISPLAY_P3, &to), "profile");
    Check(COR_NewTransform(from.get(), to.get(), nullptr, &made), "transform");
    return made;
  }();
  return transform;
}

PF_Err Installed(Picture& src, Picture& dst) {
  const std::unique_ptr<PF_World> from(PF_World::NewReference(src.record())), to(PF_World::NewReference(dst.record()));
  return PF_XCEApplyTransform(Transform(), from.get(), to.get(), false, nullptr);
}

// The embedded engine shares long runs out, but none as short as this.
constexpr std::int64_t kShortRun = 65536;

PF_Err Own(Picture& src, Picture& dst) {
  const std::int64_t pixels = std::int64_t{src.width()} * src.height();
  const std::size_t size = src.bytes() / static_cast<std::size_t>(pixels);
  const XCE_Layout layout = src.depth() == 8 ? XCE_Layout_8 : src.depth() == 16 ? XCE_Layout_16 : XCE_Layout_FLOAT;
  for (std::int64_t i = 0; i < pixels; i += kShortRun) {
    const auto count = static_cast<std::uint64_t>(std::min(kShortRun, pixels - i));
    const auto offset = static_cast<std::size_t>(i) * size;
    if (COR_ApplyTransform(Transform(), layout, src.row(0) + offset, layout, dst.row(0) + offset, count) != 0) return 3;
  }
  return 0;
}

// Alpha is not written.
void ClearDestination(Picture&, Picture& dst) { dst.FillBytes(0); }

}  // namespace

void AddColorCases(Size size, std::vector<Case>& cases) {
  for (const std::int32_t depth : {8, 16, 32}) {
    cases.push_back({"convert colours", DepthName(depth), size, Work::kColour, false, depth, depth, size, size, &Own,
                     &Installed, false, &AddPeers, 1, &ClearDestination});
  }
}

}  // namespace pfbench
