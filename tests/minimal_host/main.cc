// Starts the library on the smallest host, enlarges a world, stops, and checks that nothing is left.
#include "minimal_host.h"

#include <PF/PF.h>

#include <cstdio>
#include <memory>

namespace {

bool Check(bool holds, const char* what) {
  if (!holds) std::fprintf(stderr, "not so: %s\n", what);
  return holds;
}

PF_Err Paint(void*, std::int32_t x, std::int32_t y, PF_Pixel8*, PF_Pixel8* out) {
  *out = {255, static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y), 7};
  return PF_Err_NONE;
}

bool Enlarge(PF_EffectWorld& small, PF_EffectWorld& large) {
  PF_Pixel8* pixels = nullptr;
  return Check(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, PF_PixelFunc(&Paint), &small) == 0, "painted") &&
         Check(PF_CopyBits_Draft(nullptr, &small, &large, nullptr, nullptr) == 0, "copied") &&
         Check(PF_GetPixelData8(&large, nullptr, &pixels) == 0 && pixels != nullptr, "pixels of its depth") &&
         Check(pixels[7 * large.row_bytes / 4 + 5].red == 2 && pixels[7 * large.row_bytes / 4 + 5].green == 3,
               "pixel (5, 7) of the large world is pixel (2, 3) of the small one") &&
         Check(PF_CopyBits_HQ_Straight(nullptr, &small, &large, nullptr, nullptr) == 0, "copied in high quality") &&
         Check(pixels[3 * large.row_bytes / 4 + 3].blue == 7, "a constant channel stays constant");
}

// This host has no colour engine; everything that needs one says so.
bool AskForColour(PF_EffectWorld& world) {
  const std::unique_ptr<PF_World> object(PF_World::NewReference(&world));
  bool right = Check(PF_ConvertProfileToProfile(XCE_Profile_SRGB, XCE_Profile_REC2020, object.get(), object.get(), true,
                                                nullptr) == XCE_ERR_ABSENT,
                     "no engine, no conversion");
  try {
    PF_GetEmergencyColorSettings();
    return Check(false, "no engine, no emergency settings");
  } catch (const PF_Error& error) {
    right &= Check(error.code() == XCE_ERR_ABSENT, "the code says that there is no engine");
  }
  PF_ColorSettings settings;
  return right & Check(!settings.IsValid() && settings.GetProfile() == nullptr, "settings exist without one");
}

bool Run() {
  PF_EffectWorld small, large;
  bool right = Check(PF_NewEffectWorld(nullptr, 4, 4, 8, 1, 0, &small) == 0, "a small world") &&
               Check(PF_NewEffectWorld(nullptr, 8, 8, 8, 1, 1, &large) == 0, "a large world in a bitmap world");
  if (!right) return false;
  right = Enlarge(small, large);
  right &= AskForColour(small);
  right &= Check(PF_DisposeEffectWorld(nullptr, &small) == 0, "disposed");
  right &= Check(PF_DisposeEffectWorld(nullptr, &large) == 0, "disposed");
  return right;
}

}  // namespace

int main() {
  if (!Check(PF_CheckVersions(1, PF_VERSION) == 0, "versions fit")) return 1;
  bool right = Check(PF_Birth() == 0, "started");
  right = right && Run();
  right &= Check(PF_Death() == 0, "stopped");
  right &= Check(live_blocks == 0, "all memory is back");
  return right ? 0 : 1;
}
