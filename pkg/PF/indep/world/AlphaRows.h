// The installed kernels of the alpha conventions on rows of pixels, in place.
#pragma once

#include "lifecycle/Globals.h"
#include "pixel/Depth.h"
#include "pixel/Plane.h"
#include "world/AlphaKernels.h"

namespace pf {

// A function of (row, pixels).
template <class P>
auto AlphaRow(AlphaKernels::Row (AlphaKernels::*kernels)[3]) {
  const auto& installed = *g_kernels.alpha.load(std::memory_order_relaxed);
  return [kernel = (installed.*kernels)[DepthIndex(DepthTraits<P>::kDepth)]](P* row, std::size_t n) {
    kernel(row, row, n);
  };
}

template <class P>
auto AlphaRow(AlphaKernels::MatteRow (AlphaKernels::*kernels)[3], const P& matte) {
  const auto& installed = *g_kernels.alpha.load(std::memory_order_relaxed);
  return [kernel = (installed.*kernels)[DepthIndex(DepthTraits<P>::kDepth)], matte](P* row, std::size_t n) {
    kernel(row, &matte, row, n);
  };
}

// Calls f(row, pixels) for every row, from the top.
template <class P, class F>
void ForRows(const Plane<P>& plane, F f) {
  if (plane.width <= 0) return;
  for (std::int64_t y = 0; y < plane.height; ++y) f(plane.Row(y), static_cast<std::size_t>(plane.width));
}

}  // namespace pf
