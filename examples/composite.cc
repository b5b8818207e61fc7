// Lays half-transparent white over black: on stored values and in linear light.
#include <PF/PF.h>
#include <embedded/PFhost.h>

#include <cstdio>

namespace {

struct World {
  World() { error = PF_NewEffectWorld(nullptr, 64, 64, 16, 1, 0, &record); }
  ~World() {
    if (error == PF_Err_NONE) PF_DisposeEffectWorld(nullptr, &record);
  }
  PF_EffectWorld record = {};
  PF_Err error;
};

PF_Err Lay(const PF_LinearBlendingTables* tables, const char* what) {
  World base, layer;
  if (base.error != PF_Err_NONE) return base.error;
  if (layer.error != PF_Err_NONE) return layer.error;
  const PF_PixelFloat black = {1, 0, 0, 0}, white = {1, 1, 1, 1};
  PF_TransferParams params = {};
  params.mode = PF_Xfer_Copy;
  params.opacity = 1;
  PF_Err error = PF_TransferFill(nullptr, &params, &black, nullptr, &base.record);
  if (error == PF_Err_NONE) error = PF_TransferFill(nullptr, &params, &white, nullptr, &layer.record);
  // Null rectangle and place: the whole layer onto the top left corner. The opacity makes it half-transparent.
  params.mode = PF_Xfer_Over;
  params.opacity = 0.5f;
  params.linear = tables;
  if (error == PF_Err_NONE) {
    error = PF_TransferRect(nullptr, &params, &layer.record, nullptr, &base.record, nullptr);
  }
  PF_Pixel16* pixels = nullptr;
  if (error == PF_Err_NONE) error = PF_GetPixelData16(&base.record, nullptr, &pixels);
  if (error != PF_Err_NONE) return error;
  std::printf("%s: %d of 32768\n", what, pixels[0].green);
  return PF_Err_NONE;
}

PF_Err Run() {
  const PF_Err error = Lay(nullptr, "half of white, stored");
  if (error != PF_Err_NONE) return error;
  // An empty profile is the default working space.
  return Lay(PF_MakeLinearizationTables({}).get(), "half of its light");
}

}  // namespace

int main() {
  if (PFhost_Start(nullptr) != 0) return 1;
  const PF_Err error = Run();
  if (error != PF_Err_NONE) std::printf("failed with code %d\n", error);
  return PFhost_Stop() != 0 || error != PF_Err_NONE ? 1 : 0;
}
