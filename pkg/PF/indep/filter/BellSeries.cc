#include "filter/BellSeries.h"

#include <cmath>

#include "filter/Bell.h"
#include "filter/Elementary.h"

namespace pf {
namespace {

// bell(x) = sum of a_t cos(t pi x / period) for x within 0..1, fitted by least squares with weights that even out the
// largest differences. The period of the whole is twice that, beyond the bell's end, so nothing forces a kink there.
struct Fit {
  double period;
  double a[kMaxTerms];
};
constexpr Fit kFits[] = {
    {1.36, {0.36301627844998618, 0.53260192293660957, 0.098036967927527072, 0.0063206406041627751}},
    {1.52,
     {0.31463509110730287, 0.53184937654001596, 0.1382433385623657, 0.014618618558263061, 0.00065008156024136648}},
    {1.62,
     {0.28890318758807831, 0.52659767071963626, 0.16077043981921502, 0.02229635949743243, 0.0013895416986952625,
      4.2782634411906145e-05}},
    {1.74,
     {0.26197258092861186, 0.51673347776718015, 0.18481801517367216, 0.033309566482098721, 0.0030248675611987191,
      0.00013815654218709902, 3.3333644134302687e-06}},
    {1.84,
     {0.24219182390841487, 0.50668261115587176, 0.20203630433748007, 0.043646725302731691, 0.005107129092171551,
      0.00032414660171920515, 1.1033732252231778e-05, 2.2586278045590573e-07}}};
constexpr int kFewestTerms = 4;

// The recurrence multiplies by 2 cos(f), rounded. Its own f is where that is exact: with any other, what a sample
// brought in is not what it takes away when it leaves, and large radii show it. 4 sin(f / 2)^2 is 2 - 2 cos(f), which
// is exact where f is small; one step of Newton's from the frequency that was wanted.
double FrequencyOf(double twice, double wanted) {
  const double sine = std::sqrt((2 - twice) / 4);
  const SineAndCosine half = SineAndCosineOf(wanted / 2);
  return wanted + 2 * (sine - half.sine) / half.cosine;
}

}  // namespace

BellSeries::BellSeries(double radius, int terms)
    : reach_(static_cast<std::int64_t>(std::ceil(radius))),
      block_(static_cast<std::uint64_t>(8 * terms * (reach_ + 1)), Message::kGaussianWeights) {
  const Fit& fit = kFits[terms - kFewestTerms];
  auto* cosine = reinterpret_cast<double*>(block_.data());
  constexpr double kPi = 3.14159265358979323846;
  const double unit = kPi / (fit.period * (radius + 1));
  double frequency[kMaxTerms];
  for (int t = 0; t < terms; ++t) {
    const double wanted = t * unit;
    terms_.twice[t] = 2 * SineAndCosineOf(wanted).cosine;
    frequency[t] = FrequencyOf(terms_.twice[t], wanted);
  }
  const auto value = [&](int t, std::int64_t i) {
    return fit.a[t] * SineAndCosineOf(frequency[t] * static_cast<double>(i)).cosine;
  };
  double sum = 0;
  for (int t = 0; t < terms; ++t) {
    double* row = cosine + t * (reach_ + 1);
    for (std::int64_t i = 0; i <= reach_; ++i) {
      row[i] = value(t, i);
      sum += i == 0 ? row[i] : 2 * row[i];
    }
  }
  for (std::int64_t i = 0; i < terms * (reach_ + 1); ++i) cosine[i] /= sum;
  terms_.terms = terms;
  terms_.cosine = cosine;
  for (int t = 0; t < terms; ++t) {
    terms_.entering[t] = value(t, reach_) / sum;
    terms_.leaving[t] = value(t, reach_ + 1) / sum;
  }
}

}  // namespace pf
