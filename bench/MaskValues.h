// Masks beside the pictures that they are made from.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Masks.h"
#include "Picture.h"

namespace pfbench {

// f(value, alpha) for every value of a mask and the alpha of the same pixel.
template <class F>
void ForValues(const PF_UnoBuffer& mask, const Picture& picture, F f) {
  WithChannel(picture.depth(), [&](auto zero) {
    using Value = decltype(zero);
    auto* const values = static_cast<Value*>(*mask.data);
    for (std::int32_t y = 0; y < mask.height; ++y) {
      for (std::int32_t x = 0; x < mask.width; ++x) {
        f(values[std::ptrdiff_t{y} * mask.width + x], picture.row<Value>(y)[4 * x]);
      }
    }
  });
}

}  // namespace pfbench
