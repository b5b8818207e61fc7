#include "synthesis/Fuse.h"

#include "lifecycle/Globals.h"

namespace pf {
namespace {

constexpr std::int32_t kReach = 2;  // of the mean over 5 x 5

// The same flow, looked at from beside. Its rim has to be repeated so far.
FlowPlanes Shifted(FlowPlanes flow, std::int32_t x, std::int32_t y) {
  flow.u.at += y * flow.u.stride + x;
  flow.v.at += y * flow.v.stride + x;
  return flow;
}

// Rows of planes that are as long as a band, under the frame's numbers.
class BandPlanes {
 public:
  static constexpr std::int32_t kRows = kMostBandRows + 2 * kReach;
  static std::int64_t Floats(std::int32_t width) {
    const std::int64_t wanted = (kRows + 1) * std::int64_t{width};
    return kRim + (2 * kRows + kMostBandRows + 1) * LineFloats(width) + (wanted + 63) / 64 * 16;
  }

  BandPlanes(float* memory, std::int32_t width, std::int32_t height, Rows rows)
      : stride_(LineFloats(width)), width_(width), height_(height), first_(std::max(rows.begin - kReach, 0)) {
    raw_ = memory + kRim;
    cost_ = raw_ + kRows * stride_;
    best_ = cost_ + kRows * stride_;
    line_ = best_ + kMostBandRows * stride_;
    around_ = {first_, std::min(rows.end + kReach, height)};
    begin_ = rows.begin;
    wanted_ = reinterpret_cast<std::uint8_t*>(line_ + stride_);
  }

  FloatPlane Raw() const { return {raw_ - first_ * stride_, stride_, width_, height_}; }
  FloatPlane Cost() const { return {cost_ - first_ * stride_, stride_, width_, height_}; }
  FloatPlane Best() const { return {best_ - begin_ * stride_, stride_, width_, height_}; }
  float* line() const { return line_; }
  // One for each pixel of the rows around, packed.
  std::uint8_t* wanted() const { return wanted_; }
  Rows around() const { return around_; }

 private:
  std::int64_t stride_;
  std::int32_t width_, height_, first_, begin_;
  Rows around_;
  float *raw_, *cost_, *best_, *line_;
  std::uint8_t* wanted_;
};

class BandFusion {
 public:
  BandFusion(const PairPictures& pictures, float time, const BandPlanes& planes, Rows rows, const FlowPlanes& out)
      : pictures_(pictures), time_(time), planes_(planes), rows_(rows), out_(out) {}

  // The joint motion is believed up to a small difference, more so where both frames show the place.
  void Begin(const FlowPlanes& flow, const FloatPlane& trust) {
    constexpr float kGain = 1 / 1.15f, kMargin = 1, kHiddenCounts = 0.2f;
    FindCost(flow, nullptr);
    for (std::int32_t y = rows_.begin; y < rows_.end; ++y) {
      const float *cost = planes_.Cost().Row(y), *trusted = trust.Row(y);
      float* best = planes_.Best().Row(y);
      for (std::int32_t x = 0; x < flow.u.width; ++x) {
        best[x] = std::max(0.0f, cost[x] * kGain - kMargin) * (1 - kHiddenCounts * (1 - trusted[x]));
      }
      std::copy_n(flow.u.Row(y), flow.u.width, out_.u.Row(y));
      std::copy_n(flow.v.Row(y), flow.u.width, out_.v.Row(y));
    }
    FindWanted();
  }

  void Try(const FlowPlanes& flow) {
    FindCost(flow, planes_.wanted());
    for (std::int32_t y = rows_.begin; y < rows_.end; ++y) {
      const float *cost = planes_.Cost().Row(y), *u = flow.u.Row(y), *v = flow.v.Row(y);
      float *best = planes_.Best().Row(y), *to_u = out_.u.Row(y), *to_v = out_.v.Row(y);
      for (std::int32_t x = 0; x < flow.u.width; ++x) {
        const bool better = cost[x] < best[x];
        best[x] = better ? cost[x] : best[x];
        to_u[x] = better ? u[x] : to_u[x];
        to_v[x] = better ? v[x] : to_v[x];
      }
    }
  }

