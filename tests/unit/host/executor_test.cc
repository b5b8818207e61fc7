// After: indices that are missing, given twice or used by two threads at once; calls that hang when they
// nest, come from several threads or find no worker free.
#include <atomic>
#include <chrono>
#include <set>
#include <thread>

#include "Support.h"
#include "host/vexcore.h"
#include "vexcore/Executor.h"

namespace {

class Executor : public testing::TestWithParam<std::int32_t> {
 protected:
  void SetUp() override { ASSERT_EQ(pfhost::StartExecutor(GetParam()), 0); }
  void TearDown() override { pfhost::StopExecutor(); }
};

void Execute(const boost::function<void(std::int32_t)>& task) {
  vexcore::ExecuteCPUBoundTaskOnAllProcessorsWithProcessorIndex(task);
}

// Runs an empty task and checks who got which index.
void ExpectEachIndexOnce() {
  std::vector<std::atomic<int>> calls(static_cast<std::size_t>(U_GetNumThreads()));
  std::atomic<bool> zero_is_caller{false};
  const std::uint64_t caller = vexcore::CurrentThreadIdentity();
  Execute([&](std::int32_t index) {
    calls[static_cast<std::size_t>(index)]++;
    if (index == 0) zero_is_caller = vexcore::CurrentThreadIdentity() == caller;
  });
  for (const auto& count : calls) EXPECT_EQ(count, 1);
  EXPECT_TRUE(zero_is_caller);
}

TEST_P(Executor, GivesEachIndexOnceAndZeroToTheCaller) {
  EXPECT_EQ(U_GetNumThreads(), GetParam());
  for (int i = 0; i < 200; ++i) ExpectEachIndexOnce();
}

TEST_P(Executor, NestsAndServesSeveralCallersAtOnce) {
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([] {
      for (int repeat = 0; repeat < 20; ++repeat) Execute([](std::int32_t) { ExpectEachIndexOnce(); });
    });
  }
  for (std::thread& caller : callers) caller.join();
}

TEST_P(Executor, BringsInOtherThreads) {
  if (GetParam() == 1) return;
  std::atomic<bool> other_came{false};
  Execute([&](std::int32_t index) {
    if (index != 0) other_came = true;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (index == 0 && !other_came && std::chrono::steady_clock::now() < end) std::this_thread::yield();
  });
  EXPECT_TRUE(other_came);
}

INSTANTIATE_TEST_SUITE_P(Threads, Executor, testing::Values(1, 2, 3, 7));

TEST(ExecutorThreads, ImpossibleNumbersAreRefusedAndZeroMeansAllProcessors) {
  PFhost_ClearReports();
  EXPECT_EQ(pfhost::StartExecutor(-1), 3);
  EXPECT_EQ(pfhost::StartExecutor(pfhost::kMostThreads + 1), 3);
  EXPECT_EQ(PFhost_ReportCount(), 2);
  ASSERT_EQ(pfhost::StartExecutor(0), 0);
  EXPECT_EQ(U_GetNumThreads(), pfhost::LogicalProcessors());
  pfhost::StopExecutor();
  EXPECT_EQ(U_GetNumThreads(), 1);
  ExpectEachIndexOnce();
}

TEST(ThreadIdentity, DiffersBetweenThreadsAndStaysWithinOne) {
  const std::uint64_t own = vexcore::CurrentThreadIdentity();
  std::uint64_t other = own;
  std::thread([&] { other = vexcore::CurrentThreadIdentity(); }).join();
  EXPECT_NE(own, other);
  EXPECT_EQ(own, vexcore::CurrentThreadIdentity());
}

}  // namespace
