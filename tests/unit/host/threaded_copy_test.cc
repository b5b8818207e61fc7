// After: bands of a copy that differ from the whole at their borders or in their scale; polls from another
// thread or at the wrong time; failures told once for each band.
#include "PF/PF_Copy.h"
#include "Support.h"
#include "host/vexcore.h"
#include "support/Worlds.h"

namespace {

using pftest::Random;
using pftest::RunningHost;
using pftest::TestWorld;

using CopyFunc = PF_Err (*)(const PF_ProgressInfo*, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*);

struct Kind {
  const char* name;
  CopyFunc installed, own;
  bool any_depths;
};
constexpr Kind kKinds[] = {
    {"draft", &PF_CopyBits_Draft, &PF_CopyBits_Draft_Static, true},
    {"straight", &PF_CopyBits_HQ_Straight, &PF_CopyBits_HQ_Straight_Static, false},
    {"premultiplied", &PF_CopyBits_HQ_Premul, &PF_CopyBits_HQ_Premul_Static, false},
    {"low quality", &PF_CopyBits3_LO_Straight, &PF_CopyBits3_LO_Straight_Static, true},
};

class ThreadedCopy : public testing::TestWithParam<std::int32_t> {
 protected:
  RunningHost host_{GetParam()};
};

struct Shape {
  std::int32_t src_width, src_height, dst_width, dst_height;
  const M_LRect *src_rect, *dst_rect;
};
constexpr M_LRect kInside = {5, 7, 250, 200}, kBeyond = {-30, -40, 500, 700}, kLower = {11, 90, 600, 395};
constexpr Shape kShapes[] = {
    {97, 61, 523, 389, nullptr, nullptr},    {523, 389, 300, 223, nullptr, nullptr},
    {200, 500, 400, 250, nullptr, nullptr},  {400, 300, 400, 300, nullptr, nullptr},
    {300, 250, 523, 401, &kInside, nullptr}, {300, 250, 523, 401, nullptr, &kBeyond},
    {300, 250, 610, 401, &kBeyond, &kLower}, {610, 401, 610, 401, &kLower, &kLower},
};

void ExpectSame(const Kind& kind, const Shape& shape, std::int32_t from, std::int32_t to) {
  SCOPED_TRACE(testing::Message() << kind.name << ", " << shape.src_width << "x" << shape.src_height << " to "
                                  << shape.dst_width << "x" << shape.dst_height << ", depth " << from << " to " << to);
  Random random(5);
  TestWorld src(from, shape.src_width, shape.src_height, 16);
  src.Fill(random, TestWorld::kSparse);
  TestWorld expected(to, shape.dst_width, shape.dst_height, 16), actual(to, shape.dst_width, shape.dst_height, 32);
  const PF_Err code = kind.own(nullptr, src.record(), expected.record(), shape.src_rect, shape.dst_rect);
  EXPECT_EQ(kind.installed(nullptr, src.record(), actual.record(), shape.src_rect, shape.dst_rect), code);
  EXPECT_TRUE(actual.SamePixels(expected)) << actual.FirstDifference(expected);
  EXPECT_TRUE(actual.GapsUntouched());
}

TEST_P(ThreadedCopy, GivesTheBitsOfTheLibrarysOwn) {
  constexpr std::int32_t kDepths[] = {8, 16, 32};
  std::size_t turn = 0;
  for (const Kind& kind : kKinds) {
    for (const Shape& shape : kShapes) {
      const std::int32_t depth = kDepths[turn++ % 3];
      ExpectSame(kind, shape, depth, depth);
    }
    ExpectSame(kind, kShapes[kind.any_depths ? 0 : 3], 16, 8);
    ExpectSame(kind, kShapes[kind.any_depths ? 1 : 3], 8, 32);
  }
}

TEST_P(ThreadedCopy, FailsWithTheSameCodesAndReports) {
  TestWorld world(8, 400, 400), deep(16, 400, 400), larger(8, 500, 500);
  PF_LayerDef empty = *world.record(), unknown = *world.record();
  empty.data = nullptr;
  unknown.world_flags = 7u << PF_WorldFlag_FORMAT_SHIFT;
  struct Call {
    PF_LayerDef *src, *dst;
  };
  for (const Kind& kind : kKinds) {
    for (const Call& call :
         {Call{nullptr, world.record()}, Call{world.record(), nullptr}, Call{&empty, larger.record()},
          Call{larger.record(), &empty}, Call{&unknown, larger.record()}, Call{larger.record(), &unknown},
          Call{deep.record(), larger.record()}}) {
      PFhost_ClearReports();
      const PF_Err expected = kind.own(nullptr, call.src, call.dst, nullptr, nullptr);
      const auto reports = pftest::ReportTexts();
      PFhost_ClearReports();
      EXPECT_EQ(kind.installed(nullptr, call.src, call.dst, nullptr, nullptr), expected) << kind.name;
      EXPECT_EQ(pftest::ReportTexts(), reports) << kind.name;
    }
  }
}

// A progress record that answers once.
struct Polls {
  PF_ProgressInfo info{};
  std::uint64_t caller = vexcore::CurrentThreadIdentity();
  bool only_caller = true;
  int aborts = 0;
  std::vector<std::int32_t> rows;
  std::int32_t total = 0;
  int answer_at = 0;  // 1 = the first poll

