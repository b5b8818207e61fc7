// What kernels of motion work on, in memory that shows what they touch.
#pragma once

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "motion/Pictures.h"
#include "planes/MotionKernels.h"
#include "support/Worlds.h"

namespace pftest {

using pf::ColourPlane;
using pf::FloatPlane;
using pf::FlowPlanes;

// Everything that one call works on: each plane and line in memory of its own that faults right behind (or right
// before) it. What nobody has written is no number, or one that shows.
class KernelMemory {
 public:
  KernelMemory(std::int32_t w, std::int32_t h, std::uint64_t seed)
      : width(w), height(h), random(seed), where_(seed % 2 == 0 ? GuardedMemory::kEnd : GuardedMemory::kStart) {}

  const std::int32_t width, height;
  Random random;

  float* Floats(std::int64_t count) {
    constexpr float kGarbage[] = {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                                  -1e30f};
    blocks_.push_back(std::make_unique<GuardedMemory>(static_cast<std::size_t>(count) * sizeof(float), where_));
    auto* floats = reinterpret_cast<float*>(blocks_.back()->data());
    std::fill_n(floats, count, kGarbage[random() % 3]);
    return floats;
  }
  float* Line(std::int64_t line_width) { return Floats(pf::LineFloats(line_width)) + pf::kRim; }
  float Any(float low, float high) { return low + (high - low) * static_cast<float>(random() >> 40) * 0x1p-24f; }

  FloatPlane Plane(std::int32_t w, std::int32_t h, std::int32_t rim = pf::kRim, std::int32_t rim_rows = 0) {
    const std::int64_t margin = (rim + 15) / 16 * 16, stride = (w + 15) / 16 * 16 + 2 * margin;
    return {Floats(stride * (h + 2 * rim_rows)) + rim_rows * stride + margin, stride, w, h};
  }
  FloatPlane Out() { return Plane(width, height); }
  FlowPlanes OutFlow() { return {Out(), Out()}; }
  // Random values, the ends of rows repeated as kernels leave them.
  FloatPlane Values(float low, float high) {
    const FloatPlane plane = Out();
    for (std::int32_t y = 0; y < height; ++y) {
      for (std::int32_t x = 0; x < width; ++x) plane.Row(y)[x] = Any(low, high);
      pf::FinishRow(plane.Row(y), width);
    }
    return plane;
  }
  // Repeated around, so that patches may lie outside.
  FloatPlane Level(std::int32_t rim) {
    const FloatPlane plane = Plane(width, height, rim, rim);
    for (std::int32_t y = 0; y < height; ++y) {
      for (std::int32_t x = 0; x < width; ++x) plane.Row(y)[x] = Any(-127, 127);
    }
    pf::RepeatAround(plane, rim);
    return plane;
  }
  // Short ones, whole ones, and some that lead far outside.
  FlowPlanes Flow() {
    const FlowPlanes flow = {Values(-2, 2), Values(-2, 2)};
    for (const FloatPlane& plane : {flow.u, flow.v}) {
      for (std::int32_t y = 0; y < height; ++y) {
        for (std::int32_t x = 0; x < width; ++x) {
          float& v = plane.Row(y)[x];
          if (random() % 4 == 0) v = static_cast<float>(Between(random, -width, width));
          if (random() % 16 == 0) v *= 500;
        }
        pf::FinishRow(plane.Row(y), width);
      }
    }
    return flow;
  }
  ColourPlane Colour(std::int32_t w, std::int32_t h, float low, float high) {
    constexpr std::int64_t kAround = 2;
    const std::int64_t stride = 4 * ((w + 2 * kAround + 3) / 4 * 4) + 16;
    const ColourPlane plane = {Floats(stride * (h + 2 * kAround) + 16) + kAround * (stride + 4), stride, w, h};
    for (std::int64_t y = -kAround; y < h + kAround; ++y) {
      for (std::int64_t x = -4 * kAround; x < 4 * (w + kAround); ++x) plane.Row(y)[x] = Any(low, high);
    }
    return plane;
  }

  // \name What came out
  // @{
  void Keep(const float* from, std::int64_t count) { results.insert(results.end(), from, from + count); }
  void Keep(const FloatPlane& plane, std::int32_t around = 2) {
    for (std::int32_t y = 0; y < plane.height; ++y) Keep(plane.Row(y) - around, plane.width + 2 * around);
  }
  void Keep(const FlowPlanes& flow) { Keep(flow.u), Keep(flow.v); }
  std::vector<float> results;
  // @}

 private:
  GuardedMemory::Where where_;
  std::vector<std::unique_ptr<GuardedMemory>> blocks_;
};

}  // namespace pftest
