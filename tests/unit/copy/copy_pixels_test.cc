// After wrong pixels, pixels outside the clipped rectangle, reads outside the source: every kind of copy
// over random rectangles against the reference, whole and in bands, on the portable and the vector rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>

#include "PF/PF_Lifecycle.h"
#include "reference/ScaledCopy.h"
#include "support/TestHost.h"

namespace {

using pftest::Between;
using pftest::Random;
using pftest::TestWorld;

constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr PF_CopyKind kKinds[] = {PF_CopyKind_DRAFT, PF_CopyKind_HQ_STRAIGHT, PF_CopyKind_HQ_PREMUL,
                                  PF_CopyKind_LO_STRAIGHT};

PF_Err Copy(PF_CopyKind kind, const TestWorld& src, TestWorld& dst, const M_LRect* src_rect, const M_LRect* dst_rect) {
  constexpr decltype(&PF_CopyBits_Draft) kCopies[] = {PF_CopyBits_Draft_Static, PF_CopyBits_HQ_Straight_Static,
                                                      PF_CopyBits_HQ_Premul_Static, PF_CopyBits3_LO_Straight_Static};
  return kCopies[kind](nullptr, src.record(), dst.record(), src_rect, dst_rect);
}

// Low and high end of one axis: within the world, across its ends, anywhere at all.
std::pair<std::int32_t, std::int32_t> AnyRange(Random& random, std::int32_t size) {
  std::int64_t low = 0, high = 0;
  switch (random() % 4) {
    case 0:
      low = Between(random, 0, size - 1);
      high = Between(random, low + 1, size);
      break;
    case 1:
      low = Between(random, -size, size + 2);
      high = Between(random, low - 1, 3 * size);
      break;
    case 2:
      low = Between(random, kLeast, size);
      high = Between(random, low, kMost);
      break;
    default:
      low = random() % 2 == 0 ? kLeast : Between(random, -3, 0);
      high = random() % 2 == 0 ? kMost : Between(random, size, size + 3);
  }
  return {static_cast<std::int32_t>(low), static_cast<std::int32_t>(high)};
}

std::optional<M_LRect> AnyRect(Random& random, const TestWorld& world) {
  if (random() % 6 == 0) return std::nullopt;
  const auto [left, right] = AnyRange(random, world.width());
  const auto [top, bottom] = AnyRange(random, world.height());
  return M_LRect{left, top, right, bottom};
}

std::string Text(const std::optional<M_LRect>& r) {
  if (!r) return "null";
  return std::to_string(r->left) + " " + std::to_string(r->top) + " " + std::to_string(r->right) + " " +
         std::to_string(r->bottom);
}

const M_LRect* Pointer(const std::optional<M_LRect>& rect) { return rect ? &*rect : nullptr; }

std::int32_t UpTo(Random& random, std::int32_t most) { return static_cast<std::int32_t>(Between(random, 1, most)); }

struct Size {
  std::int32_t width, height;
};

struct AnyWorld : TestWorld {
  AnyWorld(Random& random, std::int32_t depth, Size size)
      : TestWorld{depth, size.width, size.height, 16 * (UpTo(random, 3) - 1),
                  random() % 2 == 0 ? pftest::GuardedMemory::kEnd : pftest::GuardedMemory::kStart} {
    Fill(random, random() % 2 == 0 ? TestWorld::kRandom : TestWorld::kEdges);
  }
};

Size AnySize(Random& random) { return {UpTo(random, 70), UpTo(random, 12)}; }

// The ratios that have rows of their own: the same, twice, half.
Size ExactSize(Random& random, Size size) {
  const auto scaled = [&](std::int32_t n) { return random() % 3 == 0 ? n : random() % 2 == 0 ? 2 * n : n / 2 + n % 2; };
  return {scaled(size.width), scaled(size.height)};
}

class CopyPixels : public testing::TestWithParam<std::uint32_t> {
 protected:
  void SetUp() override {
    pftest::Host().Reset();
    pftest::Host().cpu_features = GetParam();
    // The record is read when geometry is prepared, so the second start sees it.
    ASSERT_EQ(PF_Birth(), 0);
    ASSERT_EQ(PF_Death(), 0);
    ASSERT_EQ(PF_Birth(), 0);
  }
  void TearDown() override {
    pftest::Host().Reset();
    EXPECT_EQ(PF_Death(), 0);
  }
};

TEST_P(CopyPixels, EveryKindGivesTheReferenceWholeAndInBands) {
  Random random(20);
  int written = 0;
  for (int trial = 0; trial < 6000; ++trial) {
    const PF_CopyKind kind = kKinds[trial % 4];
    const std::int32_t depths[] = {8, 16, 32};
    const std::int32_t from = depths[random() % 3];
    const bool convert = kind == PF_CopyKind_DRAFT || kind == PF_CopyKind_LO_STRAIGHT || random() % 4 == 0;
    const bool exact = random() % 5 == 0;
    const Size size = AnySize(random);
    const AnyWorld src(random, from, size);
    AnyWorld expected(random, convert ? depths[random() % 3] : from, exact ? ExactSize(random, size) : AnySize(random));
    TestWorld whole(expected.depth(), expected.width(), expected.height(), 4);
    TestWorld banded(expected.depth(), expected.width(), expected.height(), 8);
    for (std::int32_t y = 0; y < expected.height(); ++y) {
      const auto bytes = static_cast<std::size_t>(expected.width()) * expected.PixelSize();
      std::memcpy(whole.Row(y), expected.Row(y), bytes);
      std::memcpy(banded.Row(y), expected.Row(y), bytes);
    }
    const auto before = expected.Pixels();
    const auto src_rect = exact ? std::nullopt : AnyRect(random, src);
    const auto dst_rect = exact ? std::nullopt : random() % 4 == 0 ? src_rect : AnyRect(random, expected);
    SCOPED_TRACE("trial " + std::to_string(trial) + ", kind " + std::to_string(kind) + ", " +
                 std::to_string(src.width()) + "x" + std::to_string(src.height()) + " depth " + std::to_string(from) +
                 " [" + Text(src_rect) + "] to " + std::to_string(expected.width()) + "x" +
                 std::to_string(expected.height()) + " depth " + std::to_string(expected.depth()) + " [" +
                 Text(dst_rect) + "]");

    const PF_Err code = pftest::ReferenceCopy(kind, src, expected, Pointer(src_rect), Pointer(dst_rect));
    written += expected.Pixels() != before;
    EXPECT_EQ(Copy(kind, src, whole, Pointer(src_rect), Pointer(dst_rect)), code);
    std::vector<std::int32_t> bands(1 + random() % 15);
    for (std::size_t i = 0; i < bands.size(); ++i) bands[i] = static_cast<std::int32_t>(i);
    std::shuffle(bands.begin(), bands.end(), random);
    for (const std::int32_t band : bands) {
      EXPECT_EQ(PF_CopyBits_Band(kind, src.record(), banded.record(), Pointer(src_rect), Pointer(dst_rect), band,
                                 static_cast<std::int32_t>(bands.size())),
                code);
    }
    ASSERT_EQ(whole.FirstDifference(expected), "");
    ASSERT_EQ(banded.FirstDifference(expected), "") << bands.size() << " bands";
    ASSERT_TRUE(whole.GapsUntouched() && banded.GapsUntouched());
  }
  EXPECT_GT(written, 2500) << "the rectangles hardly ever meet the worlds";
}

TEST_P(CopyPixels, WideWorldsScaleBeyondSixteenBits) {
  // 1 : 70000 makes the scale 0, 70000 : 1 makes it leave 32 bits, 40000 : 39999 drops a single column.
  Random random(21);
  const std::pair<std::int32_t, std::int32_t> widths[] = {{1, 70000}, {40000, 39999}, {33000, 66000}, {66001, 33000}};
  for (const auto& [from, to] : widths) {
    TestWorld src(8, from, 1);
    src.Fill(random, TestWorld::kOpaque);
    for (const PF_CopyKind kind : {PF_CopyKind_DRAFT, PF_CopyKind_HQ_STRAIGHT}) {
      if (kind != PF_CopyKind_DRAFT && from > 32767) continue;  // positions of single samples end there
      TestWorld expected(8, to, 2), actual(8, to, 2);
      ASSERT_EQ(pftest::ReferenceCopy(kind, src, expected, nullptr, nullptr), 0);
      EXPECT_EQ(Copy(kind, src, actual, nullptr, nullptr), 0);
      EXPECT_EQ(actual.FirstDifference(expected), "") << from << " to " << to << ", kind " << kind;
    }
  }
  // The box of 70000 pixels is limited to its middle 65536; half of them are 10, half 30.
  TestWorld src(8, 70000, 1), one(8, 1, 1);
  for (std::int32_t x = 0; x < 70000; ++x) {
    const std::uint8_t value = x < 35000 ? 10 : 30;
    src.At<PF_Pixel8>(x, 0) = {255, value, value, value};
  }
  EXPECT_EQ(Copy(PF_CopyKind_HQ_STRAIGHT, src, one, nullptr, nullptr), 0);
  EXPECT_EQ(one.PixelText(0, 0), "(255 20 20 20)");
}

TEST_P(CopyPixels, ABoxIsLimitedToTheMiddleSixteenBitsOfRows) {
  // Of 70000 rows the middle 65536 count: half of them 20, half 40. What lies beyond is white.
  TestWorld src(8, 1, 70000), one(8, 1, 1);
  for (std::int32_t y = 0; y < 70000; ++y) {
    const std::uint8_t value = y < 2232 || y >= 67768 ? 255 : y < 35000 ? 20 : 40;
    src.At<PF_Pixel8>(0, y) = {255, value, value, value};
  }
  for (const PF_CopyKind kind : {PF_CopyKind_HQ_STRAIGHT, PF_CopyKind_HQ_PREMUL}) {
    EXPECT_EQ(Copy(kind, src, one, nullptr, nullptr), 0);
    EXPECT_EQ(one.PixelText(0, 0), "(255 30 30 30)") << kind;
  }
}

INSTANTIATE_TEST_SUITE_P(Targets, CopyPixels, testing::Values(0u, U_CPU_VECTOR | U_CPU_SSSE3, ~0u));

}  // namespace
