#include "PF/PF_ColorSpaces.h"
#include "colorspace/Calls.h"
#include "colorspace/Hue.h"

namespace {

using pf::Colour;

constexpr auto kHlsOf = []<class P>(const P& pixel) -> PF_HLSTriple {
  const Colour own = pf::ColourOf(pixel);
  constexpr double kFull = pf::kFullScale<P>;
  const Colour c = {own.red / kFull, own.green / kFull, own.blue / kFull};
  const pf::Extremes e(c);
  const double lightness = 0.5 * e.Sum();
  const double whole = lightness <= 0.5 ? e.Sum() : 2 - e.max - e.min;
  // Only colours outside the unit range get to a whole of 0.
  const double saturation = e.Grey() ? 0 : whole == 0 ? std::numeric_limits<double>::infinity() : e.Delta() / whole;
  return {pf::FixedFrom(pf::HueDegrees(c, e)), pf::FixedFrom(lightness), pf::FixedFrom(saturation)};
};

// The height of the trapezoid from m1 to m2 at `angle`.
double Ramp(double angle, double m1, double m2) {
  const double x = angle > 360 ? angle - 360 : angle < 0 ? angle + 360 : angle;
  if (x < 60) return m1 + (m2 - m1) * x / 60;
  if (x < 180) return m2;
  if (x < 240) return m1 + (m2 - m1) * (240 - x) / 60;
  return m1;
}

Colour UnitColour(const PF_HLSTriple& hls) {
  const double h = hls.hue / pf::kFixedOne, l = hls.lightness / pf::kFixedOne, s = hls.saturation / pf::kFixedOne;
  if (hls.saturation == 0) return {l, l, l};
  const double m2 = l <= 0.5 ? l * (1 + s) : l + s - l * s;
  const double m1 = 2 * l - m2;
  return {Ramp(h + 120, m1, m2), Ramp(h, m1, m2), Ramp(h - 120, m1, m2)};
}

constexpr auto kColourOf = [](const PF_HLSTriple& hls, double full) -> Colour {
  const Colour c = UnitColour(hls);
  return {c.red * full, c.green * full, c.blue * full};
};

}  // namespace

PF_Err PF_RGBtoHLS_Premul(void*, const PF_Pixel8* pixel, PF_HLSTriple* hls) {
  return pf::FromPremul(pixel, hls, kHlsOf);
}
PF_Err PF_RGBtoHLS_Straight(void*, const PF_Pixel8* pixel, PF_HLSTriple* hls) {
  return pf::FromPixel(pixel, hls, kHlsOf);
}
PF_Err PF_RGBtoHLS_Straight16(void*, const PF_Pixel16* pixel, PF_HLSTriple* hls) {
  return pf::FromPixel(pixel, hls, kHlsOf);
}
PF_Err PF_RGBtoHLS_StraightFloat(void*, const PF_PixelFloat* pixel, PF_HLSTriple* hls) {
  return pf::FromPixel(pixel, hls, kHlsOf);
}

PF_Err PF_HLStoRGB_Premul(void*, const PF_HLSTriple* hls, PF_Pixel8* pixel) {
  return pf::IntoPixel(hls, pixel, kColourOf);
}
PF_Err PF_HLStoRGB_Straight(void*, const PF_HLSTriple* hls, PF_Pixel8* pixel) {
  return pf::IntoPixel(hls, pixel, kColourOf);
}
PF_Err PF_HLStoRGB_Straight16(void*, const PF_HLSTriple* hls, PF_Pixel16* pixel) {
  return pf::IntoPixel(hls, pixel, kColourOf);
}
PF_Err PF_HLStoRGB_StraightFloat(void*, const PF_HLSTriple* hls, PF_PixelFloat* pixel) {
  return pf::IntoPixel(hls, pixel, kColourOf);
}
