#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transfer/linear_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>

#include "simd/Lanes-inl.h"
#include "transfer/LinearKernels.h"
#include "transfer/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const LinearLightKernels* LinearLightKernelsOfTarget() { return &kPortableLinearLightKernels; }

#else

#include "transfer/Power-body.h"

using DD = hn::ScalableTag<double>;
using RD = Lanes<DD>;

// Entry `i` of a table of 16-bit values in the low half of each lane, the entry behind it in the high half.
HWY_INLINE V32 TwoEntries(const std::uint16_t* table, V32 i) {
  const VI32 offset = hn::BitCast(DI32(), hn::ShiftLeft<1>(i));
  return hn::GatherOffset(D32(), reinterpret_cast<const std::uint32_t*>(table), offset);
}

// low + (fraction * (high - low) + 2^kBits / 2) >> kBits for two entries.
template <int kBits>
HWY_INLINE V32 Between(V32 entries, V32 fraction) {
  const DI32 d;
  const VI32 low = hn::BitCast(d, hn::And(entries, hn::Set(D32(), 0xFFFF)));
  const VI32 difference = hn::Sub(hn::BitCast(d, hn::ShiftRight<16>(entries)), low);
  const VI32 product = hn::Mul(hn::BitCast(d, fraction), difference);
  const VI32 step = hn::ShiftRight<kBits>(hn::Add(product, hn::Set(d, 1 << (kBits - 1))));
  return hn::BitCast(D32(), hn::Add(low, step));
}

HWY_INLINE V32 ToLinear8(const PF_LinearBlendingTables& tables, V32 v) {
  return hn::And(TwoEntries(tables.toLinear8, v), hn::Set(D32(), 0xFFFF));
}

// The entry behind the last one counts nothing: it lies in the record, and its fraction is 0.
HWY_INLINE V32 ToLinear16(const PF_LinearBlendingTables& tables, V32 v) {
  const V32 place = hn::Mul(hn::Min(v, hn::Set(D32(), 32768)), hn::Set(D32(), 255));
  return Between<15>(TwoEntries(tables.toLinear8, hn::ShiftRight<15>(place)), hn::And(place, hn::Set(D32(), 32767)));
}

HWY_INLINE V32 FromLinear16(const PF_LinearBlendingTables& tables, V32 v) {
  const V32 limited = hn::Min(v, hn::Set(D32(), 32768));
  const V32 entries = TwoEntries(tables.fromLinear16, hn::ShiftRight<3>(limited));
  const V32 stored = Between<3>(entries, hn::And(limited, hn::Set(D32(), 7)));
  return hn::IfThenZeroElse(hn::Eq(v, hn::Zero(D32())), stored);
}

// 8-bit values in lanes of 32 bits.
HWY_INLINE V32 Widen32(V32 v) {
  return hn::ShiftRight<16>(hn::Add(hn::Mul(v, hn::Set(D32(), 8421504)), hn::Set(D32(), 33200)));
}
HWY_INLINE V32 Narrow32(V32 v) {
  return hn::And(hn::ShiftRight<15>(hn::Add(hn::Mul(v, hn::Set(D32(), 255)), hn::Set(D32(), 16384))),
                 hn::Set(D32(), 255));
}

// Integer depths: channels in lanes of 32 bits, in the order of 16-bit pixels.
template <class P>
struct Light;

template <>
struct Light<PF_Pixel16> {
  const PF_LinearBlendingTables& tables;
  Pixels<PF_Pixel16> deep = {};

  HWY_INLINE Channels<V32> Load(const PF_Pixel16* p) const { return deep.Unpack(deep.Load(p)); }
  HWY_INLINE void Store(const Channels<V32>& c, PF_Pixel16* p) const { deep.Store(deep.Pack(c), p); }
  HWY_INLINE V32 Alpha(V32 v) const { return v; }
  HWY_INLINE V32 To(V32 v) const { return ToLinear16(tables, v); }
  HWY_INLINE V32 StoredAlpha(V32 v) const { return v; }
  HWY_INLINE V32 From(V32 v) const { return FromLinear16(tables, v); }
};

template <>
struct Light<PF_Pixel8> {
  const PF_LinearBlendingTables& tables;
  Pixels<PF_Pixel16> deep = {};
  Pixels<PF_Pixel8> shallow = {};
  Pixels<PF_Pixel16>::Indices in_order = InOrder();

  // The inverse of the order of 16-bit pixels.
  static Pixels<PF_Pixel16>::Indices InOrder() {
    HWY_ALIGN std::int32_t lanes[hn::MaxLanes(D32())];
    const auto n = static_cast<std::int32_t>(hn::Lanes(D32()));
    for (std::int32_t i = 0; i < n; ++i) lanes[i] = i < n / 2 ? 2 * i : 2 * (i - n / 2) + 1;
    return hn::SetTableIndices(D32(), lanes);
  }

  HWY_INLINE Channels<V32> Load(const PF_Pixel8* p) const {
    return shallow.Unpack({hn::TableLookupLanes(shallow.Load(p).w, deep.order)});
  }
  HWY_INLINE void Store(const Channels<V32>& c, PF_Pixel8* p) const {
    shallow.Store({hn::TableLookupLanes(shallow.Pack(c).w, in_order)}, p);
  }
  HWY_INLINE V32 Alpha(V32 v) const { return Widen32(v); }
  HWY_INLINE V32 To(V32 v) const { return ToLinear8(tables, v); }
  HWY_INLINE V32 StoredAlpha(V32 v) const { return Narrow32(v); }
  HWY_INLINE V32 From(V32 v) const { return Narrow32(FromLinear16(tables, v)); }
};

