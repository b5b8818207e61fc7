// After: a mask put beside its place, alpha left standing beside the mask, colour that changes, areas and
// clips that reach outside, rows written after a cancel.
#include <limits>

#include "support/MaskValues.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

class Merge : public HostTest {};

bool Has(const M_LRect* rect, std::int64_t x, std::int64_t y) {
  return rect == nullptr || (x >= rect->left && x < rect->right && y >= rect->top && y < rect->bottom);
}

struct Call {
  std::int32_t h, v;
  const M_LRect *clip, *area;
};

// The value over a pixel, or -1 beside the mask.
std::int64_t MaskAt(const ValueMask& mask, const Call& call, std::int64_t x, std::int64_t y) {
  const std::int64_t i = x - call.h, j = y - call.v;
  if (i < 0 || j < 0 || i >= mask.width || j >= mask.height || !Has(call.clip, i, j)) return -1;
  const auto place = static_cast<std::size_t>(j * mask.width + i);
  return mask.depth == 8 ? mask.Values<std::uint8_t>()[place] : mask.Values<std::uint16_t>()[place];
}

template <class P>
double Product(const P& p, std::int64_t m, std::int32_t mask_depth) {
  const std::int64_t full = mask_depth == 8 ? 255 : 32768;
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    if (m == 0 || m == full) return m == 0 ? 0.0 : static_cast<double>(p.alpha);
    const float factor = static_cast<float>(m) * (mask_depth == 8 ? 0.003921569f : 1.0f / 32768.0f);
    const float product = p.alpha * factor;
    return product;
  } else {
    return static_cast<double>((p.alpha * m + (full - 1) / 2) / full);
  }
}

// Expects the merge of a mask into a world, pixel by pixel.
template <class P>
void ExpectMerge(const ValueMask& mask, const Call& call, TestWorld::Kind kind) {
  constexpr int kDepth = pf::DepthTraits<P>::kDepth;
  Random random(9);
  TestWorld pixels(kDepth, 31, 12, 16), before(kDepth, 31, 12, 16);
  pixels.Fill(random, kind);
  std::memcpy(before.Row(0), pixels.Row(0), static_cast<std::size_t>(11 * pixels.record()->row_bytes) + 31 * sizeof(P));
  const WorldPtr world = Reference(pixels);
  ASSERT_EQ(PF_MergeMaskAlpha(nullptr, call.h, call.v, call.clip, &mask, call.area, world.get()), 0);
  bool together = false;
  for (int y = 0; y < 12; ++y) {
    for (int x = 0; x < 31; ++x) together |= Has(call.area, x, y) && MaskAt(mask, call, x, y) >= 0;
  }
  for (int y = 0; y < 12; ++y) {
    for (int x = 0; x < 31; ++x) {
      P expected = before.At<P>(x, y);
      const std::int64_t m = MaskAt(mask, call, x, y);
      if (Has(call.area, x, y)) {
        expected.alpha = m < 0 ? pf::ChannelOf<P>{0} : static_cast<pf::ChannelOf<P>>(Product(expected, m, mask.depth));
        if (!together) expected = P{};
      }
      ASSERT_EQ(std::memcmp(&expected, &pixels.At<P>(x, y), sizeof(P)), 0)
          << kDepth << ", mask " << mask.depth << " at " << call.h << ", " << call.v << ": pixel " << x << ", " << y
          << " is " << pixels.PixelText(x, y) << ", was " << before.PixelText(x, y) << ", value " << m;
    }
  }
  EXPECT_TRUE(pixels.GapsUntouched());
}

