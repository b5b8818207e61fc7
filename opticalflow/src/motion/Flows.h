// Motion in both directions, size by size.
#pragma once

#include "motion/Pictures.h"

namespace pf {

struct PairFlows {
  FlowPlanes forward, backward;
};

// Of the frames' half size; refined, not yet judged.
PairFlows EstimateFlows(const PF_Tavros_AlgoParams& algo, const PairPictures& pictures, Workspace& workspace,
                        const Interrupt& interrupt);

// The longest motion that the parameters allow, in pixels of the frame.
struct Longest {
  float x, y;
};
void LimitRows(const FlowPlanes& flow, const Longest& longest, Rows rows);
Longest LongestMotion(const PF_Tavros_AlgoParams& algo, std::int32_t width, std::int32_t height);

// How the equations weigh, from the parameters.
RefineWeights WeightsOf(const PF_Tavros_AlgoParams& algo);

}  // namespace pf
