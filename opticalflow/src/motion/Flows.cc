#include "motion/Flows.h"

#include <cmath>

#include "lifecycle/Globals.h"
#include "motion/Refine.h"

namespace pf {
namespace {

constexpr std::int32_t kMostLevels = 16;
// Sizes are halved while both extents are larger than this; of long frames while one is, and patches fit the other.
constexpr std::int32_t kSmallestExtent = 24;
constexpr std::int32_t kLongExtent = 4 * kSmallestExtent, kLeastExtent = kSmallestExtent / 2;
constexpr std::int32_t kSearchedLevels = 3;  // the coarsest, at which every position around is tried
constexpr std::int32_t kPatchRows = 16;      // of patches in a band

// One frame at every size, the frame's half size first.
struct Levels {
  FloatPlane planes[kMostLevels];
  std::int32_t count;
};

Levels NewLevels(const FloatPlane& first, std::int32_t rim, Workspace& workspace) {
  Levels levels = {{first}, 1};
  while (levels.count < kMostLevels) {
    const FloatPlane& last = levels.planes[levels.count - 1];
    const std::int32_t least = std::min(last.width, last.height), largest = std::max(last.width, last.height);
    if (least <= (largest > kLongExtent ? kLeastExtent : kSmallestExtent)) break;
    levels.planes[levels.count++] = NewPlane(workspace, (last.width + 1) / 2, (last.height + 1) / 2, rim, rim);
  }
  return levels;
}

void Halve(const Levels (&levels)[2], std::int32_t rim, Workspace& workspace, const Interrupt& interrupt) {
  const Workspace::Scope scope(workspace);
  const MotionKernels& kernels = *g_kernels.motion.load();
  const std::int64_t line_floats = LineFloats(levels[0].planes[0].width);
  float* const lines = workspace.Take<float>(2 * line_floats) + kRim;
  ForLongTasks(interrupt, 2, [&](std::int32_t i, const RowQuestions& questions) -> PF_Err {
    for (std::int32_t level = 1; level < levels[i].count; ++level) {
      const FloatPlane& plane = levels[i].planes[level];
      for (std::int32_t band = 0; band < BandCount(plane.height); ++band) {
        if (const PF_Err stop = questions.Before(0)) return stop;
        kernels.halve(levels[i].planes[level - 1], plane, BandOf(band, plane.height), lines + i * line_floats);
      }
      RepeatAround(plane, rim);
    }
    return PF_Err_NONE;
  });
}

// The longest motion along one axis, in pixels of the frame. Parameters below 0 are thousandths of its extent.
float LongestOf(float bound, std::int32_t extent) {
  constexpr float kMost = 1000;
  return bound >= 0 ? bound : std::min(-bound * static_cast<float>(extent) / 1000, kMost);
}

void Clear(const FlowPlanes& flow) {
  for (const FloatPlane& plane : {flow.u, flow.v}) {
    for (std::int32_t y = 0; y < plane.height; ++y) std::fill_n(plane.Row(y) - 2, plane.width + 4, 0.0f);
  }
}

}  // namespace

void LimitRows(const FlowPlanes& flow, const Longest& longest, Rows rows) {
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    float *u = flow.u.Row(y), *v = flow.v.Row(y);
    for (std::int32_t x = -2; x < flow.u.width + 2; ++x) {
      u[x] = std::min(std::max(u[x], -longest.x), longest.x);
      v[x] = std::min(std::max(v[x], -longest.y), longest.y);
    }
  }
}

