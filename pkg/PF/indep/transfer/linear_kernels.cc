#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transfer/linear_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

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

// Pixels that are looked up at a time: three channels of indices, replaced by entries.
constexpr std::size_t kRun = 128;
struct LookUps {
  HWY_ALIGN std::uint32_t r[kRun], g[kRun], b[kRun];
};

// Index i becomes entry i of a table of 16-bit values in the low half, the entry behind it in the high half. By single
// loads: instructions that gather take twice the time where they exist. n is a multiple of 4.
void LookUp(const std::uint16_t* table, std::uint32_t* places, std::size_t n) {
  for (std::size_t i = 0; i < n; i += 4) {
    std::uint32_t entries[4];
    for (std::size_t k = 0; k < 4; ++k) std::memcpy(entries + k, table + places[i + k], sizeof *entries);
    std::memcpy(places + i, entries, sizeof entries);
  }
}
void LookUp(const std::uint16_t* table, LookUps& places, std::size_t n) {
  LookUp(table, places.r, n);
  LookUp(table, places.g, n);
  LookUp(table, places.b, n);
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

// A value's place in a table, and the value between the entries there. The entry behind the last one counts nothing:
// it lies in the record, and its fraction is 0.
struct ToLinear8 {
  HWY_INLINE static V32 Index(V32 v) { return v; }
  HWY_INLINE static V32 Value(V32, V32 entries) { return hn::And(entries, hn::Set(D32(), 0xFFFF)); }
};
struct ToLinear16 {
  HWY_INLINE static V32 Place(V32 v) { return hn::Mul(hn::Min(v, hn::Set(D32(), 32768)), hn::Set(D32(), 255)); }
  HWY_INLINE static V32 Index(V32 v) { return hn::ShiftRight<15>(Place(v)); }
  HWY_INLINE static V32 Value(V32 v, V32 entries) {
    return Between<15>(entries, hn::And(Place(v), hn::Set(D32(), 32767)));
  }
};
struct FromLinear16 {
  HWY_INLINE static V32 Limited(V32 v) { return hn::Min(v, hn::Set(D32(), 32768)); }
  HWY_INLINE static V32 Index(V32 v) { return hn::ShiftRight<3>(Limited(v)); }
  HWY_INLINE static V32 Value(V32 v, V32 entries) {
    const V32 stored = Between<3>(entries, hn::And(Limited(v), hn::Set(D32(), 7)));
    return hn::IfThenZeroElse(hn::Eq(v, hn::Zero(D32())), stored);
  }
};

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
  using ToLinear = ToLinear16;
  Pixels<PF_Pixel16> deep = {};

  HWY_INLINE Channels<V32> Load(const PF_Pixel16* p) const { return deep.Unpack(deep.Load(p)); }
  HWY_INLINE void Store(const Channels<V32>& c, PF_Pixel16* p) const { deep.Store(deep.Pack(c), p); }
  HWY_INLINE static V32 LinearAlpha(V32 v) { return v; }
  HWY_INLINE static V32 Stored(V32 v) { return v; }
};

template <>
struct Light<PF_Pixel8> {
  using ToLinear = ToLinear8;
  Pixels<PF_Pixel16> deep = {};
  Pixels<PF_Pixel8> shallow = {};
  Pixels<PF_Pixel16>::Indices in_order;

  // Written out: gcc forgets the target of constructors that it makes itself.
  HWY_INLINE Light() : in_order(InOrder()) {}
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
  HWY_INLINE static V32 LinearAlpha(V32 v) { return Widen32(v); }
  HWY_INLINE static V32 Stored(V32 v) { return Narrow32(v); }
};

HWY_INLINE M32 SameBits(V32 a, V32 b) { return hn::Eq(a, b); }
HWY_INLINE M32 SameBits(VF a, VF b) { return hn::Eq(hn::BitCast(D32(), a), hn::BitCast(D32(), b)); }
HWY_INLINE M32 IsZero(V32 v) { return hn::Eq(v, hn::Zero(D32())); }
HWY_INLINE M32 IsZero(VF v) { return hn::RebindMask(D32(), hn::Eq(v, hn::Zero(DF()))); }
HWY_INLINE V32 Select(M32 m, V32 yes, V32 no) { return hn::IfThenElse(m, yes, no); }
HWY_INLINE VF Select(M32 m, VF yes, VF no) { return hn::IfThenElse(hn::RebindMask(DF(), m), yes, no); }

