// Rows of the picture: from premultiplied floats to pixels.
#pragma once

#include <cstddef>
#include <cstdint>

#include "PF/PF_Worlds.h"
#include "motion/Pictures.h"

namespace pf {

// What the pixels of both frames allow.
struct PixelRange {
  bool opaque;           // every alpha is full
  float least, largest;  // colours
};

// `row` as the kernels leave it, on the scale of the depth.
void FinishPixels(const float* row, std::int32_t width, const PixelRange& range, std::int32_t depth, std::byte* pixels);

// Samples of float frames that are not finite come back at the pixels they fall on.
void PutBack(const PF_World& previous, const PF_World& next, const FetchRow& row, std::byte* pixels);

}  // namespace pf
