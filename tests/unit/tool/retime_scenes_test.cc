// After cuts that are overlooked, and motion, flashes, noise and repeats that are taken for cuts.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "engine.h"
#include "retime/scenes.h"
#include "world.h"

namespace {

using pftool::FramePair;
using pftool::Scenes;
using pftool::Signature;
using pftool::WorldPtr;

constexpr int kWidth = 320, kHeight = 180;

/// An endless picture: coloured blobs of many sizes, another one for each seed.
class Scenery {
 public:
  explicit Scenery(unsigned seed) {
    std::mt19937 random(seed);
    for (auto& blob : blobs_) {
      for (double& value : blob) value = static_cast<double>(random()) / 4294967296.0;
    }
  }
  WorldPtr Frame(double x0, double y0, double gain = 1, double noise = 0, unsigned noise_seed = 0) const {
    std::mt19937 random(noise_seed + 1);
    WorldPtr world = pftool::NewWorld(kWidth, kHeight, 8, "a test picture");
    for (int y = 0; y < kHeight; ++y) {
      auto* row = reinterpret_cast<PF_Pixel8*>(static_cast<std::byte*>(world->data) + y * world->row_bytes);
      for (int x = 0; x < kWidth; ++x) {
        const auto value = [&](std::size_t channel) {
          const double grain = noise > 0 ? noise * (static_cast<double>(random()) / 2147483648.0 - 1) : 0;
          return static_cast<std::uint8_t>(std::clamp(255 * (gain * At(x + x0, y + y0, channel) + grain), 0.0, 255.0));
        };
        row[x].alpha = 255, row[x].red = value(0), row[x].green = value(1), row[x].blue = value(2);
      }
    }
    return world;
  }

 private:
  double At(double x, double y, std::size_t channel) const {
    double sum = 0.45;
    for (std::size_t i = 0; i < blobs_.size(); ++i) {
      const auto& blob = blobs_[i];
      const double scale = 12 + 60 * blob[0];
      sum += 0.12 * std::sin(x / scale * (blob[1] - 0.5) * 2 + y / scale * (blob[2] - 0.5) * 2 + blob[3] * 6.28 +
                             static_cast<double>(channel) * blob[4]);
    }
    return std::clamp(sum, 0.0, 1.0);
  }
  std::array<std::array<double, 5>, 16> blobs_;
};

class SceneTest : public testing::Test {
 protected:
  void Add(WorldPtr world) {
    signatures_.push_back(pftool::SignatureOf(*world));
    worlds_.push_back(std::move(world));
  }
  std::int64_t count() const { return static_cast<std::int64_t>(worlds_.size()); }
  const PF_World& At(std::int64_t frame) const { return *worlds_[static_cast<std::size_t>(frame)]; }
  Scenes NewScenes(bool skip) {
    return Scenes(
        {[this](std::int64_t frame) { return frame < count(); },
         [this](std::int64_t frame) { return frame > 0 && pftool::ShowsTheSame(At(frame - 1), At(frame)); },
         [this](std::int64_t frame) -> const Signature& { return signatures_[static_cast<std::size_t>(frame)]; }},
        skip);
  }
  /// First frames of the pairs with a cut.
  std::vector<std::int64_t> Cuts() {
    Scenes scenes = NewScenes(false);
    std::vector<std::int64_t> cuts;
    for (std::int64_t frame = 0; frame + 1 < count(); ++frame) {
      if (scenes.IsCut({frame, frame + 1})) cuts.push_back(frame);
    }
    return cuts;
  }
  void Clear() { worlds_.clear(), signatures_.clear(); }

