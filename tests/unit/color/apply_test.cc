// After colour conversions that miss rows, lose alpha, write into gaps, overlook a failure of the engine or call it
// oftener than they must.
#include <gtest/gtest.h>

#include <memory>

#include "PF/PF_ColorSettings.h"
#include "PF/PF_Worlds.h"
#include "support/ForeignWorld.h"
#include "support/TestEngine.h"
#include "support/TestHost.h"
#include "support/Throws.h"
#include "support/Worlds.h"

namespace {

using pftest::EngineRun;
using pftest::Host;
using pftest::NewPowerProfile;
using pftest::Random;
using pftest::TestTransform;
using pftest::TestWorld;

constexpr XCE_Layout kLayouts[] = {XCE_Layout_8, XCE_Layout_16, XCE_Layout_FLOAT};
XCE_Layout LayoutOf(int depth) { return kLayouts[pf::DepthIndex(depth)]; }

std::unique_ptr<PF_World> WorldOf(TestWorld& world) {
  return std::unique_ptr<PF_World>(PF_World::NewReference(world.record()));
}

class ApplyTransform : public testing::Test {
 protected:
  ApplyTransform() : squares_((Host().Reset(), PF_GetLinearizeTransform(NewPowerProfile(2), {}, true))) {
    Host().Reset();
  }

  PF_Err Apply(TestWorld& source, TestWorld& destination, bool preserve_alpha, PF_ProgressInfo* progress = nullptr) {
    const auto from = WorldOf(source), to = WorldOf(destination);
    return PF_XCEApplyTransform(squares_.transform, from.get(), to.get(), preserve_alpha, progress);
  }

