#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "paint/paint_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <bit>

#include "paint/PaintKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const PaintKernels* PaintKernelsOfTarget() { return &kPortablePaintKernels; }

#else

using D16 = hn::ScalableTag<std::uint16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

constexpr std::uint32_t kEvenBytes = 0x00FF00FF;

// v / 255 truncated, exact for 0 <= v <= 65025 = 255 * 255.
template <class D, class V = hn::Vec<D> >
HWY_INLINE V TruncatedBy255(D d, V v) {
  return hn::ShiftRight<8>(hn::Add(hn::Add(v, hn::Set(d, 1)), hn::ShiftRight<8>(v)));
}

struct Dab {
  explicit Dab(std::uint32_t c)
      : colour(c), even(hn::Set(D32(), c & kEvenBytes)), odd(hn::Set(D32(), c >> 8 & kEvenBytes)) {}

  // Two channels of each pixel in lanes of 16 bits; coverages up to 255.
  HWY_INLINE V32 Pair(V32 old, V32 mine, V32 coverage, V32 rest) const {
    const D16 d;
    const auto lanes = [](V32 v) HWY_ATTR { return hn::BitCast(D16(), v); };
    const V16 mixed = hn::Add(hn::Mul(lanes(old), lanes(rest)), hn::Mul(lanes(mine), lanes(coverage)));
    return hn::BitCast(D32(), TruncatedBy255(d, mixed));
  }

  HWY_INLINE V32 Narrow(V32 old, V32 coverage) const {
    const V32 bytes = hn::Set(D32(), kEvenBytes);
    const V32 both = hn::Or(coverage, hn::ShiftLeft<16>(coverage));
    const V32 rest = hn::Xor(both, bytes);
    const V32 low = Pair(hn::And(old, bytes), even, both, rest);
    const V32 high = Pair(hn::And(hn::ShiftRight<8>(old), bytes), odd, both, rest);
    return hn::Or(low, hn::ShiftLeft<8>(high));
  }

  // Any coverage. From 65025 on the mix 255 old + m (colour - old) is at least 255 * 255 or at most 0
  // unless old and colour are equal, so a larger one gives the same; below, all fits 32 bits.
  HWY_NOINLINE V32 Wide(V32 old, V32 coverage) const {
    const DI32 d;
    const auto m = hn::BitCast(d, hn::Min(coverage, hn::Set(D32(), 65025)));
    V32 out = hn::Zero(D32());
    for (int shift = 0; shift < 32; shift += 8) {
      const auto c = hn::BitCast(d, hn::And(hn::ShiftRightSame(old, shift), hn::Set(D32(), 255)));
      const auto mine = hn::Set(d, static_cast<std::int32_t>(colour >> shift & 255));
      const auto mixed = hn::Add(hn::Mul(c, hn::Set(d, 255)), hn::Mul(m, hn::Sub(mine, c)));
      const auto limited = hn::Min(hn::Max(mixed, hn::Zero(d)), hn::Set(d, 65025));
      out = hn::Or(out, hn::ShiftLeftSame(TruncatedBy255(D32(), hn::BitCast(D32(), limited)), shift));
    }
    return out;
  }

  HWY_INLINE V32 operator()(V32 old, V32 coverage) const {
    const D32 d;
    const bool wide = !hn::AllTrue(d, hn::Eq(hn::ShiftRight<8>(coverage), hn::Zero(d)));
    return HWY_UNLIKELY(wide) ? Wide(old, coverage) : Narrow(old, coverage);
  }

  std::uint32_t colour;
  V32 even, odd;
};

void DabRow(PF_Pixel8* row, const std::uint32_t* coverage, PF_Pixel8 colour, std::size_t n) {
  const D32 d;
  const std::size_t step = hn::Lanes(d);
  if (n < step) return kPortablePaintKernels.dab(row, coverage, colour, n);
  const Dab dab(std::bit_cast<std::uint32_t>(colour));
  auto* pixels = reinterpret_cast<std::uint32_t*>(row);
  // The last vector may overlap the one before it, so its pixels are taken as they were.
  const std::size_t rest = n - step;
  const V32 last = hn::LoadU(d, pixels + rest);
  std::size_t i = 0;
  for (; i + step <= n; i += step) {
    hn::StoreU(dab(hn::LoadU(d, pixels + i), hn::LoadU(d, coverage + i)), d, pixels + i);
  }
  if (i < n) hn::StoreU(dab(last, hn::LoadU(d, coverage + rest)), d, pixels + rest);
}

constexpr PaintKernels kKernels = {&DabRow};

const PaintKernels* PaintKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(PaintKernelsOfTarget);

const PaintKernels& VectorPaintKernels() { return *HWY_DYNAMIC_DISPATCH(PaintKernelsOfTarget)(); }

}  // namespace pf
#endif
