// After: pixels that are not what the mode's own function makes of them; rectangles, masks and mattes that are clipped
// or placed wrongly; sources that are overwritten before they are read; wrong codes.
#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "PF/PF.h"
#include "pixel/ConvertDepth.h"
#include "report/Sites.h"
#include "support/LibraryTest.h"
#include "support/LightTables.h"
#include "support/TestHost.h"
#include "support/TestMask.h"
#include "support/Worlds.h"
#include "transfer/TransferKernels.h"
#include "world/Premultiply.h"

namespace {

using pftest::Between;
using pftest::Host;
using pftest::Random;
using pftest::TestMask;
using pftest::TestWorld;

class Compositing : public pftest::LibraryTest {};

bool IsMatte(std::int32_t mode) { return mode == -2 || mode == 17 || mode == 18; }

// What the tables' functions make of one pixel; the two modes without one by their formulas.
void Lay(std::int32_t mode, const PF_LinearBlendingTables* lin, PF_Pixel8 s, std::uint8_t o, std::uint8_t m,
         PF_Pixel8& d) {
  if (mode >= 0) return PFp_G_Xfer1_Opacity2_table8[static_cast<std::size_t>(mode)](&s, lin, o, m, &d);
  pf::kPortableTransferKernels8.row[mode + 3]({&s, &d, &m, o, true, 1});
}
void Lay(std::int32_t mode, const PF_LinearBlendingTables* lin, PF_Pixel16 s, std::uint16_t o, std::uint16_t m,
         PF_Pixel16& d) {
  if (mode >= 0) return PFp_G_Xfer1_Opacity2_table16[static_cast<std::size_t>(mode)](&s, lin, o, m, &d);
  pf::kPortableTransferKernels16.row[mode + 3]({&s, &d, &m, o, true, 1});
}
void Lay(std::int32_t mode, const PF_LinearBlendingTables* lin, PF_PixelFloat s, float o, float m, PF_PixelFloat& d) {
  if (mode >= 0) return PFp_G_Xfer1_Opacity2_tableF[static_cast<std::size_t>(mode)](&s, lin, o, m, &d);
  pf::kPortableTransferKernelsFloat.row[mode + 3]({&s, &d, &m, o, true, 1});
}

// A value of a mask in the depth of the world.
template <class P>
pf::ChannelOf<P> Coverage(const TestMask& mask, std::int64_t x, std::int64_t y) {
  const double v = mask.Get(x, y) / mask.Full();
  const double limited = v > 0 ? std::min(v, 1.0) : 0;
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    if (mask.depth() == 32) return static_cast<float>(mask.Get(x, y));
    return mask.depth() == 8 ? pf::ToFloat(static_cast<std::uint8_t>(mask.Get(x, y)))
                             : pf::ToFloat(static_cast<std::uint16_t>(limited * 32768));
  } else if constexpr (std::is_same_v<P, PF_Pixel8>) {
    if (mask.depth() == 16) return pf::Narrow(static_cast<std::uint16_t>(limited * 32768));
    return static_cast<std::uint8_t>(static_cast<float>(limited) * 255.0f + 0.5f);
  } else {
    if (mask.depth() == 8) return pf::Widen(static_cast<std::uint8_t>(mask.Get(x, y)));
    return static_cast<std::uint16_t>(static_cast<float>(limited) * 32768.0f + 0.5f);
  }
}

// An effective alpha of 0 may be -0.
float CutAlpha(float alpha, float of_source, float opacity, float m) { return alpha * (of_source * opacity * m); }
std::uint8_t CutAlpha(std::uint8_t, std::uint8_t, std::uint8_t, std::uint8_t) { return 0; }
std::uint16_t CutAlpha(std::uint16_t, std::uint16_t, std::uint16_t, std::uint16_t) { return 0; }

struct Case {
  PF_TransferParams params;
  M_LRect rect;
  M_LPoint at;
};

