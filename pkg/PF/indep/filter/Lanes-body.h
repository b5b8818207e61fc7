// Filters of lines in lanes. This file is included inside a namespace that has Load<R>(p), Store(v, p), kLanesOf<R>:
// once for single values, once for the lanes of each vector target. R is a double, or lanes of them.

#include "filter/Convolve-body.h"

// Where the samples of a line stand.
struct LaneTaps {
  const double* at;

  const double* operator()(std::int64_t i) const { return at + kLanes * i; }
};

template <class R>
void ConvolveLanes(const LaneRun& run, const double* weights, std::int64_t lane) {
  const double* at = run.in + lane;
  double* out = run.out + lane;
  std::int64_t x = 0;
  for (; x + 4 <= run.n; x += 4, out += 4 * kLanes) {
    const FourSums<R> sums = ConvolvedFour<R>(LaneTaps{at + kLanes * x}, weights, run.reach);
    Store(sums.sum0, out);
    Store(sums.sum1, out + kLanes);
    Store(sums.sum2, out + 2 * kLanes);
    Store(sums.sum3, out + 3 * kLanes);
  }
  for (; x < run.n; ++x, out += kLanes) {
    Store(Convolved<R>(LaneTaps{at + kLanes * x}, weights, run.reach), out);
  }
}

// The terms of a series from number kFirst on: their sums at two neighbouring samples, and what leads from both to the
// next one. Each term's sum y follows from the two before it: cos(a + f) + cos(a - f) = 2 cos(f) cos(a), so
// y[x + 1] = 2 cos(f) y[x] - y[x - 1] + cos(f reach) (s[x + 1 + reach] + s[x - 1 - reach])
//            - cos(f (reach + 1)) (s[x + reach] + s[x - reach]).
// Members instead of arrays, which compilers keep in registers.
template <class R, std::size_t kFirst, std::size_t kTerms>
struct SeriesSums {
  R even = R(0), odd = R(0);
  R twice, entering, leaving;
  SeriesSums<R, kFirst + 1, kTerms> rest;

  explicit SeriesSums(const SeriesTerms& terms)
      : twice(terms.twice[kFirst]), entering(terms.entering[kFirst]), leaving(terms.leaving[kFirst]), rest(terms) {}

  void Add(const double* cosine, std::int64_t row, R to_even, R to_odd) {
    const R weight(*cosine);
    even = even + weight * to_even;
    odd = odd + weight * to_odd;
    rest.Add(cosine + row, row, to_even, to_odd);
  }
  template <bool kEven>
  R Sum(R sum) const {
    return rest.template Sum<kEven>(sum + (kEven ? even : odd));
  }
  // The even sample's sum becomes that of the one behind the odd one, or the other way round.
  template <bool kEven>
  void Advance(R outer, R inner) {
    const R change = entering * outer - leaving * inner;
    if constexpr (kEven) {
      even = (twice * odd - even) + change;
    } else {
      odd = (twice * even - odd) + change;
    }
    rest.template Advance<kEven>(outer, inner);
  }
};
template <class R, std::size_t kTerms>
struct SeriesSums<R, kTerms, kTerms> {
  explicit SeriesSums(const SeriesTerms&) {}
  void Add(const double*, std::int64_t, R, R) {}
  template <bool kEven>
  R Sum(R sum) const {
    return sum;
  }
  template <bool kEven>
  void Advance(R, R) {}
};

template <class R, std::size_t kTerms>
class SeriesLine {
 public:
  SeriesLine(const LaneRun& run, const SeriesTerms& terms, std::int64_t lane)
      : gone_(run.in + lane - kLanes * run.reach), come_(run.in + lane + kLanes * (run.reach + 1)), sums_(terms) {
    Start(run.in + lane, run.reach, terms);
    mean_factor_ = R(terms.entering[0]);
  }

