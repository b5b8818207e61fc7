// What transfer modes have in common. This file and Modes-body.h are included inside a namespace that has the
// functions of simd/PlainLanes.h: once for single values, once for the lanes of each vector target. R is a float, a
// double, or lanes of them. Values are on the unit interval, or on the scale of the depth where a mode is kRaw.

// A pixel, or pixels; of the source with its effective alpha (QUIRK-42).
template <class R>
struct Quad {
  R a, r, g, b;
};

// How integer depths are computed: to well below their steps and rounded once at the end, so what an exact rule
// demands of a formula comes out of its rounding.
template <class T, int kFullValue>  // full: 1 on the unit interval
struct OfIntegers {
  using R = T;
  static constexpr bool kFloat = false;

  static constexpr double kCube = 1.0 * kFullValue * kFullValue * kFullValue;

  static R Full() { return R(kFullValue); }
  static R Unit() { return R(1.0 / kFullValue); }

  static R Union(R as, R ad) { return ad + as * (R(1) - ad); }

  struct Divider {
    R inverse;
    R operator()(R v) const { return v * inverse; }
  };
  static Divider By(R v) { return {R(1) / v}; }

  template <class Mask>
  static R Pin(Mask, R, R computed) {
    return computed;
  }
};

// Floats: the formulas in the order they are written, and exact rules as such.
template <class T>
struct OfFloats {
  using R = T;
  static constexpr bool kFloat = true;

  static R Full() { return R(1); }
  static R Unit() { return R(1); }

  static R Union(R as, R ad) { return R(1) - (R(1) - as) * (R(1) - ad); }

  // QUIRK-43: nothing is divided by zero or a denormal number; the quotient counts as 1.
  struct Divider {
    R divisor;
    R operator()(R v) const { return Quotient(IsTiny(divisor), R(1), v, divisor); }
  };
  static Divider By(R v) { return {v}; }

  template <class Mask>
  static R Pin(Mask condition, R exact, R computed) {
    return Select(condition, exact, computed);
  }
};

// What a mode says of itself unless it says otherwise.
struct Mode {
  // Values come on the scale of the depth, where those of integer depths are whole numbers.
  static constexpr bool kRaw = false;
  // 16 bits compute in double precision.
  static constexpr bool kWide = false;
  // Only alpha changes.
  static constexpr bool kAlphaOnly = false;
  // The opacities scale the source's colour as well.
  static constexpr bool kScalesColour = false;
  // The destination's alpha is cut to the source's, so a source that is not there counts as transparent.
  static constexpr bool kMatte = false;
  // Has Copies(s, d): where the source is copied whole.
  static constexpr bool kCopies = false;
  // Of 8-bit pixels the formula gives what is copied, too.
  static constexpr bool kRoundsToCopies = false;
  // Has Leaves(s, d): where the destination stays as it is, whatever it holds.
  static constexpr bool kLeaves = false;
};

// Union alpha, channels apart: the destination is put onto a neutral background, mixed with the mode's Blend(c_s, c_b)
// by the source's alpha and taken off again. Backgrounds and mixes are kept as their distance from neutral, where
// small alphas lose nothing.
enum class Neutral { kBlack, kGrey, kWhite };

template <class Rule, Neutral kNeutral>
struct OnNeutral : Mode {
  static constexpr bool kRaw = true;

  template <class R>
  static R NeutralOf() {
    return R(kNeutral == Neutral::kBlack ? 0.0 : kNeutral == Neutral::kGrey ? 0.5 : 1.0);
  }

  template <class A, class R = typename A::R>
  static R FloatChannel(R cs, R as, R cd, R ad, const typename A::Divider& by_union) {
    const R neutral = NeutralOf<R>();
    const R offset = (cd - neutral) * ad;
    const R cb = kNeutral == Neutral::kBlack ? offset : A::Pin(ad == R(1), cd, neutral + offset);
    const R blend = Rule::Blend(cs, cb);
    const R mix = offset + as * (blend - cb);
    const R off = kNeutral == Neutral::kWhite ? R(1) - by_union(R(0) - mix) : neutral + by_union(mix);
    return A::Pin(as == R(1), blend, off);
  }

  // What blending changes the background b by; `offset` is the distance of b from neutral.
  template <class R>
  static R Change(R s, R b, R) {
    return Rule::Blend(s, b) - b;
  }

