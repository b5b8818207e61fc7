// After: row kernels that differ from one sampler call per pixel in a single bit, that read outside the
// world or write outside the row, or that use what an earlier row left in the scratch wrongly.
#include "sample/SampleKernels.h"

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "support/Targets.h"
#include "support/Worlds.h"

namespace {

using pf::SampleKernels;
using pf::SampleRow;
using pftest::Between;
using pftest::GuardedMemory;
using pftest::Random;
using pftest::TestWorld;

constexpr int kDepths[] = {8, 16, 32};
constexpr TestWorld::Kind kKinds[] = {TestWorld::kRandom, TestWorld::kOpaque, TestWorld::kEdges, TestWorld::kSparse,
                                      TestWorld::kRawBits};

// The four families of a table, by number.
constexpr const char* kFamilies[] = {"straight", "premultiplied", "straight area", "premultiplied area"};
const SampleKernels::Pair& PairOf(const SampleKernels& kernels, int family, int depth) {
  const SampleKernels::Pair* families[] = {kernels.bilinear_straight, kernels.bilinear_premul, kernels.area_straight,
                                           kernels.area_premul};
  return families[family][pf::DepthIndex(depth)];
}
bool IsArea(int family) { return family >= 2; }

// One call of the exported sampler.
void CallSampler(int family, int depth, std::int32_t x, std::int32_t y, const PF_SampPB* params, void* out) {
  auto* out8 = static_cast<PF_Pixel8*>(out);
  auto* out16 = static_cast<PF_Pixel16*>(out);
  auto* out32 = static_cast<PF_PixelFloat*>(out);
  switch (4 * pf::DepthIndex(depth) + family) {
    case 0:
      return void(PF_SubpixelSample_Straight(nullptr, x, y, params, out8));
    case 1:
      return void(PF_SubpixelSample_Premul(nullptr, x, y, params, out8));
    case 2:
      return void(PF_AreaSample_Straight(nullptr, x, y, params, out8));
    case 3:
      return void(PF_AreaSample_Premul(nullptr, x, y, params, out8));
    case 4:
      return void(PF_SubpixelSample_Straight16(nullptr, x, y, params, out16));
    case 5:
      return void(PF_SubpixelSample_Premul16(nullptr, x, y, params, out16));
    case 6:
      return void(PF_AreaSample_Straight16(nullptr, x, y, params, out16));
    case 7:
      return void(PF_AreaSample_Premul16(nullptr, x, y, params, out16));
    case 8:
      return void(PF_SubpixelBilinearFloat(nullptr, x, y, params, out32));
    case 9:
      return void(PF_SubpixelSample_PremulFloat(nullptr, x, y, params, out32));
    case 10:
      return void(PF_AreaSample_StraightFloat(nullptr, x, y, params, out32));
    default:
      return void(PF_AreaSample_PremulFloat(nullptr, x, y, params, out32));
  }
}

// A copy of rows: where they lie and what they are read from.
struct Case {
  int family, depth;
  TestWorld::Kind kind;
  std::int32_t width, height, gap;
  GuardedMemory::Where where;
  std::int64_t x0, step_x, y0, step_y, n, rows;
  std::int32_t radius_x, radius_y;
  bool jumps, blocky, past_caches = false, flawed = false;

