#include "motion/Refine.h"

#include "iterate/ScratchLines.h"
#include "lifecycle/Globals.h"

namespace pf {
namespace {

// The outer rows of every band, as two rounds in turn leave them.
class OuterRows {
 public:
  OuterRows(Workspace& workspace, std::int32_t jobs, std::int32_t width, std::int32_t height)
      : bands_(BandCount(height)), line_(LineFloats(width)) {
    memory_ = workspace.Take<float>(2 * kLines * jobs * bands_ * line_);
  }

  enum Line { kFirstU, kFirstV, kLastU, kLastV, kLines };
  // Null where there is no such band.
  float* At(std::int32_t round, std::int32_t job, std::int32_t band, Line line) const {
    if (band < 0 || band >= bands_) return nullptr;
    return memory_ + ((std::int64_t{(round & 1) * kLines + line} + 2 * kLines * job) * bands_ + band) * line_ + kRim;
  }

 private:
  std::int32_t bands_;
  std::int64_t line_;
  float* memory_;
};

RefinePlanes NewPlanes(const RefineJob& job, Workspace& workspace) {
  const std::int32_t width = job.first.width, height = job.first.height;
  RefinePlanes planes;
  for (FloatPlane* plane : {&planes.mean, &planes.change, &planes.slope_x, &planes.slope_y}) {
    *plane = NewPlane(workspace, width, height);
  }
  planes.begin = NewFlow(workspace, width, height);
  planes.flow = job.flow;
  planes.trust = job.trust;
  return planes;
}

void KeepBegin(const RefinePlanes& planes, Rows rows) {
  const std::int32_t width = planes.mean.width;
  for (std::int32_t y = rows.begin; y < rows.end; ++y) {
    std::copy_n(planes.flow.u.Row(y) - 1, width + 2, planes.begin.u.Row(y) - 1);
    std::copy_n(planes.flow.v.Row(y) - 1, width + 2, planes.begin.v.Row(y) - 1);
  }
}

}  // namespace

void RefineFlows(std::span<const RefineJob> jobs, const RefineWeights& weights, std::int32_t rounds,
                 Workspace& workspace, const Interrupt& interrupt) {
  constexpr std::size_t kMostJobs = 2;
  const Workspace::Scope scope(workspace);
  const MotionKernels& kernels = *g_kernels.motion.load();
  const auto count = static_cast<std::int32_t>(jobs.size());
  const std::int32_t width = jobs[0].first.width, height = jobs[0].first.height;

  RefinePlanes planes[kMostJobs];
  for (std::size_t i = 0; i < jobs.size(); ++i) planes[i] = NewPlanes(jobs[i], workspace);
  const OuterRows outer(workspace, count, width, height);
  const std::int64_t scratch_size = RefineScratch(width) * std::int64_t{sizeof(float)};
  const std::int32_t lines = LinePool::Count();
  LinePool scratch(workspace.Take<std::byte>(scratch_size * lines), static_cast<std::uint64_t>(scratch_size), lines);

  const auto bands = [&](const auto& task) { ForBands(interrupt, count, height, task); };
  bands([&](std::int32_t i, Rows rows, std::int32_t band) {
    const RefineJob& job = jobs[static_cast<std::size_t>(i)];
    KeepBegin(planes[i], rows);
    kernels.meet(job.first, job.first_part, job.second, job.second_part, planes[i], rows);
    std::copy_n(job.flow.u.Row(rows.begin), width + 2, outer.At(0, i, band, OuterRows::kFirstU));
    std::copy_n(job.flow.v.Row(rows.begin), width + 2, outer.At(0, i, band, OuterRows::kFirstV));
    std::copy_n(job.flow.u.Row(rows.end - 1), width + 2, outer.At(0, i, band, OuterRows::kLastU));
    std::copy_n(job.flow.v.Row(rows.end - 1), width + 2, outer.At(0, i, band, OuterRows::kLastV));
  });
  bands([&](std::int32_t i, Rows rows, std::int32_t) { kernels.slopes(planes[i], rows); });
  for (std::int32_t round = 0; round < rounds; ++round) {
    bands([&](std::int32_t i, Rows rows, std::int32_t band) {
      const LinePool::Line line(scratch);
      const RefineBand job = {rows,
                              outer.At(round, i, band - 1, OuterRows::kLastU),
                              outer.At(round, i, band - 1, OuterRows::kLastV),
                              outer.At(round, i, band + 1, OuterRows::kFirstU),
                              outer.At(round, i, band + 1, OuterRows::kFirstV),
                              outer.At(round + 1, i, band, OuterRows::kFirstU),
                              outer.At(round + 1, i, band, OuterRows::kFirstV),
                              outer.At(round + 1, i, band, OuterRows::kLastU),
                              outer.At(round + 1, i, band, OuterRows::kLastV),
                              reinterpret_cast<float*>(line.data())};
      kernels.refine(planes[i], weights, job);
    });
  }
}

}  // namespace pf
