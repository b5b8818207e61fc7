// After: pixels visited outside, twice or in another order; progress told at the wrong rows; codes that
// stop or do not stop against the contract.
#include <gtest/gtest.h>

#include <cmath>
#include <new>
#include <tuple>

#include "PF/PF_Iterate.h"
#include "PF/PF_Worlds.h"
#include "support/ForeignWorld.h"
#include "support/TestHost.h"
#include "support/Worlds.h"

namespace {

using pftest::Host;
using pftest::Random;
using pftest::TestWorld;

struct Visit {
  std::int32_t x, y;
  const void *in, *out;
  bool operator==(const Visit&) const = default;
};

struct Visitor {
  std::vector<Visit> visits;
  std::int64_t fail_at = -1;
  template <class P>
  static PF_Err Call(void* reference, std::int32_t x, std::int32_t y, P* in, P* out) {
    auto& self = *static_cast<Visitor*>(reference);
    self.visits.push_back({x, y, in, out});
    return static_cast<std::int64_t>(self.visits.size()) == self.fail_at ? 1234 : 0;
  }
  static PF_IteratePixelFunc Function(std::int32_t depth) {
    return depth == 8    ? PF_PixelFunc(&Call<PF_Pixel8>)
           : depth == 16 ? PF_PixelFunc(&Call<PF_Pixel16>)
                         : PF_PixelFunc(&Call<PF_PixelFloat>);
  }
};

struct ProgressLog {
  std::vector<std::pair<std::int32_t, std::int32_t>> calls;
  std::int32_t answer_at = -1, answer = 0;  // answer once, at this call
  PF_InData in{};
  ProgressLog() {
    in.effect_ref = this;
    in.progress = [](void* reference, std::int32_t current, std::int32_t final) -> PF_Err {
      auto& self = *static_cast<ProgressLog*>(reference);
      self.calls.emplace_back(current, final);
      return static_cast<std::int32_t>(self.calls.size()) == self.answer_at ? self.answer : 0;
    };
  }
};

class Iterate : public testing::TestWithParam<std::int32_t> {
 protected:
  void SetUp() override { Host().Reset(); }
};

// Every pixel of the destination for which the rule holds, in order.
std::vector<Visit> Expected(TestWorld* src, TestWorld& dst, const M_LRect* area, M_LPoint origin) {
  std::vector<Visit> visits;
  const auto size = static_cast<std::int32_t>(dst.PixelSize());
  for (std::int32_t y = 0; y < dst.height(); ++y) {
    for (std::int32_t x = 0; x < dst.width(); ++x) {
      const std::int64_t sx = std::int64_t{x} + origin.h, sy = std::int64_t{y} + origin.v;
      if (area && (x < area->left || x >= area->right || y < area->top || y >= area->bottom)) continue;
      if (src && (sx < 0 || sy < 0 || sx >= src->width() || sy >= src->height())) continue;
      const void* out = dst.Row(y) + x * size;
      const void* in = src ? src->Row(static_cast<std::int32_t>(sy)) + sx * size : out;
      visits.push_back({x, y, in, out});
    }
  }
  return visits;
}

TEST_P(Iterate, VisitsTheClippedAreaInOrderForAnySizesAreasAndOrigins) {
  const std::int32_t depth = GetParam();
  for (std::uint64_t seed = 0; seed < 300; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    const auto small = [&](int low, int high) { return static_cast<std::int32_t>(pftest::Between(random, low, high)); };
    TestWorld src(depth, small(1, 9), small(1, 9), 16), dst(depth, small(1, 9), small(1, 9), 32);
    M_LRect area = {small(-3, 11), small(-3, 11), small(-3, 11), small(-3, 11)};
    if (seed % 7 == 0) area = {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX};
    const M_LPoint origin = seed % 11 == 0 ? M_LPoint{INT32_MIN, INT32_MAX} : M_LPoint{small(-4, 4), small(-4, 4)};
    TestWorld* from = seed % 3 == 0 ? nullptr : &src;
    const M_LRect* within = seed % 5 == 0 ? nullptr : &area;

    Visitor plain;
    EXPECT_EQ(PF_Iterate(nullptr, 0, 0, from ? from->record() : nullptr, within, &plain, Visitor::Function(depth),
                         dst.record()),
              0);
    EXPECT_EQ(plain.visits, Expected(from, dst, within, {0, 0}));
    Visitor moved;
    EXPECT_EQ(
        PF_IterateOrigin(nullptr, 0, 0, src.record(), within, &origin, &moved, Visitor::Function(depth), dst.record()),
        0);
    EXPECT_EQ(moved.visits, Expected(&src, dst, within, origin));
  }
  EXPECT_TRUE(Host().reports.empty());
}

TEST_P(Iterate, StopsAtTheFirstErrorOfTheFunction) {
  TestWorld dst(GetParam(), 5, 4);
  Visitor visitor;
  visitor.fail_at = 7;
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, &visitor, Visitor::Function(GetParam()), dst.record()), 1234);
  EXPECT_EQ(visitor.visits.size(), 7u);
}

