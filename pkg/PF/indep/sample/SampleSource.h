// What every sampler needs: the pixels of the source, the block of four neighbours, whole-pixel equality.
#pragma once

#include <cstdint>
#include <cstring>

#include "PF/PF_Sampling.h"
#include "pixel/Depth.h"
#include "pixel/Plane.h"

namespace pf {

// Positions are 16.16 in 64 bits: exports hand in 32, row kernels may leave them.
constexpr std::int64_t WholePart(std::int64_t position) { return position >> 16; }
constexpr std::uint32_t Fraction(std::int64_t position) { return static_cast<std::uint32_t>(position & 0xFFFF); }
constexpr bool Integral(std::int64_t x, std::int64_t y) { return Fraction(x) == 0 && Fraction(y) == 0; }

template <class P>
Plane<P> SourceOf(const PF_SampPB& params) {
  return PlaneOf<P>(*params.src);
}

template <class P>
bool Empty(const Plane<P>& src) {
  return src.width <= 0 || src.height <= 0;
}

template <class P>
bool Inside(const Plane<P>& src, std::int64_t i, std::int64_t j) {
  return i >= 0 && i < src.width && j >= 0 && j < src.height;
}

template <class P>
P PixelOrZero(const Plane<P>& src, std::int64_t i, std::int64_t j) {
  return Inside(src, i, j) ? *src.At(i, j) : P{};
}

// The neighbours of a position: itself, right, below, diagonal.
template <class P>
struct Block {
  P p00, p10, p01, p11;
};

template <class P>
bool SameBits(const P& a, const P& b) {
  return std::memcmp(&a, &b, sizeof(P)) == 0;
}

template <class P>
bool Uniform(const Block<P>& block) {
  return SameBits(block.p00, block.p10) && SameBits(block.p00, block.p01) && SameBits(block.p00, block.p11);
}

template <class P>
Block<P> TestedBlock(const Plane<P>& src, std::int64_t i, std::int64_t j) {
  return {PixelOrZero(src, i, j), PixelOrZero(src, i + 1, j), PixelOrZero(src, i, j + 1),
          PixelOrZero(src, i + 1, j + 1)};
}

// The nearest pixel, or the zero pixel; a position half-way goes to the higher index.
template <class P>
P SampleNearest(const PF_SampPB& params, std::int64_t x, std::int64_t y) {
  return PixelOrZero(SourceOf<P>(params), WholePart(x + 32768), WholePart(y + 32768));
}

}  // namespace pf
