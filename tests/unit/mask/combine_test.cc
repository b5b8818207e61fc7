// After: a mode, weight or conversion that rounds otherwise than stated; clipping that overflows or misses;
// what lies outside the area changed or not cleared; sources overwritten before they are read; vector kernels
// that differ from the portable ones or leave their run.
#include <gtest/gtest.h>

#include <limits>

#include "mask/MaskCombineKernels.h"
#include "reference/MaskCombining.h"
#include "support/LibraryTest.h"
#include "support/Targets.h"
#include "support/TestHost.h"

namespace {

using pftest::Between;
using pftest::GuardedMemory;
using pftest::Host;
using pftest::Random;
using pftest::ReferenceCombination;
using pftest::TestMask;

constexpr std::int32_t kDepths[] = {8, 16, 32};
constexpr std::int32_t kModes = PF_MaskMode_COUNT;

class MaskCombination : public pftest::LibraryTest {};

std::int32_t AnySize(Random& random) { return static_cast<std::int32_t>(Between(random, 1, 90)); }

// Mostly near the masks, sometimes as far away as there is.
std::int32_t AnyCoordinate(Random& random) {
  constexpr std::int32_t kFar[] = {INT32_MIN, INT32_MIN + 1, INT32_MAX, INT32_MAX - 1, 1 << 30, -(1 << 30)};
  const std::uint64_t bits = random();
  return bits % 6 == 0 ? kFar[bits / 6 % 6] : static_cast<std::int32_t>(Between(random, -20, 100));
}

M_LRect AnyRect(Random& random) {
  return {AnyCoordinate(random), AnyCoordinate(random), AnyCoordinate(random), AnyCoordinate(random)};
}

// A place that brings the rectangle near the destination, wherever the rectangle is.
M_LPoint AnyPlace(Random& random, const M_LRect& rect) {
  const auto near = [&](std::int32_t v) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(v + Between(random, -30, 30), INT32_MIN, INT32_MAX));
  };
  if (random() % 8 == 0) return {AnyCoordinate(random), AnyCoordinate(random)};
  return {near(rect.left), near(rect.top)};
}

TEST_F(MaskCombination, IsTheReferenceForAllModesDepthsWeightsAndPlaces) {
  constexpr float kWeights[] = {1.0f, 0.5f, 0.3f, 0.0f, -2.0f, NAN, 1.7f, 0.999f};
  for (std::uint64_t seed = 0; seed < 1200; ++seed) {
    Random random(seed);
    const std::int32_t mode = static_cast<std::int32_t>(seed % kModes);
    const std::int32_t from = kDepths[random() % 3], to = kDepths[random() % 3];
    TestMask src(from, AnySize(random), AnySize(random), random), dst(to, AnySize(random), AnySize(random), random);
    const M_LRect rect = AnyRect(random);
    const M_LPoint at = AnyPlace(random, rect);
    const int form = static_cast<int>(random() % 3);
    const float ws = form > 0 ? kWeights[random() % std::size(kWeights)] : 1.0f;
    const float wd = form > 1 ? kWeights[random() % std::size(kWeights)] : 1.0f;
    const auto expected = ReferenceCombination(mode, {&src, ws}, {nullptr, wd}, rect, at, dst);
    const auto before = src.Bytes();
    PF_Err code = -1;
    if (form == 0) code = PF_AccumulateUnoBuffers(nullptr, src.record(), mode, &rect, &at, dst.record());
    if (form == 1) code = PF_AccumulateUnoBuffers(nullptr, src.record(), mode, ws, &rect, &at, dst.record());
    if (form == 2) code = PF_AccumulateUnoBuffers(nullptr, src.record(), mode, ws, wd, &rect, &at, dst.record());
    ASSERT_EQ(code, 0);
    ASSERT_EQ(dst.FirstDifference(expected), "")
        << "seed " << seed << ", mode " << mode << ", " << from << " to " << to << ", weights " << ws << ", " << wd;
    ASSERT_EQ(src.Bytes(), before) << "seed " << seed;
  }
}

