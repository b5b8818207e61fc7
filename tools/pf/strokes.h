/// \file
/// The text file of `pf paint`.
#ifndef TOOLS_PF_STROKES_H
#define TOOLS_PF_STROKES_H

#include <memory>
#include <string>
#include <vector>

#include "PF/PF_Types.h"
#include "brush.h"

namespace pftool {

/// What is painted, in this order.
struct PaintStep {
  enum Kind { kDab, kLine, kPixel } kind;
  double x0, y0, x1, y1;               ///< dabs and pixels: the first two
  PF_PixelFloat colour;                ///< straight
  std::shared_ptr<const Brush> brush;  ///< of dabs
};

/// Reads the strokes of a file. One command a line; "#" starts a comment:
///
///     color R G B [A]        0..1 each; white at first
///     color #RRGGBB[AA]
///     disk N [HARDNESS]      brush: N pixels across, hardness 0..1; a disk of 15 at first
///     square N | hbar N | vbar N
///     brush FILE             coverage from a picture, relative to the strokes' folder
///     opacity O              of the dabs that follow, 0..1
///     spacing S              pixels between the dabs of a stroke; a quarter of the brush at first
///     dab X Y
///     stroke X Y X Y ...     dabs along the line through the points
///     line X Y X Y           one pixel wide
///     pixel X Y
///
/// Even brush sizes become the next odd one. Coordinates are pixels, centres at whole numbers.
/// \throws Failure 66 when the file cannot be opened, 65 naming the line and the word that is not understood.
std::vector<PaintStep> ReadStrokes(const std::string& name, Reporter* reporter);

}  // namespace pftool

#endif
