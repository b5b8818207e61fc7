// After: sums that overflow or lose a carry between vectors, means that are rounded otherwise, edges that leak or count
// twice, spans beyond the line, results that are read as sources, kernels that leave their rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <list>
#include <vector>

#include "PF/PF.h"
#include "filter/BoxDivider.h"
#include "filter/PlaneKernels.h"
#include "filter/TileOrder.h"
#include "lifecycle/Globals.h"
#include "support/LibraryTest.h"
#include "support/Targets.h"
#include "support/TestHost.h"
#include "support/Worlds.h"

namespace {

using pf::BoxDivider;
using pf::PlaneKernels;
using pftest::Between;
using pftest::GuardedMemory;
using pftest::Host;
using pftest::Random;
using pftest::TestWorld;

TEST(BoxDivider, IsTheRoundedQuotientForEveryWidth) {
  Random random(5);
  for (std::uint32_t w = 3; w <= 65535; w += 2) {
    for (const int bits : {8, 16}) {
      const pf::BoxDivider divider(w, bits);
      const std::uint32_t most = (1u << bits) - 1;
      const auto check = [&](std::uint64_t sum) {
        ASSERT_EQ(divider.MeanOf(static_cast<std::uint32_t>(sum)), (sum + w / 2) / w) << sum << " / " << w;
      };
      check(0);
      check(std::uint64_t{w} * most);
      // Where the quotient steps, at the upper end, where errors are largest, and anywhere.
      for (const std::uint32_t q : {most, most / 2, 1 + static_cast<std::uint32_t>(random() % most)}) {
        check(std::uint64_t{q} * w - w / 2);
        check(std::uint64_t{q} * w - w / 2 - 1);
      }
    }
  }
}

TEST(StepDivider, IsTheQuotientForEveryWidth) {
  for (std::uint32_t w = 257; w < 16384; w += 2) {
    const pf::StepDivider divider(w);
    const std::uint32_t small = divider.bias - divider.lead * w;  // what stands in n besides
    const auto check = [&](std::uint32_t n) { ASSERT_EQ(divider.QuotientOf(n + small), n / w) << n << " / " << w; };
    const std::uint32_t most = (divider.lead + 1) * w - 1 + pf::StepDivider::kLargest;
    ASSERT_LT(most + small, 65536u) << w;
    ASSERT_GE(divider.lead * w, pf::StepDivider::kLargest) << w;
    check(most);
    for (std::uint32_t q = 0; q * w <= most; ++q) {
      check(q * w);
      if (q > 0) check(q * w - 1);
    }
  }
}

// One that is left out stays unblurred; neighbours that are begun together cost two threads all they gain.
TEST(TileOrder, BeginsEveryTileOnceAndNoNeighboursTogether) {
  for (std::int64_t count = 1; count <= 500; ++count) {
    std::vector<int> begun(static_cast<std::size_t>(count));
    for (std::int64_t k = 0; k < count; ++k) {
      const std::int64_t tile = pf::TileInTurn(k, count);
      ASSERT_TRUE(tile >= 0 && tile < count) << k << " of " << count;
      ++begun[static_cast<std::size_t>(tile)];
      const bool alone = k == 0 || k == count - 1;
      ASSERT_TRUE(count < 10 || alone || std::abs(tile - pf::TileInTurn(k - 1, count)) > 1) << k << " of " << count;
    }
    ASSERT_EQ(std::ranges::count(begun, 1), count);
    ASSERT_EQ(pf::TileInTurn(count - 1, count), count - 1) << "progress counts whole tiles";
  }
}

// \name Kernels
// @{

// Values before a page that faults.
template <class T>
struct Values {
  explicit Values(std::int64_t n) : memory(static_cast<std::size_t>(n) * sizeof(T)) {}
  Values(std::int64_t n, Random& random) : Values(n) {
    const bool full = random() % 5 == 0;
    for (std::int64_t i = 0; i < n; ++i) data()[i] = static_cast<T>(full || random() % 7 == 0 ? ~0u : random());
  }
  T* data() const { return reinterpret_cast<T*>(memory.data()); }
  bool operator==(const Values& other) const {
    return memory.size() == 0 || std::memcmp(data(), other.data(), memory.size()) == 0;
  }
  GuardedMemory memory;
};

// Rows that enter and leave, from a window of nothing but the first row on. Results go onto rows that are kept, or not.
template <class T>
void ExpectColumns(const PlaneKernels& kernels, std::int64_t n, std::int64_t reach, Random& random) {
  const BoxDivider divider(static_cast<std::uint32_t>(2 * reach + 1), 8 * sizeof(T));
  const Values<T> rows[] = {Values<T>(n, random), Values<T>(n, random), Values<T>(n, random)};
  std::vector<std::uint32_t> sums(static_cast<std::size_t>((n + pf::kSumsBlock - 1) / pf::kSumsBlock * pf::kSumsBlock)),
      expected_sums(sums.size());
  const Values<T> before(n * pf::kSlideRows, random), out(n * pf::kSlideRows), expected(n * pf::kSlideRows);
  const Values<T> kept(n * pf::kSlideRows);
  const auto run = [&](const PlaneKernels& of, std::vector<std::uint32_t>& on, const Values<T>& to, std::int64_t count,
                       bool keeps) {
    const pf::BoxKernels<T>& own = of.Of<T>();
    own.start(on.data(), n, divider);
    own.add(on.data(), rows[0].data(), static_cast<std::uint32_t>(2 * reach), n, divider);
    own.add(on.data(), rows[1].data(), 1, n, divider);
    own.begin(on.data(), n, divider);
    std::copy_n(before.data(), n * count, to.data());
    pf::BoxSlide<T> slide = {on.data(), n, count, {}};
    for (std::int64_t i = 0; i < count; ++i) {
      T *const row = to.data() + i * n, *const copy = keeps ? kept.data() + i * n : nullptr;
      slide.row[i] = {rows[(i + 2) % 3].data(), rows[i % 3].data(), row, copy, {}};
    }
    own.slide(slide, divider);
  };
  for (const std::int64_t count : {std::int64_t{1}, std::int64_t{3}, pf::kSlideRows}) {
    run(kernels, sums, out, count, true);
    ASSERT_TRUE(std::equal(kept.data(), kept.data() + n * count, before.data())) << n << " values";
    for (const bool keeps : {true, false}) {
      run(kernels, sums, out, count, keeps);
      run(pf::kPortablePlaneKernels, expected_sums, expected, count, keeps);
      ASSERT_TRUE(std::equal(out.data(), out.data() + n * count, expected.data()))
          << n << " values of " << sizeof(T) << " bytes, reach " << reach << ", " << count << " rows";
    }
  }
}

// Pieces of a row, two of whole blocks, of which the last lies elsewhere.
template <class T>
void ExpectRow(const PlaneKernels& kernels, std::int64_t n, std::int64_t reach, std::int64_t channels, Random& random) {
  const BoxDivider divider(static_cast<std::uint32_t>(2 * reach + 1), 8 * sizeof(T));
  const std::int64_t values = n * channels, blocks = values / pf::kRowBlock;
  const std::int64_t head = blocks / 3 * pf::kRowBlock, middle = blocks / 2 * pf::kRowBlock;
  const Values<T> line((n + 2 * reach + 1) * channels, random), tail(values - head - middle);
  const Values<T> out(values), expected(values);
  const auto run = [&](const PlaneKernels& of, const Values<T>& to) {
    const T *const leaving = line.data(), *const entering = leaving + (2 * reach + 1) * channels;
    // Of the first window some pixels count otherwise.
    std::uint32_t more[4];
    for (std::int64_t i = 0; i < 4; ++i) {
      more[i] = 0;
      for (std::int64_t k = 0; k < reach; ++k) more[i] += leaving[k * channels + i % channels];
    }
    std::copy_n(entering + head + middle, values - head - middle, tail.data());
    const auto kernel = channels == 4 ? of.Of<T>().row_of_pixels : of.Of<T>().row;
    kernel({leaving + reach * channels,
            (reach + 1) * channels,
            more,
            {{entering, leaving, head},
             {entering + head, leaving + head, middle},
             {tail.data(), leaving + head + middle, values - head - middle}},
            to.data(),
            {}},
           divider);
  };
  run(kernels, out);
  run(pf::kPortablePlaneKernels, expected);
  ASSERT_TRUE(out == expected) << n << " pixels of " << channels << " values of " << sizeof(T) << " bytes, reach "
                               << reach;
}

// Weights as large as any, of which none may count twice.
void ExpectBell(const PlaneKernels& kernels, std::int64_t n, std::int64_t reach, Random& random) {
  std::int16_t high[14] = {}, low[14] = {};
  for (std::int64_t i = 0; i <= reach; ++i) {
    high[i] = static_cast<std::int16_t>(4095 / (2 * reach + 1));
    low[i] = static_cast<std::int16_t>(random() % 4096);
  }
  const pf::SplitWeights weights = {high, low, reach};
  const Values<std::uint8_t> out(n), expected(n);
  std::vector<const std::uint8_t*> taps;
  std::list<Values<std::uint8_t>> rows;
  for (std::int64_t i = 0; i <= 2 * reach; ++i) taps.push_back(rows.emplace_back(n, random).data());
  kernels.bell(taps.data(), weights, out.data(), n, {});
  pf::kPortablePlaneKernels.bell(taps.data(), weights, expected.data(), n, {});
  ASSERT_TRUE(out == expected) << n << " values, reach " << reach;
}

template <class T>
void ExpectBoxes(const PlaneKernels& kernels) {
  Random random(6);
  for (std::int64_t n = 0; n <= 300; n += n < 70 ? 1 : 29) {
    for (const std::int64_t reach : {1, 7, 63, 64, 127, 128, 900}) {
      ExpectColumns<T>(kernels, n, reach, random);
      ExpectRow<T>(kernels, n, reach, 1, random);
      ExpectRow<T>(kernels, n, reach, 4, random);
    }
  }
  for (const std::int64_t reach : {5, 127, 8191, 8192, 32767}) {
    ExpectColumns<T>(kernels, 70, reach, random);
    ExpectRow<T>(kernels, 700, reach, 1, random);
    ExpectRow<T>(kernels, 700, reach, 4, random);
  }
}

TEST(PlaneKernels, EveryTargetGivesThePortableBits) {
  pftest::ForEachTarget(&pf::VectorPlaneKernels, [](const PlaneKernels& kernels) {
    ExpectBoxes<std::uint8_t>(kernels);
    ExpectBoxes<std::uint16_t>(kernels);
    Random random(7);
    for (std::int64_t n = 0; n <= 140; ++n) {
      for (std::int64_t reach = 0; reach <= 12; reach += 1 + n % 3) ExpectBell(kernels, n, reach, random);
    }
  });
}
// @}

// \name Worlds
// @{

class PlaneBlur : public pftest::LibraryTest {};

struct Settings {
  bool box;
  float radius;
  std::int32_t flags;
  bool columns;
};

// `turned`: onto lines of the other direction, which goes through lanes of double precision.
template <class P>
void Blur(const Settings& s, TestWorld& from, TestWorld& to, bool turned) {
  PF_WorldX<P> src(from.record(), false), dst(to.record(), false);
  const auto blur = s.box ? &PF_BoxBlur1D : &PF_GaussianBlur1D;
  ASSERT_EQ(blur(&src, &dst, s.radius, s.flags, s.columns, s.columns != turned, 0, nullptr), 0);
}

template <class P>
void ExpectSameAsTurned(const Settings& s, std::int32_t width, std::int32_t height, Random& random) {
  const std::int32_t depth = pf::DepthTraits<P>::kDepth, gap = static_cast<std::int32_t>(4 * Between(random, 0, 9));
  TestWorld src(depth, width, height, gap), dst(depth, width, height, 8), turned(depth, height, width);
  // Which of two that are not numbers comes out is nobody's business.
  src.Fill(random, random() % 2 == 0 ? TestWorld::kEdges : depth == 32 ? TestWorld::kSparse : TestWorld::kRawBits);
  Blur<P>(s, src, turned, true);
  Blur<P>(s, src, dst, false);
  for (std::int32_t y = 0; y < height; ++y) {
    for (std::int32_t x = 0; x < width; ++x) {
      ASSERT_EQ(std::memcmp(&dst.At<P>(x, y), &turned.At<P>(y, x), sizeof(P)), 0)
          << (s.box ? "box" : "bell") << " of " << s.radius << (s.columns ? " along columns of " : " along rows of ")
          << width << "x" << height << ", depth " << depth << ", flags " << s.flags << " at (" << x << ", " << y
          << "): " << dst.PixelText(x, y) << ", turned " << turned.PixelText(y, x);
    }
  }
  Blur<P>(s, src, src, false);
  ASSERT_EQ(src.FirstDifference(dst), "")
      << "in place, " << (s.columns ? "columns" : "rows") << ", radius " << s.radius;
  ASSERT_TRUE(src.GapsUntouched() && dst.GapsUntouched());
}

// Planes of any size, the widest tiles of boxes, and one that goes past the caches.
void ExpectSameAsLanes(Random& random, int rounds) {
  constexpr float kRadii[] = {0.2f, 0.5f, 1, 2.5f, 5, 11.3f, 12, 40, 127, 128, 499, 1000, 32767};
  for (int round = 0; round < rounds; ++round) {
    for (const float radius : kRadii) {
      for (int kind = 0; kind < 8; ++kind) {
        const Settings s = {kind % 2 == 0, radius, kind / 2 % 2 == 0 ? 0 : PF_BlurFlag_TRANSPARENT_EDGES,
                            kind / 4 == 0};
        if (!s.box && radius > 12) continue;  // no kernel of its own
        const bool large = round == 1;
        const auto width = static_cast<std::int32_t>(large ? 300 : Between(random, 1, 67));
        const auto height = static_cast<std::int32_t>(large ? 41 : Between(random, 1, 67));
        ExpectSameAsTurned<PF_Pixel8>(s, width, height, random);
        ExpectSameAsTurned<PF_Pixel16>(s, width, height, random);
        ExpectSameAsTurned<PF_PixelFloat>(s, width, height, random);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  }
  ExpectSameAsTurned<PF_Pixel8>({true, 5, 0, true}, 2307, 41, random);
  ExpectSameAsTurned<PF_Pixel16>({true, 3, PF_BlurFlag_TRANSPARENT_EDGES, true}, 1153, 41, random);
  ExpectSameAsTurned<PF_PixelFloat>({true, 3, 0, false}, 1153, 401, random);
  ExpectSameAsTurned<PF_PixelFloat>({true, 40, 0, true}, 67, 211, random);  // several blocks of several parts
}

TEST_F(PlaneBlur, IsTheBlurInDoublePrecisionOnEveryTarget) {
  Random random(8);
  const pf::KernelSet installed = pf::g_kernels.Get();
  ExpectSameAsLanes(random, 6);
  pf::g_kernels.Set(pf::kPortableKernels);
  ExpectSameAsLanes(random, 1);
  pftest::ForEachTarget([&] {
    pf::g_kernels.Set(pf::VectorKernels());
    ExpectSameAsLanes(random, 1);
  });
  pf::g_kernels.Set(installed);
}
// @}

}  // namespace
