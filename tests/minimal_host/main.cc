// Starts the library on the smallest host, enlarges a world, makes a frame between two, stops, and checks that nothing
// is left.
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

PF_Err PaintSlope(void* shift, std::int32_t x, std::int32_t y, PF_Pixel8*, PF_Pixel8* out) {
  const std::int32_t left = x - *static_cast<std::int32_t*>(shift);
  const bool inside = left >= 0 && left < 16 && y >= 8 && y < 24;
  *out = {255, static_cast<std::uint8_t>(inside ? 100 + 9 * left : 40), static_cast<std::uint8_t>(inside ? 9 * y : 40),
          static_cast<std::uint8_t>(4 * y)};
  return PF_Err_NONE;
}

// A square moves by eight pixels; between the frames it has moved by four. The cache of this host keeps nothing.
bool MakeFrameBetween() {
  PF_EffectWorld worlds[3];
  bool right = true;
  for (PF_EffectWorld& world : worlds)
    right &= Check(PF_NewEffectWorld(nullptr, 48, 32, 8, 1, 0, &world) == 0, "a frame");
  if (!right) return false;
  for (std::int32_t i = 0; i < 2; ++i) {
    std::int32_t shift = 12 + 8 * i;
    right &= Check(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, &shift, PF_PixelFunc(&PaintSlope), &worlds[i]) == 0,
                   "painted");
  }
  const PF_AdvancedFrameBlending blending({}, {});
  right &= Check(blending.Render(worlds[0].world_object, worlds[1].world_object, worlds[2].world_object) == 0,
                 "a frame between two");
  PF_Pixel8* pixels = nullptr;
  right &= Check(PF_GetPixelData8(&worlds[2], nullptr, &pixels) == 0 && pixels != nullptr, "its pixels");
  for (std::int32_t left = 2; right && left < 14; ++left) {
    const std::int32_t found = pixels[16 * worlds[2].row_bytes / 4 + 16 + left].red, wanted = 100 + 9 * left;
    right &= Check(found - wanted <= 6 && wanted - found <= 6, "the square is half way");
  }
  for (PF_EffectWorld& world : worlds) right &= Check(PF_DisposeEffectWorld(nullptr, &world) == 0, "disposed");
  return right;
}

bool Run() {
  PF_EffectWorld small, large;
  bool right = Check(PF_NewEffectWorld(nullptr, 4, 4, 8, 1, 0, &small) == 0, "a small world") &&
               Check(PF_NewEffectWorld(nullptr, 8, 8, 8, 1, 1, &large) == 0, "a large world in a bitmap world");
  if (!right) return false;
  right = Enlarge(small, large);
  right &= AskForColour(small);
  right &= MakeFrameBetween();
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
