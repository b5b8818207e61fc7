#include "motion/Thin.h"

#include <cmath>
#include <cstdlib>

#include "motion/ThinPlaces.h"

namespace pf {
namespace {

// One frame and the motion of its background.
struct Side {
  const Parted& parted;
  const FlowPlanes& flow;
  const Places& places;
};

// Which motion places have in common, by votes of every pair of places with like contrast.
class Ballot {
 public:
  static constexpr std::int32_t kLongest = 40;
  static constexpr std::int32_t kEdge = 2 * kLongest + 5;
  static constexpr std::int64_t kFloats = kEdge * kEdge;

  Ballot(const Places& here, const Places& there, const Longest& longest, float* memory)
      : here_(here),
        there_(there),
        longest_(longest),
        most_x_(Most(longest.x)),
        most_y_(Most(longest.y)),
        votes_(memory) {}

  void Clear() {
    std::fill_n(votes_, kFloats, 0.0f);
    all_ = 0;
  }
  void Vote(const Places::Place& from) {
    const float contrast = here_.ContrastAt(from.x, from.y);
    all_ += std::abs(contrast);
    there_.ForNear(from.x, from.y, kLongest, [&](const Places::Place& to) {
      const float other = there_.ContrastAt(to.x, to.y);
      if ((contrast > 0) == (other > 0))
        *At(to.x - from.x, to.y - from.y) += std::min(std::abs(contrast), std::abs(other));
    });
  }
  struct Peak {
    float u, v, share;
  };
  // The best within `reach` of a motion. Those that are equal but for a pixel count together.
  Peak Find(std::int32_t u, std::int32_t v, std::int32_t reach) const {
    constexpr float kSlope = 0.004f;  // of like ones the nearer is believed
    float best = 0, votes = 0;
    std::int32_t best_x = u, best_y = v;
    for (std::int32_t dy = std::max(v - reach, -most_y_); dy <= std::min(v + reach, most_y_); ++dy) {
      for (std::int32_t dx = std::max(u - reach, -most_x_); dx <= std::min(u + reach, most_x_); ++dx) {
        const auto far = static_cast<float>((dx - u) * (dx - u) + (dy - v) * (dy - v));
        const float sum = SumAround(dx, dy), score = sum * (1 - kSlope * std::sqrt(far));
        if (!(score > best)) continue;
        best = score;
        votes = sum;
        best_x = dx;
        best_y = dy;
      }
    }
    float sum = 1e-6f, sum_x = 0, sum_y = 0;
    for (std::int32_t j = -1; j <= 1; ++j) {
      for (std::int32_t i = -1; i <= 1; ++i) {
        const float here = *At(best_x + i, best_y + j);
        sum += here;
        sum_x += here * static_cast<float>(i);
        sum_y += here * static_cast<float>(j);
      }
    }
    const auto limited = [](float value, float most) { return std::min(std::max(value, -most), most); };
    return {limited(static_cast<float>(best_x) + sum_x / sum, longest_.x),
            limited(static_cast<float>(best_y) + sum_y / sum, longest_.y), votes / all_};
  }

 private:
  static std::int32_t Most(float longest) {
    return static_cast<std::int32_t>(std::min(longest, static_cast<float>(kLongest)));
  }
  float* At(std::int32_t dx, std::int32_t dy) const {
    return votes_ + (dy + kLongest + 2) * kEdge + (dx + kLongest + 2);
  }
  float SumAround(std::int32_t dx, std::int32_t dy) const {
    const float *upper = At(dx, dy - 1), *here = At(dx, dy), *lower = At(dx, dy + 1);
    return ((upper[-1] + upper[0]) + (upper[1] + here[-1])) + ((here[0] + here[1]) + (lower[-1] + lower[0])) + lower[1];
  }

