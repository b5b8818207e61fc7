// Places of a frame where something thin stands before a background that moves otherwise.
#pragma once

#include <algorithm>
#include <cstdint>

#include "planes/FloatPlane.h"

namespace pf {

// A frame without what is thin, and by how much that differs from the rest.
struct Parted {
  FloatPlane rest, contrast;
};
Parted NewParted(const FloatPlane& level, Workspace& workspace);
// \param work, opened scratch planes of the same size.
void Part(const FloatPlane& level, const Parted& parted, const FloatPlane& work, const FloatPlane& opened);

// Bilinear, at the nearest place inside.
float FetchAt(const FloatPlane& plane, float x, float y);

// The thin places of one frame, row by row, and where every row begins among them. None when there are so many that
// they are texture.
class Places {
 public:
  struct Place {
    std::int32_t x, y, number;
  };

  Places(const Parted& here, Workspace& workspace);
  // Finds those that are not where the background's motion leads.
  void Find(const Parted& there, const FlowPlanes& flow);
  // Forgets those that do not hang together over some length.
  void DropSpecks();

  std::int32_t count() const { return count_; }
  float ContrastAt(std::int32_t x, std::int32_t y) const { return here_.contrast.Row(y)[x]; }

  // Those within `reach` of a place.
  template <class Visit>
  void ForNear(std::int32_t x, std::int32_t y, std::int32_t reach, const Visit& visit) const {
    for (std::int32_t row = std::max(y - reach, 0); row <= std::min(y + reach, here_.rest.height - 1); ++row) {
      const std::int32_t* const end = x_ + first_[row + 1];
      for (const std::int32_t* p = std::lower_bound<const std::int32_t*>(x_ + first_[row], end, x - reach);
           p < end && *p <= x + reach; ++p) {
        visit(Place{*p, row, static_cast<std::int32_t>(p - x_)});
      }
    }
  }
  template <class Visit>
  void ForAll(const Visit& visit) const {
    for (std::int32_t row = 0; row < here_.rest.height; ++row) {
      for (std::int32_t i = first_[row]; i < first_[row + 1]; ++i) visit(Place{x_[i], row, i});
    }
  }

 private:
  friend class Strands;

  const Parted& here_;
  std::int32_t most_;
  std::int32_t* first_;
  std::int32_t* x_;
  bool *taken_, *keeps_;  // scratch, one for each place
  Place* strand_;         // room for all
  std::int32_t count_ = 0;
};

// Places that hang together.
struct Strand {
  Places::Place* places;
  std::int32_t count;
  std::int32_t left, top, right, bottom;

  std::int32_t Length() const { return std::max(right - left, bottom - top) + 1; }
};

// Takes strands out of all places, one after the other; one user of the places at a time.
class Strands {
 public:
  explicit Strands(const Places& places) : places_(places), taken_(places.taken_), strand_(places.strand_) {
    std::fill_n(taken_, places.count(), false);
  }

  template <class Visit>
  void ForEach(const Visit& visit) {
    places_.ForAll([&](const Places::Place& place) {
      if (!taken_[place.number]) visit(From(place));
    });
  }

 private:
  Strand From(const Places::Place& first);

  const Places& places_;
  bool* taken_;
  Places::Place* strand_;
};

}  // namespace pf