template <class P>
void ExpectedRect(const Case& c, const TestWorld& src, const TestMask* mask, TestWorld& dst) {
  const auto opacity = [&] {
    if constexpr (std::is_same_v<P, PF_PixelFloat>) return c.params.opacity;
    return pf::ColourFromFloat<P>(c.params.opacity);
  }();
  const std::int32_t mode = c.params.mode;
  for (std::int32_t y = 0; y < dst.height(); ++y) {
    for (std::int32_t x = 0; x < dst.width(); ++x) {
      const std::int32_t sx = x - c.at.h + c.rect.left, sy = y - c.at.v + c.rect.top;
      if (sx < c.rect.left || sx >= c.rect.right || sy < c.rect.top || sy >= c.rect.bottom) continue;
      P& d = dst.At<P>(x, y);
      P s = {};
      const std::int32_t mx = x - c.params.mask_at.h, my = y - c.params.mask_at.v;
      const bool covered = mask == nullptr || (mx >= 0 && my >= 0 && mx < mask->width() && my < mask->height());
      const bool present = covered && sx >= 0 && sx < src.width() && sy >= 0 && sy < src.height();
      if (present) s = src.At<P>(sx, sy);
      if (c.params.premultiplied != 0 && mode >= 0 && mode != 21) s = pf::Unmultiplied(s);
      const auto m = mask == nullptr || !present ? pf::DepthTraits<P>::kFull : Coverage<P>(*mask, mx, my);
      P probe = s;  // the effective alpha: what copying leaves
      Lay(PF_Xfer_Copy, nullptr, s, opacity, m, probe = P{});
      const bool nothing = probe.alpha == 0;
      if (nothing && !IsMatte(mode)) continue;
      if (nothing && mode >= 0) {
        d.alpha = CutAlpha(d.alpha, s.alpha, opacity, m);
      } else {
        Lay(mode, c.params.linear, s, opacity, m, d);
      }
    }
  }
}

Case RandomCase(Random& random, std::int32_t mode, const PF_LinearBlendingTables* tables) {
  const auto any = [&](int low, int high) { return static_cast<std::int32_t>(Between(random, low, high)); };
  Case c = {};
  const float opacities[] = {1.0f, 1.0f, 0.4f, 0.999f};
  c.params = {mode,
              any(0, 1),
              opacities[any(0, 3)],
              mode >= 0 && any(0, 2) == 0 ? tables : nullptr,
              nullptr,
              {any(-8, 20), any(-5, 9)}};
  c.rect = {any(-6, 10), any(-4, 5), any(20, 50), any(8, 25)};
  c.at = {any(-12, 20), any(-8, 8)};
  return c;
}

template <class P>
void ExpectPixelByPixel(std::int32_t depth, std::uint64_t seed) {
  const PF_LinearBlendingTables tables = pftest::LightTables(2.2);
  for (std::int32_t mode = -3; mode < PF_Xfer_COUNT; ++mode) {
    if (mode == -1) continue;
    Random random(seed + static_cast<std::uint64_t>(mode + 3));
    TestWorld src(depth, 37, 19, 8), dst(depth, 41, 23, 16), expected(depth, 41, 23);
    src.Fill(random, mode % 2 == 0 ? TestWorld::kSparse : TestWorld::kEdges);
    dst.Fill(random, TestWorld::kRandom);
    for (std::int32_t y = 0; y < dst.height(); ++y) {
      for (std::int32_t x = 0; x < dst.width(); ++x) expected.At<P>(x, y) = dst.At<P>(x, y);
    }
    Case c = RandomCase(random, mode, &tables);
    std::optional<TestMask> mask;
    if (mode % 3 != 0) mask.emplace(8 << random() % 3, 30, 20, random);
    c.params.mask = mask ? mask->record() : nullptr;
    ExpectedRect<P>(c, src, mask ? &*mask : nullptr, expected);
    EXPECT_EQ(PF_TransferRect(nullptr, &c.params, src.record(), &c.rect, dst.record(), &c.at), 0);
    EXPECT_EQ(dst.FirstDifference(expected), "") << "mode " << mode << ", depth " << depth << ", seed " << seed;
    EXPECT_TRUE(dst.GapsUntouched());
  }
}

TEST_F(Compositing, EveryPixelIsWhatTheFunctionOfTheModeMakesOfIt) {
  for (std::uint64_t seed = 0; seed < 30; ++seed) {
    ExpectPixelByPixel<PF_Pixel8>(8, 100 * seed);
    ExpectPixelByPixel<PF_Pixel16>(16, 100 * seed);
    ExpectPixelByPixel<PF_PixelFloat>(32, 100 * seed);
  }
}

// One row of memory further down is one row further up in a record with negative row bytes.
PF_LayerDef UpsideDown(const TestWorld& world) {
  PF_LayerDef record = *world.record();
  record.data = world.Row(world.height() - 1);
  record.row_bytes = -record.row_bytes;
  return record;
}

