// A caller's function over every index of a count.
#include "PF/PF_Iterate.h"
#include "dispatch/Slot.h"
#include "edge/Guard.h"
#include "report/Report.h"

PF_Err PF_IterateGeneric(std::int32_t iterations, void* reference, PF_IterateGenericFunc function) {
  return pf::Installed<&PF_IterateGeneric_Static>(iterations, reference, function);
}

PF_Err PF_IterateGeneric_Static(std::int32_t iterations, void* reference, PF_IterateGenericFunc function) {
  return pf::Guard([&]() -> PF_Err {
    if (function == nullptr) return pf::FailCaller(pf::Site::kIterateGeneric, pf::Message::kBadCallbackParameter);
    if (iterations == -1) return function(reference, 0, 0, 1);
    for (std::int32_t i = 0; i < iterations; ++i) {
      if (const PF_Err error = function(reference, 0, i, iterations)) return error;
    }
    return PF_Err_NONE;
  });
}
