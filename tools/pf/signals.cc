#include "signals.h"

#include <signal.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstring>
#include <utility>

namespace pftool {
namespace {

// Read by the handler, so: fixed storage, lock-free atomics, and only async-signal-safe calls.
constexpr int kSlots = 8;
constexpr std::size_t kPathSize = 4096;
std::array<char[kPathSize], kSlots> slot_paths;
std::array<std::atomic<bool>, kSlots> slot_used;
std::atomic<int> pending_signal{0};

void OnSignal(int signal_number) {
  int none = 0;
  if (pending_signal.compare_exchange_strong(none, signal_number)) return;
  for (std::size_t i = 0; i < kSlots; ++i) {
    if (slot_used[i]) ::unlink(slot_paths[i]);
  }
  ::_exit(128 + signal_number);
}

}  // namespace

void InstallSignalHandlers() {
  struct sigaction action = {};
  action.sa_handler = OnSignal;
  sigemptyset(&action.sa_mask);
  for (int signal_number : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction before = {};
    // A signal that the parent chose to ignore (nohup) stays ignored.
    if (sigaction(signal_number, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
    sigaction(signal_number, &action, nullptr);
  }
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

int PendingSignal() { return pending_signal.load(std::memory_order_relaxed); }

void StopIfSignalled() {
  if (const int signal_number = PendingSignal()) throw Interrupted{signal_number};
}

UnfinishedFile::UnfinishedFile(std::string path) : path_(std::move(path)), slot_(-1) {
  if (path_.size() >= kPathSize) return;
  for (std::size_t i = 0; i < kSlots; ++i) {
    if (slot_used[i]) continue;
    std::memcpy(slot_paths[i], path_.c_str(), path_.size() + 1);
    slot_used[i] = true;
    slot_ = static_cast<int>(i);
    return;
  }
}

UnfinishedFile::~UnfinishedFile() {
  if (!path_.empty()) ::unlink(path_.c_str());
  Keep();
}

void UnfinishedFile::Keep() {
  if (slot_ >= 0) slot_used[static_cast<std::size_t>(slot_)] = false;
  slot_ = -1;
  path_.clear();
}

}  // namespace pftool
