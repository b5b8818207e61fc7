#include <algorithm>

#include "paint/PaintKernels.h"

namespace pf {
namespace {

// Wide, because coverages above 255 leave 32 bits and make the old pixel's share negative.
std::uint8_t Mix(std::uint8_t old, std::uint8_t colour, std::int64_t coverage) {
  const std::int64_t mixed = (old * (255 - coverage) + colour * coverage) / 255;
  return static_cast<std::uint8_t>(std::clamp<std::int64_t>(mixed, 0, 255));
}

void DabRow(PF_Pixel8* row, const std::uint32_t* coverage, PF_Pixel8 colour, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    const std::int64_t m = coverage[i];
    row[i] = {Mix(row[i].alpha, colour.alpha, m), Mix(row[i].red, colour.red, m), Mix(row[i].green, colour.green, m),
              Mix(row[i].blue, colour.blue, m)};
  }
}

}  // namespace

constinit const PaintKernels kPortablePaintKernels = {&DabRow};

}  // namespace pf
