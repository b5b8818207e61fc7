// Rows of pixels laid onto rows of pixels, a vector at a time: the modes of Modes-body.h on lanes.
#if defined(PF_TRANSFER_TRANSFER_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_TRANSFER_TRANSFER_INL_H
#undef PF_TRANSFER_TRANSFER_INL_H
#else
#define PF_TRANSFER_TRANSFER_INL_H
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include <algorithm>
#include <type_traits>

#include "simd/Lanes-inl.h"
#include "simd/MaskMath-inl.h"
#include "transfer/Pixels-inl.h"
#include "transfer/TransferKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

#include "transfer/Families-body.h"
//
#include "transfer/Colours-body.h"
//
#include "transfer/Modes-body.h"

using RF = Lanes<DF>;
using DD = hn::ScalableTag<double>;
using RD = Lanes<DD>;

template <class P>
constexpr bool kIsFloat = std::is_same_v<P, PF_PixelFloat>;
template <class P>
constexpr int kFullOf = static_cast<int>(DepthTraits<P>::kFull);
template <class P, class Which>
constexpr int kScaleOf = Which::kRaw ? kFullOf<P> : 1;

// Integers in lanes as a mode takes them, in single precision. Rounds to nearest, halves to even.
template <class P, class Which>
struct InSingle {
  using A = OfIntegers<RF, kScaleOf<P, Which>>;

  HWY_INLINE static RF Of(V32 v) {
    const VF number = hn::ConvertTo(DF(), hn::BitCast(DI32(), v));
    return Which::kRaw ? RF(number) : RF(hn::Mul(number, hn::Set(DF(), 1.0f / static_cast<float>(kFullOf<P>))));
  }
  HWY_INLINE static Quad<RF> Of(const Channels<V32>& c) { return {Of(c.a), Of(c.r), Of(c.g), Of(c.b)}; }
  HWY_INLINE static VI32 Back(RF v) {
    const RF scaled = Which::kRaw ? v : v * RF(kFullOf<P>);
    // 16-bit values above full can make quotients that leave 32 bits, or are no numbers, which become 0.
    return RoundToInt32(std::is_same_v<P, PF_Pixel16> ? Min(RF(kFullOf<P>), scaled).v : scaled.v);
  }
  HWY_INLINE static Channels<VI32> Apply(const Channels<V32>& s, const Channels<V32>& d) {
    const Quad<RF> out = Which::template Apply<A>(Of(s), Of(d));
    return {Back(out.a), Back(out.r), Back(out.g), Back(out.b)};
  }
};

// The same in double precision, half of the lanes at a time. Halves go down.
template <class P, class Which>
struct InDouble {
  using A = OfIntegers<RD, kScaleOf<P, Which>>;
  using DHalf = hn::Half<DI32>;
  using Half = hn::Vec<DHalf>;
  static_assert(Which::kRaw);

  HWY_INLINE static Quad<RD> Of(const Channels<Half>& c) {
    return {RD(hn::PromoteTo(DD(), c.a)), RD(hn::PromoteTo(DD(), c.r)), RD(hn::PromoteTo(DD(), c.g)),
            RD(hn::PromoteTo(DD(), c.b))};
  }
  HWY_INLINE static Half Back(RD v) {
    const RD limited = Min(Max(v, RD(0)), RD(kFullOf<P>));
    return hn::DemoteTo(DHalf(), (limited + RD(16383.0 / 32768.0)).v);
  }
  HWY_INLINE static Half Low(V32 v) { return hn::LowerHalf(DHalf(), hn::BitCast(DI32(), v)); }
  HWY_INLINE static Half High(V32 v) { return hn::UpperHalf(DHalf(), hn::BitCast(DI32(), v)); }

  HWY_INLINE static Channels<Half> ApplyHalf(const Channels<Half>& s, const Channels<Half>& d) {
    const Quad<RD> out = Which::template Apply<A>(Of(s), Of(d));
    return {Back(out.a), Back(out.r), Back(out.g), Back(out.b)};
  }
  HWY_INLINE static Channels<VI32> Apply(const Channels<V32>& s, const Channels<V32>& d) {
    const Channels<Half> low =
        ApplyHalf({Low(s.a), Low(s.r), Low(s.g), Low(s.b)}, {Low(d.a), Low(d.r), Low(d.g), Low(d.b)});
    const Channels<Half> high =
        ApplyHalf({High(s.a), High(s.r), High(s.g), High(s.b)}, {High(d.a), High(d.r), High(d.g), High(d.b)});
    const DI32 d32;
    return {hn::Combine(d32, high.a, low.a), hn::Combine(d32, high.r, low.r), hn::Combine(d32, high.g, low.g),
            hn::Combine(d32, high.b, low.b)};
  }
};