TEST_P(Iterate, TellsProgressAfterEachRowAndOnlyCancelStops) {
  TestWorld dst(GetParam(), 3, 4);
  struct Row {
    std::int32_t answer_at, answer, final;
    PF_Err result;
    std::size_t rows, calls;
  };
  for (const Row& row : {Row{-1, 0, 50, 0, 4, 4}, Row{2, 517, 50, 517, 2, 2}, Row{2, 99, 50, 0, 4, 4},
                         Row{4, 99, 50, 99, 4, 4}, Row{2, 517, 0, 0, 4, 0}}) {
    SCOPED_TRACE(row.answer_at);
    ProgressLog log;
    log.answer_at = row.answer_at;
    log.answer = row.answer;
    Visitor visitor;
    EXPECT_EQ(
        PF_Iterate(&log.in, 10, row.final, nullptr, nullptr, &visitor, Visitor::Function(GetParam()), dst.record()),
        row.result);
    EXPECT_EQ(visitor.visits.size(), row.rows * 3);
    ASSERT_EQ(log.calls.size(), row.calls);
    for (std::size_t i = 0; i < log.calls.size(); ++i) {
      EXPECT_EQ(log.calls[i], std::pair(static_cast<std::int32_t>(11 + i), 50));
    }
  }
}

TEST_P(Iterate, AnEmptyAreaTellsNoProgress) {
  TestWorld dst(GetParam(), 3, 4);
  ProgressLog log;
  Visitor visitor;
  const M_LRect empty = {1, 1, 1, 4};
  EXPECT_EQ(PF_Iterate(&log.in, 0, 9, nullptr, &empty, &visitor, Visitor::Function(GetParam()), dst.record()), 0);
  EXPECT_TRUE(log.calls.empty() && visitor.visits.empty());
}

INSTANTIATE_TEST_SUITE_P(Depths, Iterate, testing::Values(8, 16, 32));

TEST(IterateErrors, BadArgumentsAndDepthsAreReportedBeforeAnythingIsCalled) {
  Host().Reset();
  TestWorld w8(8, 2, 2), w16(16, 2, 2), none(8, 2, 2);
  none.record()->data = nullptr;
  Visitor v;
  const auto f = Visitor::Function(8);
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, none.record(), nullptr, &v, f, w8.record()), 3);
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, &v, f, none.record()), 3);
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, &v, f, nullptr), 3);
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, &v, nullptr, w8.record()), 3);
  EXPECT_EQ(PF_IterateOrigin(nullptr, 0, 0, nullptr, nullptr, nullptr, &v, f, w8.record()), 3);
  EXPECT_EQ(PF_IterateLUT(nullptr, 0, 0, none.record(), nullptr, nullptr, nullptr, nullptr, nullptr, w8.record()), 3);
  for (const pftest::Report& report : Host().reports) {
    EXPECT_EQ(report.text, "bad parameter passed to effect callback");
    EXPECT_EQ(report.identifier, 0x25000Eu);
  }
  EXPECT_EQ(Host().reports.size(), 6u);
  Host().reports.clear();
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, w16.record(), nullptr, &v, f, w8.record()), 3);
  EXPECT_EQ(Host().ReportTexts(), "PF_Iterate requires source and dst worlds to be same depth\n");
  EXPECT_TRUE(v.visits.empty());
}

