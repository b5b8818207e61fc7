// Thin things at the wanted time, drawn over the rest.
#pragma once

#include "PairMotion.h"
#include "planes/MotionKernels.h"

namespace pf {

struct ThinLayer {
  bool any;
  FloatPlane on_previous, on_next;  // 1 where a frame shows something thin in place of what is behind it
  FloatPlane cover;                 // at the wanted time, 0..1
  FlowPlanes flow;                  // there, from previous to next
};

ThinLayer MakeThinLayer(const PairMotion& motion, float time, Workspace& workspace);

}  // namespace pf
