#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transfer/transfer_16_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "transfer/Transfer-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const TransferKernels<PF_Pixel16>* TransferKernelsOfTarget() { return &kPortableTransferKernels16; }

#else

constexpr TransferKernels<PF_Pixel16> kKernels = KernelsOf<PF_Pixel16>(PipelineModes(), TableModes());

const TransferKernels<PF_Pixel16>* TransferKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(TransferKernelsOfTarget);

const TransferKernels<PF_Pixel16>& VectorTransferKernels16() {
  return *HWY_DYNAMIC_DISPATCH(TransferKernelsOfTarget)();
}

}  // namespace pf
#endif
