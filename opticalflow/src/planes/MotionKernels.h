// Rows of the engine's planes, and the records that kernels work on.
#pragma once

#include <cstdint>

#include "planes/FloatPlane.h"
#include "multiprocess/Bands.h"

namespace pf {

// Edges of patches are multiples of 8.
inline constexpr std::int32_t kLargestPatch = 40;

// One size of one frame pair, looked at from one side: where patches of `from` are in `to`.
struct PatchSearch {
  FloatPlane from, to;  // with at least PatchRim(edge) columns and rows repeated around them
  FlowPlanes start;     // the motion to begin with
  FlowPlanes other;     // that of the other direction carried over; not looked at when `at` of u is null
  std::int32_t edge, step;
  std::int32_t columns, rows;  // of patches
  bool exhaustive;             // look at every whole position around the start first
  float limit_x, limit_y;      // the longest motion
  float *u, *v;                // columns x rows: what the first pass found
  float *better_u, *better_v;  // and the second
};
constexpr std::int32_t PatchRim(std::int32_t edge) { return edge + 3; }
constexpr std::int32_t PatchCount(std::int32_t extent, std::int32_t edge, std::int32_t step) {
  return extent <= edge ? 1 : (extent - edge + step - 1) / step + 1;
}
inline std::int32_t PatchPlace(std::int32_t number, std::int32_t extent, std::int32_t edge, std::int32_t step) {
  return extent <= edge ? 0 : (number * step < extent - edge ? number * step : extent - edge);
}

// What the equations of refinement are made of: brightness and its slopes, that of one frame against the other's.
struct RefinePlanes {
  FloatPlane mean;              // of both frames
  FloatPlane change;            // the second one minus the first
  FloatPlane slope_x, slope_y;  // of the mean
  const FloatPlane* trust;      // 0..1, how far the equations hold; null: 1
  FlowPlanes begin;             // the motion that the change was taken with
  FlowPlanes flow;              // what is refined
};

struct RefineWeights {
  float stiffness, slopes, brightness;
};

// One band in one round. Rows above and below it are those that the round before left.
struct RefineBand {
  Rows rows;
  const float *above_u, *above_v, *below_u, *below_v;  // null at the frame's edge
  float *first_u, *first_v, *last_u, *last_v;          // where its own outer rows go
  float* scratch;                                      // RefineScratch(width, rows)
};
inline constexpr std::int32_t kSweeps = 5;
constexpr std::int64_t RefineStride(std::int32_t width) { return (width + 15) / 16 * 16 + 2 * kRim; }
constexpr std::int64_t RefineScratch(std::int32_t width, std::int32_t rows) {
  return RefineStride(width) * 7 * (std::int64_t{rows} + 1);
}

// How the motion there and the motion back fit.
struct Consistency {
  FlowPlanes there, back;
  float share;  // of the squared lengths by which they may differ
};

// A picture of four channels, side by side, 0..255.
struct ColourPlane {
  float* at;
  std::int64_t stride;  // in floats
  std::int32_t width, height;

  float* Row(std::int64_t y) const { return at + y * stride; }
};

// Both frames fetched along a motion that stands at the time between them.
struct Meeting {
  ColourPlane previous, next;
  FlowPlanes flow;
  float time;
};

// The last step: where a pixel of the result is fetched and how the two are mixed.
struct FetchRow {
  ColourPlane previous, next;  // full size, two pixels repeated around them
  const float *u, *v;          // the motion at each pixel of the row
  const float* share;          // of the previous frame
  float time;
  float shift;  // along the motion, in its own length
  std::int32_t y, width;
};

struct MotionKernels {
  // Halves in both directions through (1, 4, 6, 4, 1) / 16. `line`: room for a row of `in` with its rims.
  void (*halve)(const FloatPlane& in, const FloatPlane& out, Rows rows, float* line);
  // Twice the extents, bilinear, times `scale`.
  void (*twice)(const FloatPlane& in, float scale, const FloatPlane& out, Rows rows, float* line);
  void (*median)(const FloatPlane& in, const FloatPlane& out, Rows rows);
  // Mean of 5 x 5.
  void (*mean)(const FloatPlane& in, const FloatPlane& out, Rows rows, float* line);

  void (*search)(const PatchSearch& search, int pass, Rows rows);
  // The motion of pixels from that of the patches that cover them. `weights`: rows of it.
  void (*densify)(const PatchSearch& search, const FlowPlanes& flow, const FloatPlane& weights, Rows rows);

  // Mean and change, the second frame fetched along `scale2` of the motion and the first along `scale1`.
  void (*meet)(const FloatPlane& first, float scale1, const FloatPlane& second, float scale2,
               const RefinePlanes& planes, Rows rows);
  void (*slopes)(const RefinePlanes& planes, Rows rows);
  void (*refine)(const RefinePlanes& planes, const RefineWeights& weights, const RefineBand& band);

  // 0 where they fit, 1 where not or where the motion leads outside.
  void (*hidden)(const Consistency& pair, const FloatPlane& out, Rows rows);
  // By how much they differ, in pixels, times .4, with a tenth of the change of brightness.
  void (*doubt)(const Consistency& pair, const FloatPlane& from, const FloatPlane& to, const FloatPlane& out,
                Rows rows);

  // Mean difference of both frames' colour along the motion.
  void (*compare)(const Meeting& meeting, const FloatPlane& out, Rows rows);
  // How much the previous frame is hidden where the motion comes from, and the next one where it goes.
  void (*seen)(const FloatPlane& hidden_previous, const FloatPlane& hidden_next, const FlowPlanes& flow, float time,
               const FloatPlane& previous, const FloatPlane& next, Rows rows);
  void (*fetch)(const FetchRow& row, bool cubic, float* out);
};

// Plain C++: the reference.
extern const MotionKernels kPortableMotionKernels;
// The widest target that is allowed.
const MotionKernels& VectorMotionKernels();

}  // namespace pf
