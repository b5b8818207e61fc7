// After: sizes that overflow, records left behind by failures, damaged records that crash or stop a call,
// fills of the wrong size or place.
#include <limits>

#include "support/MaskValues.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

constexpr char kDamaged[] = "damaged mask buffer\n";
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

class MaskLife : public HostTest {};

using New = PF_Err (*)(std::int32_t, std::int32_t, PF_UnoBuffer**);

TEST_F(MaskLife, FreshMasksHoldPackedValues) {
  for (const auto& [make, depth] : {std::pair<New, int>{&PF_NewUnoBuffer, 8}, {&PF_NewDeepUnoBuffer, 16}}) {
    PF_UnoBuffer* mask = nullptr;
    ASSERT_EQ(make(7, 5, &mask), 0);
    EXPECT_EQ(mask->magic, 0xFEEDABBAu);
    EXPECT_EQ(mask->width, 7);
    EXPECT_EQ(mask->height, 5);
    EXPECT_EQ(mask->depth, depth);
    EXPECT_EQ(U_GetHandleSize(mask->data), static_cast<std::uint64_t>(35 * depth / 8));
    EXPECT_EQ(PF_DisposeUnoBuffer(mask), 0);
    ASSERT_EQ(make(0, 5, &mask), 0) << "no values are legal";
    EXPECT_EQ(U_GetHandleSize(mask->data), 0u);
    EXPECT_EQ(PF_DisposeUnoBuffer(mask), 0);
  }
  EXPECT_TRUE(Host().reports.empty());
}

TEST_F(MaskLife, SizesThatCannotBeHadAreShortMemory) {
  const std::pair<std::int32_t, std::int32_t> sizes[] = {
      {-1, 5}, {5, -1}, {-1, -1}, {0, -1}, {kMost, kMost}, {kLeast, kLeast}, {kMost, kLeast}, {kLeast, kMost}};
  PF_UnoBuffer damaged = {1, 1, 8};
  for (const auto& [width, height] : sizes) {
    for (const New make : {&PF_NewUnoBuffer, &PF_NewDeepUnoBuffer}) {
      Host().reports.clear();
      PF_UnoBuffer* out = &damaged;
      EXPECT_EQ(make(width, height, &out), PF_Err_OUT_OF_MEMORY) << width << " x " << height;
      EXPECT_EQ(out, nullptr);
      EXPECT_EQ(Host().ReportTexts(), "memory for mask buffer\n");
    }
    for (const std::int32_t depth : {8, 16, 32, kMost}) {
      ExpectThrows(4, "memory for mask buffer", [&, w = width, h = height] { PF_UnoBuffer(w, h, depth); });
    }
  }
}

TEST_F(MaskLife, EveryFailedAllocationIsToldAndLeavesNothing) {
  for (const New make : {&PF_NewUnoBuffer, &PF_NewDeepUnoBuffer}) {
    for (int n = 0; n < 2; ++n) {
      Host().Reset();
      Host().fail_allocation = n;
      PF_UnoBuffer* out = reinterpret_cast<PF_UnoBuffer*>(8);
      EXPECT_EQ(make(3, 3, &out), PF_Err_OUT_OF_MEMORY);
      EXPECT_EQ(out, nullptr);
      EXPECT_EQ(Host().ReportTexts(), "memory for mask buffer\n");
    }
    Host().Reset();
    EXPECT_EQ(make(3, 3, nullptr), PF_Err_REPORTED);
    EXPECT_EQ(Host().ReportTexts(), kDamaged);
  }
}

// QUIRK-21
TEST_F(MaskLife, TheConstructorTakesAnyDepth) {
  for (const auto& [depth, size] : {std::pair(0, 30u), {1, 15u}, {8, 15u}, {16, 30u}, {32, 60u}, {24, 45u}, {-8, 0u}}) {
    const PF_UnoBuffer mask(5, 3, depth);
    EXPECT_EQ(mask.depth, depth);
    EXPECT_EQ(U_GetHandleSize(mask.data), size) << depth;
  }
}

