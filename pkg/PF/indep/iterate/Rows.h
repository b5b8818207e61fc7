// What the iterations over pixels share: argument and depth checks, the working rectangle, the walk over
// its rows with progress.
#pragma once

#include <algorithm>
#include <cstdint>

#include "PF/PF_Iterate.h"
#include "PF/PF_Worlds.h"
#include "pixel/Depth.h"
#include "pixel/Plane.h"
#include "report/Report.h"

namespace pf {

// A rectangle in coordinates wide enough for any offset.
struct WideRect {
  std::int64_t left, top, right, bottom;
  bool Empty() const { return left >= right || top >= bottom; }
};

struct IterateProgress {
  PF_InData* in;
  std::int32_t base, final;
};

inline bool HasPixels(const PF_LayerDef* world) { return world != nullptr && world->data != nullptr; }

// Reports missing pixels, or a missing function, as a bad parameter. 0 or 3.
PF_Err CheckIterateArguments(bool acceptable);

// Reports unequal depths. 0 or 3; `src` may be null.
PF_Err CheckIterateDepths(const PF_LayerDef* src, std::int32_t dst_depth);

// The answer to a depth that no pixel type has. 3.
PF_Err FailUnknownDepth();

// The destination pixels to visit: `area` (null = all) clipped to the destination and, moved by
// `origin`, to the source (null = none). An area beyond either world is empty.
WideRect WorkingRectangle(const PF_LayerDef* src, const M_LRect* area, const M_LPoint& origin, const PF_LayerDef& dst);

// Calls `row(y)` for each row of a rectangle that is not empty and reports progress after it. A row's
// code stops; of the progress function's codes only 517 does, another one is kept until the next row (QUIRK-10).
template <class RowFunction>
PF_Err WalkRows(const WideRect& rect, const IterateProgress& progress, RowFunction row) {
  const bool tells = progress.final != 0 && progress.in != nullptr && progress.in->progress != nullptr;
  PF_Err error = PF_Err_NONE;
  for (std::int64_t y = rect.top; y < rect.bottom && !rect.Empty(); ++y) {
    error = row(y);
    if (error != PF_Err_NONE) return error;
    if (!tells) continue;
    const auto done = static_cast<std::int32_t>(progress.base + (y - rect.top + 1));
    error = progress.in->progress(progress.in->effect_ref, done, progress.final);
    if (error == PF_Err_CANCELLED) return error;
  }
  return error;
}

}  // namespace pf
