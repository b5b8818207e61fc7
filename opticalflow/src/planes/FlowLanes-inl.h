// Lanes of floats for the engine's bodies; portable_motion.cc has the same on single floats.
#if defined(PF_FLOW_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_FLOW_LANES_INL_H
#undef PF_FLOW_LANES_INL_H
#else
#define PF_FLOW_LANES_INL_H
#endif

#include <hwy/highway.h>

#include "planes/MotionKernels.h"
#include "simd/ConvertDepth-inl.h"
#include "simd/Lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using DF = hn::CappedTag<float, 16>;
using DI = hn::RebindToSigned<DF>;
using F = Lanes<DF>;
using M = LaneMask<DF>;
constexpr auto kStep = static_cast<std::int32_t>(hn::MaxLanes(DF()));

HWY_INLINE F Load(const float* p) { return F(hn::LoadU(DF(), p)); }
HWY_INLINE void Store(F v, float* p) { hn::StoreU(v.v, DF(), p); }
HWY_INLINE void LoadPairs(const float* p, F& even, F& odd) { hn::LoadInterleaved2(DF(), p, even.v, odd.v); }
HWY_INLINE void StorePairs(F even, F odd, float* p) { hn::StoreInterleaved2(even.v, odd.v, DF(), p); }
HWY_INLINE F Ramp(std::int32_t x) { return F(hn::Iota(DF(), static_cast<float>(x))); }

HWY_INLINE F Fetch(const FloatPlane& plane, F at_x, F at_y) {
  const DI di;
  const auto last_column = hn::Set(di, plane.width - 1), last_row = hn::Set(di, plane.height - 1);
  const F x = Max(Min(at_x, F(hn::ConvertTo(DF(), last_column))), F(0.0));
  const F y = Max(Min(at_y, F(hn::ConvertTo(DF(), last_row))), F(0.0));
  const auto column = TruncateToInt32(x.v), row = TruncateToInt32(y.v);
  const F a = x - F(hn::ConvertTo(DF(), column)), b = y - F(hn::ConvertTo(DF(), row));
  const auto one = hn::Set(di, 1), stride = hn::Set(di, static_cast<std::int32_t>(plane.stride));
  const auto right = hn::Min(hn::Add(column, one), last_column), below = hn::Min(hn::Add(row, one), last_row);
  const auto upper = hn::Mul(row, stride), lower = hn::Mul(below, stride);
  const auto at = [&](auto line, auto place) { return F(hn::GatherIndex(DF(), plane.at, hn::Add(line, place))); };
  const F upper_left = at(upper, column), lower_left = at(lower, column);
  const F top = upper_left + (at(upper, right) - upper_left) * a;
  const F bottom = lower_left + (at(lower, right) - lower_left) * a;
  return top + (bottom - top) * b;
}

// Every other x from `parity` on; the mask says which.
template <class Visit>
HWY_INLINE void ForParity(std::int32_t parity, std::int32_t width, const Visit& visit) {
  const DI di;
  const auto lane = hn::Iota(di, 0);
  const auto other = hn::Eq(hn::And(lane, hn::Set(di, 1)), hn::Set(di, parity));
  const M whole = {hn::RebindMask(DF(), other)};
  std::int32_t x = 0;
  for (; x + kStep <= width; x += kStep) visit(x, whole);
  if (x == width) return;
  visit(x, M{hn::RebindMask(DF(), hn::And(other, hn::Lt(lane, hn::Set(di, width - x))))});
}

// Four floats, and eight as one vector or two.
using D4 = hn::CappedTag<float, 4>;
struct Four {
  hn::Vec<D4> v;

