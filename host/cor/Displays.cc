#include "cor/Displays.h"

#include <map>

#include "cor/Profile.h"
#include "embedded/PFhost.h"

namespace pfhost {
namespace {

struct Displays {
  std::mutex mutex;
  std::map<const void*, COR_XCE_ProfileRef> profiles;  // under null the system's main display
};

Displays& TheDisplays() {
  static Displays displays;
  return displays;
}

// A display that nobody has told of is like the main one, and that like the first standard profile.
COR_XCE_ProfileRef ProfileOf(const void* display) {
  Displays& displays = TheDisplays();
  const std::lock_guard lock(displays.mutex);
  for (const void* which : {display, static_cast<const void*>(nullptr)}) {
    const auto found = displays.profiles.find(which);
    if (found != displays.profiles.end()) return found->second;
  }
  return boost::const_pointer_cast<COR_XCE_Profile>(OrDefault(nullptr).shared_from_this());
}

}  // namespace

void StopDisplays() noexcept { TheDisplays().profiles.clear(); }

}  // namespace pfhost

U_Err COR_GetDisplayProfile(const void* display, COR_XCE_ProfileRef* out) {
  if (display == nullptr || out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = pfhost::ProfileOf(display); });
}

U_Err COR_GetSystemDisplayProfile(COR_XCE_ProfileRef* out) {
  if (out == nullptr) return XCE_ERR_BAD_PARAMETER;
  return pfhost::EngineCall([&] { *out = pfhost::ProfileOf(nullptr); });
}

U_Err PFhost_SetDisplayProfile(const void* display, const COR_XCE_ProfileRef* profile) {
  return pfhost::EngineCall([&] {
    pfhost::Displays& displays = pfhost::TheDisplays();
    const std::lock_guard lock(displays.mutex);
    if (profile != nullptr && *profile != nullptr) {
      displays.profiles[display] = *profile;
    } else {
      displays.profiles.erase(display);
    }
  });
}
