#include "formulas.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <type_traits>

#include "modes.h"

namespace pftool {
namespace {

bool IsOnNeutral(int mode) { return (mode >= 4 && mode <= 12) || (mode >= 23 && mode <= 25); }
bool IsOverlapping(int mode) { return (mode >= 26 && mode <= 34) || mode == 37 || mode == 38; }
bool IsOfColours(int mode) { return (mode >= 13 && mode <= 16) || mode == 35 || mode == 36; }
double NeutralOf(int mode) {
  const bool white = mode == 5 || mode == 10 || mode == 24, grey = mode >= 7 && mode <= 9;
  return white ? 1 : grey ? 0.5 : 0;
}

// The formula of B without the family's name.
std::string BlendText(int mode) {
  const std::string text = ModeOf(mode).formula;
  const std::size_t colon = text.find(": ");
  return colon == std::string::npos ? text : text.substr(colon + 2);
}

template <class R>
bool IsTiny(R v) {
  return std::abs(v) < R(FLT_MIN);
}
template <class R>
R Least(R a, R b) {
  return a < b ? a : b;
}
template <class R>
R Most(R a, R b) {
  return a > b ? a : b;
}

template <class R>
R SoftLight(R s, R b) {
  const R t = R(2) * s - R(1), root = std::sqrt(Most(b, R(0)));
  const R lightened = b <= R(0.25) ? ((R(16) * b - R(12)) * b + R(4)) * b : root;
  const R mixed = b + t * (t <= R(0) ? b - b * b : lightened - b);
  return Least(Most(mixed, R(0)), R(1));
}
template <class R>
R Dodge(R s, R b) {
  const R rest = R(1) - s;
  return rest == R(0) || b >= rest ? R(1) : b / rest;
}
template <class R>
R DodgeB(R s, R d) {
  return d == R(0) ? R(0) : Dodge(s, d);
}
template <class R>
R BurnB(R s, R d) {
  if (s == R(0)) return d >= R(1) ? R(1) : R(0);
  return R(1) - Least(R(1), (R(1) - d) / s);
}
float HardMix(float s, float d) {
  const float t = (1.0f - s) * 0.99999f, e = d - t;
  return t >= d ? 0.0f : e >= 1.001358e-05f ? 1.0f : e / 1.001358e-05f;
}

// B(c_s, b) or B(c_s, c_d).
template <class R>
R Blend(int mode, R s, R b) {
  switch (mode) {
    case 4:
    case 29:
      return s + b;
    case 5:
      return s * b;
    case 6:
      return R(1) - (R(1) - s) * (R(1) - b);
    case 7:
      return b < R(0.5) ? R(2) * s * b : R(1) - R(2) * (R(1) - b) * (R(1) - s);
    case 8:
      return SoftLight(s, b);
    case 9:
      return s >= R(0.5) ? b + (R(2) * s - R(1)) * (R(1) - b) : b * R(2) * s;
    case 10:
      return Least(s, b);
    case 11:
      return Most(s, b);
    case 12:
    case 26:
      return std::abs(b - s);
    case 23:
      return Dodge(s, b);
    case 24:
      return IsTiny(s) ? R(0) : R(1) - (R(1) - b) / s;
    case 25:
      return s + b - R(2) * s * b;
    case 27:
      return DodgeB(s, b);
    case 28:
      return BurnB(s, b);
    case 30:
      return Most(R(0), s + b - R(1));
    case 31:
      return b + R(2) * s - R(1);
    case 32:
      return s <= R(0.5) ? BurnB(R(2) * s, b) : DodgeB(R(2) * s - R(1), b);
    case 33:
      return s < R(0.5) ? Least(R(2) * s, b) : s > R(0.5) ? Most(R(2) * (s - R(0.5)), b) : b;
    case 34:
      return R(HardMix(static_cast<float>(s), static_cast<float>(b)));
    case 37:
      return b - s;
    case 38:
      return s == R(0) ? (b == R(0) ? R(0) : R(1)) : b / std::abs(s);
    default:
      return R(0);
  }
}

// A function of one channel for the three colours.
template <class R, class F>
QuadOf<R> EachColour(R alpha, const QuadOf<R>& s, const QuadOf<R>& d, F f) {
  return {alpha, f(s.r, d.r), f(s.g, d.g), f(s.b, d.b)};
}
template <class R, class F>
QuadOf<R> EachColour(const QuadOf<R>& p, F f) {
  return {p.a, f(p.r), f(p.g), f(p.b)};
}

// One evaluation. R is double, long double where whole numbers outgrow it, or float.
template <class R>
class Evaluation {
 public:
  static constexpr bool kSingle = std::is_same_v<R, float>;
  using Q = QuadOf<R>;

