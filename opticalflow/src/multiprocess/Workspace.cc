#include "multiprocess/Workspace.h"

#include <algorithm>
#include <atomic>

#include "host/U.h"
#include "report/Report.h"

namespace pf {
namespace {

constexpr std::uint64_t kAlignment = 64;
constexpr std::uint64_t kSmallestBlock = std::uint64_t{4} << 20;

std::uint64_t Padded(std::uint64_t size) { return (size + kAlignment - 1) / kAlignment * kAlignment; }

}  // namespace

struct WorkBlock {
  WorkBlock* next;
  std::uint64_t capacity;

  std::byte* Data() {
    const auto address = reinterpret_cast<std::uintptr_t>(this + 1);
    return reinterpret_cast<std::byte*>(Padded(address));
  }
};

namespace {

constexpr std::uint64_t kLargestKept = std::uint64_t{512} << 20;

// The kept blocks, or null. Whoever uses them takes them out.
constinit std::atomic<WorkBlock*> g_kept{nullptr};

void FreeAll(WorkBlock* block) {
  while (block != nullptr) {
    WorkBlock* next = block->next;
    U_FreePtr(block);
    block = next;
  }
}

}  // namespace

Workspace::Workspace() : first_(g_kept.exchange(nullptr, std::memory_order_acq_rel)) {}

Workspace::~Workspace() {
  std::uint64_t size = 0;
  for (const WorkBlock* block = first_; block != nullptr; block = block->next) size += block->capacity;
  WorkBlock* none = nullptr;
  if (size > kLargestKept || !g_kept.compare_exchange_strong(none, first_, std::memory_order_acq_rel)) FreeAll(first_);
}

void Workspace::ReleaseKept() { FreeAll(g_kept.exchange(nullptr, std::memory_order_acq_rel)); }

std::byte* Workspace::TakeBytes(std::uint64_t size) {
  size = Padded(size);
  if (current_ == nullptr || current_->capacity - used_ < size) {
    // Blocks behind the current one are free.
    WorkBlock** place = current_ == nullptr ? &first_ : &current_->next;
    if (*place == nullptr || (*place)->capacity < size) {
      const std::uint64_t capacity = std::max(size, kSmallestBlock);
      auto* block = static_cast<WorkBlock*>(U_AllocatePtr(capacity + sizeof(WorkBlock) + kAlignment, nullptr));
      if (block == nullptr) ThrowOutOfMemory();
      *block = {*place, capacity};
      *place = block;
    }
    current_ = *place;
    used_ = 0;
  }
  std::byte* taken = current_->Data() + used_;
  used_ += size;
  return taken;
}

}  // namespace pf
