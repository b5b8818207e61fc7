// After: limits that are off by one, percent taken twice or by another factor, and hashes that miss a field, take in
// gaps, or go by where pixels lie.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <vector>

#include "Fields.h"
#include "PF/PF_FrameBlending.h"
#include "PF/PF_Lifecycle.h"
#include "PF/PF_Worlds.h"
#include "VectorKey.h"
#include "support/TestHost.h"

namespace {

using Algo = PF_Tavros_AlgoParams;

PF_AdvancedFrameBlending Defaults() { return {PF_Tavros_OtherParams{}, PF_Tavros_InterruptFuncs{}}; }

PF_Err CheckWith(const std::function<void(Algo&)>& change) {
  PF_AdvancedFrameBlending blending = Defaults();
  change(blending.algoParams);
  return blending.CheckParamRange();
}

// Both ends of a range pass, what lies beyond them fails, and so does what is not a number.
template <class T>
void ExpectRange(T Algo::*field, T least, T largest, T below, T above, const char* name) {
  const auto with = [&](T v) { return CheckWith([&](Algo& algo) { algo.*field = v; }); };
  EXPECT_EQ(with(least), 0) << name;
  EXPECT_EQ(with(largest), 0) << name;
  EXPECT_EQ(with(below), 514) << name;
  EXPECT_EQ(with(above), 514) << name;
  if constexpr (std::is_floating_point_v<T>) {
    EXPECT_EQ(with(std::numeric_limits<T>::quiet_NaN()), 514) << name;
  }
}

TEST(BlendParameters, RangesIncludeTheirEnds) {
  using I = std::int16_t;
  EXPECT_EQ(Defaults().CheckParamRange(), 0);
  ExpectRange<I>(&Algo::mode, 0, 2, -1, 3, "mode");
  ExpectRange<float>(&Algo::fraction, 0.05f, 1.0f, 0.049f, 1.01f, "fraction");
  ExpectRange<float>(&Algo::boundA, -1000, 1000, -1000.1f, 1000.1f, "boundA");
  ExpectRange<float>(&Algo::boundB, -1000, 1000, -1000.1f, 1000.1f, "boundB");
  ExpectRange<I>(&Algo::count, 1, 50, 0, 51, "count");
  ExpectRange<float>(&Algo::threshold, 0, 0.0999f, -0.001f, 0.101f, "threshold");
  ExpectRange<I>(&Algo::switchFlag, 0, 1, -1, 2, "switchFlag");
  ExpectRange<I>(&Algo::size, 4, 40, 3, 41, "size");
  ExpectRange<float>(&Algo::degrees, 0, 360, -0.1f, 360.1f, "degrees");
  ExpectRange<I>(&Algo::steps, 1, 20, 0, 21, "steps");
  ExpectRange<I>(&Algo::variant, 0, 3, -1, 4, "variant");
}

TEST(BlendParameters, WeightsAddUpToOneWithSomeRoom) {
  const auto with = [](double r, double g, double b) {
    return CheckWith([&](Algo& algo) {
      algo.weightR = r;
      algo.weightG = g;
      algo.weightB = b;
    });
  };
  EXPECT_EQ(with(0.3, 0.6, 0.11), 0);
  EXPECT_EQ(with(0.3, 0.6, 0.13), 514);
  EXPECT_EQ(with(1, 0, 0), 0);
  EXPECT_EQ(with(1.005, 0, 0), 514);
  EXPECT_EQ(with(1, -0.005, 0), 514);
  EXPECT_EQ(with(std::nan(""), 0.5, 0.5), 514);
}

TEST(BlendParameters, PercentIsTakenOnceByTheFloatHundredth) {
  Algo user = Defaults().algoParams;
  user.fraction = 20;
  user.threshold = 1;
  user.weightR = 29.88804;
  const PF_AdvancedFrameBlending made(user, {}, {});
  EXPECT_EQ(made.algoParams.fraction, std::nextafter(0.2f, 0.0f));
  EXPECT_EQ(made.algoParams.threshold, 0.01f);
  EXPECT_EQ(made.algoParams.weightR, 29.88804 * 0.009999999776482582);
  const PF_AdvancedFrameBlending copy = made;
  EXPECT_EQ(copy.algoParams.fraction, made.algoParams.fraction);
  // 5 percent is a little less than the least fraction.
  user.fraction = 5;
  EXPECT_EQ(PF_AdvancedFrameBlending(user, {}, {}).CheckParamRange(), 514);
}

std::uint32_t CrcOf(const Algo& algo) {
  PF_CRC32 crc;
  algo.ComputeCRC(crc);
  return crc.checksum();
}

// The same fields over memory of another colour.
Algo WithGaps(const Algo& algo, int filling) {
  Algo copy;
  std::memset(static_cast<void*>(&copy), filling, sizeof copy);
  copy.mode = algo.mode, copy.fraction = algo.fraction, copy.boundA = algo.boundA, copy.boundB = algo.boundB;
  copy.count = algo.count, copy.threshold = algo.threshold, copy.switchFlag = algo.switchFlag, copy.size = algo.size;
  copy.weightR = algo.weightR, copy.weightG = algo.weightG, copy.weightB = algo.weightB;
  copy.degrees = algo.degrees, copy.steps = algo.steps, copy.variant = algo.variant;
  return copy;
}

TEST(BlendParameters, HashesTakeEveryFieldAndNoGap) {
  const Algo algo = Defaults().algoParams;
  EXPECT_EQ(CrcOf(algo), 0x746D1B58u);
  const vexcore::Guid a = {{1}}, b = {{2}};
  EXPECT_EQ(CrcOf(WithGaps(algo, 0)), CrcOf(WithGaps(algo, 0xFF)));
  EXPECT_EQ(pf::VectorKey(a, b, WithGaps(algo, 0)), pf::VectorKey(a, b, WithGaps(algo, 0xFF)));

  std::set<std::uint32_t> crcs = {CrcOf(algo)};
  std::set<vexcore::Guid> keys = {pf::VectorKey(a, b, algo), pf::VectorKey(b, a, algo)};
  std::size_t fields = 0;
  pf::ForFields(algo, [&](const char*, const auto&) { ++fields; });
  for (std::size_t changed = 0; changed < fields; ++changed) {
    Algo other = algo;
    std::size_t i = 0;
    pf::ForFields(other, [&](const char*, const auto& field) {
      if (i++ == changed) ++const_cast<std::remove_const_t<std::remove_reference_t<decltype(field)>>&>(field);
    });
    crcs.insert(CrcOf(other));
    keys.insert(pf::VectorKey(a, b, other));
  }
  EXPECT_EQ(fields, 14u);
  EXPECT_EQ(crcs.size(), 1 + fields);
  EXPECT_EQ(keys.size(), 2 + fields);
}

// Whoever files vectors elsewhere finds them only if the order, the widths and the seed are kept.
TEST(VectorKey, IsTheHashOfSeedFramesAndFields) {
  const Algo algo = Defaults().algoParams;
  const vexcore::Guid a = {{1}}, b = {{2}};
  vexcore::MixHash hash("Tavros Vectors", 14);
  const auto mix = [&](const auto& value) { hash.Mix(&value, sizeof value); };
  mix(a);
  mix(b);
  mix(algo.mode), mix(algo.fraction), mix(algo.boundA), mix(algo.boundB), mix(algo.count), mix(algo.threshold);
  mix(algo.switchFlag), mix(algo.size), mix(algo.weightR), mix(algo.weightG), mix(algo.weightB);
  mix(algo.degrees), mix(algo.steps), mix(algo.variant);
  EXPECT_EQ(pf::VectorKey(a, b, algo), hash.Result());
}

TEST(FrameIdentity, GoesByDepthSizeAndPixelsAlone) {
  pftest::Host().Reset();
  ASSERT_EQ(PF_Birth(), 0);
  {
    const auto world = [](std::int32_t width, std::int32_t height, std::int32_t depth) {
      return std::unique_ptr<PF_World>(PF_World::New(width, height, depth, 0));
    };
    const auto whole = world(9, 4, 8), part = world(5, 4, 8), turned = world(4, 5, 8), deep = world(5, 4, 16);
    for (PF_World* w : {whole.get(), part.get(), turned.get(), deep.get()})
      w->Fill(PF_PixelFloat{1, 0.5f, 0, 1}, nullptr);
    const std::unique_ptr<PF_World> view(PF_World::NewReference(whole.get(), M_LRect{2, 0, 7, 4}));
    EXPECT_EQ(pf::FrameIdentity(*view), pf::FrameIdentity(*part));
    EXPECT_NE(pf::FrameIdentity(*turned), pf::FrameIdentity(*part));
    EXPECT_NE(pf::FrameIdentity(*deep), pf::FrameIdentity(*part));
    static_cast<std::byte*>(part->data)[3 * part->row_bytes + 19] ^= std::byte{1};
    EXPECT_NE(pf::FrameIdentity(*view), pf::FrameIdentity(*part));
  }
  EXPECT_EQ(PF_Death(), 0);
}

}  // namespace