TEST(IterateErrors, AnUnknownFormatByteCountsAs8AndIsReportedOnceForEachWorld) {
  Host().Reset();
  TestWorld src(8, 2, 2), odd(8, 2, 2);
  odd.record()->world_flags = 3u << PF_WorldFlag_FORMAT_SHIFT;
  Visitor v;
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, src.record(), nullptr, &v, Visitor::Function(8), odd.record()), 0);
  EXPECT_EQ(v.visits.size(), 4u);
  EXPECT_EQ(Host().ReportTexts(), "Unknown pixel format\n");
  EXPECT_EQ(Host().reports.at(0).identifier, 0x2503E7u);
}

TEST(IterateErrors, AnImpossibleDepthIsRefusedInTheWordsThatHostsKnow) {
  Host().Reset();
  pftest::ForeignWorld object(24);
  TestWorld world(8, 2, 2);
  world.record()->world_object = &object;
  Visitor v;
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, &v, Visitor::Function(8), world.record()), 3);
  EXPECT_EQ(Host().ReportTexts(), "Unknown world bitdepth in##CONDITIONNAME\n");
  EXPECT_TRUE(v.visits.empty());
}

TEST(IterateErrors, WithoutTextsCode3IsReportedAllTheSame) {
  Host().Reset();
  Host().no_texts = true;
  TestWorld world(8, 2, 2);
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, world.record()), 3);
  EXPECT_EQ(PF_IterateGeneric(1, nullptr, nullptr), 3);
  EXPECT_EQ(Host().reports.size(), 2u);
  Host().Reset();
}

TEST(IterateErrors, WhatAFunctionThrowsComesBackAsItsCode) {
  Host().Reset();
  const auto thrower = [](void*, std::int32_t, std::int32_t, std::int32_t) -> PF_Err { throw PF_Error(42); };
  EXPECT_EQ(PF_IterateGeneric(3, nullptr, thrower), 42);
  const PF_IteratePixel8Func pixel_thrower = [](void*, std::int32_t, std::int32_t, PF_Pixel8*, PF_Pixel8*) -> PF_Err {
    throw std::bad_alloc();
  };
  TestWorld world(8, 2, 2);
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, PF_PixelFunc(pixel_thrower), world.record()), 4);
}

TEST(IterateErrors, CoordinatesAreCarriedIn16Bits) {
  TestWorld wide(8, 32770, 1);
  Visitor v;
  const M_LRect end = {32766, 0, 32770, 1};
  EXPECT_EQ(PF_Iterate(nullptr, 0, 0, nullptr, &end, &v, Visitor::Function(8), wide.record()), 0);
  ASSERT_EQ(v.visits.size(), 4u);
  EXPECT_EQ(v.visits[1].x, 32767);
  EXPECT_EQ(v.visits[2].x, -32768);
}

struct IndexLog {
  std::vector<std::tuple<std::int32_t, std::int32_t, std::int32_t>> calls;
  std::int32_t fail_at = -1;
  static PF_Err Call(void* reference, std::int32_t thread, std::int32_t i, std::int32_t count) {
    auto& self = *static_cast<IndexLog*>(reference);
    self.calls.emplace_back(thread, i, count);
    return i == self.fail_at ? 4321 : 0;
  }
};

TEST(IterateGeneric, CallsEachIndexInOrderAndKnowsMinusOne) {
  Host().Reset();
  IndexLog three, once, none, failing;
  EXPECT_EQ(PF_IterateGeneric(3, &three, &IndexLog::Call), 0);
  EXPECT_EQ(three.calls, (decltype(three.calls){{0, 0, 3}, {0, 1, 3}, {0, 2, 3}}));
  EXPECT_EQ(PF_IterateGeneric(-1, &once, &IndexLog::Call), 0);
  EXPECT_EQ(once.calls, (decltype(once.calls){{0, 0, 1}}));
  EXPECT_EQ(PF_IterateGeneric(0, &none, &IndexLog::Call), 0);
  EXPECT_EQ(PF_IterateGeneric(-2, &none, &IndexLog::Call), 0);
  EXPECT_TRUE(none.calls.empty());
  failing.fail_at = 1;
  EXPECT_EQ(PF_IterateGeneric(9, &failing, &IndexLog::Call), 4321);
  EXPECT_EQ(failing.calls.size(), 2u);
  EXPECT_EQ(PF_IterateGeneric(1, nullptr, nullptr), 3);
  EXPECT_EQ(Host().reports.at(0).identifier, 0x250046u);
}

