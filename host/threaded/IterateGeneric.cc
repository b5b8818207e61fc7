// Iteration over a count.
#include <algorithm>

#include "host/U.h"
#include "threaded/Install.h"
#include "threaded/Parts.h"

namespace pfhost {
namespace {

// Iterations that a thread does in a row. Neighbours often work on neighbouring memory, which threads that take them
// in turns would snatch from each other's caches.
std::int64_t RunOf(std::int32_t iterations) {
  constexpr std::int32_t kRunsOfThread = 16, kLongest = 32;
  return std::clamp(iterations / (kRunsOfThread * U_GetNumThreads()), 1, kLongest);
}

}  // namespace

PF_Err ThreadedIterateGeneric(std::int32_t iterations, void* reference, PF_IterateGenericFunc function) {
  if (function == nullptr || iterations < 2) return PF_IterateGeneric_Static(iterations, reference, function);
  const std::int64_t run = RunOf(iterations), count = iterations;
  return RunParts((count + run - 1) / run,
                  [&](std::int32_t thread, std::int64_t part) -> PF_Err {
                    const std::int64_t end = std::min((part + 1) * run, count);
                    for (std::int64_t i = part * run; i < end; ++i) {
                      if (const PF_Err code = function(reference, thread, static_cast<std::int32_t>(i), iterations))
                        return code;
                    }
                    return PF_Err_NONE;
                  },
                  [] { return PF_Err_NONE; });
}

}  // namespace pfhost