  const Places &here_, &there_;
  const Longest longest_;
  const std::int32_t most_x_, most_y_;
  float* votes_;
  float all_ = 0;
};

// First one motion for a strand, then for each stretch of it one near that.
class Matcher {
 public:
  Matcher(const Side& here, const Side& there, const Longest& longest, Workspace& workspace)
      : parted_(here.parted),
        other_(there.parted),
        flow_(here.flow),
        places_(here.places),
        kept_(workspace.Take<bool>(std::int64_t{parted_.rest.width} * parted_.rest.height)),
        ballot_(here.places, there.places, longest, workspace.Take<float>(Ballot::kFloats)),
        most_(kMostGrown * (here.places.count() + there.places.count())),
        result_{workspace.Take<ThinPoint>(most_ + 1), 0} {}

  PF_Err Run(const RowQuestions& questions) {
    constexpr float kEnough = 2.4f;  // of nine motions that count together
    std::fill_n(kept_, std::int64_t{parted_.rest.width} * parted_.rest.height, false);
    Strands strands(places_);
    const PF_Err stop = strands.ForEach([&](const Strand& strand) -> PF_Err {
      ballot_.Clear();
      for (std::int32_t i = 0; i < strand.count; ++i) {
        if (i % kAskEvery == 0) {
          if (const PF_Err asked = questions.Before(0)) return asked;
        }
        ballot_.Vote(strand.places[i]);
      }
      const Ballot::Peak whole = ballot_.Find(0, 0, Ballot::kLongest);
      return whole.share >= kEnough ? Follow(strands, strand, whole, questions) : PF_Err_NONE;
    });
    if (stop == PF_Err_NONE) Grow();
    return stop;
  }

  const ThinPlaces& result() const { return result_; }

  // What one frame has found is looked for in the other.
  void Accept(const ThinPlaces& others) {
    for (std::int32_t i = 0; i < others.count && result_.count < most_; ++i) {
      const ThinPoint& other = others.points[i];
      const float u = static_cast<float>(other.u) / kMotionUnits, v = static_cast<float>(other.v) / kMotionUnits;
      const std::int32_t x = other.x + Whole(u), y = other.y + Whole(v);
      if (x < 0 || y < 0 || x >= parted_.rest.width || y >= parted_.rest.height || kept_[At(x, y)]) continue;
      const float mine = parted_.contrast.Row(y)[x], theirs = other_.contrast.Row(other.y)[other.x];
      if (!(mine / theirs > 0.5f)) continue;
      Keep({static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), static_cast<std::int16_t>(-other.u),
            static_cast<std::int16_t>(-other.v)});
    }
    Grow();
  }

 private:
  PF_Err Follow(const Strands& strands, const Strand& strand, const Ballot::Peak& whole,
                const RowQuestions& questions) {
    constexpr std::int32_t kStretch = 6, kWindow = 16, kTurn = 4;
    for (std::int32_t i = 0; i < strand.count; ++i) {
      const Places::Place& place = strand.places[i];
      if (kept_[At(place.x, place.y)]) continue;
      if (const PF_Err stop = questions.Before(0)) return stop;
      ballot_.Clear();
      places_.ForNear(place.x, place.y, kWindow, [&](const Places::Place& near) {
        if (strands.IsOf(strand, near)) ballot_.Vote(near);
      });
      const Ballot::Peak peak = ballot_.Find(Whole(whole.u), Whole(whole.v), kTurn);
      places_.ForNear(place.x, place.y, kStretch, [&](const Places::Place& near) {
        if (!strands.IsOf(strand, near) || kept_[At(near.x, near.y)]) return;
        Keep({static_cast<std::int16_t>(near.x), static_cast<std::int16_t>(near.y), Units(peak.u), Units(peak.v)});
      });
    }
    return PF_Err_NONE;
  }

