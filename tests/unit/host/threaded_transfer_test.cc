// After: rows that are laid twice or not at all when several threads share them, and bits that depend on how many or
// on the vector target.
#include "PF/PF_Compositing.h"
#include "Support.h"
#include "lifecycle/Globals.h"
#include "support/LightTables.h"
#include "support/Targets.h"
#include "support/TestMask.h"

namespace {

using pftest::Random;
using pftest::TestWorld;

std::vector<std::vector<std::byte>> Results(std::int32_t threads, bool portable = false) {
  const pftest::RunningHost host(threads);
  pf::g_kernels.Set(portable ? pf::kPortableKernels : pf::VectorKernels());
  const PF_LinearBlendingTables tables = pftest::LightTables(2.2);
  std::vector<std::vector<std::byte>> results;
  for (const std::int32_t depth : {8, 16, 32}) {
    Random random(5);
    TestWorld src(depth, 67, 131, 16), dst(depth, 70, 140, 8);
    src.Fill(random, TestWorld::kSparse);
    pftest::TestMask mask(8, 60, 125, random);
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

TEST(ThreadedTransfer, EveryNumberOfThreadsAndEveryVectorTargetGiveTheSameBits) {
  const auto expected = Results(1, true);
  pftest::ForEachTarget([&] {
    for (const std::int32_t threads : {1, 2, 7}) EXPECT_TRUE(Results(threads) == expected) << threads;
  });
}

}  // namespace
