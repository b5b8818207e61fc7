// After: pixels changed outside the rectangle, gaps written, channels mixed up, roundings of the alpha
// conventions.
#include "reference/Conversion.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

template <class P>
class Fill : public HostTest {
 protected:
  static constexpr std::int32_t kDepth = pf::DepthTraits<P>::kDepth;
  // Applies `member` to pictures and compares every pixel with what `expected` makes of the old one.
  template <class Expected>
  void Expect(const std::function<void(PF_World&)>& member, Expected expected) {
    Random random(6);
    for (const auto kind : {TestWorld::kRandom, TestWorld::kEdges, TestWorld::kRawBits}) {
      if (kind == TestWorld::kRawBits && kDepth == 32) continue;  // which NaN comes out is the machine's
      for (const std::int32_t width : {11, 64}) {
        TestWorld world(kDepth, width, 7, 5 * sizeof(P) / 4), wanted(kDepth, width, 7);
        world.Fill(random, kind);
        for (std::int32_t i = 0; i < 7 * width; ++i) {
          wanted.At<P>(i % width, i / width) = expected(world.At<P>(i % width, i / width), i % width, i / width);
        }
        member(*Reference(world));
        EXPECT_EQ(world.FirstDifference(wanted), "");
        EXPECT_TRUE(world.GapsUntouched());
      }
    }
  }
  // The same for what changes each colour channel by itself: f(channel, alpha, matte's channel).
  template <class F>
  void ExpectColour(const P& matte, const std::function<void(PF_World&)>& member, F f) {
    Expect(member, [&](P p, std::int32_t, std::int32_t) {
      return P{p.alpha, f(p.red, p.alpha, matte.red), f(p.green, p.alpha, matte.green), f(p.blue, p.alpha, matte.blue)};
    });
  }
};
using Pixels = testing::Types<PF_Pixel8, PF_Pixel16, PF_PixelFloat>;
TYPED_TEST_SUITE(Fill, Pixels);

bool Contains(const M_LRect& r, std::int32_t x, std::int32_t y) {
  return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
}

template <class P>
P Converted(int from, const void* pixel) {
  P out;
  ReferenceConvert(from, pixel, pf::DepthTraits<P>::kDepth, &out);
  return out;
}

TYPED_TEST(Fill, ClearingAndFillingKeepToTheRectangle) {
  using P = TypeParam;
  const PF_PixelFloat colour = {1.5f, 0.3f, -1.0f, 2.0f};
  const PF_Pixel16 colour16 = {32768, 100, 40000, 16384};
  const P from_float = Converted<P>(32, &colour), from_16 = Converted<P>(16, &colour16), zero = {};
  const M_LRect rects[] = {{0, 0, 11, 7}, {2, 1, 9, 6}, {-5, -5, 3, 3},  {8, 4, 100, 90},
                           {4, 4, 4, 9},  {6, 5, 2, 3}, {50, 9, 60, 17}, {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};
  for (const M_LRect& r : rects) {
    const auto becomes = [&r](P value) {
      return [&r, value](P p, std::int32_t x, std::int32_t y) { return Contains(r, x, y) ? value : p; };
    };
    this->Expect([&](PF_World& w) { w.Clear(&r); }, becomes(zero));
    this->Expect([&](PF_World& w) { w.Fill(colour, &r); }, becomes(from_float));
    this->Expect([&](PF_World& w) { w.Fill(colour16, &r); }, becomes(from_16));
    this->Expect([&](PF_World& w) { w.ClearExceptRect(r); },
                 [&](P p, std::int32_t x, std::int32_t y) { return Contains(r, x, y) ? p : zero; });
  }
  this->Expect([](PF_World& w) { w.Clear(nullptr); }, [&](P, std::int32_t, std::int32_t) { return zero; });
}

TYPED_TEST(Fill, AlphaIsFilledAndInvertedAndColourStays) {
  using P = TypeParam;
  constexpr auto kFull = pf::DepthTraits<P>::kFull;
  this->Expect([](PF_World& w) { w.FillAlpha(); },
               [](P p, std::int32_t, std::int32_t) {
                 return P{kFull, p.red, p.green, p.blue};
               });
  this->Expect([](PF_World& w) { w.InvertAlpha(); },
               [](P p, std::int32_t, std::int32_t) {
                 const bool beyond = sizeof(P) == 8 && p.alpha > kFull;
                 p.alpha = beyond ? 0 : static_cast<pf::ChannelOf<P>>(kFull - p.alpha);
                 return p;
               });
}

TYPED_TEST(Fill, TheAlphaConventionsFollowTheirFormulas) {
  using C = pf::ChannelOf<TypeParam>;
  this->ExpectColour(
      {}, [](PF_World& w) { w.Premultiply(); }, [](C c, C a, C) { return ReferencePremultiply(c, a); });
  this->ExpectColour(
      {}, [](PF_World& w) { w.Unmultiply(); }, [](C c, C a, C) { return ReferenceUnmultiply(c, a); });
  for (const PF_Pixel16& matte : {PF_Pixel16{7, 0, 32768, 12345}, PF_Pixel16{0, 1, 16384, 32767}}) {
    const auto m = Converted<TypeParam>(16, &matte);
    this->ExpectColour(
        m, [&](PF_World& w) { w.PremulColor(matte); }, &ReferenceOntoMatte<C>);
    this->ExpectColour(
        m, [&](PF_World& w) { w.UnmulColor(matte); }, &ReferenceWithoutMatte<C>);
  }
}

TEST_F(HostTest, TheSixteenBitMatteRoutineRefusesWhatItCannotUse) {
  TestWorld pixels(8, 2, 2);
  const WorldPtr world = Reference(pixels);
  const PF_Pixel16 matte = {};
  EXPECT_EQ(PF_PremulColor16(nullptr, &matte), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_PremulColor16(world.get(), nullptr), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(Host().ReportTexts(), "invalid parameter\ninvalid parameter\n");
  EXPECT_EQ(PF_PremulColor16(world.get(), &matte), PF_Err_REPORTED);
}

}  // namespace
