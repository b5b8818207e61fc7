// One motion out of candidates.
#pragma once

#include "motion/Pictures.h"
#include "synthesis/Project.h"

namespace pf {

// What is hidden of each frame, 0..1, standing at that frame.
struct HiddenPlanes {
  FloatPlane previous, next;
};

// How much of each frame is seen along a motion.
struct SeenPlanes {
  FloatPlane previous, next;
  FloatPlane trust;  // the lesser one; 0 where the motion leads outside
};
SeenPlanes NewSeen(Workspace& workspace, std::int32_t width, std::int32_t height);
void FindSeen(const HiddenPlanes& hidden, const FlowPlanes& flow, float time, const SeenPlanes& seen,
              const Interrupt& interrupt);

// Where the joint motion does not fit both frames, that of one frame alone or of a neighbour four pixels away may fit
// better. `out` receives the best, its outliers removed.
void Fuse(const PairPictures& pictures, const ProjectedFlows& flows, const FloatPlane& trust, float time,
          const FlowPlanes& out, Workspace& workspace, const Interrupt& interrupt);

}  // namespace pf
