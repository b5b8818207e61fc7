// Rows of a source, and of a mask on it, laid onto rows of a world.
#pragma once

#include <cstddef>
#include <cstdint>

#include "composite/TransferArea.h"
#include "lifecycle/Globals.h"
#include "mask/ConvertValues.h"
#include "mask/LockedMask.h"
#include "pixel/Depth.h"
#include "pixel/Plane.h"
#include "transfer/TransferRow.h"
#include "world/AlphaKernels.h"

namespace pf {

// What the host has chosen.
template <class P>
RowKernels<P> InstalledRowKernels() {
  const KernelSet kernels = g_kernels.Get();
  if constexpr (std::is_same_v<P, PF_Pixel8>) {
    return {kernels.transfer8, kernels.transfer16, &kernels.linear_light->of8};
  } else if constexpr (std::is_same_v<P, PF_Pixel16>) {
    return {kernels.transfer16, kernels.transfer16, &kernels.linear_light->of16};
  } else {
    return {kernels.transfer_float, kernels.transfer_float, &kernels.linear_light->of_float};
  }
}

// One operation on pixels of one depth. Everything is in coordinates of the destination; rows are independent.
template <class P>
class TransferRows {
 public:
  std::int32_t mode;
  ChannelOf<P> opacity;
  const PF_LinearBlendingTables* tables;
  Plane<P> dst;
  Box target;   // inside the destination
  Box present;  // where source and mask are, inside the target

  // The source: pixels, or one colour everywhere.
  Plane<P> src;
  std::int64_t src_h, src_v;  // from the destination to the source
  const P* colour;            // kRun pixels, or null
  bool premultiplied;

  const LockedMask* mask;  // or null
  std::int64_t mask_h, mask_v;

  static constexpr std::int64_t kRun = 256;

  void Row(std::int64_t y) const {
    const bool matte = TraitsOf(mode).matte;
    if (!present.rows.Has(y) || present.columns.Empty()) {
      if (matte) Absent(y, target.columns);
      return;
    }
    if (matte) {
      Absent(y, {target.columns.begin, present.columns.begin});
      Absent(y, {present.columns.end, target.columns.end});
    }
    if (colour == nullptr && !premultiplied && (mask == nullptr || MaskFits())) {
      return Lay(SourceAt(present.columns.begin, y), MaskAt(present.columns.begin, y), y, present.columns);
    }
    for (std::int64_t x = present.columns.begin; x < present.columns.end; x += kRun) {
      Run(y, {x, std::min(x + kRun, present.columns.end)});
    }
  }

 private:
  // Whether the mask's values go into the kernel as they are.
  bool MaskFits() const { return mask->depth() == DepthTraits<P>::kDepth && mask->depth() != 16; }
  const ChannelOf<P>* MaskAt(std::int64_t x, std::int64_t y) const {
    return mask == nullptr ? nullptr : reinterpret_cast<const ChannelOf<P>*>(mask->At(x + mask_h, y + mask_v));
  }
  const P* SourceAt(std::int64_t x, std::int64_t y) const { return src.At(x + src_h, y + src_v); }

  // At most kRun pixels.
  void Run(std::int64_t y, const Span& columns) const {
    P straight[kRun];
    ChannelOf<P> coverage[kRun];
    const auto n = static_cast<std::size_t>(columns.end - columns.begin);
    const P* from = colour != nullptr ? colour : SourceAt(columns.begin, y);
    if (premultiplied) {
      g_kernels.alpha.load()->unmultiply[DepthIndex(DepthTraits<P>::kDepth)](from, straight, n);
      from = straight;
    }
    if (mask != nullptr) {
      ConvertLimited(DepthIndex(mask->depth()), DepthIndex(DepthTraits<P>::kDepth),
                     mask->At(columns.begin + mask_h, y + mask_v), coverage, static_cast<std::int64_t>(n));
      if constexpr (std::is_same_v<P, PF_Pixel16>) {
        for (std::size_t i = 0; mask->depth() == 16 && i < n; ++i) {
          coverage[i] = std::min<std::uint16_t>(coverage[i], PF_MAX_CHAN16);
        }
      }
    }
    Lay(from, mask != nullptr ? coverage : nullptr, y, columns);
  }

  void Absent(std::int64_t y, const Span& columns) const {
    const P nothing[kRun] = {};
    for (std::int64_t x = columns.begin; x < columns.end; x += kRun) {
      Lay(nothing, nullptr, y, {x, std::min(x + kRun, columns.end)});
    }
  }

  void Lay(const P* from, const ChannelOf<P>* coverage, std::int64_t y, const Span& columns) const {
    const TransferJob<P> job = {
        from,    dst.At(columns.begin, y), coverage,
        opacity, TraitsOf(mode).matte,     static_cast<std::size_t>(columns.end - columns.begin)};
    TransferRow(InstalledRowKernels<P>(), tables, mode, job);
  }
};

}  // namespace pf
