// The processor's own description of itself: the seam to the compiler.
#pragma once

#include <cstdint>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#define PFHOST_X86 1
#elif defined(_M_X64) || defined(_M_IX86)
#include <intrin.h>
#define PFHOST_X86 1
#else
#define PFHOST_X86 0
#endif

namespace pfhost {

#if PFHOST_X86

struct CpuIdLeaf {
  std::uint32_t a = 0, b = 0, c = 0, d = 0;
};

#if defined(_MSC_VER)
inline CpuIdLeaf CpuId(std::uint32_t leaf, std::uint32_t subleaf) {
  int r[4];
  __cpuidex(r, static_cast<int>(leaf), static_cast<int>(subleaf));
  return {static_cast<std::uint32_t>(r[0]), static_cast<std::uint32_t>(r[1]), static_cast<std::uint32_t>(r[2]),
          static_cast<std::uint32_t>(r[3])};
}
inline std::uint64_t EnabledRegisters() { return _xgetbv(0); }
#else
inline CpuIdLeaf CpuId(std::uint32_t leaf, std::uint32_t subleaf) {
  CpuIdLeaf r;
  __cpuid_count(leaf, subleaf, r.a, r.b, r.c, r.d);
  return r;
}
// Which register files the operating system saves. Only where leaf 1 tells that it may be asked.
inline std::uint64_t EnabledRegisters() {
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (static_cast<std::uint64_t>(high) << 32) | low;
}
#endif

#endif

}  // namespace pfhost
