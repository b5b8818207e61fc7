// Hunts tiles that are prepared twice or never, runs that are cut or joined wrongly, and requests that
// overflow, against a buffer that is prepared in full.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <ostream>
#include <vector>

#include "PF/PF_LazyTiles.h"
#include "support/Operations.h"
#include "support/TestHost.h"
#include "support/Throws.h"
#include "support/Worlds.h"

static bool operator==(const M_Rect& a, const M_Rect& b) {
  return a.top == b.top && a.left == b.left && a.bottom == b.bottom && a.right == b.right;
}
static std::ostream& operator<<(std::ostream& to, const M_Rect& r) {
  return to << "rows " << r.top << ".." << r.bottom << " columns " << r.left << ".." << r.right;
}

namespace {

using pftest::Between;
using pftest::ExpectThrows;
using pftest::Random;

constexpr char kBadParameter[] = "bad parameter passed to effect callback";

std::int16_t Short(std::int64_t v) { return static_cast<std::int16_t>(v); }

struct Calls {
  M_Vector2T<std::int16_t> extent;
  std::vector<M_Rect> rects;
  std::function<void(const M_Rect&)> work;
};

class Recorder : public PF_LazyOperator {
 public:
  explicit Recorder(Calls* calls) : calls_(calls) {}
  M_Vector2T<std::int16_t> GetExtent() const override { return calls_->extent; }
  void DoItImp(const M_Rect& rect) override {
    calls_->rects.push_back(rect);
    if (calls_->work) calls_->work(rect);
  }

