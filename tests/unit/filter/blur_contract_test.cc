// After: blurs that read what they have written, touch memory that is not theirs, or refuse, stop and report otherwise
// than they say.
#include <limits>
#include <set>
#include <string>

#include "BlurSupport.h"
#include "filter/LaneKernels.h"
#include "lifecycle/Globals.h"
#include "report/Sites.h"
#include "support/ForeignWorld.h"

namespace {

using namespace pftest;

// `src` and `dst` are two windows on `memory`, at rows and columns of their own.
struct Window {
  TestWorld& memory;
  std::int32_t x, y, width, height;
  bool upside_down = false;

  PF_LayerDef Record() const {
    PF_LayerDef record = *memory.record();
    record.width = width;
    record.height = height;
    record.extent = {0, 0, width, height};
    record.data = memory.Row(upside_down ? y + height - 1 : y) + static_cast<std::size_t>(x) * memory.PixelSize();
    if (upside_down) record.row_bytes = -record.row_bytes;
    return record;
  }
};

// Blurs within `memory` and compares with a blur between worlds of their own, and what lies outside with what was
// there.
void BlurWithin(TestWorld& memory, const Window& src, const Window& dst, const BlurWish& wish) {
  const std::size_t size = memory.PixelSize();
  TestWorld before(memory.depth(), memory.width(), memory.height());
  TestWorld from(memory.depth(), src.width, src.height);
  for (std::int32_t y = 0; y < memory.height(); ++y) {
    std::memcpy(before.Row(y), memory.Row(y), size * static_cast<std::size_t>(memory.width()));
  }
  PF_LayerDef s = src.Record(), d = dst.Record();
  const auto row_of = [](const PF_LayerDef& record, std::int32_t y) {
    return static_cast<std::byte*>(record.data) + std::int64_t{y} * record.row_bytes;
  };
  for (std::int32_t y = 0; y < src.height; ++y) {
    std::memcpy(from.Row(y), row_of(s, y), size * static_cast<std::size_t>(src.width));
  }
  const auto expected = Blurred(from, wish);
  {
    const std::unique_ptr<PF_World> source(PF_World::NewReference(&s)), target(PF_World::NewReference(&d));
    const auto blur = wish.box ? &PF_BoxBlur1D : &PF_GaussianBlur1D;
    EXPECT_EQ(blur(source.get(), target.get(), wish.radius, wish.flags, wish.src_columns, wish.dst_columns,
                   wish.straight, nullptr),
              0);
  }
  EXPECT_TRUE(memory.GapsUntouched());
  for (std::int32_t y = 0; y < dst.height; ++y) {
    const std::size_t bytes = size * static_cast<std::size_t>(dst.width);
    ASSERT_EQ(std::memcmp(row_of(d, y), expected->Row(y), bytes), 0)
        << TextOf(wish) << " depth " << memory.depth() << " row " << y << ", windows at " << src.x << ", " << src.y
        << " and " << dst.x << ", " << dst.y;
  }
  for (std::int32_t y = 0; y < memory.height(); ++y) {
    for (std::int32_t x = 0; x < memory.width(); ++x) {
      if (x >= dst.x && x < dst.x + dst.width && y >= dst.y && y < dst.y + dst.height) continue;
      const std::size_t at = size * static_cast<std::size_t>(x);
      ASSERT_EQ(std::memcmp(memory.Row(y) + at, before.Row(y) + at, size), 0) << TextOf(wish) << " " << x << ", " << y;
    }
  }
}

TEST_F(Blurs, SharedPixelsAreReadAsTheyWere) {
  Random random(7);
  for (const std::int32_t depth : {8, 16, 32}) {
    for (const float radius : {0.0f, 3.0f, 20.0f}) {
      for (int variant = 0; variant < 16; ++variant) {
        BlurWish wish = {(variant & 1) != 0, radius};
        wish.src_columns = (variant & 2) != 0;
        wish.dst_columns = (variant & 4) != 0;
        wish.straight = (variant & 8) != 0;
        const auto walk = [&](const Window& src, const Window& dst) {
          src.memory.Fill(random, TestWorld::kSparse);
          BlurWithin(src.memory, src, dst, wish);
        };
        TestWorld memory(depth, 60, 50, 20);
        walk({memory, 5, 4, 31, 31}, {memory, 5, 4, 31, 31});
        walk({memory, 5, 4, 31, 31}, {memory, 6, 4, 31, 31});
        walk({memory, 5, 4, 31, 31}, {memory, 4, 5, 31, 31});
        walk({memory, 5, 9, 31, 31}, {memory, 0, 3, 31, 31});
        walk({memory, 5, 9, 31, 31, true}, {memory, 5, 9, 31, 31});
        const bool turned = wish.src_columns != wish.dst_columns;
        walk({memory, 1, 1, 27, 40}, {memory, 3, 2, turned ? 40 : 27, turned ? 27 : 40, true});
        if (turned) continue;
        TestWorld wide(depth, 610, 33, 4);
        walk({wide, 0, 0, 607, 31}, {wide, 0, 0, 607, 31});
        walk({wide, 0, 2, 600, 31}, {wide, 7, 1, 600, 31});
      }
    }
  }
}

TEST_F(Blurs, RefusalsWriteNothingAndAreReported) {
  TestWorld src(8, 9, 5), dst(8, 9, 5), turned(8, 5, 9), deep(16, 9, 5);
  Random random(8);
  for (TestWorld* world : {&src, &dst, &turned, &deep}) world->Fill(random, TestWorld::kRandom);
  const std::unique_ptr<PF_World> from(PF_World::NewReference(src.record())), to(PF_World::NewReference(dst.record())),
      other(PF_World::NewReference(turned.record())), sixteen(PF_World::NewReference(deep.record()));
  const std::unique_ptr<PF_World> bare(PF_World::NewReference(src.record()));
  bare->data = nullptr;
  ForeignWorld odd(24);
  odd.data = dst.record()->data;
  odd.width = 9;
  odd.height = 5;
  const std::vector<std::byte> before[] = {dst.Pixels(), turned.Pixels(), deep.Pixels()};
  for (const auto blur : {&PF_GaussianBlur1D, &PF_BoxBlur1D}) {
    const auto refused = [&](PF_Err code, const PF_World* source, PF_World* destination, float radius,
                             std::int32_t dst_direction) {
      Host().reports.clear();
      EXPECT_EQ(blur(source, destination, radius, 0, 0, dst_direction, 0, nullptr), code) << radius;
      ASSERT_EQ(Host().reports.size(), 1u) << Host().ReportTexts();
      const Report& report = Host().reports[0];
      EXPECT_EQ(report.identifier, Identifier(pf::Site::kBlurs));
      EXPECT_EQ(report.kind, code == 516 ? Report::kText : Report::kVerification);
      if (code == 516) {
        EXPECT_EQ(report.text, "bad parameter passed to effect callback");
      }
    };
    for (const float radius : {-1e-6f, -3.0f, 32767.5f, HUGE_VALF, std::numeric_limits<float>::quiet_NaN()}) {
      refused(516, from.get(), to.get(), radius, 0);
    }
    refused(516, nullptr, to.get(), 3, 0);
    refused(516, from.get(), nullptr, 3, 0);
    refused(516, bare.get(), to.get(), 3, 0);
    refused(516, from.get(), bare.get(), 3, 0);
    refused(516, from.get(), to.get(), 3, 1);
    refused(516, from.get(), other.get(), 3, 0);
    refused(3, from.get(), sixteen.get(), 3, 0);
    refused(3, sixteen.get(), to.get(), 0, 0);
    refused(3, &odd, &odd, 3, 0);
    // The largest radius is none of these.
    Host().reports.clear();
    EXPECT_TRUE(before[0] == dst.Pixels() && before[1] == turned.Pixels() && before[2] == deep.Pixels());
    TestWorld result(8, 9, 5);
    const std::unique_ptr<PF_World> whole(PF_World::NewReference(result.record()));
    EXPECT_EQ(blur(from.get(), whole.get(), 32767, 0, 0, 0, 1, nullptr), 0);
    EXPECT_TRUE(Host().reports.empty());
  }
}

TEST_F(Blurs, NothingIsDoneToWorldsOfNoWidthOrHeight) {
  TestWorld memory(8, 9, 5), empty(8, 0, 0);
  const std::vector<std::byte> before = memory.Pixels();
  std::int32_t asked = 0;
  const PF_ProgressInfo record = {
      reinterpret_cast<std::uint64_t>(&asked),
      [](std::uint64_t r) -> PF_Err { return ++*reinterpret_cast<std::int32_t*>(r); },
      [](std::uint64_t r, std::int32_t, std::int32_t) -> PF_Err { return ++*reinterpret_cast<std::int32_t*>(r); }};
  PF_LayerDef flat = *memory.record(), thin = flat;
  flat.height = 0;
  thin.width = 0;
  for (PF_LayerDef* hollow : {empty.record(), &flat, &thin}) {
    const std::unique_ptr<PF_World> world(PF_World::NewReference(hollow));
    for (const auto blur : {&PF_GaussianBlur1D, &PF_BoxBlur1D}) {
      for (const std::int32_t columns : {0, 1}) {
        for (const float radius : {0.0f, 3.0f, 20.0f}) {
          EXPECT_EQ(blur(world.get(), world.get(), radius, 0, columns, columns, 0, &record), 0);
        }
      }
    }
  }
  EXPECT_EQ(asked, 0);
  EXPECT_TRUE(Host().reports.empty()) << Host().ReportTexts();
  EXPECT_TRUE(memory.Pixels() == before);
}

TEST_F(Blurs, ShortMemoryIsToldByName) {
  const std::set<std::string> lines = {"memory for blurring\n"}, both = {"gaussian weight array\n", *lines.begin()};
  TestWorld memory(8, 60, 60), deep_memory(16, 60, 60), float_memory(32, 60, 60);
  Random random(12);
  struct Case {
    BlurWish wish;
    bool overlapping;
    bool weights;
  };
  const Case cases[] = {
      {{false, 0}, false, false},
      {{false, 0, 0, false, true}, true, false},
      {{false, 3}, false, true},
      {{false, 3, 0, true, true}, false, true},
      {{false, 3, 0, false, true}, false, true},
      {{false, 3, 0, false, false, true}, true, true},
      {{false, 20}, false, true},
      {{false, 20, 0, true, true}, true, true},
      {{true, 5}, false, false},
      {{true, 5, 0, true, true}, false, false},
      {{true, 5, 0, true, false}, true, false},
  };
  for (TestWorld* of_depth : {&memory, &deep_memory, &float_memory}) {
    for (const Case& c : cases) {
      SCOPED_TRACE(TextOf(c.wish) + ", depth " + std::to_string(of_depth->depth()));
      of_depth->Fill(random, TestWorld::kSparse);
      const std::int32_t at = c.overlapping ? 3 : 31;
      PF_LayerDef s = Window{*of_depth, 0, 0, 29, 29}.Record(), d = Window{*of_depth, at, at, 29, 29}.Record();
      const std::unique_ptr<PF_World> from(PF_World::NewReference(&s)), to(PF_World::NewReference(&d));
      const std::vector<std::byte> before = of_depth->Pixels();
      std::set<std::string> names;
      for (Host().fail_allocation = 0;; ++Host().fail_allocation) {
        PF_FreeUpSomeMemory();
        Host().reports.clear();
        Host().counts.clear();
        Host().allocations = 0;
        const auto blur = c.wish.box ? &PF_BoxBlur1D : &PF_GaussianBlur1D;
        const PF_Err code = blur(from.get(), to.get(), c.wish.radius, c.wish.flags, c.wish.src_columns,
                                 c.wish.dst_columns, c.wish.straight, nullptr);
        if (code == 0) break;
        ASSERT_EQ(code, 4);
        names.insert(Host().ReportTexts());
        EXPECT_TRUE(of_depth->Pixels() == before);
      }
      EXPECT_EQ(Host().allocations, Host().fail_allocation) << "a shortage that nobody minded";
      EXPECT_EQ(Host().counts["U_AllocatePtr"], 0) << "memory comes from handles";
      EXPECT_EQ(names, c.weights ? both : lines);
      Host().fail_allocation = -1;
    }
  }
}

// QUIRK-49
TEST_F(Blurs, TheVectorPathTracesThatItIsNotTested) {
  const std::vector<std::string> line = {"untested SSE2 codepath in blur"};
  Random random(13);
  for (const std::uint32_t features : {0u, ~0u}) {
    Host().cpu_features = features;
    // The record is read when geometry is prepared, so the second start sees it.
    for (int start = 0; start < 2; ++start) {
      ASSERT_EQ(PF_Death(), 0);
      ASSERT_EQ(PF_Birth(), 0);
    }
    const bool vectors = features != 0;
    ASSERT_EQ(pf::g_kernels.blur.load() != &pf::kPortableBlurKernels, vectors);
    for (const std::int32_t depth : {8, 16, 32}) {
      TestWorld src(depth, 30, 30), dst(depth, 30, 30);
      src.Fill(random, TestWorld::kOpaque);
      const auto trace_of = [&](const BlurWish& wish) {
        Host().trace.clear();
        EXPECT_EQ(CallBlur(src, dst, wish), 0);
        return Host().trace;
      };
      for (const bool box : {false, true}) {
        for (const bool turned : {false, true}) {
          for (const float radius : {3.0f, 20.0f}) {
            const BlurWish wish = {box, radius, 0, false, turned};
            Host().trace_levels = {{"Blur", 1}};
            EXPECT_EQ(trace_of(wish), vectors ? line : std::vector<std::string>()) << TextOf(wish) << " " << depth;
            Host().trace_levels = {{"Blur", 0}, {"Other", 9}};
            EXPECT_TRUE(trace_of(wish).empty()) << TextOf(wish) << " " << depth;
          }
          Host().trace_levels = {{"Blur", 9}};
          EXPECT_TRUE(trace_of({box, 0, 0, false, turned}).empty()) << depth;
        }
      }
    }
  }
}

TEST_F(Blurs, ProgressHearsOfEveryLine) {
  struct Log {
    std::int32_t asked = 0, told = 0, lines = 0, stop_at = -1;
    static Log& Of(std::uint64_t reference) { return *reinterpret_cast<Log*>(reference); }
  };
  Random random(9);
  for (const std::int32_t depth : {8, 16}) {
    TestWorld src(depth, 23, 11), same(depth, 23, 11), turned(depth, 11, 23);
    src.Fill(random, TestWorld::kRandom);
    for (int variant = 0; variant < 8; ++variant) {
      const bool columns = (variant & 1) != 0, turns = (variant & 2) != 0;
      const BlurWish wish = {(variant & 4) != 0, 4, 0, columns, columns != turns};
      SCOPED_TRACE(TextOf(wish) + ", depth " + std::to_string(depth));
      TestWorld& dst = turns ? turned : same;
      Log log;
      log.lines = columns ? 23 : 11;
      const PF_ProgressInfo record = {
          reinterpret_cast<std::uint64_t>(&log),
          [](std::uint64_t r) -> PF_Err { return Log::Of(r).asked++ == Log::Of(r).stop_at ? 4711 : 0; },
          [](std::uint64_t r, std::int32_t done, std::int32_t lines) -> PF_Err {
            EXPECT_EQ(done, ++Log::Of(r).told);
            EXPECT_EQ(lines, Log::Of(r).lines);
            return 0;
          }};
      EXPECT_EQ(CallBlur(src, dst, wish, &record), 0);
      EXPECT_EQ(log.told, log.lines);
      EXPECT_EQ(log.asked, log.lines);
      log = {0, 0, log.lines, 4};
      EXPECT_EQ(CallBlur(src, dst, wish, &record), 4711);
      EXPECT_EQ(log.told, 4);
    }
  }
}

}  // namespace
