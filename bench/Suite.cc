#include "Suite.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "Host.h"

namespace pfbench {
namespace {

constexpr int kTwoThreads = 2;

// Moves as many bytes as the task reads and writes.
class MemoryCopy {
 public:
  explicit MemoryCopy(std::size_t moved_bytes) : from_(moved_bytes / 2), to_(moved_bytes / 2) {
    std::memset(from_.data(), 1, from_.size());
    std::memset(to_.data(), 2, to_.size());
  }
  void operator()() const { std::memcpy(to_.data(), from_.data(), from_.size()); }

 private:
  AlignedBytes from_, to_;
};

std::size_t MovedBytes(const Case& wanted, const Task& task) {
  if (wanted.moved_bytes != 0) return wanted.moved_bytes;
  return task.src.bytes() * static_cast<std::size_t>(wanted.sources) + task.dst.bytes();
}

void Call(Hook hook, const Task& task) {
  if (hook != nullptr) hook(task.src, task.dst);
}

void Run(const Case& wanted, Function function, const Task& task) {
  Check(function(task.src, task.dst), wanted.Name());
}

void RunPortable(const Case& wanted, const Task& task) {
  const PortableKernels portable;
  Run(wanted, wanted.own, task);
}

// Pixels that are left unwritten keep the filling, so they differ too.
void Compare(const Case& wanted, const Picture& expected, const Picture& actual, const char* what) {
  if (!expected.SamePixels(actual)) {
    throw std::runtime_error(wanted.Name() + ": " + what + " give other pixels than the portable code");
  }
}

void CompareResults(const Case& wanted, const Task& task) {
  Picture expected(wanted.dst_size, wanted.dst_depth);
  expected.FillBytes(0x5A);
  const Task reference = {task.work, task.opaque, task.src, expected, task.scan, task.laying};
  Call(wanted.begin, reference);
  RunPortable(wanted, reference);
  Call(wanted.end, reference);
  const auto compare = [&](Function function, const char* what) {
    task.dst.FillBytes(0xA5);
    Call(wanted.begin, task);
    Run(wanted, function, task);
    Call(wanted.end, task);
    Compare(wanted, expected, task.dst, what);
  };
  compare(wanted.own, "the vector kernels");
  if (wanted.installed != nullptr) compare(wanted.installed, "two threads");
}

void TakeTimes(const Case& wanted, const Task& task, const Pace& pace, Row& row) {
  Call(wanted.begin, task);
  const MemoryCopy copy(MovedBytes(wanted, task));
  std::vector<Contender> peers;
  wanted.contenders(task, peers);
  std::vector<std::function<void()>> functions = {[&] { Run(wanted, wanted.own, task); }, [&] { copy(); }};
  if (wanted.has_kernels) functions.emplace_back([&] { RunPortable(wanted, task); });
  for (const Contender& peer : peers) functions.push_back(peer.run);

  const std::vector<double> seconds = TakeTurns(functions, pace);
  row.own = seconds[0];
  row.copy = seconds[1];
  if (wanted.has_kernels) row.portable = seconds[2];
  const std::size_t first = functions.size() - peers.size();
  for (std::size_t i = 0; i < peers.size(); ++i) {
    row.peers.push_back({peers[i].name, peers[i].less, peers[i].remark, seconds[first + i]});
  }
  std::ranges::sort(row.peers, {}, &PeerTime::seconds);
}

// Speed on `threads` threads as a multiple of the speed on one.
double SpeedUp(const Case& wanted, const Task& task, const Pace& pace, int threads) {
  if (wanted.installed == nullptr) return 0;
  UseThreads(threads);
  const std::vector<double> seconds =
      TakeTurns({[&] { Run(wanted, wanted.own, task); }, [&] { Run(wanted, wanted.installed, task); }}, pace);
  return seconds[0] / seconds[1];
}

}  // namespace

std::string Case::Name() const {
  return operation + ", " + depth + ", " + std::to_string(size.width) + "x" + std::to_string(size.height);
}

double Row::Speed(double seconds) const {
  return double{1e-6} * measured.dst_size.width * measured.dst_size.height / seconds;
}

Row RunCase(const Case& wanted, const Pace& pace) {
  UseThreads(kTwoThreads);
  Picture src(wanted.src_size, wanted.src_depth), dst(wanted.dst_size, wanted.dst_depth);
  src.FillNoise(wanted.opaque);
  if (wanted.work == Work::kPremultiplied || wanted.work == Work::kToStraight) src.Premultiply();
  if (wanted.sources == 2) src.MakeSecond();
  const Task task = {wanted.work, wanted.opaque, src, dst, wanted.scan, wanted.laying};
  CompareResults(wanted, task);

  Row row = {wanted, 0, 0, 0, 0, 0, {}};
  TakeTimes(wanted, task, pace, row);
  row.two_threads = SpeedUp(wanted, task, pace, kTwoThreads);
  const int all = static_cast<int>(std::thread::hardware_concurrency());
  row.all_threads = all > kTwoThreads ? SpeedUp(wanted, task, pace, all) : row.two_threads;
  return row;
}

Size Scaled(Size size, double factor) {
  return {static_cast<std::int32_t>(std::lround(size.width * factor)),
          static_cast<std::int32_t>(std::lround(size.height * factor))};
}

std::string DepthName(std::int32_t depth) { return depth == 32 ? "float" : std::to_string(depth) + " bits"; }

}  // namespace pfbench
