#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sample/bilinear_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "sample/Bilinear.h"
#include "sample/RowCache.h"
#include "sample/SampleKernels.h"
#include "simd/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET != HWY_SCALAR

// The lanes that a depth computes in, and floats of the same number.
template <class P>
using RealTag = hn::ScalableTag<RealOf<P>>;
template <class P>
using FloatTag = hn::Rebind<float, RealTag<P>>;
template <class P>
using RealVec = hn::Vec<RealTag<P>>;

template <class P>
HWY_INLINE RealVec<P> ToReal(hn::Vec<FloatTag<P>> v) {
  if constexpr (std::is_same_v<RealOf<P>, double>) {
    return hn::PromoteTo(RealTag<P>(), v);
  } else {
    return v;
  }
}

// Two unpacked source rows.
struct RowPair {
  const float* upper;
  const float* lower;
  std::int64_t stride;
};

template <class V>
struct Taps {
  Channels<V> p00, p10, p01, p11;
};

// The taps of Lanes pixels whose first column is element m of the planes; `offsets` are the columns
// relative to it. With steps of at most one pixel they stay below the number of lanes.
template <class P, class Indices>
HWY_INLINE Channels<RealVec<P>> LoadTap(const float* plane, std::int64_t stride, const Indices& offsets) {
  const FloatTag<P> d;
  const auto tap = [&](int c) { return ToReal<P>(hn::TableLookupLanes(hn::LoadU(d, plane + c * stride), offsets)); };
  return {tap(0), tap(1), tap(2), tap(3)};
}

template <class P, class Indices>
HWY_INLINE Taps<RealVec<P>> LoadTaps(const RowPair& rows, std::int64_t m, const Indices& offsets) {
  return {LoadTap<P>(rows.upper + m, rows.stride, offsets), LoadTap<P>(rows.upper + m + 1, rows.stride, offsets),
          LoadTap<P>(rows.lower + m, rows.stride, offsets), LoadTap<P>(rows.lower + m + 1, rows.stride, offsets)};
}

template <class V>
HWY_INLINE V WeightedSum(const Weights<V>& w, V c00, V c10, V c01, V c11) {
  return hn::Add(hn::Add(hn::Add(hn::Mul(w.w00, c00), hn::Mul(w.w10, c10)), hn::Mul(w.w01, c01)), hn::Mul(w.w11, c11));
}

template <class V>
HWY_INLINE Weights<V> WeightsOf(V one, V u, V v) {
  const V w11 = hn::Mul(u, v);
  const V w10 = hn::Sub(u, w11);
  const V w01 = hn::Sub(v, w11);
  return {hn::Sub(hn::Sub(hn::Sub(one, w10), w01), w11), w10, w01, w11};
}

// Integers get their half here; storing truncates.
template <class P, class V>
HWY_INLINE V BeforeStore(V v) {
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    return v;
  } else {
    return hn::Add(v, hn::Set(RealTag<P>(), RealOf<P>(0.5)));
  }
}

// No limits are needed at integer depths: weights of 0 and more that add up to 1 within an ulp leave the
// range by far less than the half that rounding has in hand.
template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> BlendDiffering(const Taps<V>& t, const Weights<V>& w) {
  const RealTag<P> d;
  const Weights<V> q = {hn::Mul(t.p00.alpha, w.w00), hn::Mul(t.p10.alpha, w.w10), hn::Mul(t.p01.alpha, w.w01),
                        hn::Mul(t.p11.alpha, w.w11)};
  const V sum = hn::Add(hn::Add(hn::Add(q.w00, q.w10), q.w01), q.w11);
  const V red = WeightedSum(q, t.p00.red, t.p10.red, t.p01.red, t.p11.red);
  const V green = WeightedSum(q, t.p00.green, t.p10.green, t.p01.green, t.p11.green);
  const V blue = WeightedSum(q, t.p00.blue, t.p10.blue, t.p01.blue, t.p11.blue);
  const V inverse = hn::Div(hn::Set(d, RealOf<P>(1)), sum);
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    const auto visible = hn::Gt(sum, hn::Zero(d));
    return {hn::IfThenElseZero(visible, sum), hn::IfThenElseZero(visible, hn::Mul(red, inverse)),
            hn::IfThenElseZero(visible, hn::Mul(green, inverse)), hn::IfThenElseZero(visible, hn::Mul(blue, inverse))};
  } else {
    const auto visible = hn::Ge(sum, hn::Set(d, RealOf<P>(0.5)));
    const V factor = hn::IfThenElseZero(visible, inverse);
    return {BeforeStore<P>(hn::IfThenElseZero(visible, sum)), BeforeStore<P>(hn::Mul(red, factor)),
            BeforeStore<P>(hn::Mul(green, factor)), BeforeStore<P>(hn::Mul(blue, factor))};
  }
}

