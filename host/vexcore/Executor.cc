// The executor. Worker threads are asked to take part; what they have not taken by the time the caller has finished
// its own share the caller does itself. So a call never waits for a thread that is busy elsewhere, and makes progress
// when there is none at all.
#include "vexcore/Executor.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <exception>
#include <memory>
#include <thread>
#include <utility>

#include "host/vexcore.h"
#include "u/Locks.h"
#include "u/ThreadState.h"
#include "vexcore/Workers.h"

namespace pfhost {
namespace {

using Task = boost::function<void(std::int32_t)>;

// True while the thread runs a task: calls from within run on the thread itself.
thread_local bool t_in_task = false;

void RunTask(const Task& task, std::int32_t index) {
  t_in_task = true;
  task(index);
  t_in_task = false;
}

// Waking a thread takes longer than many calls do, so threads look for what they wait for a little while before they
// sleep. False when it has not come.
template <class Come>
bool WaitBriefly(const Come& come) {
  constexpr std::chrono::microseconds kWhile(150);
  const auto end = std::chrono::steady_clock::now() + kWhile;
  while (!come()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::yield();
  }
  return true;
}

// One call. Shared with the workers, who may look at it after the call has returned.
class Call {
 public:
  Call(const Task& task, std::int32_t count) : task_(&task), count_(count) {}

  // Runs one index that nobody has taken yet; false when all are taken.
  bool RunNext() {
    const std::int32_t index = next_.fetch_add(1, std::memory_order_relaxed);
    if (index >= count_) return false;
    RunTask(*task_, index);
    if (finished_.fetch_add(1, std::memory_order_acq_rel) + 1 == count_ - 1) {
      const std::lock_guard<std::mutex> lock(mutex_);
      all_finished_.notify_all();
    }
    return true;
  }
  // Sleeps on a condition: waiting on the atomic itself loses wake-ups where libstdc++ 12 has no futex.
  void WaitForAll() {
    const auto come = [this] { return finished_.load(std::memory_order_acquire) == count_ - 1; };
    if (WaitBriefly(come)) return;
    std::unique_lock<std::mutex> lock(mutex_);
    all_finished_.wait(lock, come);
  }

 private:
  const Task* task_;  // the caller's; alive while an index is left or running
  const std::int32_t count_;
  std::atomic<std::int32_t> next_{1};  // index 0 is the calling thread's
  std::atomic<std::int32_t> finished_{0};
  Mutex mutex_;
  Condition all_finished_;
};

class Executor {
 public:
  void Start(std::int32_t threads);
  void Stop();
  std::int32_t threads() const { return threads_; }
  void Run(const Task& task) {
    if (threads_ == 1 || t_in_task || !RunOnThreads(task)) RunHere(task);
  }

 private:
  void RunHere(const Task& task) const {
    for (std::int32_t index = 0; index < threads_; ++index) task(index);
  }
  // False when there is no memory to share the call; nothing has been run then.
  bool RunOnThreads(const Task& task);
  void InviteWorkers(const std::shared_ptr<Call>& call);
  // What an invited worker does.
  void TakePart();
  // Null when another guest has taken it.
  std::shared_ptr<Call> AcceptInvitation();
  // The next one, if it comes soon.
  std::shared_ptr<Call> AwaitInvitation();
  void Leave();

  std::int32_t threads_ = 1;
  Workers workers_;
  Mutex mutex_;  // of what follows
  std::deque<std::shared_ptr<Call>> invitations_;
  std::atomic<std::size_t> open_invitations_{0};
  std::int32_t guests_ = 0;  // workers that have been invited and have not left yet
  Condition guest_left_;
};

Executor& TheExecutor() {
  static Executor executor;
  return executor;
}

void Executor::Start(std::int32_t threads) {
  if (threads > 1) workers_.Start(threads - 1);
  threads_ = threads;
}

void Executor::Stop() {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    guest_left_.wait(lock, [this] { return guests_ == 0; });
  }
  workers_.Stop();
  threads_ = 1;
}

bool Executor::RunOnThreads(const Task& task) {
  std::shared_ptr<Call> call;
  try {
    call = std::make_shared<Call>(task, threads_);
    InviteWorkers(call);
  } catch (const std::exception&) {
    if (call == nullptr) return false;
  }
  RunTask(task, 0);
  while (call->RunNext()) {
  }
  call->WaitForAll();
  return true;
}

// The call is handed over under a lock of our own rather than inside the scheduler's task, so that tools
// which cannot look into the scheduler see the order.
void Executor::InviteWorkers(const std::shared_ptr<Call>& call) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (std::int32_t worker = 1; worker < threads_; ++worker) {
    invitations_.push_back(call);
    try {
      workers_.Enqueue([] { TheExecutor().TakePart(); });
    } catch (...) {
      invitations_.pop_back();
      open_invitations_.store(invitations_.size(), std::memory_order_release);
      throw;
    }
    ++guests_;
  }
  open_invitations_.store(invitations_.size(), std::memory_order_release);
}

void Executor::TakePart() {
  for (std::shared_ptr<Call> call = AcceptInvitation(); call != nullptr; call = AwaitInvitation()) call->RunNext();
  Leave();
}

std::shared_ptr<Call> Executor::AcceptInvitation() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (invitations_.empty()) return nullptr;
  std::shared_ptr<Call> call = std::move(invitations_.front());
  invitations_.pop_front();
  open_invitations_.store(invitations_.size(), std::memory_order_release);
  return call;
}

std::shared_ptr<Call> Executor::AwaitInvitation() {
  std::shared_ptr<Call> call;
  WaitBriefly([&] {
    if (open_invitations_.load(std::memory_order_acquire) > 0) call = AcceptInvitation();
    return call != nullptr;
  });
  return call;
}

void Executor::Leave() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (--guests_ == 0) guest_left_.notify_all();
}

}  // namespace

std::int32_t LogicalProcessors() noexcept {
  return std::max(1, static_cast<std::int32_t>(std::thread::hardware_concurrency()));
}

U_Err StartExecutor(std::int32_t threads) noexcept {
  if (threads < 0 || threads > kMostThreads) return ReportVerification("impossible number of threads");
  try {
    TheExecutor().Start(threads == 0 ? std::min(LogicalProcessors(), kMostThreads) : threads);
    return 0;
  } catch (const std::exception&) {
    ReportOutOfMemory("threads");
    return 4;
  }
}

void StopExecutor() noexcept { TheExecutor().Stop(); }

}  // namespace pfhost

std::int32_t U_GetNumThreads() { return pfhost::TheExecutor().threads(); }

void vexcore::ExecuteCPUBoundTaskOnAllProcessorsWithProcessorIndex(const boost::function<void(std::int32_t)>& task) {
  if (!task.empty()) pfhost::TheExecutor().Run(task);
}
