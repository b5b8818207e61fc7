// Blurs of a mask along one direction.
#include <cmath>
#include <cstring>

#include "edge/Guard.h"
#include "filter/BlurLines.h"
#include "filter/PlaneBlur.h"
#include "iterate/ForRows.h"
#include "lifecycle/Globals.h"
#include "mask/LockedMask.h"

namespace pf {
namespace {

// Two masks of one size and depth.
template <class T>
struct Scan {
  const PF_ProgressInfo* progress;
  const LockedMask& src;
  const LockedMask& dst;
  bool columns;

  std::int64_t width() const { return dst.width(); }
  std::int64_t height() const { return dst.height(); }
  LinePlane Lines(const LockedMask& mask) const {
    return LinePlane::Of(mask.At(0, 0), mask.stride(), width(), height(), sizeof(T), 1, columns);
  }
  template <class F>
  PF_Err Rows(const F& row) const {
    return ForRows(progress, RowReports::kNone, static_cast<std::int32_t>(height()), row);
  }
};

template <class T>
PF_Err CopyRows(const Scan<T>& scan) {
  return scan.Rows([&](std::int32_t y) {
    std::memmove(scan.dst.At(0, y), scan.src.At(0, y), static_cast<std::size_t>(scan.dst.stride()));
  });
}

template <class T>
BlurredPlane PlaneOf(const Scan<T>& scan) {
  return {scan.src.At(0, 0),
          scan.src.stride(),
          scan.dst.At(0, 0),
          scan.dst.stride(),
          scan.width(),
          scan.height(),
          1,
          sizeof(T),
          scan.columns,
          true,
          scan.progress,
          RowReports::kNone};
}

template <class T>
PF_Err BellInLanes(const Scan<T>& scan, double radius) {
  const BlurKernels& kernels = *g_kernels.blur.load(std::memory_order_relaxed);
  const LaneFilter filter(kernels.lanes, radius, DemandsOf<T>(false));
  const LinePlane src = scan.Lines(scan.src), dst = scan.Lines(scan.dst);
  const LineBlur blur = {true, false, false, false, scan.progress, RowReports::kNone};
  return BlurLines<T>(blur, kernels, &filter, src, dst).Run();
}

template <class T>
PF_Err Bell(const Scan<T>& scan, double radius) {
  if constexpr (sizeof(T) == 1) {
    if (std::ceil(radius) <= kDirectReach) return BlurByBell(PlaneOf(scan), radius);
  }
  return BellInLanes(scan, radius);
}

template <class T>
PF_Err Box(const Scan<T>& scan, double radius) {
  const auto span = static_cast<std::int64_t>(radius + 0.5);
  return span == 0 ? CopyRows(scan) : BlurByBox<T>(PlaneOf(scan), span);
}

enum class Shape { kBell, kBox };

template <class T>
PF_Err ScanMasks(Shape shape, const PF_UnoBuffer* src, PF_UnoBuffer* dst, double radius, std::int32_t direction,
                 const PF_ProgressInfo* progress) {
  return Guard([&]() -> PF_Err {
    CheckMask(src);
    CheckMask(dst);
    constexpr std::int32_t kDepth = 8 * sizeof(T);
    const bool fit = src->depth == kDepth && dst->depth == kDepth && src->width == dst->width &&
                     src->height == dst->height && radius >= 0 && radius <= kLargestRadius;
    if (!fit) return PF_Err_BAD_PARAMETER;
    if (src->width <= 0 || src->height <= 0) return PF_Err_NONE;
    const LockedMask from(src), to(dst);
    const Scan<T> scan = {progress, from, to, direction != 0};
    if (radius == 0) return CopyRows(scan);
    return shape == Shape::kBell ? Bell(scan, radius) : Box(scan, radius);
  });
}

}  // namespace
}  // namespace pf

PF_Err PF_GBlurUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                       const PF_ProgressInfo* progress) {
  return pf::ScanMasks<std::uint8_t>(pf::Shape::kBell, src, dst, radius, direction, progress);
}

PF_Err PF_GBlurDeepUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                           const PF_ProgressInfo* progress) {
  return pf::ScanMasks<std::uint16_t>(pf::Shape::kBell, src, dst, radius, direction, progress);
}

PF_Err PF_BoxBlurUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                         const PF_ProgressInfo* progress) {
  return pf::ScanMasks<std::uint8_t>(pf::Shape::kBox, src, dst, radius, direction, progress);
}

PF_Err PF_BoxBlurDeepUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                             const PF_ProgressInfo* progress) {
  return pf::ScanMasks<std::uint16_t>(pf::Shape::kBox, src, dst, radius, direction, progress);
}
