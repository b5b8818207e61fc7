/// \file
/// Worlds as the tool holds them.
#ifndef TOOLS_PF_WORLD_H
#define TOOLS_PF_WORLD_H

#include <cstdint>
#include <memory>
#include <string>

#include "PF/PF_Worlds.h"
#include "reporter.h"

namespace pftool {

/// A world object that is deleted with its owner. Null when nothing has been allocated yet.
using WorldPtr = std::unique_ptr<PF_World>;

/// Bytes of a world that the library would allocate. Sizes 1..30000, depth 8, 16 or 32.
std::uint64_t WorldBytes(int width, int height, int depth);

/// Refuses before anything is allocated when `bytes` exceed the memory that the system says is available.
/// \param where the picture, quoted. \throws Failure (71).
void RequireMemory(std::uint64_t bytes, const std::string& where);

/// Allocates a world with undefined pixels. \throws Failure (71).
WorldPtr NewWorld(int width, int height, int depth, const std::string& where);

/// A reference to a part of a world; must not outlive it. The part lies inside.
WorldPtr PartOf(PF_World* world, const M_LRect& part);

/// The plain record of a world.
PF_LayerDef RecordOf(const PF_World& world);

inline M_LRect BoundsOf(const PF_World& world) { return {0, 0, world.width, world.height}; }

/// Copies all of `src` to (x, y) of `dst` with conversion of depth. From float to 8 bits with `dither` the
/// values pass through 16 bits, where the library's dither applies.
void ConvertInto(const PF_World& src, PF_World* dst, int x, int y, bool dither, const std::string& where,
                 Reporter* reporter);

/// A copy in another depth, or the world itself when it has the depth already.
WorldPtr Converted(WorldPtr world, int depth, bool dither, const std::string& where, Reporter* reporter);

/// Repeats the edge pixels of the part inside `margin` pixels all around into that margin.
void RepeatEdges(PF_World* world, int margin);

}  // namespace pftool

#endif
