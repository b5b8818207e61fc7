#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "world/alpha_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "pixel/Depth.h"
#include "simd/ConvertDepth-inl.h"
#include "simd/MaskMath-inl.h"
#include "world/AlphaKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const AlphaKernels* AlphaKernelsOfTarget() { return &kPortableAlphaKernels; }

#else

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::ScalableTag<std::uint16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using D64 = hn::ScalableTag<std::uint64_t>;
using DF = hn::ScalableTag<float>;
using DF64 = hn::ScalableTag<double>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;
using VI32 = hn::Vec<DI32>;
using V64 = hn::Vec<D64>;
using VF = hn::Vec<DF>;
using VF64 = hn::Vec<DF64>;

constexpr std::uint8_t kNone = 0x80;  // in place of the number of a byte: 0

// Each pixel's bytes 0 to 3 (of 8-bit pixels) or 0 to 7, chosen by their numbers in the pixel.
template <class D>
HWY_INLINE hn::Vec<D> ChooseBytes(D d, hn::Vec<D> v, const std::uint8_t (&bytes)[16]) {
  return hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(D8(), v), hn::LoadDup128(D8(), bytes)));
}
alignas(16) constexpr std::uint8_t kAlphaBytes8[16] = {0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12};
alignas(16) constexpr std::uint8_t kAlphaPairs8[16] = {0, kNone, 0, kNone, 4,  kNone, 4,  kNone,
                                                       8, kNone, 8, kNone, 12, kNone, 12, kNone};
