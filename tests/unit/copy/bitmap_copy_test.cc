// After a channel order that is not repaired, repaired twice or outside the rectangle, and bitmap copies
// that take the wrong routine.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>

#include "PF/PF_Copy.h"
#include "PF/PF_Lifecycle.h"
#include "PF/PF_Worlds.h"
#include "host/BM.h"
#include "support/TestHost.h"

namespace {

using pftest::Host;
using BitmapCopyFunction = decltype(&PF_WorldCopy);

// A bitmap world; every byte of it holds a different value where the size allows.
struct Bitmap {
  Bitmap(std::int32_t width, std::int32_t height, std::int32_t bits, std::int32_t order, int first = 0) {
    EXPECT_EQ(BM_NewWorld(width, height, bits, order, &world), 0);
    for (std::int32_t i = 0; i < (*world)->row_bytes * height; ++i) bytes()[i] = static_cast<std::uint8_t>(first + i);
  }
  ~Bitmap() { BM_DisposeWorld(world); }
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;
  std::uint8_t* bytes() const { return static_cast<std::uint8_t*>(BMp_GetPixBaseAddr(world)); }
  std::uint32_t At(std::int32_t x, std::int32_t y) const {
    std::uint32_t value;
    std::memcpy(&value, bytes() + y * (*world)->row_bytes + 4 * x, 4);
    return value;
  }
  BM_World** world = nullptr;
};

class BitmapCopies : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override {
    Host().Reset();
    ASSERT_EQ(PF_Birth(), 0);
    Host().reports.clear();
    Host().bitmap_without_pixels = GetParam();
  }
  void TearDown() override {
    EXPECT_EQ(PF_Death(), 0);
    Host().Reset();
  }
};

TEST_P(BitmapCopies, UnequalChannelOrdersReverseTheDestinationRectangle) {
  // 21 pixels a row: whole vectors and a rest.
  for (const BitmapCopyFunction copy : {PF_WorldCopy, PF_WorldCopy_Static}) {
    for (int orders = 0; orders < 4; ++orders) {
      const Bitmap src(21, 3, 32, orders & 1), dst(21, 3, 32, orders >> 1, 100), old(21, 3, 32, 0, 100);
      const bool reverse = (orders & 1) != orders >> 1;
      const M_LRect from = {1, 1, 21, 2}, to = {1, 0, 23, 1};
      ASSERT_EQ(copy(nullptr, src.world, dst.world, &from, &to), 0);
      for (std::int32_t y = 0; y < 3; ++y) {
        for (std::int32_t x = 0; x < 24; ++x) {  // three pixels of padding too
          const bool inside = y == 0 && x >= 1 && x < 21;
          // 20 columns spread over 22: the destination loses 2, so the source loses 1 and 19 become 20.
          const std::uint32_t value = inside ? src.At(x == 20 ? 19 : x, 1) : old.At(x, y);
          ASSERT_EQ(dst.At(x, y), inside && reverse ? U_LongSwap(value) : value)
              << "at (" << x << ", " << y << "), orders " << orders;
        }
      }
    }
  }
}

TEST_P(BitmapCopies, WhatCannotBeReversedStaysCopiedAndGivesNotImplemented) {
  const Bitmap src(5, 1, 32, BM_CHANNELS_BGRA), deep(5, 1, 64, BM_CHANNELS_BGRA), back(5, 1, 32, BM_CHANNELS_ARGB);
  for (const BitmapCopyFunction copy : {PF_WorldCopy, PF_WorldCopy_Static}) {
    Host().reports.clear();
    EXPECT_EQ(copy(nullptr, src.world, deep.world, nullptr, nullptr), PF_Err_NOT_IMPLEMENTED);
    ASSERT_EQ(Host().reports.size(), 1u);
    EXPECT_EQ(Host().reports[0].text, "Flipping 32/16-bit worlds is not implemented. Source data 8-bit BGRA.");
    EXPECT_EQ(Host().reports[0].identifier, 2424936u);
    EXPECT_EQ(Host().reports[0].line_or_kind, 8);
    // A 64-bit world counts as ARGB whatever its order, so nothing is reversed on the way back.
    EXPECT_EQ(copy(nullptr, deep.world, back.world, nullptr, nullptr), 0);
    EXPECT_EQ(std::memcmp(back.bytes(), src.bytes(), 20), 0);
  }
  for (const BitmapCopyFunction copy : {PF_WorldCopy_HQ, PF_WorldCopy_HQ_Static, PF_WorldCopy_HQ_Straight,
                                        PF_WorldCopy_HQ_Straight_Static, PF_WorldCopy_HQ_Premul}) {
    std::memset(back.bytes(), 0, 20);
    EXPECT_EQ(copy(nullptr, src.world, back.world, nullptr, nullptr), 0);
    EXPECT_EQ(std::memcmp(back.bytes(), src.bytes(), 20), 0) << "high quality takes the order as it is";
  }
}

