/// \file
/// The transfer modes under the names that the command line knows them by.
#ifndef TOOLS_PF_MODES_H
#define TOOLS_PF_MODES_H

#include <cstdint>
#include <string>
#include <vector>

namespace pftool {

/// One mode of the compositor.
struct ModeText {
  std::int32_t number;
  const char* name;     ///< on the command line
  const char* formula;  ///< s source, d destination, b d on the neutral background
};

/// All modes of the compositor, in the order of their numbers.
const std::vector<ModeText>& ModeTexts();
/// The row of a number. \throws Failure (64) for what is not a mode.
const ModeText& ModeOf(std::int32_t number);
/// A mode by name or number. \throws Failure (64) for anything else, naming what comes closest.
const ModeText& ParseMode(const std::string& text);

/// Whether the mode takes both pictures premultiplied, or the source alone.
inline bool TakesPremultiplied(std::int32_t mode) { return mode < 0; }
inline bool TakesPremultipliedSource(std::int32_t mode) { return mode < 0 || mode == 21; }
/// Whether an opaque destination may become transparent.
inline bool MayUncover(std::int32_t mode) {
  return mode == -2 || mode == 0 || (mode >= 17 && mode <= 20) || mode == 40;
}

}  // namespace pftool

#endif
