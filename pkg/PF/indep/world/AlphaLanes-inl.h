// What the vector kernels of the alpha conventions have in common.
#if defined(PF_WORLD_ALPHA_LANES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef PF_WORLD_ALPHA_LANES_INL_H
#undef PF_WORLD_ALPHA_LANES_INL_H
#else
#define PF_WORLD_ALPHA_LANES_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>

#include "simd/ConvertDepth-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
// Other kernels share the target's namespace.
namespace {

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::ScalableTag<std::uint16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using D64 = hn::ScalableTag<std::uint64_t>;
using DF = hn::ScalableTag<float>;
using DF64 = hn::ScalableTag<double>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;
using VI32 = hn::Vec<DI32>;
using V64 = hn::Vec<D64>;
using VF = hn::Vec<DF>;
using VF64 = hn::Vec<DF64>;

constexpr std::uint8_t kNone = 0x80;  // in place of the number of a byte: 0

// Bytes of each block of 16, chosen by their numbers in it.
template <class D>
HWY_INLINE hn::Vec<D> ChooseBytes(D d, hn::Vec<D> v, const std::uint8_t (&bytes)[16]) {
  return hn::BitCast(d, hn::TableLookupBytesOr0(hn::BitCast(D8(), v), hn::LoadDup128(D8(), bytes)));
}

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
