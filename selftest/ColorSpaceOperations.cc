#include "selftest/OperationTable.h"

namespace selftest {
namespace {

template <class T>
void AddResult(Hash& hash, const T& value) {
  hash.AddValue(value);
}
void AddResult(Hash& hash, const PF_HLSTriple& t) { hash.AddBytes(&t, sizeof t); }
void AddResult(Hash& hash, const PF_YIQTriple& t) { hash.AddBytes(&t, sizeof t); }

// What `functions` give for some pixels of a picture.
template <class P, class... Out>
void AddMeasures(Trial& run, PF_Err (*... functions)(void*, const P*, Out*)) {
  const Picture picture(run, static_cast<int>(2 * sizeof(P)));
  for (std::int32_t y = 0; y < picture.height(); ++y) {
    const auto add = [&](auto out, auto function) {
      run.results.AddValue(function(nullptr, &picture.At<P>(y % picture.width(), y), &out));
      AddResult(run.results, out);
    };
    (add(Out{}, functions), ...);
  }
}

// Some pixels of a picture painted with `functions` from random triples.
template <class P, class... Triple>
void AddPainted(Trial& run, PF_Err (*... functions)(void*, const Triple*, P*)) {
  Picture picture(run, static_cast<int>(2 * sizeof(P)));
  const auto any = [&] { return static_cast<std::int32_t>(Between(run.random, -40000, 80000)); };
  for (std::int32_t y = 0; y < picture.height(); ++y) {
    const auto paint = [&](const auto& triple, auto function) {
      run.results.AddValue(function(nullptr, &triple, &picture.At<P>(y % picture.width(), y)));
    };
    (paint(Triple{200 * any(), any(), any()}, functions), ...);
  }
  run.results.Add(picture);
}

}  // namespace

void AddColorSpaces(OperationTable& table) {
  table.push_back({"colour of single pixels", 0, false, [](Trial& run) {
                     AddMeasures(run, PF_RGBtoHLS_Premul, PF_RGBtoYIQ_Premul, PF_Luminance_Premul, PF_Hue_Premul,
                                 PF_Lightness_Premul, PF_Saturation_Premul);
                     AddMeasures(run, PF_RGBtoHLS_Straight, PF_RGBtoYIQ_Straight, PF_Luminance_Straight,
                                 PF_Hue_Straight, PF_Lightness_Straight, PF_Saturation_Straight);
                     AddMeasures(run, PF_RGBtoHLS_Straight16, PF_RGBtoYIQ_Straight16, PF_Luminance_Straight16,
                                 PF_Hue_Straight16, PF_Lightness_Straight16, PF_Saturation_Straight16);
                     AddMeasures(run, PF_RGBtoHLS_StraightFloat, PF_RGBtoYIQ_StraightFloat, PF_Luminance_StraightFloat,
                                 PF_Hue_StraightFloat, PF_Lightness_StraightFloat, PF_Saturation_StraightFloat);
                     AddPainted(run, PF_HLStoRGB_Premul, PF_YIQtoRGB_Premul);
                     AddPainted(run, PF_HLStoRGB_Straight, PF_YIQtoRGB_Straight);
                     AddPainted(run, PF_HLStoRGB_Straight16, PF_YIQtoRGB_Straight16);
                     AddPainted(run, PF_HLStoRGB_StraightFloat, PF_YIQtoRGB_StraightFloat);
                     run.results.AddBytes(PFp_G_fcd_table.data(), PFp_G_fcd_table.size());
                     run.results.AddBytes(PFp_G_fcm_table.data(), PFp_G_fcm_table.size());
                     return PF_Err{PF_Err_NONE};
                   }});
}

}  // namespace selftest
