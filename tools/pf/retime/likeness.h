/// \file
/// How much two frames have in common, as far as finding cuts and repeated frames needs it.
#ifndef TOOLS_PF_RETIME_LIKENESS_H
#define TOOLS_PF_RETIME_LIKENESS_H

#include <array>
#include <vector>

#include "PF/PF_Worlds.h"

namespace pftool {

/// A frame on a grid of at most 64 x 64 cells: the means of its colours in them, times alpha.
struct Signature {
  int columns = 0, rows = 0;
  std::array<std::vector<float>, 3> cells;   ///< red, green, blue, row by row; full value is 1, what is above it is
                                             ///< pressed into 1..2
  std::array<std::vector<float>, 3> sorted;  ///< the same values in rising order
};
/// \param world straight alpha
Signature SignatureOf(const PF_World& world);

/// 0 for equal frames; about 1 and above where nothing of one frame is found in the other.
///
/// Patches of 4 x 4 cells of each frame are looked for in the other one, up to a quarter of the frame away in any
/// direction, and what remains of them is divided by the contrast of the richer frame: motion explains much of a moving
/// picture and little of a new one. The mean distance of the sorted colours (what the best transport between the two
/// distributions moves) is added, since another picture is lit otherwise.
double Strangeness(const Signature& a, const Signature& b);

/// Whether `b` shows what `a` shows but for coding noise: equal bits, or differences of at most a quarter of 1/255 on
/// the average and 1/255 in each cell. Both have one size and depth.
bool ShowsTheSame(const PF_World& a, const PF_World& b);

}  // namespace pftool

#endif