// QUIRK-23
TEST_F(MaskLife, AWrongMagicIsToldAndWorkedOnAllTheSame) {
  ValueMask mask(4, 2, 8), deep(4, 2, 16);
  EXPECT_EQ(deep.Copy<std::uint16_t>(), std::vector<std::uint16_t>(8, 0)) << "fresh masks are clear";
  mask.magic = deep.magic = 0;
  const M_LRect all = {0, 0, 4, 2};
  TestWorld pixels(8, 4, 2);
  const WorldPtr world = Reference(pixels);
  const std::function<PF_Err()> calls[] = {
      [&] { return PF_FillUnoBuffer(1, &mask); },
      [&] { return PF_FillUnoBuffer(200, all, &mask); },
      [&] { return PF_FillDeepUnoBuffer(1, &deep); },
      [&] { return PF_FillDeepUnoBuffer(9, all, &deep); },
      [&] { return PF_InvertUnoBuffer(nullptr, &mask); },
      [&] { return PF_InvertAndFadeUnoBuffer(nullptr, 65536, &mask); },
      [&] { return PF_FadeUnoBuffer(nullptr, 0.5f, &mask); },
      [&] { return PF_MergeMaskAlpha(nullptr, 0, 0, nullptr, &mask, nullptr, world.get()); }};
  for (const auto& call : calls) {
    Host().reports.clear();
    EXPECT_EQ(call(), 0);
    EXPECT_EQ(Host().ReportTexts(), kDamaged) << "told once";
  }
  EXPECT_EQ(mask.Copy<std::uint8_t>(), std::vector<std::uint8_t>(8, 100));
  EXPECT_EQ(deep.Copy<std::uint16_t>(), std::vector<std::uint16_t>(8, 9));
  mask.magic = deep.magic = PF_UnoBuffer_MAGIC;

  Host().Reset();
  {
    PF_UnoBuffer dropped(4, 2, 8);
    dropped.magic = 1;
  }
  PF_UnoBuffer* made = nullptr;
  ASSERT_EQ(PF_NewUnoBuffer(4, 2, &made), 0);
  made->magic = 1;
  EXPECT_EQ(PF_DisposeUnoBuffer(made), 0);
  EXPECT_EQ(Host().ReportTexts(), std::string(kDamaged) + kDamaged) << "and what they held is free again";
}

TEST_F(MaskLife, WithoutARecordOrValuesNothingCanBeDone) {
  PF_UnoBuffer* made = nullptr;
  ASSERT_EQ(PF_NewUnoBuffer(4, 2, &made), 0);
  U_FreeHandle(made->data);
  made->data = nullptr;
  TestWorld pixels(8, 4, 2);
  const WorldPtr world = Reference(pixels);
  const M_LRect rect = {0, 0, 1, 1};
  for (const bool texts : {true, false}) {
    Host().no_texts = !texts;
    for (PF_UnoBuffer* mask : {made, static_cast<PF_UnoBuffer*>(nullptr)}) {
      Host().reports.clear();
      EXPECT_EQ(PF_FillUnoBuffer(1, mask), 3);
      EXPECT_EQ(PF_FillUnoBuffer(1, rect, mask), 3);
      EXPECT_EQ(PF_FillDeepUnoBuffer(1, mask), 3);
      EXPECT_EQ(PF_FillDeepUnoBuffer(1, rect, mask), 3);
      EXPECT_EQ(PF_FillFloatUnoBuffer(1, mask), 3);
      EXPECT_EQ(PF_InvertUnoBuffer(nullptr, mask), 3);
      EXPECT_EQ(PF_InvertAndFadeUnoBuffer(nullptr, 1, mask), 3);
      EXPECT_EQ(PF_FadeUnoBuffer(nullptr, 1, mask), 3);
      EXPECT_EQ(PF_MergeMaskAlpha(nullptr, 0, 0, nullptr, mask, nullptr, world.get()), 3);
      ASSERT_EQ(Host().reports.size(), 9u) << "each is told once";
      for (const Report& report : Host().reports) EXPECT_EQ(report.text + "\n", kDamaged);
    }
  }
  EXPECT_EQ(PF_DisposeUnoBuffer(nullptr), 3);
  EXPECT_EQ(PF_DisposeUnoBuffer(made), 0) << "the record is freed, what it lacks is left alone";
}

// What a fill of the rectangle must leave: `value` inside, what was there elsewhere.
template <class T>
void ExpectFilled(const ValueMask& mask, const std::vector<T>& before, const M_LRect& rect, T value) {
  for (std::int32_t y = 0; y < mask.height; ++y) {
    for (std::int32_t x = 0; x < mask.width; ++x) {
      const bool inside = x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom;
      ASSERT_EQ(mask.At<T>(x, y), inside ? value : before[static_cast<std::size_t>(y * mask.width + x)])
          << x << ", " << y;
    }
  }
}

