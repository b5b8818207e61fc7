// A program outside the tree: starts the embedded host, makes and enlarges a world, stops.
#include <PF/PF.h>
#include <embedded/PFhost.h>

#include <cstdio>

int main() {
  if (PFhost_Start(nullptr) != 0) return 1;
  PF_EffectWorld small, large;
  PF_Err error = PF_NewEffectWorld(nullptr, 4, 4, 8, 1, 0, &small);
  if (error == 0) error = PF_NewEffectWorld(nullptr, 8, 8, 8, 0, 0, &large);
  const PF_PixelFloat red = {1.0f, 1.0f, 0.0f, 0.0f};
  if (error == 0) small.world_object->Fill(red, nullptr);
  if (error == 0) error = PF_CopyBits_HQ_Straight(nullptr, &small, &large, nullptr, nullptr);
  PF_Pixel8* pixels = nullptr;
  if (error == 0) error = PF_GetPixelData8(&large, nullptr, &pixels);
  const bool right = error == 0 && pixels[0].red == 255 && pixels[3 * large.row_bytes / 4 + 3].alpha == 255;
  if (error == 0) error = PF_DisposeEffectWorld(nullptr, &small);
  if (error == 0) error = PF_DisposeEffectWorld(nullptr, &large);
  bool caught = false;
  try {
    PF_World::New(0, 1, 8, 0);
  } catch (const PF_Error& refused) {
    caught = refused.code() == PF_Err_BAD_PARAMETER;
  }
  if (PFhost_Stop() != 0 || error != 0 || !right || !caught || PF_PkgObjectVersion() != PF_PACKAGE_VERSION) {
    std::printf("wrong: error %d, pixels %d, exception %d\n", error, right, caught);
    return 1;
  }
  std::puts("right");
  return 0;
}
