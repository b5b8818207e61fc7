// Where rows lie in memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace pf {

// From the lowest byte to behind the highest one.
struct ByteRange {
  const std::byte *begin, *end;

  // Of rows, at least one; their stride may be negative.
  static ByteRange OfRows(const void* first, std::int64_t stride, std::int64_t rows, std::int64_t row_bytes) {
    const auto* top = static_cast<const std::byte*>(first);
    const auto* bottom = top + (rows - 1) * stride;
    return {std::min(top, bottom), std::max(top, bottom) + row_bytes};
  }
  bool Overlaps(const ByteRange& other) const { return begin < other.end && other.begin < end; }
};

// Bytes of a destination that is not worth keeping in caches: what a processor shares, often 32 MiB, has to hold the
// source too and serves everybody.
inline constexpr std::int64_t kPastCaches = std::int64_t{7} << 20;

}  // namespace pf
