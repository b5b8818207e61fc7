#include "scale_plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "PF/PF_Types.h"
#include "failure.h"

namespace pftool {
namespace {

M_LRect SourceOf(int width, int height, const ScaleRequest& request, const std::string& where) {
  if (!request.crop) return {0, 0, width, height};
  const CropText& crop = *request.crop;
  if (crop.left + crop.width > width || crop.top + crop.height > height) {
    throw UsageFailure("cannot crop", where,
                       fmt::format("{} x {} pixels at {}, {} reach beyond its {} x {}", crop.width, crop.height,
                                   crop.left, crop.top, width, height),
                       "choose a part inside the picture");
  }
  return {crop.left, crop.top, crop.left + crop.width, crop.top + crop.height};
}

/// A side in whole pixels, at least 1. \throws Failure (64) above the limit.
int Side(double pixels, const char* name, const std::string& where) {
  const double rounded = std::max(1.0, std::floor(pixels + 0.5));
  if (rounded <= static_cast<int>(PF_MAX_WORLD_SIZE)) return static_cast<int>(rounded);
  throw UsageFailure("cannot scale", where,
                     fmt::format("its {} would be {:.0f} pixels and the limit is {}", name, rounded,
                                 static_cast<int>(PF_MAX_WORLD_SIZE)),
                     "ask for a smaller size");
}

/// Cuts `length` pixels at the middle out of [*first, *last).
void CutMiddle(int length, std::int32_t* first, std::int32_t* last) {
  *first += (*last - *first - length) / 2;
  *last = *first + length;
}

void CutToAspect(int width, int height, M_LRect* source) {
  const double sw = source->right - source->left, sh = source->bottom - source->top;
  if (sw * height > sh * width) {
    CutMiddle(std::max(1, static_cast<int>(std::floor(sh * width / height + 0.5))), &source->left, &source->right);
  } else {
    CutMiddle(std::max(1, static_cast<int>(std::floor(sw * height / width + 0.5))), &source->top, &source->bottom);
  }
}

}  // namespace

ScalePlan PlanScale(int width, int height, const ScaleRequest& request, const std::string& where) {
  ScalePlan plan = {SourceOf(width, height, request, where), 0, 0};
  const double sw = plan.source.right - plan.source.left, sh = plan.source.bottom - plan.source.top;
  double w = sw, h = sh;
  if (request.percent) {
    w = sw * *request.percent / 100;
    h = sh * *request.percent / 100;
  } else if (request.size) {
    w = request.size->width, h = request.size->height;
    const bool one_side = w == 0 || h == 0;
    if (one_side || request.aspect == Aspect::kFit) {
      const double by_width = w > 0 ? w / sw : INFINITY, by_height = h > 0 ? h / sh : INFINITY;
      w = sw * std::min(by_width, by_height);
      h = sh * std::min(by_width, by_height);
    }
  }
  plan.width = Side(w, "width", where);
  plan.height = Side(h, "height", where);
  if (request.aspect == Aspect::kFill) CutToAspect(plan.width, plan.height, &plan.source);
  return plan;
}

}  // namespace pftool
