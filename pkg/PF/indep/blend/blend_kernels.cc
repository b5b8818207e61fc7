#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "blend/blend_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "blend/BlendKernels.h"
#include "simd/ConvertDepth-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const BlendKernels* BlendKernelsOfTarget() { return &kPortableBlendKernels; }

#else

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::ScalableTag<std::uint16_t>;
using DI16 = hn::ScalableTag<std::int16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using D64 = hn::ScalableTag<std::uint64_t>;
using DF = hn::ScalableTag<float>;
using DF64 = hn::ScalableTag<double>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;
using VI32 = hn::Vec<DI32>;
using V64 = hn::Vec<D64>;
using VF = hn::Vec<DF>;
using VF64 = hn::Vec<DF64>;

// All channels alike, pixels of 8 bits, in vectors of bytes seen as 32-bit lanes. With W the larger weight, of
// channel b, and w <= 32768 the smaller one, of channel o: b W + o w = 65536 b + (o - b) w. Both factors are
// negated, for -32768 fits 16 bits.
struct Premul8 {
  using D = D32;
  using V = V32;
  static constexpr BlendForm kForm = kPremultipliedBlend;
  static constexpr int kIndex = 0;

  explicit Premul8(std::uint32_t ratio)
      : first_is_base(ratio <= 32768),
        weight(hn::Set(
            DI16(), static_cast<std::int16_t>(-static_cast<std::int32_t>(ratio <= 32768 ? ratio : 65536 - ratio)))) {}

  HWY_INLINE V16 Lanes(V16 base, V16 other) const {
    const DI16 d;
    const auto difference = hn::BitCast(d, hn::Sub(base, other));
    const V16 high = hn::BitCast(D16(), hn::MulHigh(difference, weight));
    const V16 low = hn::BitCast(D16(), hn::Mul(difference, weight));
    return hn::Add(hn::Add(base, high), hn::ShiftRight<15>(low));
  }

  HWY_INLINE V32 Ordered(V32 base, V32 other) const {
    const D16 d;
    const V16 a = hn::BitCast(d, base), b = hn::BitCast(d, other), low = hn::Set(d, 255);
    const V16 even = Lanes(hn::And(a, low), hn::And(b, low));
    const V16 odd = Lanes(hn::ShiftRight<8>(a), hn::ShiftRight<8>(b));
    return hn::BitCast(D32(), hn::Or(even, hn::ShiftLeft<8>(odd)));
  }

  HWY_INLINE V32 operator()(V32 first, V32 second) const {
    return first_is_base ? Ordered(first, second) : Ordered(second, first);
  }

  bool first_is_base;
  hn::Vec<DI16> weight;
};

// All channels alike, pixels of 16 bits: the high halves of both products, and what carries out of the sum of
// their low halves and 32768.
struct Premul16 {
  using D = D64;
  using V = V64;
  static constexpr BlendForm kForm = kPremultipliedBlend;
  static constexpr int kIndex = 1;

  explicit Premul16(std::uint32_t ratio)
      : w1(hn::Set(D16(), static_cast<std::uint16_t>(65536 - ratio))),
        w2(hn::Set(D16(), static_cast<std::uint16_t>(ratio))) {}

  HWY_INLINE V64 operator()(V64 first, V64 second) const {
    const D16 d;
    const V16 a = hn::BitCast(d, first), b = hn::BitCast(d, second);
    const V16 low1 = hn::Mul(a, w1), low2 = hn::Mul(b, w2);
    const V16 carry1 = hn::ShiftRight<15>(low1);
    // The complement of the rounded average of complements is the average rounded down; its top bit is the carry.
    const V16 average = hn::AverageRound(hn::Xor(low1, hn::Set(d, 0x7FFF)), hn::Not(low2));
    const V16 carry2 = hn::ShiftRight<15>(hn::Not(average));
    const V16 high = hn::Add(hn::MulHigh(a, w1), hn::MulHigh(b, w2));
    return hn::BitCast(D64(), hn::Add(high, hn::Add(carry1, carry2)));
  }

  V16 w1, w2;
};

// Where all alphas are equal and not 0, (c1 a w1 + c2 a w2 + 32768 a) / (65536 a) is the mix of channels alike.
template <class D, class V = hn::Vec<D> >
HWY_INLINE bool AlphasAlike(D d, V first, V second, hn::TFromD<D> alpha) {
  const V mask = hn::Set(d, alpha), zero = hn::Zero(d);
  const auto differ = hn::Ne(hn::And(hn::Xor(first, second), mask), zero);
  return hn::AllFalse(d, hn::Or(differ, hn::Eq(hn::And(first, mask), zero)));
}