// Floats as they are; what is not a number gets one form.
template <class P, class Which>
struct InFloat {
  using A = OfFloats<RF>;

  HWY_INLINE static Quad<RF> Of(const Channels<VF>& c) { return {RF(c.a), RF(c.r), RF(c.g), RF(c.b)}; }
  HWY_INLINE static VF Back(RF v) {
    return hn::IfThenElse((v == v).m, v.v, hn::BitCast(DF(), hn::Set(D32(), 0x7FC00000u)));
  }
  HWY_INLINE static Channels<VF> Apply(const Channels<VF>& s, const Channels<VF>& d) {
    const Quad<RF> out = Which::template Apply<A>(Of(s), Of(d));
    return {Back(out.a), Back(out.r), Back(out.g), Back(out.b)};
  }
};

// What a mode's conditions are asked in, and its formula.
template <class P, class Which>
using Conditions = std::conditional_t<kIsFloat<P>, InFloat<P, Which>, InSingle<P, Which>>;
template <class P, class Which>
using Formula =
    std::conditional_t<std::is_same_v<P, PF_Pixel16> && Which::kWide, InDouble<P, Which>, Conditions<P, Which>>;

// s + d (255 - alpha of s) / 255 in lanes of 16 bits: the product to nearest, the sum limited. The formula gives no
// other bits, for quotients of 255 have no halves.
HWY_INLINE V32 OverPremultiplied(V32 s, V32 d) {
  const hn::Repartition<std::uint8_t, D32> d8;
  alignas(16) static constexpr std::uint8_t kAlphas[16] = {0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12};
  const auto rest = hn::Not(hn::TableLookupBytes(hn::BitCast(d8, s), hn::LoadDup128(d8, kAlphas)));
  return hn::BitCast(D32(), hn::SaturatedAdd(hn::BitCast(d8, s), ProductOf(d8, hn::BitCast(d8, d), rest)));
}

template <class Which, class P>
class Transfer {
 public:
  HWY_INLINE explicit Transfer(const TransferJob<P>& job)
      : scales_(job.opacity != DepthTraits<P>::kFull),
        matte_(Which::kMatte && job.matte),
        opacity_(Splat(job.opacity)) {}

  HWY_INLINE void operator()(const P* src, P* dst, const ChannelOf<P>* mask) const {
    auto s = pixels_.Load(src);
    auto from = pixels_.Unpack(s);
    if (scales_ || mask != nullptr) {
      ScaleBoth(from, mask);
      s = Which::kScalesColour ? pixels_.Pack(from) : pixels_.WithAlpha(s, from.a);
    }
    M32 active = IsNotZero(from.a);
    if (!matte_ && hn::AllFalse(D32(), active)) return;
    if constexpr (std::is_same_v<P, PF_Pixel8> && Which::kRow.number == PF_Xfer_PremulOntoPremul) {
      const Words d = pixels_.Load(dst);
      return pixels_.Store(Lane::Select(active, {OverPremultiplied(s.w, d.w)}, d), dst);
    }

    const auto d = pixels_.Load(dst);
    const auto onto = pixels_.Unpack(d);
    if constexpr (Which::kLeaves) active = hn::And(active, hn::Not(Leaves(from, onto)));
    if constexpr (Which::kRoundsToCopies && std::is_same_v<P, PF_Pixel8>) {
      if (hn::AllTrue(D32(), hn::Eq(from.a, Splat(kFullOf<P>)))) return pixels_.Store(s, dst);
      pixels_.Store(Mixed(from, d, onto, active), dst);
    } else if constexpr (Which::kCopies) {
      const M32 copies = hn::And(active, Copies(from, onto));
      if (hn::AllTrue(D32(), copies)) return pixels_.Store(s, dst);
      const auto mixed = Mixed(from, d, onto, active);
      pixels_.Store(pixels_.Select(copies, s, mixed), dst);
    } else {
      pixels_.Store(Mixed(from, d, onto, active), dst);
    }
  }

 private:
  using Lane = Pixels<P>;
  using Words = typename Lane::Words;
  using Value = typename Lane::Value;

