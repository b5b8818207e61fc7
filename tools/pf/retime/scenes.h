/// \file
/// Which two frames an in-between frame is made from, and whether there is a cut between them.
#ifndef TOOLS_PF_RETIME_SCENES_H
#define TOOLS_PF_RETIME_SCENES_H

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <utility>

#include "retime/likeness.h"

namespace pftool {

/// What is known of a row of frames, by number. `has` may read ahead; the others are asked for frames that exist.
struct FrameNotes {
  std::function<bool(std::int64_t)> has;
  std::function<bool(std::int64_t)> repeats;  ///< shows what the frame before it shows
  std::function<const Signature&(std::int64_t)> signature;
};

/// Two frames, `previous` below `next`.
struct FramePair {
  std::int64_t previous, next;
};

/// A pair is a cut when hardly anything of one frame is found in the other (Strangeness), and
///
/// - its strangeness is at least twice that of the pairs beside it: a fast pan shows much that is new in every
///   pair, a cut in one only. A pair counts as beside it when up to two frames lie between; repeated frames are
///   stepped over; on each side the more alike of two pairs counts, since shots may be as short as a frame, and of
///   both sides the less alike, since motion may begin there; and
/// - the frame behind it is not a flash: with a flash the frames before and behind it are alike.
///
/// At the ends of footage, where pairs lie on one side only, the stranger of them counts, and the pair itself must be
/// stranger; between two single pictures that alone decides.
class Scenes {
 public:
  /// \param skip_repeats whether frames that repeat the one before them count as missing
  Scenes(FrameNotes notes, bool skip_repeats) : notes_(std::move(notes)), skip_repeats_(skip_repeats) {}

  /// Whether a frame counts as missing: a repeat, in a run of at most kLongestRun repeats with another frame behind it.
  /// Longer ones are stills.
  bool Missing(std::int64_t frame);
  /// The frames around the time behind `frame`; nothing when there is none behind it.
  std::optional<FramePair> Around(std::int64_t frame);
  /// Whether there is a cut between two frames, and how strange they are to each other.
  bool IsCut(const FramePair& pair);
  double StrangenessOf(const FramePair& pair);

  static constexpr std::int64_t kLongestRun = 3;
  /// The furthest frame, counted from a pair, that anything here depends on.
  static constexpr std::int64_t kReach = 8;

 private:
  std::optional<std::int64_t> Before(std::int64_t frame, std::int64_t limit);
  std::optional<std::int64_t> Behind(std::int64_t frame, std::int64_t limit);
  /// The least and the most strange of up to two pairs.
  struct Range {
    double low, high;
  };
  struct Beside {
    std::optional<Range> before, behind;
  };
  Beside BesideOf(const FramePair& pair);
  bool IsFlash(const FramePair& pair);

  FrameNotes notes_;
  bool skip_repeats_;
  std::map<std::pair<std::int64_t, std::int64_t>, double> measured_;
};

}  // namespace pftool

#endif
