// After modes that differ from their formulas at the ends of alphas and colours, where alphas are tiny, where colours
// are nearly grey or equally light, or by more than one rounding; opacities that are rounded otherwise or lose a bit
// when they are full; and exact rules that come out nearly.
#include <bit>
#include <cmath>
#include <cstring>

#include "unit/transfer/Support.h"

namespace {

using namespace pftest;

// How far floats may be off. Where a quotient's divisor is small, so is what the quotient is known to.
double ToleranceOf(int mode, const PF_PixelFloat& s, const PF_PixelFloat& d, double want) {
  const auto saturation = [](double r, double g, double b) { return std::max({r, g, b}) - std::min({r, g, b}); };
  double scale = std::abs(want) + std::abs(s.red) + std::abs(s.green) + std::abs(s.blue) + std::abs(d.red) +
                 std::abs(d.green) + std::abs(d.blue) + 1;
  if (mode == 24) {
    const auto part = [](float c) { return IsTinyFloat(c) ? 1.0 : std::abs(c); };
    scale /= std::min({part(s.red), part(s.green), part(s.blue), 1.0});
  }
  if (mode == 14) {
    const double ar = SingleUnionAlpha(s.alpha, d.alpha);
    const auto laid = [&](float cs, float cd) { return ReferenceChannel(1, cs, s.alpha, cd, d.alpha, ar); };
    const double of_d = saturation(laid(s.red, d.red), laid(s.green, d.green), laid(s.blue, d.blue));
    scale *= 1 + saturation(s.red, s.green, s.blue) / std::max(of_d, 1e-30);
  }
  return scale * scale * 0x1p-22;
}

// Whether roundings of step 1 decide: s and d equally light, or d as light as black or white where alphas mix it.
bool MayGoEitherWay(int mode, const PF_PixelFloat& s, const PF_PixelFloat& d) {
  const double ls = ReferenceLuma(UnitsOf(s)), ld = ReferenceLuma(UnitsOf(d));
  if (mode == 35 || mode == 36) return std::abs(ls - ld) * d.alpha < 1e-5;
  return mode >= 13 && mode <= 15 && d.alpha > 0.999f && d.alpha < 1 && std::min(std::abs(ld), std::abs(ld - 1)) < 1e-5;
}

template <class P>
testing::AssertionResult IsNear(int mode, const P& s, const P& d, const P& got) {
  const Unit4 want = ReferenceTransfer(mode, s, d), out = UnitsOf(got);
  const double w[] = {want.a, want.r, want.g, want.b}, o[] = {out.a, out.r, out.g, out.b};
  if constexpr (kIsFloatPixel<P>) {
    if (MayGoEitherWay(mode, s, d) && got.alpha == static_cast<float>(w[0])) return testing::AssertionSuccess();
  }
  for (int c = 0; c < 4; ++c) {
    bool near = false;
    if constexpr (kIsFloatPixel<P>) {
      const bool one_rounding = c == 0 && (mode < 18 || mode > 20);
      near =
          one_rounding ? got.alpha == static_cast<float>(w[0]) : std::abs(o[c] - w[c]) <= ToleranceOf(mode, s, d, w[c]);
    } else {
      // One rounding, and what single precision loses: well within the step that callers may count on.
      near = std::abs(o[c] - Median0To1(w[c])) * kFull<P> <= 0.51;
    }
    if (!near) {
      return testing::AssertionFailure() << "mode " << mode << ", s " << TextOf(s) << ", d " << TextOf(d) << ", got "
                                         << TextOf(got) << ", channel " << c << " should be " << w[c] * kFull<P>;
    }
  }
  return testing::AssertionSuccess();
}

template <class P>
pf::ChannelOf<P> AnyOpacity(Random& random) {
  return random() % 4 == 0 ? kFull<P> : EdgeOrAny<P>(random);
}

template <class P>
void ExpectFormulas(int mode) {
  Random random(static_cast<std::uint64_t>(mode));
  for (int i = 0; i < 30000; ++i) {
    P s, d;
    AnyPair(random, s, d);
    ASSERT_TRUE(IsNear(mode, s, d, Transferred(mode, s, d)));
    const auto opacity = AnyOpacity<P>(random), opacity2 = AnyOpacity<P>(random);
    const P once = ReferenceSource(mode, s, opacity), twice = ReferenceSource(mode, once, opacity2);
    P by_one = d, by_two = d;
    TransferTables<P>::opacity(mode)(&s, nullptr, opacity, &by_one);
    TransferTables<P>::opacity2(mode)(&s, nullptr, opacity, opacity2, &by_two);
    const P want_one = Transferred(mode, once, d), want_two = Transferred(mode, twice, d);
    ASSERT_TRUE(SameBits(by_one, want_one))
        << "mode " << mode << ", opacity " << +opacity << ", s " << TextOf(s) << ", d " << TextOf(d);
    ASSERT_TRUE(SameBits(by_two, want_two)) << "mode " << mode << ", opacities " << +opacity << " and " << +opacity2
                                            << ", s " << TextOf(s) << ", d " << TextOf(d);
    P both = s;
    TransferTables<P>::plain(mode)(&both, nullptr, &both);
    ASSERT_TRUE(SameBits(both, Transferred(mode, s, s))) << "mode " << mode << ", onto itself: " << TextOf(s);
  }
}

// QUIRK-42: among them those that go by the source's alpha in the plain tables.
TEST(TransferModes, AreTheirFormulasAtEveryDepthAndOpacity) {
  for (int mode = 0; mode <= 40; ++mode) {
    ExpectFormulas<PF_Pixel8>(mode);
    ExpectFormulas<PF_Pixel16>(mode);
    ExpectFormulas<PF_PixelFloat>(mode);
  }
}

TEST(TransferModes, ColoursOfBlackAndWhiteLuminanceAreBlackAndWhite) {
  Random random(7);
  const auto expect = [&]<class P>(P) {
    for (int i = 0; i < 2000; ++i) {
      for (const auto end : {pf::ChannelOf<P>{0}, kFull<P>}) {
        const P grey = {kFull<P>, end, end, end};
        auto colour = AnyPixel<P>(random);
        for (auto* c : {&colour.red, &colour.green, &colour.blue}) *c = std::clamp<pf::ChannelOf<P>>(*c, 0, kFull<P>);
        colour.alpha = kFull<P>;
        for (const int mode : {13, 14, 15}) {
          ASSERT_TRUE(IsNear(mode, colour, grey, Transferred(mode, colour, grey)));
          ASSERT_TRUE(IsNear<P>(16, grey, colour, Transferred(16, grey, colour)));
        }
      }
    }
  };
  expect(PF_Pixel8{});
  expect(PF_Pixel16{});
  expect(PF_PixelFloat{});
}

template <class P>
void ExpectExactRules() {
  constexpr pf::ChannelOf<P> kF = kFull<P>;
  Random random(11);
  const auto is = [](const P& got, const P& want) { return SameBits(got, want); };
  for (int i = 0; i < 3000; ++i) {
    P s = i % 2 == 0 ? AnyPixel<P>(random) : RawPixel<P>(random);
    P d = i % 2 == 0 ? AnyPixel<P>(random) : RawPixel<P>(random);
    SCOPED_TRACE("s " + TextOf(s) + ", d " + TextOf(d));
    P empty_s = s, empty_d = d, opaque_s = s, opaque_d = d;
    empty_s.alpha = empty_d.alpha = 0;
    opaque_s.alpha = opaque_d.alpha = kF;
    for (int mode = 0; mode <= 40; ++mode) {
      ASSERT_TRUE(is(Transferred(mode, empty_s, d), d)) << "mode " << mode;
      P faded = d, full = d;
      TransferTables<P>::opacity(mode)(&opaque_s, nullptr, 0, &faded);
      TransferTables<P>::opacity2(mode)(&s, nullptr, kF, kF, &full);
      ASSERT_TRUE(is(faded, d)) << "opacity 0, mode " << mode;
      ASSERT_TRUE(is(full, Transferred(mode, s, d))) << "full opacity, mode " << mode;
    }
    ASSERT_TRUE(is(Transferred(PF_Xfer_Ignore, s, d), d));
    if (s.alpha == 0) continue;
    ASSERT_TRUE(is(Transferred(PF_Xfer_Copy, s, d), s));
    ASSERT_TRUE(is(Transferred(PF_Xfer_Over, opaque_s, d), opaque_s));
    ASSERT_TRUE(is(Transferred(PF_Xfer_Over, s, empty_d), s));
    ASSERT_TRUE(is(Transferred(PF_Xfer_AlphaAdd, opaque_s, d), opaque_s));
    ASSERT_TRUE(is(Transferred(PF_Xfer_Mode40, s, d), d.red != 0 && d.blue != 0 ? s : d));
    for (const int mode : {17, 18, 19, 20}) {
      P got = Transferred(mode, s, d);
      got.alpha = d.alpha;
      ASSERT_TRUE(is(got, d)) << "mode " << mode << " changes colour";
    }
    if (i % 2 != 0) continue;
    ASSERT_TRUE(is(Transferred(PF_Xfer_Behind, s, opaque_d), opaque_d));
    for (const int mode : {4, 5}) ASSERT_TRUE(is(Transferred(mode, opaque_s, empty_d), opaque_s)) << "mode " << mode;
    const P covered = Transferred(PF_Xfer_Mode39, opaque_s, d);
    ASSERT_TRUE(is(covered, P{kF, d.red, d.green, s.blue}));
  }
}

TEST(TransferModes, ExactRulesHoldToTheBit) {
  ExpectExactRules<PF_Pixel8>();
  ExpectExactRules<PF_Pixel16>();
  ExpectExactRules<PF_PixelFloat>();
}

TEST(TransferModes, AUnionAlphaOfNothingCountsAsOne) {
  // QUIRK-43: 1 - (1 - a_s)(1 - a_d) is 0 where a_s is too small to show, and denormal where a_d is and both alphas
  // cancel.
  for (const PF_PixelFloat& s : {PF_PixelFloat{1e-30f, 0.25f, 0.5f, 0.75f}, PF_PixelFloat{0x1p-140f, 0.25f, 0.5f, 3}}) {
    const PF_PixelFloat d = {0, 0.5f, 0.5f, 0.5f};
    for (int mode = 4; mode <= 40; ++mode) {
      if (!IsOnNeutral(mode) && !IsOverlapping(mode)) continue;
      const double n = IsOnNeutral(mode) ? NeutralOf(mode) : 0;
      const auto want = static_cast<float>(n == 1 ? 0 : n + 1);
      const PF_PixelFloat got = Transferred(mode, s, d);
      EXPECT_TRUE(SameBits(got, {0, want, want, want})) << "mode " << mode << ": " << TextOf(got);
    }
  }
  const PF_PixelFloat s = {0x1p-140f, 5, 5, 5}, d = {0, 1, 1, 1};
  EXPECT_TRUE(SameBits(Transferred(PF_Xfer_AlphaAdd, s, d), {0x1p-140f, 1, 1, 1})) << "a denormal sum of alphas";
  EXPECT_TRUE(
      SameBits(Transferred<PF_PixelFloat>(PF_Xfer_ColorBurn, {1, 0x1p-130f, 0, 0.5f}, {1, 1, 1, 1}), {1, 0, 0, 1}));
}

TEST(TransferModes, WhatIsNotANumberHasOneForm) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const float odd[] = {
      kInfinity, -kInfinity, std::bit_cast<float>(0xFFC00123u), std::bit_cast<float>(0x7F800001u), 0x1p-149f, 3e38f,
      -3e38f,    0.5f};
  Random random(5);
  for (int mode = 4; mode <= 40; ++mode) {
    const bool keeps = (mode >= 17 && mode <= 20) || mode == 22 || mode >= 39;  // colours are kept or copied
    for (int i = 0; i < 3000; ++i) {
      float v[8];
      for (float& c : v) c = odd[random() % std::size(odd)];
      const PF_PixelFloat got = Transferred<PF_PixelFloat>(mode, {v[0], v[1], v[2], v[3]}, {v[4], v[5], v[6], v[7]});
      const auto has_one_form = [](float c) { return c == c || std::bit_cast<std::uint32_t>(c) == 0x7FC00000u; };
      ASSERT_TRUE(mode >= 39 || has_one_form(got.alpha)) << "mode " << mode << ", case " << i;
      if (keeps) continue;
      for (const float c : {got.red, got.green, got.blue}) {
        ASSERT_TRUE(has_one_form(c)) << "mode " << mode << ", case " << i;
      }
    }
  }
}

