/// \file
/// The run over output frames: which source frames each is made from, and what happens at cuts and repeats.
#ifndef TOOLS_PF_RETIME_RETIMER_H
#define TOOLS_PF_RETIME_RETIMER_H

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "retime/flow.h"
#include "retime/motion_picture.h"
#include "retime/scenes.h"
#include "retime/timeline.h"
#include "retime/writer.h"

namespace pftool {

enum class AtCuts { kCut, kFade, kIgnore };

struct RetimePlan {
  Timeline timeline;
  AtCuts at_cuts = AtCuts::kCut;
  bool skip_repeats = false;
  std::string settings;  ///< everything that results depend on besides the frames
  bool resume = false;
  std::optional<OutputNames> vectors;  ///< where motion is written
  bool overwrite = false;
};

/// Makes all output frames, or only the motion of all pairs where there is no writer.
class Retimer {
 public:
  Retimer(RetimePlan plan, Footage* footage, const Flow* flow, FrameWriter* writer, Reporter* reporter);
  void Run();
  /// What was made and found: "frames", "cuts", "repeated", and counts.
  nlohmann::json Result() const;

 private:
  enum class How { kCopied, kMade, kHeldAtCut, kFaded, kThere };
  bool Reaches(std::int64_t index, const Moment& moment);
  void Make(std::int64_t index, const Moment& moment);
  void MakeBetween(std::int64_t index, const Moment& moment, const FramePair& pair);
  void Copy(std::int64_t index, std::int64_t source, How how, const nlohmann::json& more);
  void LookAt(std::int64_t frame, std::int64_t keep_from);
  bool FindCut(const FramePair& pair, const std::string& what_happens);
  void WriteVectors(const FramePair& pair);
  void RunVectors();
  std::string MadeFrom(const Moment& moment);
  void Enter(std::int64_t index, How how, nlohmann::json more);
  void NoteRepeats();

  RetimePlan plan_;
  Footage* footage_;
  const Flow* flow_;
  FrameWriter* writer_;
  Reporter* reporter_;
  Scenes scenes_;
  std::int64_t seen_ = -1;        ///< the last source frame that was looked at
  std::int64_t vectors_of_ = -1;  ///< the pair whose motion was written last
  std::map<std::int64_t, std::string> hashes_;
  nlohmann::json frames_ = nlohmann::json::array(), cuts_ = nlohmann::json::array();
  std::vector<std::string> repeated_;
  std::map<How, std::int64_t> counts_;
};

}  // namespace pftool

#endif
