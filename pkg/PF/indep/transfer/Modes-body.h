// The transfer modes, in the order of their numbers. Included like Families-body.h, after it and Colours-body.h.
// s: source, d: destination, b: destination on the neutral background.

struct CopyMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_Copy, "PF_Xfer_Copy", 1};
  static constexpr bool kCopies = true;
  template <class A, class R>
  static auto Copies(const Quad<R>& s, const Quad<R>&) {
    return !(s.a == R(0));
  }
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>&) {
    return s;
  }
};

struct BehindMode : Mode, BehindRule {
  static constexpr ModeRow kRow{PF_Xfer_Behind, "PF_Xfer_Behind", 1};
  static constexpr bool kRaw = true;
  static constexpr bool kLeaves = true;
  template <class A, class R>
  static auto Leaves(const Quad<R>&, const Quad<R>& d) {
    return d.a == A::Full();
  }
};

struct OverMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_Over, "PF_Xfer_Over", 1};
  static constexpr bool kRaw = true;
  static constexpr bool kCopies = true;
  static constexpr bool kRoundsToCopies = true;
  template <class A, class R>
  static auto Copies(const Quad<R>& s, const Quad<R>& d) {
    return (s.a == A::Full()) | (d.a == R(0));
  }
  template <class A, class R = typename A::R>
  static R Channel(R cs, R as, R cd, R ad, const typename A::Divider& by_union) {
    const R below = cd * ad;
    return by_union(below + (cs - below) * as);
  }
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    if constexpr (A::kFloat) {
      const R alpha = A::Union(s.a, d.a);
      const auto by_union = A::By(alpha);
      return {alpha, Channel<A>(s.r, s.a, d.r, d.a, by_union), Channel<A>(s.g, s.a, d.g, d.a, by_union),
              Channel<A>(s.b, s.a, d.b, d.a, by_union)};
    } else {
      return Divided<A>(Lay<A>(s, d));
    }
  }
};

struct IgnoreMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_Ignore, "PF_Xfer_Ignore", 0};
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>&, const Quad<R>& d) {
    return d;
  }
};

struct AddMode : OnNeutral<AddMode, Neutral::kBlack> {
  static constexpr ModeRow kRow{PF_Xfer_Add, "PF_Xfer_Add", 1};
  template <class R>
  static R Blend(R s, R b) {
    return s + b;
  }
  template <class R>
  static R Change(R s, R, R) {
    return s;
  }
};

struct MultiplyMode : OnNeutral<MultiplyMode, Neutral::kWhite> {
  static constexpr ModeRow kRow{PF_Xfer_Multiply, "PF_Xfer_Multiply", 1};
  template <class R>
  static R Blend(R s, R b) {
    return s * b;
  }
};

struct ScreenMode : OnNeutral<ScreenMode, Neutral::kBlack> {
  static constexpr ModeRow kRow{PF_Xfer_Screen, "PF_Xfer_Screen", 1};
  template <class R>
  static R Blend(R s, R b) {
    return R(1) - (R(1) - s) * (R(1) - b);
  }
  template <class R>
  static R Change(R s, R b, R) {
    return s * (R(1) - b);
  }
};

struct OverlayMode : OnGrey<OverlayMode> {
  static constexpr ModeRow kRow{PF_Xfer_Overlay, "PF_Xfer_Overlay", 1};
  template <class R>
  static R Blend(R s, R b) {
    return Select(b < R(0.5), R(2) * s * b, R(1) - R(2) * (R(1) - b) * (R(1) - s));
  }
  template <class R>
  static R Product(R u, R o) {
    return u * Abs(o);
  }
};

// Soft light. T(b) is b - b^2 for a dark source and D(b) - b for a light one.
struct SoftLightMode : OnNeutral<SoftLightMode, Neutral::kGrey> {
  static constexpr ModeRow kRow{PF_Xfer_Mode8, "PF_Xfer_Mode8", 0};
  template <class R>
  static R Blend(R s, R b) {
    const R t = R(2) * s - R(1);
    const R root = Sqrt(Max(b, R(0)));
    const R lightened = Select(b <= R(0.25), ((R(16) * b - R(12)) * b + R(4)) * b, root);
    const R mixed = b + t * Select(t <= R(0), b - b * b, lightened - b);
    return Min(Max(mixed, R(0)), R(1));
  }
};

