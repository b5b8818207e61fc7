#include "cor/Shaper.h"

#include <algorithm>
#include <cmath>

namespace pfhost {
namespace {

constexpr int kFullOf[] = {255, 32768};
// Places in an octave, as a power of two: errors of a common gamma are 0.1 of a 16-bit step, and 2 * 10^-6 in floats.
constexpr int kStepsForSixteen = 7;
constexpr int kStepsForFloat = 9;

// True when `out` is the inverse; false when there is none.
bool Invert(const double (&m)[9], double (&out)[9]) {
  const auto minor = [&](int a, int b, int c, int d) { return m[a] * m[d] - m[b] * m[c]; };
  const double adjugate[9] = {minor(4, 5, 7, 8), minor(2, 1, 8, 7), minor(1, 2, 4, 5),
                              minor(5, 3, 8, 6), minor(0, 2, 6, 8), minor(2, 0, 5, 3),
                              minor(3, 4, 6, 7), minor(1, 0, 7, 6), minor(0, 1, 3, 4)};
  const double determinant = m[0] * adjugate[0] + m[1] * adjugate[3] + m[2] * adjugate[6];
  if (!std::isfinite(1 / determinant)) return false;
  for (int i = 0; i < 9; ++i) out[i] = adjugate[i] / determinant;
  return true;
}

void Multiply(const double (&a)[9], const double (&b)[9], float (&out)[9]) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      double sum = 0;
      for (int k = 0; k < 3; ++k) sum += a[3 * row + k] * b[3 * k + column];
      out[3 * row + column] = static_cast<float>(sum);
    }
  }
}

template <class To>
To CodeOf(double v, int full) {
  return static_cast<To>((v > 0 ? std::min(v, 1.0) : 0.0) * full + 0.5);
}

}  // namespace

std::unique_ptr<Shaper> Shaper::Make(const COR_XCE_Profile& from, const COR_XCE_Profile& to) {
  CurvesAndMatrix source, destination;
  if (!ReadCurvesAndMatrix(from, &source) || !ReadCurvesAndMatrix(to, &destination)) return nullptr;
  double inverse[9];
  if (!Invert(destination.matrix, inverse)) return nullptr;
  std::unique_ptr<Shaper> made(new Shaper);
  Multiply(inverse, source.matrix, made->matrix_);
  made->same_matrix_ = std::equal(std::begin(source.matrix), std::end(source.matrix), destination.matrix);
  if (from.id == to.id) {
    // Everything stays what it is, to the bit.
    made->to_linear_.assign(3, Curve::Line());
    made->from_linear_ = made->to_linear_;
    return made;
  }
  for (const cmsToneCurve* curve : source.curves) made->to_linear_.push_back(Curve::Forward(*curve));
  for (const cmsToneCurve* curve : destination.curves) made->from_linear_.push_back(Curve::Inverse(*curve));
  return made;
}

bool Shaper::KeepsBlack() const {
  const auto keeps = [](const Curve& curve) { return curve(0) == 0; };
  return std::all_of(to_linear_.begin(), to_linear_.end(), keeps) &&
         std::all_of(from_linear_.begin(), from_linear_.end(), keeps);
}

double Shaper::Converted(int channel, double v) const {
  const auto i = static_cast<std::size_t>(channel);
  return from_linear_[i](to_linear_[i](v));
}

namespace {

auto SameCurves(const std::vector<Curve>& curves) {
  return [&curves](int i, int k) { return curves[static_cast<std::size_t>(i)] == curves[static_cast<std::size_t>(k)]; };
}

}  // namespace

const Shaper::Tables<Shaper::Light>& Shaper::LightOf(Tables<Light>& tables, int full) {
  return tables.Made(SameCurves(to_linear_), [&](int i) {
    Light light(static_cast<std::size_t>(full) + 1);
    for (std::size_t code = 0; code < light.size(); ++code) {
      light[code] = static_cast<float>(to_linear_[static_cast<std::size_t>(i)](static_cast<double>(code) / full));
    }
    return light;
  });
}

const Shaper::Tables<QuickCurve>& Shaper::Quick(Tables<QuickCurve>& tables, const std::vector<Curve>& curves, int steps,
                                                bool limited) {
  return tables.Made(SameCurves(curves),
                     [&](int i) { return QuickCurve(curves[static_cast<std::size_t>(i)], steps, limited); });
}

const Shaper::Tables<CodeCurve>& Shaper::Codes() {
  return to_eight_.Made(SameCurves(from_linear_),
                        [&](int i) { return CodeCurve(from_linear_[static_cast<std::size_t>(i)]); });
}

