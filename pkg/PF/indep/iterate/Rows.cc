#include "iterate/Rows.h"

namespace pf {

PF_Err CheckIterateArguments(bool acceptable) {
  return acceptable ? PF_Err_NONE : FailCaller(Site::kIterate, Message::kBadCallbackParameter);
}

PF_Err CheckIterateDepths(const PF_LayerDef* src, std::int32_t dst_depth) {
  if (src == nullptr || PFp_WorldDepth(src) == dst_depth) return PF_Err_NONE;
  return FailVerification("PF_Iterate requires source and dst worlds to be same depth", Site::kIterate);
}

PF_Err FailUnknownDepth() {
  return FailVerification("Unknown world bitdepth in##CONDITIONNAME", Site::kIterate);  // QUIRK-1
}

WideRect WorkingRectangle(const PF_LayerDef* src, const M_LRect* area, const M_LPoint& origin, const PF_LayerDef& dst) {
  WideRect both = {0, 0, dst.width, dst.height};
  if (src != nullptr) {
    both = {std::max<std::int64_t>(both.left, -std::int64_t{origin.h}),
            std::max<std::int64_t>(both.top, -std::int64_t{origin.v}),
            std::min<std::int64_t>(both.right, std::int64_t{src->width} - origin.h),
            std::min<std::int64_t>(both.bottom, std::int64_t{src->height} - origin.v)};
  }
  if (area == nullptr) return both;
  return {std::max<std::int64_t>(area->left, both.left), std::max<std::int64_t>(area->top, both.top),
          std::min<std::int64_t>(area->right, both.right), std::min<std::int64_t>(area->bottom, both.bottom)};
}

}  // namespace pf
