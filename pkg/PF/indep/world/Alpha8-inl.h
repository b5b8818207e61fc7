// The alpha conventions on vectors of 8-bit pixels: the lane forms of world/Premultiply.h.
#if defined(PF_WORLD_ALPHA8_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_WORLD_ALPHA8_INL_H
#undef PF_WORLD_ALPHA8_INL_H
#else
#define PF_WORLD_ALPHA8_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "simd/MaskMath-inl.h"
#include "world/AlphaLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

alignas(16) constexpr std::uint8_t kAlphaBytes8[16] = {0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12};
alignas(16) constexpr std::uint8_t kAlphaPairs8[16] = {0, kNone, 0, kNone, 4,  kNone, 4,  kNone,
                                                       8, kNone, 8, kNone, 12, kNone, 12, kNone};
alignas(16) constexpr std::uint8_t kLowHalves32[16] = {0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13};
alignas(16) constexpr std::uint8_t kHighHalves32[16] = {2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15};

// Pixels of 8 bits as lanes of 16: alpha and green are even, red and blue odd.
struct EvenAndOdd {
  HWY_INLINE explicit EvenAndOdd(V8 v)
      : even(hn::And(hn::BitCast(D16(), v), hn::Set(D16(), 255))), odd(hn::ShiftRight<8>(hn::BitCast(D16(), v))) {}
  V16 even, odd;
};
HWY_INLINE V8 Joined(V16 even, V16 odd) { return hn::BitCast(D8(), hn::Or(even, hn::ShiftLeft<8>(odd))); }

// What multiplies the channels of 8-bit pixels: alpha, and 255 for alpha itself.
struct Factors8 {
  HWY_INLINE explicit Factors8(V8 v)
      : odd(ChooseBytes(D16(), hn::BitCast(D16(), v), kAlphaPairs8)),
        even(hn::Or(odd, hn::BitCast(D16(), hn::Set(D32(), 255)))) {}
  V16 odd, even;
};

struct Premultiply8 {
  using P = PF_Pixel8;
  HWY_INLINE V8 operator()(V8 v) const {
    const D16 d;
    const EvenAndOdd c(v);
    const Factors8 a(v);
    return Joined(DivideBy255(d, hn::Mul(c.even, a.even)), DivideBy255(d, hn::Mul(c.odd, a.odd)));
  }
};

struct OntoMatte8 {
  using P = PF_Pixel8;
  explicit OntoMatte8(const P& m)
      : matte(hn::BitCast(D8(), hn::Set(D32(), static_cast<std::uint32_t>(m.red << 8 | m.green << 16) |
                                                   static_cast<std::uint32_t>(m.blue) << 24))) {}

  // c a + m (255 - a) <= 255 * 255.
  HWY_INLINE static V16 Lanes(V16 c, V16 a, V16 m) {
    const D16 d;
    return DivideBy255(d, hn::Add(hn::Mul(c, a), hn::Mul(m, hn::Sub(hn::Set(d, 255), a))));
  }
  HWY_INLINE V8 operator()(V8 v) const {
    const EvenAndOdd c(v);
    const Factors8 a(v);
    return Joined(Lanes(c.even, a.even, matte.even), Lanes(c.odd, a.odd, matte.odd));
  }

  EvenAndOdd matte;
};

// Quotients of 8 bits. (255 c + floor(a / 2)) / a, truncated, is floor(x + 1/2) with x = 255 c / a: for odd a nothing
// is an exact half. c is limited to a first, which gives 255 where the limit would.
//
// f is 2^23 * 255 / a, made larger by something between 2 and 1152 / a: the constant adds 1024 / a, the rounding of the
// quotient changes that by at most 128 / a, truncation takes away less than 1, and 896 / a > 3. So c f / 2^23 is not
// below x and, c being at most a, above it by at most 1152 / 2^23 < 1 / (2 a), the distance of x + 1/2 from the next
// integer. The halves of f multiply c in 16 bits: c * high <= 255 * 128, and of c * low only whole 2^-7 are kept, which
// cannot change what is left after 1/2 = 64 * 2^-7 is added and the fraction dropped.
struct Unmultiply8 {
  using P = PF_Pixel8;
  HWY_INLINE static bool IsOpaque(V8 v) {
    const D32 d;
    const V32 full = hn::Set(d, 255);
    return hn::AllTrue(d, hn::Eq(hn::And(hn::BitCast(d, v), full), full));
  }
  HWY_INLINE static V8 OfOpaque(V8 v) { return v; }

