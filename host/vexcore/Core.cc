// Thread identity, debug trace and small blocks.
#include <atomic>

#include "alog/Log.h"
#include "host/PREF.h"
#include "host/vexcore.h"
#include "u/Blocks.h"

namespace vexcore {

std::uint64_t CurrentThreadIdentity() noexcept {
  static constinit std::atomic<std::uint64_t> last{0};
  static thread_local const std::uint64_t identity = last.fetch_add(1, std::memory_order_relaxed) + 1;
  return identity;
}

void DebugTrace(const char* text) noexcept { pfhost::LogTrace(text); }

bool DebugTraceEnabled(const char* category, std::int32_t level) noexcept {
  return pfhost::LogsTrace() && PREF_GetInteger("Debug Trace", category, 0) >= level;
}

void* AllocateSmallBlock(std::size_t size) noexcept { return pfhost::AllocateBlock(size, pfhost::kBlockAlignment); }

void FreeSmallBlock(void* block, std::size_t) noexcept { pfhost::FreeBlock(block, pfhost::kBlockAlignment); }

}  // namespace vexcore
