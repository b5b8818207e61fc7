// The point samplers restated pixel by pixel: bounds by comparison, weights and sums as they are documented.
#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "PF/PF_Types.h"
#include "pixel/Depth.h"

namespace pftest {

// Alpha, red, green, blue.
template <class P>
using Channels = std::array<pf::ChannelOf<P>, 4>;

// In which bits differ, NaN too.
template <class P>
auto Bits(const P& pixel) {
  using C = pf::ChannelOf<P>;
  return std::bit_cast<std::array<std::conditional_t<std::is_same_v<C, float>, std::uint32_t, C>, 4>>(pixel);
}

template <class P>
P ReferencePixel(const PF_LayerDef& world, std::int64_t i, std::int64_t j) {
  if (i < 0 || j < 0 || i >= world.width || j >= world.height) return P{};
  return reinterpret_cast<const P*>(static_cast<const char*>(world.data) + j * world.row_bytes)[i];
}

template <class P>
P ReferenceNearest(const PF_LayerDef& world, std::int64_t x, std::int64_t y) {
  return ReferencePixel<P>(world, (x + 32768) >> 16, (y + 32768) >> 16);
}

template <class Real>
std::array<Real, 4> ReferenceWeights(std::int64_t x, std::int64_t y) {
  const Real u = static_cast<Real>(x & 65535) / 65536, v = static_cast<Real>(y & 65535) / 65536, uv = u * v;
  return {1 - (u - uv) - (v - uv) - uv, u - uv, v - uv, uv};
}

template <class Real, class P>
Real ReferenceSum(const std::array<P, 4>& pixels, const std::array<Real, 4>& w, std::size_t channel) {
  Real sum = 0;
  for (std::size_t k = 0; k < 4; ++k) sum += w[k] * static_cast<Real>(std::bit_cast<Channels<P>>(pixels[k])[channel]);
  return sum;
}

template <class C, class Real>
C ReferenceStore(Real v) {
  if constexpr (std::is_same_v<C, float>) return v == v ? v : std::numeric_limits<float>::quiet_NaN();
  if constexpr (std::is_same_v<C, std::uint8_t>) {
    if (v + Real(0.5) >= 255) return 255;
    if (!(v + Real(0.5) > 0)) return 0;
  }
  return static_cast<C>(static_cast<std::int64_t>(v + Real(0.5)));
}

// Straight bilinear; `given` takes the place of the position's own weights.
template <class P>
P ReferenceStraight(const PF_LayerDef& world, std::int64_t x, std::int64_t y, const double* given = nullptr) {
  using C = pf::ChannelOf<P>;
  using Real = std::conditional_t<std::is_same_v<C, std::uint16_t>, double, float>;
  const std::int64_t i = x >> 16, j = y >> 16;
  if (((x | y) & 65535) == 0) return ReferencePixel<P>(world, i, j);
  const std::array<P, 4> p = {ReferencePixel<P>(world, i, j), ReferencePixel<P>(world, i + 1, j),
                              ReferencePixel<P>(world, i, j + 1), ReferencePixel<P>(world, i + 1, j + 1)};
  if (Bits(p[0]) == Bits(p[1]) && Bits(p[0]) == Bits(p[2]) && Bits(p[0]) == Bits(p[3])) return p[0];
  auto w = ReferenceWeights<Real>(x, y);
  for (std::size_t k = 0; given != nullptr && k < 4; ++k) w[k] = static_cast<Real>(given[k]);

  Channels<P> out = {};
  const bool alike = p[0].alpha == p[1].alpha && p[0].alpha == p[2].alpha && p[0].alpha == p[3].alpha;
  if (alike && p[0].alpha == 0) return P{};
  Real inverse = 1;
  if (alike) {
    out[0] = p[0].alpha;
  } else {
    for (std::size_t k = 0; k < 4; ++k) w[k] = static_cast<Real>(p[k].alpha) * w[k];
    const Real alpha = w[0] + w[1] + w[2] + w[3];
    if (std::is_same_v<C, float> ? !(alpha > 0) : alpha < Real(0.5)) return P{};
    out[0] = ReferenceStore<C>(alpha);
    inverse = Real(1) / alpha;
  }
  for (std::size_t c = 1; c < 4; ++c) {
    const Real sum = ReferenceSum(p, w, c);
    out[c] = ReferenceStore<C>(alike ? sum : sum * inverse);
  }
  return std::bit_cast<P>(out);
}

// Whether the first (bit 0) and the second neighbour (bit 1) of an axis count.
inline int ReferencePresence(std::int64_t position, std::int64_t size) {
  if (position <= -65536 || position >= size * 65536) return 0;
  if (position > 0) return position < (size - 1) * 65536 ? 3 : 1;
  return position % 65536 == 0 ? 1 : 2;
}

template <class P>
P ReferencePremul(const PF_LayerDef& world, std::int64_t x, std::int64_t y) {
  using C = pf::ChannelOf<P>;
  const std::int64_t i = x >> 16, j = y >> 16, fx = x & 65535, fy = y & 65535;
  if (fx == 0 && fy == 0) return ReferencePixel<P>(world, i, j);
  const int columns = ReferencePresence(x, world.width), rows = ReferencePresence(y, world.height);
  if (columns == 0 || rows == 0) return P{};
  std::array<P, 4> p = {};
  for (std::size_t k = 0; k < 4; ++k) {
    const auto right = static_cast<int>(k % 2), below = static_cast<int>(k / 2);
    if ((columns >> right & rows >> below & 1) != 0) p[k] = ReferencePixel<P>(world, i + right, j + below);
  }
  if (Bits(p[0]) == Bits(p[1]) && Bits(p[0]) == Bits(p[2]) && Bits(p[0]) == Bits(p[3])) return p[0];
  Channels<P> out;
  if constexpr (std::is_same_v<C, float>) {
    std::array<float, 4> w;
    for (std::size_t k = 0; k < 4; ++k) w[k] = static_cast<float>(ReferenceWeights<double>(x, y)[k]);
    for (std::size_t c = 0; c < 4; ++c) out[c] = ReferenceStore<float>(ReferenceSum(p, w, c));
  } else {
    std::array<std::int64_t, 4> w = {0, (65536 - fy) * fx / 65536, (65536 - fx) * fy / 65536, fx * fy / 65536};
    w[0] = 65536 - w[1] - w[2] - w[3];
    for (std::size_t c = 0; c < 4; ++c) out[c] = static_cast<C>((ReferenceSum(p, w, c) + 32768) / 65536);
  }
  return std::bit_cast<P>(out);
}

}  // namespace pftest
