#include "motion/Judge.h"

#include <cmath>

#include "lifecycle/Globals.h"
#include "motion/Thin.h"

namespace pf {
namespace {

constexpr float kIsHidden = 0.5f;
constexpr float kDoubtOfHidden = 3;

// One direction on its way.
struct Side {
  Consistency pair;
  const FramePicture* picture;  // where the motion starts
  const FramePicture* other;
  FloatPlane hidden;
  FlowPlanes repaired;
};

// Where a hidden pixel's motion comes from: the place that is reached at the least cost over steps that cost their
// length and the squared change of colour. Motion starts from pixels with no hidden one beside them.
class Spread {
 public:
  Spread(const FloatPlane& hidden, Workspace& workspace)
      : hidden_(hidden),
        width_(hidden.width),
        height_(hidden.height),
        cost_(workspace.Take<float>(std::int64_t{width_} * height_)),
        source_(workspace.Take<std::int32_t>(std::int64_t{width_} * height_)) {}

  PF_Err Run(const ColourPlane& colour, const RowQuestions& questions) {
    colour_ = colour;
    for (std::int32_t y = 0; y < height_; ++y) {
      if (const PF_Err stop = questions.Before(y)) return stop;
      for (std::int32_t x = 0; x < width_; ++x) Begin(x, y);
    }
    for (std::int32_t y = 0; y < height_; ++y) {
      if (const PF_Err stop = questions.Before(y)) return stop;
      for (std::int32_t x = 0; x < width_; ++x) Reach(x, y, -1);
    }
    for (std::int32_t y = height_ - 1; y >= 0; --y) {
      if (const PF_Err stop = questions.Before(y)) return stop;
      for (std::int32_t x = width_ - 1; x >= 0; --x) Reach(x, y, 1);
    }
    return PF_Err_NONE;
  }

  std::int32_t SourceOf(std::int32_t x, std::int32_t y) const { return source_[At(x, y)]; }

 private:
  static constexpr float kFar = 1e9f;

  std::int64_t At(std::int32_t x, std::int32_t y) const { return std::int64_t{y} * width_ + x; }

  void Begin(std::int32_t x, std::int32_t y) {
    float most = 0;
    for (std::int32_t j = -1; j <= 1; ++j) {
      const float* row = hidden_.ClampedRow(y + j) + x;
      most = std::max(most, std::max(std::max(row[-1], row[0]), row[1]));
    }
    const std::int64_t i = At(x, y);
    cost_[i] = most >= kIsHidden ? kFar : 0;
    source_[i] = static_cast<std::int32_t>(i);
  }

  void Reach(std::int32_t x, std::int32_t y, std::int32_t side) {
    constexpr float kDiagonal = 1.41421356f;
    if (cost_[At(x, y)] == 0) return;
    Step(x, y, x + side, y, 1);
    Step(x, y, x, y + side, 1);
    Step(x, y, x + side, y + side, kDiagonal);
    Step(x, y, x - side, y + side, kDiagonal);
  }

  void Step(std::int32_t x, std::int32_t y, std::int32_t from_x, std::int32_t from_y, float length) {
    constexpr float kColour = 0.3f / 9;
    if (from_x < 0 || from_x >= width_ || from_y < 0 || from_y >= height_) return;
    const float *a = colour_.Row(y) + 4 * std::int64_t{x}, *b = colour_.Row(from_y) + 4 * std::int64_t{from_x};
    const float change =
        (std::abs(a[0] - b[0]) + std::abs(a[1] - b[1])) + (std::abs(a[2] - b[2]) + std::abs(a[3] - b[3]));
    const std::int64_t i = At(x, y), from = At(from_x, from_y);
    const float cost = cost_[from] + length + change * change * kColour;
    if (!(cost < cost_[i])) return;
    cost_[i] = cost;
    source_[i] = source_[from];
  }

