// Depth conversion and the alpha conventions channel by channel: integers as exact quotients, floats in
// double rounded to single precision after each step.
#pragma once

#include <cstdint>

#include "PF/PF_Types.h"

namespace pftest {

// Low 8 or 16 bits of what alpha becomes at `depth`, 8 or 16.
std::uint32_t ReferenceAlphaFromFloat(float v, int depth);
std::uint32_t ReferenceColourFromFloat(float v, int depth);

// One pixel from depth `from` to depth `to`; with four random values 16 to 8 bits is dithered.
void ReferenceConvert(int from, const void* in, int to, void* out, const std::uint32_t* random = nullptr);

// One colour channel of a pixel. `m` is the matte's channel.
std::uint8_t ReferencePremultiply(std::uint8_t c, std::uint8_t a);
std::uint16_t ReferencePremultiply(std::uint16_t c, std::uint16_t a);
float ReferencePremultiply(float c, float a);
std::uint8_t ReferenceUnmultiply(std::uint8_t c, std::uint8_t a);
std::uint16_t ReferenceUnmultiply(std::uint16_t c, std::uint16_t a);
float ReferenceUnmultiply(float c, float a);
std::uint8_t ReferenceOntoMatte(std::uint8_t c, std::uint8_t a, std::uint8_t m);
std::uint16_t ReferenceOntoMatte(std::uint16_t c, std::uint16_t a, std::uint16_t m);
float ReferenceOntoMatte(float c, float a, float m);
std::uint8_t ReferenceWithoutMatte(std::uint8_t c, std::uint8_t a, std::uint8_t m);
std::uint16_t ReferenceWithoutMatte(std::uint16_t c, std::uint16_t a, std::uint16_t m);
float ReferenceWithoutMatte(float c, float a, float m);

}  // namespace pftest
