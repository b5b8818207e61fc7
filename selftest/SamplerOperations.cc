#include "selftest/Depth.h"
#include "selftest/OperationTable.h"

namespace selftest {
namespace {

template <class P>
void AddPixel(Hash& hash, const P& p) {
  for (const auto channel : {p.alpha, p.red, p.green, p.blue}) hash.AddValue(channel);
}

constexpr int kSamples = 200;

// Anywhere around the picture, at whole and half positions at times.
std::int32_t AnyPosition(Random& random, std::int32_t size) {
  const std::int32_t at = Between32(random, -3 * 65536, (size + 3) * 65536);
  return random() % 4 == 0 ? at & ~0x7FFF : at;
}
// Where all four neighbours lie inside; sizes are at least 2.
std::int32_t InnerPosition(Random& random, std::int32_t size) {
  return static_cast<std::int32_t>(Between(random, 0, std::int64_t{size - 1} * 65536 - 1));
}

template <class P>
using Sampler = PF_Err (*)(PF_ProgressInfo*, std::int32_t, std::int32_t, const PF_SampPB*, P*);

template <class P>
void AddSampler(OperationTable& table, const char* name, Sampler<P> sample) {
  constexpr std::int32_t kDepth = DepthTraits<P>::kDepth;
  table.push_back({At(name, kDepth), kDepth, false, [=](Trial& run) {
                     Picture picture(run, kDepth, 30);
                     const auto reach = [&] { return Between32(run.random, 0, run.known() ? 300000 : 1200000); };
                     for (int i = 0; i < kSamples; ++i) {
                       const PF_SampPB params = {reach(), reach(), 65536, picture.record()};
                       P out = {};
                       const std::int32_t x = AnyPosition(run.random, picture.width());
                       const std::int32_t y = AnyPosition(run.random, picture.height());
                       run.results.AddValue(sample(nullptr, x, y, &params, &out));
                       AddPixel(run.results, out);
                     }
                     return PF_Err{PF_Err_NONE};
                   }});
}

// Forms that do not test: kSamples calls of sample(params, x, y, results) inside a picture.
template <class P, class Sample>
void AddUnchecked(OperationTable& table, const char* name, Sample sample) {
  constexpr std::int32_t kDepth = DepthTraits<P>::kDepth;
  table.push_back({At(name, kDepth), kDepth, false, [=](Trial& run) {
                     const std::int32_t width = AnySize(run, 9) + 1, height = AnySize(run, 30) + 1;
                     Picture picture(run, kDepth, width, height);
                     const PF_SampPB params = {0, 0, 65536, picture.record()};
                     for (int i = 0; i < kSamples; ++i) {
                       const std::int32_t x = InnerPosition(run.random, picture.width());
                       const std::int32_t y = InnerPosition(run.random, picture.height());
                       sample(params, x, y, run.results);
                     }
                     return PF_Err{PF_Err_NONE};
                   }});
}

template <class P, class Translate, class Span, class Plus>
void AddStraightForms(OperationTable& table, Sampler<P> no_clip, Translate translate, Span span, Plus plus) {
  AddUnchecked<P>(
      table, "bilinear, unchecked", [=](const PF_SampPB& params, std::int32_t x, std::int32_t y, Hash& results) {
        P out[3] = {};
        double weights[4] = {};
        std::uint8_t all_inside = 7;
        results.AddValue(no_clip(nullptr, x, y, &params, &out[0]));
        results.AddValue(
            PF_SubpixelSampleComputeWeight(static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y), weights));
        for (const double weight : weights) results.AddValue(weight);
        results.AddValue(translate(nullptr, x, y, weights, &params, &out[1]));
        results.AddValue(plus(nullptr, x - 65536, y, &params, &all_inside, &out[2]));
        results.AddValue(all_inside);
        for (const P& p : out) AddPixel(results, p);
      });
  AddUnchecked<P>(table, "bilinear span", [=](const PF_SampPB& params, std::int32_t x, std::int32_t y, Hash& results) {
    P out[8] = {};
    std::uint32_t alpha_sum = 5;
    const std::int32_t room = params.src->width - 1 - (x >> 16);
    results.AddValue(span(nullptr, room < 8 ? room : 8, x, y, &params, &alpha_sum, out));
    results.AddValue(alpha_sum);
    for (const P& p : out) AddPixel(results, p);
  });
}

void AddFours(OperationTable& table) {
  AddUnchecked<PF_Pixel8>(
      table, "four bilinear", [](const PF_SampPB& params, std::int32_t x, std::int32_t y, Hash& results) {
        const PF_SamplePoint points[4] = {{x, y}, {x / 2, y}, {x, y / 2}, {x / 3, y / 3}};
        PF_Pixel8 out[8] = {};
        double weights[4] = {};
        PF_SubpixelSampleComputeWeight(static_cast<std::uint16_t>(x), static_cast<std::uint16_t>(y), weights);
        results.AddValue(PF_SubpixelSampleNoClip_Straight_4(nullptr, points, &params, out));
        results.AddValue(PF_SubpixelSampleTranslateNoClip_Straight_4(nullptr, points, weights, &params, out + 4));
        for (const PF_Pixel8& p : out) AddPixel(results, p);
      });
}

}  // namespace

