// After settings whose caches outlive what they were made from, that compare equal when they render differently, or
// that go on without a pool.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "PF/PF_ColorSettings.h"
#include "PF/PF_Lifecycle.h"
#include "support/TestEngine.h"
#include "support/TestHost.h"
#include "support/Throws.h"

namespace {

using pftest::Host;
using pftest::NewPowerProfile;
using pftest::TestPool;

class Settings : public testing::Test {
 protected:
  void SetUp() override {
    Host().Reset();
    PF_FreeUpSomeMemory();
  }
};

TEST_F(Settings, StartClearedAndTakeProfilesThroughTheirPool) {
  PF_ColorSettings none;
  EXPECT_EQ(none.GetProfilePool(), nullptr);
  EXPECT_FALSE(none.IsValid() || none.GetLinearize() || none.GetLinearBlending());
  EXPECT_EQ(none.GetProfile(), nullptr);
  EXPECT_EQ(pftest::ThrownCode([&] { none.SetProfile(NewPowerProfile(2)); }), 3);
  EXPECT_EQ(Host().ReportTexts(), "You have to have a valid profile pool to set a profile.\n");

  const TestPool pool;
  PF_ColorSettings settings(pool.pool);
  EXPECT_FALSE(settings.IsValid());
  settings.SetLinearize(true);
  settings.SetLinearBlending(true);
  const auto profile = NewPowerProfile(2);
  settings.SetProfile(profile);
  EXPECT_TRUE(settings.IsValid());
  EXPECT_FALSE(settings.GetLinearize() || settings.GetLinearBlending()) << "a new profile clears both flags";
  EXPECT_EQ(settings.GetProfile(), profile);
  settings.SetLinearBlending(true);
  settings.SetProfileID(_t_XCE_ID{});
  EXPECT_FALSE(settings.IsValid() || settings.GetLinearBlending());
  EXPECT_EQ(settings.GetProfile(), nullptr);
}

TEST_F(Settings, MakeTablesOnceAndOnlyWhenTheFlagsOrForceAllow) {
  const TestPool pool;
  PF_ColorSettings settings(pool.pool);
  settings.SetProfile(NewPowerProfile(2));
  const auto make = [&](bool linearize, bool blending, bool force) {
    settings.SetLinearize(linearize);
    settings.SetLinearBlending(blending);
    return settings.GetLinearBlendingTables(force);
  };
  EXPECT_EQ(make(false, false, false), nullptr);
  EXPECT_EQ(make(true, true, false), nullptr);
  const auto tables = make(false, true, false);
  ASSERT_NE(tables, nullptr);
  EXPECT_EQ(tables->gamma, 2.0f);
  EXPECT_EQ(make(true, false, true), tables) << "force asks no flag";
  EXPECT_EQ(make(true, true, false), nullptr) << "tables that exist are still withheld";
  EXPECT_EQ(Host().counts["COR_ApplyTransform"], 1);
  settings.SetProfile(NewPowerProfile(3));
  EXPECT_EQ(settings.GetLinearBlendingTables(true)->gamma, 3.0f) << "another profile, other tables";
  EXPECT_EQ(tables->gamma, 2.0f) << "who has the old ones keeps them";

  PF_ColorSettings without_pool;
  EXPECT_EQ(without_pool.GetLinearBlendingTables(true)->gamma, 2.0f) << "the default working profile's";
}

TEST_F(Settings, AdjustTheProfileAndItsGammaOnce) {
  const TestPool pool;
  PF_ColorSettings settings(pool.pool);
  const auto profile = NewPowerProfile(2.5);
  settings.SetProfile(profile);
  EXPECT_EQ(settings.GetAdjustedProfile(), profile);
  EXPECT_EQ(settings.GetCalGrayGamma(), 2.5f);
  EXPECT_EQ(settings.GetCalGrayGamma(), 2.5f);
  EXPECT_EQ(Host().counts["COR_DescribeProfile"], 1);
  settings.SetLinearize(true);
  EXPECT_EQ(settings.GetCalGrayGamma(), 2.5f) << "a flag clears no cache, QUIRK-46";
  const auto linear = settings.GetAdjustedProfile();
  EXPECT_NE(linear, profile);
  EXPECT_EQ(settings.GetAdjustedProfile(), linear);
  EXPECT_EQ(Host().counts["COR_LinearizeProfile"], 1);
  settings.InvalidateCachedValues(settings.GetProfileID());
  EXPECT_EQ(settings.GetCalGrayGamma(), 1.0f);
  EXPECT_EQ(Host().counts["COR_LinearizeProfile"], 2);
}

TEST_F(Settings, CopyWithoutTheirCaches) {
  const TestPool pool;
  PF_ColorSettings first(pool.pool);
  first.SetProfile(NewPowerProfile(2));
  first.SetLinearBlending(true);
  const auto tables = first.GetLinearBlendingTables(false);
  const PF_ColorSettings copy(first);
  EXPECT_TRUE(copy == first && copy.IsValid() && copy.GetLinearBlending() && !copy.GetLinearize());
  PF_ColorSettings assigned;
  assigned = first;
  EXPECT_NE(assigned.GetLinearBlendingTables(false), tables);
  EXPECT_EQ(first.GetLinearBlendingTables(false), tables);

  PF_ColorSettings poolless;
  poolless.SetProfileID(first.GetProfileID());
  poolless.SetLinearize(true);
  assigned = poolless;
  EXPECT_FALSE(assigned.IsValid() || assigned.GetLinearize() || assigned.GetLinearBlending());
  EXPECT_TRUE(assigned.GetProfileID() == _t_XCE_ID{});
  EXPECT_EQ(assigned.GetProfilePool(), nullptr);
  EXPECT_FALSE(poolless == poolless) << "the argument is a copy, and that is cleared";
  const PF_ColorSettings& same = first;
  first = same;
  EXPECT_TRUE(first.IsValid() && first.GetLinearBlending());
}

TEST_F(Settings, AreEqualSortedAndIdentifiedByWhatTheyRender) {
  const TestPool pool, other_pool;
  const auto a = NewPowerProfile(2), b = NewPowerProfile(3);
  std::vector<PF_ColorSettings> all;
  for (COR_XCE_ProfilePool* in : {pool.pool, other_pool.pool}) {
    for (const auto& profile : {a, b}) {
      for (const int flags : {0, 1, 2, 3}) {
        all.emplace_back(in);
        all.back().SetProfile(profile);
        all.back().SetLinearize((flags & 2) != 0);
        all.back().SetLinearBlending((flags & 1) != 0);
      }
    }
  }
  std::set<std::string> guids;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const vexcore::Guid guid = all[i].GetRenderGuid();
    guids.emplace(reinterpret_cast<const char*>(guid.bytes), 16);
    for (std::size_t k = 0; k < all.size(); ++k) {
      EXPECT_EQ(all[i] == all[k], i == k) << i << ", " << k;
      EXPECT_EQ(all[i] != all[k], i != k) << i << ", " << k;
      EXPECT_EQ(all[i].GetSortOrder(all[k]), -all[k].GetSortOrder(all[i])) << i << ", " << k;
      EXPECT_EQ(all[i].GetSortOrder(all[k]) == 0, i == k) << i << ", " << k;
    }
  }
  EXPECT_EQ(guids.size(), 8u) << "pools do not enter the identity, profile ids and flags do";
  EXPECT_TRUE(all[3].GetRenderGuid() == PF_ColorSettings(all[3]).GetRenderGuid());
  EXPECT_EQ(all[0].GetSortOrder(all[8]), pool.pool < other_pool.pool ? -1 : 1);
  EXPECT_EQ(all[0].GetSortOrder(all[4]), a.get() < b.get() ? -1 : 1);
  EXPECT_EQ(all[1].GetSortOrder(all[2]), -1) << "linearize counts before blending";
}

