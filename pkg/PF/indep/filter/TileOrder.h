// The order in which tiles of columns are begun.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace pf {

// Of `count` tiles side by side the one that is k-th to be begun, 0 <= k < count. About sqrt(count) that are begun one
// after the other, by threads that take them in turns, lie as far from each other: what a processor fetches ahead in
// the rows of a tile is its neighbour's, and would be taken from the cache of the thread that is writing there. The
// last tile, which may be narrower, comes last: so many tiles begun are at least as many lines done.
inline std::int64_t TileInTurn(std::int64_t k, std::int64_t count) {
  if (k == --count) return k;
  const auto groups = static_cast<std::int64_t>(std::sqrt(static_cast<double>(count)));
  const std::int64_t least = (count - 1) / groups, longer = count - least * groups;
  const std::int64_t group = k % groups;
  return group * least + std::min(group, longer) + k / groups;
}

}  // namespace pf
