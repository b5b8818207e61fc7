// After: clipping that is off or overflows, overlaps that eat their source, rows polled at the wrong
// places, dither values drawn twice or in another order.
#include <numeric>

#include "lifecycle/Globals.h"
#include "reference/Conversion.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

class Copy : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {
 protected:
  void SetUp() override { Host().Reset(); }
  std::int32_t from() const { return std::get<0>(GetParam()); }
  std::int32_t to() const { return std::get<1>(GetParam()); }
};
INSTANTIATE_TEST_SUITE_P(Pairs, Copy, testing::Combine(testing::Values(8, 16, 32), testing::Values(8, 16, 32)));

// What the copy must write, pixel by pixel from a copy of the source. `parity` 0 or 1 takes these rows only.
void ExpectedCopy(const TestWorld& src, const M_LRect& r, TestWorld& dst, std::int64_t x, std::int64_t y,
                  int parity = -1) {
  const auto source = src.Pixels();
  for (std::int64_t sy = 0; sy < src.height(); ++sy) {
    for (std::int64_t sx = 0; sx < src.width(); ++sx) {
      const std::int64_t dx = x + sx - r.left, dy = y + sy - r.top;
      const bool inside = sx >= r.left && sx < r.right && sy >= r.top && sy < r.bottom;
      if (!inside || dx < 0 || dx >= dst.width() || dy < 0 || dy >= dst.height()) continue;
      if (parity >= 0 && sy % 2 != parity) continue;
      const auto pixel = static_cast<std::size_t>(sy * src.width() + sx) * src.PixelSize();
      ReferenceConvert(src.depth(), source.data() + pixel, dst.depth(),
                       dst.Row(static_cast<std::int32_t>(dy)) + dx * static_cast<std::int64_t>(dst.PixelSize()));
    }
  }
}

