// After: a channel that lands beside its place, neighbours that are touched, blends that miss the ends; deep
// conversion that draws noise in another order, or outside the rectangle.
#include <gtest/gtest.h>

#include <array>

#include "reference/Conversion.h"
#include "support/LibraryTest.h"
#include "support/TestHost.h"
#include "support/TestMask.h"

namespace {

using pftest::Between;
using pftest::Half;
using pftest::Host;
using pftest::Nearest;
using pftest::Random;
using pftest::TestMask;

template <class T>
class Channels : public testing::Test {};
using Types = testing::Types<PF_Pixel8, PF_Pixel16, PF_PixelFloat>;
TYPED_TEST_SUITE(Channels, Types);

TYPED_TEST(Channels, GoToTheirPlaceAndNowhereElse) {
  using T = pf::ChannelOf<TypeParam>;
  constexpr std::int32_t kValueRow = 13, kPixelRow = 4 * 11 + 3, kRows = 9;  // in values
  Random random(1);
  for (int turn = 0; turn < 200; ++turn) {
    std::vector<T> values(kValueRow * kRows), pixels(kPixelRow * kRows);
    for (T& v : values) v = static_cast<T>(random() % 256);
    for (T& v : pixels) v = static_cast<T>(random() % 256);
    const auto upto = [&](std::int64_t most) { return static_cast<std::int32_t>(Between(random, 0, most)); };
    const std::int32_t channel = upto(3);
    const M_Vector2T<std::int32_t> from = {upto(3), upto(3)}, to = {upto(3), upto(3)};
    const M_Vector2T<std::int32_t> extent = {upto(9) - 1, upto(7) - 1};
    constexpr auto kValueBytes = static_cast<std::int32_t>(kValueRow * sizeof(T));
    constexpr auto kPixelBytes = static_cast<std::int32_t>(kPixelRow * sizeof(T));
    auto put = pixels, taken = values;
    for (std::int32_t y = 0; y < extent.v; ++y) {
      for (std::int32_t x = 0; x < extent.h; ++x) {
        const auto value = [&](auto origin) {
          return static_cast<std::size_t>((origin.v + y) * kValueRow + origin.h + x);
        };
        const auto pixel = [&](auto origin) {
          return static_cast<std::size_t>((origin.v + y) * kPixelRow + 4 * (origin.h + x) + channel);
        };
        put[pixel(to)] = values[value(from)];
        taken[value(to)] = pixels[pixel(from)];
      }
    }
    auto actual = pixels;
    PF_Interleave1to4<T>(values.data(), kValueBytes, kPixelBytes, extent, from, to, actual.data() + channel);
    ASSERT_EQ(actual, put);
    auto out = values;
    PF_Deinterleave1<T>(pixels.data(), kPixelBytes, kValueBytes, channel, extent, from, to, out.data());
    ASSERT_EQ(out, taken);
    out = values;
    PF_Deinterleave1<T>(pixels.data(), kPixelBytes, kValueBytes, turn % 2 == 0 ? 4 : -1, {5, 5}, from, to, out.data());
    ASSERT_EQ(out, values) << "a channel that does not exist";
  }
}

template <class P>
double ReferenceBlend(double v0, double v1, double m) {
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    if (m == 0) return v0;
    if (m >= 1) return v1;
    return pftest::Single(v0 + pftest::Single(pftest::Single(v1 - v0) * m));
  } else {
    const std::int64_t full = pf::DepthTraits<P>::kFull;
    const double part = std::min(m, static_cast<double>(full));
    const auto sum = static_cast<std::int64_t>(v0 * static_cast<double>(full) + (v1 - v0) * part);
    return static_cast<double>(Nearest(sum, full, Half::kUp));
  }
}

TYPED_TEST(Channels, BlendIntoAlphaAlone) {
  using T = pf::ChannelOf<TypeParam>;
  Random random(2);
  for (int turn = 0; turn < 400; ++turn) {
    const auto any = [&] {
      const double full = static_cast<double>(pf::DepthTraits<TypeParam>::kFull);
      const double v = static_cast<double>(random() % 65536) / 65536.0 * full;
      return static_cast<T>(random() % 3 == 0 ? full * static_cast<double>(random() % 3) / 2 : v);
    };
    const T v0 = any(), v1 = any();
    std::vector<T> mask(37);
    for (T& m : mask) m = any();
    if constexpr (sizeof(T) == 2) mask[5] = 65535;
    std::vector<TypeParam> pixels(mask.size(), TypeParam{any(), any(), any(), any()});
    const TypeParam old = pixels[0];
    PF_BlendSingleChannel<TypeParam, T>(static_cast<std::int32_t>(mask.size()) - 1, v0, v1, mask.data(), pixels.data());
    for (std::size_t i = 0; i + 1 < mask.size(); ++i) {
      ASSERT_EQ(
          static_cast<double>(pixels[i].alpha),
          ReferenceBlend<TypeParam>(static_cast<double>(v0), static_cast<double>(v1), static_cast<double>(mask[i])))
          << +v0 << " to " << +v1 << " by " << +mask[i];
      ASSERT_TRUE(pixels[i].red == old.red && pixels[i].green == old.green && pixels[i].blue == old.blue);
    }
    ASSERT_EQ(pixels.back().alpha, old.alpha) << "the pixel behind the count";
  }
  PF_BlendSingleChannel<TypeParam, T>(0, T{}, T{}, nullptr, nullptr);
}

