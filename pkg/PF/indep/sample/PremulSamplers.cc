// Exports: premultiplied bilinear.
#include "sample/PremulBilinear.h"

extern "C" {

PF_Err PF_SubpixelSample_Premul(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                PF_Pixel8* out) {
  *out = pf::SamplePremul<PF_Pixel8>(*params, x, y);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSample_Premul16(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                  PF_Pixel16* out) {
  *out = pf::SamplePremul<PF_Pixel16>(*params, x, y);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSample_PremulFloat(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                     PF_PixelFloat* out) {
  *out = pf::SamplePremul<PF_PixelFloat>(*params, x, y);
  return PF_Err_NONE;
}
}