TEST_F(Settings, IdentityIsTheHashOfSeedIdAndFlagsAndIsTracedOnRequest) {
  const TestPool pool;
  PF_ColorSettings settings(pool.pool);
  settings.SetProfile(NewPowerProfile(2));
  settings.SetLinearize(true);
  vexcore::MixHash hash("PF_ColorSettings", 16);
  hash.Mix(&settings.GetProfileID(), 16);
  hash.Mix("\0", 1);
  hash.Mix("\1", 1);
  EXPECT_TRUE(settings.GetRenderGuid() == hash.Result());
  EXPECT_TRUE(Host().trace.empty());
  Host().trace_levels["MixHashGuid"] = 5;
  settings.GetRenderGuid();
  EXPECT_TRUE(Host().trace.empty());
  Host().trace_levels["MixHashGuid"] = 6;
  EXPECT_TRUE(settings.GetRenderGuid() == hash.Result());
  EXPECT_EQ(Host().trace.size(), 4u) << "the seed and three steps";
}

TEST_F(Settings, OfAnEmergencyAreMadeOnceAndByManyThreads) {
  const std::int64_t before = Host().live_allocations;
  std::atomic<int> waiting{4};
  PF_ColorSettings* found[4] = {};
  std::vector<std::thread> threads;
  for (PF_ColorSettings*& one : found) {
    threads.emplace_back([&] {
      --waiting;
      while (waiting > 0) std::this_thread::yield();
      one = PF_GetEmergencyColorSettings();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (PF_ColorSettings* one : found) EXPECT_EQ(one, found[0]);
  ASSERT_NE(found[0], nullptr);
  EXPECT_TRUE(found[0]->IsValid() && found[0]->GetLinearize() && !found[0]->GetLinearBlending());
  EXPECT_EQ(found[0]->GetCalGrayGamma(), 1.0f) << "of the linearised working space";
  const std::int64_t calls = Host().engine_calls;
  EXPECT_EQ(PF_GetEmergencyColorSettings(), found[0]);
  found[0]->GetAdjustedProfile();
  found[0]->GetLinearBlendingTables(true);
  EXPECT_EQ(Host().engine_calls, calls) << "its caches are filled, nothing is left to race for";
  EXPECT_EQ(PF_Death(), 0);
  EXPECT_EQ(Host().live_allocations, before);
}

TEST_F(Settings, OfAnEmergencyAreTriedAgainAfterAFailure) {
  const std::int64_t before = Host().live_allocations;
  for (int k = 0;; ++k) {
    ASSERT_LT(k, 50);
    Host().Reset();
    Host().fail_engine_call = k;
    const PF_Err code = pftest::ThrownCode([] { PF_GetEmergencyColorSettings(); });
    if (code == 0) break;
    EXPECT_EQ(code, 3) << k;
    EXPECT_EQ(Host().live_allocations, before) << k;
  }
  EXPECT_EQ(PF_Death(), 0);
  Host().no_engine = true;
  EXPECT_EQ(pftest::ThrownCode([] { PF_GetEmergencyColorSettings(); }), 0x67656E20);
  EXPECT_EQ(Host().live_allocations, before);
}

TEST_F(Settings, AreNamedForUsers) {
  EXPECT_EQ(PF_GetWorkingSpaceProfileName(), L"Working Space - standard");
  const TestPool pool;
  PF_ColorSettings settings(pool.pool);
  EXPECT_EQ(PF_GetWorkingSpaceProfileName(settings), L"Working Space - None");
  settings.SetProfile(pftest::NewProfile("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x8E\xA8 \xC3( \xED\xA0\x80 \xF5", {}, 1));
  EXPECT_EQ(PF_GetWorkingSpaceProfileName(settings), L"Working Space - \u00E9\u20AC\U0001F3A8 \uFFFD( \uFFFD \uFFFD");
  Host().no_texts = true;
  EXPECT_EQ(PF_GetWorkingSpaceProfileName(), L"Working Space - standard") << "the key's own text";
  Host().no_engine = true;
  EXPECT_EQ(PF_GetWorkingSpaceProfileName(), L"Working Space - None");
}

}  // namespace
