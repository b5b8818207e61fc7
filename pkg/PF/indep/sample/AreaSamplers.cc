// Exports: area sampling.
#include "sample/Area.h"

template <class P, int straight>
PF_Err PF_AreaSample_CPlusPlus(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params, P* out) {
  static_assert(straight == 0 || straight == 1);
  *out = pf::SampleArea<P, straight != 0>(*params, x, y);
  return PF_Err_NONE;
}

#define PF_AREA_SAMPLER(P, straight)                                                                     \
  template PF_Err PF_AreaSample_CPlusPlus<P, straight>(PF_ProgressInfo*, std::int32_t x, std::int32_t y, \
                                                       const PF_SampPB* params, P* out);
PF_AREA_SAMPLER(PF_Pixel8, 0)
PF_AREA_SAMPLER(PF_Pixel8, 1)
PF_AREA_SAMPLER(PF_Pixel16, 0)
PF_AREA_SAMPLER(PF_Pixel16, 1)
PF_AREA_SAMPLER(PF_PixelFloat, 0)
PF_AREA_SAMPLER(PF_PixelFloat, 1)
#undef PF_AREA_SAMPLER

extern "C" {

PF_Err PF_AreaSample_Straight(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                              PF_Pixel8* out) {
  return PF_AreaSample_CPlusPlus<PF_Pixel8, 1>(progress, x, y, params, out);
}

PF_Err PF_AreaSample_Straight16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                PF_Pixel16* out) {
  return PF_AreaSample_CPlusPlus<PF_Pixel16, 1>(progress, x, y, params, out);
}

PF_Err PF_AreaSample_StraightFloat(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                   PF_PixelFloat* out) {
  return PF_AreaSample_CPlusPlus<PF_PixelFloat, 1>(progress, x, y, params, out);
}

PF_Err PF_AreaSample_Premul(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                            PF_Pixel8* out) {
  return PF_AreaSample_CPlusPlus<PF_Pixel8, 0>(progress, x, y, params, out);
}

PF_Err PF_AreaSample_Premul16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                              PF_Pixel16* out) {
  return PF_AreaSample_CPlusPlus<PF_Pixel16, 0>(progress, x, y, params, out);
}

PF_Err PF_AreaSample_PremulFloat(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                 PF_PixelFloat* out) {
  return PF_AreaSample_CPlusPlus<PF_PixelFloat, 0>(progress, x, y, params, out);
}
}
