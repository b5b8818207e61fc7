#include "world/Dither.h"

#include <algorithm>

#include "PF/PF_Worlds.h"
#include "lifecycle/Globals.h"
#include "pixel/ConvertDepth.h"

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

DitherRun DitherRun::Behind(std::int64_t count) const {
  DitherRun rest = *this;
  if (HasTable()) rest.next_ = (next_ + count % length_) % length_;
  return rest;
}

void DitherRun::Convert(ConvertKernels::DitherRow kernel, const std::uint16_t* in, std::uint8_t* out,
                        std::int64_t count) {
  while (count > 0) {
    const std::int64_t pixels = std::min(count, length_ - next_) / 4;
    if (pixels > 0) kernel(in, out, table_ + next_, static_cast<std::size_t>(pixels));
    // What ends in the middle of a pixel, at the end of the row or of the table.
    if (pixels == 0) *out = NarrowDithered(*in, table_[next_]);
    const std::int64_t done = std::max<std::int64_t>(4 * pixels, 1);
    next_ = (next_ + done) % length_;
    in += done;
    out += done;
    count -= done;
  }
}

}  // namespace pf

void PF_ResetDitherRandomIndex() { pf::g_dither.cursor.store(0, std::memory_order_relaxed); }
