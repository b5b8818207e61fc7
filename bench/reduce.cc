// High-quality reduction: area averages.
#include "HighQuality.h"

namespace pfbench {

void AddReduceCases(Size size, std::vector<Case>& cases) {
  AddHighQualityCases("reduce 0.5x", size, size, Scaled(size, 0.5), cases);
  AddHighQualityCases("reduce 0.37x", size, size, Scaled(size, 0.37), cases);
}

}  // namespace pfbench
