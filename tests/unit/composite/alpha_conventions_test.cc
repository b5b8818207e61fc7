// After: rectangles that are clipped wrongly, written padding, mattes that are converted otherwise, polls at the wrong
// rows, wrong codes and reports.
#include <gtest/gtest.h>

#include <cmath>

#include "PF/PF.h"
#include "reference/Conversion.h"
#include "report/Sites.h"
#include "support/ForeignWorld.h"
#include "support/LibraryTest.h"
#include "support/TestHost.h"
#include "support/Worlds.h"

namespace {

using pftest::Host;
using pftest::Random;
using pftest::TestWorld;

class AlphaConventions : public pftest::LibraryTest {};

constexpr int kRoutines = 4;

PF_Err Call(int routine, const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect,
            const PF_PixelFloat* matte) {
  if (routine == 0) return PF_Premultiply(progress, world, rect);
  if (routine == 1) return PF_Unmultiply(progress, world, rect);
  return routine == 2 ? PF_PremultiplyColor(progress, world, rect, matte)
                      : PF_UnmultiplyColor(progress, world, rect, matte);
}

template <class P>
P Expected(int routine, const P& p, const P& matte) {
  const auto channel = [&](auto c, auto m) {
    if (routine == 0) return pftest::ReferencePremultiply(c, p.alpha);
    if (routine == 1) return pftest::ReferenceUnmultiply(c, p.alpha);
    return routine == 2 ? pftest::ReferenceOntoMatte(c, p.alpha, m) : pftest::ReferenceWithoutMatte(c, p.alpha, m);
  };
  return {p.alpha, channel(p.red, matte.red), channel(p.green, matte.green), channel(p.blue, matte.blue)};
}

// Runs a routine on a picture; pixels inside `rect` become the restatement's, all others stay.
template <class P>
void ExpectRoutine(int routine, const M_LRect* rect, const PF_PixelFloat& matte, Random& random) {
  constexpr auto kDepth = static_cast<std::int32_t>(pf::DepthTraits<P>::kDepth);
  TestWorld world(kDepth, 37, 9, 3 * sizeof(P) / 4), wanted(kDepth, 37, 9);
  world.Fill(random, TestWorld::kEdges);
  P converted;
  pftest::ReferenceConvert(32, &matte, kDepth, &converted);
  for (std::int32_t y = 0; y < 9; ++y) {
    for (std::int32_t x = 0; x < 37; ++x) {
      const P p = world.At<P>(x, y);
      const bool inside = rect == nullptr || (x >= rect->left && x < rect->right && y >= rect->top && y < rect->bottom);
      wanted.At<P>(x, y) = inside ? Expected(routine, p, converted) : p;
    }
  }
  EXPECT_EQ(Call(routine, nullptr, world.record(), rect, &matte), 0);
  EXPECT_EQ(world.FirstDifference(wanted), "") << "routine " << routine;
  EXPECT_TRUE(world.GapsUntouched());
}

TEST_F(AlphaConventions, ChangeTheClippedRectangleAndNothingElse) {
  constexpr std::int32_t kLeast = INT32_MIN, kMost = INT32_MAX;
  const M_LRect rects[] = {{0, 0, 37, 9},   {3, 2, 30, 8}, {-5, -5, 3, 3}, {20, 7, 99, 90},
                           {4, 4, 4, 9},    {6, 5, 2, 3},  {50, 0, 60, 9}, {kLeast, kLeast, kMost, kMost},
                           {kMost, 0, 0, 9}};
  const PF_PixelFloat mattes[] = {{0, 0.25f, 1, 0.7f}, {1, 0, 0.999f, 0.5f}, {-1, 1.7f, -3, 0.1f}};
  Random random(8);
  for (int routine = 0; routine < kRoutines; ++routine) {
    for (const PF_PixelFloat& matte : mattes) {
      for (std::size_t i = 0; i <= std::size(rects); ++i) {
        const M_LRect* rect = i < std::size(rects) ? &rects[i] : nullptr;
        ExpectRoutine<PF_Pixel8>(routine, rect, matte, random);
        ExpectRoutine<PF_Pixel16>(routine, rect, matte, random);
        ExpectRoutine<PF_PixelFloat>(routine, rect, matte, random);
      }
    }
  }
  EXPECT_TRUE(Host().reports.empty()) << Host().ReportTexts();
}

TEST_F(AlphaConventions, ColourThatIsNoNumberCountsAsZeroInIntegerMattes) {
  const PF_PixelFloat matte = {1, NAN, INFINITY, -INFINITY};
  TestWorld world(16, 1, 1);
  world.At<PF_Pixel16>(0, 0) = {0, 1, 2, 3};
  EXPECT_EQ(PF_PremultiplyColor(nullptr, world.record(), nullptr, &matte), 0);
  EXPECT_EQ(world.PixelText(0, 0), "(0 0 32768 0)");
}

TEST_F(AlphaConventions, RefuseWhatCannotBeWorkedOn) {
  const PF_PixelFloat matte = {};
  TestWorld world(8, 3, 3);
  const auto before = world.Pixels();
  PF_LayerDef empty = *world.record(), foreign = empty;
  empty.data = nullptr;
  pftest::ForeignWorld object(24);
  foreign.world_object = &object;
  const M_LRect nothing = {2, 2, 2, 2};
  for (int routine = 0; routine < kRoutines; ++routine) {
    const auto expect = [&](PF_LayerDef* record, const M_LRect* rect, const PF_PixelFloat* colour, PF_Err code,
                            const char* text) {
      Host().reports.clear();
      EXPECT_EQ(Call(routine, nullptr, record, rect, colour), code) << routine;
      ASSERT_EQ(Host().reports.size(), 1u) << routine;
      EXPECT_EQ(Host().reports[0].text, text);
      EXPECT_EQ(Host().reports[0].identifier, pf::Identifier(pf::Site::kAlphaConventions));
    };
    expect(nullptr, &nothing, &matte, PF_Err_BAD_PARAMETER, "invalid parameter");
    expect(&empty, &nothing, &matte, PF_Err_BAD_PARAMETER, "invalid parameter");
    if (routine >= 2) expect(world.record(), &nothing, nullptr, PF_Err_BAD_PARAMETER, "invalid parameter");
    expect(&foreign, &nothing, &matte, PF_Err_REPORTED, "Unknown world bitdepth in##CONDITIONNAME");
    Host().no_texts = true;
    EXPECT_EQ(Call(routine, nullptr, nullptr, nullptr, &matte), PF_Err_BAD_PARAMETER);
    Host().no_texts = false;
  }
  EXPECT_EQ(world.Pixels(), before);
}

struct Polls {
  std::vector<std::pair<std::int32_t, std::int32_t>> rows;
  PF_Err answer = 0;

