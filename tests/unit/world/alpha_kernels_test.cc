// After: rows that read or write past their ends, tails that are done twice in place, quotients that are off by one,
// changed alpha, and vector kernels that differ from the restatement in a single bit.
#include "world/AlphaKernels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "reference/Conversion.h"
#include "support/Targets.h"
#include "support/Worlds.h"

namespace {

using pf::AlphaKernels;
using pf::ChannelOf;
using pftest::Between;
using pftest::GuardedMemory;
using pftest::Random;
using pftest::TestWorld;

enum Form { kPremultiply, kUnmultiply, kOntoMatte, kWithoutMatte };
constexpr Form kForms[] = {kPremultiply, kUnmultiply, kOntoMatte, kWithoutMatte};

template <class P>
void Run(const AlphaKernels& kernels, Form form, const P* in, const P& matte, P* out, std::size_t n) {
  constexpr int kIndex = pf::DepthIndex(pf::DepthTraits<P>::kDepth);
  if (form == kPremultiply) kernels.premultiply[kIndex](in, out, n);
  if (form == kUnmultiply) kernels.unmultiply[kIndex](in, out, n);
  if (form == kOntoMatte) kernels.onto_matte[kIndex](in, &matte, out, n);
  if (form == kWithoutMatte) kernels.without_matte[kIndex](in, &matte, out, n);
}

template <class C>
C Reference(Form form, C c, C a, C m) {
  if (form == kPremultiply) return pftest::ReferencePremultiply(c, a);
  if (form == kUnmultiply) return pftest::ReferenceUnmultiply(c, a);
  return form == kOntoMatte ? pftest::ReferenceOntoMatte(c, a, m) : pftest::ReferenceWithoutMatte(c, a, m);
}
template <class P>
P Reference(Form form, const P& p, const P& m) {
  return {p.alpha, Reference(form, p.red, p.alpha, m.red), Reference(form, p.green, p.alpha, m.green),
          Reference(form, p.blue, p.alpha, m.blue)};
}

// Bits; which NaN comes out is the machine's.
template <class C>
bool SameChannel(C a, C b) {
  if constexpr (std::is_same_v<C, float>) {
    if (std::isnan(a)) return std::isnan(b);
  }
  return std::memcmp(&a, &b, sizeof a) == 0;
}
template <class P>
bool Same(const P& a, const P& b) {
  return std::memcmp(&a.alpha, &b.alpha, sizeof a.alpha) == 0 && SameChannel(a.red, b.red) &&
         SameChannel(a.green, b.green) && SameChannel(a.blue, b.blue);
}

template <class P>
void ExpectRow(const AlphaKernels& kernels, Form form, const P* in, const P& matte, P* out, std::size_t n) {
  const std::vector<P> before(in, in + n);
  Run(kernels, form, in, matte, out, n);
  for (std::size_t i = 0; i < n; ++i) {
    const P &p = before[i], &got = out[i];
    ASSERT_TRUE(Same(got, Reference(form, p, matte)))
        << "form " << form << ", depth " << pf::DepthTraits<P>::kDepth << ", pixel " << i << " of " << n << ": ("
        << +p.alpha << " " << +p.red << " " << +p.green << " " << +p.blue << ") under matte (" << +matte.red << " "
        << +matte.green << " " << +matte.blue << ") became (" << +got.alpha << " " << +got.red << " " << +got.green
        << " " << +got.blue << ")";
  }
}

template <class P>
void ExpectEveryWidth(const AlphaKernels& kernels) {
  constexpr auto kDepth = static_cast<std::int32_t>(pf::DepthTraits<P>::kDepth);
  Random random(21);
  for (std::int32_t n = 0; n <= 67; ++n) {
    for (const auto kind : {TestWorld::kRandom, TestWorld::kOpaque, TestWorld::kEdges, TestWorld::kRawBits}) {
      const auto where = n % 2 == 0 ? GuardedMemory::kEnd : GuardedMemory::kStart;
      TestWorld matte(kDepth, 1, 1), in(kDepth, n, 1, 0, where), out(kDepth, n, 1, 0, where);
      for (const Form form : kForms) {
        matte.Fill(random, kind);
        in.Fill(random, kind);
        P* const row = &in.At<P>(0, 0);
        ExpectRow(kernels, form, row, matte.At<P>(0, 0), &out.At<P>(0, 0), static_cast<std::size_t>(n));
        ExpectRow(kernels, form, row, matte.At<P>(0, 0), row, static_cast<std::size_t>(n));
      }
    }
  }
}

// Every 8-bit colour under every alpha, and with mattes that have every value.
void ExpectEveryPair(const AlphaKernels& kernels) {
  std::vector<PF_Pixel8> in(65536), out(in.size());
  for (std::size_t i = 0; i < in.size(); ++i) {
    const auto c = static_cast<std::uint8_t>(i);
    in[i] = {static_cast<std::uint8_t>(i >> 8), c, static_cast<std::uint8_t>(c + 85), static_cast<std::uint8_t>(~c)};
  }
  ExpectRow(kernels, kPremultiply, in.data(), {}, out.data(), in.size());
  ExpectRow(kernels, kUnmultiply, in.data(), {}, out.data(), in.size());
  for (int m = 0; m <= 85; ++m) {
    const auto level = [m](int third) { return static_cast<std::uint8_t>(m + 85 * third); };
    const PF_Pixel8 matte = {static_cast<std::uint8_t>(m), level(2), level(0), level(1)};
    ExpectRow(kernels, kOntoMatte, in.data(), matte, out.data(), in.size());
    ExpectRow(kernels, kWithoutMatte, in.data(), matte, out.data(), in.size());
  }
}

// 16-bit quotients on and beside their rounding points: for every alpha, colours (beside the matte's) whose
// 32768 c / a is next to a whole number and a half.
void ExpectNearHalves(const AlphaKernels& kernels, std::uint16_t level) {
  Random random(22);
  const PF_Pixel16 matte = {1, level, level, level};
  std::vector<PF_Pixel16> in(4 * 65536), out(in.size());
  for (std::size_t i = 0; i < in.size(); ++i) {
    const std::int64_t a = static_cast<std::uint16_t>(i);
    const auto colour = [&] {
      const std::int64_t c = ((2 * Between(random, 0, 32768) + 1) * a + 32768) / 65536 + Between(random, -1, 1);
      return static_cast<std::uint16_t>(random() % 2 == 0 ? level + c : level - c);
    };
    in[i] = {static_cast<std::uint16_t>(a), colour(), colour(), colour()};
  }
  for (const Form form : kForms) ExpectRow(kernels, form, in.data(), matte, out.data(), in.size());
}

// Every 16-bit colour under alphas around which something changes.
void ExpectEveryColour(const AlphaKernels& kernels) {
  std::vector<PF_Pixel16> in(65536), out(in.size());
  constexpr std::uint16_t kAlphas[] = {0, 1, 2, 3, 255, 16383, 16384, 32767, 32768, 32769, 65534, 65535};
  for (const std::uint16_t a : kAlphas) {
    for (std::size_t i = 0; i < in.size(); ++i) {
      const auto c = static_cast<std::uint16_t>(i);
      in[i] = {a, c, static_cast<std::uint16_t>(c + 21845), static_cast<std::uint16_t>(~c)};
    }
    for (const Form form : kForms) ExpectRow(kernels, form, in.data(), {a, 0, 32768, 65535}, out.data(), in.size());
  }
}

void ExpectAll(const AlphaKernels& kernels) {
  ExpectEveryWidth<PF_Pixel8>(kernels);
  ExpectEveryWidth<PF_Pixel16>(kernels);
  ExpectEveryWidth<PF_PixelFloat>(kernels);
  ExpectEveryPair(kernels);
  ExpectNearHalves(kernels, 0);
  ExpectNearHalves(kernels, 20000);
  ExpectEveryColour(kernels);
}

TEST(AlphaKernels, PortableRowsAreTheRestatement) { ExpectAll(pf::kPortableAlphaKernels); }

TEST(AlphaKernels, EveryTargetGivesTheSameBits) { pftest::ForEachTarget(&pf::VectorAlphaKernels, ExpectAll); }

}  // namespace
