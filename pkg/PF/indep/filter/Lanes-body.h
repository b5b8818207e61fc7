// Filters of lines in lanes. This file is included inside a namespace that has Load<R>(p), Store(v, p) and
// kLanesOf<R>: once for single values, once for the lanes of each vector target. R is a double, or lanes of them.

template <class R>
void ConvolveLanes(const LaneRun& run, const double* weights, std::int64_t lane) {
  for (std::int64_t x = 0; x < run.n; ++x) {
    const double* at = run.in + kLanes * x + lane;
    R sum = R(weights[0]) * Load<R>(at);
    for (std::int64_t i = 1; i <= run.reach; ++i) {
      sum = sum + R(weights[i]) * (Load<R>(at - kLanes * i) + Load<R>(at + kLanes * i));
    }
    Store(sum, run.out + kLanes * x + lane);
  }
}

// Each term's sum y follows from the two before it: cos(a + f) + cos(a - f) = 2 cos(f) cos(a), so
// y[x + 1] = 2 cos(f) y[x] - y[x - 1] + cos(f reach) (s[x + 1 + reach] + s[x - 1 - reach])
//            - cos(f (reach + 1)) (s[x + reach] + s[x - reach]).
template <class R, std::size_t kTerms>
void SeriesLanes(const LaneRun& run, const SeriesTerms& terms, std::int64_t lane) {
  const std::int64_t reach = run.reach;
  R now[kTerms], before[kTerms];
  for (std::size_t t = 0; t < kTerms; ++t) now[t] = before[t] = R(0);
  for (std::int64_t i = 0; i <= reach; ++i) {
    const double *left = run.in + lane - kLanes * i, *right = run.in + lane + kLanes * i;
    const R here = i == 0 ? Load<R>(left) : Load<R>(left) + Load<R>(right);
    const R there = i == 0 ? Load<R>(left - kLanes) : Load<R>(left - kLanes) + Load<R>(right - kLanes);
    for (std::size_t t = 0; t < kTerms; ++t) {
      const R weight = R(terms.cosine[static_cast<std::int64_t>(t) * (reach + 1) + i]);
      now[t] = now[t] + weight * here;
      before[t] = before[t] + weight * there;
    }
  }
  R twice[kTerms], entering[kTerms], leaving[kTerms];
  for (std::size_t t = 0; t < kTerms; ++t) {
    twice[t] = R(terms.twice[t]);
    entering[t] = R(terms.entering[t]);
    leaving[t] = R(terms.leaving[t]);
  }
  const double *gone = run.in + lane - kLanes * reach, *come = run.in + lane + kLanes * (reach + 1);
  double* out = run.out + lane;
  R last_gone = Load<R>(gone - kLanes), last_come = Load<R>(come - kLanes);
  for (std::int64_t x = 0; x < run.n; ++x) {
    R sum = now[0];
    for (std::size_t t = 1; t < kTerms; ++t) sum = sum + now[t];
    Store(sum, out + kLanes * x);
    const R next_gone = Load<R>(gone + kLanes * x), next_come = Load<R>(come + kLanes * x);
    const R outer = next_come + last_gone, inner = last_come + next_gone;
    now[0] = now[0] + entering[0] * (next_come - next_gone);
    for (std::size_t t = 1; t < kTerms; ++t) {
      const R next = (twice[t] * now[t] - before[t]) + (entering[t] * outer - leaving[t] * inner);
      before[t] = now[t];
      now[t] = next;
    }
    last_gone = next_gone;
    last_come = next_come;
  }
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
