// Thin things - wires, strings, whiskers - that cross a background which moves by itself. No patch follows them.
#pragma once

#include <cstdint>

#include "PairMotion.h"
#include "motion/Flows.h"

namespace pf {

// Thin places of one frame, each with the motion to where it is in the other one, in pixels of half size.
struct ThinPlaces {
  ThinPoint* points;
  std::int32_t count;
};

struct ThinSides {
  ThinPlaces previous, next;
};

// \param flows the motion of the background, there and back. \param longest in pixels of half size. The points are the
// workspace's.
ThinSides FindThin(const PairPictures& pictures, const FlowPlanes (&flows)[2], const Longest& longest,
                   Workspace& workspace, const Interrupt& interrupt);

}  // namespace pf
