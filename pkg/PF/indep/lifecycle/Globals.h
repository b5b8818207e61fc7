// Every mutable global of the library, with who writes it and when. All are atomic or written at
// start-up only; none needs a lock. Four live with the only code that may touch them: the replaceable
// functions (dispatch/Slot.h, and dispatch/OverrideTable.cc for free entries; written by PF_Birth and
// PF_SetOverrideFunc) and the kept scratch blocks (report/HostMemory.cc and, of frame blending, multiprocess/Workspace.cc;
// written by whoever needs scratch, PF_FreeUpSomeMemory and PF_Death).
#pragma once

#include <atomic>
#include <cstdint>

#include "PF/PF_Types.h"
#include "host/LIST.h"

class PF_ColorSettings;

namespace pf {

struct ConvertKernels;
struct AlphaKernels;
struct SampleKernels;
struct ReplicateKernels;
struct MaskKernels;
struct PaintKernels;
struct BlendKernels;
struct MaskCombineKernels;
struct PlaneKernels;
struct WideKernels;
template <class P>
struct TransferKernels;
struct LinearLightKernels;
struct BlurKernels;
struct MotionKernels;

// One choice of kernels for every concern.
struct KernelSet {
  const ConvertKernels* convert;
  const AlphaKernels* alpha;
  const SampleKernels* sample;
  const ReplicateKernels* replicate;
  const MaskKernels* mask;
  const PaintKernels* paint;
  const BlendKernels* blend;
  const MaskCombineKernels* mask_combine;
  const PlaneKernels* plane;
  const WideKernels* wide;
  const TransferKernels<PF_Pixel8>* transfer8;
  const TransferKernels<PF_Pixel16>* transfer16;
  const TransferKernels<PF_PixelFloat>* transfer_float;
  const LinearLightKernels* linear_light;
  const BlurKernels* blur;
  const MotionKernels* motion;
};
// Plain C++: the reference.
extern const KernelSet kPortableKernels;
// The widest targets that are allowed at the moment of the call.
KernelSet VectorKernels();

// Routine slots: portable from the start; PF_Birth sets them again and then, where the CPU allows, to
// the vector kernels. Read by every operation of their concern.
struct KernelSlots {
  std::atomic<const ConvertKernels*> convert;
  std::atomic<const AlphaKernels*> alpha;
  std::atomic<const SampleKernels*> sample;
  std::atomic<const ReplicateKernels*> replicate;
  std::atomic<const MaskKernels*> mask;
  std::atomic<const PaintKernels*> paint;
  std::atomic<const BlendKernels*> blend;
  std::atomic<const MaskCombineKernels*> mask_combine;
  std::atomic<const PlaneKernels*> plane;
  std::atomic<const WideKernels*> wide;
  std::atomic<const TransferKernels<PF_Pixel8>*> transfer8;
  std::atomic<const TransferKernels<PF_Pixel16>*> transfer16;
  std::atomic<const TransferKernels<PF_PixelFloat>*> transfer_float;
  std::atomic<const LinearLightKernels*> linear_light;
  std::atomic<const BlurKernels*> blur;
  std::atomic<const MotionKernels*> motion;

  void Set(const KernelSet& kernels);
  KernelSet Get() const;
};
extern constinit KernelSlots g_kernels;

// Kept beside the slots; cleared by PF_Birth. One entry for each 8-bit value.
extern constinit std::atomic<const void*> g_lookup_table[256];

// Counts; changed by whatever allocates or frees.
extern constinit std::atomic<std::int64_t> g_live_worlds;
extern constinit std::atomic<std::int64_t> g_live_chunks;

// The dither sequence. Start and length: PF_Birth. Cursor: conversions with dither, each reserving its
// run, and PF_ResetDitherRandomIndex.
struct DitherState {
  std::atomic<const std::uint32_t*> start;
  std::atomic<std::int64_t> length;
  std::atomic<std::int64_t> cursor;
};
extern constinit DitherState g_dither;

// Whether the host libraries have been asked for their versions, and what came of it: 0 not asked,
// 1 accepted, 2 refused. Written by the first PF_CheckVersions.
extern constinit std::atomic<int> g_host_versions;

// Null until somebody asks for them; written by PF_GetEmergencyColorSettings and PF_Death.
extern constinit std::atomic<PF_ColorSettings*> g_emergency_settings;

// What PF_Birth prepared and PF_Death gives back.
struct StartState {
  std::atomic<bool> geometry_prepared;
  std::atomic<void*> geometry;
  std::atomic<LIST_List> routines;
};
extern constinit StartState g_start;

}  // namespace pf
