// Which display has which profile.
#pragma once

namespace pfhost {

// Forgets all that has been said of displays.
void StopDisplays() noexcept;

}  // namespace pfhost