struct HardLightMode : OnGrey<HardLightMode> {
  static constexpr ModeRow kRow{PF_Xfer_HardLight, "PF_Xfer_HardLight", 1};
  template <class R>
  static R Blend(R s, R b) {
    return Select(s >= R(0.5), b + (R(2) * s - R(1)) * (R(1) - b), b * R(2) * s);
  }
  template <class R>
  static R Product(R u, R o) {
    return Abs(u) * o;
  }
};

struct DarkenMode : OnNeutral<DarkenMode, Neutral::kWhite> {
  static constexpr ModeRow kRow{PF_Xfer_Darken, "PF_Xfer_Darken", 1};
  template <class R>
  static R Blend(R s, R b) {
    return Min(s, b);
  }
};

struct LightenMode : OnNeutral<LightenMode, Neutral::kBlack> {
  static constexpr ModeRow kRow{PF_Xfer_Lighten, "PF_Xfer_Lighten", 1};
  template <class R>
  static R Blend(R s, R b) {
    return Max(s, b);
  }
};

struct DifferenceMode : OnNeutral<DifferenceMode, Neutral::kBlack> {
  static constexpr ModeRow kRow{PF_Xfer_Difference, "PF_Xfer_Difference", 1};
  template <class R>
  static R Blend(R s, R b) {
    return Abs(b - s);
  }
};

struct HueMode : OfColours<HueMode> {
  static constexpr ModeRow kRow{PF_Xfer_Hsl13, "PF_Xfer_Hsl13", 1};
  template <class A, class R = typename A::R>
  static Quad<R> Colour(const Quad<R>& s, const Quad<R>& d, R unit, const Quad<R>&) {
    return WithLuminance<A>(WithSaturation(s, Saturation(d) * unit), Luminance(d) * unit);
  }
};

struct SaturationMode : OfColours<SaturationMode> {
  static constexpr ModeRow kRow{PF_Xfer_Hsl14, "PF_Xfer_Hsl14", 1};
  template <class A, class R = typename A::R>
  static Quad<R> Colour(const Quad<R>& s, const Quad<R>& d, R unit, const Quad<R>&) {
    return WithLuminance<A>(WithSaturation(d, Saturation(s)), Luminance(d) * unit);
  }
};

struct ColourMode : OfColours<ColourMode> {
  static constexpr ModeRow kRow{PF_Xfer_Hsl15, "PF_Xfer_Hsl15", 1};
  template <class A, class R = typename A::R>
  static Quad<R> Colour(const Quad<R>& s, const Quad<R>& d, R unit, const Quad<R>&) {
    return WithLuminance<A>(s, Luminance(d) * unit);
  }
};

struct LuminosityMode : OfColours<LuminosityMode> {
  static constexpr ModeRow kRow{PF_Xfer_Hsl16, "PF_Xfer_Hsl16", 1};
  template <class A, class R = typename A::R>
  static Quad<R> Colour(const Quad<R>& s, const Quad<R>& d, R unit, const Quad<R>&) {
    return WithLuminance<A>(Times(d, unit), Luminance(s));
  }
};

struct AlphaMultiplyMode : OfAlpha<AlphaMultiplyMode, false> {
  static constexpr ModeRow kRow{PF_Xfer_AlphaMultiply, "PF_Xfer_AlphaMultiply", 0};
  static constexpr bool kMatte = true;
  template <class A, class R>
  static R Factor(const Quad<R>& s) {
    return s.a;
  }
};

struct LumaMultiplyMode : OfAlpha<LumaMultiplyMode, true> {
  static constexpr ModeRow kRow{PF_Xfer_LumaMultiply, "PF_Xfer_LumaMultiply", 0};
  static constexpr bool kMatte = true;
  template <class A, class R>
  static R Factor(const Quad<R>& s) {
    return Luminance(s) * s.a * A::Unit();
  }
};

