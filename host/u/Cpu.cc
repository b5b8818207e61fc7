#include "u/Cpu.h"

#include <algorithm>
#include <limits>
#include <thread>

#include "host/U.h"
#include "u/CpuId.h"
#include "vexcore/Executor.h"

const U_CPU_Data* U_G_CPU_DataP = nullptr;

namespace pfhost {
namespace {

constexpr std::uint32_t kLevels[] = {U_CPU_VECTOR, U_CPU_SSSE3, U_CPU_SSE4, U_CPU_AVX2, U_CPU_AVX512, U_CPU_AVX512_DL};

constexpr bool HasAll(std::uint64_t word, std::uint64_t bits) { return (word & bits) == bits; }

#if PFHOST_X86

constexpr std::uint32_t Bits(std::initializer_list<int> positions) {
  std::uint32_t bits = 0;
  for (int position : positions) bits |= 1u << position;
  return bits;
}

// Leaf 1 register c: byte shuffles 9; SSE 4.1 and 4.2 19, 20; register state 27, 256-bit floats 28.
// Leaf 7 registers b and c: AVX2 5; AVX-512 F 16, DQ 17, CD 28, BW 30, VL 31; VBMI 1, VBMI2 6, VNNI 11,
// BITALG 12, VPOPCNTDQ 14.
std::uint32_t AskProcessor() {
  const std::uint32_t last_leaf = CpuId(0, 0).a;
  const CpuIdLeaf basic = CpuId(1, 0);
  const CpuIdLeaf extended = last_leaf >= 7 ? CpuId(7, 0) : CpuIdLeaf{};
  const std::uint64_t registers = HasAll(basic.c, Bits({27})) ? EnabledRegisters() : 0;
  std::uint32_t features = 0;
  if (HasAll(basic.d, Bits({26}))) features |= U_CPU_VECTOR;
  if (HasAll(basic.c, Bits({9}))) features |= U_CPU_SSSE3;
  if (HasAll(basic.c, Bits({19, 20}))) features |= U_CPU_SSE4;
  if (HasAll(registers, 0x06) && HasAll(basic.c, Bits({28})) && HasAll(extended.b, Bits({5}))) features |= U_CPU_AVX2;
  if (HasAll(registers, 0xE6) && HasAll(extended.b, Bits({16, 17, 28, 30, 31}))) features |= U_CPU_AVX512;
  if (HasAll(extended.c, Bits({1, 6, 11, 12, 14}))) features |= U_CPU_AVX512_DL;
  return features;
}

#elif defined(__aarch64__) || defined(_M_ARM64)
// 128-bit vectors are part of the architecture.
std::uint32_t AskProcessor() { return U_CPU_VECTOR; }
#else
std::uint32_t AskProcessor() { return 0; }
#endif

}  // namespace

std::uint32_t AllowedCpuFeatures(std::uint32_t detected, std::uint32_t disabled) noexcept {
  std::uint32_t allowed = 0;
  for (const std::uint32_t level : kLevels) {
    if ((detected & ~disabled & level) == 0) break;
    allowed |= level;
  }
  return allowed;
}

std::uint32_t DetectCpuFeatures() noexcept { return AllowedCpuFeatures(AskProcessor(), 0); }

void StartCpu(std::uint32_t disabled) noexcept {
  static U_CPU_Data data;
  data = {LogicalProcessors(), AllowedCpuFeatures(DetectCpuFeatures(), disabled)};
  U_G_CPU_DataP = &data;
}

void StopCpu() noexcept { U_G_CPU_DataP = nullptr; }

}  // namespace pfhost

std::uint32_t U_LongSwap(std::uint32_t value) {
  return (value >> 24) | ((value >> 8) & 0xFF00u) | ((value << 8) & 0xFF0000u) | (value << 24);
}
