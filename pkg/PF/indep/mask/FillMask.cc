// Constants into masks.
#include <cstdio>

#include "PF/PF_Masks.h"
#include "edge/Guard.h"
#include "mask/LockedMask.h"
#include "mask/MaskKernels.h"
#include "report/Report.h"
#include "world/SubRect.h"

namespace pf {
namespace {

// Bytes of a value of a depth that can be filled; 0 for others.
constexpr std::size_t FillableBytes(std::int32_t depth) {
  const bool known = depth == 0 || depth == 1 || depth == 8 || depth == 16 || depth == 32;
  return known ? static_cast<std::size_t>(ValueBytes(depth)) : 0;
}

// The caller's duty, caught in the checked build.
bool IsInside(const M_LRect& rect, const PF_UnoBuffer& mask) {
  return rect.left >= 0 && rect.top >= 0 && rect.right <= mask.width && rect.bottom <= mask.height;
}

PF_Err FailOutside(const char* name) {
  char text[96];
  std::snprintf(text, sizeof(text), "rectangle outside the mask in %s", name);
  return FailVerification(text, Site::kMask);
}

// Of a checked mask. QUIRK-28: values of another size are refused.
template <class T>
PF_Err FillRect(T value, const M_LRect& rect, PF_UnoBuffer* mask, const char* name) {
  if (FillableBytes(mask->depth) != sizeof(T)) return PF_Err_BAD_PARAMETER;
  const std::int64_t columns = std::int64_t{rect.right} - rect.left;
  const std::int64_t rows = std::int64_t{rect.bottom} - rect.top;
  if (columns <= 0 || rows <= 0) return PF_Err_NONE;
  if (kChecked && !IsInside(rect, *mask)) return FailOutside(name);
  const auto fill = InstalledKernels<T>().fill;
  const LockedMask locked(mask);
  const auto at = [&](std::int64_t y) { return locked.Row<T>(y) + rect.left; };
  if (columns == locked.width()) {
    fill(at(rect.top), static_cast<std::size_t>(rows * columns), value);
    return PF_Err_NONE;
  }
  for (std::int64_t y = rect.top; y < rect.bottom; ++y) fill(at(y), static_cast<std::size_t>(columns), value);
  return PF_Err_NONE;
}

template <class T>
PF_Err Fill(T value, const M_LRect* rect, PF_UnoBuffer* mask, const char* name) {
  return Guard([&] {
    CheckMask(mask);
    return FillRect(value, rect != nullptr ? *rect : M_LRect{0, 0, mask->width, mask->height}, mask, name);
  });
}

}  // namespace
}  // namespace pf

PF_Err PF_FillUnoBuffer(std::uint8_t value, PF_UnoBuffer* mask) {
  return pf::Guard([&]() -> PF_Err {
    pf::CheckMask(mask);
    if (mask->width <= 0 || mask->height <= 0) return PF_Err_NONE;
    const pf::LockedMask locked(mask);
    // QUIRK-25
    const auto bytes = static_cast<std::size_t>(locked.stride() * locked.height());
    pf::InstalledKernels<std::uint8_t>().fill(locked.Row<std::uint8_t>(0), bytes, value);
    return PF_Err_NONE;
  });
}

PF_Err PF_FillUnoBuffer(std::uint8_t value, const M_LRect& rect, PF_UnoBuffer* mask) {
  return pf::Fill(value, &rect, mask, "PF_FillUnoBuffer");
}

PF_Err PF_FillDeepUnoBuffer(std::uint16_t value, PF_UnoBuffer* mask) {
  return pf::Fill(value, nullptr, mask, "PF_FillDeepUnoBuffer");
}

PF_Err PF_FillDeepUnoBuffer(std::uint16_t value, const M_LRect& rect, PF_UnoBuffer* mask) {
  return pf::Fill(value, &rect, mask, "PF_FillDeepUnoBuffer");
}

PF_Err PF_FillFloatUnoBuffer(float value, PF_UnoBuffer* mask) {
  return pf::Fill(value, nullptr, mask, "PF_FillFloatUnoBuffer");
}
