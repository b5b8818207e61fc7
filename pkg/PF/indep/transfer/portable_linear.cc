// Linear light in plain C++.
#include <bit>
#include <cstring>

#include "transfer/LinearKernels.h"
#include "transfer/LinearMath.h"

namespace pf {
namespace {

// What differs between the depths.
template <class P>
struct Light {
  const PF_LinearBlendingTables& tables;

  LinearPixel<P> To(const P& p) const {
    return {Alpha(p.alpha), ToLinear(tables, p.red), ToLinear(tables, p.green), ToLinear(tables, p.blue)};
  }
  ChannelOf<P> From(std::uint16_t v) const { return Stored(FromLinear(tables, v)); }
  static std::uint16_t Alpha(ChannelOf<P> v) {
    if constexpr (std::is_same_v<P, PF_Pixel8>) return Widen(v);
    return v;
  }
  static ChannelOf<P> Stored(std::uint16_t v) {
    if constexpr (std::is_same_v<P, PF_Pixel8>) return Narrow(v);
    return static_cast<ChannelOf<P>>(v);
  }
};

template <>
struct Light<PF_PixelFloat> {
  const PF_LinearBlendingTables& tables;

  PF_PixelFloat To(const PF_PixelFloat& p) const {
    const float g = tables.gamma;
    return {p.alpha, Power(p.red, g), Power(p.green, g), Power(p.blue, g)};
  }
  float From(float v) const { return Power(v, tables.inverseGamma); }
  static float Stored(float v) { return v; }
};

template <class T>
bool SameBits(const T& a, const T& b) {
  return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <class P>
void ToLinearPixels(const P* in, LinearPixel<P>* out, std::size_t n, const PF_LinearBlendingTables& tables) {
  const Light<P> light{tables};
  for (std::size_t i = 0; i < n; ++i) out[i] = light.To(in[i]);
}

template <class P>
void FromLinearPixels(const LinearJob<P>& job, const PF_LinearBlendingTables& tables) {
  const Light<P> light{tables};
  for (std::size_t i = 0; i < job.n; ++i) {
    const LinearPixel<P>& from = job.linear_dst[i];
    const LinearPixel<P>& to = job.result[i];
    P& d = job.dst[i];
    if (job.copies && job.src[i].alpha != 0 && SameBits(to, job.linear_src[i])) {
      d = job.src[i];
      continue;
    }
    if (!SameBits(to.alpha, from.alpha)) d.alpha = light.Stored(to.alpha);
    if (!SameBits(to.red, from.red)) d.red = light.From(to.red);
    if (!SameBits(to.green, from.green)) d.green = light.From(to.green);
    if (!SameBits(to.blue, from.blue)) d.blue = light.From(to.blue);
  }
}

template <class P>
constexpr LinearKernels<P> kKernels = {&ToLinearPixels<P>, &FromLinearPixels<P>};

}  // namespace

constinit const LinearLightKernels kPortableLinearLightKernels = {kKernels<PF_Pixel8>, kKernels<PF_Pixel16>,
                                                                  kKernels<PF_PixelFloat>};

}  // namespace pf
