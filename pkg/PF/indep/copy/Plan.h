// What a scaled copy will do, decided from rectangles and sizes alone. Everything is 64-bit, and no
// rectangle makes it overflow.
#pragma once

#include <cstdint>

#include "PF/PF_Types.h"

namespace pf {

// A half-open range of pixels.
struct Span {
  std::int64_t low, high;
  constexpr std::int64_t Size() const { return high - low; }
};

// A rectangle (null = the whole world) as two spans, with the size of its world.
struct Side {
  Span x, y;
  std::int64_t width, height;
};
Side SideOf(const PF_LayerDef& world, const M_LRect* rect);

// Whether the extents, as given and not yet clipped, are equal.
bool SameExtents(const Side& src, const Side& dst);

// One axis of a prepared copy: first pixel and number of pixels on both sides, inside both worlds.
struct CopyAxis {
  std::int64_t src, src_size, dst, dst_size;
  bool Empty() const { return src_size <= 0 || dst_size <= 0; }
};
struct CopyArea {
  CopyAxis x, y;
  bool Empty() const { return x.Empty() || y.Empty(); }
};

// Clips the source to its world, the destination following in proportion, then the destination to its
// world, the source following. The proportion is that of the extents before any clipping; divisions
// truncate. Empty when a rectangle is empty, reversed or outside, or when truncation leaves nothing.
CopyArea PrepareArea(const Side& src, const Side& dst);

// Which source pixel of an axis, counted from its first, destination pixel k shows:
// (first + k * step) / divisor, with step / 2 <= first < step (or all of them 0). It does not fall with k
// and stays within the source.
struct NearestMap {
  std::int64_t first, step, divisor;
  constexpr std::int64_t At(std::int64_t k) const { return (first + k * step) / divisor; }
};

// Draft: an accumulator gains the destination's size with every source pixel, and each time it reaches
// the source's size it yields one destination pixel. So destination pixel k shows the first source pixel
// i with (i + 1) * dst_size >= (k + 1) * src_size. QUIRK-11: a reduction never keeps pixel 0. QUIRK-14:
// counters of any size.
NearestMap DraftMap(const CopyAxis& axis);
// Low quality: the source pixel nearest to the sampled position.
NearestMap NearestSampleMap(const CopyAxis& axis);

// Sample positions of an axis in 16.16: destination pixel k is at start + k * scale.
struct SampleSteps {
  std::int64_t start, scale;
};
SampleSteps StepsOf(const CopyAxis& axis);

// The destination rows of band `band` of `bands`, out of `rows`.
Span BandOf(std::int64_t rows, std::int32_t band, std::int32_t bands);

}  // namespace pf
