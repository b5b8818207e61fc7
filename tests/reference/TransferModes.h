// The transfer modes restated one rule at a time. Values are on the unit interval; s has its effective alpha.
#pragma once

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>

#include "PF/PF_ColorSettings.h"
#include "pixel/Depth.h"

namespace pftest {

// Folds away where the mode is constant.
#define PFTEST_INLINE [[gnu::always_inline]] inline

struct Unit4 {
  double a, r, g, b;
};

inline double UnionAlpha(double as, double ad) { return 1 - (1 - as) * (1 - ad); }
inline double SingleUnionAlpha(float as, float ad) { return 1.0f - (1.0f - as) * (1.0f - ad); }

PFTEST_INLINE bool IsTinyFloat(double v) { return std::abs(v) < double{FLT_MIN}; }
PFTEST_INLINE double Guarded(double v, double ar) { return IsTinyFloat(ar) ? 1.0 : v / ar; }

PFTEST_INLINE double Median0To1(double v) { return v < 0 ? 0 : v > 1 ? 1 : v; }

PFTEST_INLINE double SoftLight(double s, double b) {
  const double t = 2 * s - 1;
  const double root = std::sqrt(b > 0 ? b : 0);
  const double d = b <= 0.25 ? ((16 * b - 12) * b + 4) * b : root;
  return Median0To1(b + t * (t <= 0 ? b - b * b : d - b));
}

PFTEST_INLINE double Dodge(double s, double b) { return 1 - s == 0 || b >= 1 - s ? 1.0 : b / (1 - s); }
PFTEST_INLINE double DodgeB(double s, double d) { return d == 0 ? 0.0 : Dodge(s, d); }
PFTEST_INLINE double BurnB(double s, double d) {
  const double q = (1 - d) / (s == 0 ? 1 : s);
  return s == 0 ? (d >= 1 ? 1.0 : 0.0) : 1 - (1 < q ? 1 : q);
}
PFTEST_INLINE double HardMix(float s, float d) {
  const float t = (1.0f - s) * 0.99999f, e = d - t;
  return t >= d ? 0.0f : e >= 1.001358e-05f ? 1.0f : e / 1.001358e-05f;
}

// B(c_s, c_b) or B(c_s, c_d).
PFTEST_INLINE double Blend(int mode, double s, double b) {
  if (mode == 4) return s + b;
  if (mode == 5) return s * b;
  if (mode == 6) return 1 - (1 - s) * (1 - b);
  if (mode == 7) return b < 0.5 ? 2 * s * b : 1 - 2 * (1 - b) * (1 - s);
  if (mode == 8) return SoftLight(s, b);
  if (mode == 9) return s >= 0.5 ? b + (2 * s - 1) * (1 - b) : b * 2 * s;
  if (mode == 10) return s < b ? s : b;
  if (mode == 11) return s > b ? s : b;
  if (mode == 12) return std::abs(b - s);
  if (mode == 23) return Dodge(s, b);
  if (mode == 24) return IsTinyFloat(s) ? 0.0 : 1 - (1 - b) / s;
  if (mode == 25) return s + b - 2 * s * b;
  if (mode == 26) return std::abs(b - s);
  if (mode == 27) return DodgeB(s, b);
  if (mode == 28) return BurnB(s, b);
  if (mode == 29) return s + b;
  if (mode == 30) return s + b - 1 > 0 ? s + b - 1 : 0.0;
  if (mode == 31) return b + 2 * s - 1;
  if (mode == 32) return s <= 0.5 ? BurnB(2 * s, b) : DodgeB(2 * s - 1, b);
  if (mode == 33) return s < 0.5 ? (2 * s < b ? 2 * s : b) : s > 0.5 ? (2 * (s - 0.5) > b ? 2 * (s - 0.5) : b) : b;
  if (mode == 34) return HardMix(static_cast<float>(s), static_cast<float>(b));
  if (mode == 37) return b - s;
  if (mode == 38) return s == 0 ? (b == 0 ? 0.0 : 1.0) : b / std::abs(s);
  return 0;
}

constexpr bool IsOnNeutral(int mode) { return (mode >= 4 && mode <= 12) || (mode >= 23 && mode <= 25); }
constexpr bool IsOverlapping(int mode) { return (mode >= 26 && mode <= 34) || mode == 37 || mode == 38; }
constexpr bool IsOfColours(int mode) { return (mode >= 13 && mode <= 16) || mode == 35 || mode == 36; }
// The colour channels go apart, by ReferenceChannel.
constexpr bool IsSeparable(int mode) {
  return mode == 1 || mode == 2 || mode == 21 || mode == 22 || IsOnNeutral(mode) || IsOverlapping(mode);
}
constexpr double NeutralOf(int mode) {
  const bool white = mode == 5 || mode == 10 || mode == 24, grey = mode >= 7 && mode <= 9;
  return white ? 1.0 : grey ? 0.5 : 0.0;
}

PFTEST_INLINE double OnNeutralChannel(int mode, double cs, double as, double cd, double ad, double ar) {
  const double n = NeutralOf(mode);
  const double background = n == 0.0 ? cd * ad : n == 1.0 ? 1 - (1 - cd) * ad : 0.5 + (cd - 0.5) * ad;
  const double cb = ad == 1 ? cd : background;
  const double blend = Blend(mode, cs, cb);
  const double m = cb + as * (blend - cb);
  const double off = n == 0.0 ? Guarded(m, ar) : n == 1.0 ? 1 - Guarded(1 - m, ar) : 0.5 + Guarded(m - 0.5, ar);
  return as == 1 ? blend : off;
}

PFTEST_INLINE double OverlappingChannel(int mode, double cs, double as, double cd, double ad, double ar) {
  const double blend = Blend(mode, cs, cd);
  const double mixed = Guarded(as * (1 - ad) * cs + ad * (1 - as) * cd + as * ad * blend, ar);
  return as == 1 ? cs + (blend - cs) * ad : mixed;
}

// One colour channel; a_s is not 0. Modes of colours, and those that leave or copy channels, are not here.
PFTEST_INLINE double ReferenceChannel(int mode, double cs, double as, double cd, double ad, double ar) {
  if (mode == 1) return ad == 1 ? cd : Guarded(cs * as + (cd - cs * as) * ad, ar);
  if (mode == 2) return as == 1 || ad == 0 ? cs : Guarded(cd * ad + (cs - cd * ad) * as, ar);
  if (mode == 21) return Guarded(cd * ad * (1 - as) + cs, ar);
  if (mode == 22) {
    const double t = as + ad;
    return as == 1 ? cs : t >= 1 ? cd * (1 - as) + cs * as : Guarded(cd * ad + cs * as, t);
  }
  return IsOnNeutral(mode) ? OnNeutralChannel(mode, cs, as, cd, ad, ar) : OverlappingChannel(mode, cs, as, cd, ad, ar);
}

inline double ReferenceLuma(const Unit4& p) { return 0.299 * p.r + 0.587 * p.g + 0.114 * p.b; }

inline double ReferenceAlpha(int mode, const Unit4& s, const Unit4& d, double ar) {
  if (mode == 1) return d.a == 1 ? 1 : ar;
  if (mode == 2) return s.a == 1 || d.a == 0 ? s.a : ar;
  if (mode == 17) return d.a * s.a;
  if (mode == 18) return std::min(d.a * (ReferenceLuma(s) * s.a), 1.0);
  if (mode == 19) return d.a * (1 - s.a);
  if (mode == 20) return std::min(d.a * (1 - ReferenceLuma(s) * s.a), 1.0);
  if (mode == 22) return s.a == 1 ? 1 : std::min(s.a + d.a, 1.0);
  return s.a == 1 && (IsOnNeutral(mode) || IsOverlapping(mode)) ? 1 : ar;
}

// Colours of three channels on any common scale. Where their values are whole numbers, every comparison is exact.
using Real = long double;
struct Real3 {
  Real r, g, b;
  template <class F>
  Real3 Each(F f) const {
    return {f(r), f(g), f(b)};
  }
  Real Least() const { return std::min({r, g, b}); }
  Real Most() const { return std::max({r, g, b}); }
  Real Luma1000() const { return 299 * r + 587 * g + 114 * b; }
  Real Luma() const { return Luma1000() / 1000; }
  Real Saturation() const { return Most() - Least(); }
};

inline Real3 SetSaturation(const Real3& p, Real saturation) {
  const Real least = p.Least(), most = p.Most();
  return p.Each([&](Real c) { return most == least ? 0 : (c - least) * saturation / (most - least); });
}

// The luminance is exactly the one that has been set.
inline Real3 SetLuminance(const Real3& p, Real luma, Real full) {
  const Real lift = luma - p.Luma();
  const Real3 lifted = p.Each([&](Real c) { return c + lift; });
  if (luma < 0 || luma > full) return lifted;
  const Real least = lifted.Least(), most = lifted.Most();
  return lifted.Each([&](Real c) {
    if (least < 0) c = luma + (c - luma) * luma / (luma - least);
    if (most > full) c = luma + (c - luma) * (full - luma) / (most - luma);
    return c;
  });
}

// Steps 2 to 4; d is laid over s already.
inline Real3 ReferenceColour(int mode, const Real3& s, const Real3& d, Real k, Real full) {
  const auto colour = [&]() -> Real3 {
    if (mode == 13) return SetLuminance(SetSaturation(s, d.Saturation()), d.Luma(), full);
    if (mode == 14) return SetLuminance(SetSaturation(d, s.Saturation()), d.Luma(), full);
    if (mode == 15) return SetLuminance(s, d.Luma(), full);
    if (mode == 16) return SetLuminance(d, s.Luma(), full);
    if (mode == 35) return s.Luma1000() < d.Luma1000() ? s : d;
    return s.Luma1000() > d.Luma1000() ? s : d;
  };
  const Real3 r = colour();
  const auto towards = [k](Real from, Real to) { return k == 1 ? to : from + (to - from) * k; };
  return {towards(d.r, r.r), towards(d.g, r.g), towards(d.b, r.b)};
}

// Integer depths: all on the scale of F times the divisor of mode 1, which makes step 1 whole numbers.
template <class P>
Unit4 ReferenceOfColours(int mode, const P& s, const P& d) {
  constexpr std::int64_t kFull = pf::DepthTraits<P>::kFull;
  const std::int64_t above = kFull * d.alpha, below = s.alpha * (kFull - d.alpha), divisor = above + below;
  const auto laid = [&](std::int64_t cs, std::int64_t cd) { return static_cast<Real>(cd * above + cs * below); };
  const auto scaled = [&](std::int64_t cs) { return static_cast<Real>(cs * divisor); };
  const Real3 out = ReferenceColour(mode, {scaled(s.red), scaled(s.green), scaled(s.blue)},
                                    {laid(s.red, d.red), laid(s.green, d.green), laid(s.blue, d.blue)},
                                    Real{1} * s.alpha / kFull, static_cast<Real>(kFull * divisor));
  const auto unit = [&](Real v, Real full) { return static_cast<double>(v / full); };
  const auto full = static_cast<Real>(kFull * divisor);
  return {unit(static_cast<Real>(divisor), kFull * kFull), unit(out.r, full), unit(out.g, full), unit(out.b, full)};
}
// Floats, with step 1 by mode 1's rule.
inline Unit4 ReferenceOfColours(int mode, const PF_PixelFloat& s, const PF_PixelFloat& d) {
  const double ar = SingleUnionAlpha(s.alpha, d.alpha);
  const auto laid = [&](float cs, float cd) { return Real{ReferenceChannel(1, cs, s.alpha, cd, d.alpha, ar)}; };
  const Real3 out = ReferenceColour(mode, {s.red, s.green, s.blue},
                                    {laid(s.red, d.red), laid(s.green, d.green), laid(s.blue, d.blue)}, s.alpha, 1);
  const auto plain = [](Real v) { return static_cast<double>(v); };
  return {d.alpha == 1 ? 1 : ar, plain(out.r), plain(out.g), plain(out.b)};
}

template <class P>
constexpr bool kIsFloatPixel = std::is_same_v<P, PF_PixelFloat>;

// 8 bits in mode 34 are the single-precision numbers that they convert to.
template <class P>
double UnitOf(pf::ChannelOf<P> v, bool single = false) {
  return single ? double{static_cast<float>(v) * (1.0f / pf::DepthTraits<P>::kFull)}
                : static_cast<double>(v) / pf::DepthTraits<P>::kFull;
}
template <class P>
Unit4 UnitsOf(const P& p, bool single = false) {
  return {UnitOf<P>(p.alpha), UnitOf<P>(p.red, single), UnitOf<P>(p.green, single), UnitOf<P>(p.blue, single)};
}

// The plain form, neither rounded nor limited.
template <class P>
Unit4 ReferenceTransfer(int mode, const P& source, const P& destination) {
  const bool single = mode == 34;
  const Unit4 s = UnitsOf(source, single), d = UnitsOf(destination, single);
  if (s.a == 0 || mode == 3) return d;
  if (mode == 0) return s;
  if (IsOfColours(mode)) return ReferenceOfColours(mode, source, destination);
  if (mode == 39) return s.a >= 0.5 ? Unit4{1, d.r, d.g, s.b} : d;
  if (mode == 40) return d.r != 0 && d.b != 0 ? s : d;
  const double ar =
      kIsFloatPixel<P> ? SingleUnionAlpha(static_cast<float>(s.a), static_cast<float>(d.a)) : UnionAlpha(s.a, d.a);
  Unit4 out = d;
  out.a = ReferenceAlpha(mode, s, d, ar);
  if (!IsSeparable(mode)) return out;
  out.r = ReferenceChannel(mode, s.r, s.a, d.r, d.a, ar);
  out.g = ReferenceChannel(mode, s.g, s.a, d.g, d.a, ar);
  out.b = ReferenceChannel(mode, s.b, s.a, d.b, d.a, ar);
  return out;
}

inline std::uint8_t ReferenceScaled(std::uint8_t v, std::uint8_t opacity) {
  if (opacity == 255) return v;
  const unsigned t = unsigned{opacity} * v;
  return static_cast<std::uint8_t>((t + 128 + ((t + 128) >> 8)) >> 8);
}
inline std::uint16_t ReferenceScaled(std::uint16_t v, std::uint16_t opacity) {
  if (opacity == 0x8000) return v;
  return static_cast<std::uint16_t>(std::min((std::uint64_t{opacity} * v + 0x3FFF) >> 15, std::uint64_t{32768}));
}
inline float ReferenceScaled(float v, float opacity) {
  const float product = v * opacity;
  return opacity == 1.0f ? v : product == product ? product : std::bit_cast<float>(0x7FC00000u);
}

// The source as the mode sees it.
template <class P>
P ReferenceSource(int mode, P s, pf::ChannelOf<P> opacity) {
  s.alpha = ReferenceScaled(s.alpha, opacity);
  if (mode == 21) {
    s.red = ReferenceScaled(s.red, opacity);
    s.green = ReferenceScaled(s.green, opacity);
    s.blue = ReferenceScaled(s.blue, opacity);
  }
  return s;
}

// Look-ups between the entries of tables, to nearest.
inline std::uint16_t Interpolated(const std::uint16_t* table, double place) {
  const double i = std::floor(place), fraction = place - i;
  const double low = table[static_cast<int>(i)], high = fraction == 0 ? low : table[static_cast<int>(i) + 1];
  return static_cast<std::uint16_t>(std::floor(low + fraction * (high - low) + 0.5));
}
inline std::uint16_t ReferenceToLinear(const PF_LinearBlendingTables& t, std::uint8_t v) { return t.toLinear8[v]; }
inline std::uint16_t ReferenceToLinear(const PF_LinearBlendingTables& t, std::uint16_t v) {
  return Interpolated(t.toLinear8, std::min<int>(v, 32768) * 255.0 / 32768.0);
}
inline std::uint16_t ReferenceFromLinear(const PF_LinearBlendingTables& t, std::uint16_t v) {
  return v == 0 ? std::uint16_t{0} : Interpolated(t.fromLinear16, std::min<int>(v, 32768) / 8.0);
}
inline Real ReferencePower(float v, float exponent) {
  const Real power = std::pow(std::abs(Real{v}), Real{exponent});
  return std::signbit(v) ? -power : power;
}

}  // namespace pftest