// Float: powers of all channels, alpha put back by whoever stores.
template <>
struct Light<PF_PixelFloat> {
  const PF_LinearBlendingTables& tables;
  Pixels<PF_PixelFloat> pixels = {};

  HWY_INLINE static VF Power(VF v, float exponent) {
    if (exponent == 1.0f) return v;
    const hn::Half<DF> half;
    const RD power(static_cast<double>(exponent));
    const RD low = SignedPower(RD(hn::PromoteTo(DD(), hn::LowerHalf(half, v))), power);
    const RD high = SignedPower(RD(hn::PromoteTo(DD(), hn::UpperHalf(half, v))), power);
    return hn::Combine(DF(), hn::DemoteTo(half, high.v), hn::DemoteTo(half, low.v));
  }

  HWY_INLINE Channels<VF> Load(const PF_PixelFloat* p) const { return pixels.Load(p); }
  HWY_INLINE void Store(const Channels<VF>& c, PF_PixelFloat* p) const { pixels.Store(c, p); }
  HWY_INLINE VF Alpha(VF v) const { return v; }
  HWY_INLINE VF To(VF v) const { return Power(v, tables.gamma); }
  HWY_INLINE VF StoredAlpha(VF v) const { return v; }
  HWY_INLINE VF From(VF v) const { return Power(v, tables.inverseGamma); }
};

HWY_INLINE M32 SameBits(V32 a, V32 b) { return hn::Eq(a, b); }
HWY_INLINE M32 SameBits(VF a, VF b) { return hn::Eq(hn::BitCast(D32(), a), hn::BitCast(D32(), b)); }
HWY_INLINE M32 IsZero(V32 v) { return hn::Eq(v, hn::Zero(D32())); }
HWY_INLINE M32 IsZero(VF v) { return hn::RebindMask(D32(), hn::Eq(v, hn::Zero(DF()))); }
HWY_INLINE V32 Select(M32 m, V32 yes, V32 no) { return hn::IfThenElse(m, yes, no); }
HWY_INLINE VF Select(M32 m, VF yes, VF no) { return hn::IfThenElse(hn::RebindMask(DF(), m), yes, no); }

template <class V>
HWY_INLINE Channels<V> Select(M32 m, const Channels<V>& yes, const Channels<V>& no) {
  return {Select(m, yes.a, no.a), Select(m, yes.r, no.r), Select(m, yes.g, no.g), Select(m, yes.b, no.b)};
}

template <class P>
HWY_FLATTEN void ToLinearStep(const Light<P>& light, const P* in, LinearPixel<P>* out) {
  const auto c = light.Load(in);
  const Light<LinearPixel<P> > linear{light.tables};
  linear.Store({light.Alpha(c.a), light.To(c.r), light.To(c.g), light.To(c.b)}, out);
}

template <class P>
HWY_FLATTEN void FromLinearStep(const Light<P>& light, const LinearJob<P>& job) {
  const Light<LinearPixel<P> > linear{light.tables};
  const auto to = linear.Load(job.result), from = linear.Load(job.linear_dst);
  const auto d = light.Load(job.dst);
  const auto same = SameBits(to.a, from.a);
  auto out = d;
  out.a = Select(same, d.a, light.StoredAlpha(to.a));
  out.r = Select(SameBits(to.r, from.r), d.r, light.From(to.r));
  out.g = Select(SameBits(to.g, from.g), d.g, light.From(to.g));
  out.b = Select(SameBits(to.b, from.b), d.b, light.From(to.b));
  if (job.copies) {
    const auto s = light.Load(job.src);
    const auto of_s = linear.Load(job.linear_src);
    const M32 colour = hn::And(hn::And(SameBits(to.r, of_s.r), SameBits(to.g, of_s.g)), SameBits(to.b, of_s.b));
    const M32 copied = hn::And(hn::And(colour, SameBits(to.a, of_s.a)), hn::Not(IsZero(s.a)));
    out = Select(copied, s, out);
  }
  light.Store(out, job.dst);
}

template <class P>
void ToLinearPixels(const P* in, LinearPixel<P>* out, std::size_t n, const PF_LinearBlendingTables& tables) {
  const Light<P> light{tables};
  const std::size_t step = hn::Lanes(D32());
  std::size_t i = 0;
  for (; i + step <= n; i += step) ToLinearStep(light, in + i, out + i);
  if (i < n) kPortableLinearLightKernels.Of<P>().to_linear(in + i, out + i, n - i, tables);
}

template <class P>
void FromLinearPixels(const LinearJob<P>& job, const PF_LinearBlendingTables& tables) {
  const Light<P> light{tables};
  const std::size_t step = hn::Lanes(D32());
  LinearJob<P> part = job;
  const auto go_on = [&part](std::size_t by) {
    part.src += by;
    part.linear_src += by;
    part.linear_dst += by;
    part.result += by;
    part.dst += by;
    part.n -= by;
  };
  for (; part.n >= step; go_on(step)) FromLinearStep(light, part);
  if (part.n > 0) kPortableLinearLightKernels.Of<P>().from_linear(part, tables);
}

template <class P>
constexpr LinearKernels<P> kKernelsOf = {&ToLinearPixels<P>, &FromLinearPixels<P>};

constexpr LinearLightKernels kKernels = {kKernelsOf<PF_Pixel8>, kKernelsOf<PF_Pixel16>, kKernelsOf<PF_PixelFloat>};

const LinearLightKernels* LinearLightKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(LinearLightKernelsOfTarget);

const LinearLightKernels& VectorLinearLightKernels() { return *HWY_DYNAMIC_DISPATCH(LinearLightKernelsOfTarget)(); }

}  // namespace pf
#endif