  std::string Text(std::uint64_t seed) const {
    return std::string(kFamilies[family]) + ", depth " + std::to_string(depth) + ", kind " + std::to_string(kind) +
           ", seed " + std::to_string(seed) + ", world " + std::to_string(width) + " x " + std::to_string(height) +
           ", x " + std::to_string(x0) + " + k " + std::to_string(step_x) + ", y " + std::to_string(y0) + " + k " +
           std::to_string(step_y) + ", " + std::to_string(n) + " samples, radii " + std::to_string(radius_x) + ", " +
           std::to_string(radius_y);
  }
};

// Steps as copies have them: any, tiny ones, whole pixels, and eighths of a pixel, which many kernels have
// a way of their own for.
std::int64_t RandomStep(Random& random, std::int64_t limit, bool eighths) {
  if (eighths) return std::min(limit, Between(random, 1, 8) * 8192);
  const std::int64_t steps[] = {Between(random, 1, limit), std::int64_t{65536} >> random() % 6, 65536,
                                Between(random, 1, 1000)};
  return steps[random() % std::size(steps)];
}

// The centred position of a copy, or any around the world.
std::int64_t RandomStart(Random& random, std::int64_t step, std::int64_t size, std::int64_t count) {
  switch (random() % 4) {
    case 0:
      return Between(random, -3 * 65536, (size + 1) * 65536);
    case 1:
      return Between(random, -3, size) * 65536;
    case 2:
      return Between(random, -count, size) * 65536 + static_cast<std::int64_t>(random() % 64) * 1024;
    default:
      return step / 2 - 32768;
  }
}

Case RandomCase(Random& random, int family, int depth) {
  Case c = {};
  c.family = family;
  c.depth = depth;
  c.kind = kKinds[random() % std::size(kKinds)];
  const bool wide = random() % 4 == 0;
  c.width = static_cast<std::int32_t>(Between(random, 1, wide ? 200 : 67));
  c.height = static_cast<std::int32_t>(Between(random, 1, random() % 4 == 0 ? 80 : 9));
  c.gap = static_cast<std::int32_t>(Between(random, 0, 3)) * 16;
  c.where = random() % 2 == 0 ? GuardedMemory::kEnd : GuardedMemory::kStart;
  const std::int64_t limit = IsArea(family) ? 20 * 65536 : random() % 8 == 0 ? 3 * 65536 : 65536;
  const bool eighths = random() % 3 == 0;
  c.step_x = RandomStep(random, limit, eighths);
  c.step_y = RandomStep(random, limit, eighths);
  c.n = Between(random, 1, wide ? 400 : 67);
  c.rows = Between(random, 1, 8);
  c.x0 = RandomStart(random, c.step_x, c.width, c.n * c.step_x / 65536);
  c.y0 = RandomStart(random, c.step_y, c.height, c.rows * c.step_y / 65536);
  const auto radius = [&](std::int64_t step) {
    return static_cast<std::int32_t>(random() % 4 == 0 ? Between(random, 0, limit) : step / 2);
  };
  c.radius_x = radius(c.step_x);
  c.radius_y = radius(c.step_y);
  c.jumps = random() % 4 == 0;
  c.blocky = random() % 4 == 0;
  c.past_caches = random() % 2 == 0;
  c.flawed = random() % 4 == 0;
  if (c.flawed) c.kind = TestWorld::kOpaque;
  return c;
}

// The picture of a case; a blocky one has squares of equal pixels. A flawed one has, in some of its rows, one channel
// of one pixel of another value, which is above full in 16 bits: what holds for a row need not for the next.
void FillPicture(const Case& c, Random& random, TestWorld& world) {
  world.Fill(random, c.kind);
  const std::size_t size = world.PixelSize();
  for (std::int32_t p = 0; c.blocky && p < c.width * c.height; ++p) {
    const std::int32_t x = p % c.width, y = p / c.width;
    std::memmove(world.Row(y) + static_cast<std::size_t>(x) * size,
                 world.Row(y / 3 * 3) + static_cast<std::size_t>(x / 3 * 3) * size, size);
  }
  const auto alpha = static_cast<int>(Between(random, 1, 0x3F));
  for (std::int32_t y = 0; c.flawed && y < c.height; ++y) {
    const bool other = random() % 8 == 0;
    for (std::int32_t x = 0; alpha % 2 == 0 && x < c.width; ++x) {
      std::memset(world.Row(y) + static_cast<std::size_t>(x) * size, other ? 0x40 : alpha, size / 4);
    }
    if (random() % 3 != 0) continue;
    const auto x = static_cast<std::size_t>(Between(random, 0, c.width - 1));
    std::memset(world.Row(y) + x * size + random() % 2 * size / 4, 0x9F, size / 4);
  }
}

// Copies go down; a caller may also repeat rows, go back and jump.
std::int64_t RowNumber(const Case& c, std::int64_t k) { return c.jumps ? k * 5 % 7 * c.rows / 4 - k % 3 : k; }

// Runs the rows of a case on `kernels` into memory that ends at a faulting page.
void RunRows(const SampleKernels& kernels, const Case& c, const PF_SampPB& params, std::vector<std::byte>* pixels) {
  const SampleKernels::Pair& pair = PairOf(kernels, c.family, c.depth);
  const std::size_t row_size = static_cast<std::size_t>(c.n * c.depth / 2);
  const std::uint64_t size = (pair.scratch_size(&params, c.step_x, c.n) + 63) / 64 * 64;
  GuardedMemory scratch(size), out(row_size), early(row_size, GuardedMemory::kStart);
  std::memset(scratch.data(), 0, 64);
  for (std::int64_t k = 0; k < c.rows; ++k) {
    const GuardedMemory& to = k % 2 == 0 ? out : early;
    const std::int64_t y = c.y0 + RowNumber(c, k) * c.step_y;
    pair.row(SampleRow{&params, c.x0, c.step_x, y, to.data(), c.n, c.past_caches}, scratch.data());
    pixels->insert(pixels->end(), to.data(), to.data() + row_size);
  }
}

// Where two results differ first; empty when they do not.
std::string FirstDifference(const Case& c, const std::vector<std::byte>& got, const std::vector<std::byte>& expected) {
  const auto at = std::mismatch(got.begin(), got.end(), expected.begin()).first - got.begin();
  if (at == static_cast<std::ptrdiff_t>(got.size())) return {};
  const std::int64_t pixel = at / (c.depth / 2);
  std::ostringstream text;
  text << "row " << pixel / c.n << ", sample " << pixel % c.n << ":" << std::hex;
  for (const auto* pixels : {&got, &expected}) {
    for (std::int64_t i = pixel * c.depth / 2; i < (pixel + 1) * c.depth / 2; ++i) {
      text << ' ' << std::to_integer<int>((*pixels)[static_cast<std::size_t>(i)]);
    }
    if (pixels == &got) text << " instead of";
  }
  return text.str();
}

template <class F>
void ForEachTarget(F f) {
  pftest::ForEachTarget([&] { f(pf::VectorSampleKernels(), hwy::TargetName(hwy::SupportedTargets())); });
}

class SampleKernelsOfDepth : public testing::TestWithParam<int> {};

TEST_P(SampleKernelsOfDepth, PortableRowsAreOneCallPerPixel) {
  for (int family = 0; family < 4; ++family) {
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
      Random random(seed);
      const Case c = RandomCase(random, family, GetParam());
      TestWorld world(c.depth, c.width, c.height, c.gap, c.where);
      FillPicture(c, random, world);
      const PF_SampPB params = {c.radius_x, c.radius_y, 0, world.record()};
      std::vector<std::byte> rows, calls(static_cast<std::size_t>(c.rows * c.n * c.depth / 2));
      RunRows(pf::kPortableSampleKernels, c, params, &rows);
      for (std::int64_t p = 0; p < c.rows * c.n; ++p) {
        CallSampler(family, c.depth, static_cast<std::int32_t>(c.x0 + p % c.n * c.step_x),
                    static_cast<std::int32_t>(c.y0 + RowNumber(c, p / c.n) * c.step_y), &params,
                    &calls[static_cast<std::size_t>(p * c.depth / 2)]);
      }
      ASSERT_EQ(FirstDifference(c, rows, calls), "") << c.Text(seed);
    }
  }
}

