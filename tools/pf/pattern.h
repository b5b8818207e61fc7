/// \file
/// Names of frame sequences and lists of frames.
#ifndef TOOLS_PF_PATTERN_H
#define TOOLS_PF_PATTERN_H

#include <optional>
#include <string>
#include <vector>

namespace pftool {

/// A file name with a place for the frame number: "shot.%04d.exr", "shot.%d.exr" or "shot.####.exr".
struct NamePattern {
  std::string head;  ///< before the number, folder included
  std::string tail;  ///< behind the number
  int digits = 0;    ///< the number is filled with zeros to at least this many digits

  std::string Name(int frame) const;
};

/// Reads a name. Only the last part of the path can hold the place; "%%" stands for one percent sign.
/// \return nothing for a plain name, which `plain` (may be null) then receives with "%%" resolved.
/// \throws Failure (64), naming the character, for anything else behind a "%" and for a second place.
std::optional<NamePattern> ParsePattern(const std::string& name, std::string* plain);

/// Largest frame number and the most frames that one run may have.
enum : int { kMaxFrame = 99999999, kMaxFrames = 1000000 };

/// Reads a list of frames such as "1-100x2,150": single numbers, ranges, and ranges with a step, in the
/// order given. \throws Failure (64), naming the character that is not understood, for a range that ends
/// before it starts, a step of 0, a frame named twice, or too many frames.
std::vector<int> ParseFrames(const std::string& text);

/// The frames whose files exist, rising.
std::vector<int> FindFrames(const NamePattern& pattern);

}  // namespace pftool

#endif
