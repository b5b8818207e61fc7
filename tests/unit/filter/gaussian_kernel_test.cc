// After: kernels that are lopsided, of the wrong size, scaled otherwise, or written although a parameter is bad.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "PF/PF_Filters.h"
#include "PF/PF_Lifecycle.h"
#include "report/Sites.h"
#include "support/LibraryTest.h"
#include "support/TestHost.h"

namespace {

using pftest::Host;

class GaussianKernel : public pftest::LibraryTest {};

std::vector<std::int32_t> KernelOf(double radius, std::int32_t flags, double multiplier = 1) {
  const auto d = static_cast<std::size_t>(2 * std::ceil(radius) + 1);
  std::vector<std::int32_t> kernel((flags & PF_KernelFlag_1D) != 0 ? d : d * d, -1);
  std::int32_t diameter = 0;
  EXPECT_EQ(PF_GaussianKernel(nullptr, radius, flags, multiplier, &diameter, kernel.data()), 0);
  EXPECT_EQ(diameter, static_cast<std::int32_t>(d)) << radius;
  return kernel;
}

TEST_F(GaussianKernel, TheBellEndsAtOne) {
  EXPECT_EQ(PFp_GaussianValue(0), 1);
  EXPECT_NEAR(PFp_GaussianValue(1), 0.000195, 1e-6);
  EXPECT_EQ(PFp_GaussianValue(std::nextafter(1.0, 2.0)), 0);
  for (double x = 0; x < 1; x += 1.0 / 256) EXPECT_GT(PFp_GaussianValue(x), PFp_GaussianValue(x + 1.0 / 256)) << x;
}

TEST_F(GaussianKernel, EntriesAreRoundedWeightsOfTheDistance) {
  for (const double radius : {0.0, 0.3, 1.0, 2.5, 7.0}) {
    for (const double multiplier : {1.0, 0.37, 3.0, -1.0}) {
      const std::vector<std::int32_t> square = KernelOf(radius, 0, multiplier);
      const auto r = static_cast<int>(std::ceil(radius));
      const int d = 2 * r + 1;
      for (int y = 0; y < d; ++y) {
        for (int x = 0; x < d; ++x) {
          const double w = PFp_GaussianValue(std::hypot(x - r, y - r) / (radius + 1)) * 255 * multiplier;
          const double limited = std::min(std::max(std::trunc(w + 0.5), 0.0), 255.0);
          EXPECT_NEAR(square[static_cast<std::size_t>(y * d + x)], limited, std::abs(w - limited) == 0.5 ? 1 : 0)
              << radius << " at " << x << ", " << y;
        }
      }
      const std::vector<std::int32_t> row = KernelOf(radius, PF_KernelFlag_1D, multiplier);
      EXPECT_TRUE(std::equal(row.begin(), row.end(), square.begin() + r * d)) << radius;
    }
  }
}

// QUIRK-47
TEST_F(GaussianKernel, NormalizedEntriesAddUpTo255ForEach) {
  for (const double radius : {0.0, 0.7, 2.5, 20.0}) {
    for (const double multiplier : {1.0, 0.37, 3.0}) {
      for (const std::int32_t one_row : {0, 1}) {
        const std::vector<std::int32_t> plain = KernelOf(radius, one_row, multiplier),
                                        kernel = KernelOf(radius, PF_KernelFlag_NORMALIZED | one_row, multiplier);
        const auto r = static_cast<int>(std::ceil(radius)), rows = one_row != 0 ? 0 : r;
        double sum = 0;
        for (int dy = -rows; dy <= rows; ++dy) {
          for (int dx = -r; dx <= r; ++dx) {
            sum += PFp_GaussianValue(std::hypot(dx, dy) / (radius + 1)) * 255 * multiplier;
          }
        }
        const double factor = 255 * static_cast<double>(kernel.size()) / sum;
        for (std::size_t i = 0; i < kernel.size(); ++i) {
          // The order of the sum may decide what is whole to within rounding.
          const double v = plain[i] * factor;
          EXPECT_GE(kernel[i], std::trunc(v * (1 - 1e-12))) << radius << " * " << multiplier << " at " << i;
          EXPECT_LE(kernel[i], std::trunc(v * (1 + 1e-12))) << radius << " * " << multiplier << " at " << i;
        }
      }
    }
  }
  for (const double radius : {0.0, 2.5, 20.0}) {
    for (const std::int32_t one_row : {0, 1}) {
      const std::vector<std::int32_t> kernel = KernelOf(radius, PF_KernelFlag_NORMALIZED | one_row);
      const double sum = std::accumulate(kernel.begin(), kernel.end(), 0.0),
                   entries = static_cast<double>(kernel.size());
      EXPECT_NEAR(sum / (255 * entries), 1, 0.03) << radius;
    }
  }
  for (const double multiplier : {0.0, 1e-320, std::numeric_limits<double>::quiet_NaN()}) {
    for (const std::int32_t e : KernelOf(3, PF_KernelFlag_NORMALIZED, multiplier)) EXPECT_EQ(e, 0) << multiplier;
  }
}

TEST_F(GaussianKernel, BadParametersWriteNothing) {
  std::int32_t diameter = 77, kernel[1] = {78};
  const auto refused = [&](double radius, std::int32_t* to, std::int32_t* entries) {
    Host().reports.clear();
    EXPECT_EQ(PF_GaussianKernel(nullptr, radius, 0, 1, to, entries), 516) << radius;
    ASSERT_EQ(Host().reports.size(), 1u);
    EXPECT_EQ(Host().ReportTexts(), "bad parameter passed to effect callback\n");
    EXPECT_EQ(Host().reports[0].identifier, Identifier(pf::Site::kGaussianKernel));
    EXPECT_EQ(diameter, 77);
    EXPECT_EQ(kernel[0], 78);
  };
  for (const double radius : {-1e-9, -5.0, 32767.5, 1e300, std::nan("")}) refused(radius, &diameter, kernel);
  refused(0, nullptr, kernel);
  refused(0, &diameter, nullptr);
}

// QUIRK-48
TEST_F(GaussianKernel, FastBlursAreNotImplemented) {
  EXPECT_EQ(PF_FastBlur_Premul(nullptr, nullptr, 3, 0, nullptr), 5);
  EXPECT_EQ(PF_FastBlur_Straight(nullptr, nullptr, 3, 0, nullptr), 5);
}

}  // namespace