 private:
  // No cost is below 0: only around pixels with more than that can anything be better.
  void FindWanted() const {
    const std::int32_t width = out_.u.width;
    const Rows around = planes_.around();
    std::uint8_t* const near = planes_.wanted() + std::int64_t{BandPlanes::kRows} * width;
    std::fill_n(planes_.wanted(), std::int64_t{around.end - around.begin} * width, std::uint8_t{0});
    for (std::int32_t y = rows_.begin; y < rows_.end; ++y) {
      float* best = planes_.Best().Row(y);
      FinishRow(best, width, kReach);
      for (std::int32_t x = 0; x < width; ++x) {
        const float most = std::max(std::max(best[x - 2], best[x - 1]), std::max(best[x + 1], best[x + 2]));
        near[x] = std::max(most, best[x]) > 0 ? 1 : 0;
      }
      for (std::int32_t row = std::max(y - kReach, 0); row <= std::min(y + kReach, around.end - 1); ++row) {
        std::uint8_t* const wanted = planes_.wanted() + std::int64_t{row - around.begin} * width;
        for (std::int32_t x = 0; x < width; ++x) wanted[x] |= near[x];
      }
    }
  }
  static_assert(kReach == 2);

  void FindCost(const FlowPlanes& flow, const std::uint8_t* wanted) const {
    const MotionKernels& kernels = *g_kernels.motion.load();
    const Meeting meeting = {pictures_.previous.half, pictures_.next.half, flow, time_, wanted};
    kernels.compare(meeting, planes_.Raw(), planes_.around());
    kernels.mean(planes_.Raw(), planes_.Cost(), rows_, planes_.line());
  }

  const PairPictures& pictures_;
  const float time_;
  const BandPlanes& planes_;
  const Rows rows_;
  const FlowPlanes& out_;
};

}  // namespace

SeenPlanes NewSeen(Workspace& workspace, std::int32_t width, std::int32_t height) {
  return {NewPlane(workspace, width, height), NewPlane(workspace, width, height), NewPlane(workspace, width, height)};
}

void FindSeen(const HiddenPlanes& hidden, const FlowPlanes& flow, float time, const SeenPlanes& seen,
              const Interrupt& interrupt) {
  const MotionKernels& kernels = *g_kernels.motion.load();
  ForBands(interrupt, 1, seen.trust.height, [&](std::int32_t, Rows rows) {
    kernels.seen(hidden.previous, hidden.next, flow, time, seen.previous, seen.next, seen.trust, rows);
  });
}

void Fuse(const PairPictures& pictures, const ProjectedFlows& flows, const FloatPlane& trust, float time,
          const FlowPlanes& out, Workspace& workspace, const Interrupt& interrupt) {
  constexpr std::int32_t kBeside = kProjectedRim;
  const Workspace::Scope scope(workspace);
  const std::int32_t width = trust.width, height = trust.height, bands = BandCount(height);
  const FlowPlanes chosen = NewFlow(workspace, width, height);
  float* const memory = workspace.Take<float>(bands * BandPlanes::Floats(width));
  ForBands(interrupt, 1, height, [&](std::int32_t, Rows rows, std::int32_t band) {
    const BandPlanes planes(memory + band * BandPlanes::Floats(width), width, height, rows);
    BandFusion fusion(pictures, time, planes, rows, chosen);
    fusion.Begin(flows.both, trust);
    fusion.Try(flows.previous);
    fusion.Try(flows.next);
    fusion.Try(Shifted(flows.both, kBeside, 0));
    fusion.Try(Shifted(flows.both, -kBeside, 0));
    fusion.Try(Shifted(flows.both, 0, kBeside));
    fusion.Try(Shifted(flows.both, 0, -kBeside));
    for (std::int32_t y = rows.begin; y < rows.end; ++y) {
      FinishRow(chosen.u.Row(y), width);
      FinishRow(chosen.v.Row(y), width);
    }
  });
  const MotionKernels& kernels = *g_kernels.motion.load();
  ForBands(interrupt, 1, height, [&](std::int32_t, Rows rows) {
    kernels.median(chosen.u, out.u, rows);
    kernels.median(chosen.v, out.v, rows);
  });
}

}  // namespace pf