TEST(TransferModes, ValuesAboveFullStayWithinTheirDepth) {
  Random random(6);
  for (int mode = 0; mode <= 40; ++mode) {
    const bool keeps = mode <= 3 || (mode >= 17 && mode <= 20) || mode == 22 || mode >= 39;
    for (int i = 0; i < 5000; ++i) {
      auto s = RawPixel<PF_Pixel16>(random), d = RawPixel<PF_Pixel16>(random);
      s.alpha |= 1;
      const PF_Pixel16 got = Transferred(mode, s, d);
      if (keeps) continue;
      ASSERT_LE(std::max({got.alpha, got.red, got.green, got.blue}), 32768)
          << "mode " << mode << ", s " << TextOf(s) << ", d " << TextOf(d);
    }
  }
}

TEST(TransferModes, TablesNamesAndFlags) {
  for (int mode = 0; mode < PF_Xfer1_TABLE_SIZE; ++mode) {
    const auto entry = static_cast<std::size_t>(mode);
    const bool is_mode = mode <= 40;
    EXPECT_EQ(PF_Get_Xfer1_table8(mode), PFp_G_Xfer1_table8[entry]);
    EXPECT_EQ(PF_Get_Xfer1_table16(mode), PFp_G_Xfer1_table16[entry]);
    EXPECT_EQ(PF_Get_Xfer1_tableF(mode), PFp_G_Xfer1_tableF[entry]);
    EXPECT_EQ(PF_Get_Xfer1_Opacity_table8(mode), PFp_G_Xfer1_Opacity_table8[entry]);
    EXPECT_EQ(PF_Get_Xfer1_Opacity_table16(mode), PFp_G_Xfer1_Opacity_table16[entry]);
    EXPECT_EQ(PF_Get_Xfer1_Opacity_tableF(mode), PFp_G_Xfer1_Opacity_tableF[entry]);
    EXPECT_EQ(PF_Get_Xfer1_Opacity2_table8(mode), PFp_G_Xfer1_Opacity2_table8[entry]);
    EXPECT_EQ(PF_Get_Xfer1_Opacity2_table16(mode), PFp_G_Xfer1_Opacity2_table16[entry]);
    EXPECT_EQ(PF_Get_Xfer1_Opacity2_tableF(mode), PFp_G_Xfer1_Opacity2_tableF[entry]);
    EXPECT_EQ(PFp_G_Xfer1_table8[entry] != nullptr, is_mode) << mode << ", QUIRK-44";
    EXPECT_EQ(PFp_G_Xfer1_Opacity2_tableF[entry] != nullptr, is_mode) << mode;
  }
  EXPECT_EQ(PFp_G_OverFuncs.over8, PFp_G_Xfer1_table8[2]);
  EXPECT_EQ(PFp_G_OverFuncs.over16, PFp_G_Xfer1_table16[2]);
  EXPECT_EQ(PFp_G_OverFuncs.overF, PFp_G_Xfer1_tableF[2]);

  const int flagged[] = {-3, 0, 1, 2, 4, 5, 6, 7, 9, 10, 11, 12, 13, 14, 15, 16, 22, 25, 37, 38};
  for (int mode = -10; mode <= 110; ++mode) {
    const bool is_flagged = std::count(std::begin(flagged), std::end(flagged), mode) != 0;
    EXPECT_EQ(PF_GetTransferFlags(mode), is_flagged ? 1 : 0) << mode;
    EXPECT_EQ(PF_GetTransferModeName(mode) != nullptr, mode >= -3 && mode <= 40 && mode != -1) << mode;
  }
  for (const int mode : {INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(PF_GetTransferFlags(mode), 0);
    EXPECT_EQ(PF_GetTransferModeName(mode), nullptr);
  }
  EXPECT_STREQ(PF_GetTransferModeName(PF_Xfer_PremulIn), "PF_Xfer_PremulIn");
  EXPECT_STREQ(PF_GetTransferModeName(PF_Xfer_Subtract), "PF_Xfer_Subtract");
}

// QUIRK-45: in the middle of the ramp, where a step would give 0 or full.
TEST(TransferModes, HardMixHasARamp) {
  const PF_PixelFloat s = {1, 0.5f, 0.5f, 0.5f};
  PF_PixelFloat d = {1, 0.5f, 0.5f - 0x1p-18f, 0.5f + 0x1p-10f};
  PFp_G_Xfer1_tableF[PF_Xfer_HardMix](&s, nullptr, &d);
  EXPECT_NEAR(d.red, 0.5, 0.01);
  EXPECT_GT(d.green, 0.05f);
  EXPECT_LT(d.green, 0.2f);
  EXPECT_EQ(d.blue, 1.0f);
}

// Values that mean nothing too.
TEST(TransferModes, WhatAModeLeavesKeepsEveryBit) {
  const PF_Pixel16 s = {9000, 1, 2, 3}, odd = {32768, 40000, 0, 50001};
  for (const int mode : {PF_Xfer_Behind, PF_Xfer_Mode39, PF_Xfer_Mode40}) {
    PF_Pixel16 d = mode == PF_Xfer_Mode40 ? PF_Pixel16{100, 0, 65535, 7} : odd;
    const PF_Pixel16 before = d;
    PFp_G_Xfer1_table16[static_cast<std::size_t>(mode)](&s, nullptr, &d);
    EXPECT_EQ(std::memcmp(&d, &before, sizeof d), 0) << mode;
  }
  PF_PixelFloat nan = {1, std::bit_cast<float>(0xFFC00123u), -1, 0};
  const PF_PixelFloat before = nan, over = {0.25f, 1, 1, 1};
  PFp_G_Xfer1_tableF[PF_Xfer_Behind](&over, nullptr, &nan);
  EXPECT_EQ(std::memcmp(&nan, &before, sizeof nan), 0);
}

}  // namespace
