// After: checks in another order, failures that are told twice or not at all, half-made pictures, motion that is filed
// although nothing came of it, memory that stays behind, stops that are overlooked.
#include <algorithm>
#include <functional>
#include <optional>
#include <string>

#include "support/ForeignWorld.h"
#include "support/Frames.h"
#include "support/LibraryTest.h"

namespace {

using pftest::BlendingAt;
using pftest::Frame;
using pftest::Host;
using pftest::InterruptPolls;
using pftest::Texture;
using Vectors = boost::shared_ptr<PF_TavrosCache_Stuff>;

constexpr char kAllocFailed[] = "Frame Blending - Failed to allocate memory.\n";
constexpr char kEngineMemory[] = "Out of memory in Tavros optical flow library.\n";
constexpr char kMiscFailure[] = "Frame Blending - Non-specific error.\n";

// Every failure leaves the destination alone.
class FrameBlendingFailures : public pftest::LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    for (auto* frame : {&previous, &next, &out}) frame->emplace(8, 40, 34);
    previous->Paint([](int x, int y) { return Texture(x, y); });
    next->Paint([](int x, int y) { return Texture(x - 4, y + 2); });
    live_before_ = Host().live_allocations;
  }

  void TearDown() override {
    for (auto* frame : {&previous, &next, &out}) frame->reset();
    LibraryTest::TearDown();
  }

  PF_Err Render(PF_AdvancedFrameBlending blending = BlendingAt(0.5f)) {
    return blending.Render(previous->world(), next->world(), out->world());
  }
  bool Untouched() const {
    const auto pixels = out->Pixels();
    return std::all_of(pixels.begin(), pixels.end(), [](std::byte b) { return b == std::byte{0xA5}; });
  }
  // What the calls have left behind, once the cache is empty.
  std::int64_t Left() const {
    Host().filed.clear();
    PF_FreeUpSomeMemory();
    return Host().live_allocations - live_before_;
  }

  std::optional<Frame> previous, next, out;

 private:
  std::int64_t live_before_ = 0;
};

TEST_F(FrameBlendingFailures, ParametersAreCheckedBeforeWorldsAndWorldsOnce) {
  const auto expect = [&](PF_Err code, std::size_t reports, PF_Err got, const char* what) {
    EXPECT_EQ(got, code) << what;
    EXPECT_EQ(Host().reports.size(), reports) << what << ": " << Host().ReportTexts();
    EXPECT_TRUE(Untouched()) << what;
    Host().reports.clear();
  };
  PF_AdvancedFrameBlending blending = BlendingAt(0.5f);
  Vectors found;
  PF_TavrosCache_Stuff vectors;
  blending.algoParams.count = 0;
  expect(514, 0, blending.Render(nullptr, nullptr, nullptr), "parameters first");
  expect(514, 0, blending.FindVectors(nullptr, nullptr, &found), "parameters first");
  expect(514, 0, calcTavrosOpticalFlowParamsNoIpl(blending.algoParams, nullptr, {nullptr, nullptr, &vectors}),
         "parameters first");

  blending = BlendingAt(0.5f);
  const Frame narrow(8, 39, 34), low(8, 40, 33), deep(16, 40, 34);
  const pftest::ForeignWorld empty(8);
  const PF_World* const wrong[] = {nullptr, &empty, narrow.world(), low.world(), deep.world()};
  for (const PF_World* w : wrong) {
    SCOPED_TRACE(w == nullptr ? "null" : std::to_string(w->width) + " x " + std::to_string(w->height));
    auto* writable = const_cast<PF_World*>(w);
    for (const float time : {0.5f, 0.0f}) {
      blending.otherParams.numbers[0] = time;
      expect(516, 1, blending.Render(w, next->world(), out->world()), "previous");
      expect(516, 1, blending.Render(previous->world(), w, out->world()), "next");
      expect(516, 1, blending.Render(previous->world(), next->world(), writable), "destination");
    }
    expect(516, 1, blending.FindVectors(w, next->world(), &found), "previous");
    expect(516, 1, blending.FindVectors(previous->world(), w, &found), "next");
    expect(516, 1, calcTavrosOpticalFlowParamsNoIpl(blending.algoParams, nullptr, {previous->world(), w, &vectors}),
           "next");
  }
  // Alike, but of a depth that there is not.
  pftest::ForeignWorld odd(24);
  odd.data = out->world()->data, odd.width = 40, odd.height = 34, odd.row_bytes = out->world()->row_bytes;
  for (const float time : {0.5f, 0.0f}) {
    blending.otherParams.numbers[0] = time;
    expect(516, 1, blending.Render(&odd, &odd, &odd), "depth 24");
  }
  expect(516, 1, blending.FindVectors(&odd, &odd, &found), "depth 24");
  EXPECT_EQ(found, nullptr);
  EXPECT_TRUE(vectors.Empty());
  const PF_Tavros_Images images = {previous->world(), next->world(), &vectors};
  expect(516, 1,
         calcTavrosOpticalFlowParamsNoIpl(blending.algoParams, nullptr, {previous->world(), next->world(), nullptr}),
         "nowhere to put it");
  expect(0, 0, calcTavrosOpticalFlowParamsNoIpl(blending.algoParams, nullptr, images), "all is well");
  expect(516, 1, calcTavrosOpticalFlowParamsNoIpl(blending.algoParams, nullptr, images), "vectors that are not empty");
  EXPECT_TRUE(Host().filed.empty());
}

