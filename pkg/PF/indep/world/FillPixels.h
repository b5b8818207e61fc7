// Operations that write constants into planes.
#pragma once

#include <algorithm>
#include <cstring>

#include "pixel/Depth.h"
#include "pixel/Plane.h"

namespace pf {

template <class P>
void ClearPlane(const Plane<P>& plane) {
  const auto size = static_cast<std::size_t>(plane.width) * sizeof(P);
  for (std::int64_t y = 0; y < plane.height; ++y) std::memset(plane.Row(y), 0, size);
}

template <class P>
void FillPlane(const Plane<P>& plane, const P& colour) {
  for (std::int64_t y = 0; y < plane.height; ++y) std::fill_n(plane.Row(y), plane.width, colour);
}

// Replaces every pixel by f of it. Writing all four channels back lets the compiler use whole vectors.
template <class P, class F>
void MapPlane(const Plane<P>& plane, F f) {
  for (std::int64_t y = 0; y < plane.height; ++y) {
    P* row = plane.Row(y);
    for (std::int64_t x = 0; x < plane.width; ++x) row[x] = f(row[x]);
  }
}

template <class P>
constexpr P WithFullAlpha(const P& p) {
  return {DepthTraits<P>::kFull, p.red, p.green, p.blue};
}

template <class P>
constexpr P WithInvertedAlpha(const P& p) {
  constexpr auto kFull = DepthTraits<P>::kFull;
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    return {kFull - p.alpha, p.red, p.green, p.blue};
  } else {
    return {static_cast<ChannelOf<P>>(kFull - std::min(p.alpha, kFull)), p.red, p.green, p.blue};
  }
}

}  // namespace pf
