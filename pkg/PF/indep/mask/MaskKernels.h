// Kernels of one mask, and of a mask and a world.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "lifecycle/Globals.h"
#include "mask/MaskMath.h"

namespace pf {

// In place, on n values that need no alignment beyond their type's.
template <class T>
struct ValueKernels {
  void (*fill)(T* values, std::size_t n, T value);
  void (*invert)(T* values, std::size_t n);
  // Scales, or inverts and then scales. Any scale, that of full too.
  void (*fade)(T* values, std::size_t n, ScaleOf<T> scale);
  void (*invert_and_fade)(T* values, std::size_t n, ScaleOf<T> scale);
};

struct MaskKernels {
  // Multiplies the alpha of n pixels by n values.
  using MergeRow = void (*)(void* pixels, const void* values, std::size_t n);

  ValueKernels<std::uint8_t> of8;
  ValueKernels<std::uint16_t> of16;
  ValueKernels<float> of_float;
  MergeRow merge[3][2];  // [DepthIndex(world)][DepthIndex(mask)]

  template <class T>
  const ValueKernels<T>& Of() const {
    if constexpr (std::is_same_v<T, std::uint8_t>) {
      return of8;
    } else if constexpr (std::is_same_v<T, std::uint16_t>) {
      return of16;
    } else {
      return of_float;
    }
  }
};

// Plain C++: the reference.
extern const MaskKernels kPortableMaskKernels;
// The widest target that is allowed.
const MaskKernels& VectorMaskKernels();

// Those that are in use.
template <class T>
const ValueKernels<T>& InstalledKernels() {
  return g_kernels.mask.load(std::memory_order_relaxed)->template Of<T>();
}

}  // namespace pf
