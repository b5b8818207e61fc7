// Row kernels of painting.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Types.h"

namespace pf {

struct PaintKernels {
  // Mixes a colour into n pixels, each under its own coverage. `row` needs no alignment.
  using DabRow = void (*)(PF_Pixel8* row, const std::uint32_t* coverage, PF_Pixel8 colour, std::size_t n);

  DabRow dab;
};

// Plain C++: the reference.
extern const PaintKernels kPortablePaintKernels;
// The widest target that is allowed.
const PaintKernels& VectorPaintKernels();

}  // namespace pf