alignas(16) constexpr std::uint8_t kLowHalves32[16] = {0, 1, 0, 1, 4, 5, 4, 5, 8, 9, 8, 9, 12, 13, 12, 13};
alignas(16) constexpr std::uint8_t kHighHalves32[16] = {2, 3, 2, 3, 6, 7, 6, 7, 10, 11, 10, 11, 14, 15, 14, 15};
alignas(16) constexpr std::uint8_t kAlphas16[16] = {0, 1, 0, 1, 0, 1, 0, 1, 8, 9, 8, 9, 8, 9, 8, 9};
alignas(16) constexpr std::uint8_t kAlphasOfColour16[16] = {kNone, kNone, 0, 1, 0, 1, 0, 1,
                                                            kNone, kNone, 8, 9, 8, 9, 8, 9};

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
// f is 2^23 * 255 / a, made larger by 2 to 1152 / a + 1: the constant adds 1024 / a, the rounding of the quotient
// changes it by at most 128 / a and truncation takes away less than 1, where 896 / a > 3. So c f / 2^23 is not below x
// and above it by less than 1 / (2 a), the distance of x + 1/2 from the next integer: that is a (1152 / a + 1) / 2^23.
// The halves of f multiply c in 16 bits: c * high <= 255 * 128, and of c * low only whole 2^-7 are kept, which cannot
// change what 1/2 = 64 * 2^-7 rounds to.
struct Unmultiply8 {
  using P = PF_Pixel8;
  HWY_INLINE static V16 Scaled(V16 c, V16 high, V16 low) {
    return hn::Add(hn::Add(hn::Mul(c, high), hn::Set(D16(), 64)), hn::MulHigh(c, low));
  }
  HWY_INLINE V8 operator()(V8 v) const {
    const D16 d16;
    const D32 d;
    const DF df;
    const EvenAndOdd c(hn::Min(v, ChooseBytes(D8(), v, kAlphaBytes8)));
    const V32 alpha = hn::And(hn::BitCast(d, v), hn::Set(d, 255));
    const VF a = hn::ConvertTo(df, hn::BitCast(DI32(), alpha));
    // Whatever f is for a = 0, c is 0.
    const V32 f =
        hn::BitCast(d, TruncateToInt32(hn::Div(hn::Set(df, 255 * 0x1p23f + 1024), hn::Max(a, hn::Set(df, 1)))));
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

// 32768 / a, larger by between 2^-41 and 2^-39 of itself. Times c it is never below x = 32768 c / a; where that is at
// most 2^17 it is above it by less than 1 / (2 a) > 2^-17, the distance from the next odd multiple of 1/2 of what is no
// such multiple itself.
HWY_INLINE VF64 ScaleOfAlpha(VF64 a) {
  return hn::Div(hn::Set(DF64(), 32768 + 0x1p-25), hn::Max(a, hn::Set(DF64(), 1)));
}

// As with 8 bits, c is limited to a first and halves are rounded up.
struct Unmultiply16 {
  using P = PF_Pixel16;
  HWY_INLINE V16 operator()(V16 v) const {
    const D64 d;
    const V64 c = hn::BitCast(d, hn::Min(v, ChooseBytes(D16(), v, kAlphas16)));
    const V64 alpha = hn::And(hn::BitCast(d, v), hn::Set(d, 65535));
    const VF64 scale = ScaleOfAlpha(Real(alpha));
    const V64 red = Placed<1>(hn::Mul(Channel<1>(c), scale));
    const V64 green = Placed<2>(hn::Mul(Channel<2>(c), scale));
    const V64 blue = Placed<3>(hn::Mul(Channel<3>(c), scale));
    return hn::BitCast(D16(), hn::Or(hn::Or(alpha, red), hn::Or(green, blue)));
  }
};

// Differences beyond 2^17 end at a limit in any case.
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

// Float pixels: the straight steps of the portable code on all four lanes, of which that of alpha stays as it was.
HWY_INLINE VF WithAlphaOf(VF v, VF colour) {
  alignas(16) constexpr std::uint32_t kAlpha[4] = {0xFFFFFFFF, 0, 0, 0};
  return hn::IfVecThenElse(hn::BitCast(DF(), hn::LoadDup128(D32(), kAlpha)), v, colour);
}
HWY_INLINE VF WhereOpaqueAtAll(VF a, VF colour) { return hn::IfThenElseZero(hn::Gt(a, hn::Zero(DF())), colour); }
HWY_INLINE VF LanesOf(const PF_PixelFloat& m) {
  alignas(16) const float channels[4] = {0, m.red, m.green, m.blue};
  return hn::LoadDup128(DF(), channels);
}

struct PremultiplyFloat {
  using P = PF_PixelFloat;
  HWY_INLINE VF operator()(VF v) const { return WithAlphaOf(v, hn::Mul(v, hn::Broadcast<0>(v))); }
};
struct UnmultiplyFloat {
  using P = PF_PixelFloat;
  HWY_INLINE VF operator()(VF v) const {
    const VF a = hn::Broadcast<0>(v);
    return WithAlphaOf(v, WhereOpaqueAtAll(a, hn::Div(v, a)));
  }
};
struct OntoMatteFloat {
  using P = PF_PixelFloat;
  explicit OntoMatteFloat(const P& m) : matte(LanesOf(m)) {}
  HWY_INLINE VF operator()(VF v) const {
    return WithAlphaOf(v, hn::Add(matte, hn::Mul(hn::Sub(v, matte), hn::Broadcast<0>(v))));
  }
  VF matte;
};
struct WithoutMatteFloat {
  using P = PF_PixelFloat;
  explicit WithoutMatteFloat(const P& m) : matte(LanesOf(m)) {}
  HWY_INLINE VF operator()(VF v) const {
    const VF a = hn::Broadcast<0>(v);
    return WithAlphaOf(v, WhereOpaqueAtAll(a, hn::Add(matte, hn::Div(hn::Sub(v, matte), a))));
  }
  VF matte;
};

// Whole vectors, then one that overlaps the last; it is made first, for the row may be its own result. False for rows
// shorter than a vector, of which nothing is done.
template <class Kernel>
HWY_INLINE bool MapRow(const Kernel& kernel, const void* in, void* out, std::size_t n) {
  using Channel = ChannelOf<typename Kernel::P>;
  const hn::ScalableTag<Channel> d;
  const auto* from = static_cast<const Channel*>(in);
  auto* to = static_cast<Channel*>(out);
  const std::size_t step = hn::Lanes(d), count = 4 * n;
  if (count < step) return false;
  const auto last = kernel(hn::LoadU(d, from + count - step));
  for (std::size_t i = 0; i + step <= count; i += step) hn::StoreU(kernel(hn::LoadU(d, from + i)), d, to + i);
  hn::StoreU(last, d, to + count - step);
  return true;
}

template <class Kernel, AlphaKernels::Row (AlphaKernels::*kPortable)[3]>
void Row(const void* in, void* out, std::size_t n) {
  constexpr int kIndex = DepthIndex(DepthTraits<typename Kernel::P>::kDepth);
  if (!MapRow(Kernel(), in, out, n)) (kPortableAlphaKernels.*kPortable)[kIndex](in, out, n);
}
template <class Kernel, AlphaKernels::MatteRow (AlphaKernels::*kPortable)[3]>
void MatteRow(const void* in, const void* matte, void* out, std::size_t n) {
  using P = typename Kernel::P;
  constexpr int kIndex = DepthIndex(DepthTraits<P>::kDepth);
  if (!MapRow(Kernel(*static_cast<const P*>(matte)), in, out, n)) {
    (kPortableAlphaKernels.*kPortable)[kIndex](in, matte, out, n);
  }
}

constexpr AlphaKernels kKernels = {
    {&Row<Premultiply8, &AlphaKernels::premultiply>, &Row<Premultiply16, &AlphaKernels::premultiply>,
     &Row<PremultiplyFloat, &AlphaKernels::premultiply>},
    {&Row<Unmultiply8, &AlphaKernels::unmultiply>, &Row<Unmultiply16, &AlphaKernels::unmultiply>,
     &Row<UnmultiplyFloat, &AlphaKernels::unmultiply>},
    {&MatteRow<OntoMatte8, &AlphaKernels::onto_matte>, &MatteRow<OntoMatte16, &AlphaKernels::onto_matte>,
     &MatteRow<OntoMatteFloat, &AlphaKernels::onto_matte>},
    {&MatteRow<WithoutMatte8, &AlphaKernels::without_matte>, &MatteRow<WithoutMatte16, &AlphaKernels::without_matte>,
     &MatteRow<WithoutMatteFloat, &AlphaKernels::without_matte>}};

const AlphaKernels* AlphaKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(AlphaKernelsOfTarget);

const AlphaKernels& VectorAlphaKernels() { return *HWY_DYNAMIC_DISPATCH(AlphaKernelsOfTarget)(); }

}  // namespace pf
#endif
