// The scaled copies pixel by pixel: rectangles prepared edge by edge in 128 bits, draft copies with the
// error accumulators as they are described, high quality with one exported sampler call per pixel.
#pragma once

#include "PF/PF_Copy.h"
#include "support/Worlds.h"

namespace pftest {

// Writes what the copy is to write. Returns the code to expect; reports nothing.
PF_Err ReferenceCopy(PF_CopyKind kind, const TestWorld& src, TestWorld& dst, const M_LRect* src_rect,
                     const M_LRect* dst_rect);

// Destination pixels that the accumulators give each of `from` source pixels spread over `to`.
std::vector<std::int64_t> ReferenceCounts(std::int64_t from, std::int64_t to);

}  // namespace pftest
