// Bilinear sampling of premultiplied pixels.
#pragma once

#include <cstdint>
#include <type_traits>

#include "sample/Bilinear.h"

namespace pf {

// Which neighbours along one axis are read from the world.
struct Presence {
  bool first, second;
  constexpr bool Any() const { return first || second; }
};

// `position` along an axis of `size` pixels, 16.16. Left of or at 0 one neighbour alone counts, and at the
// last pixel the first one.
constexpr Presence PresenceAt(std::int64_t position, std::int64_t size) {
  const std::int64_t end = size * 65536;
  if (position > 0) {
    if (position >= end) return {false, false};
    return {true, position < end - 65536};
  }
  if (position <= -65536) return {false, false};
  return {Fraction(position) == 0, Fraction(position) != 0};
}

// Integer weights that add up to 65536.
constexpr Weights<std::uint32_t> IntegerWeightsOf(std::uint32_t fx, std::uint32_t fy) {
  const std::uint32_t w10 = (65536 - fy) * fx >> 16;
  const std::uint32_t w01 = (65536 - fx) * fy >> 16;
  const std::uint32_t w11 = fx * fy >> 16;
  return {65536 - w10 - w01 - w11, w10, w01, w11};
}

template <class P>
P BlendPremul(const Block<P>& block, std::uint32_t fx, std::uint32_t fy) {
  using Channel = ChannelOf<P>;
  const auto each = [&](auto&& mix) -> P { return {mix(&P::alpha), mix(&P::red), mix(&P::green), mix(&P::blue)}; };
  if constexpr (std::is_same_v<Channel, float>) {
    const Weights<double> exact = WeightsOf<double>(fx, fy);
    const Weights<float> w = {static_cast<float>(exact.w00), static_cast<float>(exact.w10),
                              static_cast<float>(exact.w01), static_cast<float>(exact.w11)};
    return each([&](Channel P::*channel) { return StoredFloat(WeightedSum(block, w, channel)); });
  } else {
    const Weights<std::uint32_t> w = IntegerWeightsOf(fx, fy);
    return each(
        [&](Channel P::*channel) { return static_cast<Channel>((WeightedSum(block, w, channel) + 32768) >> 16); });
  }
}

// Premultiplied pixels, bounds tested.
template <class P>
P SamplePremul(const PF_SampPB& params, std::int64_t x, std::int64_t y) {
  const Plane<P> src = SourceOf<P>(params);
  const std::int64_t i = WholePart(x), j = WholePart(y);
  if (Empty(src)) return {};
  if (Integral(x, y)) return PixelOrZero(src, i, j);
  const Presence columns = PresenceAt(x, src.width), rows = PresenceAt(y, src.height);
  if (!columns.Any() || !rows.Any()) return {};
  const auto read = [&](bool present, std::int64_t column, std::int64_t row) {
    return present ? *src.At(column, row) : P{};
  };
  const Block<P> block = {read(columns.first && rows.first, i, j), read(columns.second && rows.first, i + 1, j),
                          read(columns.first && rows.second, i, j + 1),
                          read(columns.second && rows.second, i + 1, j + 1)};
  if (Uniform(block)) return block.p00;
  return BlendPremul(block, Fraction(x), Fraction(y));
}

}  // namespace pf
