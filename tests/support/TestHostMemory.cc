// Memory of the test host: every block ends exactly where malloc's does, so that an overrun is seen by a
// sanitizer, and every release is checked against what was allocated.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

#include "host/BM.h"
#include "host/vexcore.h"
#include "support/TestHostLock.h"

namespace pftest {
namespace {

constexpr std::uint64_t kLive = 0x11FEB10C11FEB10Cu;
constexpr std::uint64_t kHeader = 32;

struct Header {
  std::uint64_t magic;
  std::uint64_t size;
  void* base;
};

[[noreturn]] void Die(const char* what) {
  std::fprintf(stderr, "test host: %s\n", what);
  std::abort();
}

bool MayAllocate() {
  TestHost& host = Host();
  const std::int64_t number = host.allocations++;
  if (host.fail_allocation < 0) return true;
  const bool due = host.fail_all_later_allocations ? number >= host.fail_allocation : number == host.fail_allocation;
  return !due;
}

void* Allocate(std::uint64_t size, bool aligned) {
  const std::lock_guard lock(HostLock());
  if (!MayAllocate() || size > (std::uint64_t{1} << 33)) return nullptr;
  const std::uint64_t shift = Host().addresses_8_modulo_16 && !aligned ? 8 : 0;
  auto* base = static_cast<char*>(std::malloc(kHeader + shift + size));
  if (base == nullptr) return nullptr;
  char* block = base + kHeader + shift;
  const Header header = {kLive, size, base};
  std::memcpy(block - sizeof(Header), &header, sizeof(Header));
  std::memset(block, 0xCD, size);
  ++Host().live_allocations;
  return block;
}

std::uint64_t Free(void* block) {
  const std::lock_guard lock(HostLock());
  Header header;
  std::memcpy(&header, static_cast<char*>(block) - sizeof(Header), sizeof(Header));
  if (header.magic != kLive) Die("a block was freed that is not live");
  const Header dead = {0, 0, nullptr};
  std::memcpy(static_cast<char*>(block) - sizeof(Header), &dead, sizeof(Header));
  std::free(header.base);
  --Host().live_allocations;
  return header.size;
}

void ReportShortage(const char* what) {
  if (what != nullptr) AddReport({Report::kOutOfMemory, 0, 0, what});
}

struct Master {
  void* data;
  std::uint64_t size;
  int locks;
};

std::set<Master*>& Masters() {
  static std::set<Master*> masters;
  return masters;
}

Master* MasterOf(U_Handle handle) {
  auto* master = reinterpret_cast<Master*>(handle);
  if (Masters().count(master) == 0) Die("a handle was used that is not live");
  return master;
}

void MoveAll() {
  if (!Host().move_handles) return;
  const auto [failing, counted] = std::pair(Host().fail_allocation, Host().allocations);
  Host().fail_allocation = -1;
  for (Master* master : Masters()) {
    if (master->locks > 0) continue;
    void* moved = Allocate(master->size, false);
    std::memcpy(moved, master->data, master->size);
    std::memset(master->data, 0xEE, master->size);
    Free(master->data);
    master->data = moved;
  }
  Host().fail_allocation = failing;
  Host().allocations = counted;
}

U_Handle NewHandle(std::uint64_t size, const char* what, bool clear) {
  const std::lock_guard lock(HostLock());
  MoveAll();
  void* data = Allocate(size, false);
  if (data == nullptr) {
    ReportShortage(what);
    return nullptr;
  }
  if (clear) std::memset(data, 0, size);
  auto* master = new Master{data, size, 0};
  Masters().insert(master);
  return reinterpret_cast<U_Handle>(master);
}

}  // namespace
}  // namespace pftest

using pftest::Allocate;
using pftest::Answer;
using pftest::Host;
using pftest::HostLock;
using pftest::MasterOf;

struct TestBitmap {
  BM_World* world;  // first: a BM_World** is the address of this
  BM_World fields;
  void* block;
  int locks;
  std::int32_t channel_order;
};