  // Results of samples 0, 1, ... in turn, kEven for the even ones.
  template <bool kEven>
  void Step(double* out) {
    Store(sums_.template Sum<kEven>(mean_), out);
    const R next_gone = Load<R>(gone_), next_come = Load<R>(come_);
    mean_ = mean_ + mean_factor_ * (next_come - next_gone);
    sums_.template Advance<!kEven>(next_come + last_gone_, last_come_ + next_gone);
    last_gone_ = next_gone;
    last_come_ = next_come;
    gone_ += kLanes;
    come_ += kLanes;
  }

 private:
  // The sums at sample 0, and at the one before it as the odd ones.
  void Start(const double* in, std::int64_t reach, const SeriesTerms& terms) {
    last_gone_ = Load<R>(gone_ - kLanes);
    last_come_ = Load<R>(come_ - kLanes);
    const std::int64_t row = reach + 1;
    mean_ = R(terms.cosine[0]) * Load<R>(in);
    sums_.Add(terms.cosine + row, row, Load<R>(in), Load<R>(in - kLanes));
    for (std::int64_t i = 1; i <= reach; ++i) {
      const double *left = in - kLanes * i, *right = in + kLanes * i;
      const R here = Load<R>(left) + Load<R>(right);
      mean_ = mean_ + R(terms.cosine[i]) * here;
      sums_.Add(terms.cosine + row + i, row, here, Load<R>(left - kLanes) + Load<R>(right - kLanes));
    }
  }

  const double *gone_, *come_;
  R last_gone_, last_come_;
  R mean_, mean_factor_;  // the term that does not change
  SeriesSums<R, 1, kTerms> sums_;
};

template <class R, std::size_t kTerms>
void SeriesLanes(const LaneRun& run, const SeriesTerms& terms, std::int64_t lane) {
  SeriesLine<R, kTerms> line(run, terms, lane);
  double* out = run.out + lane;
  std::int64_t x = 0;
  for (; x + 2 <= run.n; x += 2) {
    line.template Step<true>(out + kLanes * x);
    line.template Step<false>(out + kLanes * (x + 1));
  }
  if (x < run.n) line.template Step<true>(out + kLanes * x);
}

// In blocks as long as a window, so that every window is the end of one block and the beginning of the next.
template <class R>
void BoxLanes(const LaneRun& run, double scale, double* sums, std::int64_t lane) {
  const std::int64_t window = 2 * run.reach + 1;
  const R factor(scale);
  for (std::int64_t begin = 0; begin < run.n; begin += window) {
    const double* block = run.in + kLanes * (begin - run.reach) + lane;
    R end(0);
    for (std::int64_t i = window - 1; i >= 0; --i) {
      end = end + Load<R>(block + kLanes * i);
      Store(end, sums + kLanes * i + lane);
    }
    const double* next = block + kLanes * window;
    double* out = run.out + kLanes * begin + lane;
    R beginning(0);
    for (std::int64_t i = 0; i < window && begin + i < run.n; ++i) {
      Store((Load<R>(sums + kLanes * i + lane) + beginning) * factor, out + kLanes * i);
      beginning = beginning + Load<R>(next + kLanes * i);
    }
  }
}

template <class R>
void Convolve(const LaneRun& run, const double* weights) {
  for (std::int64_t lane = 0; lane < kLanes; lane += kLanesOf<R>()) ConvolveLanes<R>(run, weights, lane);
}

template <class R, std::size_t kTerms>
void SeriesOf(const LaneRun& run, const SeriesTerms& terms) {
  for (std::int64_t lane = 0; lane < kLanes; lane += kLanesOf<R>()) SeriesLanes<R, kTerms>(run, terms, lane);
}
template <class R>
void Series(const LaneRun& run, const SeriesTerms& terms) {
  switch (terms.terms) {
    case 4:
      return SeriesOf<R, 4>(run, terms);
    case 5:
      return SeriesOf<R, 5>(run, terms);
    case 6:
      return SeriesOf<R, 6>(run, terms);
    case 7:
      return SeriesOf<R, 7>(run, terms);
    default:
      return SeriesOf<R, 8>(run, terms);
  }
}

template <class R>
void Box(const LaneRun& run, double scale, double* sums) {
  for (std::int64_t lane = 0; lane < kLanes; lane += kLanesOf<R>()) BoxLanes<R>(run, scale, sums, lane);
}
