// Which motion is believed, and what stands in for the rest.
#pragma once

#include <memory>

#include "PairMotion.h"
#include "motion/Flows.h"

namespace pf {

// Finds what is hidden in the other frame, gives it the motion of its surroundings, and rounds all to what is kept.
std::unique_ptr<PairMotion> JudgeFlows(const PF_Tavros_AlgoParams& algo, const PairPictures& pictures,
                                       const PairFlows& flows, Workspace& workspace, const Interrupt& interrupt);

}  // namespace pf
