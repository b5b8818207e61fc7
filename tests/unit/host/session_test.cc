// After: starts that leave something behind when they fail, modules that are started and not stopped, and
// options that are not obeyed.
#include <cstdlib>

#include "PF/PF_Iterate.h"
#include "PF/PF_Lifecycle.h"
#include "Support.h"
#include "host/BM.h"
#include "host/PREF.h"
#include "u/Cpu.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

void SetEnvironment(const char* name, const std::string& value) {
#if defined(_WIN32)
  _putenv_s(name, value.c_str());
#else
  value.empty() ? unsetenv(name) : setenv(name, value.c_str(), 1);
#endif
}

Lines ReadLines(const fs::path& path) {
  Lines lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

TEST(Session, InstallsItsRoutinesOnlyWithMoreThanOneThread) {
  const auto own = reinterpret_cast<PF_AnyFunc>(&PF_Iterate_Static);
  for (const std::int32_t threads : {1, 2}) {
    const pftest::RunningHost host(threads);
    EXPECT_EQ(PF_GetOverrideFunc(42) == own, threads == 1);
  }
  EXPECT_EQ(PF_GetOverrideFunc(42), own);
}

TEST(Session, StartsOnceAtATimeAndLeavesNothing) {
  const std::int64_t before = PFhost_LiveAllocations();
  PFhost_ClearReports();
  EXPECT_EQ(PFhost_Stop(), 3);
  ASSERT_EQ(PFhost_Start(nullptr), 0);
  EXPECT_EQ(PFhost_Start(nullptr), 3);
  EXPECT_GE(U_G_CPU_DataP->processors, 1);
  EXPECT_EQ(PFhost_Stop(), 0);
  EXPECT_EQ(PFhost_Stop(), 3);
  EXPECT_EQ(PFhost_ReportCount(), 3);
  EXPECT_EQ(U_G_CPU_DataP, nullptr);
  EXPECT_EQ(PFhost_LiveAllocations(), before);
}

TEST(Session, AFailedStartStopsEverythingAgain) {
  const pftest::ScratchFolder folder;
  const std::string missing = (folder.path() / "missing").string();
  PFhost_Options options[4] = {};
  options[0].text_catalogue = missing.c_str();
  options[1].preferences = missing.c_str();
  options[2].plug_in_folder = missing.c_str();  // found by the library's start, when all of the host runs
  options[2].threads = 3;
  options[3].threads = -2;
  for (const PFhost_Options& bad : options) {
    const std::int64_t before = PFhost_LiveAllocations();
    PFhost_ClearReports();
    EXPECT_EQ(PFhost_Start(&bad), 3);
    EXPECT_EQ(PFhost_ReportCount(), 1);
    EXPECT_EQ(PFhost_LiveAllocations(), before);
    EXPECT_EQ(U_G_CPU_DataP, nullptr);
    EXPECT_EQ(U_GetNumThreads(), 1);
    EXPECT_EQ(PFhost_Start(nullptr), 0) << "nothing is left in the way";
    EXPECT_EQ(PFhost_Stop(), 0);
  }
}

TEST(Session, ReadsPreferences) {
  const pftest::ScratchFolder folder;
  const std::string file = folder.File("prefs", "View/wide=true\nView/off=0\nView/count=-7\nView/odd=7 apples\n");
  PFhost_Options options = {};
  options.preferences = file.c_str();
  ASSERT_EQ(PFhost_Start(&options), 0);
  EXPECT_EQ(PREF_GetBool("View", "wide", 0), 1);
  EXPECT_EQ(PREF_GetBool("View", "off", 1), 0);
  EXPECT_EQ(PREF_GetBool("View", "count", 0), 1);
  EXPECT_EQ(PREF_GetInteger("View", "count", 3), -7);
  EXPECT_EQ(PREF_GetInteger("View", "odd", 3), 3);
  EXPECT_EQ(PREF_GetBool("View", "odd", 1), 1);
  EXPECT_EQ(PREF_GetInteger("Other", "count", 3), 3);
  EXPECT_EQ(PFhost_Stop(), 0);
  EXPECT_EQ(PREF_GetInteger("View", "count", 3), 3);
}

TEST(Session, LimitsTheCpuFeaturesToWholeLevels) {
  const std::uint32_t all = U_CPU_VECTOR | U_CPU_SSSE3 | U_CPU_SSE4 | U_CPU_AVX2 | U_CPU_AVX512 | U_CPU_AVX512_DL;
  EXPECT_EQ(pfhost::AllowedCpuFeatures(all, 0), all);
  EXPECT_EQ(pfhost::AllowedCpuFeatures(all, U_CPU_AVX2), U_CPU_VECTOR | U_CPU_SSSE3 | U_CPU_SSE4);
  EXPECT_EQ(pfhost::AllowedCpuFeatures(all & ~U_CPU_SSE4, 0), U_CPU_VECTOR | U_CPU_SSSE3);
  PFhost_Options options = {};
  options.disabled_cpu_features = ~0u;
  ASSERT_EQ(PFhost_Start(&options), 0);
  EXPECT_EQ(U_G_CPU_DataP->features, 0u);
  EXPECT_EQ(PFhost_Stop(), 0);
#if defined(__x86_64__) && defined(__GNUC__)
  EXPECT_EQ((pfhost::DetectCpuFeatures() & U_CPU_AVX2) != 0, __builtin_cpu_supports("avx2") != 0);
  EXPECT_EQ((pfhost::DetectCpuFeatures() & U_CPU_SSE4) != 0, __builtin_cpu_supports("sse4.2") != 0);
#endif
}

TEST(Session, SwapsTheBytesOfALong) { EXPECT_EQ(U_LongSwap(0x01020384u), 0x84030201u); }

class Modules : public testing::Test {
 protected:
  void SetUp() override {
    PFhost_ClearReports();
    fs::create_directory(folder_.path() / "folder.VXX");
    folder_.File("b_damaged.VXX", "not a module");
    folder_.File("notes.txt", "not a module either");
    fs::copy_file(EMPTY_MODULE, folder_.path() / "c_empty.VXX");
    fs::copy_file(TEST_MODULE, folder_.path() / "a.VXX");
    fs::copy_file(TEST_MODULE, folder_.path() / "d.VXX");
    SetEnvironment("PF_TEST_MODULE_LOG", (folder_.path() / "log").string());
    plug_ins_ = folder_.path().string();
    options_.plug_in_folder = plug_ins_.c_str();
  }
  void TearDown() override {
    SetEnvironment("PF_TEST_MODULE_LOG", "");
    SetEnvironment("PF_TEST_MODULE_ANSWER", "");
  }
  Lines Log() const { return ReadLines(folder_.path() / "log"); }

  pftest::ScratchFolder folder_;
  std::string plug_ins_;
  PFhost_Options options_ = {};
};

TEST_F(Modules, AreStartedInOrderAndStoppedAndDamagedOnesSkipped) {
  const std::int64_t before = PFhost_LiveAllocations();
  ASSERT_EQ(PFhost_Start(&options_), 0);
  EXPECT_EQ(Log(), (Lines{"loaded", "start-up", "loaded", "start-up"}));
  const Lines reports = pftest::ReportTexts();
  EXPECT_EQ(reports, Lines(2, "problem opening plug-in acceleration module.")) << "the damaged and the empty one";
  EXPECT_EQ(PFhost_Stop(), 0);
  EXPECT_EQ(Log(),
            (Lines{"loaded", "start-up", "loaded", "start-up", "shut-down", "unloaded", "shut-down", "unloaded"}));
  EXPECT_EQ(PFhost_LiveAllocations(), before);
}

TEST_F(Modules, ThatRefuseToStartAreClosed) {
  SetEnvironment("PF_TEST_MODULE_ANSWER", "12");
  ASSERT_EQ(PFhost_Start(&options_), 0);
  EXPECT_EQ(Log(), (Lines{"loaded", "start-up", "unloaded", "loaded", "start-up", "unloaded"}));
  EXPECT_EQ(PFhost_Stop(), 0);
  EXPECT_EQ(Log().size(), 6u);
}

}  // namespace