// Lays a part of a world onto the world, and onto a copy of it from another copy.
void ExpectAsIfFromACopy(Random& random, std::int32_t depth, std::int32_t mode, const M_LRect& rect, M_LPoint at,
                         bool upside_down) {
  TestWorld world(depth, 60, 50, 8), copy(depth, 60, 50, 8), expected(depth, 60, 50, 8);
  world.Fill(random, TestWorld::kRandom);
  for (TestWorld* other : {&copy, &expected}) {
    for (int y = 0; y < 50; ++y) std::memcpy(other->Row(y), world.Row(y), 60 * world.PixelSize());
  }
  const auto record = [&](TestWorld& of) { return upside_down ? UpsideDown(of) : *of.record(); };
  PF_LayerDef onto = record(world), from = record(copy), to = record(expected);
  const PF_TransferParams params = {mode, 0, 1.0f, nullptr, nullptr, {0, 0}};
  ASSERT_EQ(PF_TransferRect(nullptr, &params, &from, &rect, &to, &at), 0);
  ASSERT_EQ(PF_TransferRect(nullptr, &params, &onto, &rect, &onto, &at), 0);
  EXPECT_EQ(world.FirstDifference(expected), "")
      << depth << ", mode " << mode << " at " << at.h << ", " << at.v << (upside_down ? ", upside down" : "");
}

TEST_F(Compositing, AWorldOntoItselfIsAsIfFromACopy) {
  Random random(7);
  constexpr M_LRect kAll = {0, 0, 60, 50}, kAbove = {-5, -20, 60, 10};  // the latter begins outside the world
  for (const std::int32_t depth : {8, 16, 32}) {
    for (const bool upside_down : {false, true}) {
      for (const M_LPoint at : {M_LPoint{3, 2}, M_LPoint{-3, 0}, M_LPoint{0, -4}, M_LPoint{0, 0}, M_LPoint{1, 0}}) {
        ExpectAsIfFromACopy(random, depth, PF_Xfer_Screen, kAll, at, upside_down);
        ExpectAsIfFromACopy(random, depth, PF_Xfer_AlphaMultiply, kAbove, at, upside_down);
      }
    }
  }
}

// Straight from the formulas: what the pipeline's own two modes make of channels on the unit interval.
double PremultipliedFormula(std::int32_t mode, double s, double as, double d, double o, double m) {
  return mode == PF_Xfer_PremulOntoPremul ? s * o * m + d * (1 - as * o * m) : d * as * o * m;
}

template <class P>
void ExpectPremultipliedFormulas(Random& random, std::int32_t depth, std::int32_t mode) {
  constexpr double kFull = pf::DepthTraits<P>::kFull;
  TestWorld src(depth, 40, 3), dst(depth, 40, 3), before(depth, 40, 3);
  src.Fill(random, TestWorld::kRandom);
  dst.Fill(random, TestWorld::kRandom);
  TestMask mask(depth, 40, 3);
  mask.FillWith(kFull / 4);
  const PF_TransferParams params = {mode, 1, 0.5f, nullptr, mask.record(), {0, 0}};
  for (int y = 0; y < 3; ++y) std::memcpy(before.Row(y), dst.Row(y), 40 * dst.PixelSize());
  ASSERT_EQ(PF_TransferRect(nullptr, &params, src.record(), nullptr, dst.record(), nullptr), 0);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 40; ++x) {
      const P s = src.At<P>(x, y), d = before.At<P>(x, y), out = dst.At<P>(x, y);
      const double cs[] = {static_cast<double>(s.alpha), static_cast<double>(s.red), static_cast<double>(s.green),
                           static_cast<double>(s.blue)};
      const double cd[] = {static_cast<double>(d.alpha), static_cast<double>(d.red), static_cast<double>(d.green),
                           static_cast<double>(d.blue)};
      const double got[] = {static_cast<double>(out.alpha), static_cast<double>(out.red),
                            static_cast<double>(out.green), static_cast<double>(out.blue)};
      const double m = mask.Get(x, y) / kFull, o = depth == 8 ? 128 / 255.0 : 0.5;
      if (depth != 32 && cs[0] * o * m < 1) continue;  // its rounding may leave nothing
      for (int c = 0; c < 4; ++c) {
        const double want = PremultipliedFormula(mode, cs[c] / kFull, cs[0] / kFull, cd[c] / kFull, o, m) * kFull;
        // Opacity and mask are rounded on the way.
        EXPECT_NEAR(got[c], depth == 32 ? want : std::clamp(want, 0.0, kFull), depth == 32 ? 1e-5 : 2.01)
            << depth << ", mode " << mode << ", channel " << c;
      }
    }
  }
}

TEST_F(Compositing, TheModesOfPremultipliedPixelsScaleAllChannels) {
  Random random(11);
  for (const std::int32_t mode : {PF_Xfer_PremulOntoPremul, PF_Xfer_PremulIn}) {
    ExpectPremultipliedFormulas<PF_Pixel8>(random, 8, mode);
    ExpectPremultipliedFormulas<PF_Pixel16>(random, 16, mode);
    ExpectPremultipliedFormulas<PF_PixelFloat>(random, 32, mode);
  }
}