// Every channel where the mode left it, and the source where it was copied whole.
template <class P, class V>
HWY_INLINE Channels<V> Kept(const LinearJob<P>& job, const Channels<V>& to, const Channels<V>& stored,
                            const Channels<V>& from, const Channels<V>& d, const Channels<V>& s,
                            const Channels<V>& linear_s) {
  Channels<V> out = {Select(SameBits(to.a, from.a), d.a, stored.a), Select(SameBits(to.r, from.r), d.r, stored.r),
                     Select(SameBits(to.g, from.g), d.g, stored.g), Select(SameBits(to.b, from.b), d.b, stored.b)};
  if (!job.copies) return out;
  const M32 alike = hn::And(hn::And(SameBits(to.a, linear_s.a), SameBits(to.r, linear_s.r)),
                            hn::And(SameBits(to.g, linear_s.g), SameBits(to.b, linear_s.b)));
  const M32 copied = hn::And(alike, hn::Not(IsZero(s.a)));
  out = {Select(copied, s.a, out.a), Select(copied, s.r, out.r), Select(copied, s.g, out.g),
         Select(copied, s.b, out.b)};
  return out;
}

#if HWY_TARGET <= HWY_AVX3
// The whole table of 8-bit codes in registers.
class TableInRegisters {
 public:
  HWY_INLINE explicit TableInRegisters(const std::uint16_t* table) {
    for (int i = 0; i < 8; ++i) part_[i] = _mm512_loadu_si512(table + 32 * i);
  }
  // Lanes of 32 bits that hold two codes, one in each half.
  HWY_INLINE V32 operator()(V32 codes) const {
    const __m512i v = codes.raw;
    const __m512i a = _mm512_permutex2var_epi16(part_[0], v, part_[1]);
    const __m512i b = _mm512_permutex2var_epi16(part_[2], v, part_[3]);
    const __m512i c = _mm512_permutex2var_epi16(part_[4], v, part_[5]);
    const __m512i d = _mm512_permutex2var_epi16(part_[6], v, part_[7]);
    const __mmask32 bit6 = _mm512_test_epi16_mask(v, _mm512_set1_epi16(64));
    const __mmask32 bit7 = _mm512_test_epi16_mask(v, _mm512_set1_epi16(128));
    return V32{_mm512_mask_blend_epi16(bit7, _mm512_mask_blend_epi16(bit6, a, b), _mm512_mask_blend_epi16(bit6, c, d))};
  }

 private:
  __m512i part_[8];
};

HWY_FLATTEN void ToLinearInRegisters(const PF_Pixel8* in, PF_Pixel16* out, std::size_t n,
                                     const PF_LinearBlendingTables& tables) {
  const Light<PF_Pixel8> light;
  const TableInRegisters table(tables.toLinear8);
  const V32 half = hn::Set(D32(), 0xFFFF);
  for (std::size_t i = 0; i < n; i += hn::Lanes(D32())) {
    const Channels<V32> c = light.Load(in + i);
    const V32 alpha_red = table(hn::ShiftLeft<16>(c.r));
    const V32 green_blue = table(hn::Or(c.g, hn::ShiftLeft<16>(c.b)));
    light.deep.Store({hn::Or(hn::AndNot(half, alpha_red), light.LinearAlpha(c.a)), green_blue}, out + i);
  }
}
#endif

// n is a multiple of the lanes, at most kRun.
template <class P>
HWY_FLATTEN void ToLinearRun(const P* in, PF_Pixel16* out, std::size_t n, const PF_LinearBlendingTables& tables) {
#if HWY_TARGET <= HWY_AVX3
  if constexpr (std::is_same_v<P, PF_Pixel8>) return ToLinearInRegisters(in, out, n, tables);
#endif
  using To = typename Light<P>::ToLinear;
  const Light<P> light;
  const Light<PF_Pixel16> linear;
  LookUps entries;
  for (std::size_t i = 0; i < n; i += hn::Lanes(D32())) {
    const Channels<V32> c = light.Load(in + i);
    hn::Store(To::Index(c.r), D32(), entries.r + i);
    hn::Store(To::Index(c.g), D32(), entries.g + i);
    hn::Store(To::Index(c.b), D32(), entries.b + i);
  }
  LookUp(tables.toLinear8, entries, n);
  for (std::size_t i = 0; i < n; i += hn::Lanes(D32())) {
    const Channels<V32> c = light.Load(in + i);
    linear.Store({light.LinearAlpha(c.a), To::Value(c.r, hn::Load(D32(), entries.r + i)),
                  To::Value(c.g, hn::Load(D32(), entries.g + i)), To::Value(c.b, hn::Load(D32(), entries.b + i))},
                 out + i);
  }
}

