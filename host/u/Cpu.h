// What the processor can do.
#pragma once

#include <cstdint>

namespace pfhost {

// Bits U_CPU_* of this machine, each level complete and including those before it.
std::uint32_t DetectCpuFeatures() noexcept;
// The levels of `detected` up to the first that is missing or disabled.
std::uint32_t AllowedCpuFeatures(std::uint32_t detected, std::uint32_t disabled) noexcept;
// Publishes the machine's description without the disabled features; StopCpu takes it away.
void StartCpu(std::uint32_t disabled) noexcept;
void StopCpu() noexcept;

}  // namespace pfhost
