/// \file
/// Brushes: coverage of one dab.
#ifndef TOOLS_PF_BRUSH_H
#define TOOLS_PF_BRUSH_H

#include <cstdint>
#include <string>
#include <vector>

#include "plan.h"
#include "reporter.h"

namespace pftool {

/// A square of coverage, or a bar. Sizes are odd.
struct Brush {
  std::uint32_t shape = 0;              ///< PF_SpotShape_* bits
  int size = 1;                         ///< pixels across
  std::vector<std::uint32_t> coverage;  ///< 0..255, size x size values, or size of a bar

  int HalfWidth() const;
  int HalfHeight() const;
};

/// Largest brush, in pixels.
inline constexpr int kLargestBrush = 4095;

/// A disk of `size` pixels with an edge that is one pixel soft at hardness 1 and falls from the centre at 0.
Brush DiskBrush(int size, double hardness);
Brush SquareBrush(int size);
Brush BarBrush(int size, bool vertical);
/// Coverage from a picture: its alpha, or its only channel. It stands in the middle of the smallest odd square.
/// \throws Failure 65 for a picture with colours and no alpha, and for one larger than kLargestBrush.
Brush PictureBrush(const InputName& input, Reporter* reporter);

/// The same brush with all coverage scaled by `opacity`, 0..1.
Brush Weakened(Brush brush, double opacity);

}  // namespace pftool

#endif
