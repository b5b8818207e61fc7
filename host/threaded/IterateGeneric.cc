// Iteration over a count.
#include "threaded/Install.h"
#include "threaded/Parts.h"

namespace pfhost {

PF_Err ThreadedIterateGeneric(std::int32_t iterations, void* reference, PF_IterateGenericFunc function) {
  if (function == nullptr || iterations < 2) return PF_IterateGeneric_Static(iterations, reference, function);
  return RunParts(
      iterations,
      [&](std::int32_t thread, std::int64_t i) {
        return function(reference, thread, static_cast<std::int32_t>(i), iterations);
      },
      [] { return PF_Err_NONE; });
}

}  // namespace pfhost
