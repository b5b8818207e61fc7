// After rectangles that lose or gain a pixel by a wrong order of clipping, overflow at the ends of 32
// bits, and column maps that differ from the accumulators.
#include "copy/Plan.h"

#include <gtest/gtest.h>

#include <limits>

#include "reference/ScaledCopy.h"

namespace {

constexpr std::int64_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();

TEST(Plan, ClipsWithTheExtentsBeforeClippingAndTruncates) {
  using Axis = std::array<std::int64_t, 4>;
  const struct {
    const char* what;
    pf::Span src, dst;
    Axis expected;  // src, size, dst, size; all zero: nothing
  } rows[] = {
      {"source beyond both ends", {-1, 5}, {0, 12}, {0, 4, 2, 8}},
      {"destination beyond both ends", {0, 4}, {-3, 13}, {0, 4, 0, 10}},
      {"both clips take the first extents, 9 and 13", {-4, 5}, {-8, 5}, {2, 2, 0, 4}},
      {"a proportion truncates", {-1, 4}, {0, 3}, {0, 4, 0, 3}},
      {"left of the world", {0, 4}, {-5, 0}, {}},
      {"right of the world", {4, 9}, {0, 4}, {}},
      {"reversed", {3, 1}, {0, 4}, {}},
      {"all of 32 bits onto all of 32 bits", {kLeast, kMost}, {kLeast, kMost}, {0, 4, 0, 4}},
  };
  for (const auto& row : rows) {
    const pf::Side src = {row.src, {0, 1}, 4, 1};
    const pf::Side dst = {row.dst, {0, 1}, 10, 1};
    const pf::CopyAxis axis = pf::PrepareArea(src, dst).x;
    EXPECT_EQ((Axis{axis.src, axis.src_size, axis.dst, axis.dst_size}), row.expected) << row.what;
  }
}

TEST(Plan, DraftMapsAreTheAccumulators) {
  pftest::Random random(30);
  for (int trial = 0; trial < 300; ++trial) {
    const std::int64_t from = pftest::Between(random, 1, 300), to = pftest::Between(random, 1, 300);
    const pf::NearestMap map = pf::DraftMap({0, from, 0, to});
    std::int64_t k = 0;
    const auto counts = pftest::ReferenceCounts(from, to);
    for (std::int64_t i = 0; i < from; ++i) {
      for (std::int64_t m = 0; m < counts[static_cast<std::size_t>(i)]; ++m, ++k) {
        ASSERT_EQ(map.At(k), i) << from << " to " << to << ", pixel " << k;
      }
    }
    ASSERT_EQ(k, to);
  }
  // Kept: the columns at which the accumulator reaches the divisor.
  const pf::NearestMap half = pf::DraftMap({0, 8, 0, 4});
  EXPECT_EQ((std::array{half.At(0), half.At(1), half.At(2), half.At(3)}), (std::array<std::int64_t, 4>{1, 3, 5, 7}));
  // The largest worlds that a record can describe.
  EXPECT_EQ(pf::DraftMap({0, kMost, 0, kMost}).At(kMost - 1), kMost - 1);
}

TEST(Plan, BandsPartTheRows) {
  for (const std::int64_t rows : {std::int64_t{1}, std::int64_t{7}, kMost}) {
    for (const std::int32_t bands : {1, 3, 8, std::numeric_limits<std::int32_t>::max()}) {
      EXPECT_EQ(pf::BandOf(rows, 0, bands).low, 0);
      EXPECT_EQ(pf::BandOf(rows, bands - 1, bands).high, rows);
      EXPECT_TRUE(bands == 1 || pf::BandOf(rows, 0, bands).high == pf::BandOf(rows, 1, bands).low);
    }
  }
}

}  // namespace
