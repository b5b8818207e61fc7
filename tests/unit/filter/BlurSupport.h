// Shared by the tests of blurs.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "PF/PF_Filters.h"
#include "PF/PF_Lifecycle.h"
#include "PF/PF_Worlds.h"
#include "reference/Blur.h"
#include "support/LibraryTest.h"
#include "support/TestHost.h"

namespace pftest {

class Blurs : public pftest::LibraryTest {};

// A new world with what the blur makes of `src`.
inline std::unique_ptr<TestWorld> Blurred(TestWorld& src, const BlurWish& wish) {
  const bool turned = wish.src_columns != wish.dst_columns;
  auto dst = std::make_unique<TestWorld>(src.depth(), turned ? src.height() : src.width(),
                                         turned ? src.width() : src.height(), 16);
  EXPECT_EQ(CallBlur(src, *dst, wish), 0) << TextOf(wish) << ": " << Host().ReportTexts();
  EXPECT_TRUE(dst->GapsUntouched()) << TextOf(wish);
  return dst;
}

inline testing::AssertionResult IsNearReference(const TestWorld& src, const TestWorld& dst, const BlurWish& wish,
                                                std::int64_t stride = 1) {
  const BlurError error = WorstBlurError(src, dst, wish, stride);
  if (error.worst <= BlurBound(src.depth())) return testing::AssertionSuccess();
  return testing::AssertionFailure() << TextOf(wish) << ", depth " << src.depth() << ", " << src.width() << "x"
                                     << src.height() << ": " << TextOf(error);
}

// A row of opaque float pixels.
inline std::unique_ptr<TestWorld> FloatRow(std::int32_t n, const PF_PixelFloat& colour) {
  auto row = std::make_unique<TestWorld>(32, n, 1);
  std::fill_n(&row->At<PF_PixelFloat>(0, 0), n, colour);
  return row;
}

inline bool IsZero(const PF_PixelFloat& p) { return p.alpha == 0 && p.red == 0 && p.green == 0 && p.blue == 0; }

}  // namespace pftest
