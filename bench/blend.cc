#include "Suite.h"

namespace pfbench {

void AddBlendCases(Size, std::vector<Case>&) {}

}  // namespace pfbench
