#include "support/TestEngine.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "pixel/Depth.h"
#include "support/TestHost.h"
#include "support/TestHostLock.h"

struct COR_XCE_Profile {
  std::string name;
  pftest::Curve to_linear;  // empty: linear light already
  double gamma;
};
struct COR_XCE_ProfilePool {
  std::vector<COR_XCE_ProfileRef> profiles;
};
struct XCETransform {
  pftest::Curve to_linear, to_stored;  // empty: nothing to do
};

namespace pftest {
namespace {

// In the test host's own memory, so that it is counted and can fail. Null when it does.
template <class T, class... Args>
T* Make(Args&&... args) {
  void* block = U_AllocatePtr(sizeof(T), nullptr);
  return block != nullptr ? new (block) T{std::forward<Args>(args)...} : nullptr;
}
template <class T>
void Unmake(T* object) {
  if (object == nullptr) return;
  object->~T();
  U_FreePtr(object);
}

// What a call of the engine answers before it has done anything.
U_Err Call(const char* name) {
  const std::lock_guard lock(HostLock());
  if (Host().no_engine) return XCE_ERR_ABSENT;
  if (Host().engine_calls++ == Host().fail_engine_call) return Host().engine_error;
  return Answer(name, false);
}

U_Err Give(COR_XCE_ProfileRef profile, COR_XCE_ProfileRef* out) {
  if (profile == nullptr) return 4;
  *out = std::move(profile);
  return 0;
}

const COR_XCE_Profile& Default() {
  static const COR_XCE_Profile profile = {"standard", [](double v) { return v * v; }, 2};
  return profile;
}
const COR_XCE_Profile& OrDefault(const COR_XCE_Profile* profile) { return profile != nullptr ? *profile : Default(); }
COR_XCE_ProfileRef CopyOf(const COR_XCE_Profile& profile) {
  return NewProfile(profile.name, profile.to_linear, profile.gamma);
}

Curve Inverse(const Curve& curve) {
  if (!curve) return {};
  return [curve](double v) {
    double low = 0, high = 1;
    for (int i = 0; i < 40; ++i) (curve((low + high) / 2) < v ? low : high) = (low + high) / 2;
    return high;
  };
}

double Through(const Curve& curve, double v) { return curve ? curve(v) : v; }

template <class To, class From>
void ConvertRun(const XCETransform& transform, const void* source, void* destination, std::uint64_t count) {
  const auto channel = [&](auto v) {
    const double stored = static_cast<double>(v) / pf::DepthTraits<From>::kFull;
    const double out = Through(transform.to_stored, Through(transform.to_linear, stored));
    if constexpr (std::is_same_v<To, PF_PixelFloat>) return static_cast<float>(out);
    return static_cast<pf::ChannelOf<To>>(std::lround(std::max(out, 0.0) * pf::DepthTraits<To>::kFull));
  };
  const auto* in = static_cast<const From*>(source);
  auto* out = static_cast<To*>(destination);
  for (std::uint64_t i = 0; i < count; ++i) {
    const From pixel = in[i];
    out[i] = {static_cast<pf::ChannelOf<To>>(0xEE), channel(pixel.red), channel(pixel.green), channel(pixel.blue)};
  }
}

int DepthOf(XCE_Layout layout) {
  return layout == XCE_Layout_8 ? 8 : layout == XCE_Layout_16 ? 16 : layout == XCE_Layout_FLOAT ? 32 : 0;
}

}  // namespace

COR_XCE_ProfileRef NewProfile(const std::string& name, Curve to_linear, double gamma) {
  auto* profile = Make<COR_XCE_Profile>(name, std::move(to_linear), gamma);
  return profile != nullptr ? COR_XCE_ProfileRef(profile, &Unmake<COR_XCE_Profile>) : COR_XCE_ProfileRef();
}

COR_XCE_ProfileRef NewPowerProfile(double gamma) {
  Curve curve;
  if (gamma != 1) curve = [gamma](double v) { return std::pow(v, gamma); };
  return NewProfile("power " + std::to_string(gamma), std::move(curve), gamma);
}

}  // namespace pftest

using pftest::Call;
using pftest::Host;
using pftest::HostLock;

