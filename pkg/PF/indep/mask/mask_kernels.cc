#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "mask/mask_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>

#include "mask/MaskKernels.h"
#include "mask/MergeAlpha.h"
#include "simd/MaskMath-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

const MaskKernels* MaskKernelsOfTarget() { return &kPortableMaskKernels; }

#else

// Values up to the next multiple of the vector's size, at which whole vectors cross no cache line.
template <class D, class T>
HWY_INLINE std::size_t ToAligned(D d, const T* values) {
  const std::size_t step = hn::Lanes(d);
  return (step - reinterpret_cast<std::uintptr_t>(values) / sizeof(T) % step) % step;
}

// Every value becomes that of lanes(vector), or of one(value) in runs shorter than a vector. A first vector that
// is not aligned, and a last one that is not whole, are computed from what was there before and stored when all
// between them is: where they overlap it, the values are the same.
template <class T, class Lanes, class One>
HWY_INLINE void ForValues(T* values, std::size_t n, const Lanes& lanes, const One& one) {
  const hn::ScalableTag<T> d;
  const std::size_t step = hn::Lanes(d);
  if (n < step) {
    for (std::size_t k = 0; k < n; ++k) values[k] = one(values[k]);
    return;
  }
  const std::size_t begin = ToAligned(d, values);
  const bool has_tail = (n - begin) % step != 0;
  auto head = hn::Zero(d), tail = head;
  if (begin != 0) head = lanes(d, hn::LoadU(d, values));
  if (has_tail) tail = lanes(d, hn::LoadU(d, values + n - step));
  std::size_t i = begin;
  for (; i + 2 * step <= n; i += 2 * step) {
    const auto first = lanes(d, hn::LoadU(d, values + i));
    const auto second = lanes(d, hn::LoadU(d, values + i + step));
    hn::StoreU(first, d, values + i);
    hn::StoreU(second, d, values + i + step);
  }
  if (i + step <= n) hn::StoreU(lanes(d, hn::LoadU(d, values + i)), d, values + i);
  if (begin != 0) hn::StoreU(head, d, values);
  if (has_tail) hn::StoreU(tail, d, values + n - step);
}

// Stores at multiples of the vector's size between one at the start and one at the end.
template <class T>
void Fill(T* values, std::size_t n, T value) {
  const hn::ScalableTag<T> d;
  const std::size_t step = hn::Lanes(d);
  if (n < 2 * step) {
    std::fill_n(values, n, value);
    return;
  }
  const auto v = hn::Set(d, value);
  hn::StoreU(v, d, values);
  for (std::size_t i = ToAligned(d, values); i + step <= n; i += step) hn::StoreU(v, d, values + i);
  hn::StoreU(v, d, values + n - step);
}

template <class T>
void Invert(T* values, std::size_t n) {
  ForValues(
      values, n, [](auto d, auto v) HWY_ATTR { return InverseOf(d, v); }, [](T v) { return pf::InverseOf(v); });
}

// `before` is done to every value first.
template <class T, class Lanes, class One>
HWY_INLINE void FadeAfter(T* values, std::size_t n, ScaleOf<T> scale, const Lanes& before, const One& before_one) {
  const auto one = [&](T v) { return pf::Scaled(before_one(v), scale); };
  if constexpr (!std::is_same_v<T, float>) {
    if (scale > kFullCoverage<T>) {
      const auto lanes = [&](auto d, auto v) HWY_ATTR { return ScaledUp(d, before(d, v), scale); };
      return ForValues(values, n, lanes, one);
    }
  }
  const auto factor = static_cast<T>(scale);
  ForValues(
      values, n, [&](auto d, auto v) HWY_ATTR { return ProductOf(d, before(d, v), hn::Set(d, factor)); }, one);
}

template <class T>
void Fade(T* values, std::size_t n, ScaleOf<T> scale) {
  FadeAfter(
      values, n, scale, [](auto, auto v) HWY_ATTR { return v; }, [](T v) { return v; });
}

