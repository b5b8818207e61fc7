// Exports: straight bilinear with bounds tested.
#include "sample/Bilinear.h"

namespace {

// QUIRK-8: four neighbours inside, at a position between pixels.
template <class P>
bool AllInside(const PF_SampPB& params, std::int64_t x, std::int64_t y) {
  const pf::Plane<P> src = pf::SourceOf<P>(params);
  const std::int64_t i = pf::WholePart(x), j = pf::WholePart(y);
  return !pf::Integral(x, y) && pf::Inside(src, i, j) && pf::Inside(src, i + 1, j + 1);
}

template <class P>
void SamplePlus(const PF_SampPB& params, std::int32_t x, std::int32_t y, std::uint8_t* all_inside, P* out) {
  *all_inside = AllInside<P>(params, x, y) ? 1 : 0;
  *out = pf::SampleStraight<P>(params, x, y);
}

}  // namespace

extern "C" {

PF_Err PF_SubpixelSample_Straight(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                  PF_Pixel8* out) {
  *out = pf::SampleStraight<PF_Pixel8>(*params, x, y);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSample_Straight16(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                    PF_Pixel16* out) {
  *out = pf::SampleStraight<PF_Pixel16>(*params, x, y);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelBilinearFloat(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                PF_PixelFloat* out) {
  *out = pf::SampleStraight<PF_PixelFloat>(*params, x, y);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSamplePlus_Straight(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                      std::uint8_t* all_inside, PF_Pixel8* out) {
  SamplePlus(*params, x, y, all_inside, out);
  return PF_Err_NONE;
}

PF_Err PF_SubpixelSamplePlus_Straight16(PF_ProgressInfo*, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                        std::uint8_t* all_inside, PF_Pixel16* out) {
  SamplePlus(*params, x, y, all_inside, out);
  return PF_Err_NONE;
}
}
