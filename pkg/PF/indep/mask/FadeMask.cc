// Inversion and fading.
#include "PF/PF_Masks.h"
#include "edge/Guard.h"
#include "iterate/ForRows.h"
#include "mask/LockedMask.h"
#include "mask/MaskKernels.h"

namespace pf {
namespace {

// Calls f(T{}) with the type of the values of a checked mask; other depths are refused.
template <class F>
PF_Err WithValues(const PF_UnoBuffer* mask, F f) {
  CheckMask(mask);
  return DispatchDepth(
      mask->depth, [&]<class P>(P) -> PF_Err { return f(ChannelOf<P>{}); },
      []() -> PF_Err { return PF_Err_BAD_PARAMETER; });
}

// change(values, n) for every row, told as progress.
template <class T, class F>
PF_Err ChangeRows(const PF_ProgressInfo* progress, const PF_UnoBuffer* mask, const F& change) {
  if (mask->width <= 0) return PF_Err_NONE;
  const LockedMask locked(mask);
  const auto n = static_cast<std::size_t>(locked.width());
  return ForRows(progress, RowReports::kProgress, mask->height, [&](std::int32_t y) { change(locked.Row<T>(y), n); });
}

template <class T>
PF_Err InvertRows(const PF_ProgressInfo* progress, const PF_UnoBuffer* mask) {
  return ChangeRows<T>(progress, mask, InstalledKernels<T>().invert);
}

// QUIRK-22: 8-bit scales above full invert only, 16-bit ones also brighten.
template <class T>
constexpr bool IsPureInversion(ScaleOf<T> scale) {
  return std::is_same_v<T, std::uint8_t> ? scale >= kFullCoverage<T> : scale == kFullCoverage<T>;
}

template <class T>
PF_Err InvertAndFadeRows(const PF_ProgressInfo* progress, ScaleOf<T> scale, const PF_UnoBuffer* mask) {
  if (IsPureInversion<T>(scale)) return InvertRows<T>(progress, mask);
  const auto kernel = InstalledKernels<T>().invert_and_fade;
  return ChangeRows<T>(progress, mask, [=](T* values, std::size_t n) { kernel(values, n, scale); });
}

template <class T>
PF_Err FadeAll(ScaleOf<T> scale, const PF_UnoBuffer* mask) {
  if (scale == kFullCoverage<T> || mask->width <= 0 || mask->height <= 0) return PF_Err_NONE;
  const LockedMask locked(mask);
  InstalledKernels<T>().fade(locked.Row<T>(0), static_cast<std::size_t>(locked.width() * locked.height()), scale);
  return PF_Err_NONE;
}

}  // namespace
}  // namespace pf

PF_Err PF_InvertUnoBuffer(const PF_ProgressInfo* progress, PF_UnoBuffer* mask) {
  return pf::Guard([&] { return pf::WithValues(mask, [&]<class T>(T) { return pf::InvertRows<T>(progress, mask); }); });
}

PF_Err PF_InvertAndFadeUnoBuffer(const PF_ProgressInfo* progress, std::int32_t fade, PF_UnoBuffer* mask) {
  return pf::Guard([&] {
    return pf::WithValues(
        mask, [&]<class T>(T) { return pf::InvertAndFadeRows<T>(progress, pf::FadeScaleOfFixed<T>(fade), mask); });
  });
}

PF_Err PF_FadeUnoBuffer(const PF_ProgressInfo*, float fade, PF_UnoBuffer* mask) {
  return pf::Guard(
      [&] { return pf::WithValues(mask, [&]<class T>(T) { return pf::FadeAll<T>(pf::FadeScale<T>(fade), mask); }); });
}
