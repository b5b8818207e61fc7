// After wrong codes, forgotten or doubled reports, polls at the wrong rows, work that grows with the
// rectangle instead of the picture, and exports that bypass what is installed.
#include <gtest/gtest.h>

#include <limits>
#include <tuple>

#include "PF/PF_Copy.h"
#include "PF/PF_Lifecycle.h"
#include "PF/PF_Worlds.h"
#include "report/Sites.h"
#include "support/ForeignWorld.h"
#include "support/LibraryTest.h"
#include "support/TestHost.h"
#include "support/Worlds.h"

namespace {

using pftest::Host;
using pftest::Random;
using pftest::TestWorld;
using CopyFunction = decltype(&PF_CopyBits_Draft);

constexpr CopyFunction kCopies[] = {PF_CopyBits_Draft, PF_CopyBits_HQ_Straight, PF_CopyBits_HQ_Premul,
                                    PF_CopyBits3_LO_Straight};

class Copies : public pftest::LibraryTest {};

TEST_F(Copies, WorldsThatCannotBeCopiedAreReportedOnceAndLeftAlone) {
  TestWorld src(8, 4, 4), dst(8, 4, 4), deep(16, 8, 8);
  PF_LayerDef empty = *src.record();
  empty.data = nullptr;
  const auto before = dst.Pixels();
  for (const CopyFunction copy : kCopies) {
    EXPECT_EQ(copy(nullptr, nullptr, dst.record(), nullptr, nullptr), 3);
    EXPECT_EQ(copy(nullptr, &empty, dst.record(), nullptr, nullptr), 3);
    EXPECT_EQ(copy(nullptr, src.record(), nullptr, nullptr, nullptr), 3);
    EXPECT_EQ(copy(nullptr, src.record(), &empty, nullptr, nullptr), 3);
  }
  EXPECT_EQ(Host().reports.size(), 4 * std::size(kCopies));
  EXPECT_EQ(dst.Pixels(), before);

  // Unequal depths are refused before rectangles are looked at, and only when something is scaled.
  Host().reports.clear();
  const M_LRect quarter = {0, 0, 4, 4}, nothing = {3, 3, 3, 3};
  for (const CopyFunction copy : {PF_CopyBits_HQ_Straight, PF_CopyBits_HQ_Premul}) {
    EXPECT_EQ(copy(nullptr, src.record(), deep.record(), nullptr, &nothing), 3);
    EXPECT_EQ(Host().ReportTexts(),
              "PF_CopyBits_HQ_Straight_Static requires src and dst worlds to have same bit depth\n");
    EXPECT_EQ(Host().reports[0].identifier, pf::Identifier(pf::Site::kCopyDepth));
    EXPECT_EQ(copy(nullptr, src.record(), deep.record(), nullptr, &quarter), 0);
    EXPECT_EQ(Host().reports.size(), 1u);
    Host().reports.clear();
  }

  for (const auto& [kind, band, bands] : {std::tuple(4, 0, 1), {-1, 0, 1}, {0, 0, 0}, {0, -1, 2}, {0, 2, 2}}) {
    EXPECT_EQ(
        PF_CopyBits_Band(static_cast<PF_CopyKind>(kind), src.record(), dst.record(), nullptr, nullptr, band, bands),
        PF_Err_BAD_PARAMETER);
  }
  EXPECT_EQ(Host().reports.size(), 5u);
  EXPECT_EQ(dst.Pixels(), before);
}

TEST_F(Copies, AnUnknownDepthIsReportedInItsOwnWords) {
  pftest::ForeignWorld odd(24);
  TestWorld src(8, 4, 4), dst(8, 4, 4);
  PF_LayerDef record = *src.record();
  record.world_object = &odd;
  for (const CopyFunction copy : kCopies) {
    Host().reports.clear();
    EXPECT_EQ(copy(nullptr, &record, dst.record(), nullptr, nullptr), 3);
    EXPECT_EQ(copy(nullptr, dst.record(), &record, nullptr, nullptr), 3);
    const std::string text = "Unknown world bitdepth in##CONDITIONNAME\n";
    EXPECT_EQ(Host().ReportTexts(), text + text);
  }
}

// What a poll saw: the progress function's (row, rows), or for the abort function the rows written so far.
struct Watch {
  explicit Watch(const TestWorld& world, int stop = -1) : dst(&world), stop_at(stop) {}
  const TestWorld* dst;
  int stop_at;
  std::vector<std::pair<std::int32_t, std::int32_t>> progress;
  std::vector<std::int32_t> rows_written;

