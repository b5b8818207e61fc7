// After: motion that is computed again for the next frame of a pair, served for another pair or for other parameters,
// or that makes another picture when it comes from the cache.
#include <boost/make_shared.hpp>

#include "Support.h"
#include "VectorKey.h"

namespace {

using pftest::BlendingAt;
using pftest::Frame;
using pftest::Host;
using pftest::InterruptPolls;
using pftest::Texture;
using pftest::Vectors;
using pftest::VectorsOf;

class MotionOfPairs : public pftest::LibraryTest {};

// A pair, and one frame more.
struct Footage {
  explicit Footage(std::int32_t depth, std::int32_t gap = 16)
      : first(depth, 50, 41, gap), second(depth, 50, 41), third(depth, 50, 41) {
    int number = 0;
    for (Frame* frame : {&first, &second, &third}) {
      frame->Paint([&](int x, int y) {
        pftest::Colour c = Texture(x - 4 * number, y + 2 * number);
        c[0] = x > 40 ? 0.5 : 1;
        return c;
      });
      ++number;
    }
  }
  Frame first, second, third;
};

std::vector<std::byte> RenderedAt(float time, const Frame& a, const Frame& b, InterruptPolls* polls = nullptr) {
  Frame out(a.depth(), a.width(), a.height());
  const PF_Tavros_InterruptFuncs interrupt = polls != nullptr ? polls->Functions() : PF_Tavros_InterruptFuncs{};
  EXPECT_EQ(BlendingAt(time, interrupt).Render(a.world(), b.world(), out.world()), 0) << Host().ReportTexts();
  return out.Pixels();
}

TEST_F(MotionOfPairs, KeptMotionMakesTheSamePictureInLessWork) {
  for (const std::int32_t depth : {8, 16, 32}) {
    Host().filed.clear();
    const Footage footage(depth);
    InterruptPolls cold, warm, other_time, again;
    const auto fresh = RenderedAt(0.4f, footage.first, footage.second, &cold);
    EXPECT_EQ(Host().filed.size(), 1u);
    EXPECT_EQ(RenderedAt(0.4f, footage.first, footage.second, &warm), fresh) << depth;
    const auto later = RenderedAt(0.7f, footage.first, footage.second, &other_time);
    EXPECT_EQ(Host().filed.size(), 1u);
    EXPECT_LT(warm.asked, cold.asked);
    EXPECT_EQ(other_time.asked, warm.asked);
    Host().filed.clear();
    Host().cache_keeps_nothing = true;
    EXPECT_EQ(RenderedAt(0.7f, footage.first, footage.second, &again), later) << depth;
    EXPECT_EQ(again.asked, cold.asked);
    EXPECT_EQ(RenderedAt(0.4f, footage.first, footage.second), fresh) << depth;
    Host().cache_keeps_nothing = false;
  }
}

TEST_F(MotionOfPairs, IsItsFramesAndTheParametersOfTheEngine) {
  const Footage footage(8), elsewhere(8, 64);
  const Vectors vectors = VectorsOf(footage.first, footage.second);
  PF_Tavros_OtherParams other = {};
  std::fill_n(other.numbers, 9, 0.25f);
  other.values[2] = other.value = 77;
  InterruptPolls polls;
  EXPECT_EQ(VectorsOf(elsewhere.first, elsewhere.second, [](auto&) {}, {other, polls.Functions()}), vectors);
  EXPECT_EQ(Host().filed.size(), 1u);
  EXPECT_NE(VectorsOf(footage.second, footage.first), vectors) << "backwards";
  EXPECT_NE(VectorsOf(footage.first, footage.third), vectors);
  EXPECT_NE(VectorsOf(footage.first, footage.second, [](auto& algo) { algo.fraction = 0.25f; }), vectors);
  EXPECT_EQ(Host().filed.size(), 4u);
  elsewhere.first.At<PF_Pixel8>(49, 40).blue ^= 1;
  EXPECT_NE(VectorsOf(elsewhere.first, elsewhere.second), vectors) << "one bit of the last pixel";
}

TEST_F(MotionOfPairs, HasTheSizeThatItTells) {
  const Footage footage(8);
  EXPECT_TRUE(PF_TavrosCache_Stuff().Empty());
  EXPECT_EQ(PF_TavrosCache_Stuff().Width() + PF_TavrosCache_Stuff().Height(), 0);
  EXPECT_LT(PF_TavrosCache_Stuff().Bytes(), 200u);
  Vectors vectors = VectorsOf(footage.first, footage.second);
  EXPECT_EQ(vectors->Width(), 25);
  EXPECT_EQ(vectors->Height(), 21);
  EXPECT_NEAR(static_cast<double>(vectors->Bytes()), 3 * 50 * 41, 600);
  // The engine alone finds the same.
  PF_TavrosCache_Stuff engine;
  ASSERT_EQ(calcTavrosOpticalFlowParamsNoIpl(BlendingAt(0.5f).algoParams, nullptr,
                                             {footage.first.world(), footage.second.world(), &engine}),
            0);
  Host().filed.clear();
  for (std::int32_t y = 0; y < 21; ++y) {
    for (std::int32_t x = 0; x < 25; ++x) {
      for (const auto direction : {PF_MotionDirection_FORWARD, PF_MotionDirection_BACKWARD}) {
        const PF_MotionVector a = vectors->Vector(direction, x, y), b = engine.Vector(direction, x, y);
        ASSERT_TRUE(a.x == b.x && a.y == b.y) << x << ", " << y;
      }
    }
  }
}

// What lies under the key may be somebody else's, or what a failure has left empty.
TEST_F(MotionOfPairs, StrangeItemsUnderTheKeyDoNoHarm) {
  struct Stranger : MC_Stuff {
    std::uint64_t Bytes() const override { return 1; }
  };
  const Footage footage(8);
  const auto expected = RenderedAt(0.4f, footage.first, footage.second);
  const vexcore::Guid key = Host().filed.begin()->first;
  EXPECT_EQ(key, pf::VectorKey(pf::FrameIdentity(*footage.first.world()), pf::FrameIdentity(*footage.second.world()),
                               BlendingAt(0.4f).algoParams));
  Host().filed[key] = boost::make_shared<Stranger>();
  EXPECT_EQ(RenderedAt(0.4f, footage.first, footage.second), expected);
  const auto empty = boost::make_shared<PF_TavrosCache_Stuff>();
  Host().filed[key] = empty;
  EXPECT_EQ(RenderedAt(0.4f, footage.first, footage.second), expected);
  EXPECT_FALSE(empty->Empty());
}

}  // namespace
