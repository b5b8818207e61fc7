// After: lines whose clipped start lands beside the stepped one, lines that take time by their length, far or
// infinite points, colours converted otherwise, and pixels outside the world.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <sstream>

#include "PF/PF_Paint.h"
#include "PF/PF_Worlds.h"
#include "reference/Paint.h"
#include "support/Worlds.h"
#include "unit/world/Support.h"

namespace {

using pftest::Between;
using pftest::LinePixel;
using pftest::Random;
using pftest::Reference;
using pftest::TestWorld;
using Point = M_Vector2T<double>;

constexpr double kFar = 0x1p40, kMost = std::numeric_limits<double>::max(), kInfinite = HUGE_VAL;

// The pixels that a line sets, by rows. Gaps between the rows stay as they are.
std::vector<LinePixel> Drawn(const Point& start, const Point& end, std::int32_t width, std::int32_t height,
                             int depth = 8) {
  TestWorld world(depth, width, height, 8);
  std::vector<LinePixel> pixels;
  const std::vector<std::byte> untouched = world.Pixels();
  const PF_PixelFloat white = {1, 1, 1, 1};
  EXPECT_EQ(PF_DrawLine(&start, &end, &white, Reference(world).get()), 0);
  EXPECT_TRUE(world.GapsUntouched());
  const std::vector<std::byte> drawn = world.Pixels();
  const std::size_t size = world.PixelSize();
  for (std::size_t i = 0; i * size < drawn.size(); ++i) {
    if (std::equal(&drawn[i * size], &drawn[i * size] + size, &untouched[i * size])) continue;
    pixels.push_back({static_cast<std::int64_t>(i) % width, static_cast<std::int64_t>(i) / width});
  }
  return pixels;
}

std::vector<LinePixel> ByRows(std::vector<LinePixel> pixels) {
  std::ranges::sort(pixels, [](const LinePixel& a, const LinePixel& b) { return a.y != b.y ? a.y < b.y : a.x < b.x; });
  return pixels;
}

std::string TextOf(const std::vector<LinePixel>& pixels) {
  std::ostringstream text;
  for (const LinePixel& p : pixels) text << "(" << p.x << " " << p.y << ")";
  return text.str();
}

// QUIRK-33: among these, ends whose fraction is one half or that are negative.
TEST(Lines, AreTheSteppedOnes) {
  Random random(21);
  for (int round = 0; round < 15000; ++round) {
    const auto width = static_cast<std::int32_t>(Between(random, 1, 30));
    const auto height = static_cast<std::int32_t>(Between(random, 1, 30));
    // Positions in 64ths near the world, or far away in a few rounds, through the world more often than not.
    const std::int64_t reach = round % 100 == 0 ? 1 << 20 : 2500;
    const auto coordinate = [&] { return static_cast<double>(Between(random, -reach, reach)) / 64; };
    Point start = {coordinate(), coordinate()}, end = {coordinate(), coordinate()};
    if (round % 3 == 0) end = {width / 2.0 - start.h, height / 2.0 - start.v};
    if (round % 7 == 0) end.h = start.h + (random() % 2 == 0 ? 1e-13 : 1e-11);
    if (round % 21 == 0) end.v = start.v;
    const int depth = round % 3 == 0 ? 8 : round % 3 == 1 ? 16 : 32;
    ASSERT_EQ(TextOf(Drawn(start, end, width, height, depth)),
              TextOf(ByRows(pftest::ReferenceLine(start, end, width, height))))
        << "from (" << start.h << ", " << start.v << ") to (" << end.h << ", " << end.v << ") in " << width << " x "
        << height;
  }
}

TEST(Lines, KnownOnes) {
  std::vector<LinePixel> row, diagonal, rising, flat;
  for (int i = 0; i < 10; ++i) {
    row.push_back({i, 3});
    diagonal.push_back({i, i});
    rising.push_back({9 - i, i});
    flat.push_back({i, (i + 1) / 2});
  }
  struct Known {
    Point start, end;
    std::vector<LinePixel> pixels;
  };
  const Known knowns[] = {
      {{0.2, 0.2}, {3.0, 0.4}, {{0, 0}, {1, 0}, {2, 0}, {3, 0}}},
      {{4.4, 5.6}, {4.4, 5.6}, {{4, 6}}},
      {{-0.6, 5}, {-0.6, 5}, {}},
      {{2, 8}, {2, 20}, {{2, 8}, {2, 9}}},
      // QUIRK-33: -0.7 as an end is column 0, as a start column -1.
      {{2, 1}, {-0.7, 1}, {{0, 1}, {1, 1}, {2, 1}}},
      {{-1.7, 1}, {-1.7, 1}, {}},
      // Far points: the parts inside, at once.
      {{-kFar, 3}, {kFar, 3}, row},
      {{kFar, 3}, {-kFar, 3}, row},
      {{-kFar, -kFar}, {kFar, kFar}, diagonal},
      {{kFar + 9, -kFar}, {9 - kFar, kFar}, rising},
      {{-2 * kFar, -kFar}, {2 * kFar, kFar}, flat},
      {{0, 0}, {1e18, 5e17}, flat},
      {{-1e18, 3}, {1e18, 3}, row},
      {{-kMost, 3}, {kMost, 3}, row},
      {{-kMost, -kMost}, {kMost, kMost}, diagonal},
      {{kMost, kMost}, {1e18, 1e18}, {}},
      {{1e300, 1e300}, {1e300, 1e300}, {}},
      {{5, kMost}, {kMost, 5}, {}},
      {{kFar, 0}, {kFar, kFar}, {}},
      // Points that are not finite.
      {{-kInfinite, 3}, {kInfinite, 3}, {}},
      {{0, 0}, {NAN, 3}, {}},
      {{0, NAN}, {5, 3}, {}},
      {{0, 0}, {3, kInfinite}, {}},
  };
  for (const Known& known : knowns) {
    EXPECT_EQ(TextOf(Drawn(known.start, known.end, 10, 10)), TextOf(known.pixels)) << "case " << &known - knowns;
  }
}

// QUIRK-34: colours are not limited, they wrap.
TEST(Lines, ColoursAreConvertedToTheDepth) {
  const PF_PixelFloat colour = {-0.25f, 1.5f, NAN, 1e30f};
  const Point origin = {0, 0};
  for (const auto& [depth, text] : {std::pair(8, "(193 127 0 0)"), {16, "(57345 49152 0 0)"}}) {
    TestWorld world(depth, 1, 1);
    EXPECT_EQ(PF_DrawLine(&origin, &origin, &colour, Reference(world).get()), 0);
    EXPECT_EQ(world.PixelText(0, 0), text);
  }
  TestWorld world(32, 1, 1);
  EXPECT_EQ(PF_DrawLine(&origin, &origin, &colour, Reference(world).get()), 0);
  EXPECT_EQ(std::memcmp(world.Row(0), &colour, sizeof colour), 0);
}

TEST(Lines, WhatIsMissingOrUnknownDrawsNothing) {
  TestWorld world(8, 4, 4);
  const auto object = Reference(world);
  const auto before = world.Pixels();
  const Point origin = {0, 0};
  const PF_PixelFloat colour = {};
  EXPECT_EQ(PF_DrawLine(nullptr, &origin, &colour, object.get()), 0);
  EXPECT_EQ(PF_DrawLine(&origin, nullptr, &colour, object.get()), 0);
  EXPECT_EQ(PF_DrawLine(&origin, &origin, nullptr, object.get()), 0);
  EXPECT_EQ(PF_DrawLine(&origin, &origin, &colour, nullptr), 0);
  pftest::ForeignWorld odd(24);
  odd.data = world.Row(0);
  odd.width = odd.height = 4;
  odd.row_bytes = 16;
  EXPECT_EQ(PF_DrawLine(&origin, &origin, &colour, &odd), 0);
  pftest::ForeignWorld empty(8);
  empty.width = empty.height = 4;
  EXPECT_EQ(PF_DrawLine(&origin, &origin, &colour, &empty), 0);
  EXPECT_EQ(world.Pixels(), before);
}

template <class P, class Set>
void ExpectSetPixel(Set set, std::int32_t depth) {
  TestWorld world(depth, 5, 3, 8);
  const auto untouched = world.Pixels();
  P pixel;
  std::memset(&pixel, 0x3C, sizeof pixel);
  for (const auto& [x, y] : {std::pair(5, 0), {-1, 0}, {0, 3}, {0, -1}, {5, 3}, {INT32_MIN, INT32_MAX}}) {
    EXPECT_EQ(set(x, y, &pixel, world.record()), 0);
  }
  PF_LayerDef empty = *world.record();
  empty.data = nullptr;
  EXPECT_EQ(set(0, 0, &pixel, &empty), 0);
  EXPECT_EQ(set(0, 0, &pixel, nullptr), 0);
  EXPECT_EQ(set(0, 0, nullptr, world.record()), 0);
  EXPECT_EQ(world.Pixels(), untouched);
  for (const auto& [x, y] : {std::pair(0, 0), {4, 2}, {3, 1}}) {
    EXPECT_EQ(set(x, y, &pixel, world.record()), 1);
    EXPECT_EQ(std::memcmp(&world.At<P>(x, y), &pixel, sizeof pixel), 0);
  }
  const auto pixels = world.Pixels();
  EXPECT_EQ(std::ranges::count(pixels, std::byte{0x3C}), static_cast<std::ptrdiff_t>(3 * sizeof(P)));
  EXPECT_TRUE(world.GapsUntouched());
}

TEST(Pixels, AreSetInsideTheWorldAlone) {
  ExpectSetPixel<PF_Pixel8>(&PF_SetPixel8, 8);
  ExpectSetPixel<PF_Pixel16>(&PF_SetPixel16, 16);
  ExpectSetPixel<PF_PixelFloat>(&PF_SetPixelFloat, 32);
}

}  // namespace
