// Motion carried to a time between the frames.
#pragma once

#include "PairMotion.h"
#include "planes/MotionKernels.h"

namespace pf {

// At the wanted time, from previous to next, in pixels of half size.
struct ProjectedFlows {
  FlowPlanes both;      // from both frames together; four rows and columns repeated around
  FlowPlanes previous;  // from each alone
  FlowPlanes next;
};
inline constexpr std::int32_t kProjectedRim = 4;

ProjectedFlows Project(const PairMotion& motion, float time, Workspace& workspace, const Interrupt& interrupt);

}  // namespace pf
