// Motion in both directions, size by size.
#pragma once

#include "motion/Pictures.h"

namespace pf {

struct PairFlows {
  FlowPlanes forward, backward;
};

// Of the frames' half size; refined, not yet judged.
PairFlows EstimateFlows(const PF_Tavros_AlgoParams& algo, const PF_World& frame, const PairPictures& pictures,
                        Workspace& workspace, const Interrupt& interrupt);

// How the equations weigh, from the parameters.
RefineWeights WeightsOf(const PF_Tavros_AlgoParams& algo);

}  // namespace pf