  // Channels on the scale of the depth; a_d is divided by it once more, by_union is it divided by the union alpha.
  template <class A, class R = typename A::R>
  static R IntegerChannel(R cs, R as, R cd, R ad, R by_union) {
    const R neutral = NeutralOf<R>(), full_neutral = neutral * A::Full();
    const R offset = kNeutral == Neutral::kBlack ? cd * ad : (cd - full_neutral) * ad;
    const R cb = kNeutral == Neutral::kBlack ? offset : neutral + offset;
    const R mix = offset + as * Rule::Change(cs * A::Unit(), cb, offset);
    return kNeutral == Neutral::kBlack ? mix * by_union : full_neutral + mix * by_union;
  }

  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    if constexpr (A::kFloat) {
      const R alpha = A::Union(s.a, d.a);
      const auto by_union = A::By(alpha);
      return {A::Pin(s.a == R(1), R(1), alpha), FloatChannel<A>(s.r, s.a, d.r, d.a, by_union),
              FloatChannel<A>(s.g, s.a, d.g, d.a, by_union), FloatChannel<A>(s.b, s.a, d.b, d.a, by_union)};
    } else {
      const R divisor = A::Full() * s.a + d.a * (A::Full() - s.a);  // the union alpha times full squared
      const R by_union = R(A::kCube) / divisor, as = s.a * A::Unit(), ad = d.a * (A::Unit() * A::Unit());
      return {divisor * A::Unit(), IntegerChannel<A>(s.r, as, d.r, ad, by_union),
              IntegerChannel<A>(s.g, as, d.g, ad, by_union), IntegerChannel<A>(s.b, as, d.b, ad, by_union)};
    }
  }
};

// On neutral grey by straight lines. For o, the background's distance from grey, t, the source's (both from -1 to 1),
// and u = a_s t the mix is o + u - |o| u or o + u - o |u|; the rule's Product(u, o) says which.
template <class Rule>
struct OnGrey : OnNeutral<Rule, Neutral::kGrey> {
  template <class A, class R = typename A::R>
  static R TiltedChannel(R cs, R as, R twice_as, R cd, R twice_ad, R by_union) {
    const R grey = R(0.5) * A::Full();
    const R u = cs * twice_as - as, o = (cd - grey) * twice_ad;
    return grey + ((o - Rule::Product(u, o)) + u) * by_union;
  }

  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    if constexpr (A::kFloat) {
      return OnNeutral<Rule, Neutral::kGrey>::template Apply<A>(s, d);
    } else {
      const R divisor = A::Full() * s.a + d.a * (A::Full() - s.a);  // the union alpha times full squared
      const R by_union = R(0.5 * A::kCube) / divisor, twice = R(2) * A::Unit() * A::Unit();
      const R as = s.a * A::Unit(), twice_as = s.a * twice, twice_ad = d.a * twice;
      return {divisor * A::Unit(), TiltedChannel<A>(s.r, as, twice_as, d.r, twice_ad, by_union),
              TiltedChannel<A>(s.g, as, twice_as, d.g, twice_ad, by_union),
              TiltedChannel<A>(s.b, as, twice_as, d.b, twice_ad, by_union)};
    }
  }
};

// Union alpha, channels apart: what only the source covers shows it, what only the destination covers shows that, and
// the mode's Blend(c_s, c_d) shows where both are.
template <class Rule>
struct Overlap : Mode {
  static constexpr bool kRaw = true;

  template <class A, class R = typename A::R>
  static R FloatChannel(R cs, R as, R cd, R ad, R only_s, R only_d, R both, const typename A::Divider& by_union) {
    const R blend = Rule::Blend(cs, cd);
    return A::Pin(as == R(1), cs + (blend - cs) * ad, by_union(only_s * cs + only_d * cd + both * blend));
  }

  template <class A, class R = typename A::R>
  static R IntegerChannel(R cs, R cd, R only_s, R only_d, R both, R by_union) {
    const R blend = Rule::Blend(cs * A::Unit(), cd * A::Unit());
    return (only_s * cs + only_d * cd + both * blend) * by_union;
  }

  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    const R only_s = s.a * (A::Full() - d.a), only_d = d.a * (A::Full() - s.a), both = s.a * d.a;
    if constexpr (A::kFloat) {
      const R alpha = A::Union(s.a, d.a);
      const auto by_union = A::By(alpha);
      return {A::Pin(s.a == R(1), R(1), alpha), FloatChannel<A>(s.r, s.a, d.r, d.a, only_s, only_d, both, by_union),
              FloatChannel<A>(s.g, s.a, d.g, d.a, only_s, only_d, both, by_union),
              FloatChannel<A>(s.b, s.a, d.b, d.a, only_s, only_d, both, by_union)};
    } else {
      const R divisor = A::Full() * s.a + only_d, by_union = R(1) / divisor, scaled = both * A::Full();
      return {divisor * A::Unit(), IntegerChannel<A>(s.r, d.r, only_s, only_d, scaled, by_union),
              IntegerChannel<A>(s.g, d.g, only_s, only_d, scaled, by_union),
              IntegerChannel<A>(s.b, d.b, only_s, only_d, scaled, by_union)};
    }
  }
};

