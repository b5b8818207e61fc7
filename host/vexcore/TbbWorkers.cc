// Worker threads of oneTBB in an arena of their own.
#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/info.h>
#include <oneapi/tbb/task_arena.h>

#include <memory>
#include <optional>

#include "host/Export.h"
#include "vexcore/Workers.h"

namespace pfhost {

struct Crew {
  explicit Crew(std::int32_t count) : arena(count, 0u) {
    // The scheduler has one worker per further processor unless told that more are wanted.
    if (count >= oneapi::tbb::info::default_concurrency()) {
      more_workers.emplace(oneapi::tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(count) + 1);
    }
    arena.initialize();
  }
  std::optional<oneapi::tbb::global_control> more_workers;
  oneapi::tbb::task_arena arena;
};

void Workers::Start(std::int32_t count) { crew_ = std::make_unique<Crew>(count).release(); }

void Workers::Stop() noexcept {
  delete crew_;
  crew_ = nullptr;
}

void Workers::Enqueue(void (*work)()) {
  crew_->arena.enqueue([work] { work(); });
}

}  // namespace pfhost

#if defined(__SANITIZE_THREAD__)
#define PFHOST_THREAD_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define PFHOST_THREAD_SANITIZER 1
#endif
#endif

#if defined(PFHOST_THREAD_SANITIZER)
// The scheduler's library is not instrumented: the life of its task objects, which its headers and the task above write
// and read, looks like races. Only reports whose own access is there are left out.
extern "C" HOST_EXPORT const char* __tsan_default_suppressions() {
  return "race_top:oneapi/tbb/\nrace_top:vexcore/TbbWorkers.cc\n";
}
#endif
