// The picture between two frames.
#pragma once

#include "PairCache.h"

namespace pf {

struct Wanted {
  const PF_Tavros_AlgoParams& algo;
  FramePair frames;
  const PairMotion* motion;  // null: a cross-fade
  float time;                // above 0, below 1
};

// Throws before the destination is touched, or not at all.
void Synthesize(const Wanted& wanted, const Interrupt& interrupt, PF_World& destination);

}  // namespace pf
