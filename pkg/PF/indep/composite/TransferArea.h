// Where a rectangle of one world, and a mask on it, come to lie in another.
#pragma once

#include <algorithm>
#include <cstdint>

#include "host/M.h"

namespace pf {

struct Span {
  std::int64_t begin, end;

  bool Empty() const { return begin >= end; }
  bool Has(std::int64_t v) const { return v >= begin && v < end; }
  Span MovedBy(std::int64_t by) const { return {begin + by, end + by}; }
  // The common part; where there is none, an empty span inside `other`.
  Span And(const Span& other) const {
    const std::int64_t from = std::clamp(begin, other.begin, std::max(other.begin, other.end));
    return {from, std::clamp(end, from, std::max(from, other.end))};
  }
};

struct Box {
  Span columns, rows;

  static Box OfSize(std::int64_t width, std::int64_t height) { return {{0, width}, {0, height}}; }
  static Box Of(const M_LRect& rect) { return {{rect.left, rect.right}, {rect.top, rect.bottom}}; }
  bool Empty() const { return columns.Empty() || rows.Empty(); }
  Box MovedBy(std::int64_t h, std::int64_t v) const { return {columns.MovedBy(h), rows.MovedBy(v)}; }
  Box And(const Box& other) const { return {columns.And(other.columns), rows.And(other.rows)}; }
};

}  // namespace pf
