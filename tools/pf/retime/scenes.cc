#include "retime/scenes.h"

#include <algorithm>

namespace pftool {
namespace {

// Photographed scenes at video rates stay below 0.3 from frame to frame, unrelated ones are above 0.8.
constexpr double kLeastOfCut = 0.4, kLeastAtEnd = 0.6, kTimesUsual = 2, kFlashPart = 0.5;
constexpr std::size_t kMeasurementsKept = 64;

}  // namespace

bool Scenes::Missing(std::int64_t frame) {
  if (!skip_repeats_ || !notes_.has(frame) || !notes_.repeats(frame)) return false;
  std::int64_t first = frame, last = frame;
  while (first > 0 && notes_.repeats(first - 1) && last - first < kLongestRun) --first;
  while (notes_.has(last + 1) && notes_.repeats(last + 1) && last - first < kLongestRun) ++last;
  return last - first < kLongestRun && notes_.has(last + 1);
}

std::optional<FramePair> Scenes::Around(std::int64_t frame) {
  FramePair pair = {frame, frame + 1};
  while (Missing(pair.previous)) --pair.previous;
  while (Missing(pair.next)) ++pair.next;
  if (!notes_.has(pair.next)) return std::nullopt;
  return pair;
}

double Scenes::StrangenessOf(const FramePair& pair) {
  const auto found = measured_.find({pair.previous, pair.next});
  if (found != measured_.end()) return found->second;
  if (measured_.size() > kMeasurementsKept) measured_.erase(measured_.begin());
  const double value = Strangeness(notes_.signature(pair.previous), notes_.signature(pair.next));
  measured_[{pair.previous, pair.next}] = value;
  return value;
}

// The nearest frame before that shows something else, no further than `limit`.
std::optional<std::int64_t> Scenes::Before(std::int64_t frame, std::int64_t limit) {
  while (frame > limit && frame > 0 && notes_.repeats(frame)) --frame;
  return frame > limit && frame > 0 ? std::optional(frame - 1) : std::nullopt;
}

std::optional<std::int64_t> Scenes::Behind(std::int64_t frame, std::int64_t limit) {
  do {
    ++frame;
  } while (frame <= limit && notes_.has(frame) && notes_.repeats(frame));
  return frame <= limit && notes_.has(frame) ? std::optional(frame) : std::nullopt;
}

// What is beside a pair on each side.
Scenes::Beside Scenes::BesideOf(const FramePair& pair) {
  Beside beside;
  const auto take = [](std::optional<Range>* side, double value) {
    *side = *side ? Range{std::min((*side)->low, value), std::max((*side)->high, value)} : Range{value, value};
  };
  std::optional<std::int64_t> frame = pair.previous;
  for (int i = 0; i < 2 && frame; ++i) {
    const auto other = Before(*frame, pair.previous - kReach);
    if (other) take(&beside.before, StrangenessOf({*other, *frame}));
    frame = other;
  }
  frame = pair.next;
  for (int i = 0; i < 2 && frame; ++i) {
    const auto other = Behind(*frame, pair.next + kReach);
    if (other) take(&beside.behind, StrangenessOf({*frame, *other}));
    frame = other;
  }
  return beside;
}

bool Scenes::IsFlash(const FramePair& pair) {
  const double limit = kFlashPart * StrangenessOf(pair);
  // Flashes last one frame or two; the frame at either side of the pair may be the bright one.
  std::optional<std::int64_t> frame = pair.next;
  for (int i = 0; i < 2 && frame; ++i) {
    frame = Behind(*frame, pair.next + kReach);
    if (frame && StrangenessOf({pair.previous, *frame}) < limit) return true;
  }
  frame = pair.previous;
  for (int i = 0; i < 2 && frame; ++i) {
    frame = Before(*frame, pair.previous - kReach);
    if (frame && StrangenessOf({*frame, pair.next}) < limit) return true;
  }
  return false;
}

bool Scenes::IsCut(const FramePair& pair) {
  const double strangeness = StrangenessOf(pair);
  if (strangeness < kLeastOfCut) return false;
  const Beside beside = BesideOf(pair);
  if (beside.before && beside.behind) {
    return strangeness >= kTimesUsual * std::max(beside.before->low, beside.behind->low) && !IsFlash(pair);
  }
  if (strangeness < kLeastAtEnd) return false;
  if (!beside.before && !beside.behind) return true;
  const Range& side = beside.before ? *beside.before : *beside.behind;
  return strangeness >= kTimesUsual * side.high && !IsFlash(pair);
}

}  // namespace pftool
