#include "lifecycle/Globals.h"

#include "blend/BlendKernels.h"
#include "copy/ReplicateKernels.h"
#include "filter/LaneKernels.h"
#include "filter/PlaneKernels.h"
#include "filter/WideKernels.h"
#include "mask/MaskCombineKernels.h"
#include "mask/MaskKernels.h"
#include "paint/PaintKernels.h"
#include "planes/MotionKernels.h"
#include "sample/SampleKernels.h"
#include "transfer/LinearKernels.h"
#include "transfer/TransferKernels.h"
#include "world/AlphaKernels.h"
#include "world/ConvertKernels.h"

namespace pf {

const KernelSet kPortableKernels = {
    &kPortableConvertKernels,       &kPortableAlphaKernels,       &kPortableSampleKernels,
    &kPortableReplicateKernels,     &kPortableMaskKernels,        &kPortablePaintKernels,
    &kPortableBlendKernels,         &kPortableMaskCombineKernels, &kPortablePlaneKernels,
    &kPortableWideKernels,          &kPortableTransferKernels8,   &kPortableTransferKernels16,
    &kPortableTransferKernelsFloat, &kPortableLinearLightKernels, &kPortableBlurKernels,
    &kPortableMotionKernels};

KernelSet VectorKernels() {
  return {&VectorConvertKernels(),       &VectorAlphaKernels(),       &VectorSampleKernels(),
          &VectorReplicateKernels(),     &VectorMaskKernels(),        &VectorPaintKernels(),
          &VectorBlendKernels(),         &VectorMaskCombineKernels(), &VectorPlaneKernels(),
          &VectorWideKernels(),          &VectorTransferKernels8(),   &VectorTransferKernels16(),
          &VectorTransferKernelsFloat(), &VectorLinearLightKernels(), &VectorBlurKernels(),
          &VectorMotionKernels()};
}

void KernelSlots::Set(const KernelSet& kernels) {
  convert = kernels.convert;
  alpha = kernels.alpha;
  sample = kernels.sample;
  replicate = kernels.replicate;
  mask = kernels.mask;
  paint = kernels.paint;
  blend = kernels.blend;
  mask_combine = kernels.mask_combine;
  plane = kernels.plane;
  wide = kernels.wide;
  transfer8 = kernels.transfer8;
  transfer16 = kernels.transfer16;
  transfer_float = kernels.transfer_float;
  linear_light = kernels.linear_light;
  blur = kernels.blur;
  motion = kernels.motion;
}

KernelSet KernelSlots::Get() const {
  return {convert, alpha, sample,    replicate,  mask,           paint,        blend, mask_combine,
          plane,   wide,  transfer8, transfer16, transfer_float, linear_light, blur,  motion};
}

constinit KernelSlots g_kernels = {
    &kPortableConvertKernels,       &kPortableAlphaKernels,       &kPortableSampleKernels,
    &kPortableReplicateKernels,     &kPortableMaskKernels,        &kPortablePaintKernels,
    &kPortableBlendKernels,         &kPortableMaskCombineKernels, &kPortablePlaneKernels,
    &kPortableWideKernels,          &kPortableTransferKernels8,   &kPortableTransferKernels16,
    &kPortableTransferKernelsFloat, &kPortableLinearLightKernels, &kPortableBlurKernels,
    &kPortableMotionKernels};
constinit std::atomic<const void*> g_lookup_table[256] = {};
constinit std::atomic<std::int64_t> g_live_worlds{0};
constinit std::atomic<std::int64_t> g_live_chunks{0};
constinit DitherState g_dither = {};
constinit std::atomic<int> g_host_versions{0};
constinit std::atomic<PF_ColorSettings*> g_emergency_settings{nullptr};
constinit StartState g_start = {};

}  // namespace pf
