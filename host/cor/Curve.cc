#include "cor/Curve.h"

#include <algorithm>
#include <cmath>

namespace pfhost {
namespace {

bool IsFormula(const cmsToneCurve& curve) { return cmsGetToneCurveParametricType(&curve) != 0; }

std::vector<float> SamplesOf(const cmsToneCurve& curve) {
  const cmsUInt32Number count = cmsGetToneCurveEstimatedTableEntries(&curve);
  const cmsUInt16Number* table = cmsGetToneCurveEstimatedTable(&curve);
  std::vector<float> samples(table, table + count);
  for (float& sample : samples) sample /= 65535.0f;
  if (samples.empty()) Fail(XCE_ERR_BAD_PROFILE);
  return samples;
}

std::shared_ptr<const cmsToneCurve> Owned(cmsToneCurve* curve) {
  if (curve == nullptr) Fail(4);
  return {curve, [](cmsToneCurve* one) { cmsFreeToneCurve(one); }};
}

double Interpolated(const std::vector<float>& samples, double v) {
  const double place = (v > 0 ? std::min(v, 1.0) : 0.0) * static_cast<double>(samples.size() - 1);
  const auto i = std::min(static_cast<std::size_t>(place), samples.size() - 1);
  const double next = static_cast<double>(samples[std::min(i + 1, samples.size() - 1)]);
  const double here = static_cast<double>(samples[i]);
  return here + (next - here) * (place - static_cast<double>(i));
}

// Where samples that never fall reach v.
double PlaceOf(const std::vector<float>& samples, double v) {
  if (!(v > static_cast<double>(samples.front()))) return 0;
  const auto above = std::lower_bound(samples.begin(), samples.end(), static_cast<float>(v));
  if (above == samples.end()) return 1;
  const double high = static_cast<double>(*above);
  const auto index = static_cast<double>(above - samples.begin());
  if (above == samples.begin()) return 0;
  const double low = static_cast<double>(*(above - 1));
  const double place = index - 1 + (high > low ? std::clamp((v - low) / (high - low), 0.0, 1.0) : 1);
  return place / static_cast<double>(samples.size() - 1);
}

std::uint8_t CodeOf(double v) { return static_cast<std::uint8_t>((v > 0 ? std::min(v, 1.0) : 0.0) * 255 + 0.5); }

}  // namespace

Curve Curve::Line() {
  Curve made;
  made.formula_ = Owned(cmsBuildGamma(TheLcms(), 1));
  return made;
}

Curve Curve::Forward(const cmsToneCurve& curve) {
  Curve made;
  if (IsFormula(curve)) {
    made.formula_ = Owned(cmsDupToneCurve(&curve));
  } else {
    made.samples_ = SamplesOf(curve);
  }
  return made;
}

Curve Curve::Inverse(const cmsToneCurve& curve) {
  Curve made;
  if (IsFormula(curve)) {
    made.formula_ = Owned(cmsReverseToneCurve(&curve));
    return made;
  }
  made.samples_ = SamplesOf(curve);
  made.inverse_ = true;
  for (std::size_t i = 1; i < made.samples_.size(); ++i) {
    made.samples_[i] = std::max(made.samples_[i], made.samples_[i - 1]);
  }
  return made;
}

double Curve::operator()(double v) const {
  if (formula_ != nullptr) {
    return std::isfinite(v) ? static_cast<double>(cmsEvalToneCurveFloat(formula_.get(), static_cast<float>(v))) : v;
  }
  return inverse_ ? PlaceOf(samples_, v) : Interpolated(samples_, v);
}

bool Curve::operator==(const Curve& other) const {
  if (formula_ == nullptr || other.formula_ == nullptr) {
    return formula_ == other.formula_ && inverse_ == other.inverse_ && samples_ == other.samples_;
  }
  const cmsInt32Number type = cmsGetToneCurveParametricType(formula_.get());
  if (type == 0 || type != cmsGetToneCurveParametricType(other.formula_.get())) return false;
  // No parametric type of a profile has more than 7 parameters.
  const cmsFloat64Number* mine = cmsGetToneCurveParams(formula_.get());
  const cmsFloat64Number* others = cmsGetToneCurveParams(other.formula_.get());
  return std::equal(mine, mine + 7, others);
}

QuickCurve::QuickCurve(const Curve& curve, int steps, bool limited)
    : curve_(curve),
      shift_(23 - steps),
      mask_((1u << shift_) - 1),
      unit_(1.0f / static_cast<float>(1 << shift_)),
      at_zero_(static_cast<float>(curve(0))),
      positive_(Nodes(limited ? kOctavesBelow1 : kOctavesBelow1 + kOctavesAbove1, 1)) {
  if (!limited) negative_ = Nodes(kOctavesBelow1 + kOctavesAbove1, -1);
}

std::vector<float> QuickCurve::Nodes(int octaves, float sign) const {
  std::vector<float> nodes((static_cast<std::size_t>(octaves) << (23 - shift_)) + 1);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(kSmallest) + (static_cast<std::uint32_t>(i) << shift_);
    nodes[i] = static_cast<float>(curve_(static_cast<double>(sign * std::bit_cast<float>(bits))));
  }
  nodes.push_back(nodes.back());
  return nodes;
}

CodeCurve::CodeCurve(const Curve& curve) : table_((std::size_t{kOctaves} << 9) + 1) {
  for (std::size_t i = 0; i < table_.size(); ++i) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(kSmallest) + (static_cast<std::uint32_t>(i) << kShift);
    const std::uint32_t middle = i + 1 < table_.size() ? bits + (1u << (kShift - 1)) : bits;
    // What is not above the smallest counts as black.
    table_[i] = CodeOf(curve(i == 0 ? 0 : static_cast<double>(std::bit_cast<float>(middle))));
  }
}

}  // namespace pfhost
