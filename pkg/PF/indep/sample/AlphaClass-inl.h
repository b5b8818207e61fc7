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

// Four vectors equal, as a mask.
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
  using D = hn::ScalableTag<Element>;

  HWY_INLINE AlikeBlocks(const Element* upper, const Element* lower)
      : AlikeBlocks(hn::LoadU(D(), upper), hn::LoadU(D(), upper + 1), hn::LoadU(D(), lower),
                    hn::LoadU(D(), lower + 1)) {}

  hn::Mask<D> equal, alike;

 private:
  using V = hn::Vec<D>;

  HWY_INLINE AlikeBlocks(V a00, V a10, V a01, V a11) : equal(Equal(a00, a10, a01, a11)), alike(equal) {
    if constexpr (std::is_same_v<Element, float>) {
      const hn::RebindToUnsigned<D> du;
      const auto bits = [&](V v) HWY_ATTR { return hn::BitCast(du, v); };
      alike = hn::Or(equal, hn::RebindMask(D(), AllEqual(bits(a00), bits(a10), bits(a01), bits(a11))));
    }
  }

  static HWY_INLINE hn::Mask<D> Equal(V a00, V a10, V a01, V a11) {
    if constexpr (std::is_same_v<Element, float>) {
      return AllEqual(a00, a10, a01, a11);
    } else {
      const V alphas = hn::Set(D(), Element{sizeof(Element) == 4 ? 0xFF : 0xFFFF});  // of pixels, of a plane
      const V differing = hn::Or(hn::Or(hn::Xor(a00, a10), hn::Xor(a00, a01)), hn::Xor(a00, a11));
      return hn::Eq(hn::And(differing, alphas), hn::Zero(D()));
    }
  }
};

// Whether no block m..end-1 is alike in alpha; most rows that have one have it soon.
template <class Element>
HWY_INLINE bool AllDiffering(const Element* upper, const Element* lower, std::int64_t m, std::int64_t end) {
  const typename AlikeBlocks<Element>::D d;
  const std::int64_t lanes = static_cast<std::int64_t>(hn::Lanes(d));
  const auto alike = [&](std::int64_t at) HWY_ATTR { return AlikeBlocks<Element>(upper + at, lower + at).alike; };
  for (; m + 4 * lanes <= end; m += 4 * lanes) {
    const auto any = hn::Or(hn::Or(alike(m), alike(m + lanes)), hn::Or(alike(m + 2 * lanes), alike(m + 3 * lanes)));
    if (!hn::AllFalse(d, any)) return false;
  }
  for (; m + lanes <= end; m += lanes) {
    if (!hn::AllFalse(d, alike(m))) return false;
  }
  if (m >= end) return true;
  return hn::AllFalse(d, hn::And(alike(m), hn::FirstN(d, static_cast<std::size_t>(end - m))));
}

// The class of blocks m..end-1.
template <class Element>
HWY_INLINE AlphaClass ClassOf(const Element* upper, const Element* lower, std::int64_t planes, std::int64_t stride,
                              std::int64_t m, std::int64_t end) {
  const typename AlikeBlocks<Element>::D d;
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