// Straight pixels. With shares A1, A2 and S = A1 + A2 a colour is floor((c1 A1 + c2 A2 + floor(S / 2)) / S): c2
// plus P / S to nearest, halves up, where P = (c1 - c2) A1. For any whole k, P - (k + 1/2) S is a multiple of 1/2.
// So a value that is between P / S and (P + 1/2) / S, neither included, has the wanted nearest integer. A share of
// 0 needs no case of its own; when both are, S = 1 gives c2.

// 8 bits. 2^36 A1 / S is taken to within 1.1 in two steps: f1 is 2^18 A1 / S to within 1.1, and f2 is 2^18 R / S
// likewise, where R = 2^18 A1 - f1 S is what f1 leaves. R is below 2^25, so 32 bits hold it whatever overflows on the
// way. With y = (c1 - c2) (2^18 f1 + f2) + 1024 the error of y is below 255 * 1.1; P / S and (P + 1/2) / S are
// 2^35 / S > 2048 apart on that scale, so y / 2^36 is between them.
struct Straight8 {
  using D = D32;
  using V = V32;
  static constexpr BlendForm kForm = kStraightBlend;
  static constexpr int kIndex = 0;

  explicit Straight8(std::uint32_t ratio)
      : w1(hn::Set(D32(), 65536 - ratio)), w2(hn::Set(D32(), ratio)), alike(ratio) {}

  struct Factors {
    VI32 f1, f2;
  };

  HWY_INLINE static Factors FactorsOf(V32 share1, V32 share) {
    const DF df;
    const DI32 di;
    const VI32 a = hn::BitCast(di, share1), s = hn::BitCast(di, share);
    const VF scale = hn::Div(hn::Set(df, 0x1p18f), hn::Max(hn::ConvertTo(df, s), hn::Set(df, 1.0f)));
    const VI32 f1 = TruncateToInt32(hn::Mul(hn::ConvertTo(df, a), scale));
    const VI32 left = hn::Sub(hn::ShiftLeft<18>(a), hn::Mul(f1, s));
    return {f1, TruncateToInt32(hn::Mul(hn::ConvertTo(df, left), scale))};
  }

  // P / S to nearest in bits 18 to 25.
  HWY_INLINE static V32 Colour(VI32 difference, const Factors& factors) {
    const DI32 d;
    const VI32 low = hn::ShiftRight<18>(hn::Add(hn::Mul(difference, factors.f2), hn::Set(d, 1024)));
    const VI32 y = hn::Add(hn::Mul(difference, factors.f1), low);
    return hn::BitCast(D32(), hn::Add(y, hn::Set(d, 1 << 17)));
  }

  HWY_INLINE V32 operator()(V32 first, V32 second) const {
    const D32 d;
    const D16 d16;
    const DI32 di;
    const V32 alpha = hn::Set(d, 255);
    if (AlphasAlike(d, first, second, 255)) return alike(first, second);
    const V32 share1 = hn::Mul(hn::And(first, alpha), w1);
    const V32 share = hn::Add(share1, hn::Mul(hn::And(second, alpha), w2));
    const Factors factors = FactorsOf(share1, share);

    // Differences of channels in lanes of 16 bits: alpha and green, red and blue.
    const V16 a = hn::BitCast(d16, first), b = hn::BitCast(d16, second), byte = hn::Set(d16, 255);
    const VI32 even = hn::BitCast(di, hn::Sub(hn::And(a, byte), hn::And(b, byte)));
    const VI32 odd = hn::BitCast(di, hn::Sub(hn::ShiftRight<8>(a), hn::ShiftRight<8>(b)));
    const V32 red = Colour(hn::ShiftRight<16>(hn::ShiftLeft<16>(odd)), factors);
    const V32 green = Colour(hn::ShiftRight<16>(even), factors);
    const V32 blue = Colour(hn::ShiftRight<16>(odd), factors);

    V32 out = hn::ShiftRight<16>(hn::Add(share, hn::Set(d, 32768)));
    out = hn::Or(out, hn::And(hn::ShiftRight<10>(red), hn::Set(d, 0xFF00)));
    out = hn::Or(out, hn::And(hn::ShiftRight<2>(green), hn::Set(d, 0xFF0000)));
    out = hn::Or(out, hn::And(hn::ShiftLeft<6>(blue), hn::Set(d, 0xFF000000)));
    return hn::BitCast(d, hn::Add(hn::BitCast(D8(), out), hn::BitCast(D8(), hn::AndNot(alpha, second))));
  }

