// The table of replaceable functions: index, exported name, the library's own function. What a host may
// put at an index is a function of exactly the same type and contract that may also run on threads.
// Indices without a row are free.
#pragma once

#include <array>

#include "PF/PF_Copy.h"
#include "PF/PF_Iterate.h"
#include "PF/PF_Lifecycle.h"
#include "PF/PF_Sampling.h"
#include "PF/PF_Worlds.h"
#include "dispatch/Slot.h"

namespace pf {

struct OverrideRow {
  int index;
  const char* name;
  void (*set)(PF_AnyFunc);
  PF_AnyFunc (*get)();
};

template <auto Default>
constexpr OverrideRow Row(int index, const char* name) {
  return {index, name, &Slot<Default>::Set, &Slot<Default>::Get};
}

inline constexpr std::array kOverrideTable = {
    // scaled copies
    Row<&PF_CopyBits_Draft_Static>(1, "PF_CopyBits_Draft"),
    Row<&PF_CopyBits_HQ_Straight_Static>(2, "PF_CopyBits_HQ_Straight"),
    Row<&PF_CopyBits_HQ_Premul_Static>(3, "PF_CopyBits_HQ_Premul"),
    Row<&PF_CopyBits3_LO_Straight_Static>(4, "PF_CopyBits3_LO_Straight"),
    // iteration
    Row<&PF_Iterate_Static>(42, "PF_Iterate"),
    Row<&PF_IterateOrigin_Static>(43, "PF_IterateOrigin"),
    Row<&PF_IterateLUT_Static>(44, "PF_IterateLUT"),
    // the host's destinations
    Row<&PF_OpenDestination_Static>(45, "PF_OpenDestination"),
    Row<&PF_CloseDestination_Static>(46, "PF_CloseDestination"),
    // iteration over a count
    Row<&PF_IterateGeneric_Static>(53, "PF_IterateGeneric"),
};

// The row of an index, or null.
const OverrideRow* FindOverride(int index);
// Puts the library's own function into every entry.
void ResetOverrides();

}  // namespace pf
