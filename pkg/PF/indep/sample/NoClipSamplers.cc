// Exports: straight bilinear without bounds tests, one at a time, by spans and by fours.
#include "sample/NoClip.h"

namespace {

template <class P>
void SampleSpan(const PF_SampPB& params, std::int32_t count, std::int32_t x, std::int32_t y, std::uint32_t* alpha_sum,
                P* out, const char* name) {
  const auto w = pf::WeightsOf<pf::RealOf<P>>(pf::Fraction(x), pf::Fraction(y));
  for (std::int64_t k = 0; k < count; ++k) {
    out[k] = pf::SampleNoClip<P>(params, x + k * 65536, y, w, name);
    *alpha_sum += out[k].alpha;
  }
}

}  // namespace

extern "C" {

PF_Err PF_SubpixelSampleNoClip_Straight(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                        PF_Pixel8* out) {
  *out = pf::SampleNoClip<PF_Pixel8>(*params, x, y, __func__);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSampleNoClip_Straight16(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                          PF_Pixel16* out) {
  *out = pf::SampleNoClip<PF_Pixel16>(*params, x, y, __func__);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSampleTranslateNoClip_Straight(PF_ProgressInfo*, std::int32_t x, std::int32_t y,
                                                 const double weights[4], const PF_SampPB* params, PF_Pixel8* out) {
  *out = pf::SampleNoClip<PF_Pixel8>(*params, x, y, pf::GivenWeights<PF_Pixel8>(weights), __func__);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSampleTranslateNoClip_Straight16(PF_ProgressInfo*, std::int32_t x, std::int32_t y,
                                                   const double weights[4], const PF_SampPB* params, PF_Pixel16* out) {
  *out = pf::SampleNoClip<PF_Pixel16>(*params, x, y, pf::GivenWeights<PF_Pixel16>(weights), __func__);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSpanSampleTranslateNoClip_Straight(PF_ProgressInfo*, std::int32_t count, std::int32_t x,
                                                     std::int32_t y, const PF_SampPB* params, std::uint32_t* alpha_sum,
                                                     PF_Pixel8* out) {
  SampleSpan(*params, count, x, y, alpha_sum, out, __func__);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSpanSampleTranslateNoClip_Straight16(PF_ProgressInfo*, std::int32_t count, std::int32_t x,
                                                       std::int32_t y, const PF_SampPB* params,
                                                       std::uint32_t* alpha_sum, PF_Pixel16* out) {
  SampleSpan(*params, count, x, y, alpha_sum, out, __func__);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSampleNoClip_Straight_4(PF_ProgressInfo*, const PF_SamplePoint points[4], const PF_SampPB* params,
                                          PF_Pixel8 out[4]) {
  for (int k = 0; k < 4; ++k) out[k] = pf::SampleNoClip<PF_Pixel8>(*params, points[k].x, points[k].y, __func__);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSampleTranslateNoClip_Straight_4(PF_ProgressInfo*, const PF_SamplePoint points[4],
                                                   const double weights[4], const PF_SampPB* params, PF_Pixel8 out[4]) {
  const auto w = pf::GivenWeights<PF_Pixel8>(weights);
  for (int k = 0; k < 4; ++k) out[k] = pf::SampleNoClip<PF_Pixel8>(*params, points[k].x, points[k].y, w, __func__);
  return PF_Err_NONE;
}
}