// Equal alphas above 0. At integer depths a uniform block and an integral position come out exactly too.
template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> BlendEqual(const Taps<V>& t, const Weights<V>& w) {
  return {t.p00.alpha, BeforeStore<P>(WeightedSum(w, t.p00.red, t.p10.red, t.p01.red, t.p11.red)),
          BeforeStore<P>(WeightedSum(w, t.p00.green, t.p10.green, t.p01.green, t.p11.green)),
          BeforeStore<P>(WeightedSum(w, t.p00.blue, t.p10.blue, t.p01.blue, t.p11.blue))};
}

template <class P, class M, class V = RealVec<P>>
HWY_INLINE Channels<V> Select(M mask, const Channels<V>& yes, const Channels<V>& no) {
  return {hn::IfThenElse(mask, yes.alpha, no.alpha), hn::IfThenElse(mask, yes.red, no.red),
          hn::IfThenElse(mask, yes.green, no.green), hn::IfThenElse(mask, yes.blue, no.blue)};
}

// Equality of bits, as a mask of reals. Integers have one pattern per value.
template <class P, class V = RealVec<P>>
HWY_INLINE auto SameBits(V a, V b) {
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    const hn::RebindToUnsigned<RealTag<P>> du;
    return hn::RebindMask(RealTag<P>(), hn::Eq(hn::BitCast(du, a), hn::BitCast(du, b)));
  } else {
    return hn::Eq(a, b);
  }
}

template <class P, class V>
HWY_INLINE auto AllSameBits(V a, V b, V c, V d) {
  return hn::And(hn::And(SameBits<P>(a, b), SameBits<P>(a, c)), SameBits<P>(a, d));
}

template <class P, class V>
HWY_INLINE auto UniformColours(const Taps<V>& t) {
  const auto red = AllSameBits<P>(t.p00.red, t.p10.red, t.p01.red, t.p11.red);
  const auto green = AllSameBits<P>(t.p00.green, t.p10.green, t.p01.green, t.p11.green);
  return hn::And(hn::And(red, green), AllSameBits<P>(t.p00.blue, t.p10.blue, t.p01.blue, t.p11.blue));
}

template <class V>
HWY_INLINE auto EqualAlphas(const Taps<V>& t) {
  return hn::And(hn::And(hn::Eq(t.p00.alpha, t.p10.alpha), hn::Eq(t.p00.alpha, t.p01.alpha)),
                 hn::Eq(t.p00.alpha, t.p11.alpha));
}

// Any alphas: each lane by its own rule.
template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> BlendMixed(const Taps<V>& t, const Weights<V>& w) {
  const RealTag<P> d;
  const auto equal = EqualAlphas(t);
  auto candidates = equal;
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    candidates = hn::Or(equal, AllSameBits<P>(t.p00.alpha, t.p10.alpha, t.p01.alpha, t.p11.alpha));
  }
  if (hn::AllFalse(d, candidates)) return BlendDiffering<P>(t, w);
  Channels<V> out = BlendEqual<P>(t, w);
  if (!hn::AllTrue(d, equal)) out = Select<P>(equal, out, BlendDiffering<P>(t, w));
  const auto clear = hn::And(equal, hn::Eq(t.p00.alpha, hn::Zero(d)));
  if (!hn::AllFalse(d, clear)) {
    const Channels<V> zero = {hn::Zero(d), hn::Zero(d), hn::Zero(d), hn::Zero(d)};
    out = Select<P>(clear, zero, out);
    if constexpr (!std::is_same_v<P, PF_PixelFloat>) out = Select<P>(hn::And(clear, UniformColours<P>(t)), t.p00, out);
  }
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    const auto same = AllSameBits<P>(t.p00.alpha, t.p10.alpha, t.p01.alpha, t.p11.alpha);
    out = Select<P>(hn::And(same, UniformColours<P>(t)), t.p00, out);
  }
  return out;
}

