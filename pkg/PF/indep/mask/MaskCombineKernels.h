// Kernels that make one run of values out of two.
#pragma once

#include <cstdint>

#include "PF/PF_Masks.h"

namespace pf {

struct MaskCombineKernels {
  // out[i] = the mode of s[i] and d[i]. `out` may be `s` or `d`; otherwise nothing overlaps.
  using Row = void (*)(const void* s, const void* d, void* out, std::int64_t n);
  Row row[PF_MaskMode_COUNT][3];  // [mode][DepthIndex]
};

// Plain C++: the reference.
extern const MaskCombineKernels kPortableMaskCombineKernels;
// The widest target that is allowed.
const MaskCombineKernels& VectorMaskCombineKernels();

}  // namespace pf
