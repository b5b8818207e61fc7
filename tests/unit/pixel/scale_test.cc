// After: roundings that are off by one somewhere.
#include "pixel/Scale.h"

#include <gtest/gtest.h>

#include "reference/Conversion.h"
#include "support/Worlds.h"

namespace {

// Both operations on one pair of channels.
template <class P>
void ExpectPair(pf::ChannelOf<P> c, pf::ChannelOf<P> a) {
  ASSERT_EQ(pf::FromProduct<P>(std::uint32_t{c} * a), pftest::ReferencePremultiply(c, a)) << +c << " " << +a;
  if (a == 0) return;
  ASSERT_EQ(pf::DivideByAlpha<P>(c, a), pftest::ReferenceUnmultiply(c, a)) << +c << " " << +a;
}

TEST(Scale, ProductsAndQuotientsAreExactOnTheirScales) {
  for (std::uint32_t i = 0; i < 65536; ++i) {
    ExpectPair<PF_Pixel8>(static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i >> 8));
  }
  pftest::Random random(21);
  for (int i = 0; i < 500000; ++i) {
    const std::uint64_t limit = i % 4 == 0 ? 65536 : 32769;
    ExpectPair<PF_Pixel16>(static_cast<std::uint16_t>(random() % limit), static_cast<std::uint16_t>(random() % limit));
  }
  ExpectPair<PF_Pixel16>(128, 128);  // an exact half
  ExpectPair<PF_Pixel16>(65535, 65535);
}

}  // namespace
