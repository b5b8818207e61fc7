// Row kernels of sampling: what one sampler call per pixel would give, bit for bit.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Sampling.h"

namespace pf {

// One row of samples: destination pixel k (0 <= k < n) is the sample at (x0 + k * step_x, y), all in
// 16.16 held in 64 bits so that nothing overflows. step_x > 0.
struct SampleRow {
  const PF_SampPB* params;
  std::int64_t x0, step_x, y;
  void* out;
  std::int64_t n;
  // Whole cache lines may be written past the caches: the destination is larger than they are. SampleKernels::flush
  // then has to follow before another thread is told of the row.
  bool past_caches = false;
};

struct SampleKernels {
  // Scratch bytes that a row of n samples with step_x needs, for the worst row. The caller allocates it
  // once per copy, aligned to 64 bytes, and hands the same block to every row; what it holds is the
  // kernel's (rows unpacked for the next call), so a fresh block starts with its first 64 bytes zero. All rows of a
  // copy have the same params, x0, step_x and n.
  using ScratchSize = std::uint64_t (*)(const PF_SampPB* params, std::int64_t step_x, std::int64_t n);
  using Row = void (*)(const SampleRow& row, std::byte* scratch);

  struct Pair {
    ScratchSize scratch_size;
    Row row;
  };
  Pair bilinear_straight[3];  // [DepthIndex]
  Pair bilinear_premul[3];
  Pair area_straight[3];
  Pair area_premul[3];
  void (*flush)();  // once behind any number of rows: waiting after each costs a twentieth of its time
};

// Plain C++, one sampler per pixel: the reference.
extern const SampleKernels kPortableSampleKernels;
// The widest target that is allowed.
const SampleKernels& VectorSampleKernels();

}  // namespace pf