 private:
  Calls* calls_;
};

boost::scoped_ptr<PF_LazyOperator>* Wrapped(boost::scoped_ptr<PF_LazyOperator>& owner, Calls& calls) {
  owner.reset(new Recorder(&calls));
  return &owner;
}

struct LazyTiles : ::testing::Test {
  Calls calls;
  boost::scoped_ptr<PF_LazyOperator> op;
};

TEST_F(LazyTiles, OneCallPerTileRowCoversTheWholeRowCutAtTheExtent) {
  calls.extent = {100, 100};
  PF_LazyTiles tiles(64, Wrapped(op, calls));
  EXPECT_FALSE(op);
  tiles.MakeValid({0, 0, 100, 100});
  EXPECT_EQ(calls.rects, (std::vector<M_Rect>{{0, 0, 64, 100}, {64, 0, 100, 100}}));
  tiles.MakeValid({0, 0, 100, 100});
  EXPECT_EQ(calls.rects.size(), 2u);
}

TEST_F(LazyTiles, ARunStopsAtAValidTile) {
  calls.extent = {30, 10};
  PF_LazyTiles tiles(10, Wrapped(op, calls));
  tiles.MakeValid({0, 12, 10, 13});
  calls.rects.clear();
  tiles.MakeValid({0, 0, 10, 30});
  EXPECT_EQ(calls.rects, (std::vector<M_Rect>{{0, 0, 10, 10}, {0, 20, 10, 30}}));
}

TEST_F(LazyTiles, RequestsOutsideAreNothingAndTheirSumsWrapInSixteenBits) {
  calls.extent = {100, 100};
  PF_LazyTiles tiles(10, Wrapped(op, calls));
  for (const M_Rect& r : {M_Rect{-50, 0, 0, 100}, M_Rect{100, 0, 200, 100}, M_Rect{0, 100, 50, 300},
                          M_Rect{20, 20, 20, 40}, M_Rect{30, 20, 10, 40}}) {
    tiles.MakeValid(r);
  }
  EXPECT_TRUE(calls.rects.empty());
  tiles.SetOffset({32767, -5});
  EXPECT_EQ(tiles.GetOffset().h, 32767);
  tiles.MakeValid({5, -32760, 16, -32749});  // columns 7 .. 18, rows 0 .. 11 after wrapping
  EXPECT_EQ(calls.rects.size(), 2u);
  EXPECT_EQ(calls.rects[0], (M_Rect{0, 0, 10, 20}));
}

TEST_F(LazyTiles, TilesOfAFailingRunStayValidAndTheFailurePassesThrough) {
  calls.extent = {40, 20};
  PF_LazyTiles tiles(10, Wrapped(op, calls));
  calls.work = [](const M_Rect&) { throw PF_Error(42); };
  try {
    tiles.MakeValid({0, 0, 20, 40});
    ADD_FAILURE() << "nothing thrown";
  } catch (const PF_Error& error) {
    EXPECT_EQ(error.code(), 42);
  }
  EXPECT_EQ(calls.rects.size(), 1u);
  calls.work = nullptr;
  tiles.MakeValid({0, 0, 20, 40});
  EXPECT_EQ(calls.rects, (std::vector<M_Rect>{{0, 0, 10, 40}, {10, 0, 20, 40}}));
}

TEST_F(LazyTiles, TheConditionSwitchesTheWorkOff) {
  calls.extent = {10, 10};
  PF_LazyTilesCondition tiles(4, Wrapped(op, calls), false);
  tiles.ConditionalMakeValid({0, 0, 10, 10});
  EXPECT_TRUE(calls.rects.empty());
  tiles.SetCondition(true);
  tiles.ConditionalMakeValid({0, 0, 10, 10});
  EXPECT_EQ(calls.rects.size(), 3u);
}

TEST_F(LazyTiles, ExtentsMayShrinkToNothingOrOutgrowTheTiles) {
  calls.extent = {20, 20};
  PF_LazyTiles tiles(8, Wrapped(op, calls));
  calls.extent = {0, -4};
  tiles.MakeValid({0, 0, 20, 20});
  EXPECT_TRUE(calls.rects.empty());
  calls.extent = {32767, 32767};
  tiles.MakeValid({0, 0, 32767, 32767});
  EXPECT_EQ(calls.rects, (std::vector<M_Rect>{{0, 0, 8, 24}, {8, 0, 16, 24}, {16, 0, 24, 24}}));
}

TEST_F(LazyTiles, BadTilesAreRefusedAndTheOperatorStaysWithTheCaller) {
  calls.extent = {9, 9};
  for (const int size : {0, -1, -32768}) {
    ExpectThrows(516, kBadParameter, [&] { PF_LazyTiles tiles(Short(size), Wrapped(op, calls)); });
    EXPECT_TRUE(op);
  }
  op.reset();
  ExpectThrows(516, kBadParameter, [&] { PF_LazyTilesCondition tiles(4, &op, true); });
  ExpectThrows(516, kBadParameter, [&] { PF_LazyTiles tiles(4, nullptr); });
}

// Every pixel of every touched tile is prepared once, nothing else is, and each call is a maximal run.
TEST_F(LazyTiles, RandomRequestsPrepareEachTouchedTileOnce) {
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    Random random(seed);
    calls = {};
    calls.extent = {Short(Between(random, 1, 90)), Short(Between(random, 1, 90))};
    const int w = calls.extent.h, h = calls.extent.v, t = static_cast<int>(Between(random, 1, 40));
    const M_Vector2T<std::int16_t> offset = {Short(Between(random, -60, 60)), Short(Between(random, -60, 60))};
    std::vector<int> times(static_cast<std::size_t>(w * h)), wanted(times.size());
    calls.work = [&](const M_Rect& r) {
      ASSERT_TRUE(r.left >= 0 && r.top >= 0 && r.right <= w && r.bottom <= h && r.left < r.right && r.top < r.bottom);
      for (int y = r.top; y < r.bottom; ++y)
        for (int x = r.left; x < r.right; ++x) ++times[static_cast<std::size_t>(y * w + x)];
    };
    PF_LazyTiles tiles(Short(t), Wrapped(op, calls));
    tiles.SetOffset(offset);
    for (int request = 0; request < 6; ++request) {
      const M_Rect r = {Short(Between(random, -120, 120)), Short(Between(random, -120, 120)),
                        Short(Between(random, -120, 120)), Short(Between(random, -120, 120))};
      calls.rects.clear();
      tiles.MakeValid(r);
      for (std::size_t i = 1; i < calls.rects.size(); ++i) {
        const M_Rect &a = calls.rects[i - 1], &b = calls.rects[i];
        ASSERT_TRUE(a.top < b.top || (a.top == b.top && a.right < b.left)) << a << " then " << b << ", seed " << seed;
      }
      for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
          const auto touched = [&](int at, int size, int from, int to) {
            const int first = at / t * t, end = std::min(first + t, size);
            return std::max({first, from, 0}) < std::min({end, to, size});
          };
          // A request that is empty once clipped touches nothing.
          if (touched(x, w, r.left + offset.h, r.right + offset.h) &&
              touched(y, h, r.top + offset.v, r.bottom + offset.v)) {
            wanted[static_cast<std::size_t>(y * w + x)] = 1;
          }
        }
      }
      ASSERT_EQ(times, wanted) << "seed " << seed << ", request " << request << ", tile size " << t;
    }
  }
}

// The two operators, against the work done in one go.
struct LazyOperators : LazyTiles {
  pftest::Random random{7};
};

