/// \file
/// Difference of two pictures.
#ifndef TOOLS_PF_DIFFERENCE_H
#define TOOLS_PF_DIFFERENCE_H

#include <cstdint>

#include "picture.h"

namespace pftool {

/// Sums over the compared channels of two pictures of equal size.
///
/// Two files of one integer type are compared in that type's steps, exactly; all others as fractions of
/// full value (white = 1). A picture without alpha is opaque; grey counts as equal red, green and blue. When
/// one is straight and the other premultiplied, the straight one is multiplied first. Two NaN are equal; NaN
/// against a number is an infinite difference.
struct Difference {
  double full = 1;  ///< white in the unit of comparison: 255, 65535 or 1
  double largest = 0;
  int x = 0, y = 0;          ///< of the first pixel with the largest difference
  char channel = 'r';        ///< its channel: r, g, b, a, or y for grey
  std::uint64_t values = 0;  ///< number of compared values
  double sum = 0, sum_of_squares = 0;

  double mean() const { return values ? sum / static_cast<double>(values) : 0; }
  /// Peak signal to noise ratio in decibels; infinite for equal pictures.
  double psnr() const;
};

/// Compares two pictures of equal size. Rows are read in step, so memory does not grow with the height.
Difference ComparePictures(PictureReader* a, PictureReader* b, Reporter* reporter);

}  // namespace pftool

#endif