TEST(FloatChannels, BlendsAreExactAtTheEnds) {
  const std::array<float, 4> mask = {0.0f, 1.0f, 7.0f, 0.5f};
  std::array<PF_PixelFloat, 4> pixels = {};
  PF_BlendSingleChannel<PF_PixelFloat, float>(4, 0.1f, 3e38f, mask.data(), pixels.data());
  EXPECT_EQ(pixels[0].alpha, 0.1f);
  EXPECT_EQ(pixels[1].alpha, 3e38f);
  EXPECT_EQ(pixels[2].alpha, 3e38f);
  PF_BlendSingleChannel<PF_PixelFloat, float>(4, -3e38f, 3e38f, mask.data(), pixels.data());
  EXPECT_EQ(pixels[0].alpha, -3e38f) << "though the difference is infinite";
}

class ConvertDeep : public pftest::LibraryTest {};

TEST_F(ConvertDeep, ConvertsTheRectangleInBothAndNothingElse) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    Random random(seed);
    const auto any = [&](std::int64_t low, std::int64_t high) {
      return static_cast<std::int32_t>(Between(random, low, high));
    };
    TestMask src(16, any(1, 40), any(1, 20), random), dst(seed % 2 == 0 ? 8 : 16, any(1, 40), any(1, 20), random);
    const M_LRect rect = {any(-5, 30), any(-5, 15), seed % 5 == 0 ? INT32_MAX : any(0, 45), any(0, 25)};
    const bool dither = seed % 4 == 0;
    PF_ResetDitherRandomIndex();
    std::vector<double> expected;
    std::int64_t drawn = 0;
    for (std::int32_t y = 0; y < dst.height(); ++y) {
      for (std::int32_t x = 0; x < dst.width(); ++x) {
        const bool inside =
            x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom && x < src.width() && y < src.height();
        if (!inside || dst.depth() == 16) {
          expected.push_back(inside ? src.Get(x, y) : dst.Get(x, y));
          continue;
        }
        const std::uint32_t noise = dither ? pftest::RandomTable()[drawn++ % 101] % 32768 : 16384;
        expected.push_back(pftest::ReferenceFromInteger(static_cast<std::uint16_t>(src.Get(x, y)), 8, noise));
      }
    }
    ASSERT_EQ(PF_ConvertDeepUnoBuffer(nullptr, src.record(), &rect, dither ? 7 : 0, dst.record()), 0);
    ASSERT_EQ(dst.FirstDifference(expected), "") << "seed " << seed;
  }
}

TEST_F(ConvertDeep, TheNextCallDrawsOn) {
  TestMask src(16, 10, 3), first(8, 10, 3), second(8, 10, 3);
  src.FillWith(16000);
  const M_LRect all = {0, 0, 10, 3};
  PF_ResetDitherRandomIndex();
  ASSERT_EQ(PF_ConvertDeepUnoBuffer(nullptr, src.record(), &all, 1, first.record()), 0);
  ASSERT_EQ(PF_ConvertDeepUnoBuffer(nullptr, src.record(), &all, 1, second.record()), 0);
  for (std::int32_t i = 0; i < 30; ++i) {
    const std::uint32_t noise = pftest::RandomTable()[30 + i] % 32768;
    ASSERT_EQ(second.Get(i % 10, i / 10), pftest::ReferenceFromInteger(std::uint16_t{16000}, 8, noise)) << i;
  }
}

TEST_F(ConvertDeep, WithoutATableThereIsNoNoise) {
  ASSERT_EQ(PF_Death(), 0);
  Host().random_length = 0;
  ASSERT_EQ(PF_Birth(), 0);
  TestMask src(16, 5, 1), dst(8, 5, 1);
  src.FillWith(16000);
  const M_LRect all = {0, 0, 5, 1};
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, src.record(), &all, 1, dst.record()), 0);
  EXPECT_EQ(dst.FirstDifference(std::vector<double>(5, 125)), "");
}

TEST_F(ConvertDeep, OtherDepthsGetTheirAnswers) {
  Random random(9);
  TestMask deep(16, 4, 4, random), low(8, 4, 4, random), floats(32, 4, 4, random);
  const M_LRect all = {0, 0, 4, 4};
  const auto before = low.Bytes();
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, floats.record(), &all, 0, low.record()), 0);
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, low.record(), &all, 0, floats.record()), 0);
  EXPECT_EQ(low.Bytes(), before);
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, deep.record(), &all, 0, floats.record()), 516);
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, deep.record(), nullptr, 0, low.record()), 516);
  EXPECT_TRUE(Host().reports.empty());
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, nullptr, &all, 0, low.record()), 3);
  EXPECT_EQ(PF_ConvertDeepUnoBuffer(nullptr, deep.record(), &all, 0, nullptr), 3);
}

}  // namespace