TEST_F(MaskCombination, TransferTakesBothSourcesAndNothingOfTheDestination) {
  for (std::uint64_t seed = 0; seed < 600; ++seed) {
    Random random(seed);
    const std::int32_t mode = static_cast<std::int32_t>(seed % kModes);
    const std::int32_t width = AnySize(random), height = AnySize(random);
    TestMask first(kDepths[random() % 3], width, height, random), second(kDepths[random() % 3], width, height, random);
    TestMask dst(kDepths[random() % 3], AnySize(random), AnySize(random), random);
    const M_LRect rect = AnyRect(random);
    const M_LPoint at = AnyPlace(random, rect);
    const auto expected = ReferenceCombination(mode, {&first, 1}, {&second, 1}, rect, at, dst);
    ASSERT_EQ(PF_TransferUnoBuffers(nullptr, first.record(), second.record(), mode, &rect, &at, dst.record()), 0);
    ASSERT_EQ(dst.FirstDifference(expected), "") << "seed " << seed << ", mode " << mode;
  }
}

TEST_F(MaskCombination, OverlappingSourcesCountAsCopiedBefore) {
  for (std::uint64_t seed = 0; seed < 500; ++seed) {
    Random random(seed);
    const std::int32_t depth = kDepths[random() % 3], mode = static_cast<std::int32_t>(seed % kModes);
    TestMask mask(depth, 50, 40, random), other(kDepths[random() % 3], 50, 40, random);
    const M_LRect rect = {
        static_cast<std::int32_t>(Between(random, -3, 20)), static_cast<std::int32_t>(Between(random, -3, 20)),
        static_cast<std::int32_t>(Between(random, 25, 60)), static_cast<std::int32_t>(Between(random, 25, 60))};
    const M_LPoint at = seed % 4 == 0 ? M_LPoint{rect.left, rect.top}
                                      : M_LPoint{static_cast<std::int32_t>(Between(random, -10, 25)),
                                                 static_cast<std::int32_t>(Between(random, -10, 25))};
    const float weight = seed % 3 == 0 ? 0.6f : 1.0f;
    if (seed % 2 == 0) {
      const auto expected = ReferenceCombination(mode, {&mask, weight}, {nullptr, 0.8f}, rect, at, mask);
      ASSERT_EQ(PF_AccumulateUnoBuffers(nullptr, mask.record(), mode, weight, 0.8f, &rect, &at, mask.record()), 0);
      ASSERT_EQ(mask.FirstDifference(expected), "") << "seed " << seed << ", mode " << mode;
    } else {
      const bool first = seed % 4 == 1;
      const auto expected =
          ReferenceCombination(mode, {first ? &mask : &other, 1}, {first ? &other : &mask, 1}, rect, at, mask);
      ASSERT_EQ(PF_TransferUnoBuffers(nullptr, (first ? mask : other).record(), (first ? other : mask).record(), mode,
                                      &rect, &at, mask.record()),
                0);
      ASSERT_EQ(mask.FirstDifference(expected), "") << "seed " << seed << ", mode " << mode;
    }
  }
}

// Two records of different depth over one block: nothing is in place then.
TEST_F(MaskCombination, ASharedBlockOfAnotherDepthIsReadBeforeItIsWritten) {
  Random random(7);
  TestMask wide(16, 1200, 3, random);
  TestMask copy(8, 2400, 3);
  std::memcpy(copy.values(), wide.values(), wide.size());
  TestMask holder(8, 1, 1);
  PF_UnoBuffer* narrow = holder.record();
  const U_Handle own = narrow->data;
  narrow->data = wide.record()->data;
  narrow->width = 2400;
  narrow->height = 3;
  const M_LRect rect = {0, 0, 1200, 3};
  const M_LPoint at = {0, 0};
  const auto expected = ReferenceCombination(PF_MaskMode_ADD, {&copy, 1}, {nullptr, 1}, rect, at, wide);
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, narrow, PF_MaskMode_ADD, &rect, &at, wide.record()), 0);
  narrow->data = own;
  EXPECT_EQ(wide.FirstDifference(expected), "");
}

