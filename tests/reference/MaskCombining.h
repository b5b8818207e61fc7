// Accumulation and transfer of masks value by value, in exact fractions or single steps.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "reference/Conversion.h"
#include "support/TestMask.h"

namespace pftest {

// v at another depth, as colour is converted.
inline double ReferenceConvertValue(int from, double v, int to) {
  if (from == to) return v;
  if (from == 32) return ReferenceFromFloat(static_cast<float>(v), to, false);
  if (from == 8) return ReferenceFromInteger(static_cast<std::uint8_t>(v), to, 16384);
  return ReferenceFromInteger(static_cast<std::uint16_t>(v > 32768 ? 32768 : v), to, 16384);
}

// a * b, where full counts as 1.
inline double ReferenceProduct(int depth, double a, double b) {
  if (depth == 32) return Single(a * b);
  return static_cast<double>(
      Nearest(static_cast<std::int64_t>(a) * static_cast<std::int64_t>(b), FullOf(depth), Half::kDown));
}

inline double ReferenceFade(int depth, double v, float weight) {
  const double factor = weight > 0 ? static_cast<double>(weight) : 0.0;
  if (depth == 32) return Single(v * factor);
  const double full = static_cast<double>(FullOf(depth));
  const double scale = std::trunc(std::min(Single(factor * full), full * full) + 0.5);
  if (scale == full) return v;
  return std::min(ReferenceProduct(depth, v, scale), full);
}

inline double ReferenceMode(int depth, std::int32_t mode, double s, double d) {
  const double full = depth == 32 ? 1 : static_cast<double>(FullOf(depth));
  const auto step = [&](double v) { return depth == 32 ? Single(v) : v; };
  if (depth == 16) {
    s = std::min(s, full);
    d = std::min(d, full);
  }
  switch (mode) {
    case 0:
      return s;
    case 1:
      return step(step(s + d) - ReferenceProduct(depth, s, d));
    case 2:
      return ReferenceProduct(depth, d, step(full - s));
    case 3:
      return ReferenceProduct(depth, s, d);
    case 4:
      return s > d ? s : d;
    case 5:
      return s < d ? s : d;
    default:
      return std::abs(step(s - d));
  }
}

struct ReferenceOperand {
  const TestMask* mask;
  float weight;
};

// The destination's values after a combination. `d` null: the destination itself, at its own place.
inline std::vector<double> ReferenceCombination(std::int32_t mode, ReferenceOperand s, ReferenceOperand d,
                                                const M_LRect& rect, const M_LPoint& at, const TestMask& dst) {
  const int depth = dst.depth();
  const TestMask& src = *s.mask;
  std::vector<double> out;
  bool any = false;
  for (const bool clears : {false, mode == 3 || mode == 5}) {
    out.clear();
    for (std::int64_t y = 0; y < dst.height(); ++y) {
      for (std::int64_t x = 0; x < dst.width(); ++x) {
        const std::int64_t sx = x - at.h + rect.left, sy = y - at.v + rect.top;
        const bool inside = sx >= rect.left && sx < rect.right && sy >= rect.top && sy < rect.bottom && sx >= 0 &&
                            sx < src.width() && sy >= 0 && sy < src.height();
        if (!inside) {
          out.push_back(clears && any ? 0 : dst.Get(x, y));
          continue;
        }
        any = true;
        const double first = ReferenceFade(depth, ReferenceConvertValue(src.depth(), src.Get(sx, sy), depth), s.weight);
        const double second =
            d.mask == nullptr
                ? ReferenceFade(depth, dst.Get(x, y), d.weight)
                : ReferenceFade(depth, ReferenceConvertValue(d.mask->depth(), d.mask->Get(sx, sy), depth), d.weight);
        out.push_back(ReferenceMode(depth, mode, first, second));
      }
    }
  }
  return out;
}

}  // namespace pftest
