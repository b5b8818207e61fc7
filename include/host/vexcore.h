/// \file
/// Host core library (vexcore): executor, thread identity, debug tracing, small blocks, 128-bit identities and the hash
/// that makes them.
#ifndef HOST_VEXCORE_H
#define HOST_VEXCORE_H

#include <boost/function.hpp>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "host/Export.h"

namespace vexcore {

/// Runs `task` once on each of the executor's threads, the calling thread among them, and returns when
/// all have finished. The argument is the processor index, from 0 (always the calling thread) to one
/// less than U_GetNumThreads(). The task must not throw. Calls may nest; an inner call may run its
/// tasks one after the other on the calling thread.
HOST_EXPORT void ExecuteCPUBoundTaskOnAllProcessorsWithProcessorIndex(const boost::function<void(std::int32_t)>& task);

/// A number that names the calling thread while it lives.
HOST_EXPORT std::uint64_t CurrentThreadIdentity() noexcept;

/// Writes a line to the debug trace when tracing is switched on.
HOST_EXPORT void DebugTrace(const char* text) noexcept;
/// Whether lines of a category are wanted. \param level from 1; the higher, the finer.
HOST_EXPORT bool DebugTraceEnabled(const char* category, std::int32_t level) noexcept;

/// Allocates a small block (up to a few hundred bytes) aligned to 16 bytes.
/// \return null when memory is short; never reports.
HOST_EXPORT void* AllocateSmallBlock(std::size_t size) noexcept;
/// Releases a block of AllocateSmallBlock; `size` as requested. Null is allowed.
HOST_EXPORT void FreeSmallBlock(void* block, std::size_t size) noexcept;

/// A 128-bit identity.
struct Guid {
  std::uint8_t bytes[16];
};
static_assert(sizeof(Guid) == 16, "record layout");
inline bool operator==(const Guid& a, const Guid& b) noexcept { return std::memcmp(&a, &b, 16) == 0; }
inline bool operator!=(const Guid& a, const Guid& b) noexcept { return !(a == b); }
/// An order for sorting and maps: by bytes, the first first.
inline bool operator<(const Guid& a, const Guid& b) noexcept { return std::memcmp(&a, &b, 16) < 0; }

/// A running 128-bit hash. Seed, mixes and their order and sizes make the result; the same steps give the same
/// Guid in every process and on every machine of one host. It serves to tell things apart, not to keep secrets.
class MixHash {
 public:
  /// Starts from `size` bytes. \param seed may be null when `size` is 0.
  HOST_EXPORT MixHash(const void* seed, std::size_t size) noexcept;
  /// Mixes `size` bytes in. Mixing two runs one after the other differs from mixing them as one run.
  HOST_EXPORT void Mix(const void* bytes, std::size_t size) noexcept;
  /// The result so far; mixing may go on.
  Guid Result() const noexcept { return state_; }

 private:
  Guid state_;
};

}  // namespace vexcore

#endif
