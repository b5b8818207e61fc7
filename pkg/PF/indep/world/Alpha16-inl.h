// The alpha conventions on vectors of 16-bit pixels: the lane forms of world/Premultiply.h.
#if defined(PF_WORLD_ALPHA16_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_WORLD_ALPHA16_INL_H
#undef PF_WORLD_ALPHA16_INL_H
#else
#define PF_WORLD_ALPHA16_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "world/AlphaLanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

alignas(16) constexpr std::uint8_t kAlphas16[16] = {0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9};
alignas(16) constexpr std::uint8_t kAlphasOfColour16[16] = {kNone, kNone, 0, 1, 0, 1, 0, 1,
                                                            kNone, kNone, 8, 9, 8, 9, 8, 9};

// What multiplies the channels of 16-bit pixels: alpha, and 32768 for alpha itself.
HWY_INLINE V16 Factors16(V16 v) {
  return hn::Or(ChooseBytes(D16(), v, kAlphasOfColour16), hn::BitCast(D16(), hn::Set(D64(), 32768)));
}
// (low + 16383) >> 15. The average gives the carry a place.
HWY_INLINE V16 CarriedBits(V16 low) { return hn::ShiftRight<14>(hn::AverageRound(low, hn::Set(D16(), 16382))); }

struct Premultiply16 {
  using P = PF_Pixel16;
  HWY_INLINE V16 operator()(V16 v) const {
    const V16 a = Factors16(v);
    const V16 high = hn::MulHigh(v, a);
    return hn::SaturatedAdd(hn::SaturatedAdd(high, high), CarriedBits(hn::Mul(v, a)));
  }
};

// c a + m (32768 - a) is 32768 m + (c - m) a; the difference of the products c a and m a has a high half, modulo 2^16,
// that takes the borrow of the low halves.
struct OntoMatte16 {
  using P = PF_Pixel16;
  explicit OntoMatte16(const P& m)
      : matte(hn::BitCast(D16(), hn::Set(D64(), std::uint64_t{m.red} << 16 | std::uint64_t{m.green} << 32 |
                                                    std::uint64_t{m.blue} << 48))) {}

  HWY_INLINE V16 operator()(V16 v) const {
    const D16 d;
    const V16 a = hn::Min(Factors16(v), hn::Set(d, 32768));
    const V16 low1 = hn::Mul(v, a), low2 = hn::Mul(matte, a);
    const V16 borrow = hn::VecFromMask(d, hn::Lt(low1, low2));  // -1 or 0
    const V16 high = hn::Add(hn::Sub(hn::MulHigh(v, a), hn::MulHigh(matte, a)), borrow);
    return hn::Add(hn::Add(matte, hn::Add(high, high)), CarriedBits(hn::Sub(low1, low2)));
  }

  V16 matte;
};

// A channel of 16-bit pixels in lanes of 64, to and from doubles. Integers from 0 to 2^52 are in the low bits of their
// sums with 2^52; adding 1.5 * 2^52 rounds to nearest and leaves integers of either sign there, modulo 2^16.
constexpr std::uint64_t kTwoTo52 = 0x4330000000000000u;  // the bits of 2^52

HWY_INLINE VF64 Real(V64 v) {
  const V64 bits = hn::Set(D64(), kTwoTo52);
  return hn::Sub(hn::BitCast(DF64(), hn::Or(v, bits)), hn::BitCast(DF64(), bits));
}
template <int kChannel>
HWY_INLINE VF64 Channel(V64 v) {
  if constexpr (kChannel == 3) return Real(hn::ShiftRight<48>(v));
  return Real(hn::And(hn::ShiftRight<16 * kChannel>(v), hn::Set(D64(), 65535)));
}
template <int kChannel>
HWY_INLINE V64 Placed(VF64 v) {
  const V64 bits = hn::BitCast(D64(), hn::Add(v, hn::Set(DF64(), 0x1.8p52)));
  if constexpr (kChannel == 3) return hn::ShiftLeft<48>(bits);
  return hn::ShiftLeft<16 * kChannel>(hn::And(bits, hn::Set(D64(), 65535)));
}

// 32768 / a, to 2^-53 of itself. Quotients x = 32768 c / a are never exact halves, for no a has 16 factors of 2, so
// they are 1 / (2 a) > 2^-17 away from those. Where x is at most 2^17, c times this is less than 2^-34 off.
HWY_INLINE VF64 ScaleOfAlpha(VF64 a) { return hn::Div(hn::Set(DF64(), 32768), hn::Max(a, hn::Set(DF64(), 1))); }

// As with 8 bits, c is limited to a first.
struct Unmultiply16 {
  using P = PF_Pixel16;
  HWY_INLINE static bool IsOpaque(V16 v) {
    const D64 d;
    return hn::AllTrue(d, hn::Eq(hn::And(hn::BitCast(d, v), hn::Set(d, 65535)), hn::Set(d, 32768)));
  }
  HWY_INLINE static V16 OfOpaque(V16 v) { return hn::Min(v, hn::Set(D16(), 32768)); }

  HWY_INLINE V16 operator()(V16 v) const {
    const D64 d;
    const V64 alpha = hn::And(hn::BitCast(d, v), hn::Set(d, 65535));
    const V64 c = hn::BitCast(d, hn::Min(v, ChooseBytes(D16(), v, kAlphas16)));
    const VF64 scale = ScaleOfAlpha(Real(alpha));
    const V64 red = Placed<1>(hn::Mul(Channel<1>(c), scale));
    const V64 green = Placed<2>(hn::Mul(Channel<2>(c), scale));
    const V64 blue = Placed<3>(hn::Mul(Channel<3>(c), scale));
    return hn::BitCast(D16(), hn::Or(hn::Or(alpha, red), hn::Or(green, blue)));
  }
};

// Quotients beyond 2^17 end at a limit in any case.
struct WithoutMatte16 {
  using P = PF_Pixel16;
  explicit WithoutMatte16(const P& m)
      : red(hn::Set(DF64(), m.red)), green(hn::Set(DF64(), m.green)), blue(hn::Set(DF64(), m.blue)) {}

  template <int kChannel>
  HWY_INLINE static V64 Colour(V64 v, VF64 m, VF64 scale) {
    const DF64 d;
    const VF64 round = hn::Set(d, 0x1.8p52);
    const VF64 x = hn::Mul(hn::Sub(Channel<kChannel>(v), m), scale);
    const VF64 straight = hn::Add(m, hn::Sub(hn::Add(x, round), round));
    return Placed<kChannel>(hn::Min(hn::Max(straight, hn::Zero(d)), hn::Set(d, 32768)));
  }
  HWY_INLINE V16 operator()(V16 pixels) const {
    const D64 d;
    const V64 v = hn::BitCast(d, pixels);
    const V64 alpha = hn::And(v, hn::Set(d, 65535));
    const VF64 scale = ScaleOfAlpha(Real(alpha));
    const V64 out =
        hn::Or(hn::Or(alpha, Colour<1>(v, red, scale)), hn::Or(Colour<2>(v, green, scale), Colour<3>(v, blue, scale)));
    return hn::BitCast(D16(), hn::IfThenElseZero(hn::Ne(alpha, hn::Zero(d)), out));
  }

  VF64 red, green, blue;
};

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
