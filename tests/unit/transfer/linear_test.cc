// After look-ups that round otherwise or read behind their table, black that does not stay black, stored values that
// move although the mode left them, alphas that are converted, and powers that are off or differ between targets.
#include <bit>
#include <cmath>

#include "support/Targets.h"
#include "transfer/LinearMath.h"
#include "transfer/TransferRow.h"
#include "unit/transfer/Support.h"

namespace {

using namespace pftest;
using pf::LinearJob;
using pf::LinearLightKernels;
using pf::LinearPixel;

// Tables that profiles give, and some that none does.
std::vector<PF_LinearBlendingTables> SomeTables() {
  std::vector<PF_LinearBlendingTables> all(4);
  Random random(3);
  for (int i = 0; i <= 4096; ++i) {
    const double to = i / 255.0, from = i / 4096.0;
    const auto entry = [](double v) { return static_cast<std::uint16_t>(std::lround(v * 32768)); };
    const auto at = static_cast<std::size_t>(i);
    if (i <= 255) {
      all[0].toLinear8[at] = entry(std::pow(to, 2.2));
      all[1].toLinear8[at] = entry(to);
      all[2].toLinear8[at] = static_cast<std::uint16_t>(random() % 32769);
      all[3].toLinear8[at] = static_cast<std::uint16_t>(i == 0 ? 700 : random() % 32769);
    }
    all[0].fromLinear16[at] = entry(std::pow(from, 1 / 2.2));
    all[1].fromLinear16[at] = entry(from);
    all[2].fromLinear16[at] = static_cast<std::uint16_t>(500 + entry(from) / 2);
    all[3].fromLinear16[at] = static_cast<std::uint16_t>(random() % 32769);
  }
  const float gammas[] = {2.2f, 1.0f, 1.8f, 0.4f};
  for (std::size_t i = 0; i < all.size(); ++i) {
    all[i].gamma = gammas[i];
    all[i].inverseGamma = 1 / gammas[i];
  }
  return all;
}

template <class P>
pf::ChannelOf<LinearPixel<P>> WidenedAlpha(pf::ChannelOf<P> a) {
  if constexpr (std::is_same_v<P, PF_Pixel8>) return static_cast<std::uint16_t>((a * 8421504ull + 33200) >> 16);
  return a;
}
template <class P>
pf::ChannelOf<P> Narrowed(pf::ChannelOf<LinearPixel<P>> v) {
  if constexpr (std::is_same_v<P, PF_Pixel8>) return static_cast<std::uint8_t>((v * 255 + 16384) >> 15);
  return static_cast<pf::ChannelOf<P>>(v);
}

// One channel between stored values and linear light. Powers have a test of their own.
template <class P>
pf::ChannelOf<LinearPixel<P>> ToLinear(const PF_LinearBlendingTables& t, pf::ChannelOf<P> v) {
  if constexpr (kIsFloatPixel<P>) return pf::Power(v, t.gamma);
  if constexpr (!kIsFloatPixel<P>) return ReferenceToLinear(t, v);
}
template <class P>
pf::ChannelOf<P> FromLinear(const PF_LinearBlendingTables& t, pf::ChannelOf<LinearPixel<P>> v) {
  if constexpr (kIsFloatPixel<P>) return pf::Power(v, t.inverseGamma);
  if constexpr (!kIsFloatPixel<P>) return Narrowed<P>(ReferenceFromLinear(t, v));
}
template <class P>
LinearPixel<P> ToLinear(const PF_LinearBlendingTables& t, const P& p) {
  return {WidenedAlpha<P>(p.alpha), ToLinear<P>(t, p.red), ToLinear<P>(t, p.green), ToLinear<P>(t, p.blue)};
}

bool CopiesWhole(int mode) { return mode == 0 || mode == 2 || mode == 22 || mode == 40; }

// The dispatch in linear light around the plain functions.
template <class P>
P ReferenceInLinearLight(int mode, const PF_LinearBlendingTables& t, P s, pf::ChannelOf<P> opacity,
                         pf::ChannelOf<P> opacity2, const P& d) {
  s.alpha = ReferenceScaled(ReferenceScaled(s.alpha, opacity), opacity2);
  if (s.alpha == 0) return d;
  LinearPixel<P> linear_s = ToLinear(t, s), linear_d = ToLinear(t, d);
  const auto alpha = linear_s.alpha;
  for (const auto scale : {opacity, opacity2}) linear_s = ReferenceSource(mode, linear_s, WidenedAlpha<P>(scale));
  linear_s.alpha = alpha;
  const LinearPixel<P> r = Transferred(mode, linear_s, linear_d);
  if (CopiesWhole(mode) && SameBits(r, linear_s)) return s;
  P out = d;
  if (!SameBits(r.alpha, linear_d.alpha)) out.alpha = Narrowed<P>(r.alpha);
  if (!SameBits(r.red, linear_d.red)) out.red = FromLinear<P>(t, r.red);
  if (!SameBits(r.green, linear_d.green)) out.green = FromLinear<P>(t, r.green);
  if (!SameBits(r.blue, linear_d.blue)) out.blue = FromLinear<P>(t, r.blue);
  return out;
}

template <class P>
void ExpectTheDispatch() {
  Random random(21);
  for (const PF_LinearBlendingTables& t : SomeTables()) {
    for (int mode = 0; mode <= 40; ++mode) {
      for (int i = 0; i < 1500; ++i) {
        P s, d;
        AnyPair(random, s, d);
        const auto opacity = i % 2 == 0 ? kFull<P> : EdgeOrAny<P>(random);
        const auto opacity2 = i % 3 == 0 ? kFull<P> : EdgeOrAny<P>(random);
        P by_one = d, by_two = d;
        TransferTables<P>::opacity(mode)(&s, &t, opacity, &by_one);
        TransferTables<P>::opacity2(mode)(&s, &t, opacity, opacity2, &by_two);
        const P want_one = ReferenceInLinearLight(mode, t, s, opacity, kFull<P>, d);
        const P want_two = ReferenceInLinearLight(mode, t, s, opacity, opacity2, d);
        ASSERT_TRUE(SameBits(by_one, want_one) && SameBits(by_two, want_two))
            << "mode " << mode << ", gamma " << t.gamma << ", opacities " << +opacity << " and " << +opacity2 << ", s "
            << TextOf(s) << ", d " << TextOf(d) << ", got " << TextOf(by_one) << " and " << TextOf(by_two) << " for "
            << TextOf(want_one) << " and " << TextOf(want_two);
        ASSERT_TRUE(opacity != kFull<P> || SameBits(Transferred(mode, s, d, &t), by_one)) << "mode " << mode;
      }
    }
  }
}

TEST(LinearLight, IsTheModeBetweenConversions) {
  ExpectTheDispatch<PF_Pixel8>();
  ExpectTheDispatch<PF_Pixel16>();
  ExpectTheDispatch<PF_PixelFloat>();
}

// QUIRK-40, with a table that does not begin at 0: the product of anything with black is black.
TEST(LinearLight, BlackStaysBlack) {
  const PF_LinearBlendingTables t = SomeTables()[2];
  PF_LinearBlendingTables from_black = t;
  from_black.toLinear8[0] = 0;
  ASSERT_GT(t.fromLinear16[0], 0);
  const PF_Pixel8 black8 = {255, 0, 0, 0}, white8 = {255, 200, 200, 200};
  EXPECT_TRUE(SameBits(Transferred(PF_Xfer_Multiply, black8, white8, &from_black), black8));
  const PF_Pixel16 black16 = {32768, 0, 0, 0}, white16 = {32768, 20000, 20000, 20000};
  EXPECT_TRUE(SameBits(Transferred(PF_Xfer_Multiply, black16, white16, &from_black), black16));
}

// QUIRK-41, with tables that lose nearly everything on the way back.
TEST(LinearLight, WhatIsLeftOrCopiedWholeKeepsItsBits) {
  const PF_LinearBlendingTables t = SomeTables()[3];
  const auto expect = []<class P>(P, const PF_LinearBlendingTables& tables) {
    Random random(4);
    for (int i = 0; i < 2000; ++i) {
      P s = AnyPixel<P>(random), d = AnyPixel<P>(random);
      for (const int mode : {17, 18, 19, 20, 39}) {
        P got = Transferred(mode, s, d, &tables);
        ASSERT_TRUE(SameBits(got.red, d.red) && SameBits(got.green, d.green)) << "mode " << mode;
      }
      ASSERT_TRUE(SameBits(Transferred(PF_Xfer_Ignore, s, d, &tables), d));
      ASSERT_TRUE(SameBits(Transferred(PF_Xfer_Copy, s, d, &tables), s.alpha == 0 ? d : s));
      s.alpha = kFull<P>;
      ASSERT_TRUE(SameBits(Transferred(PF_Xfer_Over, s, d, &tables), s));
      P opaque = d;
      opaque.alpha = kFull<P>;
      ASSERT_TRUE(SameBits(Transferred(PF_Xfer_Behind, s, opaque, &tables), opaque));
    }
  };
  expect(PF_Pixel8{}, t);
  expect(PF_Pixel16{}, t);
  expect(PF_PixelFloat{}, t);
}

// Units in the last place between a float and what it should be.
double UnitsOff(float got, Real want) {
  if (want > Real{std::numeric_limits<float>::max()} * (1 + 0x1p-25L)) return std::isinf(got) ? 0 : 1e9;
  int exponent = 0;
  std::frexp(want, &exponent);
  const Real unit = std::ldexp(Real{1}, std::max(exponent - 24, -149));
  return static_cast<double>(std::abs(Real{got} - want) / unit);
}

TEST(LinearLight, PowersAreNearWithinTwoUnitsInTheLastPlace) {
  const float exponents[] = {2.2f, 1 / 2.2f, 1.8f, 1 / 1.8f,   0.1f,     10.0f,
                             3.0f, 0.5f,     1.0f, 1.0000001f, 0x1p-20f, 40.0f};
  constexpr std::uint32_t kStep = 24989;  // bits of floats from 0 to infinity
  double worst = 0;
  PF_LinearBlendingTables t = {};
  for (const float exponent : exponents) {
    t.gamma = exponent;
    for (std::uint32_t bits = 0; bits < 0x7F800000u; bits += kStep) {
      const float v = std::bit_cast<float>(bits);
      const PF_PixelFloat in = {-3.0f, v, -v, v};
      PF_PixelFloat out = {};
      pf::kPortableLinearLightKernels.of_float.to_linear(&in, &out, 1, t);
      worst = std::max(worst, UnitsOff(out.red, ReferencePower(v, exponent)));
      // Callers may count on 2; the series leave next to nothing of it.
      ASSERT_LE(worst, 0.51) << v << " to the power " << exponent << " gave " << out.red;
      ASSERT_TRUE(out.green == -out.red && out.alpha == -3.0f) << v;
    }
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const float v : {0.0f, -0.0f, kInfinity, -kInfinity}) EXPECT_TRUE(SameBits(pf::Power(v, exponent), v));
    EXPECT_EQ(pf::Power(1.0f, exponent), 1.0f);
    EXPECT_TRUE(std::isnan(pf::Power(std::numeric_limits<float>::quiet_NaN(), exponent)));
  }
  RecordProperty("worst", std::to_string(worst));
}

