// Runs of pixels between stored values and linear light.
#pragma once

#include <cstddef>
#include <type_traits>

#include "PF/PF_ColorSettings.h"
#include "pixel/Depth.h"

namespace pf {

// Modes of 8 bits run on 16-bit linear values.
template <class P>
using LinearPixel = std::conditional_t<std::is_same_v<P, PF_PixelFloat>, PF_PixelFloat, PF_Pixel16>;

// Pixels before a mode has run, as they are stored and in linear light, and what the mode made of the latter.
template <class P>
struct LinearJob {
  const P* src;  // with the effective alpha
  const LinearPixel<P>* linear_src;
  const LinearPixel<P>* linear_dst;
  const LinearPixel<P>* result;
  P* dst;  // replaced by the stored values of the result
  bool copies;
  std::size_t n;
};

// No run overlaps another.
template <class P>
struct LinearKernels {
  void (*to_linear)(const P* in, LinearPixel<P>* out, std::size_t n, const PF_LinearBlendingTables& tables);
  // QUIRK-41: where the mode left a channel its linear value, it keeps its stored one. A pixel that has become the
  // source's, in a mode that copies whole pixels, becomes the source as it is stored.
  void (*from_linear)(const LinearJob<P>& job, const PF_LinearBlendingTables& tables);
};

struct LinearLightKernels {
  LinearKernels<PF_Pixel8> of8;
  LinearKernels<PF_Pixel16> of16;
  LinearKernels<PF_PixelFloat> of_float;

  template <class P>
  const LinearKernels<P>& Of() const {
    if constexpr (std::is_same_v<P, PF_Pixel8>) {
      return of8;
    } else if constexpr (std::is_same_v<P, PF_Pixel16>) {
      return of16;
    } else {
      return of_float;
    }
  }
};

// Plain C++: the reference.
extern const LinearLightKernels kPortableLinearLightKernels;
// The widest target that is allowed.
const LinearLightKernels& VectorLinearLightKernels();

}  // namespace pf
