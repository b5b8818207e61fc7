/// \file
/// Host core library (vexcore): executor, thread identity, debug tracing, small blocks.
#ifndef HOST_VEXCORE_H
#define HOST_VEXCORE_H

#include <boost/function.hpp>
#include <cstddef>
#include <cstdint>

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

/// Allocates a small block (up to a few hundred bytes) aligned to 16 bytes.
/// \return null when memory is short; never reports.
HOST_EXPORT void* AllocateSmallBlock(std::size_t size) noexcept;
/// Releases a block of AllocateSmallBlock; `size` as requested. Null is allowed.
HOST_EXPORT void FreeSmallBlock(void* block, std::size_t size) noexcept;

}  // namespace vexcore

#endif