TEST_P(BitmapCopies, DeepSourcesCountAsArgb) {
  const Bitmap src(5, 1, 32, BM_CHANNELS_ARGB), deep(5, 1, 64, BM_CHANNELS_ARGB), back(5, 1, 32, BM_CHANNELS_BGRA);
  for (const BitmapCopyFunction copy : {PF_WorldCopy, PF_WorldCopy_Static}) {
    std::memset(back.bytes(), 0, 20);
    ASSERT_EQ(copy(nullptr, src.world, deep.world, nullptr, nullptr), 0);
    ASSERT_EQ(copy(nullptr, deep.world, back.world, nullptr, nullptr), 0);
    for (std::int32_t x = 0; x < 5; ++x) EXPECT_EQ(back.At(x, 0), U_LongSwap(src.At(x, 0))) << x;
  }
}

TEST_P(BitmapCopies, NothingCopiedIsNotReversedAndTheWholeRectangleElse) {
  // The destination starts one row into its bytes: a row before the pixels and one behind them stay.
  const Bitmap src(4, 2, 32, BM_CHANNELS_ARGB), dst(5, 4, 32, BM_CHANNELS_BGRA), old(5, 4, 32, 0);
  (*dst.world)->pixels = dst.bytes() + (*dst.world)->row_bytes;
  (*dst.world)->height = 2;
  const M_LRect whole = {0, 0, 4, 2};
  const struct {
    const char* what;
    M_LRect from, to;
    std::int32_t columns;  // reversed, from 0; 0: nothing
  } rows[] = {
      {"empty source", {2, 0, 2, 2}, whole, 0},
      {"source outside", {9, 0, 12, 2}, whole, 0},
      {"empty destination", whole, {1, 1, 3, 1}, 0},
      {"destination outside", whole, {-4, 0, 0, 2}, 0},
      {"half of the source exists", {0, 0, 8, 2}, whole, 4},
      {"left and above", {0, 0, 4, 2}, {-2, -1, 2, 1}, 2},
      {"beyond every edge", whole, {-8, -8, 8, 8}, 5},
  };
  for (const BitmapCopyFunction copy : {PF_WorldCopy, PF_WorldCopy_Static}) {
    for (const auto& row : rows) {
      // What is copied differs from everything that is only reversed.
      std::memset(src.bytes(), 0xEE, 32);
      std::memcpy(dst.bytes(), old.bytes(), 4 * 32);
      ASSERT_EQ(copy(nullptr, src.world, dst.world, &row.from, &row.to), 0);
      for (std::int32_t y = 0; y < 4; ++y) {
        for (std::int32_t x = 0; x < 8; ++x) {
          const bool inside = y >= 1 && y < std::min(row.to.bottom, 2) + 1 && x < row.columns;
          const std::uint32_t value = inside ? U_LongSwap(old.At(x, y)) : old.At(x, y);
          if (inside && dst.At(x, y) == 0xEEEEEEEE) continue;
          EXPECT_EQ(dst.At(x, y), value) << row.what << " at " << x << ", " << y;
        }
      }
    }
  }
}