  pftool::Engine engine_{1};
  Scenery a_{1}, b_{2};
  std::vector<WorldPtr> worlds_;
  std::vector<Signature> signatures_;
};

using Found = std::vector<std::int64_t>;

TEST_F(SceneTest, FindsCutsInStillMovingAndNoisyShots) {
  for (const double speed : {0.0, 4.0, 30.0}) {
    for (const double noise : {0.0, 0.15}) {
      for (int i = 0; i < 8; ++i) {
        const Scenery& scenery = i < 3 ? a_ : b_;
        Add(scenery.Frame(speed * i, 0, 1, noise, static_cast<unsigned>(i)));
      }
      EXPECT_EQ(Cuts(), (Found{2})) << speed << " " << noise;
      Clear();
    }
  }
  // A shot of a single frame has a cut on either side.
  for (int i = 0; i < 7; ++i) Add((i == 3 ? Scenery(3) : i < 3 ? a_ : b_).Frame(2 * i, 0));
  EXPECT_EQ(Cuts(), (Found{2, 3}));
}

TEST_F(SceneTest, TakesNoMotionFlashOrNoiseForACut) {
  for (int i = 0; i < 6; ++i) Add(a_.Frame(90 * i, 10 * i));  // more than a quarter of the width: all is new each time
  EXPECT_EQ(Cuts(), Found{}) << "whip pan";
  Clear();
  for (int i = 0; i < 8; ++i) Add(a_.Frame(i < 4 ? 0 : 70 * (i - 3), 0));
  EXPECT_EQ(Cuts(), Found{}) << "a pan that begins";
  Clear();
  for (const int length : {1, 2}) {
    for (int i = 0; i < 8; ++i) Add(a_.Frame(3 * i, 0, i >= 3 && i < 3 + length ? 4 : 1));
    EXPECT_EQ(Cuts(), Found{}) << "flash of " << length;
    Clear();
  }
  for (unsigned i = 0; i < 6; ++i) Add(a_.Frame(0, 0, 0.1, 0.5, i));
  EXPECT_EQ(Cuts(), Found{}) << "noise";
  Clear();
  for (int i = 0; i < 8; ++i) Add(a_.Frame(2 * i, 0, 1 - 0.125 * i));
  EXPECT_EQ(Cuts(), Found{}) << "fade to black";
}

TEST_F(SceneTest, DecidesForTwoPicturesAlone) {
  Add(a_.Frame(0, 0));
  Add(a_.Frame(40, 10));
  EXPECT_EQ(Cuts(), Found{});
  Clear();
  Add(a_.Frame(0, 0));
  Add(b_.Frame(0, 0));
  EXPECT_EQ(Cuts(), Found{0});
}

TEST_F(SceneTest, StepsOverRepeats) {
  // Every second frame repeats: motion beside frames without motion is no cut, and cuts are still found.
  for (int i = 0; i < 12; ++i) Add((i < 6 ? a_ : b_).Frame(60 * (i / 2), 0));
  EXPECT_EQ(Cuts(), (Found{5}));
  Scenes scenes = NewScenes(true);
  for (std::int64_t frame = 0; frame < 11; ++frame) EXPECT_EQ(scenes.Missing(frame), frame % 2 == 1) << frame;
  EXPECT_FALSE(scenes.Missing(11)) << "nothing follows";
  const auto pair = scenes.Around(3);
  ASSERT_TRUE(pair);
  EXPECT_EQ(pair->previous, 2);
  EXPECT_EQ(pair->next, 4);
  EXPECT_FALSE(NewScenes(false).Missing(1));
}

TEST_F(SceneTest, KeepsStillsAndTellsRepeatsFromSmallMotion) {
  Add(a_.Frame(0, 0));
  for (int i = 0; i < 5; ++i) Add(a_.Frame(9, 0));
  Add(a_.Frame(18, 0));
  Scenes scenes = NewScenes(true);
  for (std::int64_t frame = 0; frame < count(); ++frame) EXPECT_FALSE(scenes.Missing(frame)) << frame;

  const WorldPtr still = a_.Frame(0, 0);
  EXPECT_TRUE(pftool::ShowsTheSame(*still, *a_.Frame(0, 0)));
  const auto touched = [&](int extent, int step, int every) {
    WorldPtr world = a_.Frame(0, 0);
    for (int y = 0; y < extent; y += every) {
      auto* row = reinterpret_cast<PF_Pixel8*>(static_cast<std::byte*>(world->data) + y * world->row_bytes);
      for (int x = 0; x < extent; x += every) row[x].green = static_cast<std::uint8_t>(row[x].green ^ step);
    }
    return world;
  };
  EXPECT_TRUE(pftool::ShowsTheSame(*still, *touched(180, 1, 2))) << "coding noise";
  EXPECT_FALSE(pftool::ShowsTheSame(*still, *touched(5, 128, 1))) << "something small moves";
  EXPECT_FALSE(pftool::ShowsTheSame(*still, *touched(180, 4, 1))) << "all changes a little";
}

}  // namespace
