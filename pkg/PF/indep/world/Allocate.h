// The pixel blocks that worlds own.
#pragma once

#include <cstdint>

#include "PF/PF_Worlds.h"

namespace pf {

// Gives a fresh world its pixels. `flags`: PF_NewWorldFlag_*. Throws 516 for a bad size (reported), 4 when
// memory is short (told to the host), or the code of a host service.
void AllocatePixels(PF_World& world, std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t flags);

// Gives back what AllocatePixels took; nothing for references.
void ReleasePixels(PF_World& world, std::int32_t depth) noexcept;

// Whether a byte of the gutter behind the last pixel of an owned raw frame has changed.
bool GutterHasChanged(const PF_World& world, std::int32_t depth);

// Tells the host that a world of this size could not be had, and throws 4.
[[noreturn]] void ThrowNoMemoryForWorld(std::int32_t width, std::int32_t height, std::int32_t depth);

}  // namespace pf
