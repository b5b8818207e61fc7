// The place of a colour on the circle of hues.
#pragma once

#include "colorspace/Colour.h"

namespace pf {

// Sixths of a turn: difference / delta + offset, in -1..5.
struct Sextant {
  Sextant(const Colour& c, const Extremes& e) {
    if (c.red == e.max) {
      difference = c.green - c.blue;
      offset = 0;
    } else if (c.green == e.max) {
      difference = c.blue - c.red;
      offset = 2;
    } else {
      difference = c.red - c.green;
      offset = 4;
    }
  }
  double difference, offset;
};

// 0..360.
inline double HueDegrees(const Colour& c, const Extremes& e) {
  if (e.Grey()) return 0;
  const Sextant s(c, e);
  const double degrees = 60 * (s.difference / e.Delta() + s.offset);
  return degrees < 0 ? degrees + 360 : degrees;
}

// The same as 0..full for channels that are whole numbers. There is one division and nothing is rounded before it, so
// exact halves are exact.
inline double HueOfIntegers(const Colour& c, const Extremes& e, double full) {
  if (e.Grey()) return 0;
  const Sextant s(c, e);
  const double turn = 6 * e.Delta();
  const double place = s.difference + s.offset * e.Delta();
  return full * (place < 0 ? place + turn : place) / turn;
}

}  // namespace pf
