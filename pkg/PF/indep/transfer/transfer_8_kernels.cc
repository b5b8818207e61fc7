#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transfer/transfer_8_kernels.cc"
#include <hwy/foreach_target.h>
//
#include <hwy/highway.h>

#include "transfer/Transfer-inl.h"

HWY_BEFORE_NAMESPACE();
namespace pf {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

const TransferKernels<PF_Pixel8>* TransferKernelsOfTarget() { return &kPortableTransferKernels8; }

#else

constexpr TransferKernels<PF_Pixel8> kKernels = KernelsOf<PF_Pixel8>(PipelineModes(), TableModes());

const TransferKernels<PF_Pixel8>* TransferKernelsOfTarget() { return &kKernels; }

#endif  // HWY_TARGET

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace pf
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace pf {

HWY_EXPORT(TransferKernelsOfTarget);

const TransferKernels<PF_Pixel8>& VectorTransferKernels8() { return *HWY_DYNAMIC_DISPATCH(TransferKernelsOfTarget)(); }

}  // namespace pf
#endif
