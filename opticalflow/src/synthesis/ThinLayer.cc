#include "synthesis/ThinLayer.h"

#include <cmath>

namespace pf {
namespace {

FloatPlane NewClear(Workspace& workspace, std::int32_t width, std::int32_t height) {
  const FloatPlane plane = NewPlane(workspace, width, height);
  for (std::int32_t y = 0; y < height; ++y) std::fill_n(plane.Row(y) - 2, width + 4, 0.0f);
  return plane;
}

void Mark(const ThinPoint* points, std::int32_t count, const FloatPlane& plane) {
  for (std::int32_t i = 0; i < count; ++i) {
    for (std::int32_t y = std::max(points[i].y - 1, 0); y <= std::min(points[i].y + 1, plane.height - 1); ++y) {
      for (std::int32_t x = std::max(points[i].x - 1, 0); x <= std::min(points[i].x + 1, plane.width - 1); ++x) {
        plane.Row(y)[x] = 1;
      }
    }
  }
}

// Tents around places that are between pixels.
class Drawing {
 public:
  Drawing(const ThinLayer& layer, const FloatPlane& weight) : layer_(layer), weight_(weight) {}

  void Add(const ThinPoint* points, std::int32_t count, float part, float sign) const {
    for (std::int32_t i = 0; i < count; ++i) {
      const float u = static_cast<float>(points[i].u) * (1 / kMotionUnits);
      const float v = static_cast<float>(points[i].v) * (1 / kMotionUnits);
      AddTent(static_cast<float>(points[i].x) + part * u, static_cast<float>(points[i].y) + part * v, sign * u,
              sign * v);
    }
  }
  void Finish() const {
    for (std::int32_t y = 0; y < weight_.height; ++y) {
      float *u = layer_.flow.u.Row(y), *v = layer_.flow.v.Row(y), *cover = layer_.cover.Row(y);
      const float* weight = weight_.Row(y);
      for (std::int32_t x = 0; x < weight_.width; ++x) {
        cover[x] = std::min(cover[x], 1.0f);
        if (!(weight[x] > 0)) continue;
        u[x] /= weight[x];
        v[x] /= weight[x];
      }
      for (float* row : {u, v, cover}) FinishRow(row, weight_.width);
    }
  }

 private:
  // The motion reaches further than the cover, so that it is there wherever the cover is enlarged to.
  static constexpr float kCover = 1.5f, kMotion = 3;
  static constexpr float kGain = 1.5f;

  void AddTent(float at_x, float at_y, float u, float v) const {
    const auto left = static_cast<std::int32_t>(std::ceil(at_x - kMotion));
    const auto top = static_cast<std::int32_t>(std::ceil(at_y - kMotion));
    const auto right = static_cast<std::int32_t>(std::floor(at_x + kMotion));
    const auto bottom = static_cast<std::int32_t>(std::floor(at_y + kMotion));
    for (std::int32_t y = std::max(top, 0); y <= std::min(bottom, weight_.height - 1); ++y) {
      for (std::int32_t x = std::max(left, 0); x <= std::min(right, weight_.width - 1); ++x) {
        const float dx = std::abs(static_cast<float>(x) - at_x), dy = std::abs(static_cast<float>(y) - at_y);
        const float weight = Tent(dx, kMotion) * Tent(dy, kMotion);
        weight_.Row(y)[x] += weight;
        layer_.flow.u.Row(y)[x] += weight * u;
        layer_.flow.v.Row(y)[x] += weight * v;
        layer_.cover.Row(y)[x] += kGain * Tent(dx, kCover) * Tent(dy, kCover);
      }
    }
  }
  static float Tent(float distance, float reach) { return std::max(1 - distance * (1 / reach), 0.0f); }

  const ThinLayer& layer_;
  const FloatPlane& weight_;
};

}  // namespace

ThinLayer MakeThinLayer(const PairMotion& motion, float time, Workspace& workspace) {
  const std::int32_t width = motion.width, height = motion.height;
  ThinLayer layer = {};
  layer.any = motion.thin_previous + motion.thin_next > 0;
  if (!layer.any) return layer;
  for (FloatPlane* plane : {&layer.on_previous, &layer.on_next, &layer.cover, &layer.flow.u, &layer.flow.v}) {
    *plane = NewClear(workspace, width, height);
  }
  const ThinPoint *previous = motion.thin, *next = motion.thin + motion.thin_previous;
  Mark(previous, motion.thin_previous, layer.on_previous);
  Mark(next, motion.thin_next, layer.on_next);
  const Workspace::Scope scope(workspace);
  const FloatPlane weight = NewClear(workspace, width, height);
  const Drawing drawing(layer, weight);
  drawing.Add(previous, motion.thin_previous, time, 1);
  drawing.Add(next, motion.thin_next, 1 - time, -1);
  drawing.Finish();
  return layer;
}

}  // namespace pf
