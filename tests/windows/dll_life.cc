// After: DLLs that stay when they are let go, threads that outlive a stop, rounds that leave memory, handles or threads
// behind, rounds that never end, and exceptions that leave a plain export.
//
// The DLLs are taken in by hand from this program's own folder, as a plug-in host would.
#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "PF/PF_Iterate.h"
#include "PF/PF_Worlds.h"
#include "embedded/PFhost.h"

namespace {

constexpr int kRounds = 100;
// What the system sets up once has been set up by then.
constexpr int kWarmUp = 20;

int failures = 0;

void Check(bool holds, const char* what, int round) {
  if (holds) return;
  std::printf("not so in round %d: %s\n", round, what);
  ++failures;
}

struct Usage {
  unsigned long handles, threads;
  std::size_t bytes;
};

unsigned long Threads() {
  const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  unsigned long count = 0;
  for (BOOL more = Thread32First(all, &entry); more != 0; more = Thread32Next(all, &entry)) {
    if (entry.th32OwnerProcessID == GetCurrentProcessId()) ++count;
  }
  CloseHandle(all);
  return count;
}

Usage Used() {
  Usage used = {};
  used.threads = Threads();
  DWORD handles = 0;
  GetProcessHandleCount(GetCurrentProcess(), &handles);
  // Some systems do not count; there the number of a new handle tells, since numbers are used again.
  const HANDLE event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  used.handles = handles != 0 ? handles : static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(event) / 4);
  CloseHandle(event);
  PROCESS_MEMORY_COUNTERS memory = {};
  GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  used.bytes = memory.PagefileUsage;
  return used;
}

// A function of a DLL under its own name and type.
template <class F>
F* Find(HMODULE module, const char* name) {
  const FARPROC found = GetProcAddress(module, name);
  if (found == nullptr) {
    std::printf("%s is not exported\n", name);
    std::exit(1);
  }
  return reinterpret_cast<F*>(reinterpret_cast<void*>(found));
}
#define FIND(module, name) Find<decltype(name)>(module, #name)

PF_Err Paint(void*, std::int32_t x, std::int32_t y, PF_Pixel8*, PF_Pixel8* out) {
  *out = {255, static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y), 7};
  return 0;
}

PF_Err Throw(void*, std::int32_t, std::int32_t, std::int32_t) { throw std::runtime_error("from a callback"); }

void Work(HMODULE library, int round) {
  PF_EffectWorld world = {};
  Check(FIND(library, PF_NewEffectWorld)(nullptr, 300, 200, 8, 1, 0, &world) == 0, "a world", round);
  Check(FIND(library, PF_Iterate)(nullptr, 0, 0, nullptr, nullptr, nullptr, PF_PixelFunc(&Paint), &world) == 0,
        "painted", round);
  const auto* row = static_cast<const PF_Pixel8*>(world.data) + 199 * (world.row_bytes / 4);
  Check(row[299].red == 299 % 256 && row[299].green == 199, "the last pixel is painted", round);
  Check(FIND(library, PF_DisposeEffectWorld)(nullptr, &world) == 0, "disposed", round);
}

// The library throws within, and the one that the callback throws passes through it.
void ThrowWithin(HMODULE library, int round) {
  try {
    PF_Chunk chunk = {};
    const std::int32_t most = 0x7FFFFFFF;
    Check(FIND(library, PF_NewChunk)(most / 4, most, 1, 3, &chunk) == 4, "out of memory comes out as a code", round);
    Check(FIND(library, PF_IterateGeneric_Static)(1, nullptr, &Throw) == 3, "a callback's exception becomes a code",
          round);
  } catch (...) {
    Check(false, "no exception leaves a plain export", round);
  }
}

void Round(int round) {
  const HMODULE host = LoadLibraryW(L"PFhost.dll");
  const HMODULE library = GetModuleHandleW(L"PF.dll");
  if (host == nullptr || library == nullptr) {
    std::printf("PFhost.dll or PF.dll cannot be loaded: system error %lu\n", GetLastError());
    std::exit(1);
  }
  PFhost_Options options = {};
  options.threads = 1 + round % 4;
  Check(FIND(host, PFhost_Start)(&options) == 0, "started", round);
  Work(library, round);
  ThrowWithin(library, round);
  Check(FIND(host, PFhost_Stop)() == 0, "stopped", round);
  Check(FIND(host, PFhost_LiveAllocations)() == 0, "all memory is back", round);
  FreeLibrary(host);
  Check(GetModuleHandleW(L"PFhost.dll") == nullptr && GetModuleHandleW(L"PF.dll") == nullptr, "both have gone", round);
}

void EndWhenItHangs() {
  std::thread([] {
    std::this_thread::sleep_for(std::chrono::minutes(8));
    std::printf("a round has not ended\n");
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), 2);
  }).detach();
}

}  // namespace

int main() {
  EndWhenItHangs();
  Usage before = {};
  for (int round = 0; round < kRounds; ++round) {
    if (round == kWarmUp) before = Used();
    Round(round);
  }
  const Usage after = Used();
  std::printf("rounds %d to %d: handles %lu to %lu, threads %lu to %lu, committed KiB %zu to %zu\n", kWarmUp, kRounds,
              before.handles, after.handles, before.threads, after.threads, before.bytes / 1024, after.bytes / 1024);
  Check(after.handles <= before.handles, "no handle is left", kRounds);
  Check(after.threads <= before.threads, "no thread is left", kRounds);
  // The compiler's runtime keeps 4 KiB a round, as it does for a DLL of one mutex; the host's own count above sees the
  // rest.
  Check(after.bytes <= before.bytes + (std::size_t{1} << 20), "no memory is left", kRounds);
  std::printf("%s\n", failures == 0 ? "all is well" : "FAILED");
  return failures == 0 ? 0 : 1;
}
