// The picture between two frames.
#pragma once

#include "PairCache.h"

namespace pf {

// Throws before the destination is touched, or not at all. \param time above 0, below 1.
void Synthesize(const MotionRequest& request, const PairMotion& motion, float time, PF_World& destination);

}  // namespace pf