TEST_F(MaskCombination, BadCallsGetTheirCodesAndChangeNothing) {
  Random random(3);
  TestMask src(8, 9, 9, random), dst(16, 9, 9, random), other(8, 9, 8, random), null(8, 1, 1);
  const M_LRect rect = {0, 0, 9, 9};
  const M_LPoint at = {0, 0};
  const auto before = dst.Bytes();
  for (const std::int32_t mode : {-1, 7, INT32_MIN, INT32_MAX}) {
    for (const bool texts : {true, false}) {
      Host().Reset();
      Host().no_texts = !texts;
      EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), mode, &rect, &at, dst.record()), 5);
      EXPECT_EQ(PF_TransferUnoBuffers(nullptr, src.record(), src.record(), mode, &rect, &at, dst.record()), 5);
      EXPECT_EQ(Host().ReportTexts(), texts ? "unimplemented blending mode.\nunimplemented blending mode.\n" : "");
    }
  }
  Host().Reset();
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 0, nullptr, &at, dst.record()), 516);
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 0, &rect, nullptr, dst.record()), 516);
  EXPECT_EQ(PF_TransferUnoBuffers(nullptr, src.record(), other.record(), 3, &rect, &at, dst.record()), 516);
  src.record()->depth = 1;
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 3, &rect, &at, dst.record()), 516);
  src.record()->depth = 8;
  dst.record()->depth = 24;
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 3, &rect, &at, dst.record()), 516);
  dst.record()->depth = 16;
  EXPECT_TRUE(Host().reports.empty());
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, nullptr, 3, &rect, &at, dst.record()), 3);
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 3, &rect, &at, nullptr), 3);
  EXPECT_EQ(PF_TransferUnoBuffers(nullptr, src.record(), nullptr, 3, &rect, &at, dst.record()), 3);
  EXPECT_EQ(Host().reports.size(), 3u);
  EXPECT_EQ(dst.Bytes(), before);

  src.record()->magic = 1;  // told, and worked on
  Host().Reset();
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 0, &rect, &at, dst.record()), 0);
  src.record()->magic = PF_UnoBuffer_MAGIC;
  EXPECT_EQ(Host().ReportTexts(), "damaged mask buffer\n");
  EXPECT_NE(dst.Bytes(), before);
}

// Whoever listens at index 53 sees the areas that are worth threads, and no others.
TEST_F(MaskCombination, AreasOfEnoughValuesGoToTheHost) {
  static int calls = 0;
  const auto counting = [](std::int32_t n, void* reference, PF_IterateGenericFunc function) -> PF_Err {
    ++calls;
    return PF_IterateGeneric_Static(n, reference, function);
  };
  PF_Err (*const function)(std::int32_t, void*, PF_IterateGenericFunc) = counting;
  ASSERT_EQ(PF_SetOverrideFunc(53, reinterpret_cast<PF_AnyFunc>(function)), 0);
  TestMask src(8, 320, 241), dst(8, 320, 241);
  src.FillWith(9);
  dst.FillWith(100);
  const M_LPoint at = {0, 0};
  const M_LRect below = {0, 0, 319, 240}, enough = {0, 0, 320, 240}, clipped = {-5, -5, 325, 239};
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 1, &below, &at, dst.record()), 0);
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 1, &clipped, &at, dst.record()), 0);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(PF_AccumulateUnoBuffers(nullptr, src.record(), 1, &enough, &at, dst.record()), 0);
  EXPECT_EQ(PF_TransferUnoBuffers(nullptr, src.record(), src.record(), 1, &enough, &at, dst.record()), 0);
  EXPECT_EQ(calls, 2);
}

