// High-quality enlargement: bilinear.
#include "HighQuality.h"

namespace pfbench {

void AddEnlargeCases(Size size, std::vector<Case>& cases) {
  AddHighQualityCases("enlarge 2x", size, Scaled(size, 1 / 2.0), size, cases);
  AddHighQualityCases("enlarge 1.37x", size, Scaled(size, 1 / 1.37), size, cases);
}

}  // namespace pfbench
