#include "stored_values.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace pftool {
namespace {

template <class F>
Quad EachPart(const Quad& p, F f) {
  return {f(p.a), f(p.r), f(p.g), f(p.b)};
}
template <class F>
Quad EachColour(const Quad& p, F f) {
  return {p.a, f(p.r), f(p.g), f(p.b)};
}

template <class P>
Quad ValuesAt(const std::byte* pixel) {
  const auto* p = reinterpret_cast<const P*>(pixel);
  const auto plain = [](auto v) { return static_cast<double>(v); };
  return {plain(p->alpha), plain(p->red), plain(p->green), plain(p->blue)};
}

float Single(double v) { return static_cast<float>(v); }

// v^exponent with the sign of v, to single precision.
double SignedPower(double v, double exponent) {
  if (exponent == 1 || v == 0 || !std::isfinite(v)) return v;
  return double{Single(std::copysign(std::pow(std::abs(v), exponent), v))};
}

// Between two entries of a table, to nearest.
double Between(const std::uint16_t* table, double place) {
  const double first = std::floor(place), part = place - first;
  const double low = table[static_cast<int>(first)];
  if (part == 0) return low;
  return std::floor(low + part * (table[static_cast<int>(first) + 1] - low) + 0.5);
}

double Narrowed(double v16) { return std::floor((v16 * 255 + 16384) / 32768); }
double Widened(double v8) { return std::floor((v8 * 8421504 + 33200) / 65536); }

}  // namespace

double FullOf(int depth) { return depth == 8 ? 255 : depth == 16 ? 32768 : 1; }

Quad PixelAt(const PF_World& world, int x, int y) {
  const auto* pixel = static_cast<const std::byte*>(world.data) + static_cast<std::ptrdiff_t>(y) * world.row_bytes +
                      static_cast<std::ptrdiff_t>(x) * static_cast<std::ptrdiff_t>(world.PixelSize());
  if (world.Depth() == 8) return ValuesAt<PF_Pixel8>(pixel);
  if (world.Depth() == 16) return ValuesAt<PF_Pixel16>(pixel);
  return ValuesAt<PF_PixelFloat>(pixel);
}

Quad UnitOf(const Quad& stored, int depth) {
  return EachPart(stored, [&](double v) { return v / FullOf(depth); });
}

double RoundedTo(double unit, int depth) {
  if (depth == 32) return double{Single(unit)};
  const double full = FullOf(depth);
  return unit > 0 ? std::floor(std::min(unit * full, full) + 0.5) : 0;
}
Quad RoundedTo(const Quad& unit, int depth) {
  return EachPart(unit, [&](double v) { return RoundedTo(v, depth); });
}

double StoredOpacity(float opacity, int depth) {
  if (depth == 32) return double{opacity};
  return std::floor(double{opacity * Single(FullOf(depth))} + 0.5);
}

double ConvertedValue(double stored, int from, int to) {
  if (from != 32) stored = std::min(stored, FullOf(from));
  if (from == to) return stored;
  if (to == 32) return double{Single(stored) * (1.0f / Single(FullOf(from)))};
  if (from == 32) {
    const float full = Single(FullOf(to)), scaled = Single(stored) * full;
    return scaled > 0 ? std::floor(std::min(scaled, full) + 0.5f) : 0;
  }
  return to == 8 ? Narrowed(stored) : Widened(stored);
}

double ScaledBy(double stored, double opacity, int depth) {
  if (opacity == FullOf(depth)) return stored;
  if (depth == 32) return double{Single(stored) * Single(opacity)};
  const auto product = static_cast<std::uint64_t>(stored * opacity);
  if (depth == 8) return static_cast<double>((product + 128 + ((product + 128) >> 8)) >> 8);
  return static_cast<double>(std::min<std::uint64_t>((product + 16383) >> 15, 32768));
}

Quad Unmultiplied(const Quad& stored, int depth) {
  const double full = FullOf(depth), a = stored.a;
  if (!(a > 0)) return {a, 0, 0, 0};
  if (depth == 32) return EachColour(stored, [&](double c) { return double{Single(c) / Single(a)}; });
  return EachColour(stored, [&](double c) { return std::min(full, std::floor((full * c + std::floor(a / 2)) / a)); });
}

int LinearDepth(int depth) { return depth == 32 ? 32 : 16; }

Quad ToLinear(const Quad& stored, int depth, const PF_LinearBlendingTables& tables) {
  if (depth == 32) return EachColour(stored, [&](double v) { return SignedPower(v, double{tables.gamma}); });
  if (depth == 16) {
    return EachColour(stored, [&](double v) { return Between(tables.toLinear8, std::min(v, 32768.0) * 255 / 32768); });
  }
  const Quad linear =
      EachColour(stored, [&](double v) { return double{tables.toLinear8[static_cast<std::size_t>(v)] + 0.0}; });
  return {Widened(stored.a), linear.r, linear.g, linear.b};
}

double FromLinear(double linear, int depth, const PF_LinearBlendingTables& tables) {
  if (depth == 32) return SignedPower(linear, double{tables.inverseGamma});
  const double v16 = linear <= 0 ? 0 : Between(tables.fromLinear16, std::min(linear, 32768.0) / 8);
  return depth == 8 ? Narrowed(v16) : v16;
}

}  // namespace pftool
