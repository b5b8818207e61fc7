// The test host's running hash and debug trace.
#include "host/vexcore.h"
#include "support/TestHost.h"
#include "support/TestHostLock.h"

namespace vexcore {
namespace {

void MixByte(Guid& state, std::uint8_t byte) {
  // Two multiplicative hashes of 64 bits with different multipliers.
  std::uint64_t halves[2];
  std::memcpy(halves, &state, sizeof state);
  halves[0] = (halves[0] ^ byte) * 0x100000001B3u;
  halves[1] = (halves[1] + byte + 1) * 0x9E3779B97F4A7C15u;
  halves[1] ^= halves[1] >> 29;
  std::memcpy(&state, halves, sizeof state);
}

}  // namespace

MixHash::MixHash(const void* seed, std::size_t size) noexcept : state_{{1, 2, 3}} { Mix(seed, size); }

void MixHash::Mix(const void* bytes, std::size_t size) noexcept {
  const auto* byte = static_cast<const std::uint8_t*>(bytes);
  for (std::size_t i = 0; i < size; ++i) MixByte(state_, byte[i]);
  MixByte(state_, static_cast<std::uint8_t>(size));
}

void DebugTrace(const char* text) noexcept {
  const std::lock_guard lock(pftest::HostLock());
  pftest::Host().trace.emplace_back(text);
}

bool DebugTraceEnabled(const char* category, std::int32_t level) noexcept {
  const std::lock_guard lock(pftest::HostLock());
  const auto found = pftest::Host().trace_levels.find(category);
  return found != pftest::Host().trace_levels.end() && found->second >= level;
}

}  // namespace vexcore
