// A vector's worth of pixels of each depth as words in lanes, and their channels. Pixels may stand in any order in
// the lanes, as long as all that is loaded stands in the same.
#if defined(PF_TRANSFER_PIXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_TRANSFER_PIXELS_INL_H
#undef PF_TRANSFER_PIXELS_INL_H
#else
#define PF_TRANSFER_PIXELS_INL_H
#endif

#include <hwy/highway.h>

#include "pixel/Depth.h"
#include "simd/MaskMath-inl.h"
#include "simd/Saturate-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using D32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using D64 = hn::ScalableTag<std::uint64_t>;
using DF = hn::ScalableTag<float>;
using V32 = hn::Vec<D32>;
using VI32 = hn::Vec<DI32>;
using V64 = hn::Vec<D64>;
using VF = hn::Vec<DF>;
using M32 = hn::Mask<D32>;

template <class V>
struct Channels {
  V a, r, g, b;
};

// Pixels<P>::Words holds Lanes(D32()) pixels; Value is a vector of one channel.
template <class P>
struct Pixels;

template <>
struct Pixels<PF_Pixel8> {
  using Value = V32;
  struct Words {
    V32 w;
  };

  HWY_INLINE Words Load(const PF_Pixel8* p) const {
    return {hn::LoadU(D32(), reinterpret_cast<const std::uint32_t*>(p))};
  }
  HWY_INLINE void Store(Words v, PF_Pixel8* p) const { hn::StoreU(v.w, D32(), reinterpret_cast<std::uint32_t*>(p)); }
  HWY_INLINE Value LoadValues(const std::uint8_t* p) const {
    return hn::PromoteTo(D32(), hn::LoadU(hn::Rebind<std::uint8_t, D32>(), p));
  }

  HWY_INLINE static Channels<V32> Unpack(Words v) {
    const V32 byte = hn::Set(D32(), 255);
    return {hn::And(v.w, byte), hn::And(hn::ShiftRight<8>(v.w), byte), hn::And(hn::ShiftRight<16>(v.w), byte),
            hn::ShiftRight<24>(v.w)};
  }
  HWY_INLINE static Words Pack(const Channels<V32>& c) {
    return {hn::Or(hn::Or(c.a, hn::ShiftLeft<8>(c.r)), hn::Or(hn::ShiftLeft<16>(c.g), hn::ShiftLeft<24>(c.b)))};
  }
  // Signed values, limited to 0..255 on the way.
  HWY_INLINE static Words PackLimited(const Channels<VI32>& c) { return {PackToBytes(c.a, c.r, c.g, c.b)}; }
  HWY_INLINE static V32 Limited(VI32 v) {
    return hn::BitCast(D32(), hn::Min(hn::Max(v, hn::Zero(DI32())), hn::Set(DI32(), 255)));
  }
  HWY_INLINE static Words WithAlpha(Words v, V32 a) { return {hn::Or(hn::AndNot(hn::Set(D32(), 255), v.w), a)}; }
  HWY_INLINE static Words Select(M32 m, Words yes, Words no) { return {hn::IfThenElse(m, yes.w, no.w)}; }

  HWY_INLINE static V32 Scaled(V32 v, V32 opacity) {
    const hn::Repartition<std::uint16_t, D32> d16;
    const auto product = hn::Mul(hn::BitCast(d16, v), hn::BitCast(d16, opacity));
    return hn::BitCast(D32(), DivideBy255(d16, product));
  }
};

// Two vectors of whole pixels become alpha with red and green with blue; the pixels of both take turns.
template <>
struct Pixels<PF_Pixel16> {
  using Value = V32;
  struct Words {
    V32 ar, gb;
  };

  Pixels() : order(Order()) {}

  HWY_INLINE Words Load(const PF_Pixel16* p) const {
    const auto* from = reinterpret_cast<const std::uint64_t*>(p);
    const V64 x = hn::LoadU(D64(), from), y = hn::LoadU(D64(), from + hn::Lanes(D64()));
    const V64 low = hn::Set(D64(), 0xFFFFFFFFu);
    return {hn::BitCast(D32(), hn::Or(hn::And(x, low), hn::ShiftLeft<32>(y))),
            hn::BitCast(D32(), hn::Or(hn::ShiftRight<32>(x), hn::AndNot(low, y)))};
  }
  HWY_INLINE void Store(Words v, PF_Pixel16* p) const {
    auto* to = reinterpret_cast<std::uint64_t*>(p);
    const V64 ar = hn::BitCast(D64(), v.ar), gb = hn::BitCast(D64(), v.gb), low = hn::Set(D64(), 0xFFFFFFFFu);
    hn::StoreU(hn::Or(hn::And(ar, low), hn::ShiftLeft<32>(gb)), D64(), to);
    hn::StoreU(hn::Or(hn::ShiftRight<32>(ar), hn::AndNot(low, gb)), D64(), to + hn::Lanes(D64()));
  }
  HWY_INLINE Value LoadValues(const std::uint16_t* p) const {
    const V32 in_order = hn::PromoteTo(D32(), hn::LoadU(hn::Rebind<std::uint16_t, D32>(), p));
    return hn::TableLookupLanes(in_order, order);
  }

