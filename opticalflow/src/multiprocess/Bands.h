// Bands of rows on whatever threads the host has. Where bands begin depends on sizes alone, never on threads.
#pragma once

#include <algorithm>
#include <cstdint>

#include "iterate/ForRows.h"
#include "multiprocess/Interrupt.h"

namespace pf {

// begin <= row < end.
struct Rows {
  std::int32_t begin, end;
};

inline constexpr std::int32_t kBandRows = 64;

constexpr std::int32_t BandCount(std::int32_t rows, std::int32_t band = kBandRows) { return (rows + band - 1) / band; }
constexpr Rows BandOf(std::int32_t number, std::int32_t rows, std::int32_t band = kBandRows) {
  return {number * band, std::min((number + 1) * band, rows)};
}

// Calls task(i) for i in 0..count - 1, possibly at the same time; asks before each one that the calling thread runs.
// Throws what stopped it. `task` does not throw.
template <class F>
void ForTasks(const Interrupt& interrupt, std::int32_t count, const F& task) {
  const PF_ProgressInfo progress = interrupt.Progress();
  const PF_Err error = ForRows(&progress, RowReports::kNone, count, task);
  if (error != PF_Err_NONE) ThrowCode(error);
}

// Asks on behalf of a task that takes a whole frame, row by row; on workers other than the calling thread nobody is
// asked.
class RowQuestions {
 public:
  explicit RowQuestions(const RowPoll& poll) : poll_(poll) {}
  // Not 0: stop, and return it.
  PF_Err Before(std::int64_t row) const { return row % kBandRows == 0 ? poll_.Ask() : PF_Err_NONE; }

 private:
  const RowPoll& poll_;
};

// As ForTasks, for tasks that ask by themselves: task(i, questions) returns what it was answered.
template <class F>
void ForLongTasks(const Interrupt& interrupt, std::int32_t count, const F& task) {
  const PF_ProgressInfo progress = interrupt.Progress();
  const auto ask = [&](std::int32_t i, const RowPoll& poll) { return task(i, RowQuestions(poll)); };
  const PF_Err error = ForRows(&progress, RowReports::kNone, count, ask);
  if (error != PF_Err_NONE) ThrowCode(error);
}

// Bands of `rows` rows, each of `parts` times: task(part, band).
template <class F>
void ForBands(const Interrupt& interrupt, std::int32_t parts, std::int32_t rows, const F& task,
              std::int32_t band = kBandRows) {
  const std::int32_t bands = BandCount(rows, band);
  ForTasks(interrupt, parts * bands, [&](std::int32_t i) { task(i / bands, BandOf(i % bands, rows, band)); });
}

}  // namespace pf
