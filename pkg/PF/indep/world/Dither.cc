#include "world/Dither.h"

#include <algorithm>

#include "PF/PF_Worlds.h"
#include "lifecycle/Globals.h"

namespace pf {
namespace {

// Moves the cursor on and yields where it was. QUIRK-18: in one step, whoever else draws.
std::int64_t AdvanceCursor(std::int64_t count, std::int64_t length) {
  std::int64_t cursor = g_dither.cursor.load(std::memory_order_relaxed);
  std::int64_t next;
  do {
    next = (cursor % length + count % length) % length;
  } while (!g_dither.cursor.compare_exchange_weak(cursor, next, std::memory_order_relaxed));
  return cursor % length;
}

}  // namespace

DitherRun DitherRun::Reserve(std::int64_t count) {
  DitherRun run;
  run.length_ = g_dither.length.load(std::memory_order_acquire);
  run.table_ = run.length_ > 0 ? g_dither.start.load(std::memory_order_acquire) : nullptr;
  if (run.table_ != nullptr) run.next_ = AdvanceCursor(count, run.length_);
  return run;
}

void DitherRun::ConvertRow(ConvertKernels::DitherRow kernel, const std::uint16_t* in, std::uint8_t* out,
                           std::int64_t n) {
  while (n > 0) {
    const std::int64_t whole = std::min(n, (length_ - next_) / 4);
    if (whole > 0) {
      kernel(in, out, table_ + next_, static_cast<std::size_t>(whole));
      next_ = (next_ + 4 * whole) % length_;
    } else {
      // The pixel whose values wrap at the table's end.
      std::uint32_t values[4];
      for (std::uint32_t& value : values) {
        value = table_[next_];
        next_ = (next_ + 1) % length_;
      }
      kernel(in, out, values, 1);
    }
    const std::int64_t done = std::max<std::int64_t>(whole, 1);
    in += 4 * done;
    out += 4 * done;
    n -= done;
  }
}

}  // namespace pf

void PF_ResetDitherRandomIndex() { pf::g_dither.cursor.store(0, std::memory_order_relaxed); }