// One look-up for each channel.
template <class From, class To>
void Shaper::ApplyCodes(Tables<std::vector<To>>& tables, int from_full, int to_full, const void* source,
                        void* destination, std::uint64_t count) {
  tables.Made([&](int i, int k) { return SameCurves(to_linear_)(i, k) && SameCurves(from_linear_)(i, k); },
              [&](int i) {
                std::vector<To> codes(static_cast<std::size_t>(from_full) + 1);
                for (std::size_t code = 0; code < codes.size(); ++code) {
                  codes[code] = CodeOf<To>(Converted(i, static_cast<double>(code) / from_full), to_full);
                }
                return codes;
              });
  const To* red = tables[0].data();
  const To* green = tables[1].data();
  const To* blue = tables[2].data();
  const auto* in = static_cast<const From*>(source);
  auto* out = static_cast<To*>(destination);
  const auto index = [&](From v) { return std::min<unsigned>(v, static_cast<unsigned>(from_full)); };
  for (std::uint64_t i = 0; i < count; ++i, in += 4, out += 4) {
    out[1] = red[index(in[1])];
    out[2] = green[index(in[2])];
    out[3] = blue[index(in[3])];
  }
}

bool Shaper::ApplyCodes(LayoutIndex from, const void* source, LayoutIndex to, void* destination, std::uint64_t count) {
  if (from == kFloat || to == kFloat) return false;
  if (from == kEight && to == kEight) {
    ApplyCodes<std::uint8_t>(eight_to_eight_, 255, 255, source, destination, count);
  } else if (from == kEight) {
    ApplyCodes<std::uint8_t>(eight_to_sixteen_, 255, 32768, source, destination, count);
  } else if (to == kEight) {
    ApplyCodes<std::uint16_t>(sixteen_to_eight_, 32768, 255, source, destination, count);
  } else {
    ApplyCodes<std::uint16_t>(sixteen_to_sixteen_, 32768, 32768, source, destination, count);
  }
  return true;
}

template <class To, class Read, class From, class Store>
void Shaper::Run(Read read, const From* source, Store store, void* destination, std::uint64_t count) const {
  auto* out = static_cast<To*>(destination);
  const float m0 = matrix_[0], m1 = matrix_[1], m2 = matrix_[2], m3 = matrix_[3], m4 = matrix_[4], m5 = matrix_[5],
              m6 = matrix_[6], m7 = matrix_[7], m8 = matrix_[8];
  if (same_matrix_) {
    for (std::uint64_t i = 0; i < count; ++i, source += 4, out += 4) {
      for (int c = 0; c < 3; ++c) out[c + 1] = store(c, read(c, source[c + 1]));
    }
    return;
  }
  for (std::uint64_t i = 0; i < count; ++i, source += 4, out += 4) {
    const float r = read(0, source[1]), g = read(1, source[2]), b = read(2, source[3]);
    out[1] = store(0, m0 * r + m1 * g + m2 * b);
    out[2] = store(1, m3 * r + m4 * g + m5 * b);
    out[3] = store(2, m6 * r + m7 * g + m8 * b);
  }
}

template <class Read, class From>
void Shaper::Write(Read read, const From* source, LayoutIndex to, void* destination, std::uint64_t count, bool limit) {
  if (to == kEight) {
    const auto& curves = Codes();
    const CodeCurve* of[3] = {&curves[0], &curves[1], &curves[2]};
    Run<std::uint8_t>(
        read, source, [=](int c, float v) { return (*of[c])(v); }, destination, count);
  } else if (to == kSixteen) {
    const auto& curves = Quick(to_sixteen_, from_linear_, kStepsForSixteen, true);
    const QuickCurve* of[3] = {&curves[0], &curves[1], &curves[2]};
    const auto store = [=](int c, float v) {
      return static_cast<std::uint16_t>(Limited(of[c]->Limited(v)) * 32768.0f + 0.5f);
    };
    Run<std::uint16_t>(read, source, store, destination, count);
  } else {
    const auto& curves = Quick(to_float_, from_linear_, kStepsForFloat, false);
    const QuickCurve* of[3] = {&curves[0], &curves[1], &curves[2]};
    const auto store = [=](int c, float v) { return limit ? Limited((*of[c])(v)) : (*of[c])(v); };
    Run<float>(read, source, store, destination, count);
  }
}

void Shaper::Apply(LayoutIndex from, const void* source, LayoutIndex to, void* destination, std::uint64_t count,
                   bool limit) {
  if (same_matrix_ && ApplyCodes(from, source, to, destination, count)) return;
  if (from == kFloat) {
    const auto& curves = Quick(float_, to_linear_, kStepsForFloat, false);
    const QuickCurve* of[3] = {&curves[0], &curves[1], &curves[2]};
    const auto read = [=](int c, float v) { return (*of[c])(v); };
    return Write(read, static_cast<const float*>(source), to, destination, count, limit);
  }
  const auto& light = LightOf(from == kEight ? eight_ : sixteen_, kFullOf[from]);
  const float* of[3] = {light[0].data(), light[1].data(), light[2].data()};
  if (from == kEight) {
    const auto read = [=](int c, std::uint8_t v) { return of[c][v]; };
    return Write(read, static_cast<const std::uint8_t*>(source), to, destination, count, limit);
  }
  const auto read = [=](int c, std::uint16_t v) { return of[c][std::min<unsigned>(v, 32768)]; };
  Write(read, static_cast<const std::uint16_t*>(source), to, destination, count, limit);
}

}  // namespace pfhost
