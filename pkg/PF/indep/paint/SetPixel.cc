#include <cstring>

#include "PF/PF_Paint.h"
#include "pixel/Plane.h"

namespace {

template <class P>
std::int32_t SetPixel(std::int32_t x, std::int32_t y, const P* pixel, const PF_LayerDef* world) {
  if (pixel == nullptr || world == nullptr || world->data == nullptr) return 0;
  if (x < 0 || x >= world->width || y < 0 || y >= world->height) return 0;
  // The pixel may be one of the world's own.
  std::memmove(pf::PlaneOf<P>(*world).At(x, y), pixel, sizeof(P));
  return 1;
}

}  // namespace

std::int32_t PF_SetPixel8(std::int32_t x, std::int32_t y, const PF_Pixel8* pixel, PF_LayerDef* world) {
  return SetPixel(x, y, pixel, world);
}

std::int32_t PF_SetPixel16(std::int32_t x, std::int32_t y, const PF_Pixel16* pixel, PF_LayerDef* world) {
  return SetPixel(x, y, pixel, world);
}

std::int32_t PF_SetPixelFloat(std::int32_t x, std::int32_t y, const PF_PixelFloat* pixel, PF_LayerDef* world) {
  return SetPixel(x, y, pixel, world);
}