  Evaluation(const FormulaCase& c, std::vector<Term>* terms)
      : mode_(c.mode), depth_(c.depth), s_(Of(c.s)), d_(Of(c.d)), in_rect_(c.in_rect), terms_(terms) {
    // Its ramp is so steep that 8 bits must be the very single-precision numbers that they convert to.
    const auto single = [](R v) { return R(static_cast<float>(std::round(v * R(255))) * (1.0f / 255)); };
    if (mode_ != 34 || depth_ != 8) return;
    s_ = EachColour(s_, single);
    d_ = EachColour(d_, single);
  }

  FormulaResult Run() {
    const bool matte = in_rect_ && (mode_ == -2 || mode_ == 17 || mode_ == 18);
    if (mode_ == 3 || (s_.a == R(0) && !matte)) return {Plain(d_), true, false};
    if (Copies()) return {Plain(s_), false, true};
    return {Plain(Value()), false, false};
  }

 private:
  static Q Of(const Quad& p) { return {R(p.a), R(p.r), R(p.g), R(p.b)}; }
  static Quad Plain(const Q& p) {
    const auto plain = [](R v) { return static_cast<double>(v); };
    return {plain(p.a), plain(p.r), plain(p.g), plain(p.b)};
  }
  // `formula` makes a text, only when it is asked for.
  template <class F>
  void Tell(const char* name, const Q& value, Parts parts, F formula) {
    if (terms_) terms_->push_back({name, formula(), Plain(value), parts});
  }
  template <class F>
  void Tell(const char* name, R value, F formula) {
    Tell(name, {value, 0, 0, 0}, Parts::kOne, formula);
  }

  bool Copies() const {
    if (mode_ == 2) return s_.a == R(1) || d_.a == R(0);
    if (mode_ == 40) return !(d_.r == R(0)) && !(d_.b == R(0));
    return mode_ == 0 || (mode_ == 22 && s_.a == R(1));
  }

  static R Guarded(R v, R divisor) { return IsTiny(divisor) ? R(1) : v / divisor; }
  R Union() {
    const R alpha = R(1) - (R(1) - s_.a) * (R(1) - d_.a);
    Tell("a_r", alpha, [] { return "1 - (1 - a_s) (1 - a_d)"; });
    return alpha;
  }

  Q Value() {
    if (mode_ < 0) return Premultiplied();
    if (IsOnNeutral(mode_)) return OnNeutral();
    if (IsOverlapping(mode_)) return Overlapping();
    if (IsOfColours(mode_)) return OfColours();
    if (mode_ >= 17 && mode_ <= 20) return OfAlpha();
    if (mode_ == 1) return Behind(Union());
    if (mode_ == 2) return Over(Union());
    if (mode_ == 21) return PremulOver(Union());
    if (mode_ == 22) return AlphaAdd();
    if (mode_ == 39 && s_.a >= R(0.5)) return {R(1), d_.r, d_.g, s_.b};
    return d_;
  }

  Q Premultiplied() {
    const R shown = R(1) - s_.a;
    if (mode_ == -2) return {d_.a * s_.a, d_.r * s_.a, d_.g * s_.a, d_.b * s_.a};
    Tell("1 - a_s", shown, [] { return ""; });
    return {s_.a + d_.a * shown, s_.r + d_.r * shown, s_.g + d_.g * shown, s_.b + d_.b * shown};
  }

  Q Behind(R alpha) const {
    const auto channel = [&](R cs, R cd) {
      const R below = cs * s_.a;
      return d_.a == R(1) ? cd : Guarded(below + (cd - below) * d_.a, alpha);
    };
    return EachColour(d_.a == R(1) ? R(1) : alpha, s_, d_, channel);
  }
  Q Over(R alpha) const {
    return EachColour(alpha, s_, d_, [&](R cs, R cd) {
      const R below = cd * d_.a;
      return Guarded(below + (cs - below) * s_.a, alpha);
    });
  }
  Q PremulOver(R alpha) const {
    return EachColour(alpha, s_, d_, [&](R cs, R cd) { return Guarded(cd * d_.a * (R(1) - s_.a) + cs, alpha); });
  }
  Q AlphaAdd() {
    const R t = s_.a + d_.a;
    Tell("t", t, [] { return "a_s + a_d"; });
    return EachColour(t >= R(1) ? R(1) : t, s_, d_, [&](R cs, R cd) {
      return t >= R(1) ? cd * (R(1) - s_.a) + cs * s_.a : Guarded(cd * d_.a + cs * s_.a, t);
    });
  }

