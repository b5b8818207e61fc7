#include "signals.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <utility>

namespace pftool {
namespace {

// Read by the handler, so: fixed storage, lock-free atomics, and only async-signal-safe calls.
constexpr int kSlots = 8;
constexpr std::size_t kPathSize = 4096;
std::array<char[kPathSize], kSlots> slot_paths;
std::array<std::atomic<bool>, kSlots> slot_used;
char folder_path[kPathSize];
std::atomic<bool> folder_used;
std::atomic<int> pending_signal{0};

// Bare system calls, because the library's ways to list a folder allocate.
void RemoveFolder(const char* path) {
  const int folder = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  alignas(8) char entries[2048];
  long bytes = 0;
  while ((bytes = ::syscall(SYS_getdents64, folder, entries, sizeof entries)) > 0) {
    for (long at = 0; at < bytes;) {
      std::uint16_t length = 0;  // of an entry, behind two 64-bit numbers; then one byte of type and the name
      std::memcpy(&length, entries + at + 16, sizeof length);
      ::unlinkat(folder, entries + at + 19, 0);
      at += length;
    }
  }
  ::close(folder);
  ::rmdir(path);
}

void OnSignal(int signal_number) {
  int none = 0;
  if (pending_signal.compare_exchange_strong(none, signal_number)) return;
  for (std::size_t i = 0; i < kSlots; ++i) {
    if (slot_used[i]) ::unlink(slot_paths[i]);
  }
  if (folder_used) RemoveFolder(folder_path);
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

UnfinishedFolder::UnfinishedFolder(std::string path) : path_(std::move(path)) {
  if (path_.size() >= kPathSize || folder_used) return;
  std::memcpy(folder_path, path_.c_str(), path_.size() + 1);
  folder_used = true;
}

UnfinishedFolder::~UnfinishedFolder() {
  if (!path_.empty()) RemoveFolder(path_.c_str());
  Keep();
}

void UnfinishedFolder::Keep() {
  if (!path_.empty() && path_ == folder_path) folder_used = false;
  path_.clear();
}

}  // namespace pftool
