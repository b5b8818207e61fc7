// After, for every operation of the table: a failed allocation that leaks, crashes or is not told; a
// cancel that is overlooked; bits that depend on the vector target or on what the host's memory looks like.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "lifecycle/Globals.h"
#include "sample/SampleKernels.h"
#include "simd/Targets.h"
#include "support/Operations.h"
#include "support/TestHost.h"

namespace {

using pftest::Host;
using pftest::Hash128;
using pftest::Operation;
using pftest::Operations;
using pftest::Trial;

class AllOperations : public testing::Test {
 protected:
  void SetUp() override {
    Host().Reset();
    ASSERT_EQ(PF_Birth(), 0);
  }
  void TearDown() override {
    Host().Reset();
    pf::LimitTargets(~0u);
    EXPECT_EQ(PF_Death(), 0);
    EXPECT_EQ(PFp_LiveWorldCount(), 0);
    EXPECT_EQ(PFp_LiveChunkCount(), 0);
  }
};

Hash128 CleanHash(const Operation& operation, std::uint64_t seed) {
  Trial run(seed);
  EXPECT_EQ(operation.run(run), 0) << operation.name << ", seed " << seed << "\n" << Host().ReportTexts();
  return run.results.value();
}

TEST_F(AllOperations, EveryFailedAllocationGivesOutOfMemoryAndLeavesNothing) {
  for (const Operation& operation : Operations()) {
    if (operation.refuses) continue;
    SCOPED_TRACE(operation.name);
    PF_FreeUpSomeMemory();
    const std::int64_t before = Host().live_allocations;
    Host().Reset();
    CleanHash(operation, 1);
    const std::int64_t allocations = Host().allocations;
    PF_FreeUpSomeMemory();
    ASSERT_EQ(Host().live_allocations, before);
    for (std::int64_t n = 0; n < allocations; ++n) {
      for (const bool all_later : {false, true}) {
        Host().Reset();
        PF_FreeUpSomeMemory();
        Host().fail_allocation = n;
        Host().fail_all_later_allocations = all_later;
        Trial run(1);
        EXPECT_EQ(operation.run(run), PF_Err_OUT_OF_MEMORY) << "allocation " << n;
        PF_FreeUpSomeMemory();
        EXPECT_EQ(Host().live_allocations, before) << "allocation " << n;
        EXPECT_EQ(PFp_LiveWorldCount(), 0);
        EXPECT_EQ(PFp_LiveChunkCount(), 0);
      }
    }
  }
}

struct Polls {
  int count = 0;
  int stop_at = -1;
  static PF_Err Abort(std::uint64_t reference) { return reinterpret_cast<Polls*>(reference)->Answer(); }
  static PF_Err Progress(std::uint64_t reference, std::int32_t current, std::int32_t total) {
    EXPECT_TRUE(current >= 0 && current <= total) << current << " of " << total;
    return Abort(reference);
  }
  PF_Err Answer() { return count++ == stop_at ? 7000 + stop_at : 0; }
};

TEST_F(AllOperations, CancelAtEveryPollPointStopsAndIsReturned) {
  for (const Operation& operation : Operations()) {
    if (!operation.polls) continue;
    int polls_in_all = 0;
    for (const bool progress_too : {false, true}) {
      const auto record_of = [&](Polls& polls) {
        return PF_ProgressInfo{reinterpret_cast<std::uint64_t>(&polls), &Polls::Abort,
                               progress_too ? &Polls::Progress : nullptr};
      };
      SCOPED_TRACE(operation.name + (progress_too ? ", progress" : ", abort alone"));
      Polls counting;
      PF_ProgressInfo record = record_of(counting);
      Trial clean(2);
      clean.progress = &record;
      EXPECT_EQ(operation.run(clean), 0);
      EXPECT_EQ(clean.results.value(), CleanHash(operation, 2)) << "polling changes no pixel";
      polls_in_all += counting.count;
      for (int k = 0; k < counting.count; ++k) {
        Polls stopping;
        stopping.stop_at = k;
        PF_ProgressInfo stop = record_of(stopping);
        PF_FreeUpSomeMemory();
        const std::int64_t before = Host().live_allocations;
        {
          Trial run(2);
          run.progress = &stop;
          EXPECT_EQ(operation.run(run), 7000 + k);
        }
        PF_FreeUpSomeMemory();
        EXPECT_EQ(Host().live_allocations, before) << "cancelled at poll " << k;
        EXPECT_EQ(stopping.count, k + 1) << "nothing is asked after the answer";
      }
    }
    EXPECT_GE(polls_in_all, 4) << operation.name << " polls too seldom";
  }
}

TEST_F(AllOperations, TheSameBitsOnEveryVectorTargetAndWithout) {
  constexpr std::uint64_t kSeeds = 3;
  std::vector<Hash128> expected;
  const std::uint32_t levels[] = {0,
                                  U_CPU_VECTOR,
                                  U_CPU_VECTOR | U_CPU_SSSE3,
                                  U_CPU_VECTOR | U_CPU_SSSE3 | U_CPU_SSE4,
                                  ~0u & ~(U_CPU_AVX512 | U_CPU_AVX512_DL),
                                  ~0u};
  for (const std::uint32_t features : levels) {
    ASSERT_EQ(PF_Death(), 0);
    Host().cpu_features = features;
    // The record is read when geometry is prepared, so the second start sees it.
    ASSERT_EQ(PF_Birth(), 0);
    ASSERT_EQ(PF_Death(), 0);
    ASSERT_EQ(PF_Birth(), 0);
    if (features == 0) {
      ASSERT_EQ(pf::g_kernels.sample.load(), &pf::kPortableSampleKernels);
    }
    if (features == ~0u) {
      ASSERT_NE(pf::g_kernels.sample.load(), &pf::kPortableSampleKernels);
    }
    std::size_t i = 0;
    for (const Operation& operation : Operations()) {
      for (std::uint64_t seed = 0; seed < kSeeds; ++seed, ++i) {
        const Hash128 hash = CleanHash(operation, seed);
        if (features == 0) expected.push_back(hash);
        EXPECT_EQ(hash, expected[i]) << operation.name << ", seed " << seed << ", CPU features " << features;
      }
    }
  }
}

TEST_F(AllOperations, TheSameBitsWhateverTheHostsMemoryLooksLike) {
  for (const Operation& operation : Operations()) {
    Host().Reset();
    const Hash128 expected = CleanHash(operation, 3);
    EXPECT_EQ(Host().reports.empty(), !operation.refuses) << operation.name << ": " << Host().ReportTexts();
    Host().addresses_8_modulo_16 = true;
    EXPECT_EQ(CleanHash(operation, 3), expected) << operation.name << ", addresses 8 modulo 16";
    Host().addresses_8_modulo_16 = false;
    Host().move_handles = true;
    EXPECT_EQ(CleanHash(operation, 3), expected) << operation.name << ", moving handles";
    Host().move_handles = false;
    Host().no_texts = !operation.refuses;
    EXPECT_EQ(CleanHash(operation, 3), expected) << operation.name << ", no texts";
  }
}

TEST_F(AllOperations, AllocationsDoNotGrowWithTheRows) {
  for (const Operation& operation : Operations()) {
    Host().Reset();
    CleanHash(operation, 4);
    EXPECT_LE(Host().allocations, operation.refuses ? 20 : 8) << operation.name;
  }
}

}  // namespace