  HWY_INLINE static V16 Scaled(V16 c, V16 high, V16 low) {
    return hn::Add(hn::Add(hn::Mul(c, high), hn::Set(D16(), 64)), hn::MulHigh(c, low));
  }
  HWY_INLINE V8 operator()(V8 v) const {
    const D16 d16;
    const D32 d;
    const DF df;
    const V32 alpha = hn::And(hn::BitCast(d, v), hn::Set(d, 255));
    const EvenAndOdd c(hn::Min(v, ChooseBytes(D8(), v, kAlphaBytes8)));
    const VF a = hn::ConvertTo(df, hn::BitCast(DI32(), alpha));
    // For a = 0 that is infinite, and f some number; but c is 0.
    const V32 f = hn::BitCast(d, TruncateToInt32(hn::Div(hn::Set(df, 255 * 0x1p23f + 1024), a)));
    // Alpha is multiplied by 128 * 2^-7.
    const V16 high = hn::BitCast(d16, hn::Or(hn::And(f, hn::Set(d, 0xFFFF0000)), hn::Set(d, 128)));
    const V16 low = hn::BitCast(d16, hn::ShiftLeft<16>(f));
    const V16 even = Scaled(c.even, high, low);
    const V16 odd = Scaled(c.odd, hn::BitCast(d16, ChooseBytes(d, f, kHighHalves32)),
                           hn::BitCast(d16, ChooseBytes(d, f, kLowHalves32)));
    return hn::BitCast(D8(), hn::Or(hn::ShiftRight<7>(even), hn::And(hn::Add(odd, odd), hn::Set(d16, 0xFF00))));
  }
};

// x = 255 (c - m) / a, to nearest with halves away from zero. In single precision x comes out larger by between 2^-21
// and 2^-19 of itself, never smaller. What is 2^8 or more ends at a limit in any case; below it that is less than
// 1 / (2 a), so adding 1/2 and truncating gives the nearest.
struct WithoutMatte8 {
  using P = PF_Pixel8;
  explicit WithoutMatte8(const P& m)
      : red(hn::Set(DI32(), m.red)), green(hn::Set(DI32(), m.green)), blue(hn::Set(DI32(), m.blue)) {}

  template <int kChannel>
  HWY_INLINE static V32 Colour(V32 v, VI32 m, VF scale) {
    const D32 d;
    const DI32 di;
    const DF df;
    const V32 byte = hn::Set(d, 255);
    const VI32 c = hn::BitCast(di, hn::And(hn::ShiftRight<8 * kChannel>(v), byte));
    const VF x = hn::Mul(hn::ConvertTo(df, hn::Sub(c, m)), scale);
    const VI32 straight = hn::Add(m, TruncateToInt32(hn::Add(x, hn::CopySign(hn::Set(df, 0.5f), x))));
    const VI32 limited = hn::Min(hn::Max(straight, hn::Zero(di)), hn::Set(di, 255));
    return hn::ShiftLeft<8 * kChannel>(hn::BitCast(d, limited));
  }
  HWY_INLINE V8 operator()(V8 pixels) const {
    const D32 d;
    const DF df;
    const V32 v = hn::BitCast(d, pixels);
    const V32 alpha = hn::And(v, hn::Set(d, 255));
    const VF a = hn::Max(hn::ConvertTo(df, hn::BitCast(DI32(), alpha)), hn::Set(df, 1));
    const VF scale = hn::Div(hn::Set(df, 255 + 0x1p-12f), a);
    const V32 out =
        hn::Or(hn::Or(alpha, Colour<1>(v, red, scale)), hn::Or(Colour<2>(v, green, scale), Colour<3>(v, blue, scale)));
    return hn::BitCast(D8(), hn::IfThenElseZero(hn::Ne(alpha, hn::Zero(d)), out));
  }

  VI32 red, green, blue;
};

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
