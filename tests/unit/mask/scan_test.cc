// After: weights that do not add up, sums that overflow or round twice, borders that leak or count twice, a
// box whose running sum drifts, scans in place that read their own results, kernels that leave their run.
#include <gtest/gtest.h>

#include "filter/Bell.h"
#include "reference/MaskScans.h"
#include "support/LibraryTest.h"
#include "support/TestHost.h"

namespace {

using pftest::Host;
using pftest::Random;
using pftest::TestMask;

using ScanFunc = PF_Err (*)(const PF_UnoBuffer*, PF_UnoBuffer*, float, std::int32_t, const PF_ProgressInfo*);
struct Kind {
  const char* name;
  ScanFunc scan;
  std::int32_t depth;
  bool box;
};
constexpr Kind kKinds[] = {{"bell", &PF_GBlurUnoScan, 8, false},
                           {"deep bell", &PF_GBlurDeepUnoScan, 16, false},
                           {"box", &PF_BoxBlurUnoScan, 8, true},
                           {"deep box", &PF_BoxBlurDeepUnoScan, 16, true}};

class MaskScan : public pftest::LibraryTest {};

// Above it a series stands for the bell, and results may be off by one.
constexpr float kLargestSummed = 12;

void ExpectScan(const Kind& kind, TestMask& src, float radius, bool along_rows, bool in_place) {
  const auto expected = pftest::ReferenceScan(src, radius, kind.box, along_rows);
  TestMask other(kind.depth, src.width(), src.height());
  TestMask& dst = in_place ? src : other;
  ASSERT_EQ(kind.scan(src.record(), dst.record(), radius, along_rows ? 0 : 1, nullptr), 0);
  ASSERT_EQ(dst.FirstDifference(expected, kind.box || radius <= kLargestSummed ? 0 : 1), "")
      << kind.name << ", radius " << radius << (along_rows ? " along rows" : " along columns")
      << (in_place ? ", in place" : "") << ", " << src.width() << "x" << src.height();
}

TEST_F(MaskScan, IsTheReferenceForAllRadiiSizesAndDirections) {
  constexpr float kRadii[] = {0.0f, 0.2f, 0.49f, 0.5f, 1.0f, 1.5f, 2.0f, 2.5f, 5.0f, 9.4f, 31.0f, 100.7f};
  constexpr std::int32_t kSizes[][2] = {{1, 1}, {1, 40}, {40, 1}, {17, 23}, {70, 9}, {261, 5}, {300, 34}};
  Random random(1);
  for (const Kind& kind : kKinds) {
    for (const auto& size : kSizes) {
      for (const float radius : kRadii) {
        for (const int turn : {0, 1, 2, 3}) {
          TestMask src(kind.depth, size[0], size[1], random);
          ExpectScan(kind, src, radius, turn % 2 == 0, turn / 2 == 1);
        }
      }
    }
  }
}

TEST_F(MaskScan, TheLargestRadiiNeitherOverflowNorDrift) {
  Random random(2);
  for (const Kind& kind : kKinds) {
    for (const float radius : {32767.0f, 12345.6f}) {
      for (const bool along_rows : {true, false}) {
        TestMask src(kind.depth, along_rows ? 3000 : 3, along_rows ? 3 : 3000);
        for (const bool full : {true, false}) {
          if (full) src.FillWith(kind.depth == 8 ? 255 : 65535);
          if (!full) src.Fill(random);
          ExpectScan(kind, src, radius, along_rows, false);
        }
      }
    }
  }
}

// Beyond the border there is nothing, so a lone value is left with less than a hundredth of a step: unless the series
// that stands for these bells is scaled otherwise at some radius, or the border repeated, it must not show.
TEST_F(MaskScan, ALoneValueUnderTheWidestBellsIsNearlyGone) {
  TestMask src(8, 1, 1), dst(8, 1, 1);
  src.FillWith(255);
  for (float radius = 32700; radius <= 32767; radius += 0.37f) {
    ASSERT_EQ(PF_GBlurUnoScan(src.record(), dst.record(), radius, 0, nullptr), 0);
    ASSERT_EQ(dst.Get(0, 0), 0) << radius;
  }
}

TEST_F(MaskScan, AConstantMaskStaysConstantWhereNoBorderIsNear) {
  for (const Kind& kind : kKinds) {
    for (const double value : {1.0, 77.0, 128.0, 254.0, 255.0}) {
      for (const float radius : {0.7f, 3.0f, 10.2f}) {
        TestMask mask(kind.depth, 61, 61);
        const double v = kind.depth == 8 ? value : value * 128 + 1;
        mask.FillWith(v);
        ASSERT_EQ(kind.scan(mask.record(), mask.record(), radius, 0, nullptr), 0);
        ASSERT_EQ(kind.scan(mask.record(), mask.record(), radius, 1, nullptr), 0);
        for (std::int32_t y = 22; y < 39; ++y) {
          for (std::int32_t x = 22; x < 39; ++x) ASSERT_EQ(mask.Get(x, y), v) << kind.name << ", radius " << radius;
        }
        EXPECT_LT(mask.Get(0, 0), std::max(v, 2.0)) << "beyond the border there is nothing";
      }
    }
  }
}

TEST_F(MaskScan, AnImpulseShowsTheBell) {
  const float radius = 3;
  TestMask src(16, 21, 1), dst(16, 21, 1);
  src.FillWith(0);
  src.Set(10, 0, 32768);
  ASSERT_EQ(PF_GBlurDeepUnoScan(src.record(), dst.record(), radius, 0, nullptr), 0);
  double sum = 0;
  for (int i = -3; i <= 3; ++i) sum += pf::BellValue(std::abs(i) / 4.0);
  for (int x = 0; x < 21; ++x) {
    const int distance = std::abs(x - 10);
    const double expected = distance > 3 ? 0 : 32768 * pf::BellValue(distance / 4.0) / sum;
    EXPECT_NEAR(dst.Get(x, 0), expected, 0.5001) << x;
  }
}

TEST(Bell, IsOneAtTheCentreAndNothingBeyondOne) {
  EXPECT_EQ(pf::BellValue(0), 1);
  EXPECT_NEAR(pf::BellValue(1), 0.000195, 0.000001);
  EXPECT_EQ(pf::BellValue(1.0001), 0);
  EXPECT_NEAR(pf::BellValue(0.5), 1 - (1 - std::exp(-0.5945)) * 1.102, 1e-15);
}

TEST_F(MaskScan, BadCallsGetTheirCodesAndChangeNothing) {
  Random random(4);
  for (const Kind& kind : kKinds) {
    TestMask src(kind.depth, 9, 5, random), dst(kind.depth, 9, 5, random), narrow(kind.depth, 8, 5);
    TestMask low(kind.depth, 9, 6), other(kind.depth == 8 ? 16 : 8, 9, 5), floats(32, 9, 5);
    const auto before = dst.Bytes();
    for (const float radius : {-0.001f, -5.0f, 32768.0f, 32767.1f, INFINITY, NAN}) {
      EXPECT_EQ(kind.scan(src.record(), dst.record(), radius, 0, nullptr), 516) << radius;
    }
    for (TestMask* bad : {&narrow, &low, &other, &floats}) {
      EXPECT_EQ(kind.scan(bad->record(), dst.record(), 2, 0, nullptr), 516);
      EXPECT_EQ(kind.scan(dst.record(), bad->record(), 2, 0, nullptr), 516);
    }
    EXPECT_TRUE(Host().reports.empty());
    EXPECT_EQ(kind.scan(nullptr, dst.record(), 2, 0, nullptr), 3);
    EXPECT_EQ(kind.scan(dst.record(), nullptr, 2, 0, nullptr), 3);
    EXPECT_EQ(dst.Bytes(), before);
    Host().Reset();
    TestMask empty(kind.depth, 0, 5), flat(kind.depth, 5, 0);
    EXPECT_EQ(kind.scan(empty.record(), empty.record(), 2, 0, nullptr), 0);
    EXPECT_EQ(kind.scan(flat.record(), flat.record(), 2, 1, nullptr), 0);
  }
}

TEST_F(MaskScan, ShortMemoryIsToldByName) {
  TestMask mask(8, 40, 40);
  for (const int n : {0, 1}) {
    Host().Reset();
    PF_FreeUpSomeMemory();
    Host().fail_allocation = n;
    Host().fail_all_later_allocations = true;
    EXPECT_EQ(PF_GBlurUnoScan(mask.record(), mask.record(), 3, 1, nullptr), 4);
    EXPECT_EQ(Host().ReportTexts(), n == 0 ? "gaussian weight array\n" : "memory for blurring\n");
  }
}

}  // namespace
