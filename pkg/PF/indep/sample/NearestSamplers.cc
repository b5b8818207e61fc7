// Exports: nearest neighbour, and the bilinear weights.
#include "sample/Bilinear.h"

extern "C" {

PF_Err PF_SubpixelSampleComputeWeight(std::uint16_t fx, std::uint16_t fy, double weights[4]) {
  const pf::Weights<double> w = pf::WeightsOf<double>(fx, fy);
  weights[0] = w.w00;
  weights[1] = w.w10;
  weights[2] = w.w01;
  weights[3] = w.w11;
  return PF_Err_NONE;
}

PF_Err PF_NNSample(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params, PF_Pixel8* out) {
  *out = pf::SampleNearest<PF_Pixel8>(*params, x, y);
  return PF_Err_NONE;
}

PF_Err PF_NNSample16(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params, PF_Pixel16* out) {
  *out = pf::SampleNearest<PF_Pixel16>(*params, x, y);
  return PF_Err_NONE;
}

PF_Err PF_NNSampleFloat(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params, PF_PixelFloat* out) {
  *out = pf::SampleNearest<PF_PixelFloat>(*params, x, y);
  return PF_Err_NONE;
}
}
