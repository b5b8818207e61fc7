// Rows of the engine's planes, and the records that kernels work on.
#pragma once

#include <cstdint>

#include "multiprocess/Bands.h"
#include "planes/FloatPlane.h"

namespace pf {

// Lines of scratch memory are handed over as their first pixel; rims stand on both sides.
constexpr std::int64_t LineFloats(std::int64_t width) { return (width + 15) / 16 * 16 + 6 * kRim; }

// One size of a pair of frames, looked at from one side: where patches of `from` are in `to`.
struct PatchSearch {
  FloatPlane from, to;         // repeated around by PatchRim(edge) or more
  FlowPlanes start;            // the motion to begin with
  FlowPlanes other;            // that of the other direction carried over; u.at null: none
  std::int32_t edge, step;     // of a patch, a multiple of 8; from patch to patch
  std::int32_t columns, rows;  // of patches
  std::int32_t reach;          // around the start, every whole position is tried
  float longest_x, longest_y;  // motion
  float *first_u, *first_v;    // columns x rows: what the first pass found
  float *second_u, *second_v;  // and the second
};
inline constexpr std::int32_t kLargestPatch = 40;
constexpr std::int32_t PatchRim(std::int32_t edge) { return edge + 3; }
constexpr std::int32_t PatchCount(std::int32_t extent, std::int32_t edge, std::int32_t step) {
  return extent <= edge ? 1 : (extent - edge + step - 1) / step + 1;
}
constexpr std::int32_t PatchPlace(std::int32_t number, std::int32_t extent, std::int32_t edge, std::int32_t step) {
  return extent <= edge ? 0 : std::min(number * step, extent - edge);
}

// What the equations of refinement are made of.
struct RefinePlanes {
  FloatPlane mean;              // of both frames' brightness, the motion undone
  FloatPlane change;            // from the first to the second
  FloatPlane slope_x, slope_y;  // of the mean
  FlowPlanes begin;             // the motion that was undone
  FlowPlanes flow;              // what is refined
  const float* trust;           // how far the equations hold, 0..1, rows as of `mean`; null: 1
};

struct RefineWeights {
  float stiffness, brightness, structure;
};

// One band in one round. What stands above and below it is what the round before left there.
struct RefineBand {
  Rows rows;
  const float *above_u, *above_v, *below_u, *below_v;  // null at the frame's edge
  float *first_u, *first_v, *last_u, *last_v;          // receive the band's own outer rows
  float* scratch;                                      // RefineScratch(width)
};
inline constexpr std::int32_t kSweeps = 10;  // of every other pixel
inline constexpr std::int32_t kRefineRing = 16;
constexpr std::int64_t RefineScratch(std::int64_t width) { return 7 * kRefineRing * LineFloats(width); }
static_assert(kRefineRing >= kSweeps + 2);

// How the motion there and the motion back fit.
struct Consistency {
  FlowPlanes there, back;
  float share;  // of the squared lengths, by which they may differ
};

// Four channels side by side.
struct ColourPlane {
  float* at;
  std::int64_t stride;  // in floats
  std::int32_t width, height;

  float* Row(std::int64_t y) const { return at + y * stride; }
};

// One frame on its way to what motion is looked for in.
struct HalfColour {
  ColourPlane full;  // premultiplied, of any scale, all finite
  float scale;       // makes it 0..255
  bool bounded;      // false: values beyond -1..1 are drawn in first
  ColourPlane half;  // receives colour
  FloatPlane level;  // receives brightness
  float weights[4];  // of the channels; their sum with `offset` makes brightness
  float offset;
};

// Both frames fetched along a motion that stands at a time between them.
struct Meeting {
  ColourPlane previous, next;
  FlowPlanes flow;
  float time;
  const std::uint8_t* wanted;  // one for each pixel of the rows, packed; 0: not wanted. Null: all are
};

// A row of the result, at full size.
struct FetchRow {
  ColourPlane previous, next;  // two pixels repeated around them
  const float *u, *v;          // the motion at each pixel
  const float* share;          // of the previous frame, 0..1
  float back, forth;           // how far along the motion each frame is
  std::int32_t y, width;
  bool cubic;
  bool limited;  // the cubic does not leave the range of the pixels it is made from
};

struct MotionKernels {
  // Half the extents through (1, 4, 6, 4, 1) / 16, for the rows of `out`.
  void (*halve)(const FloatPlane& in, const FloatPlane& out, Rows rows, float* line);
  // Twice the extents, bilinear, times `scale`.
  void (*twice)(const FloatPlane& in, float scale, const FloatPlane& out, Rows rows, float* line);
  // Of 3 x 3, and of 5 x 5.
  void (*median)(const FloatPlane& in, const FloatPlane& out, Rows rows);
  void (*mean)(const FloatPlane& in, const FloatPlane& out, Rows rows, float* line);

  // Rows of patches.
  void (*search_first)(const PatchSearch& search, Rows rows);
  void (*search_again)(const PatchSearch& search, Rows rows);
  // The motion of pixels from that of the patches that cover them. `weights` is scratch, of the same size.
  void (*densify)(const PatchSearch& search, const FlowPlanes& flow, const FloatPlane& weights, Rows rows);

  // Mean and change, with each frame fetched at its part of the motion.
  void (*meet)(const FloatPlane& first, float first_part, const FloatPlane& second, float second_part,
               const RefinePlanes& planes, Rows rows);
  void (*slopes)(const RefinePlanes& planes, Rows rows);
  void (*refine)(const RefinePlanes& planes, const RefineWeights& weights, const RefineBand& band);

  // 0 where both fit, to 1 where they do not or lead outside.
  void (*hidden)(const Consistency& pair, const FloatPlane& out, Rows rows);
  // What speaks against a vector, 0..8, from how they fit and from brightness.
  void (*doubt)(const Consistency& pair, const FloatPlane& from, const FloatPlane& to, const FloatPlane& out,
                Rows rows);

  // How much of each frame is seen along the motion, 0..1, and the lesser of both; 0 where one of them is outside.
  void (*seen)(const FloatPlane& hidden_previous, const FloatPlane& hidden_next, const FlowPlanes& flow, float time,
               const FloatPlane& previous, const FloatPlane& next, const FloatPlane& trust, Rows rows);
  void (*halve_colour)(const HalfColour& frame, Rows rows, float* line);
  // Difference of both frames along the motion; the same everywhere where it leads outside.
  void (*compare)(const Meeting& meeting, const FloatPlane& out, Rows rows);
  void (*fetch)(const FetchRow& row, float* out);
};

// Plain C++: the reference.
extern const MotionKernels kPortableMotionKernels;
// The widest target that is allowed.
const MotionKernels& VectorMotionKernels();

}  // namespace pf
