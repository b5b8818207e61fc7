#include "synthesis/Synthesis.h"

#include <cstring>

#include "lifecycle/Globals.h"
#include "motion/Flows.h"
#include "motion/Refine.h"
#include "synthesis/Finish.h"
#include "synthesis/Fuse.h"
#include "synthesis/ThinLayer.h"

namespace pf {
namespace {

constexpr std::int32_t kMiddleRounds = 3;

// What every pixel of the result is made from, at half size.
struct Plan {
  FlowPlanes flow;
  FloatPlane share;  // of the previous frame
  FloatPlane fade;   // to the cross-fade
  ThinLayer thin;
};

HiddenPlanes UnpackHidden(const PairMotion& motion, Workspace& workspace, const Interrupt& interrupt) {
  const HiddenPlanes hidden = {NewPlane(workspace, motion.width, motion.height),
                               NewPlane(workspace, motion.width, motion.height)};
  const FloatPlane planes[2] = {hidden.previous, hidden.next};
  const std::uint8_t* const kept[2] = {motion.forward.hidden, motion.backward.hidden};
  ForBands(interrupt, 2, motion.height, [&](std::int32_t i, Rows rows) {
    for (std::int32_t y = rows.begin; y < rows.end; ++y) {
      const std::uint8_t* from = kept[i] + std::int64_t{y} * motion.width;
      float* to = planes[i].Row(y);
      for (std::int32_t x = 0; x < motion.width; ++x) to[x] = static_cast<float>(from[x]) * (1 / kHiddenUnits);
    }
  });
  return hidden;
}

// How much of a wide surrounding has no counterpart in the other frame decides where motion is given up.
void FindFade(const HiddenPlanes& hidden, const FloatPlane& fade, Workspace& workspace) {
  constexpr int kHalvings = 4;
  constexpr float kBegins = 0.5f, kEnds = 0.8f;
  const Workspace::Scope scope(workspace);
  const MotionKernels& kernels = *g_kernels.motion.load();
  float* const line = workspace.Take<float>(LineFloats(fade.width)) + kRim;
  FloatPlane sizes[kHalvings + 1] = {fade};
  int last = 0;
  for (std::int32_t y = 0; y < fade.height; ++y) {
    for (std::int32_t x = 0; x < fade.width; ++x) {
      fade.Row(y)[x] = 0.5f * (hidden.previous.Row(y)[x] + hidden.next.Row(y)[x]);
    }
  }
  for (; last < kHalvings && std::min(sizes[last].width, sizes[last].height) > 2; ++last) {
    sizes[last + 1] = NewPlane(workspace, (sizes[last].width + 1) / 2, (sizes[last].height + 1) / 2);
    kernels.halve(sizes[last], sizes[last + 1], {0, sizes[last + 1].height}, line);
  }
  const FloatPlane& coarse = sizes[last];
  for (std::int32_t y = 0; y < coarse.height; ++y) {
    for (std::int32_t x = 0; x < coarse.width; ++x) {
      const float t = std::min(std::max((coarse.Row(y)[x] - kBegins) / (kEnds - kBegins), 0.0f), 1.0f);
      coarse.Row(y)[x] = t * t * (3 - 2 * t);
    }
    FinishRow(coarse.Row(y), coarse.width);
  }
  for (; last > 0; --last) kernels.twice(sizes[last], 1, sizes[last - 1], {0, sizes[last - 1].height}, line);
}

void FindShare(const SeenPlanes& seen, const PF_Tavros_AlgoParams& algo, float time, const FloatPlane& share,
               Rows rows) {
  const bool one_sided = algo.variant >= 2;
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const float *a = seen.previous.Row(y), *b = seen.next.Row(y);
    float* to = share.Row(y);
    for (std::int32_t x = 0; x < share.width; ++x) {
      if (!one_sided) {
        const float previous = a[x] * (1 - time), next = b[x] * time;
        to[x] = previous / (previous + next);
      } else {
        to[x] = time <= 0.5f ? std::min(2 * a[x], 1.0f) : 1 - std::min(2 * b[x], 1.0f);
      }
    }
    FinishRow(to, share.width);
  }
}

// Where a frame shows something thin, what is behind comes from the other one.
void LookPast(const ThinLayer& thin, const FlowPlanes& flow, float time, const SeenPlanes& seen, Rows rows) {
  const auto at = [](const FloatPlane& plane, float x, float y) {
    const auto nearest = [](float v, std::int32_t extent) {
      return static_cast<std::int32_t>(std::min(std::max(v + 0.5f, 0.0f), static_cast<float>(extent - 1)));
    };
    return plane.Row(nearest(y, plane.height))[nearest(x, plane.width)] > 0;
  };
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    const float *u = flow.u.Row(y), *v = flow.v.Row(y);
    for (std::int32_t x = 0; x < flow.u.width; ++x) {
      const auto left = static_cast<float>(x), top = static_cast<float>(y);
      const bool previous = at(thin.on_previous, left - time * u[x], top - time * v[x]);
      const bool next = at(thin.on_next, left + (1 - time) * u[x], top + (1 - time) * v[x]);
      if (previous == next) continue;
      seen.previous.Row(y)[x] = previous ? 0.0f : 1.0f;
      seen.next.Row(y)[x] = next ? 0.0f : 1.0f;
    }
  }
}

