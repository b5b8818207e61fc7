#include "explain.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace pftool {
namespace {

constexpr std::array<double Quad::*, 4> kParts = {&Quad::a, &Quad::r, &Quad::g, &Quad::b};

bool ScalesColour(const ModeText& mode) { return mode.number == -3 || mode.number == 21; }
bool CopiesWhole(const ModeText& mode) {
  return mode.number == 0 || mode.number == 2 || mode.number == 22 || mode.number == 40;
}
int FormulaDepth(const ExplainCase& c) { return c.tables ? LinearDepth(c.depth) : c.depth; }

FormulaCase CaseOf(const ExplainCase& c, const Quad& source, const Quad& base) {
  const int depth = FormulaDepth(c);
  return {c.mode->number, depth, UnitOf(source, depth), UnitOf(base, depth), c.inside};
}

class Explainer {
 public:
  explicit Explainer(const ExplainCase& c) : c_(c) {}

  Explanation Run() {
    Row("layer, stored",
        !c_.inside   ? "the layer does not reach this pixel"
        : c_.covered ? ""
                     : "its mask does not reach this pixel",
        Layer(), c_.depth);
    Row("base, stored", "", c_.base, c_.depth);
    out_.stored_base = c_.base;
    Source();
    Light();
    Evaluate();
    Store();
    return std::move(out_);
  }

 private:
  Quad Layer() const { return c_.inside && c_.covered ? c_.layer : Quad{}; }
  void Row(const std::string& name, const std::string& formula, const Quad& stored, int depth,
           Parts parts = Parts::kPixel) {
    out_.rows.push_back({name, formula, UnitOf(stored, depth), parts, depth});
  }
  void Scaled(Quad* pixel, double by, int depth, bool colour) const {
    if (!colour) pixel->a = ScaledBy(pixel->a, by, depth);
    for (std::size_t i = 1; i < 4 && colour && ScalesColour(*c_.mode); ++i) {
      pixel->*kParts[i] = ScaledBy(pixel->*kParts[i], by, depth);
    }
  }
  // An opacity or coverage in the depth of linear light.
  double Widened(double by) const { return c_.tables ? ConvertedValue(by, c_.depth, LinearDepth(c_.depth)) : by; }

  // The source with its effective alpha.
  void Source() {
    Quad s = Layer();
    if (c_.layer_premultiplied) {
      s = Unmultiplied(s, c_.depth);
      Row("layer, straight", "c / a", s, c_.depth);
    }
    const double opacity = StoredOpacity(c_.opacity, c_.depth);
    const Parts parts = ScalesColour(*c_.mode) && !c_.tables ? Parts::kPixel : Parts::kOne;
    for (const bool of_mask : {false, true}) {
      if (of_mask && !c_.mask) continue;
      const double by = of_mask ? *c_.mask : opacity;
      Row(of_mask ? "mask" : "opacity", "", {by, 0, 0, 0}, c_.depth, Parts::kOne);
      for (const bool colour : {false, true}) {
        if (!colour || !c_.tables) Scaled(&s, by, c_.depth, colour);
      }
    }
    Row("a_s", parts == Parts::kPixel ? "s scaled by them" : "the layer's alpha scaled by them", s, c_.depth, parts);
    out_.stored_source = s;
  }

  void Light() {
    out_.source = out_.stored_source;
    out_.base = c_.base;
    if (!c_.tables) return;
    const int depth = LinearDepth(c_.depth);
    out_.source = ToLinear(out_.stored_source, c_.depth, *c_.tables);
    out_.base = ToLinear(c_.base, c_.depth, *c_.tables);
    Scaled(&out_.source, Widened(StoredOpacity(c_.opacity, c_.depth)), depth, true);
    if (c_.mask) Scaled(&out_.source, Widened(*c_.mask), depth, true);
    Row("layer, linear", "s", out_.source, depth);
    Row("base, linear", "d", out_.base, depth);
  }

  void Evaluate() {
    std::vector<Term> terms;
    out_.result = Formula(CaseOf(c_, out_.source, out_.base), &terms);
    for (const Term& term : terms) out_.rows.push_back({term.name, term.formula, term.value, term.parts, 0});
    const std::string how = out_.result.keeps    ? "the base stays as it is"
                            : out_.result.copies ? "the layer replaces it whole"
                                                 : ResultText(c_.mode->number) + ", neither rounded nor limited";
    out_.rows.push_back({"result", how, out_.result.value, Parts::kPixel, 0});
  }

  void Store() {
    if (out_.result.keeps || out_.result.copies) {
      out_.stored = out_.result.keeps ? c_.base : out_.stored_source;
    } else {
      const int depth = FormulaDepth(c_);
      const Quad rounded = RoundedTo(out_.result.value, depth);
      if (c_.depth != 32) Row(c_.tables ? "rounded, linear" : "rounded", "limited to 0..1", rounded, depth);
      out_.stored = rounded;
      for (std::size_t i = 0; c_.tables && i < 4; ++i) out_.stored.*kParts[i] = BackFrom(rounded, i);
    }
    Row("result, stored", "", out_.stored, c_.depth);
  }

