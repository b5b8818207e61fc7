#include "support/Worlds.h"

#include <cstdlib>
#include <memory>

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace pftest {
namespace {

constexpr std::size_t kPage = 4096;

#if defined(_WIN32)
void* MapGuarded(std::size_t size) {
  auto* pages = static_cast<std::byte*>(VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS));
  if (pages == nullptr || VirtualAlloc(pages + kPage, size - 2 * kPage, MEM_COMMIT, PAGE_READWRITE) == nullptr)
    std::abort();
  return pages;
}
void Unmap(void* pages, std::size_t) { VirtualFree(pages, 0, MEM_RELEASE); }
#else
void* MapGuarded(std::size_t size) {
  void* pages = mmap(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) std::abort();
  if (mprotect(static_cast<std::byte*>(pages) + kPage, size - 2 * kPage, PROT_READ | PROT_WRITE) != 0) std::abort();
  return pages;
}
void Unmap(void* pages, std::size_t size) { munmap(pages, size); }
#endif

// Before any test makes a picture.
[[maybe_unused]] const bool g_installed = [] {
  selftest::Around().new_block = [](std::size_t size,
                                    selftest::Block::Where where) -> std::unique_ptr<selftest::Block> {
    return std::make_unique<GuardedMemory>(size, where);
  };
  return true;
}();

}  // namespace

GuardedMemory::GuardedMemory(std::size_t size, Where where) : Block(nullptr, size) {
  const std::size_t inner = (size + kPage - 1) / kPage * kPage + (size == 0 ? kPage : 0);
  pages_size_ = inner + 2 * kPage;
  pages_ = MapGuarded(pages_size_);
  std::byte* first = static_cast<std::byte*>(pages_) + kPage;
  SetData(where == kEnd ? first + inner - size : first);
  std::memset(first, static_cast<int>(kUntouched), inner);
}

GuardedMemory::~GuardedMemory() { Unmap(pages_, pages_size_); }

}  // namespace pftest
