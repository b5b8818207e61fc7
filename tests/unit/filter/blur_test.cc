// After: blurs that are not the weighted sums they promise, leave something where nothing was, or move what is even.
#include "BlurSupport.h"
#include "reference/BlurPictures.h"

namespace {

using namespace pftest;

constexpr float kRadii[] = {0.3f, 1, 3, 7.5f, 12, 12.5f, 13, 50, 200};
constexpr std::int32_t kDepths[] = {8, 16, 32};

// A line of `length` pixels in each row or column.
std::unique_ptr<TestWorld> Lines(std::int32_t depth, std::int32_t length, std::int32_t count, bool columns, int gap) {
  return std::make_unique<TestWorld>(depth, columns ? count : length, columns ? length : count, gap);
}

TEST_F(Blurs, AreTheWeightedSumsOfTheReference) {
  Random random(1);
  for (const float radius : kRadii) {
    for (const std::int32_t depth : kDepths) {
      for (int variant = 0; variant < 32; ++variant) {
        BlurWish wish = {(variant & 1) != 0, radius};
        wish.flags = (variant >> 1) % 8 * PF_BlurFlag_TRANSPARENT_EDGES;
        wish.straight = (variant & 16) != 0;
        const std::uint64_t ways = random();
        wish.src_columns = ways % 2 != 0;
        wish.dst_columns = ways / 2 % 2 != 0;
        const auto reach = static_cast<std::int32_t>(wish.Reach());
        for (const std::int32_t length : {1 + reach / 2, 2 * reach + 30}) {
          const auto src = Lines(depth, length, ways / 4 % 2 == 0 ? 3 : 4, wish.src_columns, 12);
          // Straight colours of negative alpha have no bound.
          const TestWorld::Kind kinds[] = {TestWorld::kRandom, TestWorld::kSparse, TestWorld::kEdges};
          src->Fill(random, wish.straight && depth == 32 ? TestWorld::kSparse : kinds[ways / 8 % 3]);
          EXPECT_TRUE(IsNearReference(*src, *Blurred(*src, wish), wish));
        }
      }
    }
  }
}

// Long lines, where running sums have gone a long way, with a bright end and a dim one.
TEST_F(Blurs, StayRightAlongLongLines) {
  Random random(2);
  constexpr std::int32_t kLength = 20000;
  for (const bool straight : {false, true}) {
    for (const float radius : {13.0f, 300.0f, 5000.0f}) {
      for (const double range : {1.0, 0x1p16, 0x1p20}) {
        TestWorld src(32, kLength, 1);
        src.Fill(random, TestWorld::kOpaque);
        for (std::int32_t x = 0; x < kLength / 2; ++x) {
          PF_PixelFloat& p = src.At<PF_PixelFloat>(x, 0);
          for (float* channel : {&p.red, &p.green, straight ? &p.blue : &p.alpha}) {
            *channel *= static_cast<float>(range);
          }
        }
        const BlurWish wish = {false, radius, 0, false, false, straight};
        EXPECT_TRUE(IsNearReference(src, *Blurred(src, wish), wish, 101)) << range;
      }
    }
  }
}

TEST_F(Blurs, ALineOfOneColourKeepsIt) {
  Random random(3);
  for (const std::int32_t depth : kDepths) {
    for (const float radius : {0.3f, 4.7f, 12.5f, 60.0f, 1000.0f}) {
      for (const int variant : {0, 1, 2, 3}) {
        TestWorld src(depth, 50, 600, 8);
        FillRowsWithOneColourEach(src, random);
        const BlurWish wish = {variant % 2 != 0, radius, 0, false, false, variant >= 2};
        const auto dst = Blurred(src, wish);
        EXPECT_TRUE(dst->SamePixels(src)) << TextOf(wish) << " " << dst->FirstDifference(src);
      }
    }
  }
}

TEST_F(Blurs, AreTheSameAlongRowsAndColumnsAndTurned) {
  Random random(4);
  for (const std::int32_t depth : kDepths) {
    for (const std::int32_t count : {1, 2, 7}) {
      for (const std::int32_t length : {1, 90}) {
        TestWorld rows(depth, length, count, 4), columns(depth, count, length, 4);
        rows.Fill(random, TestWorld::kSparse);
        Turn(rows, columns);
        for (const bool box : {false, true}) {
          for (const float radius : {0.0f, 2.5f, 12.5f, 30.0f}) {
            for (const bool straight : {false, true}) {
              BlurWish wish = {box, radius, 0, false, false, straight};
              const auto expected = Blurred(rows, wish);
              wish.dst_columns = true;
              EXPECT_TRUE(IsTurned(*expected, *Blurred(rows, wish))) << TextOf(wish) << " depth " << depth;
              wish.src_columns = true;
              EXPECT_TRUE(IsTurned(*expected, *Blurred(columns, wish))) << TextOf(wish) << " depth " << depth;
              wish.dst_columns = false;
              EXPECT_TRUE(expected->SamePixels(*Blurred(columns, wish))) << TextOf(wish) << " depth " << depth;
            }
          }
        }
      }
    }
  }
}

// Values above full and what a NaN carries too.
TEST_F(Blurs, CopiesAreBitForBit) {
  constexpr std::int32_t kBoth = PF_BlurFlag_ALPHA_ONLY | PF_BlurFlag_COLOR_ONLY;
  Random random(14);
  for (const std::int32_t depth : kDepths) {
    for (int variant = 0; variant < 16; ++variant) {
      for (const float radius : {0.0f, 3.0f, 20.0f}) {
        for (const std::int32_t only : {0, PF_BlurFlag_ALPHA_ONLY + 0, PF_BlurFlag_COLOR_ONLY + 0, kBoth}) {
          const BlurWish wish = {(variant & 1) != 0, radius, only, (variant & 2) != 0, (variant & 4) != 0,
                                 (variant & 8) != 0};
          const bool all = radius == 0 || only == kBoth, turned = wish.src_columns != wish.dst_columns;
          if (!all && only == 0) continue;
          TestWorld src(depth, 150, 5, 4);
          src.Fill(random, TestWorld::kRawBits);
          const auto dst = Blurred(src, wish);
          const std::size_t size = src.PixelSize() / 4, first = all || only == PF_BlurFlag_COLOR_ONLY ? 0 : size,
                            count = all                              ? 4 * size
                                    : only == PF_BlurFlag_COLOR_ONLY ? size
                                                                     : 3 * size;
          for (std::int32_t y = 0; y < src.height(); ++y) {
            for (std::int32_t x = 0; x < src.width(); ++x) {
              const std::byte *from = src.Row(y) + 4 * size * static_cast<std::size_t>(x),
                              *to = dst->Row(turned ? x : y) + 4 * size * static_cast<std::size_t>(turned ? y : x);
              ASSERT_EQ(std::memcmp(from + first, to + first, count), 0)
                  << TextOf(wish) << ", depth " << depth << " " << src.PixelText(x, y) << " at " << x << ", " << y;
            }
          }
        }
      }
    }
  }
}

TEST_F(Blurs, UnknownFlagsChangeNothing) {
  constexpr std::int32_t kKnown = PF_BlurFlag_TRANSPARENT_EDGES | PF_BlurFlag_ALPHA_ONLY | PF_BlurFlag_COLOR_ONLY;
  Random random(15);
  for (const std::int32_t depth : kDepths) {
    TestWorld src(depth, 50, 9);
    src.Fill(random, TestWorld::kSparse);
    for (const bool box : {false, true}) {
      for (const float radius : {3.0f, 20.0f}) {
        for (std::int32_t flags = 0; flags <= kKnown; flags += PF_BlurFlag_TRANSPARENT_EDGES) {
          BlurWish wish = {box, radius, flags};
          const auto expected = Blurred(src, wish);
          for (const std::int32_t more : {1, 16, ~kKnown}) {
            wish.flags = flags | more;
            EXPECT_TRUE(expected->SamePixels(*Blurred(src, wish))) << TextOf(wish) << ", depth " << depth;
          }
        }
      }
    }
  }
}

TEST_F(Blurs, ASampleReachesAsFarAsTheRadius) {
  for (const float radius : {0.3f, 1.0f, 7.5f, 12.0f, 12.5f, 50.0f, 333.3f}) {
    for (const int variant : {0, 1, 2, 3}) {
      const BlurWish wish = {variant % 2 != 0, radius, 0, false, false, variant >= 2};
      const auto reach = static_cast<std::int32_t>(wish.Reach());
      const std::int32_t n = 8 * reach + 9, centre = 3 * reach + 1;
      const auto src = FloatRow(n, {});
      src->At<PF_PixelFloat>(centre, 0) = {0.75f, 0.5f, 3e-5f, 1e6f};
      const auto dst = Blurred(*src, wish);
      for (std::int32_t x = 0; x < n; ++x) {
        const PF_PixelFloat& p = dst->At<PF_PixelFloat>(x, 0);
        const bool reached = std::abs(x - centre) <= reach;
        EXPECT_TRUE(reached ? p.alpha > 0 && p.red > 0 && p.green > 0 && p.blue > 0 : IsZero(p))
            << TextOf(wish) << " " << x - centre << ": " << dst->PixelText(x, 0);
      }
    }
  }
}

// What is empty stays so beside what is bright, and what is small stays right beside what is huge.
TEST_F(Blurs, NothingIsLeftOfWhatWentBy) {
  Random random(5);
  for (const float bright : {1.0f, 1e6f, 1e30f}) {
    for (const float radius : {5.0f, 40.0f}) {
      for (const int variant : {0, 1, 2, 3}) {
        const BlurWish wish = {variant % 2 != 0, radius, PF_BlurFlag_TRANSPARENT_EDGES, false, false, variant >= 2};
        const auto reach = static_cast<std::int32_t>(wish.Reach());
        const std::int32_t n = 1000, begin = 100, end = 253, dim = 600;
        const auto src = FloatRow(n, {});
        for (std::int32_t x = begin; x < n; ++x) {
          const auto unit = [&] { return static_cast<float>(random() >> 40) * 0x1p-24f; };
          if (x < end) src->At<PF_PixelFloat>(x, 0) = {1, bright * unit(), bright, -bright * unit()};
          if (x >= end - 3 && x < end) src->At<PF_PixelFloat>(x, 0) = {1e-12f, 1e-11f, 3e-13f, 1e-12f};  // a soft end
          if (x >= dim) src->At<PF_PixelFloat>(x, 0) = {unit(), unit(), -1, 1e-3f * unit()};
        }
        const auto dst = Blurred(*src, wish);
        for (std::int32_t x = 0; x < dim - reach; ++x) {
          if (x >= begin - reach && x < end + reach) continue;
          EXPECT_TRUE(IsZero(dst->At<PF_PixelFloat>(x, 0))) << TextOf(wish) << " " << dst->PixelText(x, 0);
        }
        EXPECT_TRUE(IsNearReference(*src, *dst, wish)) << bright;
      }
    }
  }
}

// Stretches of any size, or empty, one beside the other.
TEST_F(Blurs, EverySizeIsRightBesideEveryOther) {
  Random random(10);
  for (int round = 0; round < 60; ++round) {
    const float radii[] = {5, 12.5f, 20, 60};
    BlurWish wish = {round % 5 == 0, radii[round % 4]};
    wish.flags = static_cast<std::int32_t>(random() % 2) * PF_BlurFlag_TRANSPARENT_EDGES;
    wish.straight = random() % 2 == 0;
    TestWorld src(32, 900, 3);
    src.Fill(random, TestWorld::kOpaque);
    for (std::int32_t y = 0; y < 3; ++y) {
      for (int c = 0; c < 4; ++c) {
        for (std::int32_t x = 0, end = 0, size = 0; x < 900; ++x) {
          if (x == end) {
            end += static_cast<std::int32_t>(Between(random, 1, 5 * wish.Reach()));
            size = static_cast<std::int32_t>(Between(random, -45, 15));
          }
          float& channel = reinterpret_cast<float*>(src.Row(y))[4 * x + c];
          channel = size < -25 ? 0 : std::ldexp(channel, 2 * size);
        }
      }
    }
    EXPECT_TRUE(IsNearReference(src, *Blurred(src, wish), wish)) << round;
  }
}

// Beyond the radius the results are those without the sample; within it they are not finite.
TEST_F(Blurs, WhatIsNotFiniteReachesNoFurther) {
  Random random(6);
  for (const float bad : {std::nanf(""), HUGE_VALF, -HUGE_VALF}) {
    for (const float radius : {0.3f, 9.0f, 12.5f, 30.0f}) {
      for (const int variant : {0, 1, 2, 3}) {
        for (const std::int32_t at : {0, 130, 299}) {
          const BlurWish wish = {variant % 2 != 0, radius, 0, false, false, variant >= 2};
          const auto reach = static_cast<std::int32_t>(wish.Reach());
          TestWorld src(32, 300, 2);
          src.Fill(random, TestWorld::kOpaque);
          PF_PixelFloat& p = src.At<PF_PixelFloat>(at, 0);
          (wish.straight ? p.alpha : p.green) = bad;
          const auto dst = Blurred(src, wish);
          for (std::int32_t x = std::max(at - reach, 0); x <= std::min(at + reach, 299); ++x) {
            const PF_PixelFloat& q = dst->At<PF_PixelFloat>(x, 0);
            EXPECT_FALSE(std::isfinite(wish.straight ? q.alpha : q.green)) << TextOf(wish) << " " << x;
          }
          for (const std::int32_t end : {at - reach, 300}) {
            const std::int32_t begin = end == 300 ? at + reach + 1 : 0;
            for (std::int32_t x = begin; x < end; ++x) {
              const PF_PixelFloat& q = dst->At<PF_PixelFloat>(x, 0);
              EXPECT_TRUE(std::isfinite(q.alpha + q.red + q.green + q.blue)) << TextOf(wish) << " " << x;
            }
          }
          p = {1, 0.5f, 0.5f, 0.5f};
          const auto clean = Blurred(src, wish);
          for (std::int32_t x = 0; x < 600; ++x) {
            if (x < 300 && std::abs(x - at) <= reach) continue;
            const auto &q = dst->At<PF_PixelFloat>(x % 300, x / 300), &c = clean->At<PF_PixelFloat>(x % 300, x / 300);
            EXPECT_NEAR(q.red, c.red, 1e-6) << TextOf(wish) << " " << x;
            EXPECT_NEAR(q.alpha, c.alpha, 1e-6) << TextOf(wish) << " " << x;
          }
        }
      }
    }
  }
}

}  // namespace
