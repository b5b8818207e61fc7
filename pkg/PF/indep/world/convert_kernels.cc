#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "world/convert_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <cstring>

#include "simd/ConvertDepth-inl.h"
#include "world/ConvertKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR

const ConvertKernels* ConvertKernelsOfTarget() { return &kPortableConvertKernels; }

#else

using D8 = hn::ScalableTag<std::uint8_t>;
using D16 = hn::ScalableTag<std::uint16_t>;
using D32 = hn::ScalableTag<std::uint32_t>;
using DI32 = hn::ScalableTag<std::int32_t>;
using DF = hn::ScalableTag<float>;
using V8 = hn::Vec<D8>;
using V16 = hn::Vec<D16>;
using V32 = hn::Vec<D32>;

// The low halves of the lanes of two vectors, in order.
HWY_INLINE V16 LowHalves(V32 low, V32 high) {
  const D16 d;
  return hn::ConcatEven(d, hn::BitCast(d, high), hn::BitCast(d, low));
}
HWY_INLINE V8 LowHalves(V16 low, V16 high) {
  const D8 d;
  return hn::ConcatEven(d, hn::BitCast(d, high), hn::BitCast(d, low));
}

struct Convert8To16 {
  using From = PF_Pixel8;
  using To = PF_Pixel16;
  static std::size_t Step() { return hn::Lanes(D16()); }
  HWY_INLINE void operator()(const std::uint8_t* in, std::uint16_t* out) const {
    const D16 d;
    hn::StoreU(Widen(d, hn::PromoteTo(d, hn::LoadU(hn::Rebind<std::uint8_t, D16>(), in))), d, out);
  }
};

template <class P>
struct ConvertToFloat {
  using From = P;
  using To = PF_PixelFloat;
  static std::size_t Step() { return hn::Lanes(DF()); }
  HWY_INLINE void operator()(const ChannelOf<P>* in, float* out) const {
    const DF d;
    const auto v = hn::PromoteTo(DI32(), hn::LoadU(hn::Rebind<ChannelOf<P>, DI32>(), in));
    hn::StoreU(ToFloat(d, v, sizeof(P) == 4 ? kUnitOf8 : kUnitOf16), d, out);
  }
};

struct Convert16To8 {
  using From = PF_Pixel16;
  using To = PF_Pixel8;
  static std::size_t Step() { return hn::Lanes(D8()); }
  HWY_INLINE void operator()(const std::uint16_t* in, std::uint8_t* out) const {
    const D16 d;
    const V16 low = Narrow(d, hn::LoadU(d, in));
    const V16 high = Narrow(d, hn::LoadU(d, in + hn::Lanes(d)));
    hn::StoreU(LowHalves(low, high), D8(), out);
  }
};

struct ConvertFloatTo16 {
  using From = PF_PixelFloat;
  using To = PF_Pixel16;
  static std::size_t Step() { return hn::Lanes(D16()); }
  HWY_INLINE V16 Load(const float* in) const {
    const DF d;
    return LowHalves(FromFloat(d, limits, hn::LoadU(d, in)), FromFloat(d, limits, hn::LoadU(d, in + hn::Lanes(d))));
  }
  HWY_INLINE void operator()(const float* in, std::uint16_t* out) const { hn::StoreU(Load(in), D16(), out); }

  FromFloatLimits<DF> limits{DF(), static_cast<float>(PF_MAX_CHAN16)};
};

struct ConvertFloatTo8 {
  using From = PF_PixelFloat;
  using To = PF_Pixel8;
  static std::size_t Step() { return hn::Lanes(D8()); }
  HWY_INLINE void operator()(const float* in, std::uint8_t* out) const {
    hn::StoreU(LowHalves(as16.Load(in), as16.Load(in + hn::Lanes(D16()))), D8(), out);
  }

  ConvertFloatTo16 as16{{DF(), static_cast<float>(PF_MAX_CHAN8)}};
};

// Whole vectors, then one that overlaps the last, then what is shorter than a vector. Steps are whole
// pixels.
template <class Kernel>
void ConvertRow(const void* in, void* out, std::size_t n) {
  using From = typename Kernel::From;
  using To = typename Kernel::To;
  const auto* from = static_cast<const ChannelOf<From>*>(in);
  auto* to = static_cast<ChannelOf<To>*>(out);
  const Kernel kernel;
  const std::size_t step = Kernel::Step();
  const std::size_t count = 4 * n;
  if (count < step) {
    for (std::size_t i = 0; i < n; ++i) static_cast<To*>(out)[i] = ConvertPixel<To>(static_cast<const From*>(in)[i]);
    return;
  }
  std::size_t i = 0;
  for (; i + step <= count; i += step) kernel(from + i, to + i);
  if (i < count) kernel(from + count - step, to + count - step);
}

HWY_INLINE V16 DitherHalf(const std::uint16_t* in, const std::uint32_t* random) {
  const D16 d;
  const D32 d_random;
  const V16 noise = LowHalves(hn::LoadU(d_random, random), hn::LoadU(d_random, random + hn::Lanes(d_random)));
  return NarrowDithered(d, hn::LoadU(d, in), noise);
}

void DitherRow(const void* in, void* out, const std::uint32_t* random, std::size_t n) {
  const auto* from = static_cast<const std::uint16_t*>(in);
  auto* to = static_cast<std::uint8_t*>(out);
  const D8 d;
  const std::size_t half = hn::Lanes(D16());
  const std::size_t count = 4 * n;
  std::size_t i = 0;
  for (; i + 2 * half <= count; i += 2 * half) {
    const V16 low = DitherHalf(from + i, random + i);
    hn::StoreU(LowHalves(low, DitherHalf(from + i + half, random + i + half)), d, to + i);
  }
  for (; i < count; ++i) to[i] = pf::NarrowDithered(from[i], random[i]);
}

template <class P>
void CopyRow(const void* in, void* out, std::size_t n) {
  std::memcpy(out, in, n * sizeof(P));
}

constexpr ConvertKernels kKernels = {
    {{&CopyRow<PF_Pixel8>, &ConvertRow<Convert8To16>, &ConvertRow<ConvertToFloat<PF_Pixel8> >},
     {&ConvertRow<Convert16To8>, &CopyRow<PF_Pixel16>, &ConvertRow<ConvertToFloat<PF_Pixel16> >},
     {&ConvertRow<ConvertFloatTo8>, &ConvertRow<ConvertFloatTo16>, &CopyRow<PF_PixelFloat>}},
    &DitherRow};

const ConvertKernels* ConvertKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET == HWY_SCALAR

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(ConvertKernelsOfTarget);

const ConvertKernels& VectorConvertKernels() { return *HWY_DYNAMIC_DISPATCH(ConvertKernelsOfTarget)(); }

}  // namespace pf
#endif
