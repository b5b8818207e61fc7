// After: threaded iteration that differs from the library's own in bits, codes, reports or the order of
// its checks; progress told from another thread or going backwards; a wrong error winning.
#include <atomic>
#include <chrono>
#include <thread>

#include "PF/PF_Iterate.h"
#include "PF/PF_Lifecycle.h"
#include "Support.h"
#include "host/vexcore.h"
#include "support/Worlds.h"

namespace {

using pftest::Random;
using pftest::RunningHost;
using pftest::TestWorld;

class ThreadedIterate : public testing::TestWithParam<std::int32_t> {
 protected:
  RunningHost host_{GetParam()};
};

// Depends on everything that it is handed.
template <class P>
PF_Err Mix(void*, std::int32_t x, std::int32_t y, P* in, P* out) {
  using C = decltype(P::alpha);
  *out = {in->blue, static_cast<C>(x & 63), static_cast<C>(y & 63), in->alpha};
  return 0;
}

PF_IteratePixelFunc MixOf(std::int32_t depth) {
  return depth == 8    ? PF_PixelFunc(&Mix<PF_Pixel8>)
         : depth == 16 ? PF_PixelFunc(&Mix<PF_Pixel16>)
                       : PF_PixelFunc(&Mix<PF_PixelFloat>);
}

// Runs `call(dst)` for the installed and the library's own routine on equal worlds and compares.
template <class Installed, class Own>
void ExpectSame(std::int32_t depth, std::int32_t width, std::int32_t height, Installed installed, Own own) {
  Random random(7);
  TestWorld expected(depth, width, height, 16), actual(depth, width, height, 48);
  expected.Fill(random, TestWorld::kRandom);
  Random same(7);
  actual.Fill(same, TestWorld::kRandom);
  EXPECT_EQ(own(expected.record()), 0);
  EXPECT_EQ(installed(actual.record()), 0);
  EXPECT_TRUE(actual.SamePixels(expected)) << actual.FirstDifference(expected);
  EXPECT_TRUE(actual.GapsUntouched());
}

TEST_P(ThreadedIterate, GivesTheBitsOfTheLibrarysOwn) {
  const M_LRect inside = {3, 5, 140, 90}, beyond = {-20, -20, 5000, 5000}, outside = {200, 0, 500, 500};
  const M_LPoint origin = {-7, 11};
  for (const std::int32_t depth : {8, 16, 32}) {
    SCOPED_TRACE(depth);
    const PF_IteratePixelFunc mix = MixOf(depth);
    Random random(3);
    TestWorld src(depth, 147, 121, 32);
    src.Fill(random, TestWorld::kRandom);
    for (const M_LRect* area : {static_cast<const M_LRect*>(nullptr), &inside, &beyond, &outside}) {
      for (PF_LayerDef* from : {static_cast<PF_LayerDef*>(nullptr), src.record()}) {
        ExpectSame(
            depth, 160, 110, [&](PF_LayerDef* dst) { return PF_Iterate(nullptr, 0, 0, from, area, nullptr, mix, dst); },
            [&](PF_LayerDef* dst) { return PF_Iterate_Static(nullptr, 0, 0, from, area, nullptr, mix, dst); });
      }
      ExpectSame(
          depth, 160, 110,
          [&](PF_LayerDef* dst) {
            return PF_IterateOrigin(nullptr, 0, 0, src.record(), area, &origin, nullptr, mix, dst);
          },
          [&](PF_LayerDef* dst) {
            return PF_IterateOrigin_Static(nullptr, 0, 0, src.record(), area, &origin, nullptr, mix, dst);
          });
    }
  }
  EXPECT_EQ(PFhost_ReportCount(), 0);
}

TEST_P(ThreadedIterate, MapsThroughTablesLikeTheLibrarysOwn) {
  std::uint8_t table[256];
  for (int i = 0; i < 256; ++i) table[i] = static_cast<std::uint8_t>(i * 7 + 3);
  const M_LRect area = {1, 2, 5000, 5000};
  for (const std::int32_t depth : {8, 16, 32}) {
    SCOPED_TRACE(depth);
    ExpectSame(
        depth, 520, 300,
        [&](PF_LayerDef* dst) {
          return PF_IterateLUT(nullptr, 0, 0, nullptr, &area, table, nullptr, table, nullptr, dst);
        },
        [&](PF_LayerDef* dst) {
          return PF_IterateLUT_Static(nullptr, 0, 0, nullptr, &area, table, nullptr, table, nullptr, dst);
        });
  }
}

TEST_P(ThreadedIterate, AnswersBadArgumentsWithTheSameCodesAndReports) {
  TestWorld world(8, 400, 400), deep(16, 400, 400);
  PF_LayerDef empty = *world.record(), unknown = *world.record();
  empty.data = nullptr;
  unknown.world_flags = 7u << PF_WorldFlag_FORMAT_SHIFT;
  PF_LayerDef *good = world.record(), *other = deep.record();
  const PF_IteratePixelFunc mix = MixOf(8);
  struct Call {
    PF_LayerDef* src;
    PF_IteratePixelFunc function;
    PF_LayerDef* dst;
  };
  for (const Call& call : {Call{nullptr, mix, nullptr}, Call{&empty, mix, good}, Call{good, mix, &empty},
                           Call{good, nullptr, good}, Call{good, mix, other}, Call{&unknown, mix, good}}) {
    PFhost_ClearReports();
    const PF_Err expected = PF_Iterate_Static(nullptr, 0, 0, call.src, nullptr, nullptr, call.function, call.dst);
    const auto reports = pftest::ReportTexts();
    PFhost_ClearReports();
    EXPECT_EQ(PF_Iterate(nullptr, 0, 0, call.src, nullptr, nullptr, call.function, call.dst), expected);
    EXPECT_EQ(pftest::ReportTexts(), reports);
  }
  PFhost_ClearReports();
  EXPECT_EQ(PF_IterateOrigin(nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, mix, good), 3);
  EXPECT_EQ(PFhost_ReportCount(), 1);
}

TEST_P(ThreadedIterate, ReturnsTheTopmostError) {
  const auto fail = [](void*, std::int32_t x, std::int32_t y, PF_Pixel8*, PF_Pixel8*) -> PF_Err {
    if (y == 90 && x == 399) return 90;
    if (y == 91 && x == 0) return 91;
    return y >= 200 ? 200 : 0;
  };
  TestWorld world(8, 400, 300);
  for (int repeat = 0; repeat < 50; ++repeat) {
    EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, PF_PixelFunc(+fail), world.record()), 90);
  }
}