TEST_P(Copy, IsClippedToBothWorldsAndConverts) {
  Random random(7);
  const M_LRect rects[] = {
      {0, 0, 19, 9}, {3, 2, 17, 8}, {-4, -3, 12, 30}, {10, 5, 3, 8}, {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};
  constexpr std::int32_t kPlaces[] = {0, 5, -6, 40, INT32_MIN, INT32_MAX};
  for (const M_LRect& r : rects) {
    for (const std::int32_t x : kPlaces) {
      for (const std::int32_t y : {0, 2, -3, INT32_MIN}) {
        TestWorld src(from(), 19, 9, 16), dst(to(), 23, 11, 32), expected(to(), 23, 11, 32);
        src.Fill(random, TestWorld::kRandom);
        ExpectedCopy(src, r, expected, x, y);
        Reference(dst)->CopyRectPossiblyDifferentBitdepth(Reference(src).get(), r, PF_Dither_OFF, x, y, nullptr);
        ASSERT_EQ(dst.FirstDifference(expected), "") << r.left << " " << r.top << " to " << x << " " << y;
        ASSERT_TRUE(dst.GapsUntouched());
      }
    }
  }
}

TEST_P(Copy, TakesTheRowsOfOneFieldToTheirOwnPlaces) {
  Random random(8);
  for (const M_LRect& r : {M_LRect{0, 0, 9, 9}, {1, 1, 9, 8}, {2, 3, 5, 4}, {-3, -3, 4, 100}}) {
    for (const PF_Field field : {PF_Field_FRAME, PF_Field_UPPER, PF_Field_LOWER}) {
      TestWorld src(from(), 9, 9), dst(to(), 8, 7, 16), expected(to(), 8, 7, 16);
      src.Fill(random, TestWorld::kRandom);
      ExpectedCopy(src, r, expected, r.left, r.top, field == PF_Field_FRAME ? -1 : field == PF_Field_UPPER ? 0 : 1);
      Reference(dst)->CopyRectPossiblyDifferentBitdepthWithField(Reference(src).get(), r, field);
      EXPECT_EQ(dst.FirstDifference(expected), "") << "field " << field << " top " << r.top;
    }
  }
}

TEST_P(Copy, OverlappingAreasOfOneBufferAreCopiedAsThroughATemporary) {
  Random random(9);
  for (int trial = 0; trial < 300; ++trial) {
    // Two views of one buffer, each with its own stride, origin and direction of rows.
    TestWorld src(from(), 12, 10), dst(to(), 12, 10), expected(to(), 12, 10);
    GuardedMemory buffer(12000);
    const auto view = [&](TestWorld& model) {
      const auto row = static_cast<std::int64_t>(12 * model.PixelSize());
      const bool same_stride = trial % 3 != 0, upwards = same_stride ? trial % 4 == 1 : random() % 2 == 0;
      const std::int64_t stride = same_stride ? 12 * 16 : row + Between(random, 0, 4) * 16;
      const std::int64_t start = Between(random, 0, 60) * 16;
      model.record()->data = buffer.data() + start + (upwards ? 9 * stride : 0);
      return WorldPtr(PF_World::NewReference(model.record()->data, 12, 10, model.depth(),
                                             static_cast<std::int32_t>(upwards ? -stride : stride)));
    };
    const WorldPtr source = view(src), target = view(dst);
    for (std::size_t i = 0; i < buffer.size(); ++i) buffer.data()[i] = static_cast<std::byte>(random());
    const auto read = [](const PF_World& world, const TestWorld& into) {
      for (std::int32_t y = 0; y < 10; ++y) {
        std::memcpy(into.Row(y), static_cast<std::byte*>(world.data) + std::int64_t{y} * world.row_bytes,
                    12 * into.PixelSize());
      }
    };
    read(*source, src);
    read(*target, expected);
    const auto x = static_cast<std::int32_t>(Between(random, -3, 3)),
               y = static_cast<std::int32_t>(Between(random, -3, 3));
    const M_LRect whole = {0, 0, 12, 10};
    ExpectedCopy(src, whole, expected, x, y);
    if (from() == to()) {
      target->CopyRect(source.get(), whole, x, y);
    } else {
      target->CopyRectPossiblyDifferentBitdepth(source.get(), whole, PF_Dither_OFF, x, y, nullptr);
    }
    read(*target, dst);
    ASSERT_EQ(dst.FirstDifference(expected), "") << "trial " << trial;
  }
}

TEST_P(Copy, PollsAfterEverySixtyFourthRowOfTheClippedArea) {
  TestWorld src(from(), 3, 300), dst(to(), 3, 300);
  const WorldPtr source = Reference(src), target = Reference(dst);
  struct Log {
    std::vector<std::pair<std::int32_t, std::int32_t>> steps;
    int aborts = 0;
    PF_Err answer = 0;
  } log;
  const auto at = [](std::uint64_t reference) { return reinterpret_cast<Log*>(reference); };
  static decltype(at) log_at = at;
  PF_ProgressInfo info = {reinterpret_cast<std::uint64_t>(&log),
                          [](std::uint64_t r) { return ++log_at(r)->aborts, log_at(r)->answer; },
                          [](std::uint64_t r, std::int32_t i, std::int32_t n) {
                            log_at(r)->steps.emplace_back(i, n);
                            return log_at(r)->answer;
                          }};
  const auto copy = [&] {
    target->CopyRectPossiblyDifferentBitdepth(source.get(), {0, 0, 3, 300}, PF_Dither_ON, 0, 100, &info);
  };
  copy();
  EXPECT_EQ(log.steps, (std::vector<std::pair<std::int32_t, std::int32_t>>{{63, 200}, {127, 200}, {191, 200}}));
  EXPECT_EQ(log.aborts, 0) << "the abort function is for records without a progress function";
  info.progress = nullptr;
  copy();
  EXPECT_EQ(log.aborts, 3);
  log.answer = 1;
  std::memset(dst.Row(0), 0xA5, static_cast<std::size_t>(dst.record()->row_bytes) * 300);
  std::memset(src.Row(0), 0, static_cast<std::size_t>(src.record()->row_bytes) * 300);
  ExpectThrows(1, "", copy);
  EXPECT_EQ(*dst.Row(163), std::byte{0}) << "rows already written stay";
  EXPECT_EQ(*dst.Row(164), std::byte{0xA5}) << "and no other is";
  info.abort = nullptr;
  EXPECT_NO_THROW(copy());
}

TEST(CopyDepths, AreTestedBeforeTheRectangle) {
  Host().Reset();
  TestWorld pixels8(8, 2, 2), pixels16(16, 2, 2);
  const WorldPtr world = Reference(pixels8), other = Reference(pixels16);
  const std::string unequal = "Src and dest bitdepths are different in PF_World::CopyRect";
  ExpectThrows(3, unequal, [&] { world->CopyRect(other.get(), {}, 0, 0); });
  ExpectThrows(3, unequal, [&] { world->CopyWorld(other.get()); });
  ExpectThrows(3, unequal, [&] { world->CopyWorld(nullptr); });
  const ForeignWorld foreign(24);
  Host().answers["Up_ReportErrString"] = 88;
  ExpectThrows(88, "Unknown bit depth in PF_World::CopyRectPossiblyDifferentBitdepths",
               [&] { world->CopyRectPossiblyDifferentBitdepth(&foreign, {}, PF_Dither_OFF, 0, 0, nullptr); });
  ExpectThrows(88, "Unknown bit depth in PF_World::CopyRectPossiblyDifferentBitdepthsWithField",
               [&] { world->CopyRectPossiblyDifferentBitdepthWithField(&foreign, {}, PF_Field_UPPER); });
}

TEST(CopyLarge, RowsBeyondTwoToTheThirtyFirstBytesAreReached) {
  Host().Reset();
  // One row of pixels, made to look like row 20000 of a world whose rows are 480000 bytes apart.
  std::vector<PF_PixelFloat> row(4, PF_PixelFloat{1, 2, 3, 4});
  auto* data = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(row.data()) - 20000ull * 480000ull);
  const WorldPtr src(PF_World::NewReference(data, 4, 20001, 32, 480000));
  TestWorld out(32, 4, 1);
  const WorldPtr dst = Reference(out);
  dst->CopyRect(src.get(), {0, 20000, 4, 20001}, 0, 0);
  EXPECT_EQ(out.At<PF_PixelFloat>(3, 0).blue, 4.0f);
}