// One pixel over another. With full value F and the lower one's share l = a_l (F - a_u), colour is (c_u F a_u + c_l l)
// / (F a_u + l) and alpha the divisor / F. 8-bit sums are whole numbers below 2^24, 16-bit ones below 2^53: exact in
// the precision that they are computed in.
template <class R>
struct Laid {
  Quad<R> sum;   // alpha: the divisor
  R reciprocal;  // of the divisor
};

template <class A, class R = typename A::R>
Laid<R> Lay(const Quad<R>& upper, const Quad<R>& lower) {
  const R above = A::Full() * upper.a, below = lower.a * (A::Full() - upper.a);
  const R divisor = above + below;
  return {{divisor, upper.r * above + lower.r * below, upper.g * above + lower.g * below,
           upper.b * above + lower.b * below},
          R(1) / divisor};
}

template <class A, class R = typename A::R>
Quad<R> Divided(const Laid<R>& laid) {
  return {laid.sum.a * A::Unit(), laid.sum.r * laid.reciprocal, laid.sum.g * laid.reciprocal,
          laid.sum.b * laid.reciprocal};
}

// Float: c = (c_lower + (c_upper - c_lower) a) / a_r with one of them premultiplied.
struct BehindRule {
  template <class A, class R = typename A::R>
  static R Channel(R cs, R as, R cd, R ad, const typename A::Divider& by_union) {
    const R below = cs * as;
    return A::Pin(ad == R(1), cd, by_union(below + (cd - below) * ad));
  }

  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    if constexpr (A::kFloat) {
      const R alpha = A::Union(s.a, d.a);
      const auto by_union = A::By(alpha);
      return {A::Pin(d.a == R(1), R(1), alpha), Channel<A>(s.r, s.a, d.r, d.a, by_union),
              Channel<A>(s.g, s.a, d.g, d.a, by_union), Channel<A>(s.b, s.a, d.b, d.a, by_union)};
    } else {
      return Divided<A>(Lay<A>(d, s));
    }
  }
};

// The three colour channels together: the destination is laid over the source, the rule's Colour(s, d, unit, beside)
// makes a colour of both, where d times the unit is the destination, and the destination goes towards it by the
// source's alpha. What depends on the ratio of channels alone takes d as it is: there no difference of channels is
// rounded. What asks which of s and d is lighter takes `beside`: the same one is, and nothing was rounded there.
template <class Rule>
struct OfColours : Mode {
  static constexpr bool kRaw = true;
  static constexpr bool kWide = true;

  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& behind) {
    if constexpr (A::kFloat) {
      const Quad<R> d = BehindRule::Apply<A>(s, behind);
      return Towards<A>(s.a, d, Rule::template Colour<A>(s, d, R(1), d));
    } else {
      const Laid<R> laid = Lay<A>(behind, s);
      return Towards<A>(s.a * A::Unit(), Divided<A>(laid),
                        Rule::template Colour<A>(s, laid.sum, laid.reciprocal, behind));
    }
  }

  template <class A, class R = typename A::R>
  static Quad<R> Towards(R k, const Quad<R>& d, const Quad<R>& c) {
    const auto whole = k == R(1);
    return {d.a, A::Pin(whole, c.r, d.r + (c.r - d.r) * k), A::Pin(whole, c.g, d.g + (c.g - d.g) * k),
            A::Pin(whole, c.b, d.b + (c.b - d.b) * k)};
  }
};

// The destination's alpha times what the rule's Factor(s) says of the source; never above full where the rule limits
// it.
template <class Rule, bool kLimits>
struct OfAlpha : Mode {
  static constexpr bool kRaw = true;
  static constexpr bool kWide = true;
  static constexpr bool kAlphaOnly = true;

  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    const R alpha = d.a * Rule::template Factor<A>(s) * A::Unit();
    return {kLimits ? Select(alpha > A::Full(), A::Full(), alpha) : alpha, d.r, d.g, d.b};
  }
};
