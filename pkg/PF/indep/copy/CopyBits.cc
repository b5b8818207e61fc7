#include "copy/CopyBits.h"

#include "PF/PF_Worlds.h"
#include "copy/Rows.h"
#include "dispatch/Slot.h"
#include "edge/Guard.h"
#include "pixel/Depth.h"

namespace pf {
namespace {

// QUIRK-1: the text as hosts know it.
constexpr char kUnknownDepth[] = "Unknown world bitdepth in##CONDITIONNAME";
constexpr char kUnequalDepths[] = "PF_CopyBits_HQ_Straight_Static requires src and dst worlds to have same bit depth";

bool IsKind(PF_CopyKind kind) { return kind >= PF_CopyKind_DRAFT && kind <= PF_CopyKind_LO_STRAIGHT; }

bool IsHighQuality(PF_CopyKind kind) { return kind == PF_CopyKind_HQ_STRAIGHT || kind == PF_CopyKind_HQ_PREMUL; }

bool HasPixels(const PF_LayerDef* world) { return world != nullptr && world->data != nullptr; }

PF_Err CopyPrepared(PF_CopyKind kind, const CopyJob& job, bool samples) {
  if (samples) return CopySampled(job, kind == PF_CopyKind_HQ_STRAIGHT);
  const auto map = kind == PF_CopyKind_LO_STRAIGHT ? NearestSampleMap : DraftMap;
  return CopyNearest(job, map(job.area.x), map(job.area.y));
}

}  // namespace

PF_Err FailMissingWorld() { return FailVerification("scaled copy without a world or its pixels", Site::kCopyWorlds); }

PF_Err CopyBits(PF_CopyKind kind, const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                const M_LRect* src_rect, const M_LRect* dst_rect, Band band) {
  if (!HasPixels(src) || !HasPixels(dst)) return FailMissingWorld();
  const int from = DepthIndex(PFp_WorldDepth(src));
  const int to = DepthIndex(PFp_WorldDepth(dst));
  if (from < 0 || to < 0) return FailVerification(kUnknownDepth, Site::kCopyDepth);

  const Side from_side = SideOf(*src, src_rect);
  const Side to_side = SideOf(*dst, dst_rect);
  const bool samples = IsHighQuality(kind) && !SameExtents(from_side, to_side);
  if (samples && from != to) return FailVerification(kUnequalDepths, Site::kCopyDepth);

  const CopyArea area = PrepareArea(from_side, to_side);
  if (area.Empty()) return PF_Err_NONE;
  const Span rows = BandOf(area.y.dst_size, band.index, band.count);
  if (rows.Size() == 0) return PF_Err_NONE;
  return CopyPrepared(kind, {src, dst, from, to, area, rows, progress}, samples);
}

}  // namespace pf

namespace {

// The library's own copies: whole, on the calling thread.
PF_Err CopyWhole(PF_CopyKind kind, const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                 const M_LRect* src_rect, const M_LRect* dst_rect) {
  return pf::Guard([&] { return pf::CopyBits(kind, progress, src, dst, src_rect, dst_rect, pf::kWholeCopy); });
}

}  // namespace

PF_Err PF_CopyBits_Draft_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyWhole(PF_CopyKind_DRAFT, progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_CopyBits_HQ_Straight_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                      const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyWhole(PF_CopyKind_HQ_STRAIGHT, progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_CopyBits_HQ_Premul_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                    const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyWhole(PF_CopyKind_HQ_PREMUL, progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_CopyBits3_LO_Straight_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                       const M_LRect* src_rect, const M_LRect* dst_rect) {
  return CopyWhole(PF_CopyKind_LO_STRAIGHT, progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_CopyBits_Band(PF_CopyKind kind, const PF_LayerDef* src, PF_LayerDef* dst, const M_LRect* src_rect,
                        const M_LRect* dst_rect, std::int32_t band, std::int32_t bands) {
  if (!pf::IsKind(kind) || band < 0 || band >= bands) {
    pf::ReportCaller(pf::Site::kCopyWorlds, pf::Message::kInvalidParameter);
    return PF_Err_BAD_PARAMETER;
  }
  return pf::Guard([&] { return pf::CopyBits(kind, nullptr, src, dst, src_rect, dst_rect, {band, bands}); });
}

PF_Err PF_CopyBits_Draft(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                         const M_LRect* src_rect, const M_LRect* dst_rect) {
  return pf::Installed<&PF_CopyBits_Draft_Static>(progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_CopyBits_HQ_Straight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                               const M_LRect* src_rect, const M_LRect* dst_rect) {
  return pf::Installed<&PF_CopyBits_HQ_Straight_Static>(progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_CopyBits_HQ_Premul(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                             const M_LRect* src_rect, const M_LRect* dst_rect) {
  return pf::Installed<&PF_CopyBits_HQ_Premul_Static>(progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_CopyBits3_LO_Straight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                const M_LRect* src_rect, const M_LRect* dst_rect) {
  return pf::Installed<&PF_CopyBits3_LO_Straight_Static>(progress, src, dst, src_rect, dst_rect);
}
