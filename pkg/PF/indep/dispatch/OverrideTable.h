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
    // samplers: for callers that take them from the table; the library's own copies use rows of the same bits
    Row<&PF_NNSample>(11, "PF_NNSample"),
    Row<&PF_NNSample16>(12, "PF_NNSample16"),
    Row<&PF_NNSampleFloat>(13, "PF_NNSampleFloat"),
    Row<&PF_SubpixelSample_Straight>(14, "PF_SubpixelSample_Straight"),
    Row<&PF_SubpixelSample_Straight16>(15, "PF_SubpixelSample_Straight16"),
    Row<&PF_SubpixelBilinearFloat>(16, "PF_SubpixelBilinearFloat"),
    Row<&PF_SubpixelSamplePlus_Straight>(17, "PF_SubpixelSamplePlus_Straight"),
    Row<&PF_SubpixelSamplePlus_Straight16>(18, "PF_SubpixelSamplePlus_Straight16"),
    Row<&PF_SubpixelSampleNoClip_Straight>(19, "PF_SubpixelSampleNoClip_Straight"),
    Row<&PF_SubpixelSampleNoClip_Straight16>(20, "PF_SubpixelSampleNoClip_Straight16"),
    Row<&PF_SubpixelSampleTranslateNoClip_Straight>(21, "PF_SubpixelSampleTranslateNoClip_Straight"),
    Row<&PF_SubpixelSampleTranslateNoClip_Straight16>(22, "PF_SubpixelSampleTranslateNoClip_Straight16"),
    Row<&PF_SubpixelSpanSampleTranslateNoClip_Straight>(23, "PF_SubpixelSpanSampleTranslateNoClip_Straight"),
    Row<&PF_SubpixelSpanSampleTranslateNoClip_Straight16>(24, "PF_SubpixelSpanSampleTranslateNoClip_Straight16"),
    Row<&PF_SubpixelSampleNoClip_Straight_4>(25, "PF_SubpixelSampleNoClip_Straight_4"),
    Row<&PF_SubpixelSampleTranslateNoClip_Straight_4>(26, "PF_SubpixelSampleTranslateNoClip_Straight_4"),
    Row<&PF_SubpixelSample_Premul>(27, "PF_SubpixelSample_Premul"),
    Row<&PF_SubpixelSample_Premul16>(28, "PF_SubpixelSample_Premul16"),
    Row<&PF_SubpixelSample_PremulFloat>(29, "PF_SubpixelSample_PremulFloat"),
    Row<&PF_AreaSample_Straight>(30, "PF_AreaSample_Straight"),
    Row<&PF_AreaSample_Straight16>(31, "PF_AreaSample_Straight16"),
    Row<&PF_AreaSample_StraightFloat>(32, "PF_AreaSample_StraightFloat"),
    Row<&PF_AreaSample_Premul>(33, "PF_AreaSample_Premul"),
    Row<&PF_AreaSample_Premul16>(34, "PF_AreaSample_Premul16"),
    Row<&PF_AreaSample_PremulFloat>(35, "PF_AreaSample_PremulFloat"),
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