template <class P, class V = RealVec<P>>
HWY_INLINE Channels<V> WithStoredNaN(const Channels<V>& p) {
  const RealTag<P> d;
  if constexpr (!std::is_same_v<P, PF_PixelFloat>) return p;
  const V nan = hn::Set(d, StoredFloat(std::numeric_limits<RealOf<P>>::quiet_NaN()));
  const auto stored = [&](V v) { return hn::IfThenElse(hn::IsNaN(v), nan, v); };
  return {p.alpha, stored(p.red), stored(p.green), stored(p.blue)};
}

template <class P, AlphaPair pair, class V = RealVec<P>>
HWY_INLINE Channels<V> Blend(const Taps<V>& t, const Weights<V>& w) {
  if constexpr (pair == AlphaPair::kNoBlockEqual) return BlendDiffering<P>(t, w);
  if constexpr (pair == AlphaPair::kAllOpaque && !std::is_same_v<P, PF_PixelFloat>) return BlendEqual<P>(t, w);
  return BlendMixed<P>(t, w);
}

struct Span {
  std::int64_t x, step;  // of sample k = 0, relative to the planes' first column
  std::uint32_t fy;
};

// Samples k..k+Lanes-1.
template <class P, AlphaPair pair>
HWY_INLINE Channels<RealVec<P>> SampleLanes(const RowPair& rows, const Span& span, std::int64_t k) {
  const RealTag<P> d;
  const FloatTag<P> df;
  const hn::RebindToSigned<FloatTag<P>> di;
  const std::int64_t x = span.x + k * span.step;
  const auto local = hn::Add(hn::Set(di, static_cast<std::int32_t>(x & 0xFFFF)),
                             hn::Mul(hn::Iota(di, 0), hn::Set(di, static_cast<std::int32_t>(span.step))));
  const auto taps = LoadTaps<P>(rows, x >> 16, hn::IndicesFromVec(df, hn::ShiftRight<16>(local)));
  const auto u = ToReal<P>(hn::Mul(hn::ConvertTo(df, hn::And(local, hn::Set(di, 0xFFFF))), hn::Set(df, 0x1p-16f)));
  const auto v = hn::Set(d, static_cast<RealOf<P>>(span.fy) / RealOf<P>(65536));
  const auto out = WithStoredNaN<P>(Blend<P, pair>(taps, WeightsOf(hn::Set(d, RealOf<P>(1)), u, v)));
  if (span.fy != 0) return out;
  return Select<P>(hn::Eq(u, hn::Zero(d)), taps.p00, out);
}

// Samples begin..end-1.
template <class P, AlphaPair pair>
HWY_NOINLINE void SampleRange(const RowPair& rows, const Span& span, std::int64_t begin, std::int64_t end, P* out) {
  const RealTag<P> d;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  std::int64_t k = begin;
  for (; k + lanes <= end; k += lanes) StorePixels(d, SampleLanes<P, pair>(rows, span, k), out + k);
  if (k >= end) return;
  P last[HWY_MAX_BYTES / sizeof(RealOf<P>)];
  StorePixels(d, SampleLanes<P, pair>(rows, span, k), last);
  std::memcpy(out + k, last, static_cast<std::size_t>(end - k) * sizeof(P));
}

// Row j unpacked, from the scratch when it is there.
template <class P>
const float* HeldRow(const Plane<P>& src, const ColumnWindow& window, std::int64_t stride, std::int64_t j,
                     std::byte* scratch) {
  auto* head = reinterpret_cast<RowCacheHead*>(scratch);
  const bool inside = j >= 0 && j < src.height;
  const std::int64_t key = inside ? j + 1 : kOutsideRow;
  float* planes = reinterpret_cast<float*>(scratch + 64) + (j & 1) * 4 * stride;
  if (head->held[j & 1] != key) {
    UnpackRow(src, j, window.first, window.count, stride, planes);
    head->held[j & 1] = key;
  }
  return planes;
}

