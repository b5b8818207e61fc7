#include "u/Blocks.h"

#include <algorithm>
#include <cstdint>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "PF/PF_Lifecycle.h"
#include "embedded/PFhost.h"

namespace pfhost {

constinit std::atomic<std::int64_t> g_live_allocations{0};

namespace {

// Beyond this no allocator can serve, and some end the process instead of saying so.
constexpr std::uint64_t kLargestBlock = static_cast<std::uint64_t>(PTRDIFF_MAX) / 2;

// Large blocks in huge pages, where there are such: the first touch of a picture's memory then costs a tenth.
constexpr std::uint64_t kLarge = std::uint64_t{4} << 20;
constexpr std::size_t kHugePage = std::size_t{2} << 20;

void* TryAllocate(std::uint64_t size, std::size_t alignment) noexcept {
  if (size >= kLarge) alignment = std::max(alignment, kHugePage);
  void* block = ::operator new (static_cast<std::size_t>(size), std::align_val_t{alignment}, std::nothrow);
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  if (block != nullptr && size >= kLarge)
    madvise(block, static_cast<std::size_t>(size) / kHugePage * kHugePage, MADV_HUGEPAGE);
#endif
  return block;
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
