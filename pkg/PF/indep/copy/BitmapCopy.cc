// The copies between host bitmap worlds.
#include <algorithm>

#include "PF/PF_Worlds.h"
#include "copy/CopyBits.h"
#include "copy/Plan.h"
#include "copy/ReplicateKernels.h"
#include "dispatch/Slot.h"
#include "edge/Guard.h"
#include "lifecycle/Globals.h"

namespace pf {
namespace {

constexpr char kCannotFlip[] = "Flipping 32/16-bit worlds is not implemented. Source data 8-bit BGRA.";

struct Records {
  PF_LayerDef src, dst;
};

PF_Err Convert(BM_World** src, BM_World** dst, Records& records) {
  if (src == nullptr || dst == nullptr) return FailMissingWorld();
  if (const PF_Err error = PF_EffectWorldFromBMWorld(src, &records.src)) return error;
  return PF_EffectWorldFromBMWorld(dst, &records.dst);
}

// Converts both bitmap worlds and copies. `copy` has the type of PF_CopyBits_Draft.
template <class Copy>
PF_Err CopyBitmaps(Copy copy, BM_World** src, BM_World** dst, const M_LRect* src_rect, const M_LRect* dst_rect) {
  Records records;
  if (const PF_Err error = Convert(src, dst, records)) return error;
  return copy(nullptr, &records.src, &records.dst, src_rect, dst_rect);
}

bool Is32Wide(BM_World** world) { return (*world)->bits_per_pixel == 32; }

std::int32_t ChannelOrder(BM_World** world) { return Is32Wide(world) ? BM_GetChannelOrder(world) : 0; }

// QUIRK-19: the whole rectangle, also where the copy was clipped to less.
void ReverseChannels(const PF_LayerDef& world, const M_LRect* rect) {
  const Side side = SideOf(world, rect);
  const Span x = {std::max<std::int64_t>(side.x.low, 0), std::min(side.x.high, side.width)};
  const Span y = {std::max<std::int64_t>(side.y.low, 0), std::min(side.y.high, side.height)};
  if (x.Size() <= 0) return;
  const auto reverse = g_kernels.replicate.load()->reverse_bytes;
  auto* base = static_cast<std::byte*>(world.data) + x.low * static_cast<std::int64_t>(sizeof(PF_Pixel8));
  for (std::int64_t row = y.low; row < y.high; ++row) reverse(base + row * world.row_bytes, x.Size());
}

PF_Err RepairChannelOrder(BM_World** src, BM_World** dst, const PF_LayerDef& dst_record, const M_LRect* dst_rect) {
  if (ChannelOrder(src) == ChannelOrder(dst)) return PF_Err_NONE;
  if (!Is32Wide(dst)) {
    ReportText(Site::kChannelOrder, kCannotFlip);
    return PF_Err_NOT_IMPLEMENTED;
  }
  ReverseChannels(dst_record, dst_rect);
  return PF_Err_NONE;
}

template <class Copy>
PF_Err CopyAndRepair(Copy copy, BM_World** src, BM_World** dst, const M_LRect* src_rect, const M_LRect* dst_rect) {
  Records records;
  if (const PF_Err error = Convert(src, dst, records)) return error;
  if (const PF_Err error = copy(nullptr, &records.src, &records.dst, src_rect, dst_rect)) return error;
  if (PrepareArea(SideOf(records.src, src_rect), SideOf(records.dst, dst_rect)).Empty()) return PF_Err_NONE;
  return RepairChannelOrder(src, dst, records.dst, dst_rect);
}

}  // namespace
}  // namespace pf

PF_Err PF_WorldCopy(const PF_ProgressInfo*, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                    const M_LRect* dst_rect) {
  return pf::Guard([&] { return pf::CopyAndRepair(PF_CopyBits_Draft, src, dst, src_rect, dst_rect); });
}

PF_Err PF_WorldCopy_Static(const PF_ProgressInfo*, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                           const M_LRect* dst_rect) {
  return pf::Guard([&] { return pf::CopyAndRepair(PF_CopyBits_Draft_Static, src, dst, src_rect, dst_rect); });
}

PF_Err PF_WorldCopy_HQ_Straight(const PF_ProgressInfo*, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                                const M_LRect* dst_rect) {
  return pf::Guard([&] { return pf::CopyBitmaps(PF_CopyBits_HQ_Straight, src, dst, src_rect, dst_rect); });
}

PF_Err PF_WorldCopy_HQ_Straight_Static(const PF_ProgressInfo*, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                                       const M_LRect* dst_rect) {
  return pf::Guard([&] { return pf::CopyBitmaps(PF_CopyBits_HQ_Straight_Static, src, dst, src_rect, dst_rect); });
}

PF_Err PF_WorldCopy_HQ(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                       const M_LRect* dst_rect) {
  return PF_WorldCopy_HQ_Straight(progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_WorldCopy_HQ_Static(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                              const M_LRect* dst_rect) {
  return PF_WorldCopy_HQ_Straight_Static(progress, src, dst, src_rect, dst_rect);
}

PF_Err PF_WorldCopy_HQ_Premul(const PF_ProgressInfo*, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                              const M_LRect* dst_rect) {
  return pf::Guard([&] { return pf::CopyBitmaps(PF_CopyBits_HQ_Premul, src, dst, src_rect, dst_rect); });
}