  double BackFrom(const Quad& linear, std::size_t part) const {
    const double v = linear.*kParts[part];
    if (v == out_.base.*kParts[part]) return c_.base.*kParts[part];
    return part == 0 ? ConvertedValue(v, LinearDepth(c_.depth), c_.depth) : FromLinear(v, c_.depth, *c_.tables);
  }

  const ExplainCase& c_;
  Explanation out_;
};

// A range that grows.
struct Range {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  bool nan = false;
  void Take(double v) {
    nan = nan || std::isnan(v);
    low = std::min(low, v);
    high = std::max(high, v);
  }
  double DistanceOf(double v, double step) const {
    if (std::isnan(v)) return nan ? 0 : std::numeric_limits<double>::infinity();
    return v < low ? (low - v) / step : v > high ? (v - high) / step : 0;
  }
  // In steps of floats.
  double DistanceOf(double v) const { return DistanceOf(v, 1e-6 * std::max(1.0, std::abs(v))); }
};

double FloatSteps(const ExplainCase& c, const Explanation& e, const Quad& library) {
  constexpr double kTwoUlp = 0x1p-22;  // of single precision, relative
  std::array<Range, 4> ranges;
  const auto moved = [&](Quad p, int by) {
    for (std::size_t i = 1; i < 4; ++i) p.*kParts[i] *= 1 + by * kTwoUlp;
    return p;
  };
  for (int ms = -1; ms <= 1; ++ms) {
    for (int md = -1; md <= 1; ++md) {
      const Quad s = moved(e.source, ms), d = moved(e.base, md);
      const FormulaResult result = FormulaInSingle(CaseOf(c, s, d));
      for (std::size_t i = 0; i < 4; ++i) {
        const double v = result.value.*kParts[i];
        const bool linear = i > 0;
        ranges[i].Take(linear ? FromLinear(v, 32, *c.tables) : v);
        if (linear && v == d.*kParts[i]) ranges[i].Take(e.stored_base.*kParts[i]);
        if (linear && v == s.*kParts[i]) ranges[i].Take(e.stored_source.*kParts[i]);
      }
    }
  }
  double steps = 0;
  for (std::size_t i = 0; i < 4; ++i) steps = std::max(steps, ranges[i].DistanceOf(library.*kParts[i]));
  return steps;
}

// Linear steps until the stored values around the formula's reach the library's.
double LinearSteps(const ExplainCase& c, const Explanation& e, double library, std::size_t part) {
  constexpr int kFar = 1000;
  const double at = std::clamp(e.result.value.*kParts[part], 0.0, 1.0) * 32768;
  Range range;
  const auto take = [&](double linear) {
    linear = std::clamp(linear, 0.0, 32768.0);
    range.Take(part == 0 ? ConvertedValue(linear, 16, c.depth) : FromLinear(linear, c.depth, *c.tables));
    if (linear == e.base.*kParts[part]) range.Take(e.stored_base.*kParts[part]);
    if (CopiesWhole(*c.mode) && linear == e.source.*kParts[part]) range.Take(e.stored_source.*kParts[part]);
  };
  for (int k = 0; k < kFar; ++k) {
    take(std::floor(at) - k);
    take(std::ceil(at) + k);
    if (library >= range.low && library <= range.high) return k;
  }
  return kFar;
}

}  // namespace

Explanation Explain(const ExplainCase& c) { return Explainer(c).Run(); }

double StepsInStoredLight(const FormulaCase& c, const Quad& library) {
  const double full = FullOf(c.depth);
  const FormulaResult result = c.depth == 32 ? FormulaInSingle(c) : Formula(c, nullptr);
  const bool limited = c.depth != 32 && !result.keeps && !result.copies;
  double steps = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const double v = library.*kParts[i];
    double expected = result.value.*kParts[i] * full;
    if (limited) expected = std::clamp(expected, 0.0, full);
    Range range;
    range.Take(expected);
    steps = std::max(steps, c.depth == 32 ? range.DistanceOf(v) : range.DistanceOf(v, 1));
  }
  return steps;
}

double StepsFrom(const ExplainCase& c, const Explanation& e, const Quad& library) {
  if (!c.tables) return StepsInStoredLight(CaseOf(c, e.source, e.base), library);
  const bool whole = e.result.keeps || e.result.copies;
  if (c.depth == 32 && !whole) return FloatSteps(c, e, library);
  double steps = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const double v = library.*kParts[i], expected = e.stored.*kParts[i];
    if (v == expected || (std::isnan(v) && std::isnan(expected))) continue;
    const double step = c.depth == 32 ? 1e-6 : 1;
    steps = std::max(steps, whole ? std::abs(v - expected) / step : LinearSteps(c, e, v, i));
  }
  return steps;
}

}  // namespace pftool
