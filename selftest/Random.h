// Random numbers by a seed that failures print: an engine whose numbers the standard fixes, and plain arithmetic on
// them.
#pragma once

#include <cstdint>
#include <random>

namespace selftest {

using Random = std::mt19937_64;

// Both inclusive.
inline std::int64_t Between(Random& random, std::int64_t low, std::int64_t high) {
  const auto range = static_cast<std::uint64_t>(high) - static_cast<std::uint64_t>(low) + 1;
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(low) + (range == 0 ? random() : random() % range));
}
inline std::int32_t Between32(Random& random, std::int32_t low, std::int32_t high) {
  return static_cast<std::int32_t>(Between(random, low, high));
}

}  // namespace selftest