  V32 w1, w2;
  Premul8 alike;
};

constexpr std::uint64_t kTwoTo52 = 0x4330000000000000u;  // the bits of 2^52

// Integers below 2^52 to doubles.
HWY_INLINE VF64 WithTwoTo52(V64 v) { return hn::BitCast(DF64(), hn::Or(v, hn::Set(D64(), kTwoTo52))); }
HWY_INLINE VF64 Real(V64 v) { return hn::Sub(WithTwoTo52(v), hn::BitCast(DF64(), hn::Set(D64(), kTwoTo52))); }

// 16 bits, a pixel in each lane of 64. x = (P + 1/4) / S in double precision: the numerator is exact, the reciprocal
// of S and the product are each off by at most 2^-53 of |x| < 2^16, together by about 2^-36, and x is 1 / (4 S) >
// 2^-34 away from either bound. Adding 1.5 * 2^52 rounds x and leaves it in the low bits, modulo the channel's range.
struct Straight16 {
  using D = D64;
  using V = V64;
  static constexpr BlendForm kForm = kStraightBlend;
  static constexpr int kIndex = 1;

  explicit Straight16(std::uint32_t ratio)
      : w1(hn::Set(D64(), 65536 - ratio)), w2(hn::Set(D64(), ratio)), alike(ratio) {}

  HWY_INLINE static V64 Share(V64 alpha, V64 w) {
    return hn::MulEven(hn::BitCast(D32(), alpha), hn::BitCast(D32(), w));
  }

  template <int kChannel>
  HWY_INLINE static V64 Colour(V64 first, V64 second, VF64 share1, VF64 reciprocal) {
    const DF64 d;
    const V64 full = hn::Set(D64(), 65535);
    const auto channel = [=](V64 v) HWY_ATTR { return WithTwoTo52(hn::And(hn::ShiftRight<16 * kChannel>(v), full)); };
    const VF64 difference = hn::Sub(channel(first), channel(second));
    const VF64 x = hn::Mul(hn::Add(hn::Mul(difference, share1), hn::Set(d, 0.25)), reciprocal);
    return hn::ShiftLeft<16 * kChannel>(hn::And(hn::BitCast(D64(), hn::Add(x, hn::Set(d, 0x1.8p52))), full));
  }

  HWY_INLINE V64 operator()(V64 first, V64 second) const {
    const D64 d;
    const DF64 df;
    const V64 alpha = hn::Set(d, 65535);
    if (AlphasAlike(d, first, second, 65535)) return alike(first, second);
    const V64 share1 = Share(hn::And(first, alpha), w1);
    const V64 share = hn::Add(share1, Share(hn::And(second, alpha), w2));
    const VF64 reciprocal = hn::Div(hn::Set(df, 1.0), hn::Max(Real(share), hn::Set(df, 1.0)));
    V64 out = hn::ShiftRight<16>(hn::Add(share, hn::Set(d, 32768)));
    out = hn::Or(out, Colour<1>(first, second, Real(share1), reciprocal));
    out = hn::Or(out, Colour<2>(first, second, Real(share1), reciprocal));
    out = hn::Or(out, Colour<3>(first, second, Real(share1), reciprocal));
    return hn::BitCast(d, hn::Add(hn::BitCast(D16(), out), hn::BitCast(D16(), hn::AndNot(alpha, second))));
  }

  V64 w1, w2;
  Premul16 alike;
};

// Float terms as integers while both and their sum are below 2^31 and not negative, as those of ordinary
// pixels are; other pixels are left to the portable kernel.
struct FloatTerms {
  HWY_INLINE FloatTerms(VF first, VF second, VF w1, VF w2)
      : term1(TruncateToInt32(hn::Mul(first, w1))),
        term2(TruncateToInt32(hn::Mul(second, w2))),
        sum(hn::Add(term1, term2)) {}

  HWY_INLINE bool Ordinary() const {
    const DI32 d;
    return hn::AllFalse(d, hn::Lt(hn::Or(hn::Or(term1, term2), sum), hn::Zero(d)));
  }

  VI32 term1, term2, sum;
};

struct FloatKernel {
  using D = DF;
  using V = VF;
  static constexpr int kIndex = 2;

  explicit FloatKernel(std::uint32_t weight)
      : ratio(weight),
        w1(hn::Set(DF(), static_cast<float>(65536 - weight))),
        w2(hn::Set(DF(), static_cast<float>(weight))) {}

