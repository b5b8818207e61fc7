// The pixels of a one-pixel line, in 16.16 fixed point of 64 bits.
#pragma once

#include <cstdint>
#include <optional>

#include "host/M.h"

namespace pf {

// Pixel i of a line lies at `major` + i * `direction` along its longer axis and, across it, at the 16.16 position
// `minor` + i * `slope`, rounded down. The line has pixels first..last; those outside a world are left out along
// the longer axis.
struct LinePath {
  bool along_x;
  std::int64_t major, direction;
  std::int64_t minor, slope;
  std::int64_t first, last;

  std::int64_t Major(std::int64_t i) const { return major + i * direction; }
  std::int64_t Minor(std::int64_t i) const { return (minor + i * slope) >> 16; }
};

// Nothing when the line has no pixel in a world of this size. All coordinates are finite.
std::optional<LinePath> PathOf(const M_Vector2T<double>& start, const M_Vector2T<double>& end, std::int64_t width,
                               std::int64_t height);

}  // namespace pf