struct AlphaCutoutMode : OfAlpha<AlphaCutoutMode, false> {
  static constexpr ModeRow kRow{PF_Xfer_AlphaCutout, "PF_Xfer_AlphaCutout", 0};
  template <class A, class R>
  static R Factor(const Quad<R>& s) {
    return A::Full() - s.a;
  }
};

struct LumaCutoutMode : OfAlpha<LumaCutoutMode, true> {
  static constexpr ModeRow kRow{PF_Xfer_LumaCutout, "PF_Xfer_LumaCutout", 0};
  template <class A, class R>
  static R Factor(const Quad<R>& s) {
    return A::Full() - Luminance(s) * s.a * A::Unit();
  }
};

struct PremulOverMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_PremulOver, "PF_Xfer_PremulOver", 0};
  static constexpr bool kScalesColour = true;
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    const R alpha = A::Union(s.a, d.a), shown = R(1) - s.a;
    const auto by_union = A::By(alpha);
    return {alpha, by_union(d.r * d.a * shown + s.r), by_union(d.g * d.a * shown + s.g),
            by_union(d.b * d.a * shown + s.b)};
  }
};

struct AlphaAddMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_AlphaAdd, "PF_Xfer_AlphaAdd", 1};
  static constexpr bool kCopies = true;
  template <class A, class R>
  static auto Copies(const Quad<R>& s, const Quad<R>&) {
    return s.a == A::Full();
  }
  template <class A, class Mask, class R = typename A::R>
  static R Channel(Mask full, R cs, R as, R cd, R ad, const typename A::Divider& by_total) {
    return Select(full, cd * (R(1) - as) + cs * as, by_total(cd * ad + cs * as));
  }
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    const R total = s.a + d.a;
    const auto full = total >= R(1);
    const auto by_total = A::By(total);
    return {Select(full, R(1), total), Channel<A>(full, s.r, s.a, d.r, d.a, by_total),
            Channel<A>(full, s.g, s.a, d.g, d.a, by_total), Channel<A>(full, s.b, s.a, d.b, d.a, by_total)};
  }
};

struct ColorDodgeMode : OnNeutral<ColorDodgeMode, Neutral::kBlack> {
  static constexpr ModeRow kRow{PF_Xfer_ColorDodge, "PF_Xfer_ColorDodge", 0};
  template <class R>
  static R Blend(R s, R b) {
    const R rest = R(1) - s;
    return Quotient((rest == R(0)) | (b >= rest), R(1), b, rest);
  }
};

struct ColorBurnMode : OnNeutral<ColorBurnMode, Neutral::kWhite> {
  static constexpr ModeRow kRow{PF_Xfer_ColorBurn, "PF_Xfer_ColorBurn", 0};
  template <class R>
  static R Blend(R s, R b) {
    const auto none = IsTiny(s);
    return Select(none, R(0), R(1) - Quotient(none, R(0), R(1) - b, s));
  }
  // A background near white over a small source needs its distance from white as it is.
  template <class R>
  static R Change(R s, R b, R offset) {
    const auto none = IsTiny(s);
    return Select(none, R(0) - b, Quotient(none, R(0), offset, s) - offset);
  }
};

struct ExclusionMode : OnNeutral<ExclusionMode, Neutral::kBlack> {
  static constexpr ModeRow kRow{PF_Xfer_Exclusion, "PF_Xfer_Exclusion", 1};
  template <class R>
  static R Blend(R s, R b) {
    return s + b - R(2) * s * b;
  }
  template <class R>
  static R Change(R s, R b, R) {
    return s * (R(1) - R(2) * b);
  }
};

struct DifferenceBMode : Overlap<DifferenceBMode> {
  static constexpr ModeRow kRow{PF_Xfer_DifferenceB, "PF_Xfer_DifferenceB", 0};
  template <class R>
  static R Blend(R s, R d) {
    return Abs(d - s);
  }
};