  HWY_NOINLINE VF Portable(BlendForm form, VF first, VF second) const {
    const DF d;
    HWY_ALIGN float a[hn::MaxLanes(DF())], b[hn::MaxLanes(DF())];
    hn::Store(first, d, a);
    hn::Store(second, d, b);
    kPortableBlendKernels.row[form][kIndex](a, b, ratio, a, hn::Lanes(d) / 4);
    return hn::Load(d, a);
  }

  std::uint32_t ratio;
  VF w1, w2;
};

struct PremulFloat : FloatKernel {
  static constexpr BlendForm kForm = kPremultipliedBlend;
  using FloatKernel::FloatKernel;

  HWY_INLINE VF operator()(VF first, VF second) const {
    const FloatTerms terms(first, second, w1, w2);
    if (HWY_UNLIKELY(!terms.Ordinary())) return Portable(kPremultipliedBlend, first, second);
    return hn::Mul(hn::ConvertTo(DF(), terms.sum), hn::Set(DF(), 0x1p-16f));
  }
};

struct StraightFloat : FloatKernel {
  static constexpr BlendForm kForm = kStraightBlend;
  using FloatKernel::FloatKernel;

  HWY_INLINE VF operator()(VF first, VF second) const {
    const DF d;
    const FloatTerms shares(hn::Broadcast<0>(first), hn::Broadcast<0>(second), w1, w2);
    if (HWY_UNLIKELY(!shares.Ordinary())) return Portable(kStraightBlend, first, second);
    const VF share = hn::ConvertTo(d, shares.sum);
    const VF of1 = hn::Mul(first, hn::ConvertTo(d, shares.term1));
    const VF of2 = hn::Mul(second, hn::ConvertTo(d, shares.term2));
    const VF mixed = hn::Div(hn::Add(hn::Add(of1, of2), hn::Zero(d)), share);
    VF colour = hn::IfThenElse(hn::Eq(mixed, mixed), mixed, hn::BitCast(d, hn::Set(D32(), 0x7FC00000)));
    colour = hn::IfThenElse(IsZero(shares.term2), first, colour);
    colour = hn::IfThenElse(IsZero(shares.term1), second, colour);
    alignas(16) const std::uint32_t alpha_lane[4] = {~0u, 0, 0, 0};
    const auto is_alpha = hn::MaskFromVec(hn::BitCast(d, hn::LoadDup128(D32(), alpha_lane)));
    return hn::IfThenElse(is_alpha, hn::Mul(share, hn::Set(d, 0x1p-16f)), colour);
  }

  HWY_INLINE static hn::Mask<DF> IsZero(VI32 v) { return hn::RebindMask(DF(), hn::Eq(v, hn::Zero(DI32()))); }
};

template <class Kernel>
void Row(const void* first, const void* second, std::uint32_t ratio, void* out, std::size_t n) {
  using D = typename Kernel::D;
  using T = hn::TFromD<D>;
  constexpr std::size_t kLanesPerPixel = Kernel::kIndex == 2 ? 4 : 1;
  const D d;
  const std::size_t step = hn::Lanes(d), count = n * kLanesPerPixel;
  if (count < step) return kPortableBlendKernels.row[Kernel::kForm][Kernel::kIndex](first, second, ratio, out, n);
  const auto* a = static_cast<const T*>(first);
  const auto* b = static_cast<const T*>(second);
  auto* to = static_cast<T*>(out);
  const Kernel kernel(ratio);
  // The last vector may overlap the one before it, so its pixels are taken before any is written.
  const std::size_t rest = count - step;
  const auto last_a = hn::LoadU(d, a + rest), last_b = hn::LoadU(d, b + rest);
  std::size_t i = 0;
  for (; i + step <= count; i += step) hn::StoreU(kernel(hn::LoadU(d, a + i), hn::LoadU(d, b + i)), d, to + i);
  if (i < count) hn::StoreU(kernel(last_a, last_b), d, to + rest);
}

constexpr BlendKernels kKernels = {
    {{&Row<Premul8>, &Row<Premul16>, &Row<PremulFloat>}, {&Row<Straight8>, &Row<Straight16>, &Row<StraightFloat>}}};

const BlendKernels* BlendKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(BlendKernelsOfTarget);

const BlendKernels& VectorBlendKernels() { return *HWY_DYNAMIC_DISPATCH(BlendKernelsOfTarget)(); }

}  // namespace pf
#endif
