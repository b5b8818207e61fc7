#include "PF/PF_Blend.h"

#include <algorithm>
#include <cstring>

#include "PF/PF_Worlds.h"
#include "blend/BlendKernels.h"
#include "edge/Guard.h"
#include "lifecycle/Globals.h"
#include "pixel/Depth.h"

namespace pf {
namespace {

// One text for both forms: hosts and logs match on it.
constexpr char kUnequalDepths[] = "PF_BlendPremul requires src1, src2 and dst worlds to be same depth";
constexpr char kUnknownDepth[] = "Unknown world bitdepth in##CONDITIONNAME";  // QUIRK-1
constexpr char kUnequalSizes[] = "PF_Blend requires width and height of all worlds to be the same";

struct FormSites {
  Site sources, destination;
};
constexpr FormSites kSites[] = {{Site::kBlendSizesPremul, Site::kBlendDestinationPremul},
                                {Site::kBlendSizesStraight, Site::kBlendDestinationStraight}};

bool SameSizes(const PF_LayerDef& a, const PF_LayerDef& b) { return a.width == b.width && a.height == b.height; }

const std::byte* Row(const PF_LayerDef& world, std::int64_t y) {
  return static_cast<const std::byte*>(world.data) + y * world.row_bytes;
}
std::byte* Row(PF_LayerDef& world, std::int64_t y) { return static_cast<std::byte*>(world.data) + y * world.row_bytes; }

// The destination may be the source.
void CopyRows(const PF_LayerDef& src, PF_LayerDef& dst, std::size_t pixel_size) {
  const std::size_t size = static_cast<std::size_t>(dst.width) * pixel_size;
  for (std::int64_t y = 0; y < dst.height; ++y) std::memmove(Row(dst, y), Row(src, y), size);
}

PF_Err Blend(BlendForm form, const PF_LayerDef* first, const PF_LayerDef* second, std::int32_t ratio,
             PF_LayerDef* dst) {
  if (first == nullptr || second == nullptr || dst == nullptr) {
    return FailCaller(Site::kBlend, Message::kBadCallbackParameter);
  }
  const std::int32_t depth = PFp_WorldDepth(first);
  if (PFp_WorldDepth(second) != depth || PFp_WorldDepth(dst) != depth) return FailVerification(kUnequalDepths);
  const int index = DepthIndex(depth);
  if (index < 0) return FailVerification(kUnknownDepth);
  if (first->data == nullptr || second->data == nullptr || dst->data == nullptr) {
    return FailCaller(Site::kBlend, Message::kBadCallbackParameter);
  }
  if (!SameSizes(*first, *second)) return FailVerification(kUnequalSizes, kSites[form].sources);
  if (!SameSizes(*first, *dst)) return FailVerification(kUnequalSizes, kSites[form].destination);
  if (dst->width <= 0 || dst->height <= 0) return PF_Err_NONE;

  if (ratio <= 0 || ratio >= 65536) {
    CopyRows(ratio <= 0 ? *first : *second, *dst, static_cast<std::size_t>(depth / 2));
    return PF_Err_NONE;
  }
  const auto mix = g_kernels.blend.load()->row[form][index];
  for (std::int64_t y = 0; y < dst->height; ++y) {
    mix(Row(*first, y), Row(*second, y), static_cast<std::uint32_t>(ratio), Row(*dst, y),
        static_cast<std::size_t>(dst->width));
  }
  return PF_Err_NONE;
}

}  // namespace
}  // namespace pf

PF_Err PF_Blend(void* effect_ref, const PF_LayerDef* first, const PF_LayerDef* second, std::int32_t ratio,
                PF_LayerDef* dst) {
  return PF_Blend_Straight(effect_ref, first, second, ratio, dst);
}

PF_Err PF_Blend_Premul(void*, const PF_LayerDef* first, const PF_LayerDef* second, std::int32_t ratio,
                       PF_LayerDef* dst) {
  return pf::Guard([&] { return pf::Blend(pf::kPremultipliedBlend, first, second, ratio, dst); });
}

PF_Err PF_Blend_Straight(void*, const PF_LayerDef* first, const PF_LayerDef* second, std::int32_t ratio,
                         PF_LayerDef* dst) {
  return pf::Guard([&] { return pf::Blend(pf::kStraightBlend, first, second, ratio, dst); });
}