template <class P>
void ExpectSameLight(const LinearLightKernels& kernels) {
  using L = LinearPixel<P>;
  Random random(31);
  constexpr std::size_t kMost = 67;
  const auto at = [](const GuardedMemory& memory, auto pixel, std::size_t n) {
    return reinterpret_cast<decltype(pixel)*>(memory.data() + memory.size() - n * sizeof pixel);
  };
  GuardedMemory src(kMost * sizeof(P)), dst(kMost * sizeof(P));
  GuardedMemory linear(kMost * sizeof(L)), linear_src(kMost * sizeof(L)), result(kMost * sizeof(L));
  for (const PF_LinearBlendingTables& t : SomeTables()) {
    for (std::size_t n = 0; n <= kMost; ++n) {
      P *const s = at(src, P{}, n), *const d = at(dst, P{}, n);
      L *const ls = at(linear_src, L{}, n), *const ld = at(linear, L{}, n), *const r = at(result, L{}, n);
      for (std::size_t i = 0; i < n; ++i) {
        s[i] = random() % 4 == 0 ? RawPixel<P>(random) : AnyPixel<P>(random);
        d[i] = random() % 4 == 0 ? RawPixel<P>(random) : AnyPixel<P>(random);
      }
      std::vector<L> want(n);
      pf::kPortableLinearLightKernels.Of<P>().to_linear(s, want.data(), n, t);
      kernels.Of<P>().to_linear(s, ls, n, t);
      ASSERT_TRUE(n == 0 || std::memcmp(ls, want.data(), n * sizeof(L)) == 0) << "to, gamma " << t.gamma << ", " << n;
      kernels.Of<P>().to_linear(d, ld, n, t);
      for (std::size_t i = 0; i < n; ++i) {
        r[i] = RawPixel<L>(random);
        if (random() % 3 == 0) r[i] = ls[i];
        if (random() % 3 == 0) r[i].alpha = ld[i].alpha;
        if (random() % 3 == 0) r[i].green = ld[i].green;
      }
      const std::vector<P> before(d, d + n);
      std::vector<P> out = before;
      for (const bool copies : {false, true}) {
        std::copy(before.begin(), before.end(), out.begin());
        std::copy(before.begin(), before.end(), d);
        pf::kPortableLinearLightKernels.Of<P>().from_linear({s, ls, ld, r, out.data(), copies, n}, t);
        kernels.Of<P>().from_linear({s, ls, ld, r, d, copies, n}, t);
        for (std::size_t i = 0; i < n; ++i) {
          ASSERT_TRUE(SameBits(d[i], out[i])) << "from, gamma " << t.gamma << ", pixel " << i << " of " << n << ": "
                                              << TextOf(r[i]) << " gave " << TextOf(d[i]) << " for " << TextOf(out[i]);
        }
      }
    }
  }
}