  // Backgrounds and mixes are kept as distances from neutral, where small alphas lose nothing.
  Q OnNeutral() {
    const R n = R(NeutralOf(mode_)), alpha = Union();
    const Q offset = EachColour(d_, [&](R cd) { return (cd - n) * d_.a; });
    const Q b = EachColour(R(0), offset, d_, [&](R away, R cd) { return d_.a == R(1) && n != R(0) ? cd : n + away; });
    Tell("b", b, Parts::kColours, [&] {
      return n == R(0) ? "c_d a_d" : n == R(1) ? "1 + (c_d - 1) a_d" : "1/2 + (c_d - 1/2) a_d";
    });
    const Q blend = EachColour(R(0), s_, b, [&](R cs, R cb) { return Blend(mode_, cs, cb); });
    Tell("B", blend, Parts::kColours, [&] { return BlendText(mode_); });
    const auto change = [&](R to, R from) { return to - from; };
    const Q lift = EachColour(R(0), blend, b, change);
    const Q mix = EachColour(R(0), offset, lift, [&](R away, R by) { return away + s_.a * by; });
    Tell("m", EachColour(mix, [&](R away) { return n + away; }), Parts::kColours, [] { return "b + a_s (B - b)"; });
    const auto off = [&](R away, R whole) {
      if (s_.a == R(1)) return whole;
      return n == R(1) ? R(1) - Guarded(-away, alpha) : n + Guarded(away, alpha);
    };
    return EachColour(s_.a == R(1) ? R(1) : alpha, mix, blend, off);
  }

  Q Overlapping() {
    const R alpha = Union();
    const R only_s = s_.a * (R(1) - d_.a), only_d = d_.a * (R(1) - s_.a), both = s_.a * d_.a;
    const Q blend = EachColour(R(0), s_, d_, [&](R cs, R cd) { return Blend(mode_, cs, cd); });
    Tell("B", blend, Parts::kColours, [&] { return BlendText(mode_); });
    Tell("only s", only_s, [] { return "a_s (1 - a_d)"; });
    Tell("only d", only_d, [] { return "a_d (1 - a_s)"; });
    Tell("both", both, [] { return "a_s a_d"; });
    const auto channel = [&](R cs, R cd, R b) {
      return s_.a == R(1) ? cs + (b - cs) * d_.a : Guarded(only_s * cs + only_d * cd + both * b, alpha);
    };
    return {s_.a == R(1) ? R(1) : alpha, channel(s_.r, d_.r, blend.r), channel(s_.g, d_.g, blend.g),
            channel(s_.b, d_.b, blend.b)};
  }

  Q OfAlpha() {
    const R luminance = mode_ == 18 || mode_ == 20 ? Luminance(s_) : R(1);
    if (mode_ == 18 || mode_ == 20) {
      Tell("L(s)", luminance, [] { return "0.299 R + 0.587 G + 0.114 B"; });
    }
    const R part = mode_ == 17 || mode_ == 19 ? s_.a : luminance * s_.a;
    const R alpha = d_.a * (mode_ <= 18 ? part : R(1) - part);
    return {(mode_ == 18 || mode_ == 20) && alpha > R(1) ? R(1) : alpha, d_.r, d_.g, d_.b};
  }

  // Modes of colours. Colours stand on a scale of `one`.
  static R Weighted1000(const Q& p) { return R(299) * p.r + R(587) * p.g + R(114) * p.b; }
  static R Luminance(const Q& p) {
    if constexpr (kSingle) return R(0.299) * p.r + R(0.587) * p.g + R(0.114) * p.b;
    return Weighted1000(p) / R(1000);
  }
  static R LeastOf(const Q& p) { return Least(Least(p.r, p.g), p.b); }
  static R MostOf(const Q& p) { return Most(Most(p.r, p.g), p.b); }
  static R Saturation(const Q& p) { return MostOf(p) - LeastOf(p); }