TEST_P(SampleKernelsOfDepth, EveryTargetGivesThePortableBits) {
  for (int family = 0; family < 4; ++family) {
    for (std::uint64_t seed = 0; seed < 500; ++seed) {
      Random random(seed);
      const Case c = RandomCase(random, family, GetParam());
      TestWorld world(c.depth, c.width, c.height, c.gap, c.where);
      FillPicture(c, random, world);
      const PF_SampPB params = {c.radius_x, c.radius_y, 0, world.record()};
      std::vector<std::byte> expected;
      RunRows(pf::kPortableSampleKernels, c, params, &expected);
      ForEachTarget([&](const SampleKernels& kernels, const char* target) {
        std::vector<std::byte> rows;
        RunRows(kernels, c, params, &rows);
        EXPECT_EQ(FirstDifference(c, rows, expected), "") << target << ": " << c.Text(seed);
      });
      if (HasFailure()) return;
    }
  }
}

// Positions beyond 32 bits, as huge copies have them, see what is there: nothing, or the far end of a world
// that is wider than such positions reach.
TEST_P(SampleKernelsOfDepth, PositionsGoBeyondThirtyTwoBits) {
  const int depth = GetParam();
  Random random(1);
  TestWorld world(depth, 40000, 3);
  world.Fill(random, TestWorld::kRandom);
  for (int family = 0; family < 4; ++family) {
    for (const std::int64_t x0 : {std::int64_t{-1} << 40, std::int64_t{39960} * 65536 + 77, std::int64_t{1} << 40}) {
      const std::int64_t step = IsArea(family) ? 100000 : 40000;
      const Case c = {family,
                      depth,
                      TestWorld::kRandom,
                      40000,
                      3,
                      0,
                      GuardedMemory::kEnd,
                      x0,
                      step,
                      70000,
                      step,
                      70,
                      2,
                      70000,
                      90000,
                      false,
                      false};
      const PF_SampPB params = {c.radius_x, c.radius_y, 0, world.record()};
      std::vector<std::byte> expected;
      RunRows(pf::kPortableSampleKernels, c, params, &expected);
      const bool empty = std::all_of(expected.begin(), expected.end(), [](std::byte b) { return b == std::byte{0}; });
      EXPECT_EQ(empty, x0 < 0 || x0 >= std::int64_t{1} << 40) << c.Text(1);
      ForEachTarget([&](const SampleKernels& kernels, const char* target) {
        std::vector<std::byte> rows;
        RunRows(kernels, c, params, &rows);
        EXPECT_EQ(FirstDifference(c, rows, expected), "") << target << ": " << c.Text(1);
      });
    }
  }
}

