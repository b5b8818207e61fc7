// After: vector kernels that read or write past the row, treat a tail otherwise, or differ from the
// portable ones in a single bit of any input. The portable ones are held against the reference.
#include "world/ConvertKernels.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "reference/Conversion.h"
#include "support/Worlds.h"

namespace {

using pf::ConvertKernels;
using pftest::GuardedMemory;
using pftest::Random;

constexpr int kDepths[] = {8, 16, 32};

std::size_t PixelSize(int depth) { return static_cast<std::size_t>(depth) / 2; }

// Runs the body for every target of this machine.
template <class F>
void ForEachTarget(F f) {
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
    SCOPED_TRACE(hwy::TargetName(target));
    f(pf::VectorConvertKernels());
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

// n pixels of every kind of value that a depth can hold, beginning anywhere in a list of them.
void FillInput(int depth, std::byte* out, std::size_t n, Random& random) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  constexpr float kEdges[] = {0.0f,      -0.0f,      1.0f,     0.5f,  1.5f,        -1.5f,      1e-40f,     -1e-40f,
                              kInfinity, -kInfinity, NAN,      -NAN,  0.99999994f, 1.0000001f, 8421505.0f, -8421505.0f,
                              65535.9f,  -65536.0f,  65536.0f, 3e38f, -3e38f,      -0.002f,    0.00195f,   127.49f};
  for (std::size_t i = 0; i < 4 * n; ++i) {
    const std::uint64_t bits = random();
    if (depth == 8) std::memcpy(out + i, &bits, 1);
    if (depth == 16) std::memcpy(out + 2 * i, &bits, 2);
    if (depth != 32) continue;
    const float near_range = static_cast<float>(bits >> 40) * 0x1p-23f - 0.5f;
    const void* source = bits % 3 == 0   ? static_cast<const void*>(&kEdges[bits / 3 % std::size(kEdges)])
                         : bits % 3 == 1 ? static_cast<const void*>(&near_range)
                                         : static_cast<const void*>(&bits);
    std::memcpy(out + 4 * i, source, 4);
  }
}

std::string Where(int from, int to, std::size_t n) {
  return std::to_string(from) + " to " + std::to_string(to) + ", " + std::to_string(n) + " pixels";
}

// Converts a row that ends at a faulting page into one that does, and compares with `expected`.
void ExpectRow(ConvertKernels::Row row, int from, const GuardedMemory& in, int to, const GuardedMemory& expected,
               std::size_t n, std::size_t offset) {
  GuardedMemory out(n * PixelSize(to) + offset);
  row(in.data(), out.data() + offset, n);
  ASSERT_EQ(std::memcmp(out.data() + offset, expected.data(), n * PixelSize(to)), 0) << Where(from, to, n);
  for (std::size_t i = 0; i < offset; ++i) ASSERT_EQ(out.data()[i], std::byte{0xA5}) << "before " << Where(from, to, n);
}

TEST(ConvertKernels, PortableRowsAreTheReferencePixelByPixel) {
  Random random(1);
  for (const int from : kDepths) {
    for (const int to : kDepths) {
      const std::size_t n = 5000;
      GuardedMemory in(n * PixelSize(from)), out(n * PixelSize(to)), expected(n * PixelSize(to));
      FillInput(from, in.data(), n, random);
      pf::kPortableConvertKernels.row[pf::DepthIndex(from)][pf::DepthIndex(to)](in.data(), out.data(), n);
      for (std::size_t i = 0; i < n; ++i) {
        pftest::ReferenceConvert(from, in.data() + i * PixelSize(from), to, expected.data() + i * PixelSize(to));
      }
      EXPECT_EQ(std::memcmp(out.data(), expected.data(), out.size()), 0) << Where(from, to, n);
    }
  }
}

TEST(ConvertKernels, EveryTargetGivesThePortableBitsForEveryWidth) {
  ForEachTarget([](const ConvertKernels& kernels) {
    Random random(2);
    for (const int from : kDepths) {
      for (const int to : kDepths) {
        const int f = pf::DepthIndex(from), t = pf::DepthIndex(to);
        for (std::size_t n = 0; n <= 67; ++n) {
          GuardedMemory in(n * PixelSize(from)), expected(n * PixelSize(to));
          FillInput(from, in.data(), n, random);
          pf::kPortableConvertKernels.row[f][t](in.data(), expected.data(), n);
          ExpectRow(kernels.row[f][t], from, in, to, expected, n, n % 5 * PixelSize(to));
        }
      }
    }
  });
}

TEST(ConvertKernels, EveryTargetGivesThePortableBitsForEveryValue) {
  const std::size_t n = 65536;
  Random random(3);
  GuardedMemory bytes(256 * 4), words(n * 8), floats(n * 16);
  for (std::size_t v = 0; v < n; ++v) {
    const auto byte = static_cast<std::uint8_t>(v);
    const auto word = static_cast<std::uint16_t>(v);
    for (std::size_t c = 0; c < 4; ++c) {
      if (v < 256) std::memcpy(bytes.data() + v * 4 + c, &byte, 1);
      std::memcpy(words.data() + v * 8 + c * 2, &word, 2);
    }
  }
  FillInput(32, floats.data(), n, random);
  const std::pair<const GuardedMemory*, std::size_t> inputs[] = {{&bytes, 256}, {&words, n}, {&floats, n}};
  ForEachTarget([&](const ConvertKernels& kernels) {
    for (int f = 0; f < 3; ++f) {
      for (int t = 0; t < 3; ++t) {
        const auto [in, count] = inputs[f];
        GuardedMemory expected(count * PixelSize(kDepths[t]));
        pf::kPortableConvertKernels.row[f][t](in->data(), expected.data(), count);
        ExpectRow(kernels.row[f][t], kDepths[f], *in, kDepths[t], expected, count, 0);
      }
    }
  });
}

TEST(ConvertKernels, EveryTargetDithersLikeTheReference) {
  ForEachTarget([](const ConvertKernels& kernels) {
    Random random(4);
    constexpr std::size_t kWidths[] = {0, 1, 2, 3, 4, 7, 8, 9, 15, 31, 32, 33, 67, 1000, 20000};
    for (const std::size_t n : kWidths) {
      GuardedMemory in(n * 8), noise(n * 16), out(n * 4), expected(n * 4);
      FillInput(16, in.data(), n, random);
      for (std::size_t i = 0; i < 4 * n; ++i)
        reinterpret_cast<std::uint32_t*>(noise.data())[i] = static_cast<std::uint32_t>(random());
      const auto* values = reinterpret_cast<const std::uint32_t*>(noise.data());
      for (std::size_t i = 0; i < n; ++i) {
        pftest::ReferenceConvert(16, in.data() + 8 * i, 8, expected.data() + 4 * i, values + 4 * i);
      }
      for (const ConvertKernels* which : {&kernels, &pf::kPortableConvertKernels}) {
        which->dither16to8(in.data(), out.data(), values, n);
        ASSERT_EQ(std::memcmp(out.data(), expected.data(), out.size()), 0) << n;
      }
    }
  });
}

}  // namespace
