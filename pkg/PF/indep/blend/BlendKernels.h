// Row kernels of cross-fades.
#pragma once

#include <cstddef>
#include <cstdint>

namespace pf {

enum BlendForm { kPremultipliedBlend, kStraightBlend };

struct BlendKernels {
  // Mixes n pixels. 0 < ratio < 65536 is the second source's weight; `out` may be one of the sources.
  using Row = void (*)(const void* first, const void* second, std::uint32_t ratio, void* out, std::size_t n);

  Row row[2][3];  // [BlendForm][DepthIndex(depth)]
};

// Plain C++: the reference.
extern const BlendKernels kPortableBlendKernels;
// The widest target that is allowed.
const BlendKernels& VectorBlendKernels();

}  // namespace pf
