/// \file
/// Which time of the source each output frame shows. Times are counted in source frames from the first one, exactly.
#ifndef TOOLS_PF_RETIME_TIMELINE_H
#define TOOLS_PF_RETIME_TIMELINE_H

#include <cstdint>
#include <optional>
#include <string>

#include "retime/fraction.h"

namespace pftool {

/// A time: so much after a source frame.
struct Moment {
  std::int64_t frame = 0;
  Fraction rest;  ///< below 1; 0 is the frame itself
};

/// How output frames follow one another.
struct Timeline {
  Fraction step = {1, 1};      ///< source frames from one output frame to the next, above 0
  std::optional<Fraction> at;  ///< instead: one output frame in each pair, at this time of 0..1 in it
  bool hold_last = false;      ///< show the last source frame for as long as every other

  /// The time of output frame `index`, from 0 on.
  Moment Of(std::int64_t index) const;
  /// Output frames from `sources` source frames, at least two.
  std::int64_t Count(std::int64_t sources) const;
  /// Whether output frame `index` is one of them.
  bool Has(std::int64_t index, std::int64_t sources) const { return index < Count(sources); }
};

/// Texts of --fps ("24:60"), --speed and --at, empty where they were not given. \throws Failure (64) for what is not
/// understood, for rates of 0, for times outside 0..1, and for options that exclude one another or are missing.
Timeline ParseTimeline(const std::string& fps, const std::string& speed, const std::string& at, bool hold_last);

}  // namespace pftool

#endif
