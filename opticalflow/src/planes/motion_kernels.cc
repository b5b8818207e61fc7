#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "planes/motion_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include <algorithm>
#include <cmath>

#include "planes/FlowLanes-inl.h"
#include "planes/MotionKernels.h"
#include "simd/PlainLanes.h"

#define PF_INLINE HWY_INLINE

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const MotionKernels* MotionKernelsOfTarget() { return &kPortableMotionKernels; }

#else

#include "planes/Stencils-body.h"
//
#include "planes/Colour-body.h"
#include "planes/Fit-body.h"
#include "planes/Refine-body.h"
#include "planes/Search-body.h"
//
#include "planes/Kernels-body.h"

const MotionKernels* MotionKernelsOfTarget() { return &kKernels; }

#endif

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace pf {

HWY_EXPORT(MotionKernelsOfTarget);
const MotionKernels& VectorMotionKernels() { return *HWY_DYNAMIC_DISPATCH(MotionKernelsOfTarget)(); }

}  // namespace pf

#endif
