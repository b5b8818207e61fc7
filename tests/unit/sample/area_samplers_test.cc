// After means over the wrong pixels, wrong partial weights, a divisor that forgets the outside, and sums
// that lose bits: exact integer means, double precision for floats.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "PF/PF_Sampling.h"
#include "reference/PointSamplers.h"
#include "support/Worlds.h"

namespace {

using pftest::Between;
using pftest::Bits;
using pftest::Random;
using pftest::TestWorld;

__extension__ typedef __int128 Wide;

template <class P>
using Sampler = PF_Err (*)(PF_ProgressInfo*, std::int32_t, std::int32_t, const PF_SampPB*, P*);
template <class P>
const Sampler<P> kSamplers[] = {&PF_AreaSample_CPlusPlus<P, 0>, &PF_AreaSample_CPlusPlus<P, 1>};
// What of pixel i a box covers, in 1/65536.
std::int64_t Overlap(std::int64_t centre, std::int64_t radius, std::int64_t i) {
  if (radius == 0) return (centre + 32768) >> 16 == i ? 65536 : 0;
  const std::int64_t middle = i * 65536;
  return std::max<std::int64_t>(std::min(centre + radius, middle + 32768) - std::max(centre - radius, middle - 32768),
                                0);
}

std::int64_t Extent(std::int64_t radius) { return radius == 0 ? 65536 : 2 * radius; }

// Sums over the box: of weights times alpha, and times alpha (straight) times colour; then the box's area.
template <class Number, class P>
std::array<Number, 5> SumsOf(const PF_SampPB& params, std::int32_t x, std::int32_t y, bool straight) {
  std::array<Number, 5> sums = {};
  for (std::int32_t j = 0; j < params.src->height; ++j) {
    for (std::int32_t i = 0; i < params.src->width; ++i) {
      const auto weight =
          static_cast<Number>(Overlap(x, params.radius_x, i)) * static_cast<Number>(Overlap(y, params.radius_y, j));
      const auto channels = std::bit_cast<pftest::Channels<P>>(pftest::ReferencePixel<P>(*params.src, i, j));
      for (std::size_t c = 0; c < 4; ++c) {
        sums[c] += weight * static_cast<Number>(channels[c]) *
                   (straight && c > 0 ? static_cast<Number>(channels[0]) : Number{1});
      }
    }
  }
  sums[4] = static_cast<Number>(Extent(params.radius_x)) * static_cast<Number>(Extent(params.radius_y));
  return sums;
}

// `f(params, x, y, straight)` for boxes in and around random pictures: no radius, whole halves, any.
template <class P, class F>
void ForManyBoxes(F f) {
  Random random(50);
  for (int trial = 0; trial < 800 && !testing::Test::HasFailure(); ++trial) {
    const auto width = static_cast<std::int32_t>(Between(random, 1, trial % 8 == 0 ? 90 : 9));
    const auto height = static_cast<std::int32_t>(Between(random, 1, trial % 8 == 0 ? 60 : 9));
    TestWorld world(pf::DepthTraits<P>::kDepth, width, height, 16 * (trial % 2));
    constexpr TestWorld::Kind kKinds[] = {TestWorld::kOpaque, TestWorld::kSparse, TestWorld::kRandom,
                                          TestWorld::kEdges};
    world.Fill(random, kKinds[trial % (std::is_same_v<P, PF_PixelFloat> ? 2 : 4)]);
    const auto radius = [&](std::int32_t size) {
      const std::int64_t radii[] = {0, Between(random, 1, 3) * 32768, Between(random, 1, size * 40000)};
      return static_cast<std::int32_t>(radii[random() % 3]);
    };
    const PF_SampPB params = {radius(width), radius(height), 0, world.record()};
    for (int k = 0; k < 8; ++k) {
      const std::int64_t grid = k % 2 == 0 ? 1 : 32768;
      const auto x = static_cast<std::int32_t>(Between(random, -65536, (width + 1) * 65536) / grid * grid);
      const auto y = static_cast<std::int32_t>(Between(random, -65536, (height + 1) * 65536) / grid * grid);
      SCOPED_TRACE(testing::Message() << "trial " << trial << ", " << width << " x " << height << " at " << x << ", "
                                      << y << ", radii " << params.radius_x << ", " << params.radius_y);
      f(params, x, y, k / 2 % 2 == 0);
    }
  }
}

template <class P>
class AreaMeans : public testing::Test {};
using IntegerPixels = testing::Types<PF_Pixel8, PF_Pixel16>;
TYPED_TEST_SUITE(AreaMeans, IntegerPixels);

TYPED_TEST(AreaMeans, AreTheExactOnesRounded) {
  using P = TypeParam;
  // What 8 bits may be off by before rounding, as a fraction of 1; 16 bits round the exact mean.
  constexpr std::int64_t kSlack = std::is_same_v<P, PF_Pixel8> ? 1024 : 1LL << 40;
  ForManyBoxes<P>([&](const PF_SampPB& params, std::int32_t x, std::int32_t y, bool straight) {
    P out;
    EXPECT_EQ(kSamplers<P>[straight](nullptr, x, y, &params, &out), 0);
    const auto sums = SumsOf<Wide, P>(params, x, y, straight);
    if (out.alpha == 0) {
      EXPECT_EQ(Bits(out), Bits(P{}));
      EXPECT_TRUE(2 * sums[0] < sums[4] + sums[4] / kSlack);
      return;
    }
    for (std::size_t c = 0; c < 4; ++c) {
      const Wide divisor = straight && c > 0 ? sums[0] : sums[4];
      const Wide off = 2 * (std::bit_cast<pftest::Channels<P>>(out)[c] * divisor - sums[c]);  // of 2 * divisor
      EXPECT_TRUE(off > -divisor - divisor / kSlack && off <= divisor + divisor / kSlack)
          << "channel " << c << ", off by " << static_cast<double>(off) / static_cast<double>(2 * divisor);
      if (off == -divisor) ADD_FAILURE() << "channel " << c << ": a half went down";
    }
  });
}

TEST(AreaMeansOfFloats, AreThoseInDouble) {
  using P = PF_PixelFloat;
  ForManyBoxes<P>([&](const PF_SampPB& params, std::int32_t x, std::int32_t y, bool straight) {
    P out;
    EXPECT_EQ(kSamplers<P>[straight](nullptr, x, y, &params, &out), 0);
    const auto sums = SumsOf<double, P>(params, x, y, straight);
    if (straight && sums[0] == 0) {
      EXPECT_EQ(Bits(out), Bits(P{}));
      return;
    }
    for (std::size_t c = 0; c < 4; ++c) {
      const double mean = sums[c] / (straight && c > 0 ? sums[0] : sums[4]);
      EXPECT_NEAR(static_cast<double>(std::bit_cast<pftest::Channels<P>>(out)[c]), mean, 1.2e-7 * mean) << c;
    }
  });
}

TYPED_TEST(AreaMeans, HugeBoxesKeepConstants) {
  using P = TypeParam;
  using C = pf::ChannelOf<P>;
  constexpr C kFull = pf::DepthTraits<P>::kFull;
  TestWorld world(pf::DepthTraits<P>::kDepth, 900, 500);
  for (const int alpha : {1, kFull / 2, kFull - 1, int{kFull}}) {
    const P pixel = {static_cast<C>(alpha), kFull, static_cast<C>(alpha / 2), 1};
    for (std::int32_t k = 0; k < 900 * 500; ++k) world.At<P>(k % 900, k / 900) = pixel;
    for (const auto& [rx, ry] : {std::pair(449 * 65536 + 4321, 249 * 65536 + 1), {40000, 240 * 65536 + 77}}) {
      const PF_SampPB params = {rx, ry, 0, world.record()};
      for (const Sampler<P> sample : kSamplers<P>) {
        P out;
        EXPECT_EQ(sample(nullptr, 449 * 65536 + 32768, 249 * 65536 + 32000, &params, &out), 0);
        EXPECT_EQ(Bits(out), Bits(pixel)) << rx;
      }
    }
    // A corner of the picture: the outside takes three quarters of alpha and no straight colour.
    const PF_SampPB params = {400 * 65536, 200 * 65536, 0, world.record()};
    P out;
    kSamplers<P>[1](nullptr, -32768, -32768, &params, &out);
    const auto quarter = static_cast<C>((alpha + 2) / 4);
    EXPECT_EQ(Bits(out), Bits(quarter == 0 ? P{} : P{quarter, pixel.red, pixel.green, pixel.blue}));
  }
}

}  // namespace