void Copy(const FlowPlanes& from, const FlowPlanes& to) {
  for (std::int32_t y = 0; y < from.u.height; ++y) {
    std::copy_n(from.u.Row(y) - 2, from.u.width + 4, to.u.Row(y) - 2);
    std::copy_n(from.v.Row(y) - 2, from.v.width + 4, to.v.Row(y) - 2);
  }
}

Plan MakePlan(const MotionRequest& request, const PairMotion& motion, float time) {
  Workspace& workspace = request.workspace;
  const Interrupt& interrupt = request.interrupt;
  const std::int32_t width = motion.width, height = motion.height;
  const Plan plan = {NewFlow(workspace, width, height), NewPlane(workspace, width, height),
                     NewPlane(workspace, width, height), MakeThinLayer(motion, time, workspace)};
  const Workspace::Scope scope(workspace);
  const HiddenPlanes hidden = UnpackHidden(motion, workspace, interrupt);
  FindFade(hidden, plan.fade, workspace);
  const ProjectedFlows projected = Project(motion, time, workspace, interrupt);
  const SeenPlanes seen = NewSeen(workspace, width, height);
  FindSeen(hidden, projected.both, time, seen, interrupt);
  if (request.algo.mode == 2) {
    // Where brightness may change, colours do not tell which candidate fits.
    if (request.algo.switchFlag == 0) {
      Fuse(request.pictures, projected, seen.trust, time, plan.flow, workspace, interrupt);
      FindSeen(hidden, plan.flow, time, seen, interrupt);
    } else {
      Copy(projected.both, plan.flow);
    }
    const RefineJob job = {
        request.pictures.previous.level, request.pictures.next.level, -time, 1 - time, plan.flow, seen.trust.at};
    RefineFlows({&job, 1}, WeightsOf(request.algo), kMiddleRounds, workspace, interrupt);
    const ColourPlane& full = request.pictures.previous.full;
    const Longest longest = LongestMotion(request.algo, full.width, full.height);
    ForBands(interrupt, 1, height, [&](std::int32_t, Rows rows) {
      LimitRows(plan.flow, {longest.x / 2, longest.y / 2}, rows);
    });
    FindSeen(hidden, plan.flow, time, seen, interrupt);
  } else {
    Copy(projected.both, plan.flow);
  }
  ForBands(interrupt, 1, height, [&](std::int32_t, Rows rows) {
    if (plan.thin.any) LookPast(plan.thin, plan.flow, time, seen, rows);
    FindShare(seen, request.algo, time, plan.share, rows);
  });
  return plan;
}

// Rows of the result, each made in lines of its own.
class RowMaker {
 public:
  RowMaker(const MotionRequest& request, const Plan& plan, float time)
      : request_(request), plan_(plan), time_(time), width_(request.pictures.previous.full.width) {
    // Motion blur: moments evenly over the open shutter.
    const std::int32_t steps = request.algo.steps;
    moments_ = steps;
    open_ = steps > 1 ? request.algo.degrees / 360 : 0.0f;
    const FramePicture &previous = request.pictures.previous, &next = request.pictures.next;
    range_ = {previous.opaque && next.opaque, std::min(previous.least, next.least),
              std::max(previous.largest, next.largest)};
  }

  static std::int64_t Floats(std::int32_t width) {
    return 9 * LineFloats(width) + 3 * LineFloats(4 * std::int64_t{width});
  }

  void Make(std::int32_t y, float* memory, std::byte* pixels) const {
    const PairPictures& pictures = request_.pictures;
    const std::int64_t line = LineFloats(width_), wide = LineFloats(4 * std::int64_t{width_});
    float *u = memory + kRim, *v = u + line, *share = v + line, *fade = share + line, *scratch = fade + line;
    ThinRow thin = {scratch + line, scratch + 2 * line, scratch + 3 * line, scratch + 4 * line, nullptr, false};
    float *sum = scratch + 5 * line, *moment = sum + wide;
    thin.colour = moment + wide;
    Enlarge(plan_.flow.u, 2, y, u, scratch);
    Enlarge(plan_.flow.v, 2, y, v, scratch);
    Enlarge(plan_.share, 1, y, share, scratch);
    Enlarge(plan_.fade, 1, y, fade, scratch);
    PrepareThin(y, thin, scratch);

    const MotionKernels& kernels = *g_kernels.motion.load();
    FetchRow row = {pictures.previous.full,
                    pictures.next.full,
                    u,
                    v,
                    share,
                    -time_,
                    1 - time_,
                    y,
                    width_,
                    request_.algo.variant % 2 == 0,
                    !range_.opaque || request_.frames.previous->Depth() == 32};
    kernels.fetch(AtMoment(row, 0), sum);
    DrawThin(row, thin, 0, sum);
    for (std::int32_t i = 1; i < moments_; ++i) {
      kernels.fetch(AtMoment(row, i), moment);
      DrawThin(row, thin, i, moment);
      for (std::int64_t k = 0; k < 4 * std::int64_t{width_}; ++k) sum[k] += moment[k];
    }
    if (moments_ > 1) {
      const float factor = 1 / static_cast<float>(moments_);
      for (std::int64_t k = 0; k < 4 * std::int64_t{width_}; ++k) sum[k] *= factor;
    }
    Fade(fade, y, sum);
    FinishPixels(sum, width_, range_, request_.frames.previous->Depth(), pixels);
    if (!pictures.previous.finite || !pictures.next.finite) {
      PutBack(*request_.frames.previous, *request_.frames.next, row, pixels);
    }
  }