TEST_F(MaskLife, FillsSetTheRectangleAndNothingElse) {
  Host().move_handles = true;
  Random random(1);
  const M_LRect rects[] = {{0, 0, 9, 7}, {0, 2, 9, 5}, {3, 1, 8, 7}, {8, 6, 9, 7}, {4, 4, 4, 6}, {5, 5, 3, 3}};
  for (const M_LRect& rect : rects) {
    ValueMask plain(9, 7, 8), odd(9, 7, 1), deep(9, 7, 16), even(9, 7, 0);
    for (const ValueMask* mask : {&plain, &odd}) {
      std::memset(mask->Values<std::uint8_t>(), 7, 63);
      const auto before = mask->Copy<std::uint8_t>();
      EXPECT_EQ(PF_FillUnoBuffer(200, rect, const_cast<ValueMask*>(mask)), 0);
      ExpectFilled<std::uint8_t>(*mask, before, rect, 200);
    }
    for (const ValueMask* mask : {&deep, &even}) {
      std::memset(mask->Values<std::uint8_t>(), 7, 126);
      const auto before = mask->Copy<std::uint16_t>();
      EXPECT_EQ(PF_FillDeepUnoBuffer(32768, rect, const_cast<ValueMask*>(mask)), 0);
      ExpectFilled<std::uint16_t>(*mask, before, rect, 32768);
    }
  }
  ValueMask deep(9, 7, 16), real(9, 7, 32);
  EXPECT_EQ(PF_FillDeepUnoBuffer(0x1234, &deep), 0);
  EXPECT_EQ(deep.Copy<std::uint16_t>(), std::vector<std::uint16_t>(63, 0x1234));
  EXPECT_EQ(PF_FillFloatUnoBuffer(-0.5f, &real), 0);
  EXPECT_EQ(real.Copy<float>(), std::vector<float>(63, -0.5f));
  EXPECT_TRUE(Host().reports.empty());
}

TEST_F(MaskLife, FillsOfAnotherSizeOfValueAreRefused) {
  const M_LRect rect = {0, 0, 2, 2};
  for (const std::int32_t depth : {0, 1, 8, 16, 32, 12, 24}) {
    ValueMask mask(3, 3, depth);
    const std::size_t size = U_GetHandleSize(mask.data);
    std::memset(mask.Values<std::uint8_t>(), 7, size);
    const bool one = depth == 1 || depth == 8, two = depth == 0 || depth == 16;
    EXPECT_EQ(PF_FillUnoBuffer(1, rect, &mask), one ? 0 : 516) << depth;
    EXPECT_EQ(PF_FillDeepUnoBuffer(1, &mask), two ? 0 : 516) << depth;
    EXPECT_EQ(PF_FillDeepUnoBuffer(1, rect, &mask), two ? 0 : 516) << depth;
    EXPECT_EQ(PF_FillFloatUnoBuffer(1, &mask), depth == 32 ? 0 : 516) << depth;
    if (depth == 12 || depth == 24) {
      EXPECT_EQ(mask.Values<std::uint8_t>()[0], 7);
    }
    // QUIRK-25
    EXPECT_EQ(PF_FillUnoBuffer(99, &mask), 0) << depth;
    const std::vector<std::uint8_t> all(mask.Values<std::uint8_t>(), mask.Values<std::uint8_t>() + size);
    EXPECT_EQ(all, std::vector<std::uint8_t>(size, 99)) << depth;
  }
}

#ifdef PF_CHECKED
TEST_F(MaskLife, TheCheckedBuildNamesRectanglesOutside) {
  ValueMask plain(4, 3, 8), deep(4, 3, 16);
  for (const M_LRect& rect : {M_LRect{-1, 0, 3, 3}, {0, 0, 5, 3}, {0, -1, 4, 3}, {0, 0, 4, 4}, {kLeast, 0, kMost, 1}}) {
    Host().reports.clear();
    EXPECT_EQ(PF_FillUnoBuffer(1, rect, &plain), 3);
    EXPECT_EQ(PF_FillDeepUnoBuffer(1, rect, &deep), 3);
    EXPECT_EQ(Host().ReportTexts(),
              "rectangle outside the mask in PF_FillUnoBuffer\nrectangle outside the mask in PF_FillDeepUnoBuffer\n");
  }
}
#endif

}  // namespace
