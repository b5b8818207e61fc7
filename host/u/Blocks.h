// Raw memory of every kind, and how much of it is held.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace pfhost {

// Allocations of any family that have not been released. Written by whatever allocates or frees.
extern constinit std::atomic<std::int64_t> g_live_allocations;

// An uninitialised block, counted. When memory is short the library is asked once to give some back;
// null when that does not help either.
void* AllocateBlock(std::uint64_t size, std::size_t alignment) noexcept;
// Releases a block; `alignment` as requested. Null is allowed.
void FreeBlock(void* block, std::size_t alignment) noexcept;

// Alignment of pointers and handles, and of pixels: whole cache lines.
inline constexpr std::size_t kBlockAlignment = 64;
inline constexpr std::size_t kPixelAlignment = 64;

}  // namespace pfhost
