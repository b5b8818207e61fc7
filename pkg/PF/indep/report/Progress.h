// Polling of the progress record by long row loops.
#pragma once

#include <cstdint>
#include <limits>

#include "PF/PF_Errors.h"
#include "report/Report.h"

namespace pf {

// Row counts are wide; what is told to the caller's function saturates.
constexpr std::int32_t Saturate32(std::int64_t v) {
  return v > std::numeric_limits<std::int32_t>::max() ? std::numeric_limits<std::int32_t>::max()
                                                      : static_cast<std::int32_t>(v);
}

// Asks after row `i` of `total`: the progress function when there is one, else the abort function.
inline PF_Err PollAfterRow(const PF_ProgressInfo* progress, std::int64_t i, std::int64_t total) {
  if (progress == nullptr || (i & 63) != 63) return PF_Err_NONE;
  if (progress->progress != nullptr) return progress->progress(progress->reference, Saturate32(i), Saturate32(total));
  return progress->abort != nullptr ? progress->abort(progress->reference) : PF_Err_NONE;
}

// Asks the abort function before row `i`.
inline PF_Err PollBeforeRow(const PF_ProgressInfo* progress, std::int64_t i) {
  if (progress == nullptr || progress->abort == nullptr || (i & 63) != 0) return PF_Err_NONE;
  return progress->abort(progress->reference);
}

// For loops that leave by an exception.
inline void ThrowIfStopped(PF_Err code) {
  if (code != PF_Err_NONE) ThrowCode(code);
}

}  // namespace pf
