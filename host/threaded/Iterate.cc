// Iteration over pixels in bands of rows. Bad arguments go to the library's own routines, which report
// them once.
#include <algorithm>
#include <atomic>

#include "threaded/Install.h"
#include "threaded/Parts.h"
#include "threaded/Worlds.h"

namespace pfhost {
namespace {

// Least number of pixels worth a band: a caller's function may cost anything, a table costs little.
constexpr std::int64_t kFunctionBandPixels = 4096;
constexpr std::int64_t kTableBandPixels = 65536;

struct IterateJob {
  PF_InData* in;
  std::int32_t progress_base, progress_final;
  const PF_LayerDef* src;  // may be null
  const M_LRect* area;     // may be null
  M_LPoint origin;
  const PF_LayerDef* dst;
  std::int64_t band_pixels;
};

bool FitForThreads(const PF_LayerDef* src, const PF_LayerDef* dst) {
  if (!HasPixels(dst) || KnownDepth(*dst) == 0) return false;
  return src == nullptr || (src->data != nullptr && KnownDepth(*src) == KnownDepth(*dst));
}

// The pixels that the library's own routine would visit.
WideRect WorkingRectangle(const IterateJob& job) {
  WideRect rect = Clip(RectOrWorld(job.area, *job.dst), RectOrWorld(nullptr, *job.dst));
  if (job.src == nullptr) return rect;
  const std::int64_t h = job.origin.h;
  const std::int64_t v = job.origin.v;
  return Clip(rect, {-h, -v, job.src->width - h, job.src->height - v});
}

// Tells progress from the calling thread.
class RowProgress {
 public:
  RowProgress(const IterateJob& job, std::int64_t rows) : job_(job), rows_(rows) {}

  void Add(std::int64_t rows) { done_.fetch_add(rows, std::memory_order_relaxed); }
  // Between bands: only 517 counts.
  PF_Err TellSome() {
    const std::int64_t done = done_.load(std::memory_order_relaxed);
    if (done == told_ || done == rows_) return PF_Err_NONE;
    told_ = done;
    return Tell(done) == PF_Err_CANCELLED ? PF_Err_CANCELLED : PF_Err_NONE;
  }
  // At the end the answer is the result, whatever it is.
  PF_Err TellAll() const { return Tell(rows_); }

 private:
  PF_Err Tell(std::int64_t done) const {
    if (job_.progress_final == 0 || job_.in == nullptr || job_.in->progress == nullptr) return PF_Err_NONE;
    const auto current = static_cast<std::int32_t>(job_.progress_base + done);
    return job_.in->progress(job_.in->effect_ref, current, job_.progress_final);
  }

  const IterateJob& job_;
  const std::int64_t rows_;
  std::int64_t told_ = 0;
  std::atomic<std::int64_t> done_{0};
};

std::int64_t BandRows(const WideRect& rect, std::int64_t band_pixels) {
  return std::max<std::int64_t>(1, band_pixels / std::max<std::int64_t>(1, rect.Columns()));
}

// `run(area)` runs the library's own routine, without progress, on a part of the working rectangle.
template <class RunArea>
PF_Err IterateBands(const IterateJob& job, const WideRect& rect, RunArea run) {
  RowProgress progress(job, rect.Rows());
  const std::int64_t band_rows = BandRows(rect, job.band_pixels);
  const auto run_band = [&](std::int32_t, std::int64_t band) -> PF_Err {
    const std::int64_t top = rect.top + band * band_rows;
    const std::int64_t bottom = std::min(rect.bottom, top + band_rows);
    const M_LRect area = {static_cast<std::int32_t>(rect.left), static_cast<std::int32_t>(top),
                          static_cast<std::int32_t>(rect.right), static_cast<std::int32_t>(bottom)};
    const PF_Err error = run(area);
    if (error == PF_Err_NONE) progress.Add(bottom - top);
    return error;
  };
  const PF_Err error =
      RunParts((rect.Rows() + band_rows - 1) / band_rows, run_band, [&] { return progress.TellSome(); });
  return error != PF_Err_NONE ? error : progress.TellAll();
}

// `run(in, base, final, area)` runs the library's own routine.
template <class Run>
PF_Err IterateThreaded(const IterateJob& job, bool fit, Run run) {
  const WideRect rect = fit ? WorkingRectangle(job) : WideRect{};
  if (!fit || rect.Pixels() < 2 * job.band_pixels) {
    return run(job.in, job.progress_base, job.progress_final, job.area);
  }
  return IterateBands(job, rect, [&](const M_LRect& area) { return run(nullptr, 0, 0, &area); });
}

}  // namespace

PF_Err ThreadedIterate(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                       const M_LRect* area, void* reference, PF_IteratePixelFunc function, PF_LayerDef* dst) {
  const IterateJob job = {in, progress_base, progress_final, src, area, {0, 0}, dst, kFunctionBandPixels};
  const bool fit = function != nullptr && FitForThreads(src, dst);
  return IterateThreaded(job, fit, [&](PF_InData* record, std::int32_t base, std::int32_t final, const M_LRect* part) {
    return PF_Iterate_Static(record, base, final, src, part, reference, function, dst);
  });
}

PF_Err ThreadedIterateOrigin(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                             const M_LRect* area, const M_LPoint* origin, void* reference, PF_IteratePixelFunc function,
                             PF_LayerDef* dst) {
  const M_LPoint from = origin != nullptr ? *origin : M_LPoint{0, 0};
  const IterateJob job = {in, progress_base, progress_final, src, area, from, dst, kFunctionBandPixels};
  const bool fit = function != nullptr && src != nullptr && FitForThreads(src, dst);
  return IterateThreaded(job, fit, [&](PF_InData* record, std::int32_t base, std::int32_t final, const M_LRect* part) {
    return PF_IterateOrigin_Static(record, base, final, src, part, origin, reference, function, dst);
  });
}

PF_Err ThreadedIterateLUT(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                          const M_LRect* area, const std::uint8_t* alpha, const std::uint8_t* red,
                          const std::uint8_t* green, const std::uint8_t* blue, PF_LayerDef* dst) {
  const IterateJob job = {in, progress_base, progress_final, src, area, {0, 0}, dst, kTableBandPixels};
  return IterateThreaded(job, FitForThreads(src, dst),
                         [&](PF_InData* record, std::int32_t base, std::int32_t final, const M_LRect* part) {
                           return PF_IterateLUT_Static(record, base, final, src, part, alpha, red, green, blue, dst);
                         });
}

}  // namespace pfhost
