// How the alphas of the blocks between two held rows compare.
#if defined(PF_SAMPLE_ALPHA_CLASS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SAMPLE_ALPHA_CLASS_INL_H
#undef PF_SAMPLE_ALPHA_CLASS_INL_H
#else
#define PF_SAMPLE_ALPHA_CLASS_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "sample/RowCache.h"
#include "sample/SampleRows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

HWY_INLINE auto LoadAlphas(const float* held) { return hn::LoadU(hn::ScalableTag<float>(), held); }
HWY_INLINE auto LoadAlphas(const std::uint16_t* held) {
  const hn::ScalableTag<std::uint32_t> d;
  return hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint16_t, decltype(d)>(), held));
}
HWY_INLINE auto LoadAlphas(const std::uint32_t* held) {
  const hn::ScalableTag<std::uint32_t> d;
  return hn::And(hn::LoadU(d, held), hn::Set(d, 0xFF));
}

// Four vectors equal, as a mask of 32-bit lanes.
template <class V>
HWY_INLINE auto AllEqual(V a, V b, V c, V d) {
  return hn::And(hn::And(hn::Eq(a, b), hn::Eq(a, c)), hn::Eq(a, d));
}

// Whether columns m..end of both rows have no bit set.
template <class Element>
HWY_INLINE bool AllZeroBits(const Element* upper, const Element* lower, std::int64_t planes, std::int64_t stride,
                            std::int64_t m, std::int64_t end) {
  const hn::ScalableTag<Element> d;
  const hn::RebindToUnsigned<hn::ScalableTag<Element>> du;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  auto bits = hn::Zero(du);
  for (; m <= end; m += lanes) {
    const auto valid = hn::FirstN(du, static_cast<std::size_t>(std::min(end + 1 - m, lanes)));
    for (std::int64_t c = 0; c < planes; ++c) {
      const auto both = hn::Or(hn::BitCast(du, hn::LoadU(d, upper + c * stride + m)),
                               hn::BitCast(du, hn::LoadU(d, lower + c * stride + m)));
      bits = hn::Or(bits, hn::IfThenElseZero(valid, both));
    }
  }
  return hn::AllTrue(du, hn::Eq(bits, hn::Zero(du)));
}

// Which blocks of a vector are alike in alpha: by value, and by value or bits. Not-a-numbers are not equal,
// but may make a uniform block.
template <class Element>
struct AlikeBlocks {
  using D = hn::ScalableTag<std::uint32_t>;

  HWY_INLINE AlikeBlocks(const Element* upper, const Element* lower)
      : AlikeBlocks(LoadAlphas(upper), LoadAlphas(upper + 1), LoadAlphas(lower), LoadAlphas(lower + 1)) {}

  hn::Mask<D> equal, alike;

 private:
  template <class V>
  HWY_INLINE AlikeBlocks(V a00, V a10, V a01, V a11) : equal(hn::RebindMask(D(), AllEqual(a00, a10, a01, a11))) {
    const auto bits = [](V v) HWY_ATTR { return hn::BitCast(D(), v); };
    alike = equal;
    if constexpr (std::is_same_v<Element, float>) {
      alike = hn::Or(equal, AllEqual(bits(a00), bits(a10), bits(a01), bits(a11)));
    }
  }
};

// The class of blocks m..end-1.
template <class Element>
HWY_INLINE AlphaClass ClassOf(const Element* upper, const Element* lower, std::int64_t planes, std::int64_t stride,
                              std::int64_t m, std::int64_t end) {
  using D = hn::ScalableTag<std::uint32_t>;
  const D d;
  const std::int64_t first = m, lanes = static_cast<std::int64_t>(hn::Lanes(d));
  auto any = hn::FirstN(d, 0), all = hn::FirstN(d, hn::Lanes(d));
  for (; m + lanes <= end; m += lanes) {
    const AlikeBlocks<Element> blocks(upper + m, lower + m);
    any = hn::Or(any, blocks.alike);
    all = hn::And(all, blocks.equal);
  }
  if (m < end) {
    const AlikeBlocks<Element> blocks(upper + m, lower + m);
    const auto valid = hn::FirstN(d, static_cast<std::size_t>(end - m));
    any = hn::Or(any, hn::And(blocks.alike, valid));
    all = hn::And(all, hn::Or(blocks.equal, hn::Not(valid)));
  }
  if (hn::AllFalse(d, any)) return AlphaClass::kDiffering;
  if (!hn::AllTrue(d, all)) return AlphaClass::kMixed;
  if (AlphaOf(upper[first]) > 0.0f) return AlphaClass::kEqual;
  return AllZeroBits(upper, lower, planes, stride, first, end) ? AlphaClass::kClear : AlphaClass::kMixed;
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
