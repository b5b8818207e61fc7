#include "world/SubRect.h"

#include <algorithm>

#include "report/Report.h"

namespace pf {
namespace {

// Sides of rectangles that the caller should not have passed wrap instead of overflowing.
std::int32_t Difference(std::int32_t a, std::int32_t b) {
  return static_cast<std::int32_t>(std::int64_t{a} - std::int64_t{b});
}

}  // namespace

bool IsInside(const M_LRect& rect, const PF_World& world) {
  return rect.left >= 0 && rect.right <= world.width && rect.top >= 0 && rect.bottom <= world.height;
}

void TakeSubRect(PF_World& world, const PF_World& parent, const M_LRect& rect, std::int64_t pixel_size) {
  const M_LRect extent = parent.extent;
  const std::int64_t offset = rect.left * pixel_size + std::int64_t{rect.top} * parent.row_bytes;
  world.data = offset == 0 ? parent.data : static_cast<std::byte*>(parent.data) + offset;
  world.row_bytes = parent.row_bytes;
  world.width = Difference(rect.right, rect.left);
  world.height = Difference(rect.bottom, rect.top);
  world.extent = {Difference(std::max(extent.left, rect.left), rect.left),
                  Difference(std::max(extent.top, rect.top), rect.top),
                  Difference(std::min(extent.right, rect.right), rect.left),
                  Difference(std::min(extent.bottom, rect.bottom), rect.top)};
}

void CheckSubRect(const M_LRect& rect, const PF_World& parent) {
  if (kChecked && !IsInside(rect, parent)) ThrowVerification("bad sub rect in a sub-world of PF_WorldX");
}

}  // namespace pf