TEST_F(LazyOperators, CopiedTilesEqualTheSourceAndNothingElseIsTouched) {
  for (const int depth : {8, 16, 32}) {
    pftest::TestWorld src(depth, 50, 41, 8), dst(depth, 53, 47, 24);
    src.Fill(random, pftest::TestWorld::kRandom);
    dst.Fill(random, pftest::TestWorld::kRandom);
    const auto before = dst.Pixels();
    boost::scoped_ptr<PF_LazyOperator> copy(new PF_LazyWorldCopyOperator(dst.record(), src.record()));
    PF_LazyTiles tiles(16, &copy);
    tiles.MakeValid({17, 17, 18, 18});
    const auto source = src.Pixels(), now = dst.Pixels();
    const std::size_t size = static_cast<std::size_t>(depth / 2);
    for (std::size_t y = 0; y < 47; ++y) {
      for (std::size_t x = 0; x < 53; ++x) {
        const bool copied = x >= 16 && x < 32 && y >= 16 && y < 32;
        const std::byte* wanted = copied ? &source[(y * 50 + x) * size] : &before[(y * 53 + x) * size];
        ASSERT_TRUE(std::equal(wanted, wanted + size, &now[(y * 53 + x) * size])) << depth << ": " << x << ", " << y;
      }
    }
  }
}

TEST_F(LazyOperators, SourceCanBeReplacedAndUnequalDepthsThrow) {
  pftest::TestWorld first(8, 8, 8, 0), second(8, 8, 8, 0), deep(16, 8, 8, 0), dst(8, 8, 8, 0);
  first.Fill(random, pftest::TestWorld::kRandom);
  second.Fill(random, pftest::TestWorld::kRandom);
  PF_LazyWorldCopyOperator copy(dst.record(), first.record());
  copy.SetSourceWorld(second.record());
  PF_LazyWorldCopyOperator twin(copy);
  twin.DoIt({0, 0, 8, 8});
  EXPECT_EQ(dst.Pixels(), second.Pixels());
  copy.SetSourceWorld(deep.record());
  EXPECT_EQ(pftest::CodeOf([&] { copy.DoIt({0, 0, 8, 8}); }), 3);
  ExpectThrows(516, kBadParameter, [&] { copy.SetSourceWorld(nullptr); });
  ExpectThrows(516, kBadParameter, [&] { PF_LazyWorldCopyOperator none(nullptr, first.record()); });
  PF_LayerDef empty = *second.record();
  empty.data = nullptr;
  copy.SetSourceWorld(&empty);
  ExpectThrows(3, kBadParameter, [&] { copy.DoIt({0, 0, 8, 8}); });
}

TEST_F(LazyOperators, MasksAreFilledByTheirDepth) {
  for (const int depth : {8, 16}) {
    boost::scoped_ptr<PF_UnoBuffer> mask(new PF_UnoBuffer(20, 10, depth));
    ASSERT_EQ(PF_FillUnoBuffer(0, mask.get()), 0);
    auto* fill = new PF_LazyFillUnoBufferOperator(&mask, 0x1234);
    EXPECT_FALSE(mask);
    boost::scoped_ptr<PF_LazyOperator> owner(fill);
    PF_LazyTiles tiles(8, &owner);
    EXPECT_EQ(tiles.GetOperator(), fill);
    tiles.MakeValid({9, 18, 10, 19});
    const auto at = [&](int x, int y) -> int {
      void* base = *fill->GetBuffer()->data;
      return depth == 8 ? static_cast<std::uint8_t*>(base)[y * 20 + x] : static_cast<std::uint16_t*>(base)[y * 20 + x];
    };
    const int value = depth == 8 ? 0x34 : 0x1234;
    EXPECT_EQ(at(16, 8), value);
    EXPECT_EQ(at(19, 9), value);
    EXPECT_EQ(at(15, 9), 0);
    EXPECT_EQ(at(16, 7), 0);
  }
  boost::scoped_ptr<PF_UnoBuffer> none;
  ExpectThrows(516, kBadParameter, [&] { PF_LazyFillUnoBufferOperator op_of_none(&none, 1); });
  boost::scoped_ptr<PF_UnoBuffer> floats(new PF_UnoBuffer(4, 4, 32));
  PF_LazyFillUnoBufferOperator refused(&floats, 1);
  EXPECT_EQ(pftest::CodeOf([&] { refused.DoIt({0, 0, 4, 4}); }), 516) << "the fill's own code";
}

}  // namespace
