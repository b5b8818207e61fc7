// After: bilinear rows of 8 and 16 bits whose sums are rounded in another order than one sampler call's.
// The pictures are made of blocks whose exact values lie as close to where rounding turns, and alpha to
// where pixels become visible, as a search finds, so that any such difference shows.
#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "sample/SampleKernels.h"
#include "support/Targets.h"
#include "support/Worlds.h"

namespace {

using pftest::Between;
using pftest::Random;
using pftest::TestWorld;

// The channels of four neighbours, and where between them a sample lies, in pixels.
struct Square {
  int alpha[4], colour[4][3];
};
struct Place {
  double u, v;
};

Square RandomSquare(Random& random, int full, int alpha_limit, bool equal) {
  Square square;
  for (int i = 0; i < 4; ++i) {
    // A large alpha among small ones makes most of the error of a small weight.
    const int limit = random() % 4 == 0 ? full : alpha_limit;
    square.alpha[i] = equal ? full : static_cast<int>(Between(random, 0, limit));
    for (int& c : square.colour[i]) c = static_cast<int>(Between(random, 0, full));
  }
  return square;
}

// From the exact results to the next place where one is stored differently.
double DistanceToTurn(const Square& square, Place at) {
  const long double w[4] = {(1 - at.u) * (1 - at.v), at.u * (1 - at.v), (1 - at.u) * at.v, at.u * at.v};
  long double alpha = 0, sum[3] = {0, 0, 0};
  for (int i = 0; i < 4; ++i) {
    alpha += w[i] * square.alpha[i];
    for (int c = 0; c < 3; ++c) sum[c] += w[i] * square.alpha[i] * square.colour[i][c];
  }
  const auto to_half = [](long double v) { return static_cast<double>(std::abs(v - std::floor(v) - 0.5L)); };
  double least = to_half(alpha);
  for (int c = 0; c < 3 && alpha > 0; ++c) least = std::min(least, to_half(sum[c] / alpha));
  return least;
}

// The row kernel of every target against that of the portable code.
template <class P>
void CheckSamples(const TestWorld& world, std::int64_t x, std::int64_t step, std::int64_t y, std::int64_t n,
                  const std::string& what) {
  const PF_SampPB params = {0, 0, 0, world.record()};
  const auto row_of = [&](const pf::SampleKernels& kernels) {
    const pf::SampleKernels::Pair& pair = kernels.bilinear_straight[pf::DepthIndex(world.depth())];
    const pftest::GuardedMemory scratch((pair.scratch_size(&params, step, n) + 63) / 64 * 64);
    std::memset(scratch.data(), 0, 64);
    // At the start of a page, so that whole lines of it can be stored past the caches.
    const pftest::GuardedMemory out(static_cast<std::size_t>(n) * sizeof(P), pftest::GuardedMemory::kStart);
    pair.row(pf::SampleRow{&params, x, step, y, out.data(), n, true}, scratch.data());
    std::vector<P> pixels(static_cast<std::size_t>(n));
    std::memcpy(pixels.data(), out.data(), pixels.size() * sizeof(P));
    return pixels;
  };
  const std::vector<P> expected = row_of(pf::kPortableSampleKernels);
  pftest::ForEachTarget([&] {
    const std::vector<P> row = row_of(pf::VectorSampleKernels());
    for (std::size_t k = 0; k < row.size(); ++k) {
      if (std::memcmp(&row[k], &expected[k], sizeof(P)) == 0) continue;
      ADD_FAILURE() << world.depth() << " bits, " << what << ", sample " << k << ": " << +row[k].alpha << ' '
                    << +row[k].red << ' ' << +row[k].green << ' ' << +row[k].blue << " instead of "
                    << +expected[k].alpha << ' ' << +expected[k].red << ' ' << +expected[k].green << ' '
                    << +expected[k].blue;
    }
  });
}

template <class P>
void CheckRow(Random& random, std::int64_t fx, std::int64_t fy, int alpha_limit, bool equal) {
  // Often enough that what kernels put off is spread over more than they do at a time.
  constexpr int kSquares = 40, kTimes = 14, kTried = 2000, kFull = sizeof(P) == 4 ? 255 : 32768;
  TestWorld world(sizeof(P) * 2, 2 * kSquares * kTimes, 2);
  for (int m = 0; m < kSquares; ++m) {
    Square best = {};
    double least = 1;
    for (int i = 0; i < kTried; ++i) {
      const Square square = RandomSquare(random, kFull, alpha_limit, equal);
      const double distance =
          DistanceToTurn(square, {static_cast<double>(fx) / 65536, static_cast<double>(fy) / 65536});
      if (distance < least) {
        least = distance;
        best = square;
      }
    }
    for (int i = 0; i < 4; ++i) {
      using Channel = decltype(P::red);
      const auto channel = [](int c) { return static_cast<Channel>(c); };
      for (int time = 0; time < kTimes; ++time) {
        world.At<P>(2 * (time * kSquares + m) + i % 2, i / 2) = {
            channel(best.alpha[i]), channel(best.colour[i][0]), channel(best.colour[i][1]), channel(best.colour[i][2])};
      }
    }
  }
  std::ostringstream what;
  what << "fractions " << fx << " and " << fy << ", alphas to " << alpha_limit << (equal ? ", equal" : "");
  CheckSamples<P>(world, fx, 65536, fy, 2 * kSquares * kTimes - 1, what.str());
}

// Few bits, where exact ties are found, many, where near ones are, and both ends.
template <class P>
void CheckRows() {
  Random random(1);
  const std::int64_t fractions[] = {1, 2, 128, 16384, 21845, 32768, 32769, 65024, 65279, 65531, 65535};
  for (int turn = 0; turn < 25; ++turn) {
    const auto fraction = [&] {
      return random() % 2 == 0 ? fractions[random() % std::size(fractions)] : Between(random, 1, 65535);
    };
    for (const int alpha_limit : {sizeof(P) == 4 ? 255 : 32768, 20, 2}) {
      CheckRow<P>(random, fraction(), fraction(), alpha_limit, false);
    }
    CheckRow<P>(random, fraction(), fraction(), 0, true);
    if (testing::Test::HasFailure()) return;
  }
}

// The largest differences there are, at odd and even fractions: sums of 32 bits have no room for one of them.
TEST(BilinearTies, FullBesideNothing) {
  constexpr int kColumns = 60;
  TestWorld world(16, kColumns, 2);
  for (int i = 0; i < 2 * kColumns; ++i) {
    const auto colour = [&](int bit) { return static_cast<std::uint16_t>(i % kColumns >> bit & 1 ? 32768 : 0); };
    world.At<PF_Pixel16>(i % kColumns, i / kColumns) = {32768, colour(0), colour(1), colour(2)};
  }
  for (const std::int64_t step : {45001, 45004, 65535}) {
    for (const std::int64_t fy : {1, 2, 32768, 65533, 65535}) {
      CheckSamples<PF_Pixel16>(world, 21, step, fy, (kColumns - 1) * 65536 / step,
                               "step " + std::to_string(step) + ", fraction " + std::to_string(fy));
    }
  }
}

TEST(BilinearTies, EightBits) { CheckRows<PF_Pixel8>(); }
TEST(BilinearTies, SixteenBits) { CheckRows<PF_Pixel16>(); }

}  // namespace
