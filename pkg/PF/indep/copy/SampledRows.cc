#include <algorithm>
#include <cstring>
#include <limits>

#include "copy/Rows.h"
#include "lifecycle/Globals.h"
#include "pixel/ByteRange.h"
#include "report/HostMemory.h"
#include "report/Progress.h"
#include "sample/SampleKernels.h"

namespace pf {
namespace {

constexpr std::int64_t kOne = 65536;
constexpr std::uint64_t kScratchHeader = 64;  // starts as zeros

// scale_x * scale_y / 65536, truncated from double and saturated.
std::int32_t AreaOf(std::int64_t scale_x, std::int64_t scale_y) {
  const double area = static_cast<double>(scale_x) * static_cast<double>(scale_y) / 65536.0;
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  return area >= static_cast<double>(kMost) ? kMost : static_cast<std::int32_t>(area);
}

const SampleKernels::Pair& ChooseSampler(const SampleKernels& kernels, const CopyJob& job, bool straight,
                                         std::int64_t scale_x, std::int64_t scale_y) {
  const bool enlarges = scale_x <= kOne && scale_y <= kOne;
  if (straight) return enlarges ? kernels.bilinear_straight[job.from] : kernels.area_straight[job.from];
  return enlarges ? kernels.bilinear_premul[job.from] : kernels.area_premul[job.from];
}

// Repeats the first pixel of a row over the other n - 1.
void RepeatFirst(std::byte* row, std::int64_t n, std::int64_t pixel_size) {
  for (std::int64_t done = 1; done < n; done *= 2) {
    std::memcpy(row + done * pixel_size, row, static_cast<std::size_t>(std::min(done, n - done) * pixel_size));
  }
}

// Rows past the caches must be there before anybody is told of them, however the copy ends.
struct FlushAtEnd {
  const SampleKernels& kernels;
  ~FlushAtEnd() { kernels.flush(); }
};

}  // namespace

PF_Err CopySampled(const CopyJob& job, bool straight) {
  const SampleSteps x = StepsOf(job.area.x);
  const SampleSteps y = StepsOf(job.area.y);
  const PF_SampPB params = {Saturate32(x.scale / 2), Saturate32(y.scale / 2), AreaOf(x.scale, y.scale), job.src};
  const SampleKernels& kernels = *g_kernels.sample;
  const SampleKernels::Pair& sampler = ChooseSampler(kernels, job, straight, x.scale, y.scale);

  // More than 65536 destination pixels per source pixel: the position stands still.
  const bool still = x.scale == 0;
  const std::int64_t step = still ? 1 : x.scale;
  const std::int64_t n = still ? 1 : job.area.x.dst_size;
  const HostBlock scratch(std::max(sampler.scratch_size(&params, step, n), kScratchHeader), Message::kImageBuffer);
  std::memset(scratch.data(), 0, kScratchHeader);

  const std::int64_t pixel_size = std::int64_t{4} << job.to;
  auto* dst = static_cast<std::byte*>(job.dst->data) + job.area.x.dst * pixel_size;
  const bool past_caches = n * pixel_size * job.area.y.dst_size >= kPastCaches;
  const FlushAtEnd at_end = {kernels};
  for (std::int64_t row = job.rows.low; row < job.rows.high; ++row) {
    if ((row & 63) == 0) kernels.flush();  // the poll may tell
    if (const PF_Err code = PollBeforeRow(job.progress, row)) return code;
    std::byte* out = dst + (job.area.y.dst + row) * job.dst->row_bytes;
    sampler.row({&params, x.start, step, y.start + row * y.scale, out, n, past_caches}, scratch.data());
    if (still) RepeatFirst(out, job.area.x.dst_size, pixel_size);
  }
  return PF_Err_NONE;
}

}  // namespace pf