TEST_F(Compositing, AFillIsAWorldOfOneColour) {
  Random random(8);
  const PF_PixelFloat colour = {0.6f, 0.5f, 0.1f, 0.6f};
  const M_LRect rect = {-3, 2, 44, 300};
  for (const std::int32_t depth : {8, 16, 32}) {
    TestWorld world(depth, 300, 20, 8), expected(depth, 300, 20), source(depth, 47, 18);
    world.Fill(random, TestWorld::kEdges);
    for (int y = 0; y < 20; ++y) std::memcpy(expected.Row(y), world.Row(y), 300 * world.PixelSize());
    const std::unique_ptr<PF_World> filled(PF_World::NewReference(source.record()));
    filled->Fill(colour, nullptr);
    TestMask mask(16, 40, 19, random);
    const PF_TransferParams params = {PF_Xfer_Mode8, 1, 0.7f, nullptr, mask.record(), {0, 1}};
    const M_LPoint at = {-3, 2};
    ASSERT_EQ(PF_TransferRect(nullptr, &params, source.record(), nullptr, expected.record(), &at), 0);
    ASSERT_EQ(PF_TransferFill(nullptr, &params, &colour, &rect, world.record()), 0);
    EXPECT_EQ(world.FirstDifference(expected), "") << depth;
    EXPECT_TRUE(world.GapsUntouched());
  }
}

TEST_F(Compositing, BadInputHasItsCodeAndChangesNothing) {
  Random random(9);
  TestWorld src(8, 8, 8), dst(8, 8, 8), before(8, 8, 8), deep(16, 8, 8);
  src.Fill(random, TestWorld::kOpaque);
  dst.Fill(random, TestWorld::kRandom);
  for (int y = 0; y < 8; ++y) std::memcpy(before.Row(y), dst.Row(y), 32);
  PF_LayerDef empty = *src.record();
  empty.data = nullptr;
  TestMask strange(16, 4, 4);
  strange.record()->depth = 7;
  const PF_TransferParams over = {PF_Xfer_Over, 0, 1.0f, nullptr, nullptr, {0, 0}};
  const auto with = [&](auto change) {
    PF_TransferParams params = over;
    change(params);
    return params;
  };
  const auto lay = [&](const PF_TransferParams* params, const PF_LayerDef* from, PF_LayerDef* to) {
    return PF_TransferRect(nullptr, params, from, nullptr, to, nullptr);
  };
  EXPECT_EQ(lay(nullptr, src.record(), dst.record()), 516);
  for (const std::int32_t mode : {-4, -1, 41, 100, INT32_MIN, INT32_MAX}) {
    Host().reports.clear();
    const PF_TransferParams params = with([&](auto& p) { p.mode = mode; });
    EXPECT_EQ(lay(&params, src.record(), dst.record()), 5) << mode;
    ASSERT_EQ(Host().reports.size(), 1u);
    EXPECT_EQ(Host().reports[0].text, "unimplemented blending mode.");
    const PF_PixelFloat colour = {};
    EXPECT_EQ(PF_TransferFill(nullptr, &params, &colour, nullptr, dst.record()), 5) << mode;
  }
  const PF_TransferParams nan = with([](auto& p) { p.opacity = NAN; });
  EXPECT_EQ(lay(&nan, src.record(), dst.record()), 516);
  EXPECT_EQ(lay(&over, nullptr, dst.record()), 3);
  EXPECT_EQ(lay(&over, &empty, dst.record()), 3);
  EXPECT_EQ(lay(&over, src.record(), nullptr), 3);
  EXPECT_EQ(lay(&over, deep.record(), dst.record()), 3);
  EXPECT_EQ(PF_TransferFill(nullptr, &over, nullptr, nullptr, dst.record()), 516);
  const PF_TransferParams masked = with([&](auto& p) { p.mask = strange.record(); });
  EXPECT_EQ(lay(&masked, src.record(), dst.record()), 516);
  strange.record()->depth = 16;
  const M_LRect reversed = {5, 5, 2, 2};
  EXPECT_EQ(PF_TransferRect(nullptr, &over, src.record(), &reversed, dst.record(), nullptr), 0);
  const M_LPoint far = {INT32_MAX, INT32_MIN};
  EXPECT_EQ(PF_TransferRect(nullptr, &over, src.record(), nullptr, dst.record(), &far), 0);
  EXPECT_EQ(dst.FirstDifference(before), "");
}

}  // namespace