  HWY_INLINE static V32 Splat(int v) { return hn::Set(D32(), static_cast<std::uint32_t>(v)); }
  HWY_INLINE static VF Splat(float v) { return hn::Set(DF(), v); }
  HWY_INLINE static M32 IsNotZero(V32 v) { return hn::Ne(v, hn::Zero(D32())); }
  // Not hn::Ne, which is false for what is not a number.
  HWY_INLINE static M32 IsNotZero(VF v) { return hn::Not(hn::RebindMask(D32(), hn::Eq(v, hn::Zero(DF())))); }

  // A product of numbers that is a number is what both steps give, one by one.
  HWY_INLINE void ScaleBoth(Channels<Value>& c, const ChannelOf<P>* mask) const {
    if constexpr (kIsFloat<P> && !Which::kScalesColour) {
      const VF once = hn::Mul(c.a, opacity_),
               product = mask != nullptr ? hn::Mul(once, pixels_.LoadValues(mask)) : once;
      if (hn::AllTrue(DF(), hn::Eq(product, product))) {
        c.a = product;
        return;
      }
    }
    if (scales_) Scale(c, opacity_);
    if (mask != nullptr) Scale(c, pixels_.LoadValues(mask));
  }
  HWY_INLINE static void Scale(Channels<Value>& c, Value opacity) {
    c.a = Lane::Scaled(c.a, opacity);
    if constexpr (Which::kScalesColour) {
      c.r = Lane::Scaled(c.r, opacity);
      c.g = Lane::Scaled(c.g, opacity);
      c.b = Lane::Scaled(c.b, opacity);
    }
  }

  HWY_INLINE static M32 Leaves(const Channels<Value>& s, const Channels<Value>& d) {
    using Unit = Conditions<P, Which>;
    return hn::RebindMask(D32(), Which::template Leaves<typename Unit::A>(Unit::Of(s), Unit::Of(d)).m);
  }
  HWY_INLINE static M32 Copies(const Channels<Value>& s, const Channels<Value>& d) {
    using Unit = Conditions<P, Which>;
    return hn::RebindMask(D32(), Which::template Copies<typename Unit::A>(Unit::Of(s), Unit::Of(d)).m);
  }

  HWY_INLINE Words Mixed(const Channels<Value>& from, const Words& d, const Channels<Value>& onto, M32 active) const {
    const auto out = Formula<P, Which>::Apply(from, onto);
    Words words;
    if constexpr (Which::kAlphaOnly) {
      words = Lane::WithAlpha(d, Lane::Limited(out.a));
    } else {
      words = Lane::PackLimited(out);
    }
    return matte_ ? words : Lane::Select(active, words, d);
  }

  Lane pixels_;
  bool scales_, matte_;
  Value opacity_;
};

// Layers come from memory, the picture that they are laid onto from a cache; larger pixels wait for memory anyhow.
template <class P>
HWY_INLINE void FetchAhead(const P* src) {
  if constexpr (sizeof(P) == 4) hwy::Prefetch(src + 2048 / sizeof(P));
}

template <class Which, class P>
HWY_FLATTEN void TransferPixels(const TransferJob<P>& job) {
  const Transfer<Which, P> step(job);
  const std::size_t n = hn::Lanes(D32());
  std::size_t i = 0;
  for (; i + n <= job.n; i += n) {
    FetchAhead(job.src + i);
    step(job.src + i, job.dst + i, job.mask != nullptr ? job.mask + i : nullptr);
  }
  if (i == job.n) return;
  // The rest in a vector of its own, filled up with pixels that are not there.
  P src[hn::MaxLanes(D32())] = {}, dst[hn::MaxLanes(D32())] = {};
  ChannelOf<P> mask[hn::MaxLanes(D32())] = {};
  std::copy(job.src + i, job.src + job.n, src);
  std::copy(job.dst + i, job.dst + job.n, dst);
  if (job.mask != nullptr) std::copy(job.mask + i, job.mask + job.n, mask);
  step(src, dst, job.mask != nullptr ? mask : nullptr);
  std::copy(dst, dst + (job.n - i), job.dst + i);
}

template <class Which, class P>
constexpr typename TransferKernels<P>::Row RowOf() {
  if constexpr (Which::kRow.number == PF_Xfer_Ignore) {
    return [](const TransferJob<P>&) {};
  } else {
    return &TransferPixels<Which, P>;
  }
}

template <class P, class... Few, class... Many>
constexpr TransferKernels<P> KernelsOf(ModeList<Few...>, ModeList<Many...>) {
  return {{RowOf<Few, P>()..., nullptr, RowOf<Many, P>()...}};
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
