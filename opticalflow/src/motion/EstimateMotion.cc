#include <algorithm>

#include "PairCache.h"

namespace pf {

std::unique_ptr<PairMotion> EstimateMotion(const PF_Tavros_AlgoParams&, const FramePair& frames, const Interrupt&) {
  auto motion = std::make_unique<PairMotion>((frames.previous->width + 1) / 2, (frames.previous->height + 1) / 2);
  const std::int64_t places = std::int64_t{motion->width} * motion->height;
  for (const MotionField& field : {motion->forward, motion->backward}) {
    std::fill_n(field.u, places, 0);
    std::fill_n(field.v, places, 0);
    std::fill_n(field.hidden, places, 0);
    std::fill_n(field.doubt, places, 0);
  }
  return motion;
}

}  // namespace pf
