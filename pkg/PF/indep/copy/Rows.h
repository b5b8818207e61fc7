// The row loops of scaled copies.
#pragma once

#include "PF/PF_Copy.h"
#include "copy/Plan.h"

namespace pf {

// Both worlds have pixels, depths are known, the area is not empty.
struct CopyJob {
  const PF_LayerDef* src;
  PF_LayerDef* dst;
  int from, to;  // DepthIndex of source and destination
  CopyArea area;
  Span rows;  // of the area's destination rows, those to write
  const PF_ProgressInfo* progress;
};

// Copies source pixels as `columns` and `rows` say, converting depths. Polls after rows 63, 127 ...
// Returns 0 or the poll's code. \throws PF_Error 4.
PF_Err CopyNearest(const CopyJob& job, const NearestMap& columns, const NearestMap& rows);

// Bilinear samples when neither axis is reduced, else areas. Equal depths only. Polls before rows 0, 64 ...
// Returns 0 or the poll's code. \throws PF_Error 4.
PF_Err CopySampled(const CopyJob& job, bool straight);

}  // namespace pf
