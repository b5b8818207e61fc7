#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sample/sample_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "sample/SampleKernels.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128  // emulation does not pay

const SampleKernels* Kernels() { return &kPortableSampleKernels; }

#else

// From the other kernel files, for this target.
SampleKernels::Pair BilinearStraight(int depth_index);
SampleKernels::Pair BilinearPremul(int depth_index);
SampleKernels::Pair Area(bool straight, int depth_index);

SampleKernels MakeKernels() {
  SampleKernels kernels = kPortableSampleKernels;
  for (int depth = 0; depth < 3; ++depth) {
    kernels.bilinear_straight[depth] = BilinearStraight(depth);
    kernels.bilinear_premul[depth] = BilinearPremul(depth);
    kernels.area_straight[depth] = Area(true, depth);
    kernels.area_premul[depth] = Area(false, depth);
  }
  kernels.flush = [] { hwy::FlushStream(); };
  return kernels;
}

const SampleKernels* Kernels() {
  static const SampleKernels kernels = MakeKernels();
  return &kernels;
}

#endif  // HWY_TARGET

}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(Kernels);

const SampleKernels& VectorSampleKernels() { return *HWY_DYNAMIC_DISPATCH(Kernels)(); }

}  // namespace pf
#endif
