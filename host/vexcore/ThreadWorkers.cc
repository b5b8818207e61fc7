// Worker threads of the standard library: they begin with the host and have ended when it has stopped.
#include <deque>
#include <memory>
#include <thread>
#include <vector>

#include "u/Locks.h"
#include "vexcore/Workers.h"

namespace pfhost {

struct Crew {
  ~Crew() {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      stopping = true;
    }
    something_new.notify_all();
    for (std::thread& thread : threads) thread.join();
  }
  void Serve() {
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
      something_new.wait(lock, [this] { return stopping || !waiting.empty(); });
      if (waiting.empty()) return;
      void (*const work)() = waiting.front();
      waiting.pop_front();
      lock.unlock();
      work();
      lock.lock();
    }
  }

  Mutex mutex;
  Condition something_new;
  std::deque<void (*)()> waiting;
  bool stopping = false;
  std::vector<std::thread> threads;
};

void Workers::Start(std::int32_t count) {
  auto crew = std::make_unique<Crew>();
  crew->threads.reserve(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) crew->threads.emplace_back([one = crew.get()] { one->Serve(); });
  crew_ = crew.release();
}

void Workers::Stop() noexcept {
  delete crew_;
  crew_ = nullptr;
}

void Workers::Enqueue(void (*work)()) {
  {
    const std::lock_guard<std::mutex> lock(crew_->mutex);
    crew_->waiting.push_back(work);
  }
  crew_->something_new.notify_one();
}

}  // namespace pfhost