  const FloatPlane& hidden_;
  std::int32_t width_, height_;
  ColourPlane colour_ = {};
  float* cost_;
  std::int32_t* source_;
};

// 3 x 3 means of colour, so that noise does not lead the way.
void Soften(const ColourPlane& colour, const ColourPlane& out, Rows band) {
  const auto column = [&](std::int32_t x) { return 4 * std::clamp<std::int64_t>(x, 0, colour.width - 1); };
  for (std::int32_t y = band.begin; y < band.end; ++y) {
    const float* rows[3];
    for (int i = 0; i < 3; ++i) rows[i] = colour.Row(std::clamp<std::int64_t>(y + i - 1, 0, colour.height - 1));
    float* to = out.Row(y);
    for (std::int32_t x = 0; x < colour.width; ++x) {
      const std::int64_t left = column(x - 1), here = column(x), right = column(x + 1);
      for (int c = 0; c < 4; ++c) {
        const auto sum = [&](std::int64_t at) { return rows[0][at + c] + rows[1][at + c] + rows[2][at + c]; };
        to[4 * std::int64_t{x} + c] = (sum(left) + sum(here) + sum(right)) * (1.0f / 9);
      }
    }
  }
}

// Hidden pixels get the motion of where they are reached from.
void Repair(const Side& side, const Spread& spread, const FlowPlanes& out, Rows rows) {
  const FlowPlanes& flow = side.pair.there;
  const std::int32_t width = flow.u.width;
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const float* hidden = side.hidden.Row(y);
    for (std::int32_t x = 0; x < width; ++x) {
      const bool keeps = hidden[x] < kIsHidden;
      const std::int32_t source = keeps ? 0 : spread.SourceOf(x, y);
      const std::int32_t from_x = keeps ? x : source % width, from_y = keeps ? y : source / width;
      out.u.Row(y)[x] = flow.u.Row(from_y)[from_x];
      out.v.Row(y)[x] = flow.v.Row(from_y)[from_x];
    }
    FinishRow(out.u.Row(y), width);
    FinishRow(out.v.Row(y), width);
  }
}

std::int16_t Kept(float v) {
  const float units = std::floor(v * kMotionUnits + 0.5f);
  return static_cast<std::int16_t>(std::min(std::max(units, -32767.0f), 32767.0f));
}
std::uint8_t Kept(float v, float units) {
  return static_cast<std::uint8_t>(std::min(std::max(v * units + 0.5f, 0.0f), 255.0f));
}

void Keep(const Side& side, const FloatPlane& hidden, const FloatPlane& doubt, const MotionField& field, Rows rows) {
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const std::int64_t begin = std::int64_t{y} * hidden.width;
    const float *u = side.repaired.u.Row(y), *v = side.repaired.v.Row(y);
    for (std::int32_t x = 0; x < hidden.width; ++x) {
      field.u[begin + x] = Kept(u[x]);
      field.v[begin + x] = Kept(v[x]);
      field.hidden[begin + x] = Kept(hidden.Row(y)[x], kHiddenUnits);
      const bool is_hidden = side.hidden.Row(y)[x] >= kIsHidden;
      field.doubt[begin + x] = Kept(is_hidden ? kDoubtOfHidden : doubt.Row(y)[x], kDoubtUnits);
    }
  }
}

}  // namespace

std::unique_ptr<PairMotion> JudgeFlows(const PF_Tavros_AlgoParams& algo, const PairPictures& pictures,
                                       const PairFlows& flows, Workspace& workspace, const Interrupt& interrupt) {
  const Workspace::Scope scope(workspace);
  const MotionKernels& kernels = *g_kernels.motion.load();
  const std::int32_t width = pictures.HalfWidth(), height = pictures.HalfHeight(), bands = BandCount(height);
  auto motion = std::make_unique<PairMotion>(width, height);
  const MotionField fields[2] = {motion->forward, motion->backward};
  Side sides[2] = {{{flows.forward, flows.backward, algo.threshold}, &pictures.previous, &pictures.next, {}, {}},
                   {{flows.backward, flows.forward, algo.threshold}, &pictures.next, &pictures.previous, {}, {}}};
  FlowPlanes patched[2];
  FloatPlane hidden[2], doubt[2];
  ColourPlane softened[2];
  for (int i = 0; i < 2; ++i) {
    sides[i].hidden = NewPlane(workspace, width, height);
    sides[i].repaired = NewFlow(workspace, width, height);
    patched[i] = NewFlow(workspace, width, height);
    hidden[i] = NewPlane(workspace, width, height);
    doubt[i] = NewPlane(workspace, width, height);
    softened[i] = {workspace.Take<float>(4 * std::int64_t{width} * height), 4 * std::int64_t{width}, width, height};
  }
  const std::int64_t line_floats = LineFloats(width);
  float* const lines = workspace.Take<float>(2 * bands * line_floats) + kRim;

  ForBands(interrupt, 2, height, [&](std::int32_t i, Rows rows) {
    kernels.hidden(sides[i].pair, sides[i].hidden, rows);
    Soften(sides[i].picture->half, softened[i], rows);
  });
  Spread spreads[2] = {{sides[0].hidden, workspace}, {sides[1].hidden, workspace}};
  ForLongTasks(interrupt, 2,
               [&](std::int32_t i, const RowQuestions& questions) { return spreads[i].Run(softened[i], questions); });
  ForBands(interrupt, 2, height, [&](std::int32_t i, Rows rows) { Repair(sides[i], spreads[i], patched[i], rows); });
  ForBands(interrupt, 2, height, [&](std::int32_t i, Rows rows, std::int32_t band) {
    kernels.median(patched[i].u, sides[i].repaired.u, rows);
    kernels.median(patched[i].v, sides[i].repaired.v, rows);
    kernels.mean(sides[i].hidden, hidden[i], rows, lines + (i * bands + band) * line_floats);
  });
  ForBands(interrupt, 2, height, [&](std::int32_t i, Rows rows) {
    const Consistency pair = {sides[i].repaired, sides[1 - i].repaired, algo.threshold};
    kernels.doubt(pair, sides[i].picture->level, sides[i].other->level, doubt[i], rows);
    Keep(sides[i], hidden[i], doubt[i], fields[i], rows);
  });
  if (algo.mode == 2) {
    const FlowPlanes repaired[2] = {sides[0].repaired, sides[1].repaired};
    const Longest longest = LongestMotion(algo, pictures.previous.full.width, pictures.previous.full.height);
    const ThinSides thin = FindThin(pictures, repaired, {longest.x / 2, longest.y / 2}, workspace, interrupt);
    motion->KeepThin(thin.previous.points, thin.previous.count, thin.next.points, thin.next.count);
  }
  return motion;
}

}  // namespace pf
