// Which vector targets the kernels may use.
#pragma once

#include <cstdint>

namespace pf {

// Limits the targets that kernel factories choose from to those that the host's CPU record allows
// (bits U_CPU_*). Without the vector feature the portable kernels are used and this is not called.
void LimitTargets(std::uint32_t cpu_features);

}  // namespace pf
