#include "synthesis/Project.h"

#include <cmath>

#include "lifecycle/Globals.h"
#include "motion/Pictures.h"

namespace pf {
namespace {

constexpr int kSets = 3;  // both, previous, next
constexpr int kMostLevels = 17;
constexpr float kLeastWeight = 1e-6f;

// Weighted sums of vectors and their weights; after Normalise, no weight is above 1.
struct Sums {
  FloatPlane u, v, weight;
};

Sums NewSums(Workspace& workspace, std::int32_t width, std::int32_t height) {
  return {NewPlane(workspace, width, height), NewPlane(workspace, width, height), NewPlane(workspace, width, height)};
}

void Clear(const Sums& sums) {
  for (const FloatPlane& plane : {sums.u, sums.v, sums.weight}) {
    for (std::int32_t y = 0; y < plane.height; ++y) std::fill_n(plane.Row(y), plane.width, 0.0f);
  }
}

// exp(-doubt / kDoubtUnits) by repeated products, the same everywhere.
struct DoubtWeights {
  float of[256];

  DoubtWeights() {
    static_assert(kDoubtUnits == 16);
    constexpr double kStep = 0.93941306281347578612;  // exp(-1 / 16)
    double weight = 1;
    for (float& w : of) {
      w = static_cast<float>(weight);
      weight *= kStep;
    }
  }
};

// Every vector goes to the four pixels around the place it has reached after `part` of its way, `sign` times its own.
PF_Err Splat(const MotionField& field, float part, float sign, const Sums& sums, const RowQuestions& questions) {
  const DoubtWeights weights;
  const std::int32_t width = sums.u.width, height = sums.u.height;
  for (std::int32_t y = 0; y < height; ++y) {
    if (const PF_Err stop = questions.Before(y)) return stop;
    for (std::int32_t x = 0; x < width; ++x) {
      const std::int64_t i = std::int64_t{y} * width + x;
      const float u = static_cast<float>(field.u[i]) * (1 / kMotionUnits);
      const float v = static_cast<float>(field.v[i]) * (1 / kMotionUnits);
      const float at_x = static_cast<float>(x) + part * u, at_y = static_cast<float>(y) + part * v;
      const float left = std::floor(at_x), top = std::floor(at_y), a = at_x - left, b = at_y - top;
      const auto column = static_cast<std::int32_t>(left), row = static_cast<std::int32_t>(top);
      const float weight = weights.of[field.doubt[i]];
      const auto add = [&](std::int32_t to_x, std::int32_t to_y, float share) {
        if (to_x < 0 || to_x >= width || to_y < 0 || to_y >= height) return;
        const float w = weight * share;
        sums.u.Row(to_y)[to_x] += w * (sign * u);
        sums.v.Row(to_y)[to_x] += w * (sign * v);
        sums.weight.Row(to_y)[to_x] += w;
      };
      add(column, row, (1 - a) * (1 - b));
      add(column + 1, row, a * (1 - b));
      add(column, row + 1, (1 - a) * b);
      add(column + 1, row + 1, a * b);
    }
  }
  return PF_Err_NONE;
}

void Add(const Sums& a, const Sums& b, const Sums& out, Rows rows) {
  const auto add = [&](const FloatPlane& p, const FloatPlane& q, const FloatPlane& to) {
    for (std::int32_t y = rows.begin; y < rows.end; ++y) {
      for (std::int32_t x = 0; x < to.width; ++x) to.Row(y)[x] = p.Row(y)[x] + q.Row(y)[x];
    }
  };
  add(a.u, b.u, out.u);
  add(a.v, b.v, out.v);
  add(a.weight, b.weight, out.weight);
}

void Normalise(const Sums& sums, Rows rows) {
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    float *u = sums.u.Row(y), *v = sums.v.Row(y), *weight = sums.weight.Row(y);
    for (std::int32_t x = 0; x < sums.u.width; ++x) {
      const float kept = std::min(weight[x], 1.0f), factor = weight[x] > kLeastWeight ? kept / weight[x] : 0.0f;
      u[x] *= factor;
      v[x] *= factor;
      weight[x] = kept;
    }
  }
}

// Vectors where there is weight, and what the coarser size has where there is little. `coarser` holds that already.
void Settle(const FloatPlane& sum, const FloatPlane& weight, const FloatPlane& coarser, Rows rows) {
  constexpr float kEnough = 30;
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const float *s = sum.Row(y), *w = weight.Row(y);
    float* to = coarser.Row(y);
    for (std::int32_t x = 0; x < sum.width; ++x) {
      const float share = std::min(w[x] * kEnough, 1.0f);
      const float own = w[x] > kLeastWeight ? s[x] / w[x] : to[x];
      to[x] = to[x] * (1 - share) + share * own;
    }
    FinishRow(to, sum.width, kProjectedRim);
  }
}

