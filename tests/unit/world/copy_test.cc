// After: clipping that is off or overflows, overlaps that eat their source, rows polled at the wrong
// places, dither values drawn twice or in another order.
#include "lifecycle/Globals.h"
#include "reference/Conversion.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

// What a copy must write, pixel by pixel. `parity` 0 or 1 takes these rows only; `draw` is where dither
// values come from when there are any.
struct CopyModel {
  M_LRect rect;
  std::int64_t x = 0, y = 0;
  int parity = -1;
  std::function<std::uint32_t()> draw = nullptr;

  void Run(const TestWorld& src, const TestWorld& dst) const {
    for (std::int32_t sy = 0; sy < src.height(); ++sy) {
      for (std::int32_t sx = 0; sx < src.width(); ++sx) {
        const std::int64_t dx = x + sx - rect.left, dy = y + sy - rect.top;
        const bool inside = sx >= rect.left && sx < rect.right && sy >= rect.top && sy < rect.bottom;
        if (!inside || dx < 0 || dx >= dst.width() || dy < 0 || dy >= dst.height()) continue;
        if (parity >= 0 && sy % 2 != parity) continue;
        std::uint32_t values[4];
        for (std::uint32_t& value : values) value = draw ? draw() : 0;
        ReferenceConvert(src.depth(), src.Row(sy) + std::size_t(sx) * src.PixelSize(), dst.depth(),
                         dst.Row(std::int32_t(dy)) + std::size_t(dx) * dst.PixelSize(), draw ? values : nullptr);
      }
    }
  }
};

void Convert(TestWorld& src, TestWorld& dst, const M_LRect& rect, std::int32_t x = 0, std::int32_t y = 0,
             PF_Dither dither = PF_Dither_OFF, const PF_ProgressInfo* progress = nullptr) {
  Reference(dst)->CopyRectPossiblyDifferentBitdepth(Reference(src).get(), rect, dither, x, y, progress);
}

class Copy : public testing::TestWithParam<std::tuple<std::int32_t, std::int32_t>> {
 protected:
  void SetUp() override { Host().Reset(); }
  const std::int32_t from_ = std::get<0>(GetParam()), to_ = std::get<1>(GetParam());
  Random random_{7};
};
INSTANTIATE_TEST_SUITE_P(Pairs, Copy, testing::Combine(testing::Values(8, 16, 32), testing::Values(8, 16, 32)));

TEST_P(Copy, IsClippedToBothWorldsAndConverts) {
  for (const M_LRect& r : {M_LRect{0, 0, 19, 9},
                           {3, 2, 17, 8},
                           {-4, -3, 12, 30},
                           {10, 5, 3, 8},
                           {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}}) {
    for (const std::int32_t x : {0, 5, -6, 40, INT32_MIN, INT32_MAX}) {
      for (const std::int32_t y : {0, 2, -3, INT32_MIN}) {
        TestWorld src(from_, 19, 9, 16), dst(to_, 23, 11, 32), expected(to_, 23, 11, 32);
        src.Fill(random_, TestWorld::kRandom);
        CopyModel{r, x, y}.Run(src, expected);
        Convert(src, dst, r, x, y);
        ASSERT_EQ(dst.FirstDifference(expected), "") << r.left << " " << r.top << " to " << x << " " << y;
        ASSERT_TRUE(dst.GapsUntouched());
      }
    }
  }
}

TEST_P(Copy, TakesTheRowsOfOneFieldToTheirOwnPlaces) {
  for (const M_LRect& r : {M_LRect{0, 0, 9, 9}, {1, 1, 9, 8}, {2, 3, 5, 4}, {-3, -3, 4, 100}}) {
    for (const PF_Field field : {PF_Field_FRAME, PF_Field_UPPER, PF_Field_LOWER}) {
      TestWorld src(from_, 9, 9), dst(to_, 8, 7, 16), expected(to_, 8, 7, 16);
      src.Fill(random_, TestWorld::kRandom);
      CopyModel{r, r.left, r.top, field - 1}.Run(src, expected);
      Reference(dst)->CopyRectPossiblyDifferentBitdepthWithField(Reference(src).get(), r, field);
      EXPECT_EQ(dst.FirstDifference(expected), "") << "field " << field << " top " << r.top;
    }
  }
}

