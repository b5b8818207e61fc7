// Bands of rows on whatever threads the host has. Where bands begin depends on sizes alone, never on threads.
#pragma once

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "iterate/ForRows.h"
#include "multiprocess/Interrupt.h"

namespace pf {

// begin <= row < end.
struct Rows {
  std::int32_t begin, end;
};

inline constexpr std::int32_t kMostBandRows = 64;

// How many rows the bands of so many have, the last one perhaps fewer: an even number of them, and an even number of
// bands, so that two threads have alike to do.
constexpr std::int32_t BandRows(std::int32_t rows) {
  if (rows <= kMostBandRows) return kMostBandRows;
  const std::int32_t bands = 2 * ((rows + 2 * kMostBandRows - 1) / (2 * kMostBandRows));
  return (rows + 2 * bands - 1) / (2 * bands) * 2;
}
constexpr std::int32_t BandCount(std::int32_t rows, std::int32_t band) { return (rows + band - 1) / band; }
constexpr std::int32_t BandCount(std::int32_t rows) { return BandCount(rows, BandRows(rows)); }
constexpr Rows BandOf(std::int32_t number, std::int32_t rows, std::int32_t band) {
  return {number * band, std::min((number + 1) * band, rows)};
}
constexpr Rows BandOf(std::int32_t number, std::int32_t rows) { return BandOf(number, rows, BandRows(rows)); }

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
  PF_Err Before(std::int64_t row) const { return row % kMostBandRows == 0 ? poll_.Ask() : PF_Err_NONE; }

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

// Bands of `rows` rows, each of `parts` times: task(part, band's rows), or task(part, band's rows, band's number).
template <class F>
void ForBands(const Interrupt& interrupt, std::int32_t parts, std::int32_t rows, const F& task, std::int32_t band) {
  const std::int32_t bands = BandCount(rows, band);
  ForTasks(interrupt, parts * bands, [&](std::int32_t i) {
    if constexpr (std::is_invocable_v<const F&, std::int32_t, Rows, std::int32_t>) {
      task(i / bands, BandOf(i % bands, rows, band), i % bands);
    } else {
      task(i / bands, BandOf(i % bands, rows, band));
    }
  });
}
template <class F>
void ForBands(const Interrupt& interrupt, std::int32_t parts, std::int32_t rows, const F& task) {
  ForBands(interrupt, parts, rows, task, BandRows(rows));
}

}  // namespace pf