template <class T>
void InvertAndFade(T* values, std::size_t n, ScaleOf<T> scale) {
  FadeAfter(
      values, n, scale, [](auto d, auto v) HWY_ATTR { return InverseOf(d, v); }, [](T v) { return pf::InverseOf(v); });
}

// Pixels of 8 bits, one in each lane of 32 bits; alpha is the low byte, and where the product is formed the
// other half of the lane is 0.
template <class M>
struct MergePixels8 {
  using Pixel = PF_Pixel8;
  using D = hn::ScalableTag<std::uint32_t>;
  static std::size_t Step() { return hn::Lanes(D()); }

  HWY_INLINE void operator()(PF_Pixel8* pixels, const M* values) const {
    const D d;
    const hn::ScalableTag<std::uint16_t> d16;
    auto* out = reinterpret_cast<std::uint32_t*>(pixels);
    const auto v = hn::LoadU(d, out);
    const auto mask = hn::PromoteTo(d, hn::LoadU(hn::Rebind<M, D>(), values));
    const auto low = hn::Set(d, 255);
    const auto alpha = hn::BitCast(d16, hn::And(v, low));
    const auto factor = hn::BitCast(d16, mask);
    hn::Vec<decltype(d16)> product;
    if constexpr (sizeof(M) == 1) {
      product = DivideBy255(d16, hn::Mul(alpha, factor));
    } else {
      product = hn::Min(ProductOf(d16, alpha, factor), hn::Set(d16, 255));
    }
    hn::StoreU(hn::Or(hn::AndNot(low, v), hn::BitCast(d, product)), d, out);
  }
};

// Pixels of 16 bits, one in each lane of 64 bits; alpha is the low quarter.
template <class M>
struct MergePixels16 {
  using Pixel = PF_Pixel16;
  using D = hn::ScalableTag<std::uint64_t>;
  static std::size_t Step() { return hn::Lanes(D()); }

  HWY_INLINE void operator()(PF_Pixel16* pixels, const M* values) const {
    const D d;
    auto* out = reinterpret_cast<std::uint64_t*>(pixels);
    const auto v = hn::LoadU(d, out);
    const auto mask = hn::PromoteTo(hn::Rebind<std::uint32_t, D>(), hn::LoadU(hn::Rebind<M, D>(), values));
    hn::StoreU(Merge(d, v, hn::PromoteTo(d, mask)), d, out);
  }

 private:
  template <class V>
  HWY_INLINE static V Merge(D d, V v, V mask) {
    if constexpr (sizeof(M) == 2) {
      // Colour is multiplied by full, which marks what is kept.
      const hn::ScalableTag<std::uint16_t> d16;
      const auto factor = hn::BitCast(d16, hn::Or(mask, hn::Set(d, 0x8000800080000000u)));
      const auto old = hn::BitCast(d16, v);
      const auto keep = hn::Eq(factor, hn::Set(d16, 32768));
      return hn::BitCast(d, hn::IfThenElse(keep, old, ProductOf(d16, old, factor)));
    } else {
      // (alpha * m + 127) / 255 by the reciprocal 0x80808081 / 2^39, which is exact for 32 bits.
      const hn::ScalableTag<std::uint32_t> d32;
      const auto alpha = hn::BitCast(d32, hn::And(v, hn::Set(d, 65535)));
      const auto sum = hn::Add(hn::MulEven(alpha, hn::BitCast(d32, mask)), hn::Set(d, 127));
      const auto quotient = hn::ShiftRight<39>(hn::MulEven(hn::BitCast(d32, sum), hn::Set(d32, 0x80808081u)));
      const auto limited = hn::BitCast(d, hn::Min(hn::BitCast(d32, quotient), hn::Set(d32, 32768)));
      const auto merged = hn::Or(hn::AndNot(hn::Set(d, 65535), v), limited);
      // Both halves of the lane, so that 32 bits suffice for the comparison.
      const auto full = hn::Set(d32, 255);
      const auto twice = hn::BitCast(d32, hn::Or(mask, hn::ShiftLeft<32>(mask)));
      return hn::BitCast(d, hn::IfThenElse(hn::Eq(twice, full), hn::BitCast(d32, v), hn::BitCast(d32, merged)));
    }
  }
};

