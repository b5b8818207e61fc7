// After: scales that are rounded in the wrong precision, short cuts taken at the wrong scale, rows that are
// left out, polls that come too late or with the wrong numbers.
#include <cmath>

#include "support/MaskValues.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

class Fade : public HostTest {};

template <class T>
constexpr int kDepth = 8 * sizeof(T);

template <class T>
ValueMask* Masked(std::vector<T> values) {
  auto* mask = new ValueMask(static_cast<std::int32_t>(values.size()), 1, kDepth<T>);
  std::copy(values.begin(), values.end(), mask->Values<T>());
  return mask;
}

template <class T>
std::vector<T> AfterFade(float fade, std::vector<T> values) {
  const std::unique_ptr<ValueMask> mask(Masked(values));
  EXPECT_EQ(PF_FadeUnoBuffer(nullptr, fade, mask.get()), 0);
  return mask->Copy<T>();
}

template <class T>
std::vector<T> AfterInvertAndFade(std::int32_t fade, std::vector<T> values) {
  const std::unique_ptr<ValueMask> mask(Masked(values));
  EXPECT_EQ(PF_InvertAndFadeUnoBuffer(nullptr, fade, mask.get()), 0);
  return mask->Copy<T>();
}

template <class T>
std::vector<T> AfterInvert(std::vector<T> values) {
  const std::unique_ptr<ValueMask> mask(Masked(values));
  EXPECT_EQ(PF_InvertUnoBuffer(nullptr, mask.get()), 0);
  return mask->Copy<T>();
}

using V8 = std::vector<std::uint8_t>;
using V16 = std::vector<std::uint16_t>;
using VF = std::vector<float>;

TEST_F(Fade, ScalesRoundHalfUpAndProductsToNearest) {
  EXPECT_EQ(AfterFade<std::uint8_t>(0.5f, {255, 0, 1, 2, 100}), (V8{128, 0, 1, 1, 50}));
  EXPECT_EQ(AfterFade<std::uint8_t>(0.99802f, {255, 100}), (V8{254, 100})) << "scale 254.495 is 254";
  EXPECT_EQ(AfterFade<std::uint8_t>(0.99805f, {255, 100}), (V8{255, 100})) << "scale 254.503 is full";
  // QUIRK-20: 1 * 0.5 and 3 * 0.5 are halves.
  EXPECT_EQ(AfterFade<std::uint16_t>(0.5f, {32768, 0, 1, 2, 3, 32767}), (V16{16384, 0, 0, 1, 1, 16383}));
  EXPECT_EQ(AfterFade<float>(0.1f, {1.0f, 0.3f, -2.0f}), (VF{0.1f, 0.3f * 0.1f, -2.0f * 0.1f}));
}

TEST_F(Fade, TheProductWithFullIsOfSinglePrecision) {
  // Just below 128.5 / 255: in double precision the scale were 128.
  EXPECT_EQ(AfterFade<std::uint8_t>(0.503921568f, {255}), V8{129});
}

TEST_F(Fade, AFactorOf1LeavesEveryValueAndMoreIsLimited) {
  EXPECT_EQ(AfterFade<std::uint16_t>(1.0f, {40000, 65535, 3}), (V16{40000, 65535, 3}));
  EXPECT_EQ(AfterFade<std::uint8_t>(2.0f, {0, 1, 100, 127, 128, 255}), (V8{0, 2, 200, 254, 255, 255}));
  EXPECT_EQ(AfterFade<std::uint16_t>(2.0f, {0, 1, 16384, 16385, 65535}), (V16{0, 2, 32768, 32768, 32768}));
  for (const float huge : {1e9f, 3e38f, INFINITY}) {
    EXPECT_EQ(AfterFade<std::uint8_t>(huge, {0, 1, 255}), (V8{0, 255, 255})) << huge;
    EXPECT_EQ(AfterFade<std::uint16_t>(huge, {0, 1, 65535}), (V16{0, 32768, 32768})) << huge;
  }
  EXPECT_EQ(AfterFade<float>(2.0f, {0.75f}), VF{1.5f});
}

