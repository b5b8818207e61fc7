// One pixel onto one pixel, and rows of them.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <type_traits>

#include "pixel/Depth.h"
#include "transfer/PlainModes.h"
#include "transfer/PlainScale.h"

namespace pf::plain {

template <class P>
constexpr bool kIsFloat = std::is_same_v<P, PF_PixelFloat>;

// What a mode computes in.
template <class P, class Which>
using RealOf = std::conditional_t<std::is_same_v<P, PF_Pixel16> && Which::kWide, double, float>;
template <class P, class Which>
using ArithmeticOf =
    std::conditional_t<kIsFloat<P>, OfFloats<float>,
                       OfIntegers<RealOf<P, Which>, Which::kRaw ? static_cast<int>(DepthTraits<P>::kFull) : 1>>;

// What one step of the depth's channels is worth to a mode.
template <class P, class Which>
constexpr RealOf<P, Which> kStep = Which::kRaw || kIsFloat<P>
                                       ? 1
                                       : 1 / static_cast<RealOf<P, Which>>(DepthTraits<P>::kFull);

template <class Which, class P, class R = RealOf<P, Which>>
Quad<R> QuadOf(const P& p) {
  constexpr R kUnit = kStep<P, Which>;
  return {R(p.alpha) * kUnit, R(p.red) * kUnit, R(p.green) * kUnit, R(p.blue) * kUnit};
}

// A channel within its limits. In single precision to nearest, halves to even; in double halves go down.
inline std::int32_t Rounded(float v) { return static_cast<std::int32_t>((v + 0x1.8p23f) - 0x1.8p23f); }
inline std::int32_t Rounded(double v) { return static_cast<std::int32_t>(v + 16383.0 / 32768.0); }

template <class P, class Which, class R>
ChannelOf<P> ChannelOfReal(R v) {
  if constexpr (kIsFloat<P>) {
    return v == v ? v : std::bit_cast<float>(0x7FC00000u);
  } else {
    constexpr R kFull = R(DepthTraits<P>::kFull);
    const R scaled = Which::kRaw ? v : v * kFull;
    return static_cast<ChannelOf<P>>(Rounded(Min(Max(scaled, R(0)), kFull)));
  }
}

// The source with its effective alpha, which is not 0 unless the mode is a matte.
template <class Which, class P>
P Transferred(const P& s, const P& d) {
  using A = ArithmeticOf<P, Which>;
  const auto quad_s = QuadOf<Which>(s), quad_d = QuadOf<Which>(d);
  if constexpr (Which::kCopies) {
    if (Which::template Copies<A>(quad_s, quad_d)) return s;
  }
  if constexpr (Which::kLeaves) {
    if (Which::template Leaves<A>(quad_s, quad_d)) return d;
  }
  const auto out = Which::template Apply<A>(quad_s, quad_d);
  const auto alpha = ChannelOfReal<P, Which>(out.a);
  if constexpr (Which::kAlphaOnly) {
    return {alpha, d.red, d.green, d.blue};
  } else {
    return {alpha, ChannelOfReal<P, Which>(out.r), ChannelOfReal<P, Which>(out.g), ChannelOfReal<P, Which>(out.b)};
  }
}

// The source scaled by one opacity.
template <class Which, class P>
void Scale(P& s, ChannelOf<P> opacity) {
  s.alpha = ScaledBy(s.alpha, opacity);
  if constexpr (Which::kScalesColour) ScaleColourBy(s, opacity);
}

template <class Which, class P>
void TransferPixels(const TransferJob<P>& job) {
  if constexpr (Which::kRow.number != PF_Xfer_Ignore) {
    for (std::size_t i = 0; i < job.n; ++i) {
      P s = job.src[i];
      Scale<Which>(s, job.opacity);
      if (job.mask != nullptr) Scale<Which>(s, job.mask[i]);
      if (s.alpha != 0 || (Which::kMatte && job.matte)) job.dst[i] = Transferred<Which>(s, job.dst[i]);
    }
  }
}

}  // namespace pf::plain
