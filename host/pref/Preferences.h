// Named values from a file of "section/key=value" lines.
#pragma once

#include "host/U.h"

namespace pfhost {

// \param file null for none. Returns 0, or 3, reported, when the file cannot be read.
U_Err StartPreferences(const char* file) noexcept;
void StopPreferences() noexcept;

}  // namespace pfhost