  PF_Err Saw() {
    std::int32_t rows = 0;
    while (rows < dst->height() && dst->Row(rows)[0] != std::byte{0xA5}) ++rows;
    rows_written.push_back(rows);
    return static_cast<int>(rows_written.size()) - 1 == stop_at ? 99 : 0;
  }
  static PF_Err Abort(std::uint64_t reference) { return reinterpret_cast<Watch*>(reference)->Saw(); }
  static PF_Err Progress(std::uint64_t reference, std::int32_t row, std::int32_t rows) {
    auto* watch = reinterpret_cast<Watch*>(reference);
    watch->progress.emplace_back(row, rows);
    return watch->Saw();
  }
};

TEST_F(Copies, PollsStandBeforeOrAfterTheStatedRows) {
  TestWorld src(8, 3, 65);
  std::memset(src.Row(0), 0xFF, static_cast<std::size_t>(65 * src.record()->row_bytes));
  using Rows = std::vector<std::int32_t>;
  for (const CopyFunction copy : kCopies) {
    const bool samples = copy == PF_CopyBits_HQ_Straight || copy == PF_CopyBits_HQ_Premul;
    const Rows expected = samples ? Rows{0, 64, 128} : Rows{64, 128};
    TestWorld dst(8, 5, 130), stopped(8, 5, 130);
    Watch watch(dst);
    PF_ProgressInfo record = {reinterpret_cast<std::uint64_t>(&watch), &Watch::Abort, nullptr};
    EXPECT_EQ(copy(&record, src.record(), dst.record(), nullptr, nullptr), 0);
    EXPECT_EQ(watch.rows_written, expected);

    // With a progress function: high quality still asks the abort function, the others report progress.
    watch = Watch(stopped, samples ? 2 : 1);
    record.progress = &Watch::Progress;
    EXPECT_EQ(copy(&record, src.record(), stopped.record(), nullptr, nullptr), 99);
    EXPECT_EQ(watch.rows_written, expected);
    using Calls = std::vector<std::pair<std::int32_t, std::int32_t>>;
    EXPECT_EQ(watch.progress, samples ? Calls{} : (Calls{{63, 130}, {127, 130}}));
    EXPECT_EQ(stopped.Row(127)[0], dst.Row(127)[0]) << "rows already written stay";
    EXPECT_EQ(stopped.Row(128)[0], std::byte{0xA5});
  }
}

TEST_F(Copies, HugeRectanglesCostNoMoreThanTheWorld) {
  // Rectangles of 2^32 - 1 pixels a side; the worlds lie in their middle, 128 rows each: two polls at most.
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  const M_LRect huge = {kLeast, kLeast, kMost, kMost}, larger = {kLeast, kLeast, kMost - 9, kMost - 9};
  TestWorld src(8, 128, 128), dst(8, 128, 128);
  for (const CopyFunction copy : kCopies) {
    for (const M_LRect& rect : {huge, larger}) {
      Watch watch(dst);
      const PF_ProgressInfo record = {reinterpret_cast<std::uint64_t>(&watch), &Watch::Abort, nullptr};
      EXPECT_EQ(copy(&record, src.record(), dst.record(), &huge, &rect), 0);
      EXPECT_TRUE(watch.rows_written.size() == 1 || watch.rows_written.size() == 2) << watch.rows_written.size();
    }
  }
}

using Arguments = std::tuple<const PF_ProgressInfo*, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*>;
Arguments g_seen;

template <PF_Err answer>
PF_Err Replacement(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst, const M_LRect* src_rect,
                   const M_LRect* dst_rect) {
  g_seen = {progress, src, dst, src_rect, dst_rect};
  return answer;
}

TEST_F(Copies, PlainNamesHandTheirArgumentsToWhatIsInstalled) {
  TestWorld src(8, 1, 1), dst(8, 1, 1);
  const PF_ProgressInfo progress = {};
  const M_LRect from = {}, to = {};
  constexpr CopyFunction kReplacements[] = {Replacement<41>, Replacement<42>, Replacement<43>, Replacement<44>};
  for (std::int32_t i = 0; i < 4; ++i) {
    ASSERT_EQ(PF_SetOverrideFunc(i + 1, reinterpret_cast<PF_AnyFunc>(kReplacements[i])), 0);
  }
  for (std::int32_t i = 0; i < 4; ++i) {
    EXPECT_EQ(kCopies[i](&progress, src.record(), dst.record(), &from, &to), 41 + i);
    EXPECT_EQ(g_seen, Arguments(&progress, src.record(), dst.record(), &from, &to)) << i;
    ASSERT_EQ(PF_SetOverrideFunc(i + 1, nullptr), 0);
    EXPECT_EQ(kCopies[i](nullptr, src.record(), dst.record(), nullptr, nullptr), 0);
  }
}

}  // namespace
