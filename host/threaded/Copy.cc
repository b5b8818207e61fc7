// Scaled copies in bands of destination rows. The bands of one copy depend on its height alone.
#include <algorithm>
#include <atomic>

#include "threaded/Install.h"
#include "threaded/Parts.h"
#include "threaded/Worlds.h"

namespace pfhost {
namespace {

constexpr std::int64_t kBandRows = 64;
constexpr std::int64_t kLeastPixels = 65536;

using CopyFunc = PF_Err (*)(const PF_ProgressInfo*, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*);

struct CopyJob {
  PF_CopyKind kind;
  const PF_ProgressInfo* progress;
  const PF_LayerDef* src;
  PF_LayerDef* dst;
  const M_LRect* src_rect;
  const M_LRect* dst_rect;
};

bool IsHighQuality(PF_CopyKind kind) { return kind == PF_CopyKind_HQ_STRAIGHT || kind == PF_CopyKind_HQ_PREMUL; }

bool Scales(const CopyJob& job) {
  const WideRect from = RectOrWorld(job.src_rect, *job.src);
  const WideRect to = RectOrWorld(job.dst_rect, *job.dst);
  return from.right - from.left != to.right - to.left || from.bottom - from.top != to.bottom - to.top;
}

// What fails, and what is small, is the library's own routine's.
bool FitForThreads(const CopyJob& job) {
  if (!HasPixels(job.src) || !HasPixels(job.dst)) return false;
  const std::int32_t from = KnownDepth(*job.src);
  const std::int32_t to = KnownDepth(*job.dst);
  return from != 0 && to != 0 && (from == to || !IsHighQuality(job.kind) || !Scales(job));
}

// Asks whether to go on, from the calling thread.
class CopyPoll {
 public:
  CopyPoll(const CopyJob& job, std::int64_t rows)
      : progress_(job.progress), rows_(rows), before_rows_(IsHighQuality(job.kind) && Scales(job)) {}

  void Add(std::int64_t rows) { done_.fetch_add(rows, std::memory_order_relaxed); }
  PF_Err Ask() const {
    if (progress_ == nullptr) return PF_Err_NONE;
    return before_rows_ ? AskAbort() : AskAfterRows();
  }

 private:
  PF_Err AskAbort() const { return progress_->abort != nullptr ? progress_->abort(progress_->reference) : PF_Err_NONE; }

  PF_Err AskAfterRows() const {
    const std::int64_t done = done_.load(std::memory_order_relaxed);
    if (done == 0 || done >= rows_) return PF_Err_NONE;
    if (progress_->progress == nullptr) return AskAbort();
    return progress_->progress(progress_->reference, static_cast<std::int32_t>(done - 1),
                               static_cast<std::int32_t>(rows_));
  }

  const PF_ProgressInfo* progress_;
  const std::int64_t rows_;
  const bool before_rows_;
  std::atomic<std::int64_t> done_{0};
};

PF_Err CopyBands(const CopyJob& job, std::int64_t rows) {
  const std::int64_t bands = (rows + kBandRows - 1) / kBandRows;
  CopyPoll poll(job, rows);
  const auto copy_band = [&](std::int32_t, std::int64_t band) -> PF_Err {
    const PF_Err error = PF_CopyBits_Band(job.kind, job.src, job.dst, job.src_rect, job.dst_rect,
                                          static_cast<std::int32_t>(band), static_cast<std::int32_t>(bands));
    if (error == PF_Err_NONE) poll.Add(rows * (band + 1) / bands - rows * band / bands);
    return error;
  };
  return RunParts(bands, copy_band, [&] { return poll.Ask(); });
}

PF_Err CopyThreaded(const CopyJob& job, CopyFunc own) {
  const bool fit = FitForThreads(job);
  const WideRect area = fit ? Clip(RectOrWorld(job.dst_rect, *job.dst), RectOrWorld(nullptr, *job.dst)) : WideRect{};
  if (area.Pixels() < kLeastPixels) return own(job.progress, job.src, job.dst, job.src_rect, job.dst_rect);
  return CopyBands(job, area.Rows());
}

}  // namespace

PF_Err ThreadedCopyDraft(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                         const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyThreaded({PF_CopyKind_DRAFT, progress, src, dst, src_rect, dst_rect}, &PF_CopyBits_Draft_Static);
}

PF_Err ThreadedCopyHQStraight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                              const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyThreaded({PF_CopyKind_HQ_STRAIGHT, progress, src, dst, src_rect, dst_rect},
                      &PF_CopyBits_HQ_Straight_Static);
}

PF_Err ThreadedCopyHQPremul(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                            const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyThreaded({PF_CopyKind_HQ_PREMUL, progress, src, dst, src_rect, dst_rect}, &PF_CopyBits_HQ_Premul_Static);
}

PF_Err ThreadedCopyLOStraight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                              const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyThreaded({PF_CopyKind_LO_STRAIGHT, progress, src, dst, src_rect, dst_rect},
                      &PF_CopyBits3_LO_Straight_Static);
}

}  // namespace pfhost
