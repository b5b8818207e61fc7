// Exponentials, sines and cosines of our own: those of C libraries differ in their last bits from one to the next, and
// from one processor to the next.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace pf {

// The part of x between multiples of `step`, which is given in two parts, the larger one short enough for exact
// products; whole is the multiple.
struct Reduced {
  double rest;
  std::int64_t whole;
};
inline Reduced Reduce(double x, double per_step, double large, double small) {
  const double whole = (x * per_step + 0x1.8p52) - 0x1.8p52;
  return {(x - whole * large) - whole * small, static_cast<std::int64_t>(whole)};
}

// e^x for x <= 0, within a unit in the last place: 2^k times the series of what is left of x, up to its 13th power. 0
// where the result is below the normal numbers.
inline double ExpOfNegative(double x) {
  if (!(x >= -708)) return x == x ? 0 : x;
  const Reduced r = Reduce(x, 0x1.71547652b82fep+0, 0x1.62e42feep-1, 0x1.a39ef35793c76p-33);
  double sum = 1;
  for (int i = 13; i >= 1; --i) sum = 1 + sum * r.rest / i;
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(sum) + (static_cast<std::uint64_t>(r.whole) << 52));
}

// Within two units in the last place of 1, for |x| up to some thousands.
struct SineAndCosine {
  double sine, cosine;
};
inline SineAndCosine SineAndCosineOf(double x) {
  const Reduced r = Reduce(x, 0x1.45f306dc9c883p-1, 0x1.921fb544p+0, 0x1.0b4611a626331p-34);
  const double square = r.rest * r.rest;
  double sine = 1, cosine = 1;
  for (int i = 18; i >= 2; i -= 2) {
    sine = 1 - sine * square / (i * (i + 1));
    cosine = 1 - cosine * square / (i * (i - 1));
  }
  sine *= r.rest;
  switch (r.whole & 3) {
    case 0:
      return {sine, cosine};
    case 1:
      return {cosine, -sine};
    case 2:
      return {-sine, -cosine};
    default:
      return {-cosine, sine};
  }
}

}  // namespace pf