TEST_F(FrameBlendingFailures, ServicesThatFailAreToldOnce) {
  for (const char* service : {"MC_Find", "MC_File"}) {
    Host().answers = {{service, 5}};
    EXPECT_EQ(Render(), 3) << service;
    EXPECT_EQ(Host().ReportTexts(), kMiscFailure) << service;
    Host().reports.clear();
    Host().answers = {{service, 4}};
    EXPECT_EQ(Render(), 4) << service;
    EXPECT_EQ(Host().ReportTexts(), kAllocFailed) << service;
    Host().reports.clear();
    EXPECT_TRUE(Untouched()) << service;
  }
  Host().answers.clear();
  Host().no_basic_suite = true;
  EXPECT_EQ(Render(), 3);
  EXPECT_EQ(Host().ReportTexts(), "Missing suite in Tavros-related code.\n");
  EXPECT_TRUE(Untouched());
  EXPECT_EQ(Left(), 0);
}

// Calls until memory suffices, one allocation more each time. Returns how often it failed.
template <class Call>
std::int64_t FailEveryAllocation(const std::string& text, const Call& call) {
  for (const bool all_later : {true, false}) {
    for (std::int64_t n = 0;; ++n) {
      Host().Reset();
      Host().fail_allocation = n;
      Host().fail_all_later_allocations = all_later;
      const PF_Err code = call();
      if (code == 0 && !all_later) return n;
      if (code == 0) break;
      EXPECT_EQ(code, 4) << n;
      EXPECT_EQ(Host().ReportTexts(), text) << n;
    }
  }
  return 0;
}

TEST_F(FrameBlendingFailures, ShortMemoryIsToldOnceAndLeavesNothing) {
  Frame a(8, 300, 220), b(8, 300, 220);  // more than one block of scratch memory
  a.Paint([](int x, int y) { return Texture(x, y); });
  b.Paint([](int x, int y) { return Texture(x - 4, y + 2); });
  Frame expected(8, 300, 220), large(8, 300, 220);
  Frame fresh(8, 300, 220);
  const auto grey = [](int, int) { return pftest::Colour{1, 0.5, 0.5, 0.5}; };
  fresh.Paint(grey);
  ASSERT_EQ(BlendingAt(0.5f).Render(a.world(), b.world(), expected.world()), 0);
  const std::int64_t before = Left();
  const auto is_clean = [&] { EXPECT_EQ(Left(), before); };
  const std::int64_t failures = FailEveryAllocation(kAllocFailed, [&] {
    large.Paint(grey);
    const PF_Err code = BlendingAt(0.5f).Render(a.world(), b.world(), large.world());
    EXPECT_EQ(large.SamePixels(fresh), code != 0);
    is_clean();
    return code;
  });
  EXPECT_GE(failures, 3);
  EXPECT_EQ(large.FirstDifference(expected), "") << "an earlier failure changes nothing";
  FailEveryAllocation(kAllocFailed, [&] {
    Vectors found;
    const PF_Err code = BlendingAt(0.5f).FindVectors(a.world(), b.world(), &found);
    EXPECT_EQ(found != nullptr, code == 0);
    EXPECT_EQ(Host().filed.size(), code == 0 ? 1u : 0u);
    found.reset();
    is_clean();
    return code;
  });
  FailEveryAllocation(kEngineMemory, [&] {
    auto vectors = std::make_unique<PF_TavrosCache_Stuff>();
    const PF_Err code =
        calcTavrosOpticalFlowParamsNoIpl(BlendingAt(0.5f).algoParams, nullptr, {a.world(), b.world(), vectors.get()});
    EXPECT_EQ(vectors->Empty(), code != 0);
    vectors.reset();
    is_clean();
    return code;
  });
}

