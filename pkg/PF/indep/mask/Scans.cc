// Blurs of a mask along one direction.
#include <algorithm>
#include <cstring>
#include <optional>

#include "edge/Guard.h"
#include "iterate/ForRows.h"
#include "iterate/ScratchLines.h"
#include "lifecycle/Globals.h"
#include "mask/GaussWeights.h"
#include "mask/LockedMask.h"
#include "mask/MaskScanKernels.h"

namespace pf {
namespace {

constexpr double kLargestRadius = 32767;

template <class T>
const ScanKernels<T>& Kernels() {
  return g_kernels.mask_scan.load(std::memory_order_relaxed)->template Of<T>();
}

// Two masks of one size and depth.
template <class T>
struct Scan {
  const PF_ProgressInfo* progress;
  const LockedMask& src;
  const LockedMask& dst;

  std::int64_t width() const { return dst.width(); }
  std::int64_t height() const { return dst.height(); }
  T* Out(std::int64_t y) const { return dst.template Row<T>(y); }
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

// The source of a scan along columns, which is a copy when the results would overwrite it.
template <class T>
class Columns {
 public:
  explicit Columns(const Scan<T>& scan) : rows_(scan.src.template Row<T>(0)), width_(scan.width()) {
    if (rows_ != scan.dst.template Row<T>(0)) return;
    const auto size = static_cast<std::uint64_t>(scan.height() * scan.dst.stride());
    copy_.emplace(size, Message::kBlurMemory);
    std::memcpy(copy_->data(), rows_, size);
    rows_ = reinterpret_cast<const T*>(copy_->data());
  }
  const T* Row(std::int64_t y) const { return rows_ + y * width_; }

 private:
  std::optional<HostBlock> copy_;
  const T* rows_;
  std::int64_t width_;
};

// Rows with zeros around them, `reach` behind and one more in front.
template <class T>
class PaddedRows {
 public:
  PaddedRows(const Scan<T>& scan, std::int64_t reach)
      : scan_(scan),
        reach_(reach),
        lines_(static_cast<std::uint64_t>(scan.width() + 2 * reach + 1) * sizeof(T), Message::kBlurMemory) {}

  // Calls f(source row y, which lies in scratch).
  template <class F>
  void With(std::int64_t y, const F& f) {
    const ScratchLines::Line line(lines_);
    T* row = reinterpret_cast<T*>(line.data()) + reach_ + 1;
    std::memcpy(row, scan_.src.At(0, y), static_cast<std::size_t>(scan_.src.stride()));
    f(row);
  }

 private:
  const Scan<T>& scan_;
  std::int64_t reach_;
  ScratchLines lines_;
};

template <class T>
PF_Err Gauss(const Scan<T>& scan, double radius, bool along_rows) {
  const GaussWeights bell(radius, sizeof(T) == 1 ? kGaussBits8 : kGaussBits16);
  const WeightsOf<T> weights = bell.For<T>();
  const auto kernel = Kernels<T>().gauss;
  const std::int64_t width = scan.width(), height = scan.height();
  const std::int64_t reach = std::min(bell.radius(), along_rows ? width : height);
  if (along_rows) {
    PaddedRows<T> rows(scan, reach);
    return scan.Rows([&](std::int32_t y) {
      rows.With(y, [&](const T* row) { kernel({row, scan.Out(y), width, 1, reach, reach}, weights); });
    });
  }
  const Columns<T> columns(scan);
  return scan.Rows([&](std::int32_t y) {
    const std::int64_t before = std::min<std::int64_t>(y, reach), behind = std::min(height - 1 - y, reach);
    kernel({columns.Row(y), scan.Out(y), width, width, before, behind}, weights);
  });
}

// Columns that are scanned together, from top to bottom.
constexpr std::int64_t kStrip = 256;

template <class T>
PF_Err BoxStrip(const Scan<T>& scan, const Columns<T>& columns, std::int64_t x, std::int64_t n, std::int64_t reach,
                const BoxDivider& divider, const RowPoll& poll) {
  alignas(64) static constexpr T kNothing[kStrip] = {};
  alignas(64) std::uint32_t sums[kStrip] = {};
  const auto slide = Kernels<T>().slide;
  const std::int64_t height = scan.height();
  for (std::int64_t y = 0; y < std::min(reach, height); ++y) {
    const T* row = columns.Row(y) + x;
    for (std::int64_t i = 0; i < n; ++i) sums[i] += row[i];
  }
  for (std::int64_t y = 0; y < height; ++y) {
    if (const PF_Err stop = poll.Ask()) return stop;
    const T* entering = y + reach < height ? columns.Row(y + reach) + x : kNothing;
    const T* leaving = y > reach ? columns.Row(y - reach - 1) + x : kNothing;
    slide(sums, entering, leaving, scan.Out(y) + x, n, divider);
  }
  return PF_Err_NONE;
}

template <class T>
PF_Err Box(const Scan<T>& scan, double radius, bool along_rows) {
  const auto span = static_cast<std::int64_t>(radius + 0.5);
  if (span == 0) return CopyRows(scan);
  const BoxDivider divider(static_cast<std::uint32_t>(2 * span + 1), 8 * sizeof(T));
  const std::int64_t width = scan.width();
  const std::int64_t reach = std::min(span, along_rows ? width : scan.height());
  if (along_rows) {
    const auto box = Kernels<T>().box;
    PaddedRows<T> rows(scan, reach);
    return scan.Rows(
        [&](std::int32_t y) { rows.With(y, [&](const T* row) { box(row, scan.Out(y), width, reach, divider); }); });
  }
  const Columns<T> columns(scan);
  const auto strips = static_cast<std::int32_t>((width + kStrip - 1) / kStrip);
  return ForRows(scan.progress, RowReports::kNone, strips, [&](std::int32_t strip, const RowPoll& poll) {
    const std::int64_t x = kStrip * strip;
    return BoxStrip(scan, columns, x, std::min(kStrip, width - x), reach, divider, poll);
  });
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
    const Scan<T> scan = {progress, from, to};
    if (radius == 0) return CopyRows(scan);
    return shape == Shape::kBell ? Gauss(scan, radius, direction == 0) : Box(scan, radius, direction == 0);
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
