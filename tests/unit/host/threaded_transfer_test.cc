// After: rows that are laid twice or not at all when several threads share them, and bits that depend on how many.
#include "PF/PF_Compositing.h"
#include "Support.h"
#include "support/LightTables.h"
#include "support/TestMask.h"

namespace {

using pftest::Random;
using pftest::TestWorld;

std::vector<std::vector<std::byte>> Results(std::int32_t threads) {
  const pftest::RunningHost host(threads);
  const PF_LinearBlendingTables tables = pftest::LightTables(2.2);
  std::vector<std::vector<std::byte>> results;
  for (const std::int32_t depth : {8, 16, 32}) {
    Random random(5);
    TestWorld src(depth, 250, 211, 16), dst(depth, 260, 230, 8);
    src.Fill(random, TestWorld::kSparse);
    pftest::TestMask mask(8, 240, 200, random);
    for (std::int32_t mode = -3; mode < PF_Xfer_COUNT; ++mode) {
      if (mode == -1) continue;
      dst.Fill(random, TestWorld::kRandom);
      const PF_TransferParams params = {mode, 0, 0.8f, mode % 4 == 0 ? &tables : nullptr, mask.record(), {5, 9}};
      const M_LPoint at = {-4, 11};
      EXPECT_EQ(PF_TransferRect(nullptr, &params, src.record(), nullptr, dst.record(), &at), 0);
      results.push_back(dst.Pixels());
    }
  }
  return results;
}

TEST(ThreadedTransfer, EveryNumberOfThreadsGivesTheSameBits) {
  const auto expected = Results(1);
  for (const std::int32_t threads : {2, 7}) EXPECT_TRUE(Results(threads) == expected) << threads;
}

}  // namespace
