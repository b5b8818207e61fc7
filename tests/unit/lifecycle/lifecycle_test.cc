// After: start-up steps in another order, a failure that stops or skips the wrong step, modules that are
// not shut down, version checks that are repeated or forgotten.
#include <gtest/gtest.h>

#include <cstring>

#include "PF/PF.h"
#include "lifecycle/Globals.h"
#include "report/HostMemory.h"
#include "simd/Targets.h"
#include "support/TestHost.h"
#include "world/ConvertKernels.h"

namespace {

using pftest::FakeModule;
using pftest::Host;

class Lifecycle : public testing::Test {
 protected:
  void SetUp() override {
    Host().Reset();
    live_before_ = Host().live_allocations;
    pf::g_host_versions = 0;
  }
  void TearDown() override {
    Host().Reset();
    EXPECT_EQ(Host().live_allocations, live_before_);
    pf::LimitTargets(~0u);
  }
  std::int64_t live_before_ = 0;
};

std::vector<std::string> Strings(std::initializer_list<const char*> texts) { return {texts.begin(), texts.end()}; }

TEST_F(Lifecycle, StartsAndStopsInOrder) {
  FakeModule module;
  Host().modules = {&module};
  EXPECT_EQ(PF_Birth(), 0);
  EXPECT_EQ(Host().calls, Strings({"M_PrepareFCMD", "RND_GetPrimeSizedTable", "PLUG_InstallScan", "PLUG_PrepRoutine",
                                   "PLUG_RegisterRoutine", "ALOG_Log PF/Birth/PF Birth"}));
  Host().calls.clear();
  EXPECT_EQ(PF_Death(), 0);
  EXPECT_EQ(Host().calls, Strings({"ALOG_Log PF/Death/PF Death", "PLUG_UnprepRoutine", "PLUG_UnregisterRoutine",
                                   "LIST_Unlock", "M_UnprepareFCMD"}));
  EXPECT_EQ(module.selectors, (std::vector<std::int32_t>{PLUG_SELECTOR_STARTUP, PLUG_SELECTOR_SHUTDOWN}));
}

TEST_F(Lifecycle, FirstFailureIsKeptAndOnlyDependentStepsAreSkipped) {
  struct Row {
    const char* failing;
    const char* also_failing;
    PF_Err expected;
    bool dither_built;
  };
  const Row rows[] = {{"M_PrepareFCMD", "PLUG_InstallScan", 41, false},
                      {"RND_GetPrimeSizedTable", "PLUG_InstallScan", 41, false},
                      {"PLUG_InstallScan", "", 41, true},
                      {"LIST_New", "", 4, true}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.failing);
    Host().Reset();
    Host().answers[row.failing] = 41;
    Host().answers[row.also_failing] = 42;
    EXPECT_EQ(PF_Birth(), row.expected);
    EXPECT_EQ(Host().calls.back(), "ALOG_Log PF/Birth/PF Birth");
    EXPECT_EQ(pf::g_dither.length > 0, row.dither_built);
    if (std::strcmp(row.failing, "M_PrepareFCMD") == 0) {
      EXPECT_EQ(Host().counts["RND_GetPrimeSizedTable"], 0);
    }
    Host().answers.clear();
    EXPECT_EQ(PF_Death(), 0);
    EXPECT_EQ(Host().counts["M_UnprepareFCMD"], std::strcmp(row.failing, "M_PrepareFCMD") == 0 ? 0 : 1);
  }
}

TEST_F(Lifecycle, DeathKeepsTheFirstErrorAndStillUnloadsEverything) {
  FakeModule first, second;
  first.answer_to_shutdown = 61;
  second.answer_to_shutdown = 62;
  Host().modules = {&first, &second};
  ASSERT_EQ(PF_Birth(), 0);
  Host().answers["M_UnprepareFCMD"] = 63;
  EXPECT_EQ(PF_Death(), 61);
  EXPECT_FALSE(first.prepared || first.registered || second.prepared || second.registered);
  EXPECT_EQ(second.selectors.back(), PLUG_SELECTOR_SHUTDOWN);
}

TEST_F(Lifecycle, EveryStepOfUnloadingIsTakenAndItsCodeReturned) {
  for (const char* step : {"PLUG_UnprepRoutine", "PLUG_UnregisterRoutine", "LIST_Unlock", "M_UnprepareFCMD"}) {
    FakeModule module;
    Host().Reset();
    Host().modules = {&module};
    ASSERT_EQ(PF_Birth(), 0);
    Host().answers[step] = 65;
    EXPECT_EQ(PF_Death(), 65) << step;
    EXPECT_EQ(Host().counts["M_UnprepareFCMD"], 1) << step;
  }
}

TEST_F(Lifecycle, AModuleTakenAwayByTheHostIsShutDownOnce) {
  FakeModule module;
  Host().modules = {&module};
  ASSERT_EQ(PF_Birth(), 0);
  EXPECT_EQ(Host().unload_handler(module.routine, nullptr), 0);
  EXPECT_EQ(PF_Death(), 0);
  EXPECT_EQ(module.selectors, (std::vector<std::int32_t>{PLUG_SELECTOR_STARTUP, PLUG_SELECTOR_SHUTDOWN}));
  EXPECT_EQ(Host().unload_handler(module.routine, nullptr), 0) << "after the end nothing is left to do";
  PLUG_UnregisterRoutine(module.routine);
}

