// Row kernels of the alpha conventions.
#pragma once

#include <cstddef>

namespace pf {

struct AlphaKernels {
  // Takes n pixels from `in` to `out`, which may be the same row but must not overlap otherwise. Neither needs
  // alignment beyond its channel's.
  using Row = void (*)(const void* in, void* out, std::size_t n);
  // The same with one pixel of the row's depth, whose alpha is not read.
  using MatteRow = void (*)(const void* in, const void* matte, void* out, std::size_t n);

  Row premultiply[3];  // [DepthIndex(depth)]
  Row unmultiply[3];
  MatteRow onto_matte[3];
  MatteRow without_matte[3];
};

// Plain C++: the reference.
extern const AlphaKernels kPortableAlphaKernels;
// The widest target that is allowed.
const AlphaKernels& VectorAlphaKernels();

}  // namespace pf
