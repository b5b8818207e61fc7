// Refinement of whole flows, in bands.
#pragma once

#include <cstdint>
#include <span>

#include "planes/MotionKernels.h"

namespace pf {

struct RefineJob {
  FloatPlane first, second;       // brightness of both frames
  float first_part, second_part;  // of the motion, at which each is fetched
  FlowPlanes flow;                // refined in place
  const float* trust;             // see RefinePlanes; rows as of a plane of NewPlane
};

// Jobs of one size, at the same time.
void RefineFlows(std::span<const RefineJob> jobs, const RefineWeights& weights, std::int32_t rounds,
                 Workspace& workspace, const Interrupt& interrupt);

}  // namespace pf