  explicit Polls(bool with_progress) {
    info.reference = reinterpret_cast<std::uintptr_t>(this);
    info.abort = [](std::uint64_t reference) { return From(reference).Answer(++From(reference).aborts); };
    if (!with_progress) return;
    info.progress = [](std::uint64_t reference, std::int32_t current, std::int32_t of) {
      Polls& self = From(reference);
      self.rows.push_back(current);
      self.total = of;
      return self.Answer(static_cast<int>(self.rows.size()));
    };
  }
  static Polls& From(std::uint64_t reference) { return *reinterpret_cast<Polls*>(reference); }
  PF_Err Answer(int poll) {
    only_caller &= vexcore::CurrentThreadIdentity() == caller;
    return poll == answer_at ? 77 : 0;
  }
};

TEST_P(ThreadedCopy, ScalingInHighQualityAsksTheAbortFunctionBeforeItBegins) {
  TestWorld src(8, 100, 100), dst(8, 512, 4096), untouched(8, 512, 4096);
  Polls first(true);
  first.answer_at = 1;
  EXPECT_EQ(PF_CopyBits_HQ_Straight(&first.info, src.record(), dst.record(), nullptr, nullptr), 77);
  EXPECT_TRUE(dst.SamePixels(untouched));
  EXPECT_EQ(first.aborts, 1);
  EXPECT_TRUE(first.rows.empty()) << "high quality does not tell progress";

  Polls all(true);
  EXPECT_EQ(PF_CopyBits_HQ_Premul(&all.info, src.record(), dst.record(), nullptr, nullptr), 0);
  EXPECT_GE(all.aborts, 1);
  EXPECT_LE(all.aborts, 4096 / 64);
  EXPECT_TRUE(all.only_caller);
}

TEST_P(ThreadedCopy, DraftAsksAfterRowsAndStopsWhenTold) {
  TestWorld src(32, 512, 4096), dst(8, 512, 4096);
  Random random(1);
  src.Fill(random, TestWorld::kOpaque);
  Polls all(true);
  EXPECT_EQ(PF_CopyBits_Draft(&all.info, src.record(), dst.record(), nullptr, nullptr), 0);
  EXPECT_EQ(all.aborts, 0) << "the progress function is asked when there is one";
  for (std::size_t i = 0; i < all.rows.size(); ++i) {
    EXPECT_EQ(all.rows[i] % 64, 63);
    EXPECT_LT(i == 0 ? -1 : all.rows[i - 1], all.rows[i]);
    EXPECT_EQ(all.total, 4096);
  }
  for (const bool with_progress : {true, false}) {
    Polls stopped(with_progress);
    stopped.answer_at = 1;
    const PF_Err code = PF_CopyBits_Draft(&stopped.info, src.record(), dst.record(), nullptr, nullptr);
    const int polls = stopped.aborts + static_cast<int>(stopped.rows.size());
    // Should the other threads have done everything before this one came by, nobody is asked.
    EXPECT_EQ(code, polls == 0 ? 0 : 77);
    EXPECT_LE(polls, 1);
    EXPECT_TRUE(stopped.only_caller && all.only_caller);
  }
}

INSTANTIATE_TEST_SUITE_P(Threads, ThreadedCopy, testing::Values(2, 3, 7));

}  // namespace
