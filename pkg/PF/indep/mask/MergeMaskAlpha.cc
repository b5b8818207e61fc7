// The alpha of a world times a mask.
#include <algorithm>

#include "PF/PF_Masks.h"
#include "PF/PF_Worlds.h"
#include "edge/Guard.h"
#include "iterate/ForRows.h"
#include "lifecycle/Globals.h"
#include "mask/LockedMask.h"
#include "mask/MaskKernels.h"
#include "pixel/Depth.h"
#include "report/Report.h"

namespace pf {
namespace {

struct Interval {
  std::int64_t begin, end;

  bool Empty() const { return begin >= end; }
  bool Has(std::int64_t v) const { return v >= begin && v < end; }
  Interval MovedBy(std::int64_t by) const { return {begin + by, end + by}; }
  Interval And(const Interval& other) const { return {std::max(begin, other.begin), std::min(end, other.end)}; }
};

struct Area {
  Interval columns, rows;

  static Area Of(const M_LRect& rect) { return {{rect.left, rect.right}, {rect.top, rect.bottom}}; }
  bool Empty() const { return columns.Empty() || rows.Empty(); }
  Area MovedBy(std::int64_t h, std::int64_t v) const { return {columns.MovedBy(h), rows.MovedBy(v)}; }
  Area And(const Area& other) const { return {columns.And(other.columns), rows.And(other.rows)}; }
};

// Writing whole pixels lets the compiler use whole vectors.
template <class P>
void ClearAlpha(std::byte* row, std::int64_t begin, std::int64_t end) {
  auto* pixels = reinterpret_cast<P*>(row);
  for (std::int64_t x = begin; x < end; ++x) pixels[x] = {0, pixels[x].red, pixels[x].green, pixels[x].blue};
}

// Both in world coordinates; `used` lies in `area` and is not empty.
template <class P>
PF_Err MergeRows(const PF_ProgressInfo* progress, const Area& area, const Area& used, std::int64_t h, std::int64_t v,
                 const PF_UnoBuffer* mask, const PF_World& world) {
  const auto& kernels = *g_kernels.mask.load(std::memory_order_relaxed);
  const auto merge = kernels.merge[DepthIndex(DepthTraits<P>::kDepth)][DepthIndex(mask->depth)];
  const LockedMask locked(mask);
  auto* const data = static_cast<std::byte*>(world.data);
  const auto row = [&](std::int32_t index) {
    const std::int64_t y = area.rows.begin + index;
    std::byte* const pixels = data + y * world.row_bytes;
    if (!used.rows.Has(y)) return ClearAlpha<P>(pixels, area.columns.begin, area.columns.end);
    const auto [begin, end] = used.columns;
    ClearAlpha<P>(pixels, area.columns.begin, begin);
    merge(reinterpret_cast<P*>(pixels) + begin, locked.At(begin - h, y - v), static_cast<std::size_t>(end - begin));
    ClearAlpha<P>(pixels, end, area.columns.end);
  };
  return ForRows(progress, RowReports::kNone, static_cast<std::int32_t>(area.rows.end - area.rows.begin), row);
}

template <class P>
PF_Err MergeInto(const PF_ProgressInfo* progress, std::int64_t h, std::int64_t v, const M_LRect* clip,
                 const PF_UnoBuffer* mask, const M_LRect* area_rect, PF_World& world) {
  const Area whole = {{0, world.width}, {0, world.height}};
  const Area area = area_rect != nullptr ? Area::Of(*area_rect).And(whole) : whole;
  if (area.Empty()) return PF_Err_NONE;
  const Area values = {{0, mask->width}, {0, mask->height}};
  const Area used = (clip != nullptr ? Area::Of(*clip).And(values) : values).MovedBy(h, v).And(area);
  if (!used.Empty()) return MergeRows<P>(progress, area, used, h, v, mask, world);
  const auto side = [](std::int64_t value) { return static_cast<std::int32_t>(value); };
  const M_LRect all = {side(area.columns.begin), side(area.rows.begin), side(area.columns.end), side(area.rows.end)};
  world.Clear(&all);
  return PF_Err_NONE;
}

PF_Err Merge(const PF_ProgressInfo* progress, std::int32_t h, std::int32_t v, const M_LRect* clip,
             const PF_UnoBuffer* mask, const M_LRect* area, PF_World* world) {
  CheckMask(mask);
  if (world == nullptr || world->data == nullptr) {
    ReportCaller(Site::kMask, Message::kBadCallbackParameter);
    return PF_Err_BAD_PARAMETER;
  }
  const auto unfit = []() -> PF_Err {
    return FailVerification("Unexpected bitdepth in PFp_MergeMaskAlphaScanIter()", Site::kMask);
  };
  if (mask->depth != 8 && mask->depth != 16) return unfit();
  const auto into = [&]<class P>(P) -> PF_Err { return MergeInto<P>(progress, h, v, clip, mask, area, *world); };
  return DispatchDepth(world->Depth(), into, unfit);
}

}  // namespace
}  // namespace pf

PF_Err PF_MergeMaskAlpha(const PF_ProgressInfo* progress, std::int32_t h, std::int32_t v, const M_LRect* clip,
                         const PF_UnoBuffer* mask, const M_LRect* area, PF_World* dst) {
  return pf::Guard([&] { return pf::Merge(progress, h, v, clip, mask, area, dst); });
}
