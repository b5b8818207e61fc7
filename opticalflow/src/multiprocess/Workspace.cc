#include "multiprocess/Workspace.h"

#include <algorithm>

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

Workspace::~Workspace() {
  while (first_ != nullptr) {
    WorkBlock* next = first_->next;
    U_FreePtr(first_);
    first_ = next;
  }
}

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
