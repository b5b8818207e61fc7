#include "Suite.h"

namespace pfbench {

void AddMaskCases(Size, std::vector<Case>&) {}

}  // namespace pfbench
