#include <algorithm>
#include <bit>

#include "PF/PF_Paint.h"
#include "edge/Guard.h"
#include "lifecycle/Globals.h"
#include "paint/PaintKernels.h"
#include "pixel/Plane.h"

namespace pf {
namespace {

// One axis of a dab, clipped to the world: positions first..last of the world under mask positions from cut on.
struct Reach {
  std::int64_t first, last, cut;
  std::int64_t Size() const { return last - first + 1; }
};

// QUIRK-31: both ends are kept in 16 bits.
Reach ReachOf(std::int64_t centre, std::int64_t half, std::int64_t size) {
  const std::int64_t first = static_cast<std::int16_t>(centre - half);
  const std::int64_t last = static_cast<std::int16_t>(centre + half);
  return {std::max<std::int64_t>(first, 0), std::min(last, size - 1), std::max<std::int64_t>(-first, 0)};
}

PF_Err Paint(std::int32_t x, std::int32_t y, std::uint32_t shape, std::int32_t size, const std::uint32_t* mask,
             PF_Pixel8 colour, const PF_LayerDef& world) {
  const std::int64_t half = size >> 1;
  const bool bar = (shape & PF_SpotShape_BAR) != 0;
  const bool vertical = (shape & PF_SpotShape_VERTICAL) != 0;
  const std::int64_t x_half = bar && vertical ? 0 : half;
  const std::int64_t y_half = bar && !vertical ? 0 : half;

  const Plane<PF_Pixel8> plane = PlaneOf<PF_Pixel8>(world);
  const Reach columns = ReachOf(x, x_half, plane.width);
  const Reach rows = ReachOf(y, y_half, plane.height);
  if (columns.Size() <= 0 || rows.Size() <= 0) return PF_Err_NONE;

  // QUIRK-30: k rows cut off at the top move the start by 3 k rows. QUIRK-32: not beyond the last row.
  const std::int64_t start = rows.first + 3 * rows.cut;
  const std::int64_t count = std::min(rows.Size(), plane.height - start);
  const auto dab = g_kernels.paint.load()->dab;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::uint32_t* coverage = mask + (rows.cut + i) * (2 * x_half + 1) + columns.cut;
    dab(plane.At(columns.first, start + i), coverage, colour, static_cast<std::size_t>(columns.Size()));
  }
  return PF_Err_NONE;
}

}  // namespace
}  // namespace pf

PF_Err PF_PaintSpot(void*, std::int32_t x, std::int32_t y, std::uint32_t shape, std::int32_t size,
                    const std::uint32_t* mask, std::uint32_t colour, PF_LayerDef* world) {
  return pf::Guard([&]() -> PF_Err {
    if (world == nullptr || world->data == nullptr || mask == nullptr || size < 0 || size % 2 == 0) {
      return pf::FailCaller(pf::Site::kPaintSpot, pf::Message::kBadCallbackParameter);
    }
    return pf::Paint(x, y, shape, size, mask, std::bit_cast<PF_Pixel8>(colour), *world);
  });
}