TEST(IterateLUT, MapsEachChannelThroughItsOwnTable) {
  std::uint8_t invert[256], step[256];
  for (int i = 0; i < 256; ++i) {
    invert[i] = static_cast<std::uint8_t>(255 - i);
    step[i] = i < 128 ? 0 : 255;
  }
  TestWorld w8(8, 256, 1), w16(16, 2049, 1), wf(32, 4, 1);
  for (int i = 0; i < 256; ++i) {
    const auto v = static_cast<std::uint8_t>(i);
    w8.At<PF_Pixel8>(i, 0) = {v, v, v, v};
  }
  for (int i = 0; i <= 2048; ++i) {
    const auto v = static_cast<std::uint16_t>(i * 16);
    w16.At<PF_Pixel16>(i, 0) = {v, v, v, v};
  }
  const float values[] = {-1.0f, 0.25f, NAN, 7.0f};
  for (int i = 0; i < 4; ++i) wf.At<PF_PixelFloat>(i, 0) = {values[i], values[i], values[i], values[i]};
  for (TestWorld* w : {&w8, &w16, &wf}) {
    EXPECT_EQ(PF_IterateLUT(nullptr, 0, 0, nullptr, nullptr, nullptr, invert, step, nullptr, w->record()), 0);
  }
  for (int i = 0; i < 256; ++i) {
    const PF_Pixel8 p = w8.At<PF_Pixel8>(i, 0);
    EXPECT_TRUE(p.alpha == i && p.red == 255 - i && p.green == (i < 128 ? 0 : 255) && p.blue == i) << i;
  }
  for (int i = 0; i <= 2048; ++i) {
    const PF_Pixel16 p = w16.At<PF_Pixel16>(i, 0);
    EXPECT_EQ(p.red, 32768 - 16 * i) << "an inverting table interpolates to an exact inversion";
    EXPECT_EQ(p.alpha, 16 * i);
  }
  const float inverted[] = {1.0f, 0.75f, 1.0f, 0.0f};
  for (int i = 0; i < 4; ++i) EXPECT_FLOAT_EQ(wf.At<PF_PixelFloat>(i, 0).red, inverted[i]);
  EXPECT_EQ(wf.At<PF_PixelFloat>(3, 0).blue, 7.0f);
}

TEST(IterateLUT, ReadsTheSourceWithinTheAreaAndTellsProgress) {
  for (const std::int32_t depth : {8, 16, 32}) {
    Random random(7);
    TestWorld src(depth, 9, 6, 16), dst(depth, 7, 8, 32), expected(depth, 7, 8, 32);
    src.Fill(random, TestWorld::kRandom);
    dst.Fill(random, TestWorld::kRandom);
    const auto size = dst.PixelSize();
    for (std::int32_t y = 0; y < 8; ++y) {
      for (std::int32_t x = 0; x < 7; ++x) {
        const auto offset = static_cast<std::size_t>(x) * size;
        const TestWorld& from = x >= 2 && x < 5 && y >= 1 && y < 6 ? src : dst;
        std::memcpy(expected.Row(y) + offset, from.Row(y) + offset, size);
      }
    }
    ProgressLog log;
    const M_LRect area = {2, 1, 5, 20};
    EXPECT_EQ(PF_IterateLUT(&log.in, 100, 9, src.record(), &area, nullptr, nullptr, nullptr, nullptr, dst.record()), 0);
    EXPECT_EQ(dst.FirstDifference(expected), "");
    ASSERT_EQ(log.calls.size(), 5u);
    EXPECT_EQ(log.calls.back(), std::pair(105, 9));
  }
  Host().Reset();
  TestWorld w8(8, 2, 2), w16(16, 2, 2);
  EXPECT_EQ(PF_IterateLUT(nullptr, 0, 0, w8.record(), nullptr, nullptr, nullptr, nullptr, nullptr, w16.record()), 3);
  EXPECT_EQ(Host().ReportTexts(), "PF_Iterate requires source and dst worlds to be same depth\n");
}

}  // namespace
