// Makes a small gradient, enlarges it in high quality and reduces it again.
#include <PF/PF.h>
#include <embedded/PFhost.h>

#include <cstdio>
#include <initializer_list>

namespace {

PF_Err PaintGradient(void*, std::int32_t x, std::int32_t y, PF_Pixel8*, PF_Pixel8* out) {
  *out = {255, static_cast<std::uint8_t>(x * 16), static_cast<std::uint8_t>(y * 16), 128};
  return PF_Err_NONE;
}

struct World {
  World(std::int32_t width, std::int32_t height) {
    error = PF_NewEffectWorld(nullptr, width, height, 8, 1, 0, &record);
  }
  ~World() {
    if (error == PF_Err_NONE) PF_DisposeEffectWorld(nullptr, &record);
  }
  PF_EffectWorld record = {};
  PF_Err error;
};

PF_Err Run() {
  World small(16, 16), large(160, 90), again(16, 16);
  for (const World* world : {&small, &large, &again}) {
    if (world->error != PF_Err_NONE) return world->error;
  }
  PF_Err error = PF_Iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, PF_PixelFunc(&PaintGradient), &small.record);
  if (error != PF_Err_NONE) return error;
  // Null rectangles mean the whole worlds; null progress means no polling.
  error = PF_CopyBits_HQ_Straight(nullptr, &small.record, &large.record, nullptr, nullptr);
  if (error != PF_Err_NONE) return error;
  error = PF_CopyBits_HQ_Straight(nullptr, &large.record, &again.record, nullptr, nullptr);
  if (error != PF_Err_NONE) return error;
  PF_Pixel8* pixels = nullptr;
  error = PF_GetPixelData8(&again.record, nullptr, &pixels);
  if (error != PF_Err_NONE) return error;
  const PF_Pixel8& p = pixels[8 * again.record.row_bytes / 4 + 8];
  std::printf("pixel (8, 8): alpha %d, red %d, green %d, blue %d\n", p.alpha, p.red, p.green, p.blue);
  return PF_Err_NONE;
}

}  // namespace

int main() {
  PFhost_Options options = {};  // all processors, every CPU feature
  if (PFhost_Start(&options) != 0) return 1;
  const PF_Err error = Run();
  if (error != PF_Err_NONE) std::printf("failed with code %d\n", error);
  return PFhost_Stop() != 0 || error != PF_Err_NONE ? 1 : 0;
}