namespace {

// The motion of the other direction where it leads to, turned round; where nothing leads, the own one.
PF_Err CarryOver(const FlowPlanes& other, const FlowPlanes& own, const FlowPlanes& out, const RowQuestions& questions) {
  const std::int32_t width = own.u.width, height = own.u.height;
  for (std::int32_t y = 0; y < height; ++y) {
    std::copy_n(own.u.Row(y), width, out.u.Row(y));
    std::copy_n(own.v.Row(y), width, out.v.Row(y));
  }
  for (std::int32_t y = 0; y < height; ++y) {
    if (const PF_Err stop = questions.Before(y)) return stop;
    const float *u = other.u.Row(y), *v = other.v.Row(y);
    for (std::int32_t x = 0; x < width; ++x) {
      const float at_x = std::floor(static_cast<float>(x) + u[x] + 0.5f);
      const float at_y = std::floor(static_cast<float>(y) + v[x] + 0.5f);
      if (!(at_x >= 0 && at_x <= static_cast<float>(width) && at_y >= 0 && at_y <= static_cast<float>(height)))
        continue;
      const auto right = static_cast<std::int32_t>(at_x), bottom = static_cast<std::int32_t>(at_y);
      for (std::int32_t j = std::max(bottom - 1, 0); j <= std::min(bottom, height - 1); ++j) {
        for (std::int32_t i = std::max(right - 1, 0); i <= std::min(right, width - 1); ++i) {
          out.u.Row(j)[i] = -u[x];
          out.v.Row(j)[i] = -v[x];
        }
      }
    }
  }
  return PF_Err_NONE;
}

class Estimator {
 public:
  Estimator(const PF_Tavros_AlgoParams& algo, const PairPictures& pictures, Workspace& workspace,
            const Interrupt& interrupt)
      : algo_(algo),
        longest_(LongestMotion(algo, pictures.previous.full.width, pictures.previous.full.height)),
        workspace_(workspace),
        interrupt_(interrupt),
        rim_(PatchRim(PatchEdge(algo))),
        levels_{NewLevels(pictures.previous.level, rim_, workspace), NewLevels(pictures.next.level, rim_, workspace)} {
    Halve(levels_, rim_, workspace, interrupt);
  }

  void Run(const PairFlows& result) {
    PairFlows coarser = {};
    for (std::int32_t level = levels_[0].count - 1; level >= 0; --level) {
      const FloatPlane& plane = levels_[0].planes[level];
      const PairFlows flows = level == 0 ? result : NewFlows(plane);
      level == levels_[0].count - 1 ? Begin(flows) : Begin(coarser, flows);
      {
        const Workspace::Scope scope(workspace_);
        Search(level, flows);
      }
      Refine(level, flows);
      coarser = flows;
    }
  }

 private:
  PairFlows NewFlows(const FloatPlane& like) {
    return {NewFlow(workspace_, like.width, like.height), NewFlow(workspace_, like.width, like.height)};
  }

  static void Begin(const PairFlows& flows) {
    Clear(flows.forward);
    Clear(flows.backward);
  }
  void Begin(const PairFlows& coarser, const PairFlows& flows) {
    const Workspace::Scope scope(workspace_);
    const FloatPlane* const from[] = {&coarser.forward.u, &coarser.forward.v, &coarser.backward.u, &coarser.backward.v};
    const FloatPlane* const to[] = {&flows.forward.u, &flows.forward.v, &flows.backward.u, &flows.backward.v};
    const std::int64_t line_floats = LineFloats(to[0]->width);
    const std::int32_t bands = BandCount(to[0]->height);
    float* const lines = workspace_.Take<float>(4 * bands * line_floats) + kRim;
    const MotionKernels& kernels = *g_kernels.motion.load();
    ForBands(interrupt_, 4, to[0]->height, [&](std::int32_t i, Rows rows, std::int32_t band) {
      kernels.twice(*from[i], 2, *to[i], rows, lines + (i * bands + band) * line_floats);
    });
  }

  // The size of one frame pixel at a level, as of how far motion may go there.
  Longest LongestAt(std::int32_t level) const {
    const float scale = std::ldexp(0.5f, -level);
    return {longest_.x * scale, longest_.y * scale};
  }

  PatchSearch NewSearch(std::int32_t level, const FloatPlane& from, const FloatPlane& to, const FlowPlanes& start) {
    PatchSearch search = {};
    search.from = from;
    search.to = to;
    search.start = start;
    const std::int32_t fitting = std::max(8, std::min(from.width, from.height) / 8 * 8);
    search.edge = std::min(PatchEdge(algo_), fitting);
    search.step = search.edge / 2;
    search.columns = PatchCount(from.width, search.edge, search.step);
    search.rows = PatchCount(from.height, search.edge, search.step);
    // Where there are few sizes, more is tried at each.
    constexpr std::int32_t kReach = 4;
    if (level > levels_[0].count - 1 - kSearchedLevels) {
      search.reach = kReach << std::max(0, kSearchedLevels - levels_[0].count);
    }
    search.longest_x = LongestAt(level).x;
    search.longest_y = LongestAt(level).y;
    const std::int64_t count = std::int64_t{search.columns} * search.rows;
    for (float** values : {&search.first_u, &search.first_v, &search.second_u, &search.second_v}) {
      *values = workspace_.Take<float>(count);
    }
    return search;
  }

