// After: pixels changed outside the rectangle, gaps written, channels mixed up, roundings of the alpha
// conventions.
#include <cmath>
#include <limits>

#include "reference/Conversion.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

class Fill : public testing::TestWithParam<std::int32_t> {
 protected:
  void SetUp() override { Host().Reset(); }
};
INSTANTIATE_TEST_SUITE_P(Depths, Fill, testing::Values(8, 16, 32));

constexpr M_LRect kRects[] = {
    {0, 0, 11, 7}, {2, 1, 9, 6}, {-5, -5, 3, 3}, {8, 4, 100, 90},
    {4, 4, 4, 9},  {6, 5, 2, 3}, {50, 0, 60, 7}, {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};

bool Contains(const M_LRect& r, std::int32_t x, std::int32_t y) {
  return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
}

// Applies `member` to a picture and compares every pixel with what `expected` makes of the old one.
template <class P>
void ExpectPixels(TestWorld::Kind kind, const std::function<void(PF_World&)>& member,
                  const std::function<P(P, std::int32_t, std::int32_t)>& expected) {
  Random random(6);
  for (const std::int32_t width : {11, 64}) {
    TestWorld world(pf::DepthTraits<P>::kDepth, width, 7, 5 * sizeof(pf::ChannelOf<P>));
    TestWorld wanted(pf::DepthTraits<P>::kDepth, width, 7);
    world.Fill(random, kind);
    for (std::int32_t y = 0; y < 7; ++y) {
      for (std::int32_t x = 0; x < width; ++x) wanted.At<P>(x, y) = expected(world.At<P>(x, y), x, y);
    }
    member(*Reference(world));
    EXPECT_EQ(world.FirstDifference(wanted), "");
    EXPECT_TRUE(world.GapsUntouched());
  }
}

// Calls f with the pixel type of the depth.
template <class F>
void WithPixel(std::int32_t depth, F f) {
  pf::DispatchDepth(
      depth, [&](auto p) { return f(p), 0; }, [] { return 0; });
}

TEST_P(Fill, ClearingAndFillingKeepToTheRectangle) {
  const PF_PixelFloat colour = {1.5f, 0.3f, -1.0f, 2.0f};
  const PF_Pixel16 colour16 = {32768, 100, 40000, 16384};
  WithPixel(GetParam(), [&]<class P>(P) {
    P from_float, from_16;
    ReferenceConvert(32, &colour, GetParam(), &from_float);
    ReferenceConvert(16, &colour16, GetParam(), &from_16);
    const P zero = {};
    for (const M_LRect& r : kRects) {
      const auto inside = [&r](P value) {
        return [=](P p, std::int32_t x, std::int32_t y) { return Contains(r, x, y) ? value : p; };
      };
      ExpectPixels<P>(
          TestWorld::kRandom, [&](PF_World& w) { w.Clear(&r); }, inside(zero));
      ExpectPixels<P>(
          TestWorld::kRandom, [&](PF_World& w) { w.Fill(colour, &r); }, inside(from_float));
      ExpectPixels<P>(
          TestWorld::kRandom, [&](PF_World& w) { w.Fill(colour16, &r); }, inside(from_16));
      ExpectPixels<P>(
          TestWorld::kRandom, [&](PF_World& w) { w.ClearExceptRect(r); },
          [&](P p, std::int32_t x, std::int32_t y) { return Contains(r, x, y) ? p : zero; });
    }
    ExpectPixels<P>(
        TestWorld::kRandom, [](PF_World& w) { w.Clear(nullptr); }, [&](P, int, int) { return zero; });
    ExpectPixels<P>(
        TestWorld::kRandom, [&](PF_World& w) { w.Fill(colour16, nullptr); }, [&](P, int, int) { return from_16; });
  });
}

TEST_P(Fill, AlphaIsFilledAndInvertedAndColourStays) {
  WithPixel(GetParam(), [&]<class P>(P) {
    constexpr auto kFull = pf::DepthTraits<P>::kFull;
    for (const auto kind : {TestWorld::kEdges, TestWorld::kRandom, TestWorld::kRawBits}) {
      if (kind == TestWorld::kRawBits && GetParam() == 32) continue;  // bits of NaN are the machine's
      ExpectPixels<P>(
          kind, [](PF_World& w) { w.FillAlpha(); },
          [&](P p, int, int) {
            p.alpha = kFull;
            return p;
          });
      ExpectPixels<P>(
          kind, [](PF_World& w) { w.InvertAlpha(); },
          [&](P p, int, int) {
            p.alpha = static_cast<pf::ChannelOf<P>>(p.alpha > kFull && GetParam() == 16 ? 0 : kFull - p.alpha);
            return p;
          });
    }
  });
}

TEST_P(Fill, TheAlphaConventionsFollowTheirFormulas) {
  WithPixel(GetParam(), [&]<class P>(P) {
    for (const auto kind : {TestWorld::kEdges, TestWorld::kRandom, TestWorld::kRawBits}) {
      if (kind == TestWorld::kRawBits && GetParam() == 32) continue;
      ExpectPixels<P>(
          kind, [](PF_World& w) { w.Premultiply(); },
          [](P p, int, int) {
            return P{p.alpha, ReferencePremultiply(p.red, p.alpha), ReferencePremultiply(p.green, p.alpha),
                     ReferencePremultiply(p.blue, p.alpha)};
          });
      ExpectPixels<P>(
          kind, [](PF_World& w) { w.Unmultiply(); },
          [](P p, int, int) {
            return P{p.alpha, ReferenceUnmultiply(p.red, p.alpha), ReferenceUnmultiply(p.green, p.alpha),
                     ReferenceUnmultiply(p.blue, p.alpha)};
          });
    }
  });
}

TEST_P(Fill, MattesFollowTheirFormulas) {
  WithPixel(GetParam(), [&]<class P>(P) {
    for (const PF_Pixel16& matte : {PF_Pixel16{7, 0, 32768, 12345}, PF_Pixel16{0, 1, 16384, 32767}}) {
      P m;
      ReferenceConvert(16, &matte, GetParam(), &m);
      for (const auto kind : {TestWorld::kEdges, TestWorld::kRandom}) {
        ExpectPixels<P>(
            kind, [&](PF_World& w) { w.PremulColor(matte); },
            [m](P p, int, int) {
              return P{p.alpha, ReferenceOntoMatte(p.red, p.alpha, m.red),
                       ReferenceOntoMatte(p.green, p.alpha, m.green), ReferenceOntoMatte(p.blue, p.alpha, m.blue)};
            });
        ExpectPixels<P>(
            kind, [&](PF_World& w) { w.UnmulColor(matte); },
            [m](P p, int, int) {
              return P{p.alpha, ReferenceWithoutMatte(p.red, p.alpha, m.red),
                       ReferenceWithoutMatte(p.green, p.alpha, m.green),
                       ReferenceWithoutMatte(p.blue, p.alpha, m.blue)};
            });
      }
    }
  });
}

TEST(Matte, TheSixteenBitRoutineRefusesWhatItCannotUse) {
  Host().Reset();
  TestWorld pixels(8, 2, 2);
  const WorldPtr world = Reference(pixels);
  const PF_Pixel16 matte = {};
  EXPECT_EQ(PF_PremulColor16(nullptr, &matte), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_PremulColor16(world.get(), nullptr), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(Host().ReportTexts(), "invalid parameter\ninvalid parameter\n");
  EXPECT_EQ(PF_PremulColor16(world.get(), &matte), PF_Err_REPORTED);
  EXPECT_EQ(Host().reports.back().kind, Report::kVerification);
}

}  // namespace
