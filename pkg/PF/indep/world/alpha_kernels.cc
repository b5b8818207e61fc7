#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "world/alpha_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "pixel/Depth.h"
#include "world/Alpha16-inl.h"
#include "world/Alpha8-inl.h"
#include "world/AlphaKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const AlphaKernels* AlphaKernelsOfTarget() { return &kPortableAlphaKernels; }

#else

// Float pixels: the straight steps of the portable code on all four lanes, of which that of alpha stays as it was.
HWY_INLINE VF WithAlphaOf(VF v, VF colour) {
  alignas(16) constexpr std::uint32_t kAlpha[4] = {0xFFFFFFFF, 0, 0, 0};
  return hn::IfVecThenElse(hn::BitCast(DF(), hn::LoadDup128(D32(), kAlpha)), v, colour);
}
HWY_INLINE VF WhereOpaqueAtAll(VF a, VF colour) { return hn::IfThenElseZero(hn::Gt(a, hn::Zero(DF())), colour); }
HWY_INLINE VF LanesOf(const PF_PixelFloat& m) {
  alignas(16) const float channels[4] = {0, m.red, m.green, m.blue};
  return hn::LoadDup128(DF(), channels);
}

struct PremultiplyFloat {
  using P = PF_PixelFloat;
  HWY_INLINE VF operator()(VF v) const { return WithAlphaOf(v, hn::Mul(v, hn::Broadcast<0>(v))); }
};
struct UnmultiplyFloat {
  using P = PF_PixelFloat;
  HWY_INLINE VF operator()(VF v) const {
    const VF a = hn::Broadcast<0>(v);
    return WithAlphaOf(v, WhereOpaqueAtAll(a, hn::Div(v, a)));
  }
};
struct OntoMatteFloat {
  using P = PF_PixelFloat;
  explicit OntoMatteFloat(const P& m) : matte(LanesOf(m)) {}
  HWY_INLINE VF operator()(VF v) const {
    return WithAlphaOf(v, hn::Add(matte, hn::Mul(hn::Sub(v, matte), hn::Broadcast<0>(v))));
  }
  VF matte;
};
struct WithoutMatteFloat {
  using P = PF_PixelFloat;
  explicit WithoutMatteFloat(const P& m) : matte(LanesOf(m)) {}
  HWY_INLINE VF operator()(VF v) const {
    const VF a = hn::Broadcast<0>(v);
    return WithAlphaOf(v, WhereOpaqueAtAll(a, hn::Add(matte, hn::Div(hn::Sub(v, matte), a))));
  }
  VF matte;
};

template <class Kernel>
concept KnowsOpaque = requires {
  &Kernel::IsOpaque;
};

// Whole vectors, then one that overlaps the last; it is made first, for the row may be its own result. Opaque stretches
// go by themselves, so that the other loop keeps its constants. False for rows shorter than a vector, of which nothing
// is done.
template <class Kernel>
HWY_INLINE bool MapRow(const Kernel& kernel, const void* in, void* out, std::size_t n) {
  using Channel = ChannelOf<typename Kernel::P>;
  const hn::ScalableTag<Channel> d;
  const auto* from = static_cast<const Channel*>(in);
  auto* to = static_cast<Channel*>(out);
  const std::size_t step = hn::Lanes(d), count = 4 * n;
  if (count < step) return false;
  const auto last = kernel(hn::LoadU(d, from + count - step));
  std::size_t i = 0;
  if constexpr (KnowsOpaque<Kernel>) {
    while (i + step <= count) {
      for (; i + step <= count; i += step) {
        const auto v = hn::LoadU(d, from + i);
        if (!Kernel::IsOpaque(v)) break;
        hn::StoreU(Kernel::OfOpaque(v), d, to + i);
      }
      for (; i + step <= count; i += step) {
        const auto v = hn::LoadU(d, from + i);
        if (Kernel::IsOpaque(v)) break;
        hn::StoreU(kernel(v), d, to + i);
      }
    }
  } else {
    for (; i + step <= count; i += step) hn::StoreU(kernel(hn::LoadU(d, from + i)), d, to + i);
  }
  hn::StoreU(last, d, to + count - step);
  return true;
}

template <class Kernel, AlphaKernels::Row (AlphaKernels::*kPortable)[3]>
void Row(const void* in, void* out, std::size_t n) {
  constexpr int kIndex = DepthIndex(DepthTraits<typename Kernel::P>::kDepth);
  if (!MapRow(Kernel(), in, out, n)) (kPortableAlphaKernels.*kPortable)[kIndex](in, out, n);
}
template <class Kernel, AlphaKernels::MatteRow (AlphaKernels::*kPortable)[3]>
void MatteRow(const void* in, const void* matte, void* out, std::size_t n) {
  using P = typename Kernel::P;
  constexpr int kIndex = DepthIndex(DepthTraits<P>::kDepth);
  if (!MapRow(Kernel(*static_cast<const P*>(matte)), in, out, n)) {
    (kPortableAlphaKernels.*kPortable)[kIndex](in, matte, out, n);
  }
}

constexpr AlphaKernels kKernels = {
    {&Row<Premultiply8, &AlphaKernels::premultiply>, &Row<Premultiply16, &AlphaKernels::premultiply>,
     &Row<PremultiplyFloat, &AlphaKernels::premultiply>},
    {&Row<Unmultiply8, &AlphaKernels::unmultiply>, &Row<Unmultiply16, &AlphaKernels::unmultiply>,
     &Row<UnmultiplyFloat, &AlphaKernels::unmultiply>},
    {&MatteRow<OntoMatte8, &AlphaKernels::onto_matte>, &MatteRow<OntoMatte16, &AlphaKernels::onto_matte>,
     &MatteRow<OntoMatteFloat, &AlphaKernels::onto_matte>},
    {&MatteRow<WithoutMatte8, &AlphaKernels::without_matte>, &MatteRow<WithoutMatte16, &AlphaKernels::without_matte>,
     &MatteRow<WithoutMatteFloat, &AlphaKernels::without_matte>}};

const AlphaKernels* AlphaKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(AlphaKernelsOfTarget);

const AlphaKernels& VectorAlphaKernels() { return *HWY_DYNAMIC_DISPATCH(AlphaKernelsOfTarget)(); }

}  // namespace pf
#endif