// All sets at all sizes.
class Filling {
 public:
  Filling(const Sums (&first)[kSets], Workspace& workspace, const Interrupt& interrupt)
      : workspace_(workspace), interrupt_(interrupt) {
    for (int set = 0; set < kSets; ++set) sizes_[0][set] = first[set];
    while (count_ < kMostLevels && std::min(Last().u.width, Last().u.height) > 2) AddSize();
  }

  void Run(const FlowPlanes (&result)[kSets]) {
    for (int level = count_ - 1; level >= 0; --level) {
      const FlowPlanes* const coarser = level == count_ - 1 ? nullptr : filled_;
      FlowPlanes here[kSets];
      for (int set = 0; set < kSets; ++set) {
        const FloatPlane& like = sizes_[level][set].u;
        here[set] = level == 0 ? result[set] : NewFlow(workspace_, like.width, like.height);
      }
      Fill(level, coarser, here);
      std::copy_n(here, kSets, filled_);
    }
  }

 private:
  const Sums& Last() const { return sizes_[count_ - 1][0]; }

  void AddSize() {
    const FloatPlane like = Last().u;
    for (Sums& sums : sizes_[count_]) sums = NewSums(workspace_, (like.width + 1) / 2, (like.height + 1) / 2);
    const Workspace::Scope scope(workspace_);
    const std::int32_t height = sizes_[count_][0].u.height, bands = BandCount(height);
    const std::int64_t line_floats = LineFloats(like.width);
    float* const lines = workspace_.Take<float>(kSets * bands * line_floats) + kRim;
    const MotionKernels& kernels = *g_kernels.motion.load();
    ForBands(interrupt_, kSets, height, [&](std::int32_t set, Rows rows, std::int32_t band) {
      float* const line = lines + (set * bands + band) * line_floats;
      const Sums &from = sizes_[count_ - 1][set], &to = sizes_[count_][set];
      kernels.halve(from.u, to.u, rows, line);
      kernels.halve(from.v, to.v, rows, line);
      kernels.halve(from.weight, to.weight, rows, line);
    });
    ++count_;
  }

  void Fill(int level, const FlowPlanes* coarser, const FlowPlanes (&here)[kSets]) {
    const Workspace::Scope scope(workspace_);
    const std::int32_t height = here[0].u.height, bands = BandCount(height);
    const std::int64_t line_floats = LineFloats(here[0].u.width);
    float* const lines = workspace_.Take<float>(kSets * bands * line_floats) + kRim;
    const MotionKernels& kernels = *g_kernels.motion.load();
    ForBands(interrupt_, kSets, height, [&](std::int32_t set, Rows rows, std::int32_t band) {
      const Sums& sums = sizes_[level][set];
      const auto fill = [&](const FloatPlane& sum, const FloatPlane* from, const FloatPlane& to) {
        if (from != nullptr) {
          kernels.twice(*from, 1, to, rows, lines + (set * bands + band) * line_floats);
        } else {
          for (std::int32_t y = rows.begin; y < rows.end; ++y) std::fill_n(to.Row(y), to.width, 0.0f);
        }
        Settle(sum, sums.weight, to, rows);
      };
      fill(sums.u, coarser != nullptr ? &coarser[set].u : nullptr, here[set].u);
      fill(sums.v, coarser != nullptr ? &coarser[set].v : nullptr, here[set].v);
    });
  }

  Workspace& workspace_;
  const Interrupt& interrupt_;
  Sums sizes_[kMostLevels][kSets];
  int count_ = 1;
  FlowPlanes filled_[kSets];
};

}  // namespace

ProjectedFlows Project(const PairMotion& motion, float time, Workspace& workspace, const Interrupt& interrupt) {
  const std::int32_t width = motion.width, height = motion.height;
  const auto flow = [&](std::int32_t rim_rows) {
    return FlowPlanes{NewPlane(workspace, width, height, kRim, rim_rows),
                      NewPlane(workspace, width, height, kRim, rim_rows)};
  };
  const ProjectedFlows projected = {flow(kProjectedRim), flow(0), flow(0)};

  const Workspace::Scope scope(workspace);
  Sums sums[kSets];
  for (Sums& set : sums) set = NewSums(workspace, width, height);
  ForLongTasks(interrupt, 2, [&](std::int32_t i, const RowQuestions& questions) {
    Clear(sums[1 + i]);
    return i == 0 ? Splat(motion.forward, time, 1, sums[1], questions)
                  : Splat(motion.backward, 1 - time, -1, sums[2], questions);
  });
  ForBands(interrupt, 1, height, [&](std::int32_t, Rows rows) {
    Add(sums[1], sums[2], sums[0], rows);
    for (const Sums& set : sums) Normalise(set, rows);
  });
  const FlowPlanes result[kSets] = {projected.both, projected.previous, projected.next};
  Filling(sums, workspace, interrupt).Run(result);
  RepeatAround(projected.both.u, kProjectedRim);
  RepeatAround(projected.both.v, kProjectedRim);
  return projected;
}

}  // namespace pf