  static PF_Err Progress(std::uint64_t reference, std::int32_t row, std::int32_t rows) {
    auto* self = reinterpret_cast<Polls*>(reference);
    self->rows.emplace_back(row, rows);
    return self->answer;
  }
  static PF_Err Abort(std::uint64_t reference) { return Progress(reference, -1, -1); }
};

TEST_F(AlphaConventions, PollAfterEvery64RowsOfTheRectangleAndKeepWhatWasDone) {
  const PF_PixelFloat matte = {1, 0.5f, 0.5f, 0.5f};
  const M_LRect rect = {0, 10, 5, 500};
  for (int routine = 0; routine < kRoutines; ++routine) {
    TestWorld world(8, 5, 150);
    Polls polls;
    const PF_ProgressInfo progress = {reinterpret_cast<std::uint64_t>(&polls), &Polls::Abort, &Polls::Progress};
    const PF_ProgressInfo abort = {progress.reference, &Polls::Abort, nullptr};
    EXPECT_EQ(Call(routine, &progress, world.record(), &rect, &matte), 0);
    EXPECT_EQ(polls.rows, (std::vector<std::pair<std::int32_t, std::int32_t>>{{63, 140}, {127, 140}}));
    polls = {{}, 4711};
    for (std::int32_t y = 0; y < 150; ++y) world.At<PF_Pixel8>(0, y) = {100, 90, 80, 70};
    EXPECT_EQ(Call(routine, &abort, world.record(), &rect, &matte), 4711);
    EXPECT_EQ(polls.rows.size(), 1u);
    const std::string untouched = "(100 90 80 70)";
    EXPECT_EQ(world.PixelText(0, 9), untouched);
    EXPECT_NE(world.PixelText(0, 10), untouched);
    EXPECT_NE(world.PixelText(0, 73), untouched);
    EXPECT_EQ(world.PixelText(0, 74), untouched);
  }
}

}  // namespace