template <class P>
HWY_FLATTEN void FromLinearRun(const LinearJob<P>& job, const PF_LinearBlendingTables& tables) {
  using From = FromLinear16;
  const Light<P> light;
  const Light<PF_Pixel16> linear;
  LookUps entries;
  for (std::size_t i = 0; i < job.n; i += hn::Lanes(D32())) {
    const Channels<V32> to = linear.Load(job.result + i);
    hn::Store(From::Index(to.r), D32(), entries.r + i);
    hn::Store(From::Index(to.g), D32(), entries.g + i);
    hn::Store(From::Index(to.b), D32(), entries.b + i);
  }
  LookUp(tables.fromLinear16, entries, job.n);
  for (std::size_t i = 0; i < job.n; i += hn::Lanes(D32())) {
    const Channels<V32> to = linear.Load(job.result + i);
    const Channels<V32> stored = {light.Stored(to.a), light.Stored(From::Value(to.r, hn::Load(D32(), entries.r + i))),
                                  light.Stored(From::Value(to.g, hn::Load(D32(), entries.g + i))),
                                  light.Stored(From::Value(to.b, hn::Load(D32(), entries.b + i)))};
    light.Store(Kept(job, to, stored, linear.Load(job.linear_dst + i), light.Load(job.dst + i), light.Load(job.src + i),
                     linear.Load(job.linear_src + i)),
                job.dst + i);
  }
}

// Float: powers.
HWY_INLINE VF Power(VF v, float exponent) {
  if (exponent == 1.0f) return v;
  const hn::Half<DF> half;
  const RD power(static_cast<double>(exponent));
  const RD low = SignedPower(RD(hn::PromoteTo(DD(), hn::LowerHalf(half, v))), power);
  const RD high = SignedPower(RD(hn::PromoteTo(DD(), hn::UpperHalf(half, v))), power);
  return hn::Combine(DF(), hn::DemoteTo(half, high.v), hn::DemoteTo(half, low.v));
}

HWY_FLATTEN void ToLinearRun(const PF_PixelFloat* in, PF_PixelFloat* out, std::size_t n,
                             const PF_LinearBlendingTables& tables) {
  const Pixels<PF_PixelFloat> pixels;
  const float g = tables.gamma;
  for (std::size_t i = 0; i < n; i += hn::Lanes(DF())) {
    const Channels<VF> c = pixels.Load(in + i);
    pixels.Store({c.a, Power(c.r, g), Power(c.g, g), Power(c.b, g)}, out + i);
  }
}

HWY_FLATTEN void FromLinearRun(const LinearJob<PF_PixelFloat>& job, const PF_LinearBlendingTables& tables) {
  const Pixels<PF_PixelFloat> pixels;
  const float g = tables.inverseGamma;
  for (std::size_t i = 0; i < job.n; i += hn::Lanes(DF())) {
    const Channels<VF> to = pixels.Load(job.result + i);
    const Channels<VF> stored = {to.a, Power(to.r, g), Power(to.g, g), Power(to.b, g)};
    pixels.Store(Kept(job, to, stored, pixels.Load(job.linear_dst + i), pixels.Load(job.dst + i),
                      pixels.Load(job.src + i), pixels.Load(job.linear_src + i)),
                 job.dst + i);
  }
}

// Pixels that fill vectors here, the rest one by one.
template <class P>
void ToLinearPixels(const P* in, LinearPixel<P>* out, std::size_t n, const PF_LinearBlendingTables& tables) {
  const std::size_t whole = n - n % hn::Lanes(D32());
  for (std::size_t i = 0; i < whole; i += kRun) ToLinearRun(in + i, out + i, std::min(kRun, whole - i), tables);
  if (whole < n) kPortableLinearLightKernels.Of<P>().to_linear(in + whole, out + whole, n - whole, tables);
}

template <class P>
LinearJob<P> PartOf(const LinearJob<P>& job, std::size_t from, std::size_t n) {
  return {
      job.src + from, job.linear_src + from, job.linear_dst + from, job.result + from, job.dst + from, job.copies, n};
}

template <class P>
void FromLinearPixels(const LinearJob<P>& job, const PF_LinearBlendingTables& tables) {
  const std::size_t whole = job.n - job.n % hn::Lanes(D32());
  for (std::size_t i = 0; i < whole; i += kRun) FromLinearRun(PartOf(job, i, std::min(kRun, whole - i)), tables);
  if (whole < job.n) {
    kPortableLinearLightKernels.Of<P>().from_linear(PartOf(job, whole, job.n - whole), tables);
  }
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
