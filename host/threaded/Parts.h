// A job cut into parts that the executor's threads take one after the other.
#pragma once

#include <atomic>
#include <boost/core/ref.hpp>
#include <cstdint>
#include <limits>

#include "PF/PF_Errors.h"
#include "host/vexcore.h"
#include "u/Locks.h"

namespace pfhost {

// \param part called as part(thread index, i), from any thread; a code other than 0 fails the job.
// \param poll called by the calling thread, first before anything is done and then before each further
//   part that it takes; a code other than 0 stops the job and is its result.
//
// Parts are taken in rising order, and one that has been taken is run. So when part i fails, all parts
// before it are run too, and the failure with the lowest i is known for certain: its code is the result,
// however many threads there are.
template <class Part, class Poll>
class PartRun {
 public:
  PartRun(std::int64_t count, Part part, Poll poll) : count_(count), part_(part), poll_(poll) {}

  PF_Err Run() {
    if (const PF_Err stopped = poll_()) return stopped;
    auto take = [this](std::int32_t thread) { Take(thread); };
    vexcore::ExecuteCPUBoundTaskOnAllProcessorsWithProcessorIndex(boost::ref(take));
    return poll_code_ != 0 ? poll_code_ : failed_code_;
  }

 private:
  void Take(std::int32_t thread) {
    for (bool first = true; !stop_.load(std::memory_order_relaxed); first = false) {
      if (thread == 0 && !first && MustStop()) return;
      const std::int64_t i = next_.fetch_add(1, std::memory_order_relaxed);
      if (i >= count_) return;
      if (const PF_Err code = part_(thread, i)) Fail(i, code);
    }
  }

  bool MustStop() {
    if (next_.load(std::memory_order_relaxed) >= count_) return false;
    poll_code_ = poll_();
    if (poll_code_ != 0) stop_ = true;
    return poll_code_ != 0;
  }

  void Fail(std::int64_t i, PF_Err code) {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
    if (i >= failed_part_) return;
    failed_part_ = i;
    failed_code_ = code;
  }

  const std::int64_t count_;
  Part part_;
  Poll poll_;
  std::atomic<std::int64_t> next_{0};
  std::atomic<bool> stop_{false};
  PF_Err poll_code_ = 0;
  Mutex mutex_;
  std::int64_t failed_part_ = std::numeric_limits<std::int64_t>::max();
  PF_Err failed_code_ = 0;
};

template <class Part, class Poll>
PF_Err RunParts(std::int64_t count, Part part, Poll poll) {
  return PartRun<Part, Poll>(count, part, poll).Run();
}

}  // namespace pfhost
