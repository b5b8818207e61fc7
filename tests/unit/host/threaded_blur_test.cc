// After: lines that are blurred twice or not at all when several threads share them, read while another thread writes
// them, or hold bits that depend on how many threads there are.
#include "Support.h"
#include "host/vexcore.h"
#include "reference/Blur.h"

namespace {

using pftest::BlurWish;
using pftest::CallBlur;
using pftest::Random;
using pftest::TestWorld;

std::vector<std::vector<std::byte>> Results(std::int32_t threads) {
  const pftest::RunningHost host(threads);
  std::vector<std::vector<std::byte>> results;
  for (const std::int32_t depth : {8, 16, 32}) {
    Random random(11);
    for (int variant = 0; variant < 24; ++variant) {
      const float radii[] = {2, 15, 40};
      const BlurWish wish = {(variant & 1) != 0, radii[variant % 3], 0,
                             (variant & 2) != 0, (variant & 4) != 0, (variant & 8) != 0};
      TestWorld src(depth, 181, 181, 16), dst(depth, 181, 181, 4);
      src.Fill(random, TestWorld::kSparse);
      EXPECT_EQ(CallBlur(src, dst, wish), 0);
      results.push_back(dst.Pixels());
      EXPECT_EQ(CallBlur(src, src, wish), 0);
      EXPECT_TRUE(src.SamePixels(dst)) << TextOf(wish) << ", depth " << depth << ", " << threads << " threads";
      EXPECT_TRUE(dst.GapsUntouched());
    }
  }
  return results;
}

TEST(ThreadedBlur, EveryNumberOfThreadsGivesTheSameBits) {
  const auto expected = Results(1);
  for (const std::int32_t threads : {2, 7}) EXPECT_TRUE(Results(threads) == expected) << threads;
}

TEST(ThreadedBlur, OnlyTheCallerIsAskedAndMayStop) {
  struct Polls {
    std::uint64_t caller = vexcore::CurrentThreadIdentity();
    std::int32_t asked = 0, told = 0;
    static Polls& From(std::uint64_t reference) { return *reinterpret_cast<Polls*>(reference); }
  };
  for (const std::int32_t threads : {2, 7}) {
    const pftest::RunningHost host(threads);
    TestWorld world(8, 300, 900);
    Random random(12);
    world.Fill(random, TestWorld::kRandom);
    Polls polls;
    const PF_ProgressInfo record = {reinterpret_cast<std::uint64_t>(&polls),
                                    [](std::uint64_t r) -> PF_Err {
                                      EXPECT_EQ(vexcore::CurrentThreadIdentity(), Polls::From(r).caller);
                                      return ++Polls::From(r).asked == 3 ? 88 : 0;
                                    },
                                    [](std::uint64_t r, std::int32_t done, std::int32_t lines) -> PF_Err {
                                      EXPECT_TRUE(done > Polls::From(r).told && done <= lines) << done;
                                      Polls::From(r).told = done;
                                      return 0;
                                    }};
    // Should the other threads have done nearly every line before the caller came by, it is asked less often.
    const PF_Err code = CallBlur(world, world, {false, 30}, &record);
    EXPECT_EQ(code, polls.asked < 3 ? 0 : 88);
    EXPECT_LE(polls.asked, 3);
  }
}

}  // namespace