TEST_F(Fade, NegativeAndUndefinedFactorsCountAs0) {
  for (const float none : {-1.0f, -0.0f, NAN, -INFINITY}) {
    EXPECT_EQ(AfterFade<std::uint8_t>(none, {255, 1}), (V8{0, 0}));
    EXPECT_EQ(AfterFade<std::uint16_t>(none, {65535, 1}), (V16{0, 0}));
    const VF floats = AfterFade<float>(none, {1.0f, -1.0f, INFINITY});
    EXPECT_FALSE(std::signbit(floats[0]));
    EXPECT_TRUE(std::signbit(floats[1]));
    EXPECT_TRUE(std::isnan(floats[2]));
  }
  EXPECT_EQ(AfterInvertAndFade<std::uint8_t>(-65536, {0, 255}), (V8{0, 0}));
  EXPECT_EQ(AfterInvertAndFade<std::uint16_t>(INT32_MIN, {0, 32768}), (V16{0, 0}));
  EXPECT_EQ(AfterInvertAndFade<float>(-1, {0.25f}), VF{0.0f});
}

TEST_F(Fade, InversionIsExactAndWrapsAboveFull) {
  EXPECT_EQ(AfterInvert<std::uint8_t>({0, 1, 255}), (V8{255, 254, 0}));
  // QUIRK-24
  EXPECT_EQ(AfterInvert<std::uint16_t>({0, 1, 32768, 32769, 65535}), (V16{32768, 32767, 0, 65535, 32769}));
  EXPECT_EQ(AfterInvert<float>({0.25f, 2.0f, INFINITY}), (VF{0.75f, -1.0f, -INFINITY}));
}

TEST_F(Fade, InvertingAndFadingScalesTheInverse) {
  EXPECT_EQ(AfterInvertAndFade<std::uint8_t>(32768, {0, 255, 155}), (V8{128, 0, 50}));
  EXPECT_EQ(AfterInvertAndFade<std::uint16_t>(32768, {0, 32768, 32767, 40000}), (V16{16384, 0, 0, 29152}));
  EXPECT_EQ(AfterInvertAndFade<float>(16384, {0.5f, 3.0f}), (VF{0.125f, -0.5f}));
  // A 16.16 factor of 1 / 65536 has a scale of its own in double precision only.
  EXPECT_EQ(AfterInvertAndFade<std::uint16_t>(1, {0}), V16{1});
  EXPECT_EQ(AfterInvertAndFade<std::uint8_t>(129, {0}), V8{1}) << "129 / 65536 * 255 is 0.502";
  EXPECT_EQ(AfterInvertAndFade<std::uint8_t>(128, {0}), V8{0}) << "128 / 65536 * 255 is 0.498";
}

// QUIRK-22
TEST_F(Fade, MoreThan1InvertsEightBitsAndBrightensSixteen) {
  for (const std::int32_t fade : {65536 - 128, 65536, 131072, INT32_MAX}) {
    EXPECT_EQ(AfterInvertAndFade<std::uint8_t>(fade, {0, 200, 255}), (V8{255, 55, 0})) << fade;
  }
  EXPECT_EQ(AfterInvertAndFade<std::uint16_t>(65536, {40000, 32767}), (V16{58304, 1}))
      << "wraps: nothing is multiplied";
  EXPECT_EQ(AfterInvertAndFade<std::uint16_t>(65537, {40000, 32768}), (V16{32768, 0}));
  EXPECT_EQ(AfterInvertAndFade<std::uint16_t>(131072, {32767, 20000, 0}), (V16{2, 25536, 32768}));
  EXPECT_EQ(AfterInvertAndFade<std::uint16_t>(INT32_MAX, {32767, 32768}), (V16{32768, 0}));
  EXPECT_EQ(AfterInvertAndFade<float>(131072, {0.25f}), VF{1.5f});
}