void AddSamplers(OperationTable& table) {
  AddSampler<PF_Pixel8>(table, "nearest sample", &PF_NNSample);
  AddSampler<PF_Pixel16>(table, "nearest sample", &PF_NNSample16);
  AddSampler<PF_PixelFloat>(table, "nearest sample", &PF_NNSampleFloat);
  AddSampler<PF_Pixel8>(table, "bilinear sample", &PF_SubpixelSample_Straight);
  AddSampler<PF_Pixel16>(table, "bilinear sample", &PF_SubpixelSample_Straight16);
  AddSampler<PF_PixelFloat>(table, "bilinear sample", &PF_SubpixelBilinearFloat);
  AddSampler<PF_Pixel8>(table, "premultiplied bilinear sample", &PF_SubpixelSample_Premul);
  AddSampler<PF_Pixel16>(table, "premultiplied bilinear sample", &PF_SubpixelSample_Premul16);
  AddSampler<PF_PixelFloat>(table, "premultiplied bilinear sample", &PF_SubpixelSample_PremulFloat);
  AddSampler<PF_Pixel8>(table, "area sample", &PF_AreaSample_Straight);
  AddSampler<PF_Pixel16>(table, "area sample", &PF_AreaSample_Straight16);
  AddSampler<PF_PixelFloat>(table, "area sample", &PF_AreaSample_StraightFloat);
  AddSampler<PF_Pixel8>(table, "premultiplied area sample", &PF_AreaSample_Premul);
  AddSampler<PF_Pixel16>(table, "premultiplied area sample", &PF_AreaSample_Premul16);
  AddSampler<PF_PixelFloat>(table, "premultiplied area sample", &PF_AreaSample_PremulFloat);
  AddSampler<PF_Pixel8>(table, "area sample by type", &PF_AreaSample_CPlusPlus<PF_Pixel8, 1>);
  AddSampler<PF_Pixel16>(table, "area sample by type", &PF_AreaSample_CPlusPlus<PF_Pixel16, 1>);
  AddSampler<PF_PixelFloat>(table, "area sample by type", &PF_AreaSample_CPlusPlus<PF_PixelFloat, 1>);
  AddSampler<PF_Pixel8>(table, "premultiplied area sample by type", &PF_AreaSample_CPlusPlus<PF_Pixel8, 0>);
  AddSampler<PF_Pixel16>(table, "premultiplied area sample by type", &PF_AreaSample_CPlusPlus<PF_Pixel16, 0>);
  AddSampler<PF_PixelFloat>(table, "premultiplied area sample by type", &PF_AreaSample_CPlusPlus<PF_PixelFloat, 0>);
  AddStraightForms<PF_Pixel8>(table, &PF_SubpixelSampleNoClip_Straight, &PF_SubpixelSampleTranslateNoClip_Straight,
                              &PF_SubpixelSpanSampleTranslateNoClip_Straight, &PF_SubpixelSamplePlus_Straight);
  AddStraightForms<PF_Pixel16>(table, &PF_SubpixelSampleNoClip_Straight16, &PF_SubpixelSampleTranslateNoClip_Straight16,
                               &PF_SubpixelSpanSampleTranslateNoClip_Straight16, &PF_SubpixelSamplePlus_Straight16);
  AddFours(table);
}

}  // namespace selftest