  TestTransform squares_;
};

TEST_F(ApplyTransform, CallsTheEngineOnceWithoutGapsAndOncePerRowElse) {
  for (const int from : {8, 16, 32}) {
    for (const int to : {8, 16, 32}) {
      for (const int gaps : {0, 1, 2, 3}) {
        Host().Reset();
        TestWorld source(from, 5, 3, (gaps & 1) != 0 ? 16 : 0), destination(to, 5, 3, (gaps & 2) != 0 ? 32 : 0);
        Random random(1);
        source.Fill(random, TestWorld::kRandom);
        EXPECT_EQ(Apply(source, destination, false), 0);
        const std::vector<EngineRun> whole = {{LayoutOf(from), LayoutOf(to), 15}};
        const std::vector<EngineRun> rows(3, {LayoutOf(from), LayoutOf(to), 5});
        EXPECT_EQ(Host().engine_runs, gaps == 0 ? whole : rows) << from << " to " << to << ", gaps " << gaps;
        EXPECT_TRUE(source.GapsUntouched() && destination.GapsUntouched());
      }
    }
  }
}

template <class P>
void ExpectSquared(const TestWorld& source, const TestWorld& result) {
  constexpr double kFull = pf::DepthTraits<P>::kFull;
  for (std::int32_t y = 0; y < source.height(); ++y) {
    for (std::int32_t x = 0; x < source.width(); ++x) {
      const P before = source.At<P>(x, y), after = result.At<P>(x, y);
      EXPECT_EQ(after.alpha, before.alpha) << x << ", " << y;
      EXPECT_NEAR(after.green, static_cast<double>(before.green) * before.green / kFull, kFull == 1 ? 1e-6 : 0.5)
          << x << ", " << y;
    }
  }
}

TEST_F(ApplyTransform, KeepsAlphaWhateverTheEngineWritesThere) {
  for (const int depth : {8, 16, 32}) {
    for (const bool in_place : {false, true}) {
      SCOPED_TRACE(std::to_string(depth) + (in_place ? ", in place" : ""));
      TestWorld before(depth, 7, 70, 8), work(depth, 7, 70, 8), out(depth, 7, 70, 24);
      Random first(3), second(3);
      before.Fill(first, TestWorld::kRandom);
      work.Fill(second, TestWorld::kRandom);
      TestWorld& result = in_place ? work : out;
      EXPECT_EQ(Apply(work, result, true), 0);
      pf::DispatchDepth(
          depth, [&]<class P>(P) { ExpectSquared<P>(before, result); }, [] {});
      EXPECT_TRUE(result.GapsUntouched());
    }
  }
}

TEST_F(ApplyTransform, RefusesWhatItCannotDoBeforeAnythingIsWritten) {
  TestWorld small(8, 4, 4), wide(8, 5, 4), tall(8, 4, 5), deep(16, 4, 4);
  const TestWorld untouched(8, 4, 4);
  EXPECT_EQ(Apply(wide, small, false), 516);
  EXPECT_EQ(Apply(tall, small, true), 516);
  EXPECT_EQ(Host().ReportTexts(), "invalid parameter\ninvalid parameter\n");
  Host().Reset();
  EXPECT_EQ(Apply(deep, small, true), 3);
  EXPECT_EQ(Host().ReportTexts(), "Can't copy alpha if src and dst have different depth.\n");
  const auto world = WorldOf(small);
  EXPECT_EQ(PF_XCEApplyTransform(nullptr, world.get(), world.get(), false, nullptr), 516);
  EXPECT_EQ(PF_XCEApplyTransform(squares_.transform, nullptr, world.get(), false, nullptr), 516);
  EXPECT_EQ(PF_XCEApplyTransform(squares_.transform, world.get(), nullptr, false, nullptr), 516);
  EXPECT_TRUE(small.SamePixels(untouched));
  EXPECT_TRUE(Host().engine_runs.empty());
}

TEST_F(ApplyTransform, StopsAtTheEnginesFirstFailureAndTellsOfIt) {
  for (const bool preserve : {false, true}) {
    for (std::int64_t k = 0; k < (preserve ? 4 : 1); ++k) {
      Host().Reset();
      TestWorld world(16, 3, 4);
      Random random(4);
      world.Fill(random, TestWorld::kRandom);
      Host().fail_engine_call = k;
      EXPECT_EQ(Apply(world, world, preserve), 3);
      EXPECT_EQ(Host().engine_errors, std::vector<std::int32_t>{XCE_ERR_BAD_PROFILE});
      EXPECT_EQ(Host().engine_runs.size(), static_cast<std::size_t>(k));
    }
  }
  Host().no_engine = true;
  TestWorld world(8, 1, 1);
  EXPECT_EQ(Apply(world, world, false), 0x67656E20);
}

struct Asked {
  int count = 0;
  static PF_Err Progress(std::uint64_t reference, std::int32_t current, std::int32_t total) {
    auto& asked = *reinterpret_cast<Asked*>(reference);
    EXPECT_EQ(current, 63 + 64 * asked.count);
    EXPECT_EQ(total, 130);
    return ++asked.count == 2 ? 77 : 0;
  }
};

TEST_F(ApplyTransform, PollsEvery64RowsOfTheRowPathOnly) {
  TestWorld gaps(8, 2, 130, 4), none(8, 2, 130);
  Asked asked;
  PF_ProgressInfo progress = {reinterpret_cast<std::uint64_t>(&asked), nullptr, &Asked::Progress};
  EXPECT_EQ(Apply(none, none, false, &progress), 0);
  EXPECT_EQ(asked.count, 0);
  EXPECT_EQ(Apply(gaps, gaps, false, &progress), 77);
  EXPECT_EQ(asked.count, 2);
  EXPECT_EQ(Host().engine_runs.size(), 1u + 128u);
}

TEST_F(ApplyTransform, ConvertsBetweenStandardProfilesAndReleasesWhatItMade) {
  TestWorld world(16, 2, 2);
  world.At<PF_Pixel16>(1, 1) = {1000, 16384, 0, 32768};
  const auto object = WorldOf(world);
  const std::int64_t before = Host().live_allocations;
  EXPECT_EQ(
      PF_ConvertProfileToProfile(XCE_Profile_SRGB, XCE_Profile_LINEAR_SRGB, object.get(), object.get(), true, nullptr),
      0);
  const PF_Pixel16 pixel = world.At<PF_Pixel16>(1, 1);
  EXPECT_EQ(pixel.alpha, 1000);
  EXPECT_EQ(pixel.red, 8192);
  EXPECT_EQ(pixel.green, 0);
  EXPECT_EQ(pixel.blue, 32768);
  EXPECT_EQ(PF_ConvertProfileToProfile(XCE_Profile_SRGB, 1234, object.get(), object.get(), true, nullptr), 3);
  EXPECT_EQ(Host().engine_errors, std::vector<std::int32_t>{XCE_ERR_UNKNOWN_CODE});
  EXPECT_EQ(Host().live_allocations, before);
}

TEST_F(ApplyTransform, DepthConversionIsThatOfWorldsWithTablesAndWithout) {
  PF_LinearBlendingTables tables = {};
  for (const int from : {8, 16, 32}) {
    for (const int to : {8, 16, 32}) {
      TestWorld source(from, 9, 5, 8), a(to, 9, 5), b(to, 9, 5);
      Random random(6);
      source.Fill(random, TestWorld::kRandom);
      const auto in = WorldOf(source), with = WorldOf(a), expected = WorldOf(b);
      EXPECT_EQ(PF_DepthConvertWorld(&tables, in.get(), with.get()), 0);
      expected->CopyRectPossiblyDifferentBitdepth(in.get(), {0, 0, 9, 5}, PF_Dither_OFF, 0, 0, nullptr);
      EXPECT_TRUE(a.SamePixels(b)) << from << " to " << to << ": " << a.FirstDifference(b);
    }
  }
  TestWorld world(8, 1, 1);
  const auto object = WorldOf(world);
  EXPECT_EQ(PF_DepthConvertWorld(nullptr, nullptr, object.get()), 516);
  EXPECT_EQ(PF_DepthConvertWorld(nullptr, object.get(), nullptr), 516);
  pftest::ForeignWorld odd(12);
  EXPECT_EQ(PF_DepthConvertWorld(nullptr, object.get(), &odd), 3);
  EXPECT_EQ(Host().reports.back().text, "Unknown bit depth attempting to depth convert.");
  pftest::ForeignWorld without_pixels(8);
  without_pixels.width = without_pixels.height = 4;
  EXPECT_EQ(PF_DepthConvertWorld(nullptr, &without_pixels, object.get()), 516);
  EXPECT_EQ(PF_DepthConvertWorld(nullptr, object.get(), &without_pixels), 516);
}

TEST_F(ApplyTransform, DisplayTransformsGoThroughTheirProofsAndLimitFloatsWhenPreferred) {
  const auto working = pftest::NewProfile("working", {}, 1), display = pftest::NewProfile("display", {}, 1);
  const auto film = pftest::NewProfile("film", {}, 1);
  const auto make = [&](bool linearized, bool theater) {
    const TestTransform made(PF_NewDisplayTransform(working, display, {}, film, linearized, theater));
    return Host().last_transform;
  };
  pftest::EngineTransform made = make(false, false);
  EXPECT_EQ(made.source, "working");
  EXPECT_EQ(made.destination, "display");
  EXPECT_EQ(made.proofs[0], "");
  EXPECT_EQ(made.proofs[1], "film");
  EXPECT_EQ(made.intent, XCE_Intent_RELATIVE_COLORIMETRIC);
  EXPECT_EQ(made.clip_float, 0) << "off when not set";
  EXPECT_EQ(make(true, false).source, "linear working");
  Host().bool_preferences["Display Transform Section/Clip over range in Display Transform when not Theater Preview"] =
      1;
  EXPECT_EQ(make(false, false).clip_float, 1);
  EXPECT_EQ(make(false, true).clip_float, 0);
}

TEST_F(ApplyTransform, DisplaysAreFoundByReferenceAndTheSystemsByNone) {
  const TestTransform left(PF_NewDisplayTransform(PF_GetPlatformDisplayProfile("left screen"),
                                                  PF_GetPlatformDisplayProfile(nullptr), {}, {}, false, true));
  EXPECT_EQ(Host().last_transform.source, "left screen");
  EXPECT_EQ(Host().last_transform.destination, "system display");
}

TEST_F(ApplyTransform, GammasComeByChannelAndOnlyWhereWanted) {
  const auto profile = NewPowerProfile(2.25);
  float red = 0, green = 0, blue = 0;
  EXPECT_EQ(PF_GetCalRGBGammas(profile.get(), &red, &green, &blue), 0);
  EXPECT_EQ(red, 7.0f);
  EXPECT_EQ(green, 2.25f);
  EXPECT_EQ(blue, 8.0f);
  EXPECT_EQ(PF_GetCalRGBGammas(nullptr, nullptr, &green, nullptr), 0);
  EXPECT_EQ(green, 2.0f) << "the default working profile's";
}

}  // namespace