// A dither table of any length, gone again at the end.
class Dither : public testing::Test {
 protected:
  void SetUp() override { Host().Reset(); }
  void TearDown() override { Use(nullptr, 0); }
  static void Use(const std::uint32_t* table, std::int64_t length) {
    pf::g_dither.start = table;
    pf::g_dither.length = length;
    pf::g_dither.cursor = 0;
  }
  // Draws `first` and the following values of the endless sequence for a copy of `src`.
  static TestWorld* Expected(const TestWorld& src, std::int64_t first, std::int64_t length) {
    auto* out = new TestWorld(8, src.width(), src.height());
    for (std::int32_t y = 0; y < src.height(); ++y) {
      for (std::int32_t x = 0; x < src.width(); ++x) {
        std::uint32_t values[4];
        for (std::uint32_t& value : values) value = RandomTable()[first++ % length];
        ReferenceConvert(16, &src.At<PF_Pixel16>(x, y), 8, &out->At<PF_Pixel8>(x, y), values);
      }
    }
    return out;
  }
};

TEST_F(Dither, DrawsOneValueForEachChannelAndGoesRoundTheTable) {
  Random random(10);
  for (const std::int64_t length : {1, 2, 3, 5, 7, 97, 101}) {
    Use(RandomTable(), length);
    std::int64_t drawn = 0;
    for (const std::int32_t width : {1, 2, 13, 24, 25, 26, 60}) {
      TestWorld src(16, width, 5, 6), dst(8, width, 5, 3);
      src.Fill(random, TestWorld::kRawBits);
      Reference(dst)->CopyRectPossiblyDifferentBitdepth(Reference(src).get(), {0, 0, width, 5}, PF_Dither_ON, 0, 0,
                                                        nullptr);
      const std::unique_ptr<TestWorld> expected(Expected(src, drawn, length));
      ASSERT_EQ(dst.FirstDifference(*expected), "") << "length " << length << " width " << width;
      drawn += 4 * width * 5;
      EXPECT_EQ(pf::g_dither.cursor, drawn % length);
    }
    PF_ResetDitherRandomIndex();
    EXPECT_EQ(pf::g_dither.cursor, 0);
  }
}

TEST_F(Dither, HappensOnlyWhereItIsAskedForAndThereIsATable) {
  Random random(11);
  TestWorld src(16, 30, 4), plain(8, 30, 4), dst(8, 30, 4);
  src.Fill(random, TestWorld::kRandom);
  ExpectedCopy(src, {0, 0, 30, 4}, plain, 0, 0);
  const auto copy = [&](PF_Dither dither) {
    Reference(dst)->CopyRectPossiblyDifferentBitdepth(Reference(src).get(), {0, 0, 30, 4}, dither, 0, 0, nullptr);
  };
  copy(PF_Dither_ON);
  EXPECT_EQ(dst.FirstDifference(plain), "") << "without a table";
  Use(RandomTable(), 101);
  copy(PF_Dither_OFF);
  EXPECT_EQ(dst.FirstDifference(plain), "");
  EXPECT_EQ(pf::g_dither.cursor, 0);
  TestWorld floats(32, 30, 4);
  Reference(dst)->CopyRectPossiblyDifferentBitdepth(Reference(floats).get(), {0, 0, 30, 4}, PF_Dither_ON, 0, 0,
                                                    nullptr);
  EXPECT_EQ(pf::g_dither.cursor, 0) << "only 16 to 8 bits draws";
  copy(PF_Dither_ON);
  EXPECT_NE(dst.FirstDifference(plain), "");
}

}  // namespace
