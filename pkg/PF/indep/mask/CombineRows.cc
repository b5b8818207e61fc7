#include "mask/CombineRows.h"

#include <algorithm>
#include <cstring>

#include "iterate/ForRows.h"
#include "lifecycle/Globals.h"
#include "mask/ConvertValues.h"
#include "mask/MaskCombineKernels.h"
#include "mask/MaskKernels.h"
#include "pixel/Depth.h"

namespace pf {
namespace {

// Areas from this size on are worth threads.
constexpr std::int64_t kThreadedValues = 76800;
// Values that are prepared at a time.
constexpr std::int64_t kChunk = 1024;

bool ClearsOutside(std::int32_t mode) { return mode == PF_MaskMode_INTERSECT || mode == PF_MaskMode_DARKEN; }

void Clear(std::byte* from, const std::byte* to) { std::memset(from, 0, static_cast<std::size_t>(to - from)); }

void ClearOtherRows(const LockedMask& dst, const MaskArea& area) {
  Clear(dst.At(0, 0), dst.At(0, area.dst_y));
  Clear(dst.At(0, area.dst_y + area.height), dst.At(0, dst.height()));
}

void ClearBeside(const LockedMask& dst, const MaskArea& area, std::int64_t y) {
  Clear(dst.At(0, y), dst.At(area.dst_x, y));
  Clear(dst.At(area.dst_x + area.width, y), dst.At(dst.width(), y));
}

// Calls f(T{}) with the type of the values of a known depth.
template <class F>
void WithValues(std::int32_t depth, const F& f) {
  DispatchDepth(
      depth, [&]<class P>(P) { f(ChannelOf<P>{}); }, [] {});
}

bool Scales(std::int32_t depth, float weight) {
  bool scales = false;
  WithValues(depth, [&]<class T>(T) { scales = FadeScale<T>(weight) != kFullCoverage<T>; });
  return scales;
}

void Scale(std::int32_t depth, float weight, std::byte* values, std::int64_t n) {
  const MaskKernels& kernels = *g_kernels.mask.load(std::memory_order_relaxed);
  WithValues(depth, [&]<class T>(T) {
    kernels.template Of<T>().fade(reinterpret_cast<T*>(values), static_cast<std::size_t>(n), FadeScale<T>(weight));
  });
}

}  // namespace

PF_Err CheckCombination(std::int32_t mode, std::initializer_list<const PF_UnoBuffer*> masks) {
  for (const PF_UnoBuffer* mask : masks) {
    if (DepthIndex(mask->depth) < 0) return PF_Err_BAD_PARAMETER;
  }
  if (mode >= 0 && mode < PF_MaskMode_COUNT) return PF_Err_NONE;
  ReportCaller(Site::kMask, Message::kUnimplementedMode);
  return PF_Err_NOT_IMPLEMENTED;
}

CombineOperand::CombineOperand(const LockedMask& mask, std::int64_t x, std::int64_t y, float weight,
                               const LockedMask& dst, const MaskArea& area)
    : first_(mask.At(x, y)),
      stride_(mask.stride()),
      value_size_(ValueBytes(mask.depth())),
      from_(mask.depth()),
      depth_(dst.depth()),
      weight_(weight),
      converts_(mask.depth() != dst.depth()),
      scales_(Scales(dst.depth(), weight)) {
  const std::byte* last = At(area.width, area.height - 1);
  const bool shared = first_ < dst.At(0, dst.height()) && dst.At(0, 0) < last;
  const bool in_place = !converts_ && first_ == dst.At(area.dst_x, area.dst_y) && stride_ == dst.stride();
  if (shared && !in_place) CopyAway(area);
}

void CombineOperand::CopyAway(const MaskArea& area) {
  const auto row = static_cast<std::size_t>(area.width * value_size_);
  copy_.emplace(row * static_cast<std::uint64_t>(area.height), Message::kBlendingScratch);
  for (std::int64_t y = 0; y < area.height; ++y) {
    std::memcpy(copy_->data() + static_cast<std::size_t>(y) * row, At(0, y), row);
  }
  first_ = copy_->data();
  stride_ = static_cast<std::int64_t>(row);
}

const std::byte* CombineOperand::Prepare(std::int64_t x, std::int64_t y, std::int64_t n, std::byte* buffer) const {
  const std::byte* in = At(x, y);
  if (Ready()) return in;
  ConvertLimited(DepthIndex(from_), DepthIndex(depth_), in, buffer, n);
  if (scales_) Scale(depth_, weight_, buffer, n);
  return buffer;
}

PF_Err CombineRows(const PF_ProgressInfo* progress, std::int32_t mode, const CombineOperand& s, const CombineOperand& d,
                   const LockedMask& dst, const MaskArea& area) {
  const auto kernel = g_kernels.mask_combine.load(std::memory_order_relaxed)->row[mode][DepthIndex(dst.depth())];
  const std::int64_t step = s.Ready() && d.Ready() ? area.width : kChunk;
  if (ClearsOutside(mode)) ClearOtherRows(dst, area);
  const auto iterate = area.width * area.height >= kThreadedValues ? &PF_IterateGeneric : &PF_IterateGeneric_Static;
  return ForRows(iterate, progress, RowReports::kNone, static_cast<std::int32_t>(area.height), [&](std::int32_t y) {
    alignas(64) std::byte first[kChunk * sizeof(float)], second[kChunk * sizeof(float)];
    for (std::int64_t x = 0; x < area.width; x += step) {
      const std::int64_t n = std::min(step, area.width - x);
      kernel(s.Prepare(x, y, n, first), d.Prepare(x, y, n, second), dst.At(area.dst_x + x, area.dst_y + y), n);
    }
    if (ClearsOutside(mode)) ClearBeside(dst, area, area.dst_y + y);
  });
}

}  // namespace pf