// Over `count` columns from element m.
HWY_INLINE AlphaPair ClassOf(const RowPair& rows, std::int64_t count, std::int64_t inner, std::int64_t inner_end) {
  const hn::ScalableTag<float> d;
  const hn::RebindToUnsigned<decltype(d)> du;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  bool any = false;
  bool all = inner_end - inner >= 2 && rows.upper[inner] > 0.0f;
  for (std::int64_t m = 0; m < count - 1; m += lanes) {
    const auto a00 = hn::LoadU(d, rows.upper + m), a10 = hn::LoadU(d, rows.upper + m + 1);
    const auto a01 = hn::LoadU(d, rows.lower + m), a11 = hn::LoadU(d, rows.lower + m + 1);
    const auto bits = [&](auto v) { return hn::BitCast(du, v); };
    const auto values = hn::And(hn::And(hn::Eq(a00, a10), hn::Eq(a00, a01)), hn::Eq(a00, a11));
    const auto patterns =
        hn::And(hn::And(hn::Eq(bits(a00), bits(a10)), hn::Eq(bits(a00), bits(a01))), hn::Eq(bits(a00), bits(a11)));
    const auto valid = hn::FirstN(d, static_cast<std::size_t>(count - 1 - m));
    any = any || !hn::AllFalse(d, hn::And(valid, hn::Or(values, hn::RebindMask(d, patterns))));
    const std::int64_t from = std::max(m, inner), to = std::min(m + lanes, inner_end - 1);
    if (from < to && all) {
      const auto needed = hn::AndNot(hn::FirstN(d, static_cast<std::size_t>(from - m)),
                                     hn::FirstN(d, static_cast<std::size_t>(to - m)));
      all = hn::AllFalse(d, hn::AndNot(values, needed));
    }
  }
  return all ? AlphaPair::kAllOpaque : any ? AlphaPair::kMixed : AlphaPair::kNoBlockEqual;
}

template <class P>
void StraightRow(const SampleRow& row, std::byte* scratch) {
  if (row.n <= 0) return;
  if (row.step_x > 65536 || row.step_x <= 0) {
    return kPortableSampleKernels.bilinear_straight[DepthIndex(DepthTraits<P>::kDepth)].row(row, scratch);
  }
  const Plane<P> src = SourceOf<P>(*row.params);
  P* out = static_cast<P*>(row.out);
  const std::int64_t j = WholePart(row.y);
  if (j < -1 || j >= src.height || Empty(src)) {
    std::memset(out, 0, static_cast<std::size_t>(row.n) * sizeof(P));
    return;
  }
  const ColumnWindow window = WindowOf(row.x0, row.step_x, row.n);
  const std::int64_t stride = PlaneStride(window.count, static_cast<std::int64_t>(hn::Lanes(hn::ScalableTag<float>())));
  const RowPair rows = {HeldRow(src, window, stride, j, scratch), HeldRow(src, window, stride, j + 1, scratch), stride};
  const Span span = {row.x0 - window.first * 65536, row.step_x, Fraction(row.y)};
  // Columns inside the world, as elements.
  const std::int64_t inner = std::clamp<std::int64_t>(-window.first, 0, window.count);
  const std::int64_t inner_end = std::clamp(src.width - window.first, inner, window.count);
  auto* head = reinterpret_cast<RowCacheHead*>(scratch);
  if (head->classified != j + 2) {
    head->classified = j + 2;
    head->pair_class = static_cast<std::int64_t>(ClassOf(rows, window.count, inner, inner_end));
  }
  switch (static_cast<AlphaPair>(head->pair_class)) {
    case AlphaPair::kMixed:
      return SampleRange<P, AlphaPair::kMixed>(rows, span, 0, row.n, out);
    case AlphaPair::kNoBlockEqual:
      return SampleRange<P, AlphaPair::kNoBlockEqual>(rows, span, 0, row.n, out);
    case AlphaPair::kAllOpaque:
      break;
  }
  // First sample whose whole part is at least `element`.
  const auto sample_at = [&](std::int64_t element) {
    return std::clamp<std::int64_t>((element * 65536 - span.x + span.step - 1) / span.step, 0, row.n);
  };
  const std::int64_t begin = sample_at(inner), end = std::max(begin, sample_at(inner_end - 1));
  SampleRange<P, AlphaPair::kMixed>(rows, span, 0, begin, out);
  SampleRange<P, AlphaPair::kAllOpaque>(rows, span, begin, end, out);
  SampleRange<P, AlphaPair::kMixed>(rows, span, end, row.n, out);
}

// The window of the worst fraction, twice.
std::uint64_t RowCacheSize(const PF_SampPB*, std::int64_t step_x, std::int64_t n) {
  if (n <= 0 || step_x > 65536 || step_x <= 0) return 64;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(hn::ScalableTag<float>()));
  const std::int64_t stride = PlaneStride(WindowOf(65535, step_x, n).count, lanes);
  return 64 + 2 * 4 * static_cast<std::uint64_t>(stride) * sizeof(float);
}

SampleKernels::Pair BilinearStraight(int depth_index) {
  constexpr SampleKernels::Row kRows[] = {StraightRow<PF_Pixel8>, StraightRow<PF_Pixel16>, StraightRow<PF_PixelFloat>};
  return {RowCacheSize, kRows[depth_index]};
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();
