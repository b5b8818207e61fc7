// The running hash. Each run becomes a digest of its own, and digests are chained, so that nothing has to
// be kept but 16 bytes and the borders between runs count.
#define XXH_INLINE_ALL
#include <xxhash.h>

#include <cstring>

#include "host/vexcore.h"

namespace vexcore {
namespace {

// In the canonical byte order, the same on every machine.
Guid DigestOf(const void* bytes, std::size_t size) noexcept {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes, size));
  Guid digest;
  static_assert(sizeof digest == sizeof canonical);
  std::memcpy(&digest, &canonical, sizeof digest);
  return digest;
}

}  // namespace

MixHash::MixHash(const void* seed, std::size_t size) noexcept : state_(DigestOf(seed, size)) {}

void MixHash::Mix(const void* bytes, std::size_t size) noexcept {
  const Guid both[2] = {state_, DigestOf(bytes, size)};
  state_ = DigestOf(both, sizeof both);
}

}  // namespace vexcore