// Progress of one call, and the rows that its function has seen.
struct Watch {
  static constexpr std::int32_t kRows = 512, kColumns = 512;
  PF_InData in{};
  std::uint64_t caller = vexcore::CurrentThreadIdentity();
  std::vector<std::int32_t> told;
  bool only_caller_told = true;
  std::size_t answer_at = 0;  // 1 = the first call
  PF_Err answer = 0;
  bool others_wait = false;  // until progress has been told once
  std::atomic<bool> has_told{false};
  std::atomic<std::int32_t> rows{0};

  Watch() {
    in.effect_ref = this;
    in.progress = &Tell;
  }
  static PF_Err Tell(void* reference, std::int32_t current, std::int32_t final) {
    auto& self = *static_cast<Watch*>(reference);
    self.only_caller_told &= vexcore::CurrentThreadIdentity() == self.caller && final == 9999;
    self.told.push_back(current);
    self.has_told = true;
    return self.told.size() == self.answer_at ? self.answer : 0;
  }
  static PF_Err Visit(void* reference, std::int32_t x, std::int32_t, PF_Pixel8*, PF_Pixel8*) {
    auto& self = *static_cast<Watch*>(reference);
    if (x == kColumns - 1) self.rows++;
    const bool other = vexcore::CurrentThreadIdentity() != self.caller;
    while (other && self.others_wait && !self.has_told) std::this_thread::yield();
    return 0;
  }
  PF_Err Run() {
    TestWorld world(8, kColumns, kRows);
    return PF_Iterate(&in, 100, 9999, nullptr, nullptr, this, PF_PixelFunc(&Visit), world.record());
  }
};

TEST_P(ThreadedIterate, TellsProgressFromTheCallingThreadWithRisingRows) {
  Watch watch;
  watch.others_wait = true;
  EXPECT_EQ(watch.Run(), 0);
  EXPECT_EQ(watch.rows, Watch::kRows);
  EXPECT_TRUE(watch.only_caller_told);
  ASSERT_GE(watch.told.size(), 2u);
  EXPECT_GT(watch.told.front(), 100);
  for (std::size_t i = 1; i < watch.told.size(); ++i) EXPECT_LT(watch.told[i - 1], watch.told[i]);
  EXPECT_EQ(watch.told.back(), 100 + Watch::kRows);
}

TEST_P(ThreadedIterate, OnlyCancelStopsAndTheLastAnswerIsReturned) {
  Watch cancelled;
  cancelled.others_wait = true;
  cancelled.answer_at = 1;
  cancelled.answer = 517;
  EXPECT_EQ(cancelled.Run(), 517);
  EXPECT_EQ(cancelled.told.size(), 1u);
  EXPECT_LT(cancelled.rows, Watch::kRows) << "what nobody had begun is left";

  Watch ignored;
  ignored.others_wait = true;
  ignored.answer_at = 1;
  ignored.answer = 99;
  EXPECT_EQ(ignored.Run(), 0);
  EXPECT_EQ(ignored.rows, Watch::kRows);

  // A single-threaded run tells every row, so the last call of any run is known by its count only here.
  Watch last;
  last.in.progress = [](void*, std::int32_t current, std::int32_t) { return current == 100 + Watch::kRows ? 99 : 0; };
  EXPECT_EQ(last.Run(), 99);
}