using Kernels = pf::MaskCombineKernels;

template <class T>
T AnyOf(std::uint64_t bits) {
  if constexpr (std::is_same_v<T, float>) {
    constexpr float kEdges[] = {0.0f, -0.0f, 1.0f, 0.5f, -1.5f, 3e38f, -3e38f, INFINITY, -INFINITY, NAN, 1e-40f};
    if (bits % 4 == 0) return kEdges[bits / 4 % std::size(kEdges)];
    return static_cast<float>(bits >> 40) / 16777216.0f;
  } else {
    constexpr std::uint64_t kEdges[] = {0, 1, 16383, 16384, 16385, 32767, 32768, 32769, 65535};
    return static_cast<T>(bits % 4 == 0 ? kEdges[bits / 4 % std::size(kEdges)] : bits >> 8);
  }
}

enum class Place { kApart, kFirst, kSecond };

// One row between faulting pages, the result apart or in the place of a source.
template <class T>
void ExpectRow(const Kernels& kernels, std::int32_t mode, const std::vector<T>& s, const std::vector<T>& d,
               Place place) {
  const std::size_t size = s.size() * sizeof(T);
  const GuardedMemory first(size), second(size), third(size);
  std::copy(s.begin(), s.end(), reinterpret_cast<T*>(first.data()));
  std::copy(d.begin(), d.end(), reinterpret_cast<T*>(second.data()));
  const std::byte* out = (place == Place::kApart ? third : place == Place::kFirst ? first : second).data();
  const int depth = 8 * static_cast<int>(sizeof(T));
  kernels.row[mode][pf::DepthIndex(depth)](first.data(), second.data(), const_cast<std::byte*>(out),
                                           static_cast<std::int64_t>(s.size()));
  for (std::size_t i = 0; i < s.size(); ++i) {
    const double actual = static_cast<double>(reinterpret_cast<const T*>(out)[i]);
    const double expected = pftest::ReferenceMode(depth, mode, static_cast<double>(s[i]), static_cast<double>(d[i]));
    ASSERT_TRUE(actual == expected || (std::isnan(actual) && std::isnan(expected)))
        << "mode " << mode << ", depth " << depth << ", " << +s[i] << " and " << +d[i] << " give " << actual
        << ", expected " << expected << ", value " << i << " of " << s.size();
  }
}

template <class T>
void ExpectRows(const Kernels& kernels) {
  Random random(11);
  for (std::int32_t mode = 0; mode < kModes; ++mode) {
    for (std::size_t n = 0; n <= 200; n += n < 70 ? 1 : 43) {
      std::vector<T> s(n), d(n);
      for (T& v : s) v = AnyOf<T>(random());
      for (T& v : d) v = AnyOf<T>(random());
      for (const Place place : {Place::kApart, Place::kFirst, Place::kSecond}) ExpectRow(kernels, mode, s, d, place);
    }
    std::vector<T> s(65536), d(65536);
    for (std::size_t i = 0; i < s.size(); ++i) {
      s[i] = sizeof(T) == 1 ? static_cast<T>(i >> 8) : AnyOf<T>(random());
      d[i] = sizeof(T) == 1 ? static_cast<T>(i) : AnyOf<T>(random());
    }
    ExpectRow(kernels, mode, s, d, Place::kApart);
  }
}

void ExpectAll(const Kernels& kernels) {
  ExpectRows<std::uint8_t>(kernels);
  ExpectRows<std::uint16_t>(kernels);
  ExpectRows<float>(kernels);
}

TEST(MaskCombineKernels, PortableRowsAreTheReference) { ExpectAll(pf::kPortableMaskCombineKernels); }

TEST(MaskCombineKernels, EveryTargetGivesTheReference) {
  pftest::ForEachTarget(&pf::VectorMaskCombineKernels, ExpectAll);
}

}  // namespace
