// Pointers and relocatable handles. A handle is the address of a small record whose first word is the
// block's address. This host never has a reason to move a block; callers must not rely on that.
#include <atomic>
#include <cstring>
#include <new>

#include "host/U.h"
#include "u/Blocks.h"
#include "u/ThreadState.h"

namespace pfhost {
namespace {

struct HandleRecord {
  void* address;
  std::uint64_t size;
  std::atomic<std::int32_t> locks;
};

HandleRecord* RecordOf(U_Handle handle) { return reinterpret_cast<HandleRecord*>(handle); }

void* AllocateReported(std::uint64_t size, const char* what) {
  void* block = AllocateBlock(size, kBlockAlignment);
  if (block == nullptr) ReportOutOfMemory(what);
  return block;
}

}  // namespace
}  // namespace pfhost

void* U_AllocatePtr(std::uint64_t size, const char* what) { return pfhost::AllocateReported(size, what); }

void U_FreePtr(void* block) { pfhost::FreeBlock(block, pfhost::kBlockAlignment); }

U_Handle U_AllocateHandle(std::uint64_t size, const char* what) {
  void* block = pfhost::AllocateReported(size, what);
  if (block == nullptr) return nullptr;
  auto* record = new (std::nothrow) pfhost::HandleRecord{block, size, 0};
  if (record == nullptr) {
    U_FreePtr(block);
    pfhost::ReportOutOfMemory(what);
    return nullptr;
  }
  return &record->address;
}

U_Handle U_AllocateHandleClear(std::uint64_t size, const char* what) {
  U_Handle handle = U_AllocateHandle(size, what);
  if (handle != nullptr) std::memset(*handle, 0, static_cast<std::size_t>(size));
  return handle;
}

std::uint64_t U_GetHandleSize(U_Handle handle) { return handle != nullptr ? pfhost::RecordOf(handle)->size : 0; }

void* U_LockHandle(U_Handle handle) {
  if (handle == nullptr) return nullptr;
  pfhost::RecordOf(handle)->locks.fetch_add(1, std::memory_order_relaxed);
  return *handle;
}

void U_UnlockHandle(U_Handle handle) {
  if (handle == nullptr) return;
  if (pfhost::RecordOf(handle)->locks.fetch_sub(1, std::memory_order_relaxed) > 0) return;
  pfhost::RecordOf(handle)->locks.fetch_add(1, std::memory_order_relaxed);
  pfhost::ReportVerification("a handle was unlocked more often than locked");
}

void U_FreeHandle(U_Handle handle) {
  if (handle == nullptr) return;
  U_FreePtr(*handle);
  delete pfhost::RecordOf(handle);
}