struct ColorDodgeBMode : Overlap<ColorDodgeBMode> {
  static constexpr ModeRow kRow{PF_Xfer_ColorDodgeB, "PF_Xfer_ColorDodgeB", 0};
  template <class R>
  static R Blend(R s, R d) {
    return Select(d == R(0), R(0), ColorDodgeMode::Blend(s, d));
  }
};

struct ColorBurnBMode : Overlap<ColorBurnBMode> {
  static constexpr ModeRow kRow{PF_Xfer_ColorBurnB, "PF_Xfer_ColorBurnB", 0};
  template <class R>
  static R Blend(R s, R d) {
    const auto none = s == R(0);
    const R burnt = R(1) - Min(R(1), Quotient(none, R(0), R(1) - d, s));
    return Select(none, Select(d >= R(1), R(1), R(0)), burnt);
  }
};

struct LinearDodgeMode : Overlap<LinearDodgeMode> {
  static constexpr ModeRow kRow{PF_Xfer_LinearDodge, "PF_Xfer_LinearDodge", 0};
  template <class R>
  static R Blend(R s, R d) {
    return s + d;
  }
};

struct LinearBurnMode : Overlap<LinearBurnMode> {
  static constexpr ModeRow kRow{PF_Xfer_LinearBurn, "PF_Xfer_LinearBurn", 0};
  template <class R>
  static R Blend(R s, R d) {
    return Max(R(0), s + d - R(1));
  }
};

struct LinearLightMode : Overlap<LinearLightMode> {
  static constexpr ModeRow kRow{PF_Xfer_LinearLight, "PF_Xfer_LinearLight", 0};
  template <class R>
  static R Blend(R s, R d) {
    return d + R(2) * s - R(1);
  }
};

// Vivid light.
struct VividLightMode : Overlap<VividLightMode> {
  static constexpr ModeRow kRow{PF_Xfer_Mode32, "PF_Xfer_Mode32", 0};
  template <class R>
  static R Blend(R s, R d) {
    const R twice = R(2) * s;
    return Select(s <= R(0.5), ColorBurnBMode::Blend(twice, d), ColorDodgeBMode::Blend(twice - R(1), d));
  }
};

struct PinLightMode : Overlap<PinLightMode> {
  static constexpr ModeRow kRow{PF_Xfer_PinLight, "PF_Xfer_PinLight", 0};
  template <class R>
  static R Blend(R s, R d) {
    const R light = Select(s > R(0.5), Max(R(2) * (s - R(0.5)), d), d);
    return Select(s < R(0.5), Min(R(2) * s, d), light);
  }
};

// QUIRK-45: a ramp of one hundred-thousandth instead of a step.
struct HardMixMode : Overlap<HardMixMode> {
  static constexpr ModeRow kRow{PF_Xfer_HardMix, "PF_Xfer_HardMix", 0};
  template <class R>
  static R Blend(R s, R d) {
    const R width = R(1.001358e-05);
    const R t = (R(1) - s) * R(0.99999);
    const R e = d - t;
    return Select(t >= d, R(0), Select(e >= width, R(1), e / width));
  }
};

struct DarkerColourMode : OfColours<DarkerColourMode> {
  static constexpr ModeRow kRow{PF_Xfer_Hsl35, "PF_Xfer_Hsl35", 0};
  template <class A, class R = typename A::R>
  static Quad<R> Colour(const Quad<R>& s, const Quad<R>& d, R unit, const Quad<R>& beside) {
    const Quad<R> e = Times(d, unit);
    const auto taken = ComparedLuminance<A>(s) < ComparedLuminance<A>(beside);
    return {d.a, Select(taken, s.r, e.r), Select(taken, s.g, e.g), Select(taken, s.b, e.b)};
  }
};

