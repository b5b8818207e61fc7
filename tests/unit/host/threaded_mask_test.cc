// After: rows of masks that are done twice or not at all when several threads share them; polls from
// another thread.
#include <atomic>
#include <memory>

#include "PF/PF_Masks.h"
#include "PF/PF_Worlds.h"
#include "Support.h"
#include "host/vexcore.h"
#include "support/MaskValues.h"

namespace {

using pftest::Random;
using pftest::TestWorld;
using pftest::ValueMask;

// What every operation makes of the same masks and worlds, one after the other.
std::vector<std::vector<std::byte>> Results(std::int32_t threads, const PF_ProgressInfo* progress) {
  const pftest::RunningHost host(threads);
  std::vector<std::vector<std::byte>> results;
  for (const std::int32_t depth : {8, 16, 32}) {
    Random random(4);
    ValueMask mask(211, 301, depth);
    mask.FillRandom(random);
    EXPECT_EQ(PF_InvertUnoBuffer(progress, &mask), 0);
    results.push_back(mask.Bytes());
    EXPECT_EQ(PF_InvertAndFadeUnoBuffer(progress, 50000, &mask), 0);
    results.push_back(mask.Bytes());
    if (depth == 32) continue;
    for (const std::int32_t world_depth : {8, 16, 32}) {
      TestWorld pixels(world_depth, 250, 333, 16);
      pixels.Fill(random, TestWorld::kRandom);
      const std::unique_ptr<PF_World> world(PF_World::NewReference(pixels.record()));
      EXPECT_EQ(PF_MergeMaskAlpha(progress, 5, 9, nullptr, &mask, nullptr, world.get()), 0);
      EXPECT_TRUE(pixels.GapsUntouched());
      results.push_back(pixels.Pixels());
    }
  }
  return results;
}

TEST(ThreadedMask, EveryNumberOfThreadsGivesTheSameBits) {
  const auto expected = Results(1, nullptr);
  for (const std::int32_t threads : {2, 3, 7}) EXPECT_TRUE(Results(threads, nullptr) == expected) << threads;
}

struct Polls {
  std::uint64_t caller = vexcore::CurrentThreadIdentity();
  std::atomic<bool> only_caller{true};
  std::int32_t last = 0, answer_at = 0, asked = 0;

  static Polls& From(std::uint64_t reference) { return *reinterpret_cast<Polls*>(reference); }
  PF_Err Ask() {
    if (vexcore::CurrentThreadIdentity() != caller) only_caller = false;
    return ++asked == answer_at ? 88 : 0;
  }
  PF_ProgressInfo Record() {
    return {reinterpret_cast<std::uint64_t>(this), [](std::uint64_t r) { return From(r).Ask(); },
            [](std::uint64_t r, std::int32_t done, std::int32_t rows) -> PF_Err {
              EXPECT_TRUE(done > From(r).last && done <= rows) << done << " after " << From(r).last;
              From(r).last = done == rows ? 0 : done;
              return From(r).Ask();
            }};
  }
};

TEST(ThreadedMask, OnlyTheCallerIsAskedAndMayStop) {
  for (const std::int32_t threads : {2, 7}) {
    const pftest::RunningHost host(threads);
    ValueMask mask(100, 2000, 8);
    EXPECT_EQ(PF_FillUnoBuffer(1, &mask), 0);
    Polls polls;
    PF_ProgressInfo record = polls.Record();
    EXPECT_EQ(PF_InvertUnoBuffer(&record, &mask), 0);
    EXPECT_TRUE(polls.only_caller);
    Polls stopping;
    stopping.answer_at = 1;
    record = stopping.Record();
    const PF_Err code = PF_InvertUnoBuffer(&record, &mask);
    // Should the other threads have done every row before the caller came by, nobody is asked.
    EXPECT_EQ(code, stopping.asked == 0 ? 0 : 88);
    EXPECT_LE(stopping.asked, 1);
  }
}

}  // namespace
