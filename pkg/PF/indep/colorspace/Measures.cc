#include "PF/PF_ColorSpaces.h"
#include "colorspace/Calls.h"
#include "colorspace/Hue.h"

namespace {

using pf::Colour, pf::Extremes;

template <class P>
constexpr bool kFloatChannels = std::is_floating_point_v<pf::ChannelOf<P>>;

template <class P>
using MeasureOf = std::conditional_t<kFloatChannels<P>, float, std::uint32_t>;

// Integers are truncated. The bits of what is not a number would differ from machine to machine.
template <class P>
MeasureOf<P> Finished(double v) {
  if constexpr (kFloatChannels<P>) {
    return std::isnan(v) ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(v);
  } else {
    return static_cast<std::uint32_t>(v);
  }
}

constexpr auto kLuminanceOf = []<class P>(const P& pixel) {
  const Colour c = pf::ColourOf(pixel);
  return Finished<P>(30 * c.red + 59 * c.green + 11 * c.blue);
};

constexpr auto kHueOf = []<class P>(const P& pixel) {
  const Colour c = pf::ColourOf(pixel);
  const Extremes e(c);
  if constexpr (kFloatChannels<P>) {
    return Finished<P>(pf::HueDegrees(c, e) / 360);
  } else {
    return Finished<P>(pf::HueOfIntegers(c, e, pf::kFullScale<P>) + 0.5);
  }
};

constexpr auto kLightnessOf = []<class P>(const P& pixel) {
  return Finished<P>(Extremes(pf::ColourOf(pixel)).Sum() / 2);
};

// QUIRK-36: a product.
constexpr auto kSaturationOf = []<class P>(const P& pixel) {
  constexpr double kFull = pf::kFullScale<P>;
  const Extremes e(pf::ColourOf(pixel));
  if (e.Grey()) return MeasureOf<P>{0};
  // Both sides agree where sum is full, so it does not matter to which of them that belongs.
  const double v = e.Delta() * (e.Sum() < kFull ? e.Sum() : 2 * kFull - e.max - e.min) / kFull;
  if constexpr (kFloatChannels<P>) {
    return Finished<P>(v);
  } else {
    // Channels above full make it negative.
    return MeasureOf<P>{static_cast<pf::ChannelOf<P>>(static_cast<std::int64_t>(v))};
  }
};

}  // namespace

PF_Err PF_Luminance_Premul(void*, const PF_Pixel8* pixel, std::uint32_t* luminance) {
  return pf::FromPremul(pixel, luminance, kLuminanceOf);
}
PF_Err PF_Luminance_Straight(void*, const PF_Pixel8* pixel, std::uint32_t* luminance) {
  return pf::FromPixel(pixel, luminance, kLuminanceOf);
}
PF_Err PF_Luminance_Straight16(void*, const PF_Pixel16* pixel, std::uint32_t* luminance) {
  return pf::FromPixel(pixel, luminance, kLuminanceOf);
}
PF_Err PF_Luminance_StraightFloat(void*, const PF_PixelFloat* pixel, float* luminance) {
  return pf::FromPixel(pixel, luminance, kLuminanceOf);
}

PF_Err PF_Hue_Premul(void*, const PF_Pixel8* pixel, std::uint32_t* hue) { return pf::FromPremul(pixel, hue, kHueOf); }
PF_Err PF_Hue_Straight(void*, const PF_Pixel8* pixel, std::uint32_t* hue) { return pf::FromPixel(pixel, hue, kHueOf); }
PF_Err PF_Hue_Straight16(void*, const PF_Pixel16* pixel, std::uint32_t* hue) {
  return pf::FromPixel(pixel, hue, kHueOf);
}
PF_Err PF_Hue_StraightFloat(void*, const PF_PixelFloat* pixel, float* hue) { return pf::FromPixel(pixel, hue, kHueOf); }

PF_Err PF_Lightness_Premul(void*, const PF_Pixel8* pixel, std::uint32_t* lightness) {
  return pf::FromPremul(pixel, lightness, kLightnessOf);
}
PF_Err PF_Lightness_Straight(void*, const PF_Pixel8* pixel, std::uint32_t* lightness) {
  return pf::FromPixel(pixel, lightness, kLightnessOf);
}
PF_Err PF_Lightness_Straight16(void*, const PF_Pixel16* pixel, std::uint32_t* lightness) {
  return pf::FromPixel(pixel, lightness, kLightnessOf);
}
PF_Err PF_Lightness_StraightFloat(void*, const PF_PixelFloat* pixel, float* lightness) {
  return pf::FromPixel(pixel, lightness, kLightnessOf);
}

PF_Err PF_Saturation_Premul(void*, const PF_Pixel8* pixel, std::uint32_t* saturation) {
  return pf::FromPremul(pixel, saturation, kSaturationOf);
}
PF_Err PF_Saturation_Straight(void*, const PF_Pixel8* pixel, std::uint32_t* saturation) {
  return pf::FromPixel(pixel, saturation, kSaturationOf);
}
PF_Err PF_Saturation_Straight16(void*, const PF_Pixel16* pixel, std::uint32_t* saturation) {
  return pf::FromPixel(pixel, saturation, kSaturationOf);
}
PF_Err PF_Saturation_StraightFloat(void*, const PF_PixelFloat* pixel, float* saturation) {
  return pf::FromPixel(pixel, saturation, kSaturationOf);
}
