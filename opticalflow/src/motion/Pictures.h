// A pair of frames as the engine sees them.
#pragma once

#include "PF/PF_FrameBlending.h"
#include "planes/MotionKernels.h"

namespace pf {

struct FramePicture {
  ColourPlane full;      // premultiplied, on the scale of the depth, two pixels repeated around; not finite ones are 0,
                         // alpha is limited
  ColourPlane half;      // half the extents, 0..255, with values beyond full drawn in
  FloatPlane level;      // brightness of `half`, repeated around for patches
  bool opaque;           // every alpha is full
  bool finite;           // no sample was not finite
  float least, largest;  // straight colours of all pixels and 0
};

struct PairPictures {
  FramePicture previous, next;

  std::int32_t HalfWidth() const { return previous.half.width; }
  std::int32_t HalfHeight() const { return previous.half.height; }
};

// Edge of patches: whole groups of eight.
constexpr std::int32_t PatchEdge(const PF_Tavros_AlgoParams& algo) { return (algo.size + 7) / 8 * 8; }

PairPictures PreparePictures(const PF_Tavros_AlgoParams& algo, const PF_World& previous, const PF_World& next,
                             Workspace& workspace, const Interrupt& interrupt);

// Repeats the outer rows and columns of a plane into its rim.
void RepeatAround(const FloatPlane& plane, std::int32_t rim);

}  // namespace pf