// Rows that are longer than what kernels do at a time, whatever that is.
TEST_P(SampleKernelsOfDepth, LongRowsHaveNoSeams) {
  const int depth = GetParam();
  Random random(3);
  for (const auto kind : {TestWorld::kRandom, TestWorld::kOpaque}) {
    TestWorld world(depth, 1400, 4);
    world.Fill(random, kind);
    for (const std::int64_t step : {45001, 65535, 65536}) {
      Case c = {};
      c.depth = depth;
      c.kind = kind;
      c.width = 1400;
      c.height = 4;
      c.x0 = step / 2 - 32768;
      c.step_x = step;
      c.y0 = -20000;
      c.step_y = 45001;
      c.n = 1400 * 65536 / step;
      c.rows = 6;
      c.past_caches = true;
      const PF_SampPB params = {0, 0, 0, world.record()};
      std::vector<std::byte> expected;
      RunRows(pf::kPortableSampleKernels, c, params, &expected);
      ForEachTarget([&](const SampleKernels& kernels, const char* target) {
        std::vector<std::byte> rows;
        RunRows(kernels, c, params, &rows);
        EXPECT_EQ(FirstDifference(c, rows, expected), "") << target << ": " << c.Text(3);
      });
    }
  }
}

// Boxes of whole columns and rows, which copies to a half or a third have: all inside the world, or
// beginning and ending outside it, and more rows than sums of some kinds can hold.
TEST_P(SampleKernelsOfDepth, AreasOfWholePixels) {
  Random random(2);
  for (int trial = 0; trial < 120; ++trial) {
    Case c = {};
    c.family = 2 + trial % 2;
    c.depth = GetParam();
    c.kind = kKinds[random() % std::size(kKinds)];
    c.width = static_cast<std::int32_t>(Between(random, 1, 150));
    c.height = static_cast<std::int32_t>(trial % 6 == 0 ? Between(random, 100, 300) : Between(random, 1, 9));
    c.gap = 16;
    c.where = trial / 2 % 2 == 0 ? GuardedMemory::kEnd : GuardedMemory::kStart;
    c.step_x = Between(random, 1, 3) * 65536;
    c.step_y = (trial % 6 == 0 ? c.height : Between(random, 1, 3)) * 65536;
    c.radius_x = static_cast<std::int32_t>(c.step_x / 2);
    c.radius_y = static_cast<std::int32_t>(c.step_y / 2);
    const std::int64_t left = trial % 3 == 0 ? Between(random, -2, 2) : 0;
    c.x0 = c.radius_x - 32768 + left * 65536;
    c.y0 = c.radius_y - 32768 + (trial % 5 == 0 ? -65536 : 0);
    c.n = std::max<std::int64_t>(c.width * 65536 / c.step_x - left, 1);
    c.rows = 3;
    TestWorld world(c.depth, c.width, c.height, c.gap, c.where);
    world.Fill(random, c.kind);
    const PF_SampPB params = {c.radius_x, c.radius_y, 0, world.record()};
    std::vector<std::byte> expected;
    RunRows(pf::kPortableSampleKernels, c, params, &expected);
    ForEachTarget([&](const SampleKernels& kernels, const char* target) {
      std::vector<std::byte> rows;
      RunRows(kernels, c, params, &rows);
      EXPECT_EQ(FirstDifference(c, rows, expected), "") << target << ": " << c.Text(2) << ", trial " << trial;
    });
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Depth, SampleKernelsOfDepth, testing::ValuesIn(kDepths),
                         [](const auto& test) { return std::to_string(test.param); });

}  // namespace
