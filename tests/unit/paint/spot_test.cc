// After: dabs that read outside their mask or write outside the world, rows moved otherwise than callers know
// them, coverages that overflow, and vector rows that differ from the restatement in a single bit.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "PF/PF_Lifecycle.h"
#include "PF/PF_Paint.h"
#include "paint/PaintKernels.h"
#include "reference/Paint.h"
#include "report/Sites.h"
#include "support/LibraryTest.h"
#include "support/Targets.h"
#include "support/TestHost.h"
#include "support/Worlds.h"

namespace {

using pf::PaintKernels;
using pftest::Between;
using pftest::GuardedMemory;
using pftest::Host;
using pftest::Random;
using pftest::TestWorld;

constexpr std::uint32_t kWide[] = {256, 257, 511, 32768, 65024, 65025, 65026, 1u << 24, 1u << 31, ~0u};

// Mostly soft, some none or full; with `wide`, a few beyond 255.
std::uint32_t AnyCoverage(Random& random, bool wide) {
  if (wide && random() % 8 == 0) return kWide[random() % std::size(kWide)];
  const std::uint32_t edges[] = {0, 255, 128};
  return random() % 3 == 0 ? edges[random() % 3] : static_cast<std::uint32_t>(random() % 256);
}

// A mask that ends, or starts, at a faulting page.
struct Mask {
  Mask(Random& random, std::int64_t count, bool wide)
      : memory(static_cast<std::size_t>(count) * 4, random() % 2 == 0 ? GuardedMemory::kEnd : GuardedMemory::kStart) {
    for (std::int64_t i = 0; i < count; ++i) values()[i] = AnyCoverage(random, wide);
  }
  std::uint32_t* values() const { return reinterpret_cast<std::uint32_t*>(memory.data()); }
  GuardedMemory memory;
};

class Spots : public pftest::LibraryTest {};

// QUIRK-30, QUIRK-32: rows that are cut off at the top, and those that this moves beyond the height, among them.
TEST_F(Spots, AreTheRestatementOverEveryEdge) {
  Random random(11);
  for (int round = 0; round < 4000; ++round) {
    const auto width = static_cast<std::int32_t>(Between(random, 1, 50));
    const auto height = static_cast<std::int32_t>(Between(random, 1, 30));
    TestWorld world(8, width, height, 4), expected(8, width, height);
    world.Fill(random, TestWorld::kRawBits);
    for (std::int32_t y = 0; y < height; ++y) std::memcpy(expected.Row(y), world.Row(y), std::size_t(width) * 4);
    const auto size = static_cast<std::int32_t>(2 * Between(random, 0, 20) + 1);
    const auto shape = static_cast<std::uint32_t>(random());
    const auto x = static_cast<std::int32_t>(Between(random, -25, width + 25));
    const auto y = static_cast<std::int32_t>(Between(random, -25, height + 25));
    const Mask mask(random, (shape & 1) != 0 ? size : std::int64_t{size} * size, round % 2 == 0);
    const auto colour = static_cast<std::uint32_t>(random());
    EXPECT_EQ(PF_PaintSpot(nullptr, x, y, shape, size, mask.values(), colour, world.record()), 0);
    pftest::ReferenceSpot(x, y, shape, size, mask.values(), colour, *expected.record());
    ASSERT_EQ(world.FirstDifference(expected), "")
        << "round " << round << ": size " << size << ", shape " << shape << ", at (" << x << ", " << y << ")";
    ASSERT_TRUE(world.GapsUntouched());
  }
  EXPECT_TRUE(Host().reports.empty());
}

// The rectangle of pixels that a fully covering white dab changes in a black 10 x 10 world.
M_LRect Painted(std::int32_t x, std::int32_t y, std::uint32_t shape, std::int32_t size) {
  TestWorld world(8, 10, 10);
  for (std::int32_t row = 0; row < 10; ++row) std::memset(world.Row(row), 0, 40);
  const std::vector<std::uint32_t> mask(shape == 0 && size < 100 ? static_cast<std::size_t>(size * size) : 200000, 255);
  EXPECT_EQ(PF_PaintSpot(nullptr, x, y, shape, size, mask.data(), ~0u, world.record()), 0);
  M_LRect rect = {10, 10, 0, 0};
  for (std::int32_t row = 0; row < 10; ++row) {
    for (std::int32_t column = 0; column < 10; ++column) {
      if (world.At<PF_Pixel8>(column, row).alpha == 0) continue;
      rect = {std::min(rect.left, column), std::min(rect.top, row), std::max(rect.right, column + 1),
              std::max(rect.bottom, row + 1)};
    }
  }
  return rect;
}

TEST_F(Spots, KnownRectangles) {
  struct Known {
    std::int32_t x, y;
    std::uint32_t shape;
    std::int32_t size;
    M_LRect painted;
  };
  constexpr M_LRect kNone = {10, 10, 0, 0};
  const Known knowns[] = {
      {2, 2, 0, 1, {2, 2, 3, 3}},
      {2, 2, 0, 5, {0, 0, 5, 5}},
      {2, 0, 0, 5, {0, 6, 5, 9}},    // QUIRK-30: two rows cut off
      {2, -1, 0, 5, {0, 9, 5, 10}},  // QUIRK-32: rows 9 and 10, of which there is one
      {2, -2, 0, 5, kNone},
      {5, 5, PF_SpotShape_BAR, 3, {4, 5, 7, 6}},
      {5, 5, PF_SpotShape_BAR | PF_SpotShape_VERTICAL, 3, {5, 4, 6, 7}},
      {5, 5, PF_SpotShape_VERTICAL, 3, {4, 4, 7, 7}},
      {9, 9, 0, 5, {7, 7, 10, 10}},
      {5, -3, 0, 5, kNone},
      {5, 12, 0, 5, kNone},
      {-3, 5, 0, 5, kNone},
      {12, 5, 0, 5, kNone},
      // QUIRK-31: positions are kept in 16 bits.
      {65536 + 5, 5 - 65536, 0, 3, {4, 4, 7, 7}},
      {std::numeric_limits<std::int32_t>::max(), 5, 0, 3, {0, 4, 1, 7}},
      {40000, 5, PF_SpotShape_BAR, 3, kNone},
      {5, 5, PF_SpotShape_BAR, 65535, kNone},
      {5, 5, PF_SpotShape_BAR, 60001, {0, 5, 10, 6}},
  };
  for (const Known& known : knowns) {
    const M_LRect painted = Painted(known.x, known.y, known.shape, known.size);
    EXPECT_EQ(std::memcmp(&painted, &known.painted, sizeof painted), 0)
        << "case " << &known - knowns << ": " << painted.left << " " << painted.top << " " << painted.right << " "
        << painted.bottom;
  }
  TestWorld world(8, 1, 1);
  world.At<PF_Pixel8>(0, 0) = {200, 200, 0, 255};
  const std::uint32_t coverage = 128;
  EXPECT_EQ(PF_PaintSpot(nullptr, 0, 0, 0, 1, &coverage, 0xFF00'6464, world.record()), 0);
  EXPECT_EQ(world.PixelText(0, 0), "(149 149 0 255)");
}

TEST_F(Spots, BadParametersAreReportedOnce) {
  TestWorld world(8, 10, 10);
  PF_LayerDef empty = *world.record();
  empty.data = nullptr;
  const std::uint32_t mask[25] = {255};
  const auto before = world.Pixels();
  const auto paint = [&](std::int32_t size, const std::uint32_t* coverage, PF_LayerDef* record) {
    Host().reports.clear();
    EXPECT_EQ(PF_PaintSpot(nullptr, 5, 5, 0, size, coverage, 0, record), 3);
    EXPECT_EQ(Host().ReportTexts(), "bad parameter passed to effect callback\n");
    EXPECT_EQ(Host().reports.at(0).identifier, pf::Identifier(pf::Site::kPaintSpot));
  };
  for (const std::int32_t size : {4, 0, -1, -2, std::numeric_limits<std::int32_t>::min()})
    paint(size, mask, world.record());
  paint(5, nullptr, world.record());
  paint(5, mask, nullptr);
  paint(5, mask, &empty);
  EXPECT_EQ(world.Pixels(), before);
}

void ExpectRow(const PaintKernels& kernels, std::uint32_t colour, std::uint32_t* coverage, PF_Pixel8* row,
               std::size_t n) {
  std::vector<std::array<std::uint8_t, 4>> expected(n);
  const auto c = std::bit_cast<std::array<std::uint8_t, 4>>(colour);
  for (std::size_t i = 0; i < n; ++i) {
    const auto old = std::bit_cast<std::array<std::uint8_t, 4>>(row[i]);
    for (std::size_t k = 0; k < 4; ++k) expected[i][k] = pftest::ReferenceMix(old[k], c[k], coverage[i]);
  }
  kernels.dab(row, coverage, std::bit_cast<PF_Pixel8>(colour), n);
  for (std::size_t i = 0; i < n; ++i) {
    ASSERT_EQ(std::memcmp(&row[i], &expected[i], 4), 0) << "pixel " << i << " of " << n << ", coverage " << coverage[i];
  }
}

void ExpectAll(const PaintKernels& kernels) {
  Random random(12);
  for (std::int32_t n = 0; n <= 67; ++n) {
    for (int round = 0; round < 8; ++round) {
      TestWorld row(8, n, 1, 0, round % 2 == 0 ? GuardedMemory::kEnd : GuardedMemory::kStart);
      row.Fill(random, TestWorld::kRawBits);
      const Mask mask(random, n, round >= 4);
      ExpectRow(kernels, static_cast<std::uint32_t>(random()), mask.values(), &row.At<PF_Pixel8>(0, 0),
                static_cast<std::size_t>(n));
    }
  }
  // Every old value under every coverage, and under those beyond, for all values of the colour.
  constexpr std::uint32_t kCoverages = 256 + std::size(kWide);
  std::vector<PF_Pixel8> row(256 * kCoverages);
  std::vector<std::uint32_t> coverage(row.size());
  for (std::uint32_t colour = 0; colour < 256; colour += 4) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const auto old = static_cast<std::uint8_t>(i);
      row[i] = {old, old, old, old};
      coverage[i] = i / 256 < 256 ? static_cast<std::uint32_t>(i / 256) : kWide[i / 256 - 256];
    }
    ExpectRow(kernels, 0x03020100 + colour * 0x01010101, coverage.data(), row.data(), row.size());
  }
}

TEST(PaintKernels, PortableRowsAreTheRestatement) { ExpectAll(pf::kPortablePaintKernels); }

TEST(PaintKernels, EveryTargetGivesTheSameBits) {
  pftest::ForEachTarget([]() -> const PaintKernels& { return pf::VectorPaintKernels(); }, ExpectAll);
}

}  // namespace
