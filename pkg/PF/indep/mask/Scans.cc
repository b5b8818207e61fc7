// Blurs of a mask along one direction.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "edge/Guard.h"
#include "filter/LaneFilter.h"
#include "filter/LineGroup.h"
#include "filter/PlaneBlur.h"
#include "iterate/ForRows.h"
#include "iterate/ScratchLines.h"
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

// Eight lines at a time. A group that lies on its own source has been read before it is written.
template <class T>
PF_Err BellInLanes(const Scan<T>& scan, double radius) {
  const BlurKernels& kernels = *g_kernels.blur.load(std::memory_order_relaxed);
  const LaneDemands demands = {sizeof(T) == 1 ? kBellBits8 : kBellBits16, sizeof(T) == 1 ? 4 : 5, false};
  const LaneFilter filter(kernels.lanes, radius, demands);
  const LinePlane src = scan.Lines(scan.src), dst = scan.Lines(scan.dst);
  const std::int64_t n = src.length, margin = filter.margin();
  const std::int64_t doubles = kLanes * (2 * n + 2 * margin) + filter.scratch();
  ScratchLines scratch(sizeof(double) * static_cast<std::uint64_t>(doubles), Message::kBlurMemory);
  return ForRows(scan.progress, RowReports::kNone, static_cast<std::int32_t>(src.count), [&](std::int32_t line) {
    if (line % src.group() != 0) return;
    const LineGroup<T> from(kernels, src, line), to(kernels, dst, line);
    const ScratchLines::Line memory(scratch);
    auto* before = reinterpret_cast<double*>(memory.data());
    double *samples = before + kLanes * margin, *behind = samples + kLanes * n, *results = behind + kLanes * margin;
    std::fill(before, samples, 0.0);
    std::fill(behind, results, 0.0);
    from.Load(0, n, samples);
    filter.Run(samples, results, n, results + kLanes * n);
    to.Store(0, n, results);
  });
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
