#include "PF/PF_ColorSpaces.h"
#include "colorspace/Calls.h"

namespace {

using pf::Colour;

// What brings a channel of P to the unit scale here.
template <class P>
constexpr double kUnit = 1 / pf::kFullScale<P>;
template <>
constexpr double kUnit<PF_Pixel8> = 0.003921569;

// Stored triples hold sums of rounded products.
std::int32_t FixedSum(double a, double b, double c) {
  return pf::LimitedFixed(std::int64_t{pf::FixedFrom(a)} + pf::FixedFrom(b) + pf::FixedFrom(c));
}

constexpr auto kYiqOf = []<class P>(const P& pixel) -> PF_YIQTriple {
  const Colour own = pf::ColourOf(pixel);
  const double r = own.red * kUnit<P>, g = own.green * kUnit<P>, b = own.blue * kUnit<P>;
  return {FixedSum(0.2989 * r, 0.5866 * g, 0.1144 * b), FixedSum(0.5959 * r, -0.2741 * g, -0.3218 * b),
          FixedSum(0.2113 * r, -0.5227 * g, 0.3113 * b)};
};

// QUIRK-37: not the exact inverse.
constexpr auto kColourOf = [](const PF_YIQTriple& yiq, double full) -> Colour {
  const double y = yiq.y / pf::kFixedOne * full, i = yiq.i / pf::kFixedOne * full, q = yiq.q / pf::kFixedOne * full;
  return {y + 0.9562 * i + 0.621 * q, y - 0.2717 * i - 0.6485 * q, y - 1.1053 * i + 1.702 * q};
};

}  // namespace

PF_Err PF_RGBtoYIQ_Premul(void*, const PF_Pixel8* pixel, PF_YIQTriple* yiq) {
  return pf::FromPremul(pixel, yiq, kYiqOf);
}
PF_Err PF_RGBtoYIQ_Straight(void*, const PF_Pixel8* pixel, PF_YIQTriple* yiq) {
  return pf::FromPixel(pixel, yiq, kYiqOf);
}
PF_Err PF_RGBtoYIQ_Straight16(void*, const PF_Pixel16* pixel, PF_YIQTriple* yiq) {
  return pf::FromPixel(pixel, yiq, kYiqOf);
}
PF_Err PF_RGBtoYIQ_StraightFloat(void*, const PF_PixelFloat* pixel, PF_YIQTriple* yiq) {
  return pf::FromPixel(pixel, yiq, kYiqOf);
}

PF_Err PF_YIQtoRGB_Premul(void*, const PF_YIQTriple* yiq, PF_Pixel8* pixel) {
  return pf::IntoPixel(yiq, pixel, kColourOf);
}
PF_Err PF_YIQtoRGB_Straight(void*, const PF_YIQTriple* yiq, PF_Pixel8* pixel) {
  return pf::IntoPixel(yiq, pixel, kColourOf);
}
PF_Err PF_YIQtoRGB_Straight16(void*, const PF_YIQTriple* yiq, PF_Pixel16* pixel) {
  return pf::IntoPixel(yiq, pixel, kColourOf);
}
PF_Err PF_YIQtoRGB_StraightFloat(void*, const PF_YIQTriple* yiq, PF_PixelFloat* pixel) {
  return pf::IntoPixel(yiq, pixel, kColourOf);
}
