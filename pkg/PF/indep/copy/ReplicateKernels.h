// Row kernels of the draft copy.
#pragma once

#include <cstdint>

namespace pf {

struct ReplicateKernels {
  // Spreads n source pixels over the destination: after adding dw to the accumulator for each source
  // pixel, the pixel is written accumulator / sw times. Writes (n * dw) / sw pixels. `pixel_size` indexes
  // the slot.
  using Row = void (*)(const void* in, void* out, std::int64_t n, std::int64_t sw, std::int64_t dw);
  Row row[3];  // [DepthIndex], pixels of 4, 8, 16 bytes
};

extern const ReplicateKernels kPortableReplicateKernels;
const ReplicateKernels& VectorReplicateKernels();

}  // namespace pf
