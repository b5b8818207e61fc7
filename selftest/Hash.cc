#include "selftest/Hash.h"

#include <algorithm>
#include <cstring>

#include "selftest/TestMask.h"
#include "selftest/Worlds.h"

// Its code in this file alone, so that nothing depends on a library of it.
#define XXH_INLINE_ALL
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#endif
#include <xxhash.h>
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

namespace selftest {

struct Hash::State {
  XXH3_state_t xxh;
};

std::string Hash128::Text() const {
  std::string text;
  for (const std::uint64_t half : {high, low}) {
    for (int shift = 60; shift >= 0; shift -= 4) text += "0123456789abcdef"[half >> shift & 15];
  }
  return text;
}

Hash::Hash() : state_(std::make_unique<State>()) { XXH3_128bits_reset(&state_->xxh); }
Hash::~Hash() = default;

void Hash::AddBytes(const void* bytes, std::size_t size) {
  if (size > 0) XXH3_128bits_update(&state_->xxh, bytes, size);
}

void Hash::AddFloats(const float* values, std::size_t count) {
  float known[256];
  for (std::size_t first = 0; first < count; first += std::size(known)) {
    const std::size_t n = std::min(std::size(known), count - first);
    for (std::size_t i = 0; i < n; ++i) {
      const float v = values[first + i];
      known[i] = v != v ? kNan<float> : v;
    }
    AddBytes(known, n * sizeof(float));
  }
}

void Hash::Add(const TestWorld& world) {
  for (std::int32_t y = 0; y < world.height(); ++y) {
    const auto width = static_cast<std::size_t>(world.width());
    if (world.depth() == 32) {
      AddFloats(reinterpret_cast<const float*>(world.Row(y)), 4 * width);
    } else {
      AddBytes(world.Row(y), width * world.PixelSize());
    }
  }
  AddValue(static_cast<std::uint8_t>(world.GapsUntouched()));
}

void Hash::Add(const TestMask& mask) {
  if (mask.depth() == 32) {
    AddFloats(static_cast<const float*>(mask.values()), mask.size() / sizeof(float));
  } else {
    AddBytes(mask.values(), mask.size());
  }
}

void Hash::AddText(std::string_view text) {
  AddValue(static_cast<std::uint32_t>(text.size()));
  AddBytes(text.data(), text.size());
}

Hash128 Hash::value() const {
  const XXH128_hash_t hash = XXH3_128bits_digest(&state_->xxh);
  return {hash.high64, hash.low64};
}

}  // namespace selftest
