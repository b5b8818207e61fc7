#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transfer/transfer_float_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "transfer/Transfer-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const TransferKernels<PF_PixelFloat>* TransferKernelsOfTarget() { return &kPortableTransferKernelsFloat; }

#else

constexpr TransferKernels<PF_PixelFloat> kKernels = KernelsOf<PF_PixelFloat>(PipelineModes(), TableModes());

const TransferKernels<PF_PixelFloat>* TransferKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(TransferKernelsOfTarget);

const TransferKernels<PF_PixelFloat>& VectorTransferKernelsFloat() {
  return *HWY_DYNAMIC_DISPATCH(TransferKernelsOfTarget)();
}

}  // namespace pf
#endif