TEST_F(Merge, EveryPixelIsThatOfItsOwnArithmeticWhereverTheMaskLies) {
  Host().move_handles = true;
  const M_LRect some = {3, 1, 9, 5}, edge = {-5, -5, 8, 100}, none = {4, 4, 4, 9}, reversed = {9, 9, 2, 2};
  const M_LRect beyond = {kLeast, kLeast, kMost, kMost}, part = {5, 2, 28, 11}, corner = {25, 9, 40, 40};
  const Call calls[] = {{0, 0, nullptr, nullptr},
                        {7, 3, nullptr, nullptr},
                        {-6, -4, nullptr, nullptr},
                        {-6, -4, &some, nullptr},
                        {7, 3, &some, &part},
                        {20, 8, nullptr, &corner},
                        {2, 1, &edge, &beyond},
                        {2, 1, &beyond, &part},
                        {2, 1, &none, &part},
                        {2, 1, &reversed, &part},
                        {100, 100, nullptr, &part},
                        {-20, 0, nullptr, nullptr},
                        {kMost, kMost, nullptr, &corner},
                        {kLeast, kLeast, nullptr, nullptr},
                        {0, 0, nullptr, &none}};
  Random random(8);
  for (const std::int32_t depth : {8, 16}) {
    ValueMask mask(17, 9, depth);
    mask.FillRandom(random);
    for (std::size_t i = 0; depth == 16 && i < mask.Count(); ++i) {
      auto& v = mask.Values<std::uint16_t>()[i];
      v = std::min<std::uint16_t>(v, 32768);
    }
    for (const Call& call : calls) {
      for (const TestWorld::Kind kind : {TestWorld::kRandom, TestWorld::kEdges}) {
        ExpectMerge<PF_Pixel8>(mask, call, kind);
        ExpectMerge<PF_Pixel16>(mask, call, kind);
        ExpectMerge<PF_PixelFloat>(mask, call, kind);
      }
    }
  }
  EXPECT_TRUE(Host().reports.empty()) << Host().ReportTexts();
}

TEST_F(Merge, WhatDoesNotFitIsToldAndChangesNothing) {
  constexpr char kUnfit[] = "Unexpected bitdepth in PFp_MergeMaskAlphaScanIter()\n";
  for (const std::int32_t depth : {8, 16, 32}) {
    TestWorld pixels(depth, 4, 4), before(depth, 4, 4);
    const WorldPtr world = Reference(pixels);
    for (const std::int32_t mask_depth : {32, 0, 1, 24}) {
      const ValueMask mask(4, 4, mask_depth);
      for (const std::int32_t h : {0, 100}) {
        Host().reports.clear();
        EXPECT_EQ(PF_MergeMaskAlpha(nullptr, h, 0, nullptr, &mask, nullptr, world.get()), 3);
        EXPECT_EQ(Host().ReportTexts(), kUnfit);
        EXPECT_TRUE(pixels.SamePixels(before));
      }
    }
  }
  const ValueMask mask(4, 4, 8);
  Host().reports.clear();
  ForeignWorld foreign(24);
  std::uint64_t pixel = 0;
  foreign.data = &pixel;
  EXPECT_EQ(PF_MergeMaskAlpha(nullptr, 0, 0, nullptr, &mask, nullptr, &foreign), 3);
  EXPECT_EQ(Host().ReportTexts(), kUnfit);
  ForeignWorld empty(8);
  EXPECT_EQ(PF_MergeMaskAlpha(nullptr, 0, 0, nullptr, &mask, nullptr, &empty), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_MergeMaskAlpha(nullptr, 0, 0, nullptr, &mask, nullptr, nullptr), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(Host().reports.size(), 3u);
}

TEST_F(Merge, ACancelStopsBeforeItsRow) {
  static int polls;
  polls = 0;
  const PF_ProgressInfo progress = {0, [](std::uint64_t) -> PF_Err { return ++polls == 3 ? 77 : 0; },
                                    [](std::uint64_t, std::int32_t, std::int32_t) -> PF_Err { return 99; }};
  TestWorld pixels(8, 3, 5), before(8, 3, 5);
  const WorldPtr world = Reference(pixels);
  ValueMask mask(3, 5, 8);
  ASSERT_EQ(PF_FillUnoBuffer(0, &mask), 0);
  EXPECT_EQ(PF_MergeMaskAlpha(&progress, 0, 0, nullptr, &mask, nullptr, world.get()), 77);
  EXPECT_EQ(polls, 3);
  EXPECT_EQ(pixels.At<PF_Pixel8>(2, 1).alpha, 0);
  EXPECT_EQ(std::memcmp(pixels.Row(2), before.Row(2), 36), 0);
}

}  // namespace
