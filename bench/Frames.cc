#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <ostream>
#include <stdexcept>

#include "Frames.h"
#include "Host.h"
#include "OwnFrames.h"
#include "Scenes.h"
#include "peers/FramePeers.h"

namespace pfbench {

std::vector<FramePeer>& FramePeers() {
  static std::vector<FramePeer> peers;
  return peers;
}

namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();
constexpr const char* kFootage[] = {"bunny_grass_1080p", "sign_hand", "studio_walk", "syn_flower"};
constexpr const char* kKnownPeers[] = {"minterpolate", "DIS medium", "DIS full size"};
constexpr int kWallRounds = 3;

std::string DataFolder() {
  const char* const folder = std::getenv("PF_TEST_DATA");
  if (folder == nullptr) throw std::runtime_error("PF_TEST_DATA does not name the folder of the test pictures");
  return folder;
}

bool Wanted(const FrameOptions& options, const std::string& name) {
  const auto matches = [&](const std::string& text) { return name.find(text) != std::string::npos; };
  return options.filters.empty() || std::ranges::any_of(options.filters, matches);
}

Image Average(const Triplet& triplet) {
  Image average = triplet.previous;
  for (std::size_t i = 0; i < average.rgb.size(); ++i) average.rgb[i] = (average.rgb[i] + triplet.next.rgb[i]) * 0.5f;
  return average;
}

// Ours, the truth, and the error four times as large around grey.
void Save(const std::string& folder, const Triplet& triplet, const Image& own) {
  const Image seen = AsSeen(own), truth = AsSeen(triplet.middle);
  Image error = seen;
  for (std::size_t i = 0; i < error.rgb.size(); ++i) error.rgb[i] = 128 + 4 * (seen.rgb[i] - truth.rgb[i]);
  std::string name = triplet.name;
  std::ranges::replace(name, ' ', '_');
  std::filesystem::create_directories(folder);
  const std::string path = (std::filesystem::path(folder) / name).string();
  WriteImage(path + "_ours.png", seen);
  WriteImage(path + "_truth.png", truth);
  WriteImage(path + "_error.png", error);
}

FrameTimes TakeTimes(const Triplet& triplet, OwnFrames& own, const FramePeer* yardstick, const Pace& pace) {
  FrameTimes times = {};
  const auto first = [&] {
    {
      const Untimed forgetting;
      OwnFrames::ForgetMotion();
    }
    own.Make();
  };
  // The second function finds what the first one filed.
  std::vector<std::function<void()>> functions = {first, [&] { own.Make(); }};
  const auto peer = yardstick != nullptr ? yardstick->start(triplet) : nullptr;
  if (peer != nullptr) {
    functions.emplace_back([&] { peer->Estimate(); });
    functions.emplace_back([&] {
      peer->Estimate();
      peer->Make();
    });
  }
  const std::vector<double> seconds = TakeTurns(functions, pace, Clock::kProcessor);
  times.first = seconds[0];
  times.further = seconds[1];
  if (peer != nullptr) {
    times.yardstick = seconds[2];
    times.yardstick_made = seconds[3];
  }

  times.wall_one = times.wall_two = std::numeric_limits<double>::infinity();
  Pace short_pace = pace;
  short_pace.repetitions = std::max(2, pace.repetitions / kWallRounds);
  for (int round = 0; round < kWallRounds; ++round) {
    for (const int threads : {2, 1}) {
      UseThreads(threads);
      double& best = threads == 1 ? times.wall_one : times.wall_two;
      best = std::min(best, TakeTurns({first}, short_pace)[0]);
    }
  }
  return times;
}

class Measurement {
 public:
  explicit Measurement(const FrameOptions& options) : options_(options) {
    results_.peers = {"average"};
    results_.remarks = {"the mean of the two frames"};
    results_.yardstick = -1;
    for (const char* name : kKnownPeers) {
      const auto found = std::ranges::find(FramePeers(), name, &FramePeer::name);
      const std::string version = found == FramePeers().end() ? "" : found->version();
      if (version.empty()) {
        results_.missing.emplace_back(name);
        continue;
      }
      peers_.push_back(&*found);
      results_.peers.push_back(found->name);
      results_.remarks.push_back(found->remark + "; version " + version);
      if (found->yardstick) results_.yardstick = static_cast<int>(peers_.size());
    }
  }

  void Add(const Triplet& triplet, bool drawn) {
    UseThreads(1);
    OwnFrames own(triplet);
    own.Make();
    const Image result = own.Result();
    if (!options_.save.empty()) Save(options_.save, triplet, result);
    FrameRow row = {triplet.name, triplet.middle.size, drawn, {}, {}, {}};
    row.own = {Compare(result, triplet.middle), own.VectorError(triplet)};
    row.peers.push_back({Compare(Average(triplet), triplet.middle), kUnknown});
    for (const FramePeer* peer : peers_) row.peers.push_back(Ask(*peer, triplet, drawn));
    if (!drawn) {
      const FramePeer* const yardstick =
          results_.yardstick < 0 ? nullptr : peers_[static_cast<std::size_t>(results_.yardstick - 1)];
      row.times = TakeTimes(triplet, own, yardstick, options_.pace);
    }
    results_.rows.push_back(std::move(row));
  }

  FrameResults Results() const { return results_; }

 private:
  static FrameQuality Ask(const FramePeer& peer, const Triplet& triplet, bool drawn) {
    if (drawn && !peer.has_motion) return {{kUnknown, kUnknown}, kUnknown};
    const auto maker = peer.start(triplet);
    maker->Estimate();
    maker->Make();
    const auto motion = [&](std::int32_t x, std::int32_t y) { return maker->Motion(x, y); };
    return {Compare(maker->Result(), triplet.middle), peer.has_motion ? EndPointError(triplet, motion) : kUnknown};
  }

  const FrameOptions& options_;
  std::vector<const FramePeer*> peers_;
  FrameResults results_;
};

}  // namespace

FrameResults MeasureFrames(const FrameOptions& options, std::ostream& progress) {
  const std::string folder = DataFolder();
  Measurement measurement(options);
  for (const char* name : kFootage) {
    if (!Wanted(options, name)) continue;
    progress << "frames: " << name << std::endl;
    measurement.Add(ReadTriplet(folder + "/frames/" + name), false);
  }
  for (const SceneMaker& maker : SceneMakers()) {
    if (!Wanted(options, maker.name)) continue;
    progress << "frames: " << maker.name << std::endl;
    measurement.Add(maker.make(maker.name, folder + "/photos").Draw(), true);
  }
  StopHost();
  FrameResults results = measurement.Results();
  if (results.rows.empty()) throw std::runtime_error("no frames have a name that contains that text");
  return results;
}

}  // namespace pfbench