TEST_F(Lifecycle, AFailedRegistrationIsShutDownAgain) {
  FakeModule module;
  Host().modules = {&module};
  Host().answers["PLUG_RegisterRoutine"] = 66;
  EXPECT_EQ(PF_Birth(), 0);
  EXPECT_EQ(module.selectors.back(), PLUG_SELECTOR_SHUTDOWN);
  EXPECT_FALSE(module.prepared);
  EXPECT_EQ(PF_Death(), 0);
}

TEST_F(Lifecycle, StartPutsTheSequenceToItsStartAndClearsTheLookUpTable) {
  pf::g_dither.cursor = 17;
  pf::g_lookup_table[255] = this;
  ASSERT_EQ(PF_Birth(), 0);
  EXPECT_EQ(pf::g_dither.cursor, 0);
  EXPECT_EQ(pf::g_lookup_table[255].load(), nullptr);
  EXPECT_EQ(PF_Death(), 0);
}

TEST_F(Lifecycle, ScratchMemoryIsKeptUntilItIsAskedBack) {
  ASSERT_EQ(PF_Birth(), 0);
  const std::int64_t before = Host().live_allocations;
  for (int round = 0; round < 2; ++round) {
    Host().allocations = 0;
    {
      const pf::HostBlock outer(2000, pf::Message::kImageBuffer), inner(3000, pf::Message::kImageBuffer);
      PF_FreeUpSomeMemory();  // as a host's allocator would: blocks in use stay
      outer.data()[1999] = inner.data()[2999] = std::byte{1};
    }
    EXPECT_EQ(Host().live_allocations, before + 1);
    EXPECT_EQ(Host().allocations, round == 0 ? 2 : 1) << "the kept block serves again";
  }
  PF_FreeUpSomeMemory();
  EXPECT_EQ(Host().live_allocations, before);
  EXPECT_EQ(PF_Death(), 0);
}

TEST_F(Lifecycle, AModuleThatCannotStartIsReportedAndLeftOut) {
  FakeModule refusing, good;
  refusing.answer_to_startup = 71;
  Host().modules = {&refusing, &good};
  EXPECT_EQ(PF_Birth(), 0);
  EXPECT_NE(Host().ReportTexts().find("problem opening plug-in acceleration module."), std::string::npos);
  EXPECT_FALSE(refusing.prepared);
  EXPECT_TRUE(good.registered);
  EXPECT_EQ(PF_Death(), 0);
  EXPECT_EQ(refusing.selectors.size(), 1u);
}

TEST_F(Lifecycle, EveryFailedAllocationOfStartUpLeavesNothingBehind) {
  FakeModule module;
  for (std::int64_t n = 0; n < 4; ++n) {
    Host().Reset();
    Host().modules = {&module};
    Host().fail_allocation = n;
    const PF_Err error = PF_Birth();
    EXPECT_TRUE(error == 0 || error == 4) << error;
    EXPECT_EQ(PF_Death(), 0);
    EXPECT_EQ(Host().live_allocations, live_before_) << "allocation " << n;
  }
}

TEST_F(Lifecycle, WithoutTheVectorFeatureTheSlotsStayPortable) {
  Host().cpu_features = 0;  // the record is read after geometry has been prepared once
  ASSERT_EQ(PF_Birth(), 0);
  ASSERT_EQ(PF_Death(), 0);
  ASSERT_EQ(PF_Birth(), 0);
  EXPECT_EQ(pf::g_kernels.convert.load(), &pf::kPortableConvertKernels);
  ASSERT_EQ(PF_Death(), 0);
  Host().cpu_features = ~0u;
  ASSERT_EQ(PF_Birth(), 0);
  ASSERT_EQ(PF_Death(), 0);
  ASSERT_EQ(PF_Birth(), 0);
  EXPECT_NE(pf::g_kernels.convert.load(), &pf::kPortableConvertKernels);
  ASSERT_EQ(PF_Death(), 0);
}

TEST_F(Lifecycle, AllHostLibrariesAreAskedOnceInOrderAndARefusalIsRemembered) {
  Host().answers["STR_CheckVersions"] = 1;
  EXPECT_EQ(PF_CheckVersions(9, 16), 7) << "they are asked even when the caller is refused";
  EXPECT_EQ(Host().reports.size(), 1u);
  Host().reports.clear();
  EXPECT_EQ(Host().calls,
            Strings({"U_CheckVersions", "STR_CheckVersions", "BM_CheckVersions", "M_CheckVersions",
                     "FILE_CheckVersions", "LIST_CheckVersions", "VXFX_CheckVersions", "PLUG_CheckVersions"}));
  Host().answers.clear();
  EXPECT_EQ(PF_CheckVersions(9, 17), 7);
  EXPECT_EQ(Host().calls.size(), 8u);
  EXPECT_TRUE(Host().reports.empty());
}

TEST_F(Lifecycle, AWrongCallerVersionIsReportedEveryTimeWithBothVersions) {
  Host().last_error = 5;
  for (int call = 1; call <= 2; ++call) {
    EXPECT_EQ(PF_CheckVersions(77, 16), 7);
    ASSERT_EQ(Host().reports.size(), static_cast<std::size_t>(call));
    EXPECT_EQ(Host().reports.back().identifier, 77u);
    EXPECT_EQ(Host().reports.back().line_or_kind, 16);
    EXPECT_EQ(Host().reports.back().text,
              "Plug-in version mismatch detected (did you install over an older version of Veltrix?). Try "
              "uninstalling and re-installing. (PF package v17 != PF v16)");
  }
  EXPECT_EQ(Host().last_error, 0);
  EXPECT_EQ(PF_CheckVersions(77, 17), 0);
  EXPECT_EQ(PF_PkgObjectVersion(), 0x110000);
}

}  // namespace