  static Q WithSaturation(const Q& p, R saturation) {
    const R least = LeastOf(p), most = MostOf(p), range = most - least;
    return EachColour(p, [&](R c) {
      return range == R(0) ? R(0) : c == most ? saturation : (c - least) * saturation / range;
    });
  }
  static Q WithLuminance(const Q& p, R l, R one) {
    const R lift = l - Luminance(p);
    const Q lifted = EachColour(p, [&](R c) { return c + lift; });
    if (!(l >= R(0) && l <= one)) return lifted;
    const R least = LeastOf(lifted), most = MostOf(lifted);
    return EachColour(lifted, [&](R c) {
      if (least < R(0)) c = l + (c - l) * l / (l - least);
      if (most > one) c = l + (c - l) * (one - l) / (most - l);
      return c;
    });
  }
  Q Mixed(const Q& s, const Q& d, R one) const {
    const auto lighter = [](const Q& a, const Q& b) {
      return kSingle ? Luminance(a) > Luminance(b) : Weighted1000(a) > Weighted1000(b);
    };
    switch (mode_) {
      case 13:
        return WithLuminance(WithSaturation(s, Saturation(d)), Luminance(d), one);
      case 14:
        return WithLuminance(WithSaturation(d, Saturation(s)), Luminance(d), one);
      case 15:
        return WithLuminance(s, Luminance(d), one);
      case 16:
        return WithLuminance(d, Luminance(s), one);
      case 35:
        return lighter(d, s) ? s : d;
      default:
        return lighter(s, d) ? s : d;
    }
  }
  Q OfColours() {
    R one = R(1);
    const R alpha = Union();
    Q s = s_, laid = Behind(alpha);
    if (!kSingle && depth_ != 32) {
      // On a scale where the integers' values are whole numbers, and comparisons exact.
      const R full = depth_ == 8 ? R(255) : R(32768);
      const R as = std::round(s_.a * full), ad = std::round(d_.a * full);
      const R above = full * ad, below = as * (full - ad);
      one = full * (above + below);
      s = EachColour(s_, [&](R c) { return std::round(c * full) * (above + below); });
      laid = EachColour(alpha, s_, d_,
                        [&](R cs, R cd) { return std::round(cd * full) * above + std::round(cs * full) * below; });
    }
    const auto unit = [&](const Q& p) { return EachColour(p, [&](R c) { return c / one; }); };
    Tell("d'", unit(laid), Parts::kColours, [] { return "d laid over s: (c_s a_s + (c_d - c_s a_s) a_d) / a_r"; });
    Tell("L(s)", Luminance(s) / one, [] { return "luminance: 0.299 R + 0.587 G + 0.114 B"; });
    Tell("L(d')", Luminance(laid) / one, [] { return ""; });
    Tell("S(s)", Saturation(s) / one, [] { return "saturation: largest less smallest"; });
    Tell("S(d')", Saturation(laid) / one, [] { return ""; });
    const Q blend = Mixed(s, laid, one);
    Tell("B", unit(blend), Parts::kColours, [&] { return BlendText(mode_); });
    return unit(
        EachColour(laid.a, laid, blend, [&](R from, R to) { return s_.a == R(1) ? to : from + (to - from) * s_.a; }));
  }

  std::int32_t mode_;
  int depth_;
  Q s_, d_;
  bool in_rect_;
  std::vector<Term>* terms_;
};

}  // namespace

FormulaResult Formula(const FormulaCase& c, std::vector<Term>* terms) {
  if (IsOfColours(c.mode)) return Evaluation<long double>(c, terms).Run();
  return Evaluation<double>(c, terms).Run();
}

FormulaResult FormulaInSingle(const FormulaCase& c) { return Evaluation<float>(c, nullptr).Run(); }

std::string FamilyText(std::int32_t mode) {
  if (IsOnNeutral(mode)) {
    const double n = NeutralOf(mode);
    const std::string on = n == 0 ? "black" : n == 1 ? "white" : "grey";
    return "d is put onto " + on + " as b, mixed with B by a_s, and taken off again";
  }
  if (IsOverlapping(mode)) return "B where both are, s and d alone where the other is not";
  if (IsOfColours(mode)) return "d is laid over s as d', B is made of both colours, and d' goes towards it by a_s";
  if (mode < 0) return "both pictures are premultiplied";
  if (mode >= 17 && mode <= 20) return "colour stays, alpha is cut";
  return "";
}

std::string ResultText(std::int32_t mode) {
  if (IsOnNeutral(mode)) {
    const double n = NeutralOf(mode);
    return n == 0 ? "m / a_r" : n == 1 ? "1 - (1 - m) / a_r" : "1/2 + (m - 1/2) / a_r";
  }
  if (IsOverlapping(mode)) return "(only s c_s + only d c_d + both B) / a_r";
  if (IsOfColours(mode)) return "d' + (B - d') a_s";
  return ModeOf(mode).formula;
}

}  // namespace pftool