TEST_P(ThreadedIterate, TellsNothingWithoutAFinalValue) {
  TestWorld world(8, 512, 512);
  Watch watch;
  EXPECT_EQ(PF_Iterate(&watch.in, 5, 0, nullptr, nullptr, &watch, PF_PixelFunc(&Watch::Visit), world.record()), 0);
  EXPECT_TRUE(watch.told.empty());
}

// Calls of a generic function.
struct Count {
  explicit Count(std::int32_t iterations) : calls(static_cast<std::size_t>(iterations)), busy(64) {}
  static PF_Err Call(void* reference, std::int32_t thread, std::int32_t i, std::int32_t) {
    auto& self = *static_cast<Count*>(reference);
    const bool alone = !self.busy[static_cast<std::size_t>(thread)].exchange(true);
    self.calls[static_cast<std::size_t>(i)]++;
    if (!alone || thread >= U_GetNumThreads()) self.clashes++;
    self.busy[static_cast<std::size_t>(thread)] = false;
    return i == 37 || i == 60 || i >= 900 ? 1000 + i : 0;
  }
  std::vector<std::atomic<int>> calls;
  std::vector<std::atomic<bool>> busy;
  std::atomic<int> clashes{0};
};

TEST_P(ThreadedIterate, GenericCallsEachIndexOnDistinctThreadIndices) {
  for (const std::int32_t iterations : {2, 5, 30}) {
    Count count(iterations);
    EXPECT_EQ(PF_IterateGeneric(iterations, &count, &Count::Call), 0);
    for (const auto& calls : count.calls) EXPECT_EQ(calls, 1);
    EXPECT_EQ(count.clashes, 0);
  }
}

TEST_P(ThreadedIterate, GenericReturnsTheErrorOfTheLowestIndex) {
  for (int repeat = 0; repeat < 50; ++repeat) {
    Count count(1000);
    EXPECT_EQ(PF_IterateGeneric(1000, &count, &Count::Call), 1037);
    for (std::size_t i = 0; i <= 37; ++i) EXPECT_EQ(count.calls[i], 1) << i;
    EXPECT_EQ(count.calls[999], 0) << "it stopped";
  }
}

// Two indices that run at the same time and both fail, `last` after the other.
struct BothFail {
  explicit BothFail(std::int32_t last_to_fail) : last(last_to_fail) {}
  static PF_Err Call(void* reference, std::int32_t, std::int32_t i, std::int32_t) {
    auto& self = *static_cast<BothFail*>(reference);
    self.begun++;
    while (self.begun < 2) std::this_thread::yield();
    while (i == self.last && !self.first_failed) std::this_thread::yield();
    if (i == self.last) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    self.first_failed = true;
    return 1000 + i;
  }
  const std::int32_t last;
  std::atomic<int> begun{0};
  std::atomic<bool> first_failed{false};
};

TEST_P(ThreadedIterate, GenericPrefersTheLowestIndexWhicheverFailsFirst) {
  for (const std::int32_t last : {0, 1}) {
    BothFail both(last);
    EXPECT_EQ(PF_IterateGeneric(2, &both, &BothFail::Call), 1000) << "index " << last << " failed last";
  }
}

TEST_P(ThreadedIterate, GenericTreatsOtherCountsAsTheLibrarysOwn) {
  const auto note = [](void* reference, std::int32_t thread, std::int32_t i, std::int32_t n) -> PF_Err {
    *static_cast<std::string*>(reference) += std::to_string(thread) + std::to_string(i) + std::to_string(n) + ";";
    return 5;
  };
  std::string calls;
  EXPECT_EQ(PF_IterateGeneric(-1, &calls, note), 5);
  EXPECT_EQ(calls, "001;");
  EXPECT_EQ(PF_IterateGeneric(0, &calls, note), 0);
  EXPECT_EQ(PF_IterateGeneric(-2, &calls, note), 0);
  EXPECT_EQ(calls, "001;");
  PFhost_ClearReports();
  EXPECT_EQ(PF_IterateGeneric(10, &calls, nullptr), 3);
  EXPECT_EQ(PFhost_ReportCount(), 1);
}

INSTANTIATE_TEST_SUITE_P(Threads, ThreadedIterate, testing::Values(2, 3, 7));

}  // namespace
