#include "cor/Gamma.h"

#include <cmath>
#include <vector>

#include "cor/Profile.h"

namespace pfhost {
namespace {

constexpr int kSteps = 256;
constexpr int kFirst = kSteps / 16;

// `curve` is asked for the steps 0 to kSteps.
template <class F>
double MeanExponent(F curve) {
  double sum = 0;
  int count = 0;
  for (int i = kFirst; i <= kSteps - kFirst; ++i) {
    const double y = curve(i);
    if (!(y > 0 && y < 1)) continue;
    sum += std::log(y) / std::log(double(i) / kSteps);
    ++count;
  }
  return count > 0 ? sum / count : 0;
}

}  // namespace

double GammaOfCurve(const cmsToneCurve& curve) {
  if (cmsIsToneCurveLinear(&curve)) return 1;
  constexpr cmsInt32Number kPurePower = 1;
  if (cmsGetToneCurveParametricType(&curve) == kPurePower) return *cmsGetToneCurveParams(&curve);
  return MeanExponent(
      [&](int i) { return double{cmsEvalToneCurveFloat(&curve, static_cast<cmsFloat32Number>(i) / kSteps)}; });
}

double GammaOfNeutrals(cmsHPROFILE profile) {
  std::vector<cmsFloat64Number> neutrals;
  for (int i = 0; i <= kSteps; ++i) neutrals.insert(neutrals.end(), 3, double(i) / kSteps);
  const std::vector<cmsCIEXYZ> xyz = ToXYZ(profile, neutrals);
  const double black = xyz.front().Y, range = xyz.back().Y - black;
  if (!(range > 0)) return 0;
  return MeanExponent([&](int i) { return (xyz[static_cast<std::size_t>(i)].Y - black) / range; });
}

}  // namespace pfhost
