// Settings for when there are none.
#pragma once

namespace pf {

// Forgets them; the next who asks makes new ones. Called while nobody uses them.
void ReleaseEmergencySettings();

}  // namespace pf
