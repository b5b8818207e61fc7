// Keyed texts and their translations.
#pragma once

#include "host/U.h"

namespace pfhost {

// Reads the catalogue of translations; null for none. Returns 0, or 3, reported, when the file cannot be
// read. Called while no text is looked up.
U_Err StartTexts(const char* catalogue) noexcept;
// Forgets translations and every text handed out.
void StopTexts() noexcept;

}  // namespace pfhost
