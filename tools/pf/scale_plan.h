/// \file
/// Which pixels of a picture a scaling reads, and how large its result is. Plain arithmetic.
#ifndef TOOLS_PF_SCALE_PLAN_H
#define TOOLS_PF_SCALE_PLAN_H

#include <optional>
#include <string>

#include "host/M.h"
#include "numbers.h"

namespace pftool {

/// What happens when the asked box has another aspect than the picture.
enum class Aspect {
  kStretch,  ///< the result has the size of the box
  kFit,      ///< the result keeps the picture's aspect and lies inside the box
  kFill      ///< the result has the size of the box and shows the picture's middle
};

struct ScaleRequest {
  std::optional<SizeText> size;   ///< this or percent
  std::optional<double> percent;  ///< of the source part
  std::optional<CropText> crop;   ///< part of the picture; all of it without
  Aspect aspect = Aspect::kStretch;
};

struct ScalePlan {
  M_LRect source;     ///< pixels that are read
  int width, height;  ///< of the result
};

/// \param width, height of the picture \param where the picture, quoted
/// \throws Failure (64) when the part lies outside the picture or the result is larger than 30000.
ScalePlan PlanScale(int width, int height, const ScaleRequest& request, const std::string& where);

}  // namespace pftool

#endif
