// Owners of the colour library's objects, its one context, and what every call of the engine shares.
#pragma once

#include <lcms2.h>

#include <exception>
#include <memory>
#include <mutex>
#include <new>

#include "host/COR.h"

namespace pfhost {

struct LcmsClose {
  void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct LcmsDelete {
  void operator()(void* transform) const { cmsDeleteTransform(transform); }
  void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
};
using LcmsProfile = std::unique_ptr<void, LcmsClose>;
using LcmsTransform = std::unique_ptr<void, LcmsDelete>;
using LcmsCurve = std::unique_ptr<cmsToneCurve, LcmsDelete>;

// The context of all objects. It knows the format below and keeps the library's messages to itself.
cmsContext TheLcms();

// Held while tags are read and transforms are made: reading a tag for the first time changes the profile's handle.
std::mutex& LcmsLock();

// Pixels of alpha, red, green and blue in 16 bits on the scale of 32768; stored v is v * 65535 / 32768 to nearest
// for the colour library, and its w is w * 32768 / 65535 to nearest. Every v comes back.
inline constexpr cmsUInt32Number kFormat16 = TYPE_ARGB_16 | 1u << 26;

// Fails a call; thrown inside the engine only.
struct EngineFailure {
  U_Err status;
};
[[noreturn]] inline void Fail(U_Err status) { throw EngineFailure{status}; }

// The body of an exported call.
template <class F>
U_Err EngineCall(F&& f) noexcept {
  try {
    f();
    return 0;
  } catch (const EngineFailure& failure) {
    return failure.status;
  } catch (const std::bad_alloc&) {
    return 4;
  } catch (const std::exception&) {
    return XCE_ERR_BAD_PARAMETER;
  }
}

}  // namespace pfhost
