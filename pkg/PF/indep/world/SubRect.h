// The geometry of a part of a world.
#pragma once

#include <cstdint>

#include "PF/PF_Worlds.h"

namespace pf {

#ifdef PF_CHECKED
inline constexpr bool kChecked = true;
#else
inline constexpr bool kChecked = false;
#endif

// Whether every side of `rect` lies within the world. It may still be empty or reversed.
bool IsInside(const M_LRect& rect, const PF_World& world);

// Gives `world` the size, row bytes, data and extent of `rect` of `parent`, which may be the same object.
void TakeSubRect(PF_World& world, const PF_World& parent, const M_LRect& rect, std::int64_t pixel_size);

// In the checked build: throws 3, reported, when `rect` is not inside `parent`.
void CheckSubRect(const M_LRect& rect, const PF_World& parent);

}  // namespace pf