TEST_F(FrameBlendingFailures, AStopAtAnyPollEndsTheWork) {
  using Call = std::function<PF_Err(const PF_Tavros_InterruptFuncs&)>;
  std::optional<PF_TavrosCache_Stuff> vectors(std::in_place);
  Vectors found;
  const std::pair<const char*, Call> calls[] = {
      {"vectors",
       [&](const auto& interrupt) {
         return BlendingAt(0.5f, interrupt).FindVectors(previous->world(), next->world(), &found);
       }},
      {"engine",
       [&](const auto& interrupt) {
         return calcTavrosOpticalFlowParamsNoIpl(BlendingAt(0.5f).algoParams, &interrupt,
                                                 {previous->world(), next->world(), &*vectors});
       }},
      {"picture", [&](const auto& interrupt) { return Render(BlendingAt(0.5f, interrupt)); }}};
  for (const auto& [name, call] : calls) {
    PF_Err code = 517;
    int k = 0;
    for (; code == 517; ++k) {
      Host().filed.clear();
      InterruptPolls polls;
      polls.stop_at = k;
      code = call(polls.Functions());
      if (code == 0) break;
      ASSERT_EQ(code, 517) << name << ", poll " << k;
      ASSERT_EQ(polls.asked, k + 1) << name << ": nothing is asked after the answer";
      ASSERT_TRUE(Host().reports.empty()) << name << ": " << Host().ReportTexts();
      ASSERT_TRUE(Untouched()) << name << ", poll " << k;
      ASSERT_TRUE(found == nullptr && vectors->Empty()) << name << ", poll " << k;
      ASSERT_TRUE(Host().filed.empty()) << name << ", poll " << k;
      ASSERT_EQ(Left(), 0) << name << ", poll " << k;
    }
    EXPECT_EQ(code, 0) << name;
    EXPECT_GE(k, 20) << name;
    found.reset();
    vectors.emplace();
  }
  EXPECT_FALSE(Untouched());
}

// A long round without a question would show as too few of them.
TEST_F(FrameBlendingFailures, EveryBandOfEveryRoundAsks) {
  Frame a(8, 60, 260), b(8, 60, 260);
  a.Paint([](int x, int y) { return Texture(x, y); });
  b.Paint([](int x, int y) { return Texture(x - 4, y + 2); });
  const auto asked = [&](std::int16_t count) {
    InterruptPolls polls;
    PF_AdvancedFrameBlending blending = BlendingAt(0.5f, polls.Functions());
    blending.algoParams.count = count;
    Vectors found;
    EXPECT_EQ(blending.FindVectors(a.world(), b.world(), &found), 0);
    return polls.asked;
  };
  // Half size and quarter size: 130 and 65 rows, in bands of 64 at most, in both directions.
  EXPECT_GE(asked(6) - asked(1), 5 * 2 * (3 + 2));
}

// A host may make frames while it is asked.
TEST_F(FrameBlendingFailures, AskingMayNeedTheSameMotion) {
  struct Nested {
    const PF_World *previous, *next;
    Frame made{8, 40, 34};
    int asked = 0;
  } nested{previous->world(), next->world()};
  const std::int64_t before = Left();
  const PF_Tavros_InterruptFuncs functions = {
      [](void* data) -> std::int32_t {
        auto& self = *static_cast<Nested*>(data);
        if (++self.asked % 10 == 0) {
          EXPECT_EQ(BlendingAt(0.5f).Render(self.previous, self.next, self.made.world()), 0);
        }
        return 0;
      },
      &nested};
  EXPECT_EQ(Render(BlendingAt(0.5f, functions)), 0);
  EXPECT_GE(nested.asked, 20);
  EXPECT_EQ(out->FirstDifference(nested.made), "");
  EXPECT_EQ(Left(), before);
}

}  // namespace
