// After: vector kernels that read or write past the row, treat a tail otherwise, or differ from the
// portable ones in a single bit of any input. The portable ones are held against the reference.
#include "world/ConvertKernels.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <cstring>

#include "reference/Conversion.h"
#include "support/Targets.h"
#include "support/Worlds.h"

namespace {

using pf::ConvertKernels;
using pftest::GuardedMemory;
using pftest::Random;

constexpr int kDepths[] = {8, 16, 32};

std::size_t PixelSize(int depth) { return static_cast<std::size_t>(depth) / 2; }

float AnyFloat(std::uint64_t bits) {
  constexpr float kEdges[] = {0.0f,     -0.0f,     1.0f,       0.5f,        1.5f,     -1.5f,     1e-40f,     -1e-40f,
                              INFINITY, -INFINITY, NAN,        -NAN,        65535.9f, -65536.f,  3e38f,      -3e38f,
                              -0.0002f, 127.49f,   8421505.0f, -8421505.0f, 65536.0f, 1.000001f, 0.99999994f};
  if (bits % 3 == 0) return kEdges[bits / 3 % std::size(kEdges)];
  if (bits % 3 == 1) return (static_cast<float>(bits >> 8 & 0xFFFF) + 0.5f) / 32768.0f - 0.5f;
  float v;
  std::memcpy(&v, &bits, 4);
  return v;
}

// n pixels that end at a faulting page. Every value of the integer depths comes, in order, when n is 65536.
void FillRow(int depth, const GuardedMemory& row, std::size_t n, Random& random) {
  for (std::size_t i = 0; i < 4 * n; ++i) {
    const std::uint64_t bits = n == 65536 ? i / 4 : random();
    const float v = AnyFloat(random());
    const std::size_t size = PixelSize(depth) / 4;
    std::memcpy(row.data() + i * size, depth == 32 ? static_cast<const void*>(&v) : &bits, size);
  }
}

// Compares kernels on a row of n pixels, converted to every depth and with dither, with the reference.
void ExpectRows(const ConvertKernels& kernels, int from, std::size_t n, std::size_t offset, Random& random) {
  GuardedMemory in(n * PixelSize(from)), noise(n * 16);
  FillRow(from, in, n, random);
  FillRow(32, noise, n, random);
  const auto* values = reinterpret_cast<const std::uint32_t*>(noise.data());
  for (const int to : {8, 16, 32, 0}) {  // 0: dithered to 8
    const bool dither = to == 0;
    if (dither && from != 16) continue;
    const int depth = dither ? 8 : to;
    GuardedMemory out((n + offset) * PixelSize(depth)), expected((n + offset) * PixelSize(depth));
    std::byte* first = out.data() + offset * PixelSize(depth);
    if (dither) {
      kernels.dither16to8(in.data(), first, values, n);
    } else {
      kernels.row[pf::DepthIndex(from)][pf::DepthIndex(to)](in.data(), first, n);
    }
    for (std::size_t i = 0; i < n; ++i) {
      pftest::ReferenceConvert(from, in.data() + i * PixelSize(from), depth,
                               expected.data() + (offset + i) * PixelSize(depth), dither ? values + 4 * i : nullptr);
    }
    // The bytes before the row are compared too: they still hold what guarded memory starts with.
    ASSERT_EQ(std::memcmp(out.data(), expected.data(), out.size()), 0)
        << from << " to " << to << ", " << n << " pixels";
  }
}

void ExpectAll(const ConvertKernels& kernels) {
  Random random(2);
  for (const int from : kDepths) {
    for (std::size_t n = 0; n <= 67; ++n) ExpectRows(kernels, from, n, n % 5, random);
    ExpectRows(kernels, from, 65536, 0, random);
  }
}

TEST(ConvertKernels, PortableRowsAreTheReference) { ExpectAll(pf::kPortableConvertKernels); }

TEST(ConvertKernels, EveryTargetGivesTheSameBitsForEveryWidthAndValue) {
  pftest::ForEachTarget(&pf::VectorConvertKernels, ExpectAll);
}

}  // namespace
