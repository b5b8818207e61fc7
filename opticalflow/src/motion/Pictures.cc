#include "motion/Pictures.h"

#include <atomic>
#include <cmath>
#include <cstring>

#include "lifecycle/Globals.h"
#include "pixel/Depth.h"

namespace pf {
namespace {

constexpr std::int32_t kColourRim = 2;

ColourPlane NewColour(Workspace& workspace, std::int32_t width, std::int32_t height) {
  const std::int64_t stride = 4 * ((std::int64_t{width} + 2 * kColourRim + 3) / 4 * 4) + 16;
  float* memory = workspace.Take<float>(stride * (std::int64_t{height} + 2 * kColourRim) + 16);
  return {memory + kColourRim * stride + 4 * kColourRim, stride, width, height};
}

// What was found in the pixels of a frame.
struct Findings {
  std::atomic<bool> opaque{true}, finite{true};
  std::atomic<float> least{0}, largest{0};  // colours, and 0

  void Widen(float low, float high) {
    for (float v = least.load(std::memory_order_relaxed); low < v && !least.compare_exchange_weak(v, low);) {
    }
    for (float v = largest.load(std::memory_order_relaxed); high > v && !largest.compare_exchange_weak(v, high);) {
    }
  }
};

// Samples that are not finite get what the finite ones beside them in the row have; 0 where there is none.
void FillSamples(float* row, std::int64_t width) {
  for (int c = 0; c < 4; ++c) {
    const auto at = [&](std::int64_t x) -> float& { return row[4 * x + c]; };
    std::int64_t last = -1;
    for (std::int64_t x = 0; x <= width; ++x) {
      if (x < width && !std::isfinite(at(x))) continue;
      for (std::int64_t i = last + 1; i < x; ++i) {
        const float before = last >= 0 ? at(last) : x < width ? at(x) : 0.0f, after = x < width ? at(x) : before;
        at(i) = (before + after) / 2;
      }
      last = x;
    }
  }
}

template <class P>
void ReadRow(const P* pixels, std::int64_t width, float* out, Findings& findings) {
  constexpr auto kFull = static_cast<float>(DepthTraits<P>::kFull);
  bool opaque = true, finite = true;
  float least = 0, largest = 0;
  for (std::int64_t x = 0; x < width; ++x) opaque &= pixels[x].alpha == DepthTraits<P>::kFull;
  for (std::int64_t x = 0; x < width; ++x) {
    const P& p = pixels[x];
    float* v = out + 4 * x;
    v[0] = static_cast<float>(p.alpha);
    v[1] = static_cast<float>(p.red);
    v[2] = static_cast<float>(p.green);
    v[3] = static_cast<float>(p.blue);
  }
  if constexpr (sizeof(ChannelOf<P>) == 4) {
    finite = std::all_of(out, out + 4 * width, [](float v) { return std::isfinite(v); });
    if (!finite) FillSamples(out, width);
  }
  for (std::int64_t x = 0; x < width; ++x) {
    float* v = out + 4 * x;
    for (int c = 1; c < 4; ++c) {
      least = std::min(least, v[c]);
      largest = std::max(largest, v[c]);
    }
    if (opaque) continue;
    v[0] = std::min(std::max(v[0], 0.0f), kFull);
    for (int c = 1; c < 4; ++c) v[c] = v[c] * (v[0] / kFull);
  }
  for (std::int64_t x = 1; x <= kColourRim; ++x) {
    std::memcpy(out - 4 * x, out, 4 * sizeof(float));
    std::memcpy(out + 4 * (width - 1 + x), out + 4 * (width - 1), 4 * sizeof(float));
  }
  if (!opaque) findings.opaque.store(false, std::memory_order_relaxed);
  if (!finite) findings.finite.store(false, std::memory_order_relaxed);
  findings.Widen(least, largest);
}

void ReadRows(const PF_World& world, Rows rows, const ColourPlane& out, Findings& findings) {
  for (std::int64_t y = rows.begin; y < rows.end; ++y) {
    const auto* row = static_cast<const std::byte*>(world.data) + y * world.row_bytes;
    switch (world.Depth()) {
      case 8:
        ReadRow(reinterpret_cast<const PF_Pixel8*>(row), out.width, out.Row(y), findings);
        break;
      case 16:
        ReadRow(reinterpret_cast<const PF_Pixel16*>(row), out.width, out.Row(y), findings);
        break;
      default:
        ReadRow(reinterpret_cast<const PF_PixelFloat*>(row), out.width, out.Row(y), findings);
    }
  }
}

void RepeatRows(const ColourPlane& plane) {
  const std::size_t size = static_cast<std::size_t>(plane.width + 2 * kColourRim) * 4 * sizeof(float);
  for (std::int64_t i = 1; i <= kColourRim; ++i) {
    std::memcpy(plane.Row(-i) - 4 * kColourRim, plane.Row(0) - 4 * kColourRim, size);
    std::memcpy(plane.Row(plane.height - 1 + i) - 4 * kColourRim, plane.Row(plane.height - 1) - 4 * kColourRim, size);
  }
}

// Shapes without light show in alpha, which takes part at half its weight.
HalfColour HalfOf(const PF_Tavros_AlgoParams& algo, const PF_World& world, const FramePicture& picture) {
  constexpr float kAlpha = 0.5f;
  HalfColour half = {picture.full, 1, true, picture.half, picture.level, {}, -kAlpha * 255};
  half.weights[0] = kAlpha;
  half.weights[1] = static_cast<float>(algo.weightR);
  half.weights[2] = static_cast<float>(algo.weightG);
  half.weights[3] = static_cast<float>(algo.weightB);
  if (world.Depth() == 16) half.scale = 255.0f / DepthTraits<PF_Pixel16>::kFull;
  if (world.Depth() == 32) half.scale = 255.0f;
  half.bounded = world.Depth() != 32;
  return half;
}

}  // namespace

void RepeatAround(const FloatPlane& plane, std::int32_t rim) {
  for (std::int32_t y = 0; y < plane.height; ++y) FinishRow(plane.Row(y), plane.width, rim);
  const std::size_t size = static_cast<std::size_t>(plane.width + 2 * rim) * sizeof(float);
  for (std::int32_t i = 1; i <= rim; ++i) {
    std::memcpy(plane.Row(-i) - rim, plane.Row(0) - rim, size);
    std::memcpy(plane.Row(plane.height - 1 + i) - rim, plane.Row(plane.height - 1) - rim, size);
  }
}

PairPictures PreparePictures(const PF_Tavros_AlgoParams& algo, const PF_World& previous, const PF_World& next,
                             Workspace& workspace, const Interrupt& interrupt) {
  const std::int32_t width = previous.width, height = previous.height, rim = PatchRim(PatchEdge(algo));
  const std::int32_t half_width = (width + 1) / 2, half_height = (height + 1) / 2;
  PairPictures pair = {};
  const PF_World* const worlds[2] = {&previous, &next};
  FramePicture* const pictures[2] = {&pair.previous, &pair.next};
  for (FramePicture* picture : pictures) {
    picture->full = NewColour(workspace, width, height);
    picture->half = NewColour(workspace, half_width, half_height);
    picture->level = NewPlane(workspace, half_width, half_height, rim, rim);
  }

  Findings findings[2];
  ForBands(interrupt, 2, height,
           [&](std::int32_t i, Rows rows) { ReadRows(*worlds[i], rows, pictures[i]->full, findings[i]); });

  const Workspace::Scope scope(workspace);
  const std::int64_t line_floats = LineFloats(4 * std::int64_t{width});
  const std::int32_t bands = BandCount(half_height);
  float* const lines = workspace.Take<float>(2 * bands * line_floats);
  const MotionKernels& kernels = *g_kernels.motion.load();
  for (const FramePicture* picture : pictures) RepeatRows(picture->full);
  ForBands(interrupt, 2, half_height, [&](std::int32_t i, Rows rows, std::int32_t band) {
    float* line = lines + (i * bands + band) * line_floats + kRim;
    kernels.halve_colour(HalfOf(algo, *worlds[i], *pictures[i]), rows, line);
  });
  ForTasks(interrupt, 2, [&](std::int32_t i) { RepeatAround(pictures[i]->level, rim); });
  for (int i = 0; i < 2; ++i) {
    pictures[i]->opaque = findings[i].opaque;
    pictures[i]->finite = findings[i].finite;
    pictures[i]->least = findings[i].least;
    pictures[i]->largest = findings[i].largest;
  }
  return pair;
}

}  // namespace pf
