#include "u/Blocks.h"

#include <cstdint>
#include <new>

#include "PF/PF_Lifecycle.h"
#include "embedded/PFhost.h"

namespace pfhost {

constinit std::atomic<std::int64_t> g_live_allocations{0};

namespace {

// Beyond this no allocator can serve, and some end the process instead of saying so.
constexpr std::uint64_t kLargestBlock = static_cast<std::uint64_t>(PTRDIFF_MAX) / 2;

void* TryAllocate(std::uint64_t size, std::size_t alignment) noexcept {
  return ::operator new (static_cast<std::size_t>(size), std::align_val_t{alignment}, std::nothrow);
}

}  // namespace

void* AllocateBlock(std::uint64_t size, std::size_t alignment) noexcept {
  if (size > kLargestBlock) return nullptr;
  if (size == 0) size = 1;
  void* block = TryAllocate(size, alignment);
  if (block == nullptr) {
    PF_FreeUpSomeMemory();
    block = TryAllocate(size, alignment);
  }
  if (block != nullptr) g_live_allocations.fetch_add(1, std::memory_order_relaxed);
  return block;
}

void FreeBlock(void* block, std::size_t alignment) noexcept {
  if (block == nullptr) return;
  ::operator delete (block, std::align_val_t{alignment});
  g_live_allocations.fetch_sub(1, std::memory_order_relaxed);
}

}  // namespace pfhost

std::int64_t PFhost_LiveAllocations() { return pfhost::g_live_allocations.load(std::memory_order_relaxed); }
