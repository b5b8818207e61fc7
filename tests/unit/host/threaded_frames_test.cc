// After: motion and pictures whose bits depend on how many threads make them or on the vector target, threads that
// compute the same motion twice, wait for ever or take another's failure for their own.
#include <atomic>
#include <chrono>
#include <thread>

#include "Support.h"
#include "host/MC.h"
#include "host/vexcore.h"
#include "support/Frames.h"

namespace {

using pftest::BlendingAt;
using pftest::Frame;
using pftest::InterruptPolls;
using pftest::Texture;
using Vectors = boost::shared_ptr<PF_TavrosCache_Stuff>;
using Pictures = std::vector<std::vector<std::byte>>;

// A texture that moves, a square before it that moves otherwise; alpha below.
struct Pair {
  Pair(std::int32_t depth, std::int32_t width, std::int32_t height, std::uint32_t seed = 1)
      : previous(depth, width, height), next(depth, width, height) {
    int time = 0;
    for (Frame* frame : {&previous, &next}) {
      frame->Paint([&](int x, int y) {
        const int left = 12 + 7 * time, top = 30 - 4 * time;
        const bool inside = x >= left && x < left + 20 && y >= top && y < top + 25;
        pftest::Colour c = inside ? Texture(x - left, y - top, seed + 20) : Texture(x + 3 * time, y, seed);
        if (y > height * 3 / 4) c[0] = 0.5;
        return c;
      });
      ++time;
    }
  }
  std::vector<std::byte> At(float time, std::int16_t mode = 2) const {
    Frame out(previous.depth(), previous.width(), previous.height());
    PF_AdvancedFrameBlending blending = BlendingAt(time);
    blending.algoParams.mode = mode;
    EXPECT_EQ(blending.Render(previous.world(), next.world(), out.world()), 0);
    return out.Pixels();
  }
  PF_Err Find(Vectors& found, const PF_Tavros_InterruptFuncs& interrupt = {}) const {
    return BlendingAt(0.5f, interrupt).FindVectors(previous.world(), next.world(), &found);
  }
  Frame previous, next;
};

std::vector<std::byte> MiddleOfWire() {
  Frame previous(8, 240, 150), next(8, 240, 150), out(8, 240, 150);
  previous.Paint([](int x, int y) { return pftest::WireAt(x, y, 0, 110, 30, 110); });
  next.Paint([](int x, int y) { return pftest::WireAt(x, y, 1, 110, 30, 110); });
  EXPECT_EQ(BlendingAt(0.5f).Render(previous.world(), next.world(), out.world()), 0);
  return out.Pixels();
}

// Several bands at half size; motion kept and not kept.
Pictures Results(std::int32_t threads, std::uint32_t disabled_features) {
  PFhost_Options options = {};
  options.threads = threads;
  options.disabled_cpu_features = disabled_features;
  EXPECT_EQ(PFhost_Start(&options), 0);
  Pictures pictures;
  for (const std::int32_t depth : {8, 16, 32}) {
    const Pair pair(depth, 61, depth == 8 ? 301 : 95);
    const std::int16_t mode = depth == 16 ? 1 : 2;
    pictures.push_back(pair.At(0.3f, mode));
    EXPECT_GT(PFhost_MediaCacheBytes(), 0u);
    EXPECT_EQ(pair.At(0.3f, mode), pictures.back()) << "from kept motion";
    PFhost_SetMediaCacheBudget(0);
    EXPECT_EQ(pair.At(0.3f, mode), pictures.back()) << "without a cache";
    PFhost_SetMediaCacheBudget(std::uint64_t{512} << 20);
  }
  pictures.push_back(MiddleOfWire());
  EXPECT_EQ(PFhost_Stop(), 0);
  return pictures;
}

TEST(ThreadedFrames, ThreadsAndVectorTargetsChangeNoBit) {
  const Pictures expected = Results(1, ~0u);
  for (const std::int32_t threads : {1, 2, 3, 7}) EXPECT_EQ(Results(threads, 0), expected) << threads << " threads";
  for (const std::uint32_t disabled : {std::uint32_t{U_CPU_AVX512 | U_CPU_AVX512_DL}, ~std::uint32_t{U_CPU_VECTOR}}) {
    EXPECT_EQ(Results(2, disabled), expected) << "without CPU features " << disabled;
  }
}

// Waits for another thread; false when that takes too long.
template <class F>
bool WaitFor(const F& holds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (!holds()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// Two threads that want one pair's motion: the first computes, and stays at its last question until the second has
// asked more often than computing takes, hence waits.
struct TwoThreads {
  explicit TwoThreads(bool first_is_stopped) : stopped(first_is_stopped) {
    InterruptPolls polls;
    Vectors unused;
    EXPECT_EQ(other.Find(unused, polls.Functions()), 0);
    questions = polls.asked;
  }
  void Run() {
    std::thread one([this] { codes[0] = pair.Find(found[0], {&First, this}); });
    std::thread two([this] {
      EXPECT_TRUE(WaitFor([&] { return asked[0] >= questions; }));
      codes[1] = pair.Find(found[1], {&Second, this});
    });
    one.join();
    two.join();
  }
  static std::int32_t First(void* data) {
    auto& self = *static_cast<TwoThreads*>(data);
    if (++self.asked[0] < self.questions) return 0;
    EXPECT_TRUE(WaitFor([&] { return self.asked[1] > self.questions; }));
    return self.stopped;
  }
  static std::int32_t Second(void* data) { return ++static_cast<TwoThreads*>(data)->asked[1] == 0; }

  const Pair pair{8, 40, 34}, other{8, 40, 34, 5};
  bool stopped;
  int questions = 0;
  std::atomic<int> asked[2] = {0, 0};
  PF_Err codes[2] = {-1, -1};
  Vectors found[2];
};

TEST(ThreadedFrames, OneComputesAndTheOtherWaits) {
  const pftest::RunningHost host(1);
  TwoThreads threads(false);
  threads.Run();
  EXPECT_EQ(threads.codes[0], 0);
  EXPECT_EQ(threads.codes[1], 0);
  EXPECT_EQ(threads.found[0], threads.found[1]);
  EXPECT_FALSE(threads.found[1]->Empty());
  EXPECT_LT(threads.asked[1], 2 * threads.questions) << "the second has computed it, too";
}

TEST(ThreadedFrames, WhoWaitsForOneThatIsStoppedComputesIt) {
  const pftest::RunningHost host(1);
  TwoThreads threads(true);
  threads.Run();
  EXPECT_EQ(threads.codes[0], 517);
  EXPECT_EQ(threads.codes[1], 0);
  EXPECT_EQ(threads.found[0], nullptr);
  ASSERT_NE(threads.found[1], nullptr);
  EXPECT_FALSE(threads.found[1]->Empty());
  EXPECT_EQ(PFhost_ReportCount(), 0);
  // It has been filed for those who come later, and told its size.
  Vectors later;
  EXPECT_EQ(threads.pair.Find(later), 0);
  EXPECT_EQ(later, threads.found[1]);
  EXPECT_GE(PFhost_MediaCacheBytes(), 2 * later->Bytes());
}

// Whoever waits is asked, too, and may give up.
TEST(ThreadedFrames, WaitingCanBeStopped) {
  const pftest::RunningHost host(1);
  const Pair pair(8, 40, 34);
  std::atomic<bool> given_up{false}, computing{false};
  struct Waiting {
    std::atomic<bool>&given_up, &computing;
    int asked = 0;
  } first{given_up, computing};
  Vectors found, nothing;
  std::thread computes([&] {
    EXPECT_EQ(pair.Find(found, {[](void* data) -> std::int32_t {
                                  auto& self = *static_cast<Waiting*>(data);
                                  if (++self.asked != 15) return 0;
                                  self.computing = true;
                                  EXPECT_TRUE(WaitFor([&] { return self.given_up.load(); }));
                                  return 0;
                                },
                                &first}),
              0);
  });
  EXPECT_TRUE(WaitFor([&] { return computing.load(); }));
  InterruptPolls polls;
  polls.stop_at = 60;
  EXPECT_EQ(pair.Find(nothing, polls.Functions()), 517);
  given_up = true;
  computes.join();
  EXPECT_EQ(nothing, nullptr);
  EXPECT_FALSE(found->Empty());
}

TEST(ThreadedFrames, OnlyTheCallerIsAskedAndMayStop) {
  struct Polls {
    std::uint64_t caller = vexcore::CurrentThreadIdentity();
    int asked = 0;
    static std::int32_t Stop(void* data) {
      auto& self = *static_cast<Polls*>(data);
      EXPECT_EQ(vexcore::CurrentThreadIdentity(), self.caller);
      return ++self.asked >= 9;
    }
  };
  for (const std::int32_t threads : {2, 7}) {
    const pftest::RunningHost host(threads);
    const Pair pair(8, 120, 260);
    Vectors found;
    Polls polls;
    // Should the other threads be quicker everywhere, the caller is asked less often.
    const PF_Err code = pair.Find(found, {&Polls::Stop, &polls});
    EXPECT_EQ(code, polls.asked < 9 ? 0 : 517);
    EXPECT_LE(code == 0 ? 0 : polls.asked, 9) << "nothing is asked after the answer";
    EXPECT_EQ(pair.Find(found), 0);
  }
}

TEST(ThreadedFrames, ManyFramesOfManyPairsInASmallCache) {
  const pftest::RunningHost host(3);
  std::vector<std::unique_ptr<Pair>> pairs;
  Pictures expected;
  for (std::uint32_t i = 0; i < 3; ++i) {
    pairs.push_back(std::make_unique<Pair>(8, 40, 34, 40 * i + 1));
    for (const float time : {0.25f, 0.5f}) expected.push_back(pairs.back()->At(time));
  }
  const std::uint64_t one_item = PFhost_MediaCacheBytes() / 3;
  PFhost_SetMediaCacheBudget(one_item * 2);
  std::vector<std::thread> threads;
  std::atomic<int> wrong{0};
  for (std::size_t t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (std::size_t i = 0; i < 12; ++i) {
        const std::size_t number = (i * 5 + t) % 6;
        wrong += pairs[number / 2]->At(number % 2 == 0 ? 0.25f : 0.5f) != expected[number];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_LE(PFhost_MediaCacheBytes(), 2 * one_item);
  PFhost_SetMediaCacheBudget(std::uint64_t{512} << 20);
}

}  // namespace