struct LighterColourMode : OfColours<LighterColourMode> {
  static constexpr ModeRow kRow{PF_Xfer_Hsl36, "PF_Xfer_Hsl36", 0};
  template <class A, class R = typename A::R>
  static Quad<R> Colour(const Quad<R>& s, const Quad<R>& d, R unit, const Quad<R>& beside) {
    const Quad<R> e = Times(d, unit);
    const auto taken = ComparedLuminance<A>(s) > ComparedLuminance<A>(beside);
    return {d.a, Select(taken, s.r, e.r), Select(taken, s.g, e.g), Select(taken, s.b, e.b)};
  }
};

struct SubtractMode : Overlap<SubtractMode> {
  static constexpr ModeRow kRow{PF_Xfer_Subtract, "PF_Xfer_Subtract", 1};
  template <class R>
  static R Blend(R s, R d) {
    return d - s;
  }
};

// Divide.
struct DivideMode : Overlap<DivideMode> {
  static constexpr ModeRow kRow{PF_Xfer_Mode38, "PF_Xfer_Mode38", 1};
  template <class R>
  static R Blend(R s, R d) {
    return Quotient(s == R(0), Select(d == R(0), R(0), R(1)), d, Abs(s));
  }
};

// Blue where the source covers at least half.
struct BlueMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_Mode39, "PF_Xfer_Mode39", 0};
  static constexpr bool kLeaves = true;
  template <class A, class R>
  static auto Leaves(const Quad<R>& s, const Quad<R>&) {
    return !(s.a >= R(0.5));
  }
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    const auto covers = s.a >= R(0.5);
    return {Select(covers, R(1), d.a), d.r, d.g, Select(covers, s.b, d.b)};
  }
};

// The source where the destination has both red and blue.
struct RedAndBlueMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_Mode40, "PF_Xfer_Mode40", 0};
  static constexpr bool kCopies = true;
  template <class A, class R>
  static auto Copies(const Quad<R>& s, const Quad<R>& d) {
    return !((s.a == R(0)) | (d.r == R(0)) | (d.b == R(0)));
  }
  static constexpr bool kLeaves = true;
  template <class A, class R>
  static auto Leaves(const Quad<R>& s, const Quad<R>& d) {
    return !Copies<A>(s, d);
  }
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>&, const Quad<R>& d) {
    return d;
  }
};

// Both premultiplied: source over destination.
struct PremulOntoPremulMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_PremulOntoPremul, "PF_Xfer_PremulOntoPremul", 1};
  static constexpr bool kScalesColour = true;
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    const R shown = R(1) - s.a;
    return {s.a + d.a * shown, s.r + d.r * shown, s.g + d.g * shown, s.b + d.b * shown};
  }
};

// Both premultiplied: what of the destination is inside the source.
struct PremulInMode : Mode {
  static constexpr ModeRow kRow{PF_Xfer_PremulIn, "PF_Xfer_PremulIn", 0};
  static constexpr bool kMatte = true;
  template <class A, class R = typename A::R>
  static Quad<R> Apply(const Quad<R>& s, const Quad<R>& d) {
    return {d.a * s.a, d.r * s.a, d.g * s.a, d.b * s.a};
  }
};

template <class... M>
struct ModeList {};

// -3 and -2, then 0 to 40.
using PipelineModes = ModeList<PremulOntoPremulMode, PremulInMode>;
using TableModes =
    ModeList<CopyMode, BehindMode, OverMode, IgnoreMode, AddMode, MultiplyMode, ScreenMode, OverlayMode, SoftLightMode,
             HardLightMode, DarkenMode, LightenMode, DifferenceMode, HueMode, SaturationMode, ColourMode,
             LuminosityMode, AlphaMultiplyMode, LumaMultiplyMode, AlphaCutoutMode, LumaCutoutMode, PremulOverMode,
             AlphaAddMode, ColorDodgeMode, ColorBurnMode, ExclusionMode, DifferenceBMode, ColorDodgeBMode,
             ColorBurnBMode, LinearDodgeMode, LinearBurnMode, LinearLightMode, VividLightMode, PinLightMode,
             HardMixMode, DarkerColourMode, LighterColourMode, SubtractMode, DivideMode, BlueMode, RedAndBlueMode>;
