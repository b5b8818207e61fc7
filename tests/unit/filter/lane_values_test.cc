// After: pixels that are written past the caches otherwise than through them, beside their place, or not at all.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "filter/LaneKernels.h"
#include "support/Targets.h"

namespace {

template <class T>
class LaneValues : public testing::Test {};
using Values = testing::Types<std::uint8_t, std::uint16_t, float>;
TYPED_TEST_SUITE(LaneValues, Values);

TYPED_TEST(LaneValues, StreamedPixelsAreTheStoredOnes) {
  using T = TypeParam;
  std::mt19937 random(1);
  std::vector<double> lanes(pf::kLanes * 70);
  for (double& v : lanes) v = std::uniform_real_distribution<double>(-2, sizeof(T) == 2 ? 33000 : 300)(random);
  pftest::ForEachTarget([&] {
    const auto& values = pf::VectorBlurKernels().Of<T>();
    for (std::int64_t n = 0; n < 67; ++n) {
      for (std::int64_t from = 0; from < 9; ++from) {
        alignas(64) T stored[4 * 80], streamed[4 * 80];
        std::fill_n(stored, 4 * 80, T{77});
        std::fill_n(streamed, 4 * 80, T{77});
        values.store_along(lanes.data() + 4, n, stored + from);
        values.stream_along(lanes.data() + 4, n, streamed + from);
        values.settle();
        EXPECT_TRUE(std::equal(stored, stored + 4 * 80, streamed)) << n << " pixels from value " << from;
      }
    }
  });
}

}  // namespace