  void Search(std::int32_t level, const PairFlows& flows) {
    const FloatPlane &previous = levels_[0].planes[level], &next = levels_[1].planes[level];
    PatchSearch searches[2] = {NewSearch(level, previous, next, flows.forward),
                               NewSearch(level, next, previous, flows.backward)};
    if (level < levels_[0].count - 1) {
      const PairFlows carried = NewFlows(previous);
      ForLongTasks(interrupt_, 2, [&](std::int32_t i, const RowQuestions& questions) {
        return i == 0 ? CarryOver(flows.backward, flows.forward, carried.forward, questions)
                      : CarryOver(flows.forward, flows.backward, carried.backward, questions);
      });
      searches[0].other = carried.forward;
      searches[1].other = carried.backward;
    }
    const MotionKernels& kernels = *g_kernels.motion.load();
    const std::int32_t rows = searches[0].rows;
    ForBands(
        interrupt_, 2, rows, [&](std::int32_t i, Rows band) { kernels.search_first(searches[i], band); }, kPatchRows);
    ForBands(
        interrupt_, 2, rows, [&](std::int32_t i, Rows band) { kernels.search_again(searches[i], band); }, kPatchRows);

    const FloatPlane weights[2] = {NewPlane(workspace_, previous.width, previous.height),
                                   NewPlane(workspace_, previous.width, previous.height)};
    const FlowPlanes* const found[2] = {&flows.forward, &flows.backward};
    ForBands(interrupt_, 2, previous.height,
             [&](std::int32_t i, Rows band) { kernels.densify(searches[i], *found[i], weights[i], band); });
  }

  void Refine(std::int32_t level, const PairFlows& flows) {
    const FloatPlane &previous = levels_[0].planes[level], &next = levels_[1].planes[level];
    const RefineJob jobs[] = {{previous, next, 0, 1, flows.forward, nullptr},
                              {next, previous, 0, 1, flows.backward, nullptr}};
    RefineFlows(jobs, WeightsOf(algo_), algo_.count, workspace_, interrupt_);
    const FlowPlanes* const refined[2] = {&flows.forward, &flows.backward};
    ForBands(interrupt_, 2, previous.height,
             [&](std::int32_t i, Rows band) { LimitRows(*refined[i], LongestAt(level), band); });
  }

  const PF_Tavros_AlgoParams& algo_;
  const Longest longest_;
  Workspace& workspace_;
  const Interrupt& interrupt_;
  const std::int32_t rim_;
  const Levels levels_[2];
};

}  // namespace

RefineWeights WeightsOf(const PF_Tavros_AlgoParams& algo) {
  constexpr float kStiffness = 100, kBrightness = 5, kStructure = 10;
  const float stiffness = kStiffness * algo.fraction;
  // Where brightness may change, structure stands alone.
  return algo.switchFlag != 0 ? RefineWeights{stiffness, 0, 2 * kStructure}
                              : RefineWeights{stiffness, kBrightness, kStructure};
}

Longest LongestMotion(const PF_Tavros_AlgoParams& algo, std::int32_t width, std::int32_t height) {
  return {LongestOf(algo.boundA, width), LongestOf(algo.boundB, height)};
}

PairFlows EstimateFlows(const PF_Tavros_AlgoParams& algo, const PairPictures& pictures, Workspace& workspace,
                        const Interrupt& interrupt) {
  const std::int32_t width = pictures.HalfWidth(), height = pictures.HalfHeight();
  const PairFlows flows = {NewFlow(workspace, width, height), NewFlow(workspace, width, height)};
  const Workspace::Scope scope(workspace);
  Estimator(algo, pictures, workspace, interrupt).Run(flows);
  return flows;
}

}  // namespace pf
