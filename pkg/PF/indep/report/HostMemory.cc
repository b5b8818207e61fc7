#include "report/HostMemory.h"

#include <algorithm>
#include <atomic>

namespace pf {
namespace {

constexpr std::uint64_t kAlignment = 64;
constexpr std::uint64_t kSmallest = 1024;
constexpr std::uint64_t kLargestKept = std::uint64_t{1} << 22;

// In front of every block: what it can hold, alignment included.
struct Header {
  std::uint64_t capacity;
};
constexpr std::uint64_t kOverhead = sizeof(Header) + kAlignment;

std::byte* Aligned(void* block) {
  const auto address = reinterpret_cast<std::uintptr_t>(block);
  return reinterpret_cast<std::byte*>((address + kAlignment - 1) / kAlignment * kAlignment);
}

// The kept block, or null. Whoever uses it takes it out.
constinit std::atomic<Header*> g_kept{nullptr};

Header* Allocate(std::uint64_t capacity, Message what) {
  if (capacity > UINT64_MAX - kOverhead) return nullptr;
  auto* header = static_cast<Header*>(U_AllocatePtr(capacity + kOverhead, LookUp(what)));
  if (header != nullptr) header->capacity = capacity;
  return header;
}

void KeepOrFree(Header* header) {
  Header* none = nullptr;
  if (header->capacity > kLargestKept || !g_kept.compare_exchange_strong(none, header, std::memory_order_acq_rel)) {
    U_FreePtr(header);
  }
}

}  // namespace

HostBlock::HostBlock(std::uint64_t size, Message what) {
  Header* kept = g_kept.exchange(nullptr, std::memory_order_acq_rel);
  if (kept != nullptr && kept->capacity >= size) {
    block_ = kept;
    return;
  }
  Header* fresh = Allocate(std::max(size, kSmallest), what);
  if (kept != nullptr) KeepOrFree(kept);
  if (fresh == nullptr) ThrowOutOfMemory();
  block_ = fresh;
  // The larger block is the better one to keep.
  ReleaseKept();
}

HostBlock::~HostBlock() { KeepOrFree(static_cast<Header*>(block_)); }

std::byte* HostBlock::data() const { return Aligned(static_cast<Header*>(block_) + 1); }

HandleBlock::HandleBlock(std::uint64_t size, Message what)
    : handle_(size <= UINT64_MAX - kAlignment ? U_AllocateHandle(size + kAlignment, LookUp(what)) : nullptr) {
  if (handle_ == nullptr) ThrowOutOfMemory();
  data_ = Aligned(U_LockHandle(handle_));
}

HandleBlock::~HandleBlock() {
  U_UnlockHandle(handle_);
  U_FreeHandle(handle_);
}

void HostBlock::ReleaseKept() { U_FreePtr(g_kept.exchange(nullptr, std::memory_order_acq_rel)); }

}  // namespace pf
