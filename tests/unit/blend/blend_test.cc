// After wrong codes, sites or order of checks, ratios that are not limited, written padding, a destination
// that is a source, and formulas that differ from the restatement.
#include "PF/PF_Blend.h"

#include <gtest/gtest.h>

#include <limits>

#include "PF/PF_Lifecycle.h"
#include "reference/Blend.h"
#include "report/Sites.h"
#include "support/LibraryTest.h"
#include "support/TestHost.h"
#include "support/Worlds.h"
#include "unit/world/Support.h"

namespace {

using pf::Identifier;
using pf::Site;
using pftest::Host;
using pftest::Random;
using pftest::TestWorld;
using BlendFunction = decltype(&PF_Blend);

constexpr BlendFunction kBlends[] = {PF_Blend, PF_Blend_Premul, PF_Blend_Straight};

class Blends : public pftest::LibraryTest {};

void FillExpected(TestWorld& out, bool straight, const TestWorld& first, const TestWorld& second, std::int32_t ratio) {
  pf::DispatchDepth(
      first.depth(),
      [&]<class P>(P) {
        for (std::int32_t y = 0; y < out.height(); ++y) {
          for (std::int32_t x = 0; x < out.width(); ++x) {
            out.At<P>(x, y) = pftest::ReferenceBlend<P>(straight, first.At<P>(x, y), second.At<P>(x, y), ratio);
          }
        }
        return 0;
      },
      [] { return 0; });
}

// Blends into a world of its own (0), the first source (1), the second (2), or with one world in all places (3).
void ExpectBlend(BlendFunction blend, TestWorld& first, TestWorld& second, std::int32_t ratio, int place) {
  TestWorld own(first.depth(), first.width(), first.height(), 8);
  TestWorld& other = place == 3 ? first : second;
  TestWorld& dst = place == 0 ? own : place == 2 ? second : first;
  TestWorld expected(first.depth(), first.width(), first.height());
  FillExpected(expected, blend != PF_Blend_Premul, first, other, ratio);
  EXPECT_EQ(blend(nullptr, first.record(), other.record(), ratio, dst.record()), 0);
  EXPECT_EQ(dst.FirstDifference(expected), "") << "ratio " << ratio << ", place " << place;
  EXPECT_TRUE(dst.GapsUntouched());
}

TEST_F(Blends, AreTheRestatementForEveryDepthRatioAndPlaceOfTheResult) {
  constexpr auto kLeast = std::numeric_limits<std::int32_t>::min(), kMost = std::numeric_limits<std::int32_t>::max();
  const std::int32_t ratios[] = {kLeast, -5,    0,     1,     2,     255,   21845, 32767,
                                 32768,  32769, 65534, 65535, 65536, 70000, kMost};
  const TestWorld::Kind kinds[] = {TestWorld::kRandom, TestWorld::kOpaque, TestWorld::kEdges, TestWorld::kSparse,
                                   TestWorld::kRawBits};
  Random random(5);
  for (const std::int32_t depth : {8, 16, 32}) {
    for (const std::int32_t ratio : ratios) {
      for (const TestWorld::Kind kind : kinds) {
        for (int place = 0; place < 4; ++place) {
          const auto width = static_cast<std::int32_t>(pftest::Between(random, 1, 67));
          TestWorld first(depth, width, 5, 4), second(depth, width, 5, 12);
          first.Fill(random, kind);
          second.Fill(random, kind);
          ExpectBlend(kBlends[random() % 3], first, second, ratio, place);
        }
      }
    }
  }
  EXPECT_TRUE(Host().reports.empty()) << Host().ReportTexts();
}

// QUIRK-35: the float terms go through integers, which wrap.
TEST_F(Blends, KnownPixels) {
  struct Known {
    BlendFunction blend;
    std::int32_t ratio;
    PF_PixelFloat first, second, expected;
  };
  const Known known8[] = {
      {PF_Blend_Premul, 32768, {0, 255, 0, 1}, {255, 0, 0, 2}, {128, 128, 0, 2}},
      {PF_Blend_Straight, 1000, {0, 10, 20, 30}, {0, 40, 50, 60}, {0, 40, 50, 60}},
      {PF_Blend_Straight, 1000, {255, 10, 20, 30}, {0, 40, 50, 60}, {251, 10, 20, 30}},
      {PF_Blend, 1000, {0, 10, 20, 30}, {255, 40, 50, 60}, {4, 40, 50, 60}},
      {PF_Blend, 32768, {100, 0, 200, 255}, {50, 255, 0, 255}, {75, 85, 133, 255}},
  };
  const Known known_float[] = {
      {PF_Blend_Premul, 32768, {1.0f, 0.25f, 1e-5f, -1.0f}, {0.0f, 0.75f, 1e-5f, 0.0f}, {0.5f, 0.5f, 0.0f, 65535.5f}},
      {PF_Blend_Straight, 32768, {1e-5f, 1, 2, 3}, {-1e-5f, 4, 5, 6}, {0, 4, 5, 6}},
      {PF_Blend_Straight, 32768, {-1, 1, 2, 3}, {1, 4, 5, 6}, {0, 4, 5, 6}},
      {PF_Blend_Straight, 32768, {0.5f, 1, -0.0f, 3}, {0.5f, 2, -0.0f, 1e30f}, {0.5f, 1.5f, 0.0f, 5e29f}},
  };
  TestWorld first(8, 1, 1), second(8, 1, 1), out(8, 1, 1);
  const auto pixel8 = [](const PF_PixelFloat& p) {
    const auto c = [](float v) { return static_cast<std::uint8_t>(v); };
    return PF_Pixel8{c(p.alpha), c(p.red), c(p.green), c(p.blue)};
  };
  for (const Known& known : known8) {
    first.At<PF_Pixel8>(0, 0) = pixel8(known.first);
    second.At<PF_Pixel8>(0, 0) = pixel8(known.second);
    TestWorld expected(8, 1, 1);
    expected.At<PF_Pixel8>(0, 0) = pixel8(known.expected);
    EXPECT_EQ(known.blend(nullptr, first.record(), second.record(), known.ratio, out.record()), 0);
    EXPECT_EQ(out.FirstDifference(expected), "") << "case " << &known - known8;
  }
  TestWorld first_float(32, 1, 1), second_float(32, 1, 1), out_float(32, 1, 1), expected(32, 1, 1);
  for (const Known& known : known_float) {
    first_float.At<PF_PixelFloat>(0, 0) = known.first;
    second_float.At<PF_PixelFloat>(0, 0) = known.second;
    expected.At<PF_PixelFloat>(0, 0) = known.expected;
    EXPECT_EQ(known.blend(nullptr, first_float.record(), second_float.record(), known.ratio, out_float.record()), 0);
    EXPECT_EQ(out_float.FirstDifference(expected), "") << "case " << &known - known_float;
  }
}

constexpr char kBadParameter[] = "bad parameter passed to effect callback\n";
constexpr char kUnequalDepths[] = "PF_BlendPremul requires src1, src2 and dst worlds to be same depth\n";
constexpr char kUnknownDepth[] = "Unknown world bitdepth in##CONDITIONNAME\n";
constexpr char kUnequalSizes[] = "PF_Blend requires width and height of all worlds to be the same\n";

TEST_F(Blends, WhatCannotBeBlendedIsReportedOnceInTheOrderOfTheChecks) {
  TestWorld small(8, 4, 4), dst(8, 4, 4), deep(16, 4, 4), low(8, 4, 3), narrow(8, 3, 4);
  pftest::ForeignWorld odd(24);
  PF_LayerDef odd1 = *small.record(), empty = *small.record(), deep_empty = *deep.record();
  odd1.world_object = &odd;
  empty.data = nullptr;
  deep_empty.data = nullptr;
  PF_LayerDef odd_empty = odd1, low_empty = *low.record();
  odd_empty.data = nullptr;
  low_empty.data = nullptr;
  struct Bad {
    const PF_LayerDef *first, *second;
    PF_LayerDef* dst;
    const char* text;
    Site premul, straight;
  };
  PF_LayerDef* s = small.record();
  const Bad bads[] = {
      {nullptr, deep.record(), &empty, kBadParameter, Site::kBlend, Site::kBlend},
      {s, nullptr, deep.record(), kBadParameter, Site::kBlend, Site::kBlend},
      {s, s, nullptr, kBadParameter, Site::kBlend, Site::kBlend},
      {&empty, deep.record(), s, kUnequalDepths, Site::kImageModel, Site::kImageModel},
      {s, s, &deep_empty, kUnequalDepths, Site::kImageModel, Site::kImageModel},
      {&odd1, &odd_empty, &odd1, kUnknownDepth, Site::kImageModel, Site::kImageModel},
      {&empty, low.record(), dst.record(), kBadParameter, Site::kBlend, Site::kBlend},
      {s, &low_empty, dst.record(), kBadParameter, Site::kBlend, Site::kBlend},
      {s, low.record(), &empty, kBadParameter, Site::kBlend, Site::kBlend},
      {s, low.record(), narrow.record(), kUnequalSizes, Site::kBlendSizesPremul, Site::kBlendSizesStraight},
      {narrow.record(), s, dst.record(), kUnequalSizes, Site::kBlendSizesPremul, Site::kBlendSizesStraight},
      {s, s, low.record(), kUnequalSizes, Site::kBlendDestinationPremul, Site::kBlendDestinationStraight},
      {s, s, narrow.record(), kUnequalSizes, Site::kBlendDestinationPremul, Site::kBlendDestinationStraight},
  };
  const auto untouched = dst.Pixels();
  for (const Bad& bad : bads) {
    for (const BlendFunction blend : kBlends) {
      SCOPED_TRACE(testing::Message() << "case " << &bad - bads);
      Host().reports.clear();
      EXPECT_EQ(blend(nullptr, bad.first, bad.second, 0, bad.dst), 3);
      EXPECT_EQ(Host().ReportTexts(), bad.text);
      ASSERT_EQ(Host().reports.size(), 1u);
      EXPECT_EQ(Host().reports[0].identifier, Identifier(blend == PF_Blend_Premul ? bad.premul : bad.straight));
    }
  }
  EXPECT_EQ(dst.Pixels(), untouched);
  EXPECT_EQ(low.Pixels(), std::vector<std::byte>(low.Pixels().size(), std::byte{0xA5}));

  Host().no_texts = true;
  EXPECT_EQ(PF_Blend(nullptr, &empty, s, 0, s), 3) << "also when the host has no text";
  PF_LayerDef flat = *s;
  flat.height = 0;
  for (const BlendFunction blend : kBlends) EXPECT_EQ(blend(nullptr, &flat, &flat, 5, &flat), 0);
}

}  // namespace