TEST_P(BitmapCopies, EachTakesItsOwnRoutine) {
  // A reduction of pixels of many alphas: the three routines give different pictures.
  const Bitmap src(7, 5, 32, 0, 3);
  PF_LayerDef from, to;
  ASSERT_EQ(PF_EffectWorldFromBMWorld(src.world, &from), 0);
  const struct {
    BitmapCopyFunction copy;
    decltype(&PF_CopyBits_Draft) routine;
  } rows[] = {{PF_WorldCopy, PF_CopyBits_Draft_Static},
              {PF_WorldCopy_Static, PF_CopyBits_Draft_Static},
              {PF_WorldCopy_HQ, PF_CopyBits_HQ_Straight_Static},
              {PF_WorldCopy_HQ_Static, PF_CopyBits_HQ_Straight_Static},
              {PF_WorldCopy_HQ_Straight, PF_CopyBits_HQ_Straight_Static},
              {PF_WorldCopy_HQ_Straight_Static, PF_CopyBits_HQ_Straight_Static},
              {PF_WorldCopy_HQ_Premul, PF_CopyBits_HQ_Premul_Static}};
  std::set<std::string> pictures;
  for (const auto& row : rows) {
    const Bitmap got(4, 3, 32, 0), expected(4, 3, 32, 0);
    ASSERT_EQ(PF_EffectWorldFromBMWorld(expected.world, &to), 0);
    EXPECT_EQ(row.copy(nullptr, src.world, got.world, nullptr, nullptr), 0);
    EXPECT_EQ(row.routine(nullptr, &from, &to, nullptr, nullptr), 0);
    EXPECT_EQ(std::memcmp(got.bytes(), expected.bytes(), 4 * 3 * 4), 0) << &row - rows;
    pictures.insert(std::string(reinterpret_cast<const char*>(got.bytes()), 4 * 3 * 4));
  }
  EXPECT_EQ(pictures.size(), 3u);
}

template <PF_Err answer>
PF_Err Replacement(const PF_ProgressInfo* progress, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*) {
  return progress == nullptr ? answer : 99;
}

TEST_P(BitmapCopies, ConversionFailuresAreReturnedAndStaticFormsPassOverReplacements) {
  const Bitmap odd(2, 2, 48, 0), good(2, 2, 32, 0);
  const PF_ProgressInfo record = {};
  const struct {
    BitmapCopyFunction copy;
    PF_Err replaced;  // result with every routine replaced
  } rows[] = {{PF_WorldCopy, 41},          {PF_WorldCopy_Static, 0},       {PF_WorldCopy_HQ, 42},
              {PF_WorldCopy_HQ_Static, 0}, {PF_WorldCopy_HQ_Straight, 42}, {PF_WorldCopy_HQ_Straight_Static, 0},
              {PF_WorldCopy_HQ_Premul, 43}};
  PF_SetOverrideFunc(1, reinterpret_cast<PF_AnyFunc>(&Replacement<41>));
  PF_SetOverrideFunc(2, reinterpret_cast<PF_AnyFunc>(&Replacement<42>));
  PF_SetOverrideFunc(3, reinterpret_cast<PF_AnyFunc>(&Replacement<43>));
  for (const auto& row : rows) {
    EXPECT_EQ(row.copy(&record, good.world, good.world, nullptr, nullptr), row.replaced) << &row - rows;
    Host().reports.clear();
    EXPECT_EQ(row.copy(nullptr, odd.world, good.world, nullptr, nullptr), 3);
    EXPECT_EQ(row.copy(nullptr, good.world, odd.world, nullptr, nullptr), 3);
    EXPECT_EQ(row.copy(nullptr, nullptr, good.world, nullptr, nullptr), 3);
    EXPECT_EQ(row.copy(nullptr, good.world, nullptr, nullptr, nullptr), 3);
    EXPECT_EQ(Host().reports.size(), 4u);
  }
}

INSTANTIATE_TEST_SUITE_P(PixelAddress, BitmapCopies, testing::Bool(),
                         [](const auto& test) { return test.param ? "OnlyTheHostKnows" : "InTheWorld"; });

}  // namespace