extern "C" {

U_Err COR_GetStandardProfile(XCE_ProfileCode code, COR_XCE_ProfileRef* out) {
  if (const U_Err error = Call("COR_GetStandardProfile")) return error;
  if (code == XCE_Profile_LINEAR_SRGB) return pftest::Give(pftest::NewPowerProfile(1), out);
  if (code == XCE_Profile_SRGB) return pftest::Give(pftest::CopyOf(pftest::Default()), out);
  return XCE_ERR_UNKNOWN_CODE;
}
U_Err COR_GetDefaultWorkingProfile(COR_XCE_ProfileRef* out) {
  if (const U_Err error = Call("COR_GetDefaultWorkingProfile")) return error;
  return pftest::Give(pftest::CopyOf(pftest::Default()), out);
}
U_Err COR_GetDisplayProfile(const void* display, COR_XCE_ProfileRef* out) {
  if (const U_Err error = Call("COR_GetDisplayProfile")) return error;
  return pftest::Give(pftest::NewProfile(static_cast<const char*>(display), {}, 1), out);
}
U_Err COR_GetSystemDisplayProfile(COR_XCE_ProfileRef* out) {
  if (const U_Err error = Call("COR_GetSystemDisplayProfile")) return error;
  return pftest::Give(pftest::NewProfile("system display", {}, 1), out);
}
U_Err COR_NewProfileFromICC(const void*, std::uint64_t, COR_XCE_ProfileRef*) { return XCE_ERR_BAD_PROFILE; }
U_Err COR_NewProfileFromFile(const char*, COR_XCE_ProfileRef*) { return XCE_ERR_FILE; }
U_Err COR_GetProfileICC(const COR_XCE_Profile*, void*, std::uint64_t, std::uint64_t*) { return XCE_ERR_BAD_PARAMETER; }
U_Err COR_LinearizeProfile(const COR_XCE_Profile* profile, COR_XCE_ProfileRef* out) {
  if (const U_Err error = Call("COR_LinearizeProfile")) return error;
  return pftest::Give(pftest::NewProfile("linear " + pftest::OrDefault(profile).name, {}, 1), out);
}
U_Err COR_DescribeProfile(const COR_XCE_Profile* profile, COR_XCE_ProfileInfo* out) {
  if (const U_Err error = Call("COR_DescribeProfile")) return error;
  const COR_XCE_Profile& described = pftest::OrDefault(profile);
  *out = {};
  // Green alone is the one that is asked for.
  out->gamma[0] = 7;
  out->gamma[1] = described.gamma;
  out->gamma[2] = 8;
  described.name.copy(out->name, sizeof out->name - 1);
  return 0;
}

U_Err COR_NewProfilePool(COR_XCE_ProfilePool** out) {
  if (const U_Err error = Call("COR_NewProfilePool")) return error;
  COR_XCE_ProfilePool* pool = pftest::Make<COR_XCE_ProfilePool>();
  if (pool == nullptr) return 4;
  *out = pool;
  return 0;
}
void COR_DisposeProfilePool(COR_XCE_ProfilePool* pool) { pftest::Unmake(pool); }
U_Err COR_RegisterProfile(COR_XCE_ProfilePool* pool, const COR_XCE_ProfileRef* profile, _t_XCE_ID* id) {
  if (const U_Err error = Call("COR_RegisterProfile")) return error;
  const std::lock_guard lock(HostLock());
  auto& all = pool->profiles;
  auto found = std::find(all.begin(), all.end(), *profile);
  if (found == all.end()) found = all.insert(all.end(), *profile);
  *id = {{static_cast<std::uint8_t>(found - all.begin() + 1)}};
  return 0;
}
U_Err COR_FindProfile(const COR_XCE_ProfilePool* pool, const _t_XCE_ID* id, COR_XCE_ProfileRef* out) {
  if (const U_Err error = Call("COR_FindProfile")) return error;
  const std::lock_guard lock(HostLock());
  const std::size_t number = id->bytes[0];
  *out = number == 0 || number > pool->profiles.size() ? COR_XCE_ProfileRef() : pool->profiles[number - 1];
  return 0;
}

U_Err COR_NewTransform(const COR_XCE_Profile* source, const COR_XCE_Profile* destination,
                       const COR_XCE_TransformOptions* options, COR_XCE_Transform* out) {
  if (const U_Err error = Call("COR_NewTransform")) return error;
  const std::lock_guard lock(HostLock());
  pftest::EngineTransform& made = Host().last_transform = {};
  const auto name = [](const COR_XCE_Profile* profile) { return profile != nullptr ? profile->name : std::string(); };
  made.source = name(source);
  made.destination = name(destination);
  for (int i = 0; options != nullptr && i < 2; ++i) made.proofs[i] = name(options->proofs[i]);
  made.intent = options != nullptr ? options->intent : XCE_Intent_RELATIVE_COLORIMETRIC;
  made.clip_float = options != nullptr ? options->clip_float : 0;
  COR_XCE_Transform transform = pftest::Make<XCETransform>(pftest::OrDefault(source).to_linear,
                                                           pftest::Inverse(pftest::OrDefault(destination).to_linear));
  if (transform == nullptr) return 4;
  *out = transform;
  return 0;
}
void COR_ReleaseTransform(COR_XCE_Transform transform) { pftest::Unmake(transform); }
U_Err COR_ApplyTransform(COR_XCE_Transform transform, XCE_Layout source_layout, const void* source,
                         XCE_Layout destination_layout, void* destination, std::uint64_t count) {
  if (const U_Err error = Call("COR_ApplyTransform")) return error;
  {
    const std::lock_guard lock(HostLock());
    Host().engine_runs.push_back({source_layout, destination_layout, count});
  }
  const auto unknown = [] { return U_Err{XCE_ERR_BAD_PARAMETER}; };
  return pf::DispatchDepth(
      pftest::DepthOf(source_layout),
      [&]<class From>(From) {
        return pf::DispatchDepth(
            pftest::DepthOf(destination_layout),
            [&]<class To>(To) {
              pftest::ConvertRun<To, From>(*transform, source, destination, count);
              return U_Err{0};
            },
            unknown);
      },
      unknown);
}

U_Err XCE_Error(U_Err status) {
  const std::lock_guard lock(HostLock());
  Host().engine_errors.push_back(status);
  return status == 4 || status == XCE_ERR_ABSENT ? status : 3;
}
}
