// A 16-bit mask into one of 8 or 16 bits.
#include <algorithm>
#include <cstring>

#include "edge/Guard.h"
#include "iterate/ForRows.h"
#include "lifecycle/Globals.h"
#include "mask/ConvertValues.h"
#include "mask/LockedMask.h"
#include "mask/MaskArea.h"
#include "pixel/Depth.h"
#include "world/ConvertKernels.h"
#include "world/Dither.h"

namespace pf {
namespace {

DitherRun ReserveNoise(bool wanted, const MaskArea& area) {
  return wanted ? DitherRun::Reserve(area.width * area.height) : DitherRun();
}

PF_Err ConvertArea(const PF_ProgressInfo* progress, const LockedMask& src, const MaskArea& area, bool dither,
                   const LockedMask& dst) {
  const bool narrows = dst.depth() == 8;
  const DitherRun noise = ReserveNoise(narrows && dither, area);
  const auto dithered = g_kernels.convert.load(std::memory_order_relaxed)->dither16to8;
  return ForRows(progress, RowReports::kNone, static_cast<std::int32_t>(area.height), [&](std::int32_t y) {
    const std::byte* in = src.At(area.src_x, area.src_y + y);
    std::byte* out = dst.At(area.dst_x, area.dst_y + y);
    if (!narrows) {
      std::memmove(out, in, static_cast<std::size_t>(2 * area.width));
    } else if (noise.HasTable()) {
      noise.Behind(y * area.width)
          .Convert(dithered, reinterpret_cast<const std::uint16_t*>(in), reinterpret_cast<std::uint8_t*>(out),
                   area.width);
    } else {
      ConvertValues(DepthIndex(16), DepthIndex(8), in, out, area.width);
    }
  });
}

PF_Err ConvertDeep(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, const M_LRect* rect, bool dither,
                   const PF_UnoBuffer* dst) {
  CheckMask(src);
  CheckMask(dst);
  if (src->depth != 16) return PF_Err_NONE;  // QUIRK-26
  if (dst->depth != 8 && dst->depth != 16) return PF_Err_BAD_PARAMETER;
  if (rect == nullptr) return PF_Err_BAD_PARAMETER;
  const MaskArea area = ClipMasks(*src, *rect, {rect->left, rect->top}, *dst);
  if (area.Empty()) return PF_Err_NONE;
  const LockedMask from(src), to(dst);
  return ConvertArea(progress, from, area, dither, to);
}

}  // namespace
}  // namespace pf

PF_Err PF_ConvertDeepUnoBuffer(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, const M_LRect* rect,
                               std::int32_t dither, PF_UnoBuffer* dst) {
  return pf::Guard([&] { return pf::ConvertDeep(progress, src, rect, dither != 0, dst); });
}