TEST_F(Fade, OtherDepthsAreRefusedAndEmptyMasksAreDone) {
  for (const std::int32_t depth : {0, 1, 12, 24, 64, -8}) {
    ValueMask mask(3, 2, depth);
    const std::size_t size = U_GetHandleSize(mask.data);
    std::memset(mask.Values<std::uint8_t>(), 7, size);
    EXPECT_EQ(PF_InvertUnoBuffer(nullptr, &mask), 516);
    EXPECT_EQ(PF_InvertAndFadeUnoBuffer(nullptr, 1, &mask), 516);
    EXPECT_EQ(PF_FadeUnoBuffer(nullptr, 0.5f, &mask), 516);
    for (std::size_t i = 0; i < size; ++i) EXPECT_EQ(mask.Values<std::uint8_t>()[i], 7);
  }
  for (const auto& [width, height] : {std::pair(0, INT32_MAX), {INT32_MAX, 0}, {0, 0}}) {
    ValueMask mask(width, height, 16);
    EXPECT_EQ(PF_InvertUnoBuffer(nullptr, &mask), 0);
    EXPECT_EQ(PF_InvertAndFadeUnoBuffer(nullptr, 1, &mask), 0);
    EXPECT_EQ(PF_FadeUnoBuffer(nullptr, 0.5f, &mask), 0);
  }
  EXPECT_TRUE(Host().reports.empty());
}

TEST_F(Fade, EveryRowIsReachedWhileHandlesMove) {
  Host().move_handles = true;
  Random random(2);
  for (const std::int32_t depth : {8, 16, 32}) {
    ValueMask mask(37, 23, depth);
    mask.FillRandom(random);
    const auto before = mask.Bytes();
    EXPECT_EQ(PF_InvertUnoBuffer(nullptr, &mask), 0);
    EXPECT_NE(mask.Bytes(), before);
    if (depth != 32) {
      EXPECT_EQ(PF_InvertUnoBuffer(nullptr, &mask), 0);
      EXPECT_EQ(mask.Bytes(), before) << "twice gives every value back";
    }
    EXPECT_EQ(PF_FillUnoBuffer(0, &mask), 0);
    EXPECT_EQ(PF_InvertAndFadeUnoBuffer(nullptr, 16384, &mask), 0);
    const auto expected = depth == 8 ? 64.0 : depth == 16 ? 8192.0 : 0.25;
    for (std::size_t i = 0; i < mask.Count(); ++i) {
      const double v = depth == 8    ? mask.Values<std::uint8_t>()[i]
                       : depth == 16 ? mask.Values<std::uint16_t>()[i]
                                     : static_cast<double>(mask.Values<float>()[i]);
      ASSERT_EQ(v, expected) << i;
    }
  }
}

TEST_F(Fade, RowsAreAskedForAndCountedAndFadingNeverAsks) {
  static std::vector<std::string> told;
  told.clear();
  const PF_ProgressInfo progress = {5,
                                    [](std::uint64_t reference) -> PF_Err {
                                      told.push_back("abort " + std::to_string(reference));
                                      return 0;
                                    },
                                    [](std::uint64_t, std::int32_t done, std::int32_t rows) -> PF_Err {
                                      told.push_back(std::to_string(done) + " of " + std::to_string(rows));
                                      return 0;
                                    }};
  const std::vector<std::string> expected = {"abort 5", "1 of 2", "abort 5", "2 of 2"};
  ValueMask mask(3, 2, 8);
  EXPECT_EQ(PF_InvertUnoBuffer(&progress, &mask), 0);
  EXPECT_EQ(told, expected);
  told.clear();
  EXPECT_EQ(PF_InvertAndFadeUnoBuffer(&progress, 300, &mask), 0);
  EXPECT_EQ(told, expected);
  told.clear();
  EXPECT_EQ(PF_FadeUnoBuffer(&progress, 0.5f, &mask), 0);
  EXPECT_TRUE(told.empty());
}

}  // namespace
