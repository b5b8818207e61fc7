// Weighted sums of samples on both sides. This file is included inside a namespace that has Load<R>(p). R is a double,
// or lanes of them.

// One result. tap(i) is where the sample i places further is.
template <class R, class Taps>
[[gnu::always_inline]] inline R Convolved(const Taps& tap, const double* weights, std::int64_t reach) {
  R sum = R(weights[0]) * Load<R>(tap(0));
  for (std::int64_t i = 1; i <= reach; ++i) sum = sum + R(weights[i]) * (Load<R>(tap(-i)) + Load<R>(tap(i)));
  return sum;
}

template <class R>
struct FourSums {
  R sum0, sum1, sum2, sum3;
};

// Four results at once: their samples move up by one from weight to weight, and only one of them is new on each side.
template <class R, class Taps>
[[gnu::always_inline]] inline FourSums<R> ConvolvedFour(const Taps& tap, const double* weights, std::int64_t reach) {
  R left0 = Load<R>(tap(0)), left1 = Load<R>(tap(1)), left2 = Load<R>(tap(2)), left3;
  R right0, right1 = left1, right2 = left2, right3 = Load<R>(tap(3));
  const R centre(weights[0]);
  R sum0 = centre * left0, sum1 = centre * left1, sum2 = centre * left2, sum3 = centre * right3;
  for (std::int64_t i = 1; i <= reach; ++i) {
    left3 = left2;
    left2 = left1;
    left1 = left0;
    left0 = Load<R>(tap(-i));
    right0 = right1;
    right1 = right2;
    right2 = right3;
    right3 = Load<R>(tap(i + 3));
    const R weight(weights[i]);
    sum0 = sum0 + weight * (left0 + right0);
    sum1 = sum1 + weight * (left1 + right1);
    sum2 = sum2 + weight * (left2 + right2);
    sum3 = sum3 + weight * (left3 + right3);
  }
  return {sum0, sum1, sum2, sum3};
}
