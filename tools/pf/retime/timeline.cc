#include "retime/timeline.h"

#include <fmt/format.h>

#include "failure.h"

namespace pftool {
namespace {

constexpr const char* kRates = "write it like 24:60 or 24000/1001:25";
constexpr const char* kSpeeds = "write a number above 0, like 0.5 for half the speed or 1/3";
constexpr const char* kTimes = "write a number from 0 to 1, like 0.5 or 1/3";

Fraction Positive(const std::string& option, const std::string& text, const char* example) {
  const Fraction value = ParseFraction(option, text, example);
  if (value.numerator == 0) throw UsageFailure("cannot use " + option, "'" + text + "'", "it is not above 0", example);
  return value;
}

Fraction ParseRates(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) {
    throw UsageFailure("cannot use --fps", "'" + text + "'", "it has no colon between the old and the new rate",
                       kRates);
  }
  return Positive("--fps", text.substr(0, colon), kRates) / Positive("--fps", text.substr(colon + 1), kRates);
}

}  // namespace

Moment Timeline::Of(std::int64_t index) const {
  if (at) return at->numerator == at->denominator ? Moment{index + 1, {}} : Moment{index, *at};
  const std::int64_t time = index * step.numerator;
  return {time / step.denominator, MakeFraction(time % step.denominator, step.denominator)};
}

std::int64_t Timeline::Count(std::int64_t sources) const {
  if (at) return sources - 1;
  if (hold_last) return (sources * step.denominator + step.numerator - 1) / step.numerator;
  return (sources - 1) * step.denominator / step.numerator + 1;
}

Timeline ParseTimeline(const std::string& fps, const std::string& speed, const std::string& at, bool hold_last) {
  if (fps.empty() && speed.empty() && at.empty()) {
    throw UsageFailure("cannot retime", "", "no times were given",
                       "give --fps FROM:TO, --speed S, or --at T for one frame between two");
  }
  Timeline timeline;
  timeline.hold_last = hold_last;
  if (!at.empty()) {
    if (!fps.empty() || !speed.empty() || hold_last) {
      throw UsageFailure("cannot use --at", "'" + at + "'",
                         fmt::format("it is given together with {}", !fps.empty()     ? "--fps"
                                                                     : !speed.empty() ? "--speed"
                                                                                      : "--hold-last"),
                         "give one of them");
    }
    timeline.at = ParseFraction("--at", at, kTimes);
    if (timeline.at->numerator > timeline.at->denominator) {
      throw UsageFailure("cannot use --at", "'" + at + "'", "it is above 1", kTimes);
    }
    return timeline;
  }
  if (!fps.empty()) timeline.step = ParseRates(fps);
  if (!speed.empty()) timeline.step = timeline.step * Positive("--speed", speed, kSpeeds);
  return timeline;
}

}  // namespace pftool
