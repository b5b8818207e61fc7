// What the motion vectors of a pair of frames are filed under.
#pragma once

#include "PF/PF_FrameBlending.h"
#include "PF/PF_Worlds.h"
#include "host/vexcore.h"

namespace pf {

// Of a frame: depth, width, height, and its pixels row by row without padding.
vexcore::Guid FrameIdentity(const PF_World& frame);

// Of the vectors between two frames, under these parameters. Traced when the host wants it.
vexcore::Guid VectorKey(const vexcore::Guid& previous, const vexcore::Guid& next, const PF_Tavros_AlgoParams& algo);

}  // namespace pf
