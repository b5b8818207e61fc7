// A row laid onto a row by a mode, on stored values or in linear light.
#pragma once

#include <algorithm>

#include "transfer/LinearKernels.h"
#include "transfer/PlainScale.h"
#include "transfer/TransferKernels.h"

namespace pf {

// The kernels that a row is laid with: for its depth, for the depth of its linear light, and between them.
template <class P>
struct RowKernels {
  const TransferKernels<P>* stored;
  const TransferKernels<LinearPixel<P>>* linear;
  const LinearKernels<P>* light;
};

inline constexpr std::size_t kLinearRun = 128;

// The effective alpha; colour that opacities scale is scaled in linear light.
template <class P>
void ScaleAlpha(const TransferJob<P>& job, P* out) {
  for (std::size_t i = 0; i < job.n; ++i) {
    out[i] = job.src[i];
    out[i].alpha = ScaledBy(out[i].alpha, job.opacity);
    if (job.mask != nullptr) out[i].alpha = ScaledBy(out[i].alpha, job.mask[i]);
  }
}

template <class P>
ChannelOf<LinearPixel<P>> LinearScale(ChannelOf<P> opacity) {
  if constexpr (std::is_same_v<P, PF_Pixel8>) return Widen(opacity);
  return static_cast<ChannelOf<LinearPixel<P>>>(opacity);
}

template <class P>
void ScaleColour(const TransferJob<P>& job, LinearPixel<P>* pixels) {
  const auto opacity = LinearScale<P>(job.opacity);
  for (std::size_t i = 0; i < job.n; ++i) {
    ScaleColourBy(pixels[i], opacity);
    if (job.mask != nullptr) ScaleColourBy(pixels[i], LinearScale<P>(job.mask[i]));
  }
}

// At most kLinearRun pixels.
template <class P>
void TransferLinearRun(const RowKernels<P>& kernels, const PF_LinearBlendingTables& tables, std::int32_t mode,
                       const TransferJob<P>& job) {
  using L = LinearPixel<P>;
  const TransferTraits& traits = TraitsOf(mode);
  P scaled[kLinearRun];
  L linear_src[kLinearRun], linear_dst[kLinearRun], result[kLinearRun];
  const bool scales = job.mask != nullptr || job.opacity != DepthTraits<P>::kFull;
  const P* const src = scales ? scaled : job.src;
  if (scales) ScaleAlpha(job, scaled);
  kernels.light->to_linear(src, linear_src, job.n, tables);
  kernels.light->to_linear(job.dst, linear_dst, job.n, tables);
  if (scales && traits.scales_colour) ScaleColour(job, linear_src);
  std::copy_n(linear_dst, job.n, result);
  kernels.linear->row[mode - kFirstPipelineMode](
      {linear_src, result, nullptr, DepthTraits<L>::kFull, job.matte, job.n});
  kernels.light->from_linear({src, linear_src, linear_dst, result, job.dst, traits.copies, job.n}, tables);
}

template <class P>
void TransferRow(const RowKernels<P>& kernels, const PF_LinearBlendingTables* tables, std::int32_t mode,
                 const TransferJob<P>& job) {
  if (tables == nullptr) return kernels.stored->row[mode - kFirstPipelineMode](job);
  for (std::size_t i = 0; i < job.n; i += kLinearRun) {
    const std::size_t n = std::min(kLinearRun, job.n - i);
    TransferLinearRun<P>(
        kernels, *tables, mode,
        {job.src + i, job.dst + i, job.mask != nullptr ? job.mask + i : nullptr, job.opacity, job.matte, n});
  }
}

}  // namespace pf
