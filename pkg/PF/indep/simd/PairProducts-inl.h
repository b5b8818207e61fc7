// Products of neighbouring 16-bit lanes, added in pairs.
#if defined(PF_SIMD_PAIR_PRODUCTS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_SIMD_PAIR_PRODUCTS_INL_H
#undef PF_SIMD_PAIR_PRODUCTS_INL_H
#else
#define PF_SIMD_PAIR_PRODUCTS_INL_H
#endif

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Lane i of the 32-bit result: sum[i] + a[2i] b[2i] + a[2i+1] b[2i+1], all signed.
template <class D32, class V16>
HWY_INLINE hn::Vec<D32> AddPairProducts(D32 d, V16 a, V16 b, hn::Vec<D32> sum) {
#if HWY_ARCH_X86
  auto unused = hn::Zero(d);
  return hn::ReorderWidenMulAccumulate(d, a, b, sum, unused);
#else
  const auto high = [&](V16 v) HWY_ATTR { return hn::ShiftRight<16>(hn::BitCast(d, v)); };
  const auto low = [&](V16 v) HWY_ATTR { return hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(d, v))); };
  return hn::Add(hn::Add(sum, hn::Mul(low(a), low(b))), hn::Mul(high(a), high(b)));
#endif
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // include guard