// Rows in linear light, longer than a run, are one call of the table's function after the other.
template <class P>
void ExpectRows(const pf::RowKernels<P>& kernels) {
  constexpr std::size_t kPixels = 300;
  const PF_LinearBlendingTables t = SomeTables()[0];
  Random random(8);
  for (int mode = 0; mode <= 40; ++mode) {
    std::vector<P> s(kPixels), d(kPixels);
    std::vector<pf::ChannelOf<P>> mask(kPixels);
    for (std::size_t i = 0; i < kPixels; ++i) {
      AnyPair(random, s[i], d[i]);
      mask[i] = EdgeOrAny<P>(random);
    }
    const auto opacity = EdgeOrAny<P>(random);
    std::vector<P> want = d;
    for (std::size_t i = 0; i < kPixels; ++i) TransferTables<P>::opacity2(mode)(&s[i], &t, opacity, mask[i], &want[i]);
    pf::TransferRow<P>(kernels, &t, mode, {s.data(), d.data(), mask.data(), opacity, false, kPixels});
    for (std::size_t i = 0; i < kPixels; ++i) {
      ASSERT_TRUE(SameBits(d[i], want[i]))
          << "mode " << mode << ", pixel " << i << ": " << TextOf(d[i]) << " for " << TextOf(want[i]);
    }
  }
}

TEST(LinearLight, EveryTargetGivesThePortableBits) {
  pftest::ForEachTarget([] {
    const LinearLightKernels& light = pf::VectorLinearLightKernels();
    const auto& deep = pf::VectorTransferKernels16();
    ExpectSameLight<PF_Pixel8>(light);
    ExpectSameLight<PF_Pixel16>(light);
    ExpectSameLight<PF_PixelFloat>(light);
    ExpectRows<PF_Pixel8>({&pf::VectorTransferKernels8(), &deep, &light.of8});
    ExpectRows<PF_Pixel16>({&deep, &deep, &light.of16});
    ExpectRows<PF_PixelFloat>({&pf::VectorTransferKernelsFloat(), &pf::VectorTransferKernelsFloat(), &light.of_float});
  });
}

}  // namespace
