#include <cmath>

#include "PF/PF_Paint.h"
#include "PF/PF_Worlds.h"
#include "edge/Guard.h"
#include "paint/LinePath.h"
#include "pixel/ConvertDepth.h"
#include "world/WorldPlane.h"

namespace pf {
namespace {

using Point = M_Vector2T<double>;

bool IsFinite(const Point& p) { return std::isfinite(p.h) && std::isfinite(p.v); }

// QUIRK-34: colour is not limited either; all channels wrap as alpha does in depth conversion.
template <class P>
P LineColour(const PF_PixelFloat& colour) {
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    return colour;
  } else {
    return MapChannels<P>(colour, [](float v) { return AlphaFromFloat<P>(v); });
  }
}

template <class P>
void SetPixels(const LinePath& path, const Plane<P>& plane, const P& colour) {
  const std::int64_t size = path.along_x ? plane.height : plane.width;
  for (std::int64_t i = path.first; i <= path.last; ++i) {
    const std::int64_t major = path.Major(i), minor = path.Minor(i);
    if (minor < 0 || minor >= size) continue;
    *(path.along_x ? plane.At(major, minor) : plane.At(minor, major)) = colour;
  }
}

PF_Err DrawLine(const Point* start, const Point* end, const PF_PixelFloat* colour, PF_World* world) {
  if (start == nullptr || end == nullptr || colour == nullptr || world == nullptr) return PF_Err_NONE;
  if (world->data == nullptr || !IsFinite(*start) || !IsFinite(*end)) return PF_Err_NONE;
  const auto draw = [&]<class P>(P) {
    const Plane<P> plane = PlaneOf<P>(*world);
    if (const auto path = PathOf(*start, *end, plane.width, plane.height))
      SetPixels(*path, plane, LineColour<P>(*colour));
    return PF_Err_NONE;
  };
  return DispatchDepth(world->Depth(), draw, [] { return PF_Err_NONE; });
}

}  // namespace
}  // namespace pf

PF_Err PF_DrawLine(const M_Vector2T<double>* start, const M_Vector2T<double>* end, const PF_PixelFloat* colour,
                   PF_World* world) {
  return pf::Guard([&] { return pf::DrawLine(start, end, colour, world); });
}
