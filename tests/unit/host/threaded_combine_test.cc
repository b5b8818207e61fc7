// After: masks that come out otherwise on several threads: rows that share scratch, noise that follows the
// order of the threads, strips that touch their neighbours.
#include "PF/PF.h"
#include "Support.h"
#include "support/TestMask.h"

namespace {

using pftest::Random;
using pftest::RunningHost;
using pftest::TestMask;

constexpr std::int32_t kWidth = 700, kHeight = 300;

// Everything that runs through the executor, the results joined.
std::vector<std::byte> AllResults() {
  Random random(8);
  std::vector<std::byte> all;
  const auto keep = [&](const TestMask& mask) {
    const auto bytes = mask.Bytes();
    all.insert(all.end(), bytes.begin(), bytes.end());
  };
  const M_LRect rect = {-4, -4, kWidth - 9, kHeight - 3};
  const M_LPoint at = {7, 2};
  for (const std::int32_t depth : {8, 16, 32}) {
    TestMask src(depth == 32 ? 8 : 32, kWidth, kHeight, random), dst(depth, kWidth, kHeight, random);
    for (std::int32_t mode = 0; mode < PF_MaskMode_COUNT; ++mode) {
      EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), mode, 0.7f, 0.9f, &rect, &at, dst.record()), 0);
      keep(dst);
    }
    EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, dst.record(), PF_MaskMode_ADD, &rect, &at, dst.record()), 0);
    keep(dst);
    EXPECT_EQ(
        PF_TransferUnoBuffers(nullptr, src.record(), dst.record(), PF_MaskMode_DIFFERENCE, &rect, &at, dst.record()),
        0);
    keep(dst);
  }
  TestMask deep(16, kWidth, kHeight, random), low(8, kWidth, kHeight, random);
  PF_ResetDitherRandomIndex();
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, deep.record(), &rect, 1, low.record()), 0);
  keep(low);
  for (const std::int32_t direction : {0, 1}) {
    for (const float radius : {3.0f, 40.0f}) {
      EXPECT_EQ(PF_GBlurUnoScan(low.record(), low.record(), radius, direction, nullptr), 0);
      EXPECT_EQ(PF_GBlurDeepUnoScan(deep.record(), deep.record(), radius, direction, nullptr), 0);
      keep(low);
      keep(deep);
      EXPECT_EQ(PF_BoxBlurUnoScan(low.record(), low.record(), radius, direction, nullptr), 0);
      EXPECT_EQ(PF_BoxBlurDeepUnoScan(deep.record(), deep.record(), radius, direction, nullptr), 0);
      keep(low);
      keep(deep);
    }
  }
  return all;
}

TEST(ThreadedMasks, GiveTheBitsOfOneThread) {
  std::vector<std::byte> expected;
  {
    const RunningHost host(1);
    expected = AllResults();
  }
  for (const std::int32_t threads : {2, 3, 7}) {
    const RunningHost host(threads);
    for (int turn = 0; turn < 3; ++turn) EXPECT_TRUE(AllResults() == expected) << threads << " threads";
  }
}

TEST(ThreadedMasks, AStopFromTheCallerEndsTheCall) {
  const RunningHost host(3);
  TestMask mask(8, kWidth, kHeight);
  mask.FillWith(9);
  PF_ProgressInfo stop = {};
  stop.abort = [](std::uint64_t) -> PF_Err { return 77; };
  const M_LRect rect = {0, 0, kWidth, kHeight};
  const M_LPoint at = {0, 0};
  // Should the other threads have done everything before this one came by, nobody is asked.
  const auto stopped = [](PF_Err code) { return code == 77 || code == 0; };
  EXPECT_TRUE(stopped(PF_AccumulateUnoBuffers(&stop, mask.record(), 1, &rect, &at, mask.record())));
  EXPECT_TRUE(stopped(PF_GBlurUnoScan(mask.record(), mask.record(), 9, 0, &stop)));
  EXPECT_TRUE(stopped(PF_BoxBlurUnoScan(mask.record(), mask.record(), 9, 1, &stop)));
}

}  // namespace
