#include "threaded/Install.h"

#include "PF/PF_Lifecycle.h"

namespace pfhost {
namespace {

struct Replacement {
  std::int32_t index;
  PF_AnyFunc function;
};

// A function of another type than the one that it replaces does not compile.
template <auto Replaced, auto Own>
Replacement Replace(std::int32_t index) {
  static_assert(std::is_same_v<decltype(Replaced), decltype(Own)>);
  return {index, reinterpret_cast<PF_AnyFunc>(Own)};
}

const Replacement kReplacements[] = {
    Replace<&PF_CopyBits_Draft, &ThreadedCopyDraft>(1),
    Replace<&PF_CopyBits_HQ_Straight, &ThreadedCopyHQStraight>(2),
    Replace<&PF_CopyBits_HQ_Premul, &ThreadedCopyHQPremul>(3),
    Replace<&PF_CopyBits3_LO_Straight, &ThreadedCopyLOStraight>(4),
    Replace<&PF_Iterate, &ThreadedIterate>(42),
    Replace<&PF_IterateOrigin, &ThreadedIterateOrigin>(43),
    Replace<&PF_IterateLUT, &ThreadedIterateLUT>(44),
    Replace<&PF_IterateGeneric, &ThreadedIterateGeneric>(53),
};

}  // namespace

void InstallThreadedRoutines() {
  for (const Replacement& replacement : kReplacements) PF_SetOverrideFunc(replacement.index, replacement.function);
}

void RemoveThreadedRoutines() {
  for (const Replacement& replacement : kReplacements) PF_SetOverrideFunc(replacement.index, nullptr);
}

}  // namespace pfhost
