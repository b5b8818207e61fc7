// After: rows that read or write past their ends, tails that are mixed otherwise or twice, quotients that are
// off by one, and vector kernels that differ from the restatement in a single bit.
#include "blend/BlendKernels.h"

#include <gtest/gtest.h>

#include <cstring>

#include "reference/Blend.h"
#include "support/Targets.h"
#include "support/Worlds.h"

namespace {

using pf::BlendForm;
using pf::BlendKernels;
using pftest::Between;
using pftest::GuardedMemory;
using pftest::Random;
using pftest::TestWorld;

template <class P>
void ExpectRow(const BlendKernels& kernels, BlendForm form, const P* first, const P* second, std::uint32_t ratio,
               P* out, std::size_t n) {
  std::vector<P> expected(n);
  for (std::size_t i = 0; i < n; ++i) {
    expected[i] =
        pftest::ReferenceBlend(form == pf::kStraightBlend, first[i], second[i], static_cast<std::int32_t>(ratio));
  }
  kernels.row[form][pf::DepthIndex(pf::DepthTraits<P>::kDepth)](first, second, ratio, out, n);
  for (std::size_t i = 0; i < n; ++i) {
    ASSERT_EQ(std::memcmp(&out[i], &expected[i], sizeof(P)), 0)
        << "form " << form << ", depth " << pf::DepthTraits<P>::kDepth << ", ratio " << ratio << ", pixel " << i
        << " of " << n;
  }
}

template <class P>
void ExpectEveryWidth(const BlendKernels& kernels) {
  Random random(9);
  for (std::int32_t n = 0; n <= 67; ++n) {
    for (const TestWorld::Kind kind :
         {TestWorld::kRandom, TestWorld::kOpaque, TestWorld::kEdges, TestWorld::kRawBits}) {
      const auto where = n % 2 == 0 ? GuardedMemory::kEnd : GuardedMemory::kStart;
      const auto depth = static_cast<std::int32_t>(pf::DepthTraits<P>::kDepth);
      TestWorld first(depth, n, 1, 0, where), second(depth, n, 1, 0, where), out(depth, n, 1, 0, where);
      first.Fill(random, kind);
      second.Fill(random, kind);
      // Many alphas alike, so that whole vectors of them come too.
      for (std::int32_t x = 0; x < n && random() % 2 == 0; ++x) second.At<P>(x, 0).alpha = first.At<P>(x, 0).alpha;
      if constexpr (std::is_same_v<P, PF_PixelFloat>) {
        // Sums of -0.
        for (std::int32_t x = 0; x < n; x += 3) first.At<P>(x, 0).red = second.At<P>(x, 0).red = -0.0f;
      }
      const auto ratio = static_cast<std::uint32_t>(Between(random, 1, 65535));
      for (const BlendForm form : {pf::kPremultipliedBlend, pf::kStraightBlend}) {
        ExpectRow(kernels, form, &first.At<P>(0, 0), &second.At<P>(0, 0), ratio, &out.At<P>(0, 0),
                  static_cast<std::size_t>(n));
      }
      // In place.
      P* const place = random() % 2 == 0 ? &first.At<P>(0, 0) : &second.At<P>(0, 0);
      ExpectRow(kernels, pf::kStraightBlend, &first.At<P>(0, 0), &second.At<P>(0, 0), ratio, place,
                static_cast<std::size_t>(n));
    }
  }
}

void ExpectAllDepths(const BlendKernels& kernels) {
  ExpectEveryWidth<PF_Pixel8>(kernels);
  ExpectEveryWidth<PF_Pixel16>(kernels);
  ExpectEveryWidth<PF_PixelFloat>(kernels);
}

// Every pair of 8-bit alphas and of colours, under weights around the ends and the middle.
void ExpectEveryPair(const BlendKernels& kernels) {
  constexpr std::size_t kPairs = 65536;
  std::vector<PF_Pixel8> first(kPairs), second(kPairs), out(kPairs);
  Random random(3);
  for (const std::uint32_t ratio : {1u, 2u, 257u, 21846u, 32767u, 32768u, 32769u, 65534u, 65535u}) {
    for (std::size_t i = 0; i < kPairs; ++i) {
      const auto high = static_cast<std::uint8_t>(i >> 8), low = static_cast<std::uint8_t>(i);
      const auto any = [&] { return static_cast<std::uint8_t>(random()); };
      first[i] = {high, low, 255, any()};
      second[i] = {low, high, 0, any()};
    }
    ExpectRow(kernels, pf::kPremultipliedBlend, first.data(), second.data(), ratio, out.data(), kPairs);
    ExpectRow(kernels, pf::kStraightBlend, first.data(), second.data(), ratio, out.data(), kPairs);
  }
}

// 16-bit quotients on and beside their rounding points: a difference of colours and shares that make
// (c1 - c2) A1 close to an odd multiple of half the sum.
void ExpectNearHalves(const BlendKernels& kernels) {
  constexpr std::size_t kPixels = 40000;
  constexpr std::uint16_t kAlphas[] = {1, 2, 3, 255, 257, 16384, 32767, 32768, 65533, 65534, 65535};
  constexpr std::uint32_t kRatios[] = {1, 2, 3, 4095, 16384, 21845, 32767, 32768, 32769, 43690, 65533, 65534, 65535};
  Random random(4);
  for (const std::uint32_t ratio : kRatios) {
    std::vector<PF_Pixel16> first(kPixels), second(kPixels), out(kPixels);
    for (std::size_t i = 0; i < kPixels; ++i) {
      const auto alpha = [&] {
        return random() % 2 == 0 ? kAlphas[random() % std::size(kAlphas)] : static_cast<std::uint16_t>(random());
      };
      first[i].alpha = alpha();
      second[i].alpha = alpha();
      const std::uint64_t a1 = std::uint64_t{first[i].alpha} * (65536 - ratio);
      const std::uint64_t sum = a1 + std::uint64_t{second[i].alpha} * ratio;
      const auto colours = [&](std::uint16_t& c1, std::uint16_t& c2) {
        // A difference whose quotient is next to k + 1/2, or one beside it.
        std::uint64_t difference = random() % 65530;
        if (a1 != 0) difference = ((2 * (difference * a1 / sum) + 1) * sum / 2 + a1 / 2) / a1 + random() % 3;
        c2 = static_cast<std::uint16_t>(random() % 4);
        c1 = static_cast<std::uint16_t>(c2 + difference);
        if (random() % 2 == 0) std::swap(c1, c2);
      };
      colours(first[i].red, second[i].red);
      colours(first[i].green, second[i].green);
      colours(first[i].blue, second[i].blue);
    }
    ExpectRow(kernels, pf::kPremultipliedBlend, first.data(), second.data(), ratio, out.data(), kPixels);
    ExpectRow(kernels, pf::kStraightBlend, first.data(), second.data(), ratio, out.data(), kPixels);
  }
}

void ExpectAll(const BlendKernels& kernels) {
  ExpectAllDepths(kernels);
  ExpectEveryPair(kernels);
  ExpectNearHalves(kernels);
}

TEST(BlendKernels, PortableRowsAreTheRestatement) { ExpectAll(pf::kPortableBlendKernels); }

TEST(BlendKernels, EveryTargetGivesTheSameBits) {
  pftest::ForEachTarget([]() -> const BlendKernels& { return pf::VectorBlendKernels(); }, ExpectAll);
}

}  // namespace
