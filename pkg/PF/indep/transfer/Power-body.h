// Powers of positive numbers. Included like Families-body.h; R is a double or lanes of them.
//
// x = 2^e m with m within sqrt(1/2)..sqrt(2); with t = (m - 1) / (m + 1), log2 m = 2 / ln 2 (t + t^3 / 3 + t^5 / 5
// ...), of which the terms up to t^13 leave less than 2e-12 of it. With y = k + f, k an integer and |f| <= 1/2, 2^f is
// the series of exp(f ln 2) up to its 8th power, off by less than 3e-10. So what is rounded to single precision is off
// by at most 0.51 units in the last place.

template <class R>
R Log2(R x) {
  const SplitNumber<R> parts = Split(x);
  const R t = (parts.fraction - R(1)) / (parts.fraction + R(1));
  const R square = t * t;
  R sum = R(2.0 / 13);
  sum = sum * square + R(2.0 / 11);
  sum = sum * square + R(2.0 / 9);
  sum = sum * square + R(2.0 / 7);
  sum = sum * square + R(2.0 / 5);
  sum = sum * square + R(2.0 / 3);
  sum = sum * square + R(2.0);
  return parts.exponent + t * sum * R(1.44269504088896340736);
}

// y within -1000..1000.
template <class R>
R Exp2(R y) {
  const R whole = (y + R(0x1.8p52)) - R(0x1.8p52);
  const R f = (y - whole) * R(0.69314718055994530942);
  R sum = R(1.0 / 40320);
  sum = sum * f + R(1.0 / 5040);
  sum = sum * f + R(1.0 / 720);
  sum = sum * f + R(1.0 / 120);
  sum = sum * f + R(1.0 / 24);
  sum = sum * f + R(1.0 / 6);
  sum = sum * f + R(1.0 / 2);
  sum = sum * f + R(1.0);
  sum = sum * f + R(1.0);
  return TimesPowerOfTwo(sum, whole);
}

// |v|^exponent with the sign of v, before it is rounded to single precision. 0, infinity and what is not a number stay.
template <class R>
R SignedPower(R v, R exponent) {
  const R magnitude = Abs(v);
  const auto stays = !((magnitude > R(0)) & (magnitude <= R(0x1.fffffep127)));
  const R base = Select(stays, R(1), magnitude);
  const R power = Exp2(Min(Max(exponent * Log2(base), R(-1000)), R(1000)));
  return Select(stays, v, Select(v < R(0), R(0) - power, power));
}
