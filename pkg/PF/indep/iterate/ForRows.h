// Rows of anything through the iteration engine.
#pragma once

#include <atomic>
#include <cstdint>
#include <type_traits>

#include "PF/PF_Errors.h"
#include "PF/PF_Iterate.h"
#include "dispatch/Slot.h"

namespace pf {

enum class RowReports { kNone, kProgress };

// Asks whether to go on; on workers other than 0, nobody is asked.
struct RowPoll {
  const PF_ProgressInfo* progress;

  PF_Err Ask() const {
    return progress != nullptr && progress->abort != nullptr ? progress->abort(progress->reference) : PF_Err_NONE;
  }
};

// Calls row(y) once for each y in 0..rows - 1, possibly on several threads at once. Before each row that
// worker 0 runs, the abort function is asked; with kProgress, the progress function hears after it how
// many rows are done. What either answers, when not 0, ends the call and is returned. `row` does not throw.
// A `row` that takes a RowPoll asks by itself instead and returns what it was answered.
template <class F>
PF_Err ForRows(PF_Err (*iterate)(std::int32_t, void*, PF_IterateGenericFunc), const PF_ProgressInfo* progress,
               RowReports reports, std::int32_t rows, const F& row) {
  struct Job {
    const PF_ProgressInfo* progress;
    RowReports reports;
    const F* row;
    std::atomic<std::int32_t> done{0};

    PF_Err Run(std::int32_t worker, std::int32_t y, std::int32_t rows) {
      const bool asks = worker == 0 && progress != nullptr;
      const RowPoll poll = {asks ? progress : nullptr};
      if constexpr (std::is_invocable_v<const F&, std::int32_t, const RowPoll&>) {
        if (const PF_Err stop = (*row)(y, poll)) return stop;
      } else {
        if (const PF_Err stop = poll.Ask()) return stop;
        (*row)(y);
      }
      if (reports == RowReports::kNone || progress == nullptr || progress->progress == nullptr) return PF_Err_NONE;
      const std::int32_t now = done.fetch_add(1, std::memory_order_relaxed) + 1;
      return asks ? progress->progress(progress->reference, now, rows) : PF_Err_NONE;
    }
  };
  Job job = {progress, reports, &row};
  if (rows <= 0) return PF_Err_NONE;
  return iterate(rows, &job, [](void* reference, std::int32_t worker, std::int32_t y, std::int32_t count) {
    return static_cast<Job*>(reference)->Run(worker, y, count);
  });
}

// On whatever the host installed.
template <class F>
PF_Err ForRows(const PF_ProgressInfo* progress, RowReports reports, std::int32_t rows, const F& row) {
  return ForRows(&PF_IterateGeneric, progress, reports, rows, row);
}

}  // namespace pf
