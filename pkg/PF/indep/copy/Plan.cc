#include "copy/Plan.h"

namespace pf {
namespace {

constexpr std::int64_t kOne = 65536;

// Holds no pixel of a world of `limit` pixels.
bool Outside(const Span& span, std::int64_t limit) { return span.Size() <= 0 || span.low >= limit || span.high < 1; }

// Clips `span` to [0, limit) and moves the ends of `follower` by as much times size / span_size. An end
// moves by less than 2^31 and sizes are below 2^32, so the products stay below 2^63.
void Clip(Span& span, std::int64_t limit, std::int64_t span_size, Span& follower, std::int64_t size) {
  if (span.low < 0) {
    follower.low += -span.low * size / span_size;
    span.low = 0;
  }
  if (span.high > limit) {
    follower.high -= (span.high - limit) * size / span_size;
    span.high = limit;
  }
}

CopyAxis PrepareAxis(Span src, std::int64_t src_limit, Span dst, std::int64_t dst_limit) {
  if (Outside(src, src_limit) || Outside(dst, dst_limit)) return {};
  const std::int64_t src_size = src.Size();
  const std::int64_t dst_size = dst.Size();
  Clip(src, src_limit, src_size, dst, dst_size);
  Clip(dst, dst_limit, dst_size, src, src_size);
  return {src.low, src.Size(), dst.low, dst.Size()};
}

}  // namespace

Side SideOf(const PF_LayerDef& world, const M_LRect* rect) {
  if (rect == nullptr) return {{0, world.width}, {0, world.height}, world.width, world.height};
  return {{rect->left, rect->right}, {rect->top, rect->bottom}, world.width, world.height};
}

bool SameExtents(const Side& src, const Side& dst) {
  return src.x.Size() == dst.x.Size() && src.y.Size() == dst.y.Size();
}

CopyArea PrepareArea(const Side& src, const Side& dst) {
  return {PrepareAxis(src.x, src.width, dst.x, dst.width), PrepareAxis(src.y, src.height, dst.y, dst.height)};
}

NearestMap DraftMap(const CopyAxis& axis) { return {axis.src_size - 1, axis.src_size, axis.dst_size}; }

NearestMap NearestSampleMap(const CopyAxis& axis) {
  const std::int64_t scale = axis.src_size * kOne / axis.dst_size;
  return {scale / 2, scale, kOne};
}

SampleSteps StepsOf(const CopyAxis& axis) {
  const std::int64_t scale = axis.src_size * kOne / axis.dst_size;
  return {axis.src * kOne + scale / 2 - kOne / 2, scale};
}

Span BandOf(std::int64_t rows, std::int32_t band, std::int32_t bands) {
  return {rows * band / bands, rows * (std::int64_t{band} + 1) / bands};
}

}  // namespace pf
