// The executor: worker threads of oneTBB in an arena of their own. The workers are asked to take part;
// what they have not taken by the time the caller has finished its own share the caller does itself. So
// a call never waits for a thread that is busy elsewhere, and makes progress when there is none at all.
#include "vexcore/Executor.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/task_arena.h>

#include <atomic>
#include <exception>
#include <memory>
#include <optional>
#include <thread>

#include "host/vexcore.h"
#include "u/ThreadState.h"

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

// One call. Shared with the workers, who may look at it after the call has returned.
class Call {
 public:
  Call(const Task& task, std::int32_t count) : task_(&task), count_(count) {}

  // Runs one index that nobody has taken yet; false when all are taken.
  bool RunNext() {
    const std::int32_t index = next_.fetch_add(1, std::memory_order_relaxed);
    if (index >= count_) return false;
    RunTask(*task_, index);
    finished_.fetch_add(1, std::memory_order_acq_rel);
    finished_.notify_all();
    return true;
  }
  void WaitForAll() {
    for (std::int32_t n = finished_.load(std::memory_order_acquire); n != count_ - 1;
         n = finished_.load(std::memory_order_acquire)) {
      finished_.wait(n, std::memory_order_acquire);
    }
  }

 private:
  const Task* task_;  // the caller's; alive while an index is left or running
  const std::int32_t count_;
  std::atomic<std::int32_t> next_{1};  // index 0 is the calling thread's
  std::atomic<std::int32_t> finished_{0};
};

class Executor {
 public:
  void Start(std::int32_t threads) {
    threads_ = threads;
    if (threads == 1) return;
    // The scheduler has one worker per further processor unless told that more are wanted.
    if (threads > oneapi::tbb::info::default_concurrency()) {
      more_workers_.emplace(oneapi::tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads));
    }
    arena_.emplace(threads - 1, 0u);
    arena_->initialize();
  }

  void Stop() {
    for (std::int32_t n = invited_.load(); n != 0; n = invited_.load()) invited_.wait(n);
    arena_.reset();
    more_workers_.reset();
    threads_ = 1;
  }

  std::int32_t threads() const { return threads_; }

  void Run(const Task& task) {
    if (threads_ == 1 || t_in_task || !RunOnThreads(task)) RunHere(task);
  }

 private:
  void RunHere(const Task& task) const {
    for (std::int32_t index = 0; index < threads_; ++index) task(index);
  }

  // False when there is no memory to share the call; nothing has been run then.
  bool RunOnThreads(const Task& task) {
    std::shared_ptr<Call> call;
    try {
      call = std::make_shared<Call>(task, threads_);
      for (std::int32_t worker = 1; worker < threads_; ++worker) Invite(call);
    } catch (const std::exception&) {
      if (call == nullptr) return false;
    }
    RunTask(task, 0);
    while (call->RunNext()) {
    }
    call->WaitForAll();
    return true;
  }

  void Invite(const std::shared_ptr<Call>& call) {
    invited_.fetch_add(1);
    try {
      arena_->enqueue([this, call] {
        call->RunNext();
        Left();
      });
    } catch (...) {
      Left();
      throw;
    }
  }

  void Left() {
    invited_.fetch_sub(1);
    invited_.notify_all();
  }

  std::int32_t threads_ = 1;
  std::optional<oneapi::tbb::global_control> more_workers_;
  std::optional<oneapi::tbb::task_arena> arena_;
  std::atomic<std::int32_t> invited_{0};  // workers that have been asked and have not left yet
};

Executor& TheExecutor() {
  static Executor executor;
  return executor;
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