  HWY_INLINE static Channels<V32> Unpack(Words v) {
    const V32 low = hn::Set(D32(), 0xFFFF);
    return {hn::And(v.ar, low), hn::ShiftRight<16>(v.ar), hn::And(v.gb, low), hn::ShiftRight<16>(v.gb)};
  }
  HWY_INLINE static Words Pack(const Channels<V32>& c) {
    return {hn::Or(c.a, hn::ShiftLeft<16>(c.r)), hn::Or(c.g, hn::ShiftLeft<16>(c.b))};
  }
  // Signed values that are not above full, limited to 0 on the way.
  HWY_INLINE static Words PackLimited(const Channels<VI32>& c) {
    return Pack({Limited(c.a), Limited(c.r), Limited(c.g), Limited(c.b)});
  }
  HWY_INLINE static V32 Limited(VI32 v) { return hn::BitCast(D32(), hn::Max(v, hn::Zero(DI32()))); }
  HWY_INLINE static Words WithAlpha(Words v, V32 a) {
    return {hn::Or(hn::AndNot(hn::Set(D32(), 0xFFFF), v.ar), a), v.gb};
  }
  HWY_INLINE static Words Select(M32 m, Words yes, Words no) {
    return {hn::IfThenElse(m, yes.ar, no.ar), hn::IfThenElse(m, yes.gb, no.gb)};
  }

  HWY_INLINE static V32 Scaled(V32 v, V32 opacity) {
    return hn::ShiftRight<15>(hn::Add(hn::Mul(v, opacity), hn::Set(D32(), 16383)));
  }

  using Indices = decltype(hn::SetTableIndices(D32(), static_cast<const std::int32_t*>(nullptr)));
  static Indices Order() {
    HWY_ALIGN std::int32_t lanes[hn::MaxLanes(D32())];
    const auto n = static_cast<std::int32_t>(hn::Lanes(D32()));
    for (std::int32_t i = 0; i < n; ++i) lanes[i] = i / 2 + i % 2 * (n / 2);
    return hn::SetTableIndices(D32(), lanes);
  }
  Indices order;
};

// Four vectors of whole pixels become four vectors of one channel each, within blocks of 128 bits.
template <>
struct Pixels<PF_PixelFloat> {
  using Value = VF;
  using Words = Channels<VF>;

  Pixels() : order(Order()) {}

  HWY_INLINE static VF Low64(VF x, VF y) {
    return hn::BitCast(DF(), hn::InterleaveLower(D64(), hn::BitCast(D64(), x), hn::BitCast(D64(), y)));
  }
  HWY_INLINE static VF High64(VF x, VF y) {
    return hn::BitCast(DF(), hn::InterleaveUpper(D64(), hn::BitCast(D64(), x), hn::BitCast(D64(), y)));
  }
  // Rows become columns in every block; its own inverse.
  HWY_INLINE static Words Transposed(const Words& v) {
    const DF d;
    const VF low = hn::InterleaveLower(d, v.a, v.r), high = hn::InterleaveUpper(d, v.a, v.r);
    const VF low2 = hn::InterleaveLower(d, v.g, v.b), high2 = hn::InterleaveUpper(d, v.g, v.b);
    return {Low64(low, low2), High64(low, low2), Low64(high, high2), High64(high, high2)};
  }

  HWY_INLINE Words Load(const PF_PixelFloat* p) const {
    const auto* from = reinterpret_cast<const float*>(p);
    const std::size_t n = hn::Lanes(DF());
    return Transposed({hn::LoadU(DF(), from), hn::LoadU(DF(), from + n), hn::LoadU(DF(), from + 2 * n),
                       hn::LoadU(DF(), from + 3 * n)});
  }
  HWY_INLINE void Store(const Words& v, PF_PixelFloat* p) const {
    auto* to = reinterpret_cast<float*>(p);
    const std::size_t n = hn::Lanes(DF());
    const Words rows = Transposed(v);
    hn::StoreU(rows.a, DF(), to);
    hn::StoreU(rows.r, DF(), to + n);
    hn::StoreU(rows.g, DF(), to + 2 * n);
    hn::StoreU(rows.b, DF(), to + 3 * n);
  }
  HWY_INLINE Value LoadValues(const float* p) const { return hn::TableLookupLanes(hn::LoadU(DF(), p), order); }

  HWY_INLINE static Channels<VF> Unpack(const Words& v) { return v; }
  HWY_INLINE static Words Pack(const Channels<VF>& c) { return c; }
  HWY_INLINE static Words PackLimited(const Channels<VF>& c) { return c; }
  HWY_INLINE static VF Limited(VF v) { return v; }
  HWY_INLINE static Words WithAlpha(const Words& v, VF a) { return {a, v.r, v.g, v.b}; }
  HWY_INLINE static Words Select(M32 mask, const Words& yes, const Words& no) {
    const auto m = hn::RebindMask(DF(), mask);
    return {hn::IfThenElse(m, yes.a, no.a), hn::IfThenElse(m, yes.r, no.r), hn::IfThenElse(m, yes.g, no.g),
            hn::IfThenElse(m, yes.b, no.b)};
  }

  HWY_INLINE static VF Scaled(VF v, VF opacity) {
    const VF product = hn::Mul(v, opacity);
    const VF one_form = hn::BitCast(DF(), hn::Set(D32(), 0x7FC00000u));
    const VF scaled = hn::IfThenElse(hn::Eq(product, product), product, one_form);
    return hn::IfThenElse(hn::Eq(opacity, hn::Set(DF(), 1.0f)), v, scaled);
  }

  using Indices = decltype(hn::SetTableIndices(DF(), static_cast<const std::int32_t*>(nullptr)));
  static Indices Order() {
    HWY_ALIGN std::int32_t lanes[hn::MaxLanes(DF())];
    const auto n = static_cast<std::int32_t>(hn::Lanes(DF()));
    for (std::int32_t i = 0; i < n; ++i) lanes[i] = i / 4 + i % 4 * (n / 4);
    return hn::SetTableIndices(DF(), lanes);
  }
  Indices order;
};

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
