// The engine's kernels on single floats.
#include <algorithm>
#include <cmath>

#include "planes/MotionKernels.h"
#include "simd/PlainLanes.h"

#define PF_INLINE inline

namespace pf {
namespace {

using plain::Abs;
using plain::Max;
using plain::Min;
using plain::Select;
using plain::Sqrt;

// Conversions as vectors have them.
struct F {
  float v;

  F() = default;
  explicit F(float value) : v(value) {}
  explicit F(double constant) : v(static_cast<float>(constant)) {}
  explicit F(int constant) : v(static_cast<float>(constant)) {}

  friend F operator+(F a, F b) { return F(a.v + b.v); }
  friend F operator-(F a, F b) { return F(a.v - b.v); }
  friend F operator*(F a, F b) { return F(a.v * b.v); }
  friend F operator/(F a, F b) { return F(a.v / b.v); }
  friend bool operator<(F a, F b) { return a.v < b.v; }
  friend bool operator>(F a, F b) { return a.v > b.v; }
};
using M = bool;
constexpr std::int32_t kStep = 1;

F Abs(F a) { return F(std::abs(a.v)); }
F Sqrt(F a) { return F(std::sqrt(a.v)); }
F Load(const float* p) { return F(*p); }
void Store(F v, float* p) { *p = v.v; }
// Even ones and odd ones.
void LoadPairs(const float* p, F& even, F& odd) {
  even = Load(p);
  odd = Load(p + 1);
}
void StorePairs(F even, F odd, float* p) {
  Store(even, p);
  Store(odd, p + 1);
}
// x, x + 1, x + 2 ...
F Ramp(std::int32_t x) { return F(static_cast<float>(x)); }

// Bilinear, at the nearest place inside.
F Fetch(const FloatPlane& plane, F at_x, F at_y) {
  const float x = Max(Min(at_x.v, static_cast<float>(plane.width - 1)), 0.0f);
  const float y = Max(Min(at_y.v, static_cast<float>(plane.height - 1)), 0.0f);
  const auto column = static_cast<std::int32_t>(x), row = static_cast<std::int32_t>(y);
  const float a = x - static_cast<float>(column), b = y - static_cast<float>(row);
  const std::int32_t right = std::min(column + 1, plane.width - 1);
  const float *upper = plane.Row(row), *lower = plane.Row(std::min(row + 1, plane.height - 1));
  const float top = upper[column] + (upper[right] - upper[column]) * a;
  const float bottom = lower[column] + (lower[right] - lower[column]) * a;
  return F(top + (bottom - top) * b);
}

// Every other x from `parity` on.
template <class Visit>
void ForParity(std::int32_t parity, std::int32_t width, const Visit& visit) {
  for (std::int32_t x = parity; x < width; x += 2) visit(x, true);
}

template <std::size_t kSize>
struct Group {
  float v[kSize];

  Group() = default;
  explicit Group(float all) { std::fill_n(v, kSize, all); }
  Group(float a, float b, float c, float d) requires(kSize == 4) : v{a, b, c, d} {}

  template <class Op>
  static Group Each(const Group& a, const Group& b, const Op& op) {
    Group out;
    for (std::size_t i = 0; i < kSize; ++i) out.v[i] = op(a.v[i], b.v[i]);
    return out;
  }
  friend Group operator+(const Group& a, const Group& b) {
    return Each(a, b, [](float x, float y) { return x + y; });
  }
  friend Group operator-(const Group& a, const Group& b) {
    return Each(a, b, [](float x, float y) { return x - y; });
  }
  friend Group operator*(const Group& a, const Group& b) {
    return Each(a, b, [](float x, float y) { return x * y; });
  }
  friend Group operator/(const Group& a, const Group& b) {
    return Each(a, b, [](float x, float y) { return x / y; });
  }
  friend Group LargerOf(const Group& a, const Group& b) {
    return Each(a, b, [](float x, float y) { return Max(x, y); });
  }
  friend Group SmallerOf(const Group& a, const Group& b) {
    return Each(a, b, [](float x, float y) { return Min(x, y); });
  }
  friend Group Magnitude(const Group& a) {
    return Each(a, a, [](float x, float) { return std::abs(x); });
  }
};
using Four = Group<4>;
using Eight = Group<8>;

template <class G>
G LoadGroup(const float* p) {
  G out;
  std::copy_n(p, std::size(out.v), out.v);
  return out;
}
Four LoadFour(const float* p) { return LoadGroup<Four>(p); }
Eight LoadEight(const float* p) { return LoadGroup<Eight>(p); }
void StoreFour(const Four& a, float* p) { std::copy_n(a.v, 4, p); }
void StoreEight(const Eight& a, float* p) { std::copy_n(a.v, 8, p); }
template <int kLane>
Four Repeat(const Four& a) {
  return Four(a.v[kLane]);
}
// Lanes that are half the group apart first.
float Total(const Four& a) { return (a.v[0] + a.v[2]) + (a.v[1] + a.v[3]); }
float Total(const Eight& a) { return Total(Four(a.v[0] + a.v[4], a.v[1] + a.v[5], a.v[2] + a.v[6], a.v[3] + a.v[7])); }

#include "planes/Stencils-body.h"
//
#include "planes/Colour-body.h"
#include "planes/Fit-body.h"
#include "planes/Refine-body.h"
#include "planes/Search-body.h"
//
#include "planes/Kernels-body.h"

}  // namespace

constinit const MotionKernels kPortableMotionKernels = kKernels;

}  // namespace pf
