#include "PairCache.h"
#include "motion/Judge.h"

namespace pf {

std::unique_ptr<PairMotion> EstimateMotion(const MotionRequest& request) {
  const Workspace::Scope scope(request.workspace);
  const PairFlows flows = EstimateFlows(request.algo, request.pictures, request.workspace, request.interrupt);
  return JudgeFlows(request.algo, request.pictures, flows, request.workspace, request.interrupt);
}

}  // namespace pf