// A view of a part of a buffer, and a picture that holds what the view shows.
struct View {
  TestWorld picture;
  WorldPtr world;
  View(std::int32_t depth, std::byte* buffer, std::int64_t stride, bool upwards)
      : picture(depth, 12, 10),
        world(PF_World::NewReference(buffer + (upwards ? 9 * stride : 0), 12, 10, depth,
                                     static_cast<std::int32_t>(upwards ? -stride : stride))) {
    Read();
  }
  void Read() {
    for (std::int32_t y = 0; y < 10; ++y) {
      std::memcpy(picture.Row(y), static_cast<std::byte*>(world->data) + std::int64_t{y} * world->row_bytes,
                  12 * picture.PixelSize());
    }
  }
};

TEST_P(Copy, OverlappingAreasOfOneBufferAreCopiedAsThroughATemporary) {
  for (int trial = 0; trial < 300; ++trial) {
    GuardedMemory buffer(4000);
    for (std::size_t i = 0; i < buffer.size(); ++i) buffer.data()[i] = static_cast<std::byte>(random_());
    // Two of three trials share the stride, as two parts of one world do.
    const bool alike = trial % 3 != 0, up = trial % 4 == 1;
    const auto view = [&](std::int32_t depth) {
      const std::int64_t stride = alike ? 192 : 12 * depth / 2 + Between(random_, 0, 4) * 16;
      return View(depth, buffer.data() + Between(random_, 0, 60) * 16, stride, alike ? up : random_() % 2 == 0);
    };
    View src = view(from_), dst = view(to_), expected(to_, static_cast<std::byte*>(dst.world->data), 0, false);
    expected.world->row_bytes = dst.world->row_bytes;
    expected.Read();
    const auto x = static_cast<std::int32_t>(Between(random_, -3, 3));
    const auto y = static_cast<std::int32_t>(Between(random_, -3, 3));
    CopyModel{{0, 0, 12, 10}, x, y}.Run(src.picture, expected.picture);
    if (from_ == to_) {
      dst.world->CopyRect(src.world.get(), {0, 0, 12, 10}, x, y);
    } else {
      dst.world->CopyRectPossiblyDifferentBitdepth(src.world.get(), {0, 0, 12, 10}, PF_Dither_OFF, x, y, nullptr);
    }
    dst.Read();
    ASSERT_EQ(dst.picture.FirstDifference(expected.picture), "") << "trial " << trial;
  }
}

struct PollLog {
  std::string steps;
  PF_Err answer = 0;
  static PollLog& At(std::uint64_t reference) { return *reinterpret_cast<PollLog*>(reference); }
  static PF_Err Abort(std::uint64_t reference) {
    At(reference).steps += "abort ";
    return At(reference).answer;
  }
  static PF_Err Progress(std::uint64_t reference, std::int32_t i, std::int32_t n) {
    At(reference).steps += std::to_string(i) + "/" + std::to_string(n) + " ";
    return At(reference).answer;
  }
};

TEST_P(Copy, PollsAfterEverySixtyFourthRowOfTheClippedArea) {
  TestWorld src(from_, 3, 300), dst(to_, 3, 300), expected(to_, 3, 300);
  PollLog log;
  PF_ProgressInfo info = {reinterpret_cast<std::uint64_t>(&log), &PollLog::Abort, &PollLog::Progress};
  const auto copy = [&] { Convert(src, dst, {0, 0, 3, 300}, 0, 100, PF_Dither_ON, &info); };
  copy();
  EXPECT_EQ(log.steps, "63/200 127/200 191/200 ") << "the abort function is for records without a progress function";
  info.progress = nullptr;
  log = {"", 1};
  src.Fill(random_, TestWorld::kRandom);
  CopyModel{{0, 0, 3, 64}, 0, 100}.Run(src, expected);
  std::memcpy(dst.Row(0), expected.Row(0), static_cast<std::size_t>(dst.record()->row_bytes) * 100);
  std::memcpy(dst.Row(164), expected.Row(164), static_cast<std::size_t>(dst.record()->row_bytes) * 136);
  ExpectThrows(1, "", copy);
  EXPECT_EQ(log.steps, "abort ");
  EXPECT_EQ(dst.FirstDifference(expected), "") << "rows already written stay, and no others are";
  info.abort = nullptr;
  EXPECT_NO_THROW(copy());
}

