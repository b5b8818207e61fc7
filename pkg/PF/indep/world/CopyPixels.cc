#include "world/CopyPixels.h"

#include <algorithm>
#include <cstring>

#include "lifecycle/Globals.h"
#include "pixel/Depth.h"
#include "report/HostMemory.h"
#include "report/Progress.h"
#include "world/ConvertKernels.h"
#include "world/Dither.h"

namespace pf {
namespace {

// Rows of one size, `stride` bytes apart.
struct Rows {
  std::byte* first;
  std::int64_t stride;
  std::int64_t size;

  std::byte* At(std::int64_t y) const { return first + y * stride; }
  void Flip(std::int64_t count) {
    first = At(count - 1);
    stride = -stride;
  }
  // The address behind the rows; the one where they begin.
  std::uintptr_t End(std::int64_t count) const {
    return reinterpret_cast<std::uintptr_t>(stride < 0 ? first : At(count - 1)) + static_cast<std::uintptr_t>(size);
  }
  std::uintptr_t Begin(std::int64_t count) const {
    return reinterpret_cast<std::uintptr_t>(stride < 0 ? At(count - 1) : first);
  }
};

struct RowCopy {
  Rows from, to;
  int from_depth, to_depth;  // DepthIndex
  std::int64_t width, height;
};

Rows RowsOf(const PF_World& world, std::int64_t x, std::int64_t y, std::int64_t width) {
  const std::int64_t pixel_size = world.Depth() / 2;
  return {static_cast<std::byte*>(world.data) + y * world.row_bytes + x * pixel_size, world.row_bytes,
          width * pixel_size};
}

RowCopy RowCopyOf(const PF_World& src, const PF_World& dst, const CopyArea& area) {
  return {RowsOf(src, area.src_x, area.src_y, area.width),
          RowsOf(dst, area.dst_x, area.dst_y, area.width),
          DepthIndex(src.Depth()),
          DepthIndex(dst.Depth()),
          area.width,
          area.height};
}

bool Overlap(const RowCopy& copy) {
  return copy.from.Begin(copy.height) < copy.to.End(copy.height) &&
         copy.to.Begin(copy.height) < copy.from.End(copy.height);
}

// With one stride on both sides a row can only be overwritten by rows on one side of it: walking the other
// way reads each row before it is lost.
bool OrderIsEnough(const RowCopy& copy) {
  return copy.from_depth == copy.to_depth && copy.from.stride == copy.to.stride &&
         copy.from.size <= std::max(copy.from.stride, -copy.from.stride);
}

void MoveRows(const RowCopy& copy, const PF_ProgressInfo* progress) {
  for (std::int64_t i = 0; i < copy.height; ++i) {
    std::memmove(copy.to.At(i), copy.from.At(i), static_cast<std::size_t>(copy.from.size));
    ThrowIfStopped(PollAfterRow(progress, i, copy.height));
  }
}

void ConvertRows(const RowCopy& copy, const PF_ProgressInfo* progress) {
  const auto row = g_kernels.convert.load(std::memory_order_relaxed)->row[copy.from_depth][copy.to_depth];
  for (std::int64_t i = 0; i < copy.height; ++i) {
    row(copy.from.At(i), copy.to.At(i), static_cast<std::size_t>(copy.width));
    ThrowIfStopped(PollAfterRow(progress, i, copy.height));
  }
}

void DitherRows(const RowCopy& copy, DitherRun run, const PF_ProgressInfo* progress) {
  const auto kernel = g_kernels.convert.load(std::memory_order_relaxed)->dither16to8;
  for (std::int64_t i = 0; i < copy.height; ++i) {
    run.Convert(kernel, reinterpret_cast<const std::uint16_t*>(copy.from.At(i)),
                reinterpret_cast<std::uint8_t*>(copy.to.At(i)), 4 * copy.width);
    ThrowIfStopped(PollAfterRow(progress, i, copy.height));
  }
}

// The two sides share no memory, or only so that the order of rows takes care of it.
void CopySeparateRows(const RowCopy& copy, const CopyOptions& options) {
  if (copy.from_depth == copy.to_depth) return MoveRows(copy, options.progress);
  if (options.dither && copy.from_depth == DepthIndex(16) && copy.to_depth == DepthIndex(8)) {
    const DitherRun run = DitherRun::Reserve(4 * copy.width * copy.height);
    if (run.HasTable()) return DitherRows(copy, run, options.progress);
  }
  ConvertRows(copy, options.progress);
}

void CopyThroughTemporary(RowCopy copy, const CopyOptions& options) {
  const HostBlock block(static_cast<std::uint64_t>(copy.from.size * copy.height), Message::kImageBuffer);
  RowCopy out = copy;
  copy.to = out.from = {block.data(), copy.from.size, copy.from.size};
  copy.to_depth = copy.from_depth;
  MoveRows(copy, nullptr);
  CopySeparateRows(out, options);
}

void CopyRows(RowCopy copy, const CopyOptions& options) {
  if (Overlap(copy)) {
    if (!OrderIsEnough(copy)) return CopyThroughTemporary(copy, options);
    if ((copy.to.first > copy.from.first) == (copy.from.stride > 0)) {
      copy.from.Flip(copy.height);
      copy.to.Flip(copy.height);
    }
  }
  CopySeparateRows(copy, options);
}

// One axis of the clipping: the source interval [from, to) of a source of `src_size`, placed at `at` in a
// destination of `dst_size`.
struct Interval {
  std::int64_t src, dst, size;
};
Interval ClipAxis(std::int64_t from, std::int64_t to, std::int64_t src_size, std::int64_t at, std::int64_t dst_size) {
  const std::int64_t offset = at - from;  // source to destination
  const std::int64_t begin = std::max({from, std::int64_t{0}, -offset});
  const std::int64_t end = std::min({to, src_size, dst_size - offset});
  return {begin, begin + offset, end - begin};
}

}  // namespace

CopyArea ClipCopy(const PF_World& src, const M_LRect& rect, const PF_World& dst, std::int64_t x, std::int64_t y) {
  const Interval h = ClipAxis(rect.left, rect.right, src.width, x, dst.width);
  const Interval v = ClipAxis(rect.top, rect.bottom, src.height, y, dst.height);
  return {h.src, v.src, h.dst, v.dst, h.size, v.size};
}

void CopyPixels(const PF_World& src, const PF_World& dst, const CopyArea& area, const CopyOptions& options) {
  if (area.width <= 0 || area.height <= 0) return;
  CopyRows(RowCopyOf(src, dst, area), options);
}

void CopySecondRows(const PF_World& src, const PF_World& dst, const CopyArea& area) {
  if (area.width <= 0 || area.height <= 0) return;
  RowCopy copy = RowCopyOf(src, dst, area);
  copy.from.stride *= 2;
  copy.to.stride *= 2;
  copy.height = (area.height + 1) / 2;
  CopyRows(copy, {});
}

}  // namespace pf