  // Fainter places beside those that are kept move with them if they are found where that leads.
  void Grow() {
    constexpr std::int32_t kBeside = 2;
    for (std::int32_t i = 0; i < result_.count; ++i) {
      const ThinPoint from = result_.points[i];
      for (std::int32_t y = from.y - kBeside; y <= from.y + kBeside; ++y) {
        for (std::int32_t x = from.x - kBeside; x <= from.x + kBeside; ++x) {
          if (x < 0 || y < 0 || x >= parted_.rest.width || y >= parted_.rest.height || result_.count == most_) continue;
          if (!kept_[At(x, y)] && Fits(x, y, from)) {
            Keep({static_cast<std::int16_t>(x), static_cast<std::int16_t>(y), from.u, from.v});
          }
        }
      }
    }
  }
  bool Fits(std::int32_t x, std::int32_t y, const ThinPoint& like) const {
    constexpr float kFaint = 10, kLeast = 0.5f, kMost = 2;
    const float contrast = parted_.contrast.Row(y)[x];
    if (std::abs(contrast) < kFaint) return false;
    const float beside = parted_.contrast.Row(like.y)[like.x] / contrast;
    if (!(beside > kLeast && beside < kMost)) return false;
    const auto found = [&](float u, float v) {
      return FetchAt(other_.contrast, static_cast<float>(x) + u, static_cast<float>(y) + v) / contrast;
    };
    const float moved = found(static_cast<float>(like.u) / kMotionUnits, static_cast<float>(like.v) / kMotionUnits);
    const Around around = MotionAround(flow_, x, y);
    return moved > kLeast && moved < kMost && found(around.u, around.v) < 0.5f;
  }
  std::int64_t At(std::int32_t x, std::int32_t y) const { return std::int64_t{y} * parted_.rest.width + x; }
  void Keep(const ThinPoint& point) {
    kept_[At(point.x, point.y)] = true;
    result_.points[result_.count++] = point;
  }

  static std::int32_t Whole(float v) { return static_cast<std::int32_t>(std::floor(v + 0.5f)); }
  static std::int16_t Units(float v) { return static_cast<std::int16_t>(std::floor(v * kMotionUnits + 0.5f)); }

  static constexpr std::int32_t kMostGrown = 4, kAskEvery = 256;

  const Parted &parted_, &other_;
  const FlowPlanes& flow_;
  const Places& places_;
  bool* kept_;  // one for each pixel
  Ballot ballot_;
  std::int32_t most_;
  ThinPlaces result_;
};

}  // namespace

ThinSides FindThin(const PairPictures& pictures, const FlowPlanes (&flows)[2], const Longest& longest,
                   Workspace& workspace, const Interrupt& interrupt) {
  const FloatPlane* const levels[2] = {&pictures.previous.level, &pictures.next.level};
  const Parted parted[2] = {NewParted(*levels[0], workspace), NewParted(*levels[1], workspace)};
  Places places[2] = {{parted[0], workspace}, {parted[1], workspace}};
  {
    const Workspace::Scope scope(workspace);
    const Parted scratch[2] = {NewParted(*levels[0], workspace), NewParted(*levels[1], workspace)};
    ForLongTasks(interrupt, 2, [&](std::int32_t i, const RowQuestions& questions) {
      return Part(*levels[i], parted[i], scratch[i].rest, scratch[i].contrast, questions);
    });
  }
  ForLongTasks(interrupt, 2, [&](std::int32_t i, const RowQuestions& questions) {
    const PF_Err stop = places[i].Find(parted[1 - i], flows[i], questions);
    if (stop == PF_Err_NONE) places[i].DropSpecks();
    return stop;
  });
  if (places[0].count() == 0 || places[1].count() == 0) return {};
  const Side sides[2] = {{parted[0], flows[0], places[0]}, {parted[1], flows[1], places[1]}};
  Matcher previous(sides[0], sides[1], longest, workspace), next(sides[1], sides[0], longest, workspace);
  ForLongTasks(interrupt, 2, [&](std::int32_t i, const RowQuestions& questions) {
    return (i == 0 ? previous : next).Run(questions);
  });
  previous.Accept(next.result());
  next.Accept(previous.result());
  return {previous.result(), next.result()};
}

}  // namespace pf