// Pixels of float, one in each block of 128 bits.
template <class M>
struct MergePixelsFloat {
  using Pixel = PF_PixelFloat;
  static constexpr std::size_t Step() { return 4; }

  HWY_INLINE void operator()(PF_PixelFloat* pixels, const M* values) const {
    const hn::FixedTag<float, 4> d;
    const hn::FixedTag<std::int32_t, 4> di;
    const auto mask = hn::PromoteTo(di, hn::LoadU(hn::FixedTag<M, 4>(), values));
    const auto factor = hn::Mul(hn::ConvertTo(d, mask), hn::Set(d, kUnitOfCoverage<M>));
    Merge(pixels[0], hn::Broadcast<0>(mask), hn::Broadcast<0>(factor));
    Merge(pixels[1], hn::Broadcast<1>(mask), hn::Broadcast<1>(factor));
    Merge(pixels[2], hn::Broadcast<2>(mask), hn::Broadcast<2>(factor));
    Merge(pixels[3], hn::Broadcast<3>(mask), hn::Broadcast<3>(factor));
  }

 private:
  template <class VI, class VF>
  HWY_INLINE static void Merge(PF_PixelFloat& pixel, VI mask, VF factor) {
    const hn::FixedTag<float, 4> d;
    const hn::FixedTag<std::int32_t, 4> di;
    const auto old = hn::LoadU(d, &pixel.alpha);
    const auto product = hn::IfThenZeroElse(hn::RebindMask(d, hn::Eq(mask, hn::Zero(di))), hn::Mul(old, factor));
    const auto keep = hn::Or(hn::Not(hn::FirstN(d, 1)), hn::RebindMask(d, hn::Eq(mask, hn::Set(di, kFullCoverage<M>))));
    hn::StoreU(hn::IfThenElse(keep, old, product), d, &pixel.alpha);
  }
};

template <template <class> class Kernel, class M>
void Merge(void* pixels, const void* values, std::size_t n) {
  using P = typename Kernel<M>::Pixel;
  auto* out = static_cast<P*>(pixels);
  const auto* m = static_cast<const M*>(values);
  const Kernel<M> kernel;
  const std::size_t step = kernel.Step();
  std::size_t i = 0;
  for (; i + step <= n; i += step) kernel(out + i, m + i);
  for (; i < n; ++i) out[i].alpha = MergedAlpha(out[i].alpha, m[i]);
}

template <class T>
constexpr ValueKernels<T> kValueKernels = {&Fill<T>, &Invert<T>, &Fade<T>, &InvertAndFade<T>};

template <template <class> class Kernel>
constexpr MaskKernels::MergeRow kMerge8 = &Merge<Kernel, std::uint8_t>;
template <template <class> class Kernel>
constexpr MaskKernels::MergeRow kMerge16 = &Merge<Kernel, std::uint16_t>;

constexpr MaskKernels kKernels = {kValueKernels<std::uint8_t>,
                                  kValueKernels<std::uint16_t>,
                                  kValueKernels<float>,
                                  {{kMerge8<MergePixels8>, kMerge16<MergePixels8>},
                                   {kMerge8<MergePixels16>, kMerge16<MergePixels16>},
                                   {kMerge8<MergePixelsFloat>, kMerge16<MergePixelsFloat>}}};

const MaskKernels* MaskKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(MaskKernelsOfTarget);

const MaskKernels& VectorMaskKernels() { return *HWY_DYNAMIC_DISPATCH(MaskKernelsOfTarget)(); }

}  // namespace pf
#endif
