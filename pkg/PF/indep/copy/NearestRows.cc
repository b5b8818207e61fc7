#include <algorithm>
#include <cstring>
#include <optional>

#include "copy/ReplicateKernels.h"
#include "copy/Rows.h"
#include "lifecycle/Globals.h"
#include "pixel/Plane.h"
#include "report/HostMemory.h"
#include "report/Progress.h"
#include "world/ConvertKernels.h"

namespace pf {
namespace {

constexpr std::int64_t PixelSize(int depth_index) { return std::int64_t{4} << depth_index; }

ColumnKind KindOf(const NearestMap& map) {
  if (map.step == map.divisor) return kColumns_SAME;
  if (map.step * 2 == map.divisor) return kColumns_TWICE;
  if (map.step == map.divisor * 2) return kColumns_ODD;
  return map.step < map.divisor ? kColumns_RISE : kColumns_FALL;
}

bool NeedsIndex(ColumnKind kind) { return kind == kColumns_RISE || kind == kColumns_FALL; }

// map.At(k) for k = 0 .. n - 1, without a division per pixel.
void FillIndex(const NearestMap& map, std::int64_t n, std::int32_t* index) {
  std::int64_t whole = map.first / map.divisor;
  std::int64_t rest = map.first % map.divisor;
  const std::int64_t step_whole = map.step / map.divisor;
  const std::int64_t step_rest = map.step % map.divisor;
  for (std::int64_t k = 0; k < n; ++k) {
    index[k] = static_cast<std::int32_t>(whole);
    rest += step_rest;
    const bool carry = rest >= map.divisor;
    rest -= carry ? map.divisor : 0;
    whole += step_whole + (carry ? 1 : 0);
  }
}

// Makes one destination row from one source row. Depths are converted where the row is shorter: before
// pixels are repeated, after pixels are dropped.
class RowMaker {
 public:
  RowMaker(const CopyJob& job, const NearestMap& columns)
      : from_(job.from), to_(job.to), source_size_(job.area.x.src_size) {
    const ReplicateKernels& replicate = *g_kernels.replicate;
    map_ = {KindOf(columns), nullptr, job.area.x.dst_size, source_size_};
    converts_ = from_ != to_;
    convert_first_ = map_.kind == kColumns_TWICE || map_.kind == kColumns_RISE;
    convert_ = g_kernels.convert.load()->row[from_][to_];
    replicate_ = replicate.row[map_.kind][convert_first_ ? to_ : from_];
    Allocate(columns);
  }

  void Make(const std::byte* in, std::byte* out) const {
    if (!converts_) {
      replicate_(in, out, map_);
    } else if (map_.kind == kColumns_SAME) {
      convert_(in, out, static_cast<std::size_t>(map_.n));
    } else if (convert_first_) {
      convert_(in, scratch_, static_cast<std::size_t>(source_size_));
      replicate_(scratch_, out, map_);
    } else {
      replicate_(in, scratch_, map_);
      convert_(scratch_, out, static_cast<std::size_t>(map_.n));
    }
  }

 private:
  // One block for the whole copy: the index, then the scratch row.
  void Allocate(const NearestMap& columns) {
    constexpr std::int64_t kLine = 64;
    const bool scratch = converts_ && map_.kind != kColumns_SAME;
    const std::int64_t index_size = NeedsIndex(map_.kind) ? (map_.n * 4 + kLine - 1) / kLine * kLine : 0;
    const std::int64_t row_size = convert_first_ ? source_size_ * PixelSize(to_) : map_.n * PixelSize(from_);
    const std::int64_t size = index_size + (scratch ? row_size : 0);
    if (size == 0) return;
    block_.emplace(static_cast<std::uint64_t>(size), Message::kImageBuffer);
    scratch_ = block_->data() + index_size;
    if (index_size == 0) return;
    auto* index = reinterpret_cast<std::int32_t*>(block_->data());
    FillIndex(columns, map_.n, index);
    map_.index = index;
  }

  int from_, to_;
  std::int64_t source_size_;
  ColumnMap map_;
  bool converts_, convert_first_;
  ConvertKernels::Row convert_;
  ReplicateKernels::Row replicate_;
  std::optional<HostBlock> block_;
  std::byte* scratch_ = nullptr;
};

}  // namespace

PF_Err CopyNearest(const CopyJob& job, const NearestMap& columns, const NearestMap& rows) {
  const RowMaker maker(job, columns);
  const auto* src = static_cast<const std::byte*>(job.src->data) + job.area.x.src * PixelSize(job.from);
  auto* dst = static_cast<std::byte*>(job.dst->data) + job.area.x.dst * PixelSize(job.to);
  const auto row_size = static_cast<std::size_t>(job.area.x.dst_size * PixelSize(job.to));
  std::int64_t previous = -1;
  std::byte* previous_out = nullptr;
  for (std::int64_t y = job.rows.low; y < job.rows.high; ++y) {
    const std::int64_t source = rows.At(y);
    std::byte* out = dst + (job.area.y.dst + y) * job.dst->row_bytes;
    if (source == previous) {
      std::memmove(out, previous_out, row_size);
    } else {
      maker.Make(src + (job.area.y.src + source) * job.src->row_bytes, out);
    }
    previous = source;
    previous_out = out;
    if (const PF_Err code = PollAfterRow(job.progress, y, job.area.y.dst_size)) return code;
  }
  return PF_Err_NONE;
}

}  // namespace pf