  HWY_INLINE explicit Four(hn::Vec<D4> vector) : v(vector) {}
  HWY_INLINE explicit Four(float all) : v(hn::Set(D4(), all)) {}
  HWY_INLINE Four(float a, float b, float c, float d) {
    HWY_ALIGN const float lanes[4] = {a, b, c, d};
    v = hn::Load(D4(), lanes);
  }
};
HWY_INLINE Four operator+(Four a, Four b) { return Four(hn::Add(a.v, b.v)); }
HWY_INLINE Four operator-(Four a, Four b) { return Four(hn::Sub(a.v, b.v)); }
HWY_INLINE Four operator*(Four a, Four b) { return Four(hn::Mul(a.v, b.v)); }
HWY_INLINE Four LoadFour(const float* p) { return Four(hn::LoadU(D4(), p)); }
HWY_INLINE void StoreFour(Four a, float* p) { hn::StoreU(a.v, D4(), p); }
HWY_INLINE Four SmallerOf(Four a, Four b) { return Four(Min(Lanes<D4>(a.v), Lanes<D4>(b.v)).v); }
HWY_INLINE Four LargerOf(Four a, Four b) { return Four(Max(Lanes<D4>(a.v), Lanes<D4>(b.v)).v); }
HWY_INLINE Four Magnitude(Four a) { return Four(hn::Abs(a.v)); }
template <int kLane>
HWY_INLINE Four Repeat(Four a) {
  return Four(hn::Broadcast<kLane>(a.v));
}
HWY_INLINE float Total(Four a) {
  const auto halves = hn::Add(a.v, hn::Shuffle1032(a.v));
  return hn::GetLane(hn::Add(halves, hn::Shuffle2301(halves)));
}

using D8 = hn::CappedTag<float, 8>;
using V8 = hn::Vec<D8>;
constexpr bool kWhole = hn::MaxLanes(D8()) == 8;
struct Eight {
  V8 low, high;  // of one vector, `high` is not looked at

  HWY_INLINE Eight(V8 l, V8 h) : low(l), high(h) {}
  HWY_INLINE explicit Eight(float all) : low(hn::Set(D8(), all)), high(low) {}
  template <class Op>
  static HWY_INLINE Eight Each(Eight a, Eight b, const Op& op) {
    const V8 l = op(a.low, b.low);
    return kWhole ? Eight(l, l) : Eight(l, op(a.high, b.high));
  }
};
HWY_INLINE Eight operator+(Eight a, Eight b) {
  return Eight::Each(a, b, [](V8 x, V8 y) { return hn::Add(x, y); });
}
HWY_INLINE Eight operator-(Eight a, Eight b) {
  return Eight::Each(a, b, [](V8 x, V8 y) { return hn::Sub(x, y); });
}
HWY_INLINE Eight operator*(Eight a, Eight b) {
  return Eight::Each(a, b, [](V8 x, V8 y) { return hn::Mul(x, y); });
}
HWY_INLINE Eight operator/(Eight a, Eight b) {
  return Eight::Each(a, b, [](V8 x, V8 y) { return hn::Div(x, y); });
}
HWY_INLINE Eight LargerOf(Eight a, Eight b) {
  return Eight::Each(a, b, [](V8 x, V8 y) { return Max(Lanes<D8>(x), Lanes<D8>(y)).v; });
}
HWY_INLINE Eight Magnitude(Eight a) {
  return Eight::Each(a, a, [](V8 x, V8) { return hn::Abs(x); });
}
HWY_INLINE Eight LoadEight(const float* p) {
  const V8 low = hn::LoadU(D8(), p);
  return kWhole ? Eight(low, low) : Eight(low, hn::LoadU(D8(), p + 4));
}
HWY_INLINE void StoreEight(Eight a, float* p) {
  hn::StoreU(a.low, D8(), p);
  if constexpr (!kWhole) hn::StoreU(a.high, D8(), p + 4);
}
template <class D>
HWY_INLINE float TotalOf(D, hn::Vec<D> low, hn::Vec<D> high) {
  if constexpr (kWhole) {
    const hn::Half<D> half;
    return Total(Four(hn::Add(hn::LowerHalf(half, low), hn::UpperHalf(half, low))));
  } else {
    return Total(Four(hn::Add(low, high)));
  }
}
HWY_INLINE float Total(Eight a) { return TotalOf(D8(), a.low, a.high); }

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
