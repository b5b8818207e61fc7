// What all forms of the scaled copy share: checks, preparation, the choice of the row loop.
#pragma once

#include "PF/PF_Copy.h"

namespace pf {

// Band `index` of `count` bands of the destination rows.
struct Band {
  std::int32_t index, count;
};
inline constexpr Band kWholeCopy = {0, 1};

// One copy, or a band of it. Returns the copy's code. \throws PF_Error 4.
PF_Err CopyBits(PF_CopyKind kind, const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                const M_LRect* src_rect, const M_LRect* dst_rect, Band band);

// Reports a missing world or missing pixels. Returns 3.
PF_Err FailMissingWorld();

}  // namespace pf