TEST_F(HostTest, CopiesTestDepthsBeforeRectangles) {
  TestWorld pixels8(8, 2, 2), pixels16(16, 2, 2);
  const WorldPtr world = Reference(pixels8), other = Reference(pixels16);
  const std::string unequal = "Src and dest bitdepths are different in PF_World::CopyRect";
  ExpectThrows(3, unequal, [&] { world->CopyRect(other.get(), {}, 0, 0); });
  ExpectThrows(3, unequal, [&] { world->CopyWorld(nullptr); });
  ForeignWorld foreign(24);
  Host().answers["Up_ReportErrString"] = 88;
  const std::string unknown = "Unknown bit depth in PF_World::CopyRectPossiblyDifferentBitdepths";
  ExpectThrows(88, unknown,
               [&] { world->CopyRectPossiblyDifferentBitdepth(&foreign, {}, PF_Dither_OFF, 0, 0, nullptr); });
  ExpectThrows(88, unknown + "WithField",
               [&] { world->CopyRectPossiblyDifferentBitdepthWithField(&foreign, {}, PF_Field_UPPER); });
}

TEST_F(HostTest, CopiesReachRowsBeyondThirtyTwoBitsOfBytes) {
  // One row of pixels, made to look like row 20000 of a world whose rows are 480000 bytes apart.
  const PF_PixelFloat row[4] = {{}, {}, {}, {1, 2, 3, 4}};
  auto* data = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(row) - 20000ull * 480000ull);
  const WorldPtr src(PF_World::NewReference(data, 4, 20001, 32, 480000));
  TestWorld out(32, 4, 1);
  Reference(out)->CopyRect(src.get(), {0, 20000, 4, 20001}, 0, 0);
  EXPECT_EQ(out.At<PF_PixelFloat>(3, 0).blue, 4.0f);
}

// A dither table of any length, gone again at the end.
class Dither : public HostTest {
 protected:
  void TearDown() override { Use(nullptr, 0); }
  static void Use(const std::uint32_t* table, std::int64_t length) {
    pf::g_dither.start = table;
    pf::g_dither.length = length;
    pf::g_dither.cursor = 0;
  }
  Random random_{10};
};

TEST_F(Dither, DrawsOneValueForEachChannelAndGoesRoundTheTable) {
  for (const std::int64_t length : {1, 2, 3, 5, 97, 101}) {
    Use(RandomTable(), length);
    std::int64_t drawn = 0;
    for (const std::int32_t width : {1, 2, 13, 24, 25, 26, 60}) {
      TestWorld src(16, width, 5, 6), dst(8, width, 5, 3), expected(8, width, 5);
      src.Fill(random_, TestWorld::kRawBits);
      const M_LRect whole = {0, 0, width, 5};
      CopyModel{whole, 0, 0, -1, [&] { return RandomTable()[drawn++ % length]; }}.Run(src, expected);
      Convert(src, dst, whole, 0, 0, PF_Dither_ON);
      ASSERT_EQ(dst.FirstDifference(expected), "") << "length " << length << " width " << width;
      EXPECT_EQ(pf::g_dither.cursor, drawn % length);
    }
    PF_ResetDitherRandomIndex();
    EXPECT_EQ(pf::g_dither.cursor, 0);
  }
}

TEST_F(Dither, HappensOnlyWhereItIsAskedForAndThereIsATable) {
  const M_LRect whole = {0, 0, 30, 4};
  TestWorld src(16, 30, 4), floats(32, 30, 4), plain(8, 30, 4), dst(8, 30, 4);
  src.Fill(random_, TestWorld::kRandom);
  CopyModel{whole}.Run(src, plain);
  Convert(src, dst, whole, 0, 0, PF_Dither_ON);
  EXPECT_EQ(dst.FirstDifference(plain), "") << "without a table";
  Use(RandomTable(), 101);
  Convert(floats, dst, whole, 0, 0, PF_Dither_ON);
  Convert(src, dst, whole);
  EXPECT_EQ(dst.FirstDifference(plain), "");
  EXPECT_EQ(pf::g_dither.cursor, 0) << "only 16 to 8 bits with dither draws";
}

}  // namespace
