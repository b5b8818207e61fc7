// Places of a frame where something thin stands before a background that moves otherwise.
#pragma once

#include <algorithm>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "multiprocess/Bands.h"
#include "planes/FloatPlane.h"

namespace pf {

// A frame without what is thin, and by how much that differs from the rest.
struct Parted {
  FloatPlane rest, contrast;
};
Parted NewParted(const FloatPlane& level, Workspace& workspace);
// \param work, opened scratch planes of the same size.
PF_Err Part(const FloatPlane& level, const Parted& parted, const FloatPlane& work, const FloatPlane& opened,
            const RowQuestions& questions);

// The motion of what is around a place, whatever something thin at it does: medians of nine places eight pixels apart.
struct Around {
  float u, v;
};
Around MotionAround(const FlowPlanes& flow, std::int32_t x, std::int32_t y);

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
  PF_Err Find(const Parted& there, const FlowPlanes& flow, const RowQuestions& questions);
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
  std::int32_t* of_;  // scratch, one for each place
  bool* keeps_;       // the same
  Place* strand_;     // room for all
  std::int32_t count_ = 0;
};

// Places that hang together.
struct Strand {
  Places::Place* places;
  std::int32_t count, number;
  std::int32_t left, top, right, bottom;

  std::int32_t Length() const { return std::max(right - left, bottom - top) + 1; }
};

// Takes strands out of all places, one after the other; one user of the places at a time.
class Strands {
 public:
  explicit Strands(const Places& places) : places_(places), of_(places.of_), strand_(places.strand_) {
    std::fill_n(of_, places.count(), 0);
  }

  // Until a visit returns another code than 0; returns the last one.
  template <class Visit>
  PF_Err ForEach(const Visit& visit) {
    PF_Err code = PF_Err_NONE;
    places_.ForAll([&](const Places::Place& place) {
      if (code == PF_Err_NONE && of_[place.number] == 0) code = visit(From(place));
    });
    return code;
  }
  // Whether a place was in the strand that is visited.
  bool IsOf(const Strand& strand, const Places::Place& place) const { return of_[place.number] == strand.number; }

 private:
  Strand From(const Places::Place& first);

  const Places& places_;
  std::int32_t* of_;  // the number of each place's strand; 0: none yet
  Places::Place* strand_;
  std::int32_t count_ = 0;
};

}  // namespace pf
