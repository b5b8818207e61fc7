// Threads that run a caller's task beside the caller.
#pragma once

#include <boost/function.hpp>
#include <cstdint>

#include "host/U.h"

namespace pfhost {

// Logical processors of the machine, at least 1.
std::int32_t LogicalProcessors() noexcept;

// \param threads 1 to kMostThreads, the calling thread included; 0 = one per logical processor.
// \return 0; 3, reported, for another number; 4 when the threads cannot be had.
inline constexpr std::int32_t kMostThreads = 256;
U_Err StartExecutor(std::int32_t threads) noexcept;
// Returns when none of the executor's threads is in a task any more.
void StopExecutor() noexcept;

}  // namespace pfhost
