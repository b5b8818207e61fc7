#include "Timing.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <limits>

namespace pfbench {
namespace {

double untimed_seconds = 0;
Clock running_clock = Clock::kWall;

double Now() {
  if (running_clock == Clock::kProcessor) {
    std::timespec spent = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &spent);
    return static_cast<double>(spent.tv_sec) + 1e-9 * static_cast<double>(spent.tv_nsec);
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

struct Runner {
  const std::function<void()>* function;
  int calls = 1;  // per repetition
  int repetitions = 0;
  double spent = 0;
  double best = std::numeric_limits<double>::infinity();

  // One repetition; returns its seconds per call.
  double Repeat() {
    untimed_seconds = 0;
    const double start = Now();
    for (int i = 0; i < calls; ++i) (*function)();
    const double seconds = Now() - start - untimed_seconds;
    ++repetitions;
    spent += seconds;
    best = std::min(best, seconds / calls);
    return seconds / calls;
  }

  // Finds the number of calls that make a repetition; the last trial is the first repetition.
  void Prepare(const Pace& pace) {
    for (;;) {
      const double seconds = Repeat();
      if (seconds * calls >= pace.least_seconds) return;
      *this = {function, calls};  // too short to count
      const double wanted = std::ceil(pace.least_seconds / std::max(seconds, 1e-9));
      // A first call may be much slower than the next: approach in steps.
      calls = static_cast<int>(std::min(wanted, 16.0 * calls));
    }
  }

  bool Done(const Pace& pace) const {
    return repetitions >= 2 && (repetitions >= pace.repetitions || spent > pace.most_seconds);
  }
};

}  // namespace

Untimed::Untimed() : start_(Now()) {}
Untimed::~Untimed() { untimed_seconds += Now() - start_; }

std::vector<double> TakeTurns(const std::vector<std::function<void()>>& functions, const Pace& pace, Clock clock) {
  running_clock = clock;
  std::vector<Runner> runners;
  for (const auto& function : functions) runners.push_back({&function});
  for (Runner& runner : runners) {
    runner.Prepare(pace);
  }
  for (bool busy = true; busy;) {
    busy = false;
    for (Runner& runner : runners) {
      if (runner.Done(pace)) continue;
      runner.Repeat();
      busy = true;
    }
  }
  std::vector<double> seconds;
  for (const Runner& runner : runners) seconds.push_back(runner.best);
  return seconds;
}

}  // namespace pfbench