extern "C" {

void* U_AllocatePtr(std::uint64_t size, const char* what) {
  Answer("U_AllocatePtr", false);
  void* block = Allocate(size, false);
  if (block == nullptr) pftest::ReportShortage(what);
  return block;
}
void U_FreePtr(void* block) {
  if (block != nullptr) pftest::Free(block);
}

U_Handle U_AllocateHandle(std::uint64_t size, const char* what) { return pftest::NewHandle(size, what, false); }
U_Handle U_AllocateHandleClear(std::uint64_t size, const char* what) { return pftest::NewHandle(size, what, true); }
std::uint64_t U_GetHandleSize(U_Handle handle) {
  const std::lock_guard lock(HostLock());
  pftest::MoveAll();
  return MasterOf(handle)->size;
}
void* U_LockHandle(U_Handle handle) {
  const std::lock_guard lock(HostLock());
  pftest::MoveAll();
  ++MasterOf(handle)->locks;
  return *handle;
}
void U_UnlockHandle(U_Handle handle) {
  const std::lock_guard lock(HostLock());
  if (--MasterOf(handle)->locks < 0) pftest::Die("a handle was unlocked that is not locked");
  pftest::MoveAll();
}
void U_FreeHandle(U_Handle handle) {
  if (handle == nullptr) return;
  const std::lock_guard lock(HostLock());
  auto* master = MasterOf(handle);
  pftest::Masters().erase(master);
  pftest::Free(master->data);
  delete master;
  pftest::MoveAll();
}

void* BM_AllocateFrameQuiet(std::uint64_t size) {
  Answer("BM_AllocateFrameQuiet", false);
  return Allocate(size, false);
}
void BM_FreeFrame(void* frame, std::uint64_t size) {
  Answer("BM_FreeFrame", false);
  if (pftest::Free(frame) != size) pftest::Die("a frame was freed with another size than it was allocated with");
}
void BM_ReportWorldAllocationFailure(U_Err error, std::int32_t row_bytes, std::int32_t width, std::int32_t height,
                                     std::int32_t bits_per_pixel) {
  pftest::AddReport({pftest::Report::kWorldAllocation, 0, error,
                     std::to_string(row_bytes) + " " + std::to_string(width) + " " + std::to_string(height) + " " +
                         std::to_string(bits_per_pixel)});
}

U_Err BM_NewWorld(std::int32_t width, std::int32_t height, std::int32_t bits_per_pixel, std::int32_t channel_order,
                  BM_World*** out) {
  *out = nullptr;
  if (const std::int32_t answer = Answer("BM_NewWorld", false); answer != 0) return answer;
  const std::int32_t row_bytes = (width * bits_per_pixel / 8 + 15) / 16 * 16;
  void* block = Allocate(static_cast<std::uint64_t>(row_bytes) * static_cast<std::uint64_t>(height), false);
  if (block == nullptr) return 4;
  auto* bitmap = new TestBitmap{};
  bitmap->world = &bitmap->fields;
  bitmap->fields = {Host().bitmap_without_pixels ? nullptr : block, row_bytes, static_cast<std::int16_t>(width),
                    static_cast<std::int16_t>(height), static_cast<std::int16_t>(bits_per_pixel)};
  bitmap->block = block;
  bitmap->channel_order = channel_order;
  *out = &bitmap->world;
  return 0;
}
U_Err BM_LoadLockPixels(BM_World** world) {
  if (const std::int32_t answer = Answer("BM_LoadLockPixels", false); answer != 0) return answer;
  ++reinterpret_cast<TestBitmap*>(world)->locks;
  return 0;
}
void BM_UnlockPixels(BM_World** world) {
  Answer("BM_UnlockPixels", false);
  if (--reinterpret_cast<TestBitmap*>(world)->locks < 0) pftest::Die("a bitmap world was unlocked that is not locked");
}
void BM_DisposeWorld(BM_World** world) {
  Answer("BM_DisposeWorld", false);
  auto* bitmap = reinterpret_cast<TestBitmap*>(world);
  if (bitmap->locks != 0) pftest::Die("a bitmap world was disposed while locked");
  pftest::Free(bitmap->block);
  delete bitmap;
}
void* BMp_GetPixBaseAddr(BM_World** world) { return reinterpret_cast<TestBitmap*>(world)->block; }
std::int32_t BM_GetChannelOrder(BM_World** world) { return reinterpret_cast<TestBitmap*>(world)->channel_order; }
}  // extern "C"

namespace vexcore {

void* AllocateSmallBlock(std::size_t size) noexcept { return Allocate(size, true); }
void FreeSmallBlock(void* block, std::size_t size) noexcept {
  if (block != nullptr && pftest::Free(block) != size) pftest::Die("a small block was freed with another size");
}

}  // namespace vexcore