 private:
  struct ThinRow {
    float *cover, *u, *v, *share, *colour;
    bool any;
  };

  void PrepareThin(std::int32_t y, ThinRow& row, float* scratch) const {
    if (!plan_.thin.any) return;
    Enlarge(plan_.thin.cover, 1, y, row.cover, scratch);
    row.any = std::any_of(row.cover, row.cover + width_, [](float cover) { return cover > 0; });
    if (!row.any) return;
    Enlarge(plan_.thin.flow.u, 2, y, row.u, scratch);
    Enlarge(plan_.thin.flow.v, 2, y, row.v, scratch);
    std::fill_n(row.share, width_, 1 - time_);
  }

  // Between the pixels that the layer covers first and last.
  void DrawThin(FetchRow row, const ThinRow& thin, std::int32_t moment, float* sum) const {
    if (!thin.any) return;
    row.u = thin.u;
    row.v = thin.v;
    row.share = thin.share;
    g_kernels.motion.load()->fetch(AtMoment(row, moment), thin.colour);
    for (std::int64_t x = 0; x < width_; ++x) {
      for (std::int64_t i = 4 * x; i < 4 * x + 4; ++i) sum[i] += thin.cover[x] * (thin.colour[i] - sum[i]);
    }
  }

  void Enlarge(const FloatPlane& plane, float scale, std::int32_t y, float* out, float* scratch) const {
    const FloatPlane row = {out, 0, width_, request_.pictures.previous.full.height};
    g_kernels.motion.load()->twice(plane, scale, row, {y, y + 1}, scratch);
  }

  // What is at a place a moment later has moved on along the motion.
  FetchRow AtMoment(FetchRow row, std::int32_t number) const {
    const float shift = open_ * ((static_cast<float>(number) + 0.5f) / static_cast<float>(moments_) - 0.5f);
    row.back -= shift;
    row.forth -= shift;
    return row;
  }

  void Fade(const float* fade, std::int32_t y, float* sum) const {
    const float *a = request_.pictures.previous.full.Row(y), *b = request_.pictures.next.full.Row(y);
    for (std::int64_t x = 0; x < width_; ++x) {
      if (!(fade[x] > 0)) continue;
      for (std::int64_t i = 4 * x; i < 4 * x + 4; ++i) {
        const float crossed = a[i] * (1 - time_) + b[i] * time_;
        sum[i] += fade[x] * (crossed - sum[i]);
      }
    }
  }

  const MotionRequest& request_;
  const Plan& plan_;
  float time_;
  std::int32_t width_, moments_;
  float open_;
  PixelRange range_;
};

}  // namespace

void Synthesize(const MotionRequest& request, const PairMotion& motion, float time, PF_World& destination) {
  const Plan plan = MakePlan(request, motion, time);
  const std::int32_t width = destination.width, height = destination.height, bands = BandCount(height);
  const std::size_t row_size = static_cast<std::size_t>(width) * destination.PixelSize();
  auto* const picture = request.workspace.Take<std::byte>(static_cast<std::int64_t>(row_size) * height);
  float* const lines = request.workspace.Take<float>(bands * RowMaker::Floats(width));
  const RowMaker maker(request, plan, time);
  ForBands(request.interrupt, 1, height, [&](std::int32_t, Rows rows, std::int32_t band) {
    for (std::int32_t y = rows.begin; y < rows.end; ++y) {
      maker.Make(y, lines + band * RowMaker::Floats(width), picture + static_cast<std::size_t>(y) * row_size);
    }
  });
  // From here on nothing stops.
  ForBands(Interrupt(nullptr), 1, height, [&](std::int32_t, Rows rows) {
    for (std::int64_t y = rows.begin; y < rows.end; ++y) {
      std::memcpy(static_cast<std::byte*>(destination.data) + y * destination.row_bytes,
                  picture + static_cast<std::size_t>(y) * row_size, row_size);
    }
  });
}

}  // namespace pf
