#include "motion/ThinPlaces.h"

#include <cmath>

namespace pf {
namespace {

constexpr float kLeastContrast = 20;  // of what is thin against what surrounds it, of 255
constexpr float kStillThere = 0.65f;  // of that, where the background's motion leads
constexpr float kLargestChange = 12;  // of the background itself
constexpr std::int32_t kReach = 2;    // 2 kReach + 1 pixels are thin no more
constexpr std::int32_t kLeastLength = 24;
constexpr float kMostOfFrame = 0.06f;

// The least or largest of the 2 kReach + 1 values around, along one direction.
template <class Choose>
void ChooseAlong(const FloatPlane& in, const FloatPlane& out, bool rows, const Choose& choose) {
  for (std::int32_t y = 0; y < in.height; ++y) {
    float* to = out.Row(y);
    std::copy_n(in.Row(y), in.width, to);
    for (std::int32_t i = -kReach; i <= kReach; ++i) {
      const float* from = rows ? in.Row(y) + i : in.ClampedRow(y + i);
      for (std::int32_t x = 0; x < in.width; ++x) to[x] = choose(to[x], from[x]);
    }
    FinishRow(to, in.width, kReach);
  }
}

// Leaves out what is thin and darker, or lighter, than what is around.
template <class First, class Second>
void Close(const FloatPlane& in, const FloatPlane& work, const FloatPlane& out, const First& first,
           const Second& second) {
  ChooseAlong(in, work, true, first);
  ChooseAlong(work, out, false, first);
  ChooseAlong(out, work, true, second);
  ChooseAlong(work, out, false, second);
}

// Thin, not there nor beside where the background went, before a background that is there.
bool IsLost(const Parted& here, const Parted& there, const FlowPlanes& flow, std::int32_t x, std::int32_t y) {
  const float contrast = here.contrast.Row(y)[x];
  if (std::abs(contrast) < kLeastContrast) return false;
  const Around around = MotionAround(flow, x, y);
  const float to_x = static_cast<float>(x) + around.u, to_y = static_cast<float>(y) + around.v;
  if (std::abs(FetchAt(there.rest, to_x, to_y) - here.rest.Row(y)[x]) > kLargestChange) return false;
  const auto is_at = [&](float dx, float dy) {
    return FetchAt(there.contrast, to_x + dx, to_y + dy) / contrast > kStillThere;
  };
  return !(is_at(0, 0) || is_at(-1, 0) || is_at(1, 0) || is_at(0, -1) || is_at(0, 1));
}

}  // namespace

Parted NewParted(const FloatPlane& level, Workspace& workspace) {
  return {NewPlane(workspace, level.width, level.height), NewPlane(workspace, level.width, level.height)};
}

PF_Err Part(const FloatPlane& level, const Parted& parted, const FloatPlane& work, const FloatPlane& opened,
            const RowQuestions& questions) {
  const auto least = [](float a, float b) { return std::min(a, b); };
  const auto largest = [](float a, float b) { return std::max(a, b); };
  if (const PF_Err stop = questions.Before(0)) return stop;
  Close(level, work, parted.rest, largest, least);
  if (const PF_Err stop = questions.Before(0)) return stop;
  Close(level, work, opened, least, largest);
  for (std::int32_t y = 0; y < level.height; ++y) {
    const float *here = level.Row(y), *light = opened.Row(y);
    float *rest = parted.rest.Row(y), *contrast = parted.contrast.Row(y);
    for (std::int32_t x = 0; x < level.width; ++x) {
      const float dark = rest[x] - here[x], bright = here[x] - light[x];
      rest[x] = dark > bright ? rest[x] : light[x];
      contrast[x] = here[x] - rest[x];
    }
  }
  return PF_Err_NONE;
}

Around MotionAround(const FlowPlanes& flow, std::int32_t x, std::int32_t y) {
  constexpr std::int32_t kApart = 8;
  float u[9], v[9];
  int count = 0;
  for (std::int32_t j = -kApart; j <= kApart; j += kApart) {
    const std::int32_t row = std::clamp(y + j, 0, flow.u.height - 1);
    for (std::int32_t i = -kApart; i <= kApart; i += kApart) {
      const std::int32_t column = std::clamp(x + i, 0, flow.u.width - 1);
      u[count] = flow.u.Row(row)[column];
      v[count++] = flow.v.Row(row)[column];
    }
  }
  std::nth_element(u, u + 4, u + 9);
  std::nth_element(v, v + 4, v + 9);
  return {u[4], v[4]};
}

float FetchAt(const FloatPlane& plane, float x, float y) {
  const float inside_x = std::min(std::max(x, 0.0f), static_cast<float>(plane.width - 1));
  const float inside_y = std::min(std::max(y, 0.0f), static_cast<float>(plane.height - 1));
  const auto column = static_cast<std::int32_t>(inside_x), row = static_cast<std::int32_t>(inside_y);
  const float a = inside_x - static_cast<float>(column), b = inside_y - static_cast<float>(row);
  const std::int32_t right = std::min(column + 1, plane.width - 1);
  const float *upper = plane.Row(row), *lower = plane.ClampedRow(row + 1);
  const float top = upper[column] + (upper[right] - upper[column]) * a;
  const float bottom = lower[column] + (lower[right] - lower[column]) * a;
  return top + (bottom - top) * b;
}

Places::Places(const Parted& here, Workspace& workspace)
    : here_(here),
      most_(static_cast<std::int32_t>(kMostOfFrame * static_cast<float>(here.rest.width) *
                                      static_cast<float>(here.rest.height))),
      first_(workspace.Take<std::int32_t>(here.rest.height + 1)),
      x_(workspace.Take<std::int32_t>(std::int64_t{most_} + 1)),
      of_(workspace.Take<std::int32_t>(std::int64_t{most_} + 1)),
      keeps_(workspace.Take<bool>(std::int64_t{most_} + 1)),
      strand_(workspace.Take<Place>(std::int64_t{most_} + 1)) {}

PF_Err Places::Find(const Parted& there, const FlowPlanes& flow, const RowQuestions& questions) {
  count_ = 0;
  for (std::int32_t y = 0; y < here_.rest.height; ++y) {
    if (const PF_Err stop = questions.Before(y)) return stop;
    first_[y] = count_;
    for (std::int32_t x = 0; x < here_.rest.width; ++x) {
      if (!IsLost(here_, there, flow, x, y)) continue;
      if (count_ == most_) {
        count_ = 0;
        std::fill_n(first_, here_.rest.height + 1, 0);
        return PF_Err_NONE;
      }
      x_[count_++] = x;
    }
  }
  first_[here_.rest.height] = count_;
  return PF_Err_NONE;
}

void Places::DropSpecks() {
  Strands(*this).ForEach([&](const Strand& strand) {
    for (std::int32_t i = 0; i < strand.count; ++i) keeps_[strand.places[i].number] = strand.Length() >= kLeastLength;
    return PF_Err_NONE;
  });
  std::int32_t count = 0, begin = 0;
  for (std::int32_t y = 0; y < here_.rest.height; ++y) {
    const std::int32_t end = first_[y + 1];
    first_[y] = count;
    for (std::int32_t i = begin; i < end; ++i) {
      if (keeps_[i]) x_[count++] = x_[i];
    }
    begin = end;
  }
  first_[here_.rest.height] = count_ = count;
}

Strand Strands::From(const Places::Place& first) {
  constexpr std::int32_t kGap = 5;
  Strand strand = {strand_, 1, ++count_, first.x, first.y, first.x, first.y};
  strand_[0] = first;
  of_[first.number] = strand.number;
  for (std::int32_t i = 0; i < strand.count; ++i) {
    const Places::Place from = strand_[i];
    strand.left = std::min(strand.left, from.x);
    strand.right = std::max(strand.right, from.x);
    strand.top = std::min(strand.top, from.y);
    strand.bottom = std::max(strand.bottom, from.y);
    places_.ForNear(from.x, from.y, kGap, [&](const Places::Place& near) {
      if (of_[near.number] != 0) return;
      of_[near.number] = strand.number;
      strand_[strand.count++] = near;
    });
  }
  return strand;
}

}  // namespace pf
