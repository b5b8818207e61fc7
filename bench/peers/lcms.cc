// Little CMS, its optimised transforms without the cache of the last pixel, on one thread.
#include <lcms2.h>

#include <memory>
#include <stdexcept>

#include "peers/Peers.h"

namespace pfbench {
namespace {

cmsHPROFILE DisplayP3() {
  const cmsCIExyY white = {0.3127, 0.3290, 1};
  const cmsCIExyYTRIPLE primaries = {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}};
  const cmsFloat64Number curve[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
  cmsToneCurve* tone = cmsBuildParametricToneCurve(nullptr, 4, curve);
  cmsToneCurve* tones[] = {tone, tone, tone};
  const cmsHPROFILE profile = cmsCreateRGBProfile(&white, &primaries, tones);
  cmsFreeToneCurve(tone);
  return profile;
}

void AddLcms(const Task& task, std::vector<Contender>& contenders) {
  if (task.work != Work::kColour) return;
  const cmsUInt32Number format = task.src.depth() == 8    ? TYPE_ARGB_8
                                 : task.src.depth() == 16 ? TYPE_ARGB_16
                                                          : TYPE_ARGB_FLT;
  const cmsHPROFILE from = cmsCreate_sRGBProfile(), to = DisplayP3();
  const std::shared_ptr<void> transform(
      cmsCreateTransform(from, format, to, format, INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE),
      &cmsDeleteTransform);
  cmsCloseProfile(from);
  cmsCloseProfile(to);
  if (transform == nullptr) throw std::runtime_error("Little CMS made no transform");
  const Picture* src = &task.src;
  contenders.push_back({"Little CMS", "", "16 bits: full value 65535",
                        [=, dst = std::make_shared<Picture>(task.dst.size(), task.dst.depth())] {
                          cmsDoTransform(transform.get(), src->row(0), dst->row(0),
                                         static_cast<cmsUInt32Number>(src->width() * src->height()));
                        }});
}

const PeerRegistration kRegistration({"Little CMS", std::to_string(LCMS_VERSION), &AddLcms});

}  // namespace
}  // namespace pfbench
