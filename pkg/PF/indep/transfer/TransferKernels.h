// Rows of pixels laid onto rows of pixels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_TransferModes.h"
#include "pixel/Depth.h"

namespace pf {

// A row of one mode in the list.
struct ModeRow {
  std::int32_t number;
  const char* name;
  std::int32_t flag;
};

// Modes -3 to 40 stand at mode + 3; -1 is empty.
inline constexpr std::int32_t kFirstPipelineMode = PF_Xfer_PremulOntoPremul;
inline constexpr std::int32_t kPipelineModes = PF_Xfer_COUNT - kFirstPipelineMode;
constexpr bool IsPipelineMode(std::int32_t mode) {
  return mode >= kFirstPipelineMode && mode < PF_Xfer_COUNT && mode != -1;
}
// What is to be known of a mode without running it.
struct TransferTraits {
  ModeRow row;
  bool copies;         // there are pixels that it copies whole
  bool scales_colour;  // opacities scale the source's colour too
  bool matte;          // it cuts the destination's alpha to the source's
};
// Of a mode of the pipeline.
const TransferTraits& TraitsOf(std::int32_t mode);

// n pixels of a depth onto n of the same depth. `mask` holds n values of the depth, or is null; the opacity scales
// first, then the mask. Neither is above full at 16 bits. `src` and `dst` are the same address or do not overlap.
template <class P>
struct TransferJob {
  const P* src;
  P* dst;
  const ChannelOf<P>* mask;
  ChannelOf<P> opacity;
  // Whether the modes that cut the destination's alpha to the source's (-2, 17, 18) do so where the source is
  // transparent; otherwise nothing happens there.
  bool matte;
  std::size_t n;
};

template <class P>
struct TransferKernels {
  using Row = void (*)(const TransferJob<P>& job);
  Row row[kPipelineModes];  // [mode - kFirstPipelineMode]; null for -1
};

// Plain C++: the reference.
extern const TransferKernels<PF_Pixel8> kPortableTransferKernels8;
extern const TransferKernels<PF_Pixel16> kPortableTransferKernels16;
extern const TransferKernels<PF_PixelFloat> kPortableTransferKernelsFloat;
// The widest targets that are allowed.
const TransferKernels<PF_Pixel8>& VectorTransferKernels8();
const TransferKernels<PF_Pixel16>& VectorTransferKernels16();
const TransferKernels<PF_PixelFloat>& VectorTransferKernelsFloat();

}  // namespace pf
