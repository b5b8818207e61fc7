// Taking times.
#pragma once

#include <functional>
#include <vector>

namespace pfbench {

struct Pace {
  int repetitions;       // of each measurement; the best one counts
  double least_seconds;  // length of one repetition
  double most_seconds;   // no new repetition after this much, once there have been two
};

enum class Clock {
  kWall,
  kProcessor  // time that the program's threads spend on processors
};

// Time in its life does not count: for what a measured function has to prepare between pieces of its work. Only on the
// thread that takes the time.
class Untimed {
 public:
  Untimed();
  ~Untimed();
  Untimed(const Untimed&) = delete;
  Untimed& operator=(const Untimed&) = delete;

 private:
  double start_;
};

// Seconds per call of each function, best of at least two repetitions. The functions take turns, repetition
// by repetition, so that a disturbance of the machine hits all of them alike.
std::vector<double> TakeTurns(const std::vector<std::function<void()>>& functions, const Pace& pace,
                              Clock clock = Clock::kWall);

}  // namespace pfbench
