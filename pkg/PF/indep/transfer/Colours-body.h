// Colours made of one colour's hue and another's saturation or luminance. Included like Families-body.h.

template <class R>
R Luminance(const Quad<R>& p) {
  return R(0.299) * p.r + R(0.587) * p.g + R(0.114) * p.b;
}
// To be compared: of integers 1000 times as much, which is a whole number, so equally light is equal.
template <class A, class R>
R ComparedLuminance(const Quad<R>& p) {
  return A::kFloat ? Luminance(p) : R(299) * p.r + R(587) * p.g + R(114) * p.b;
}
template <class R>
R LeastOf(const Quad<R>& p) {
  return Min(Min(p.r, p.g), p.b);
}
template <class R>
R LargestOf(const Quad<R>& p) {
  return Max(Max(p.r, p.g), p.b);
}
template <class R>
R Saturation(const Quad<R>& p) {
  return LargestOf(p) - LeastOf(p);
}

// One channel of a colour whose channels go from `least` to `largest`, stretched to 0..saturation.
template <class R>
R Stretched(R c, R least, R largest, R saturation) {
  const R range = largest - least;
  const auto grey = range == R(0);
  const R between = Quotient(grey, R(0), (c - least) * saturation, range);
  return Select(grey, R(0), Select(c == largest, saturation, between));
}

template <class R>
Quad<R> WithSaturation(const Quad<R>& p, R saturation) {
  const R least = LeastOf(p), largest = LargestOf(p);
  return {p.a, Stretched(p.r, least, largest, saturation), Stretched(p.g, least, largest, saturation),
          Stretched(p.b, least, largest, saturation)};
}

// Towards luminance l by num / den.
template <class Mask, class R>
R TowardsLuminance(Mask leaves, R c, R l, R num, R den) {
  return Select(leaves, l + Quotient(!leaves, R(0), (c - l) * num, den), c);
}

// Back into 0..full with the luminance kept; a luminance outside cannot be kept, and nothing is done. It is the one
// that was set: computed from the channels once more, black and white would be outside by a rounding.
template <class A, class R>
Quad<R> Clipped(const Quad<R>& p, R l) {
  const R full = A::Full(), least = LeastOf(p), largest = LargestOf(p);
  const auto possible = (l >= R(0)) & (l <= full);
  const auto low = possible & (least < R(0)), high = possible & (largest > full);
  const R below = l - least, above = largest - l, room = full - l;
  return {p.a, TowardsLuminance(high, TowardsLuminance(low, p.r, l, l, below), l, room, above),
          TowardsLuminance(high, TowardsLuminance(low, p.g, l, l, below), l, room, above),
          TowardsLuminance(high, TowardsLuminance(low, p.b, l, l, below), l, room, above)};
}

template <class A, class R>
Quad<R> WithLuminance(const Quad<R>& p, R luminance) {
  const R lift = luminance - Luminance(p);
  const R kept = A::kFloat ? luminance : Min(luminance, A::Full());  // that of integers is never outside
  return Clipped<A>(Quad<R>{p.a, p.r + lift, p.g + lift, p.b + lift}, kept);
}

template <class R>
Quad<R> Times(const Quad<R>& p, R factor) {
  return {p.a, p.r * factor, p.g * factor, p.b * factor};
}
