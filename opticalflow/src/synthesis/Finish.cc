#include "synthesis/Finish.h"

#include <cmath>
#include <limits>

#include "pixel/Depth.h"

namespace pf {
namespace {

template <class P>
ChannelOf<P> Rounded(float v) {
  constexpr auto kFull = static_cast<float>(DepthTraits<P>::kFull);
  if constexpr (sizeof(ChannelOf<P>) == 4) {
    return v;
  } else {
    return static_cast<ChannelOf<P>>(std::min(std::max(v, 0.0f), kFull) + 0.5f);
  }
}

template <class P>
P OpaquePixel(const float* v) {
  return {DepthTraits<P>::kFull, Rounded<P>(v[1]), Rounded<P>(v[2]), Rounded<P>(v[3])};
}

// Straight again, within the colours of the frames; no colour where there is no alpha.
template <class P>
P StraightPixel(const float* v, const PixelRange& range) {
  constexpr auto kFull = static_cast<float>(DepthTraits<P>::kFull);
  constexpr float kLeast = std::numeric_limits<float>::min();  // what is smaller has no inverse
  const float alpha = std::min(std::max(v[0], 0.0f), kFull);
  const ChannelOf<P> kept = Rounded<P>(alpha);
  if (!(kept > 0) || alpha < kLeast) return {};
  const float factor = kFull / alpha;
  const auto colour = [&](int c) { return Rounded<P>(std::min(std::max(v[c] * factor, range.least), range.largest)); };
  return {kept, colour(1), colour(2), colour(3)};
}

template <class P>
void FinishRowOf(const float* row, std::int32_t width, const PixelRange& range, P* pixels) {
  if (range.opaque) {
    for (std::int64_t x = 0; x < width; ++x) pixels[x] = OpaquePixel<P>(row + 4 * x);
  } else {
    for (std::int64_t x = 0; x < width; ++x) pixels[x] = StraightPixel<P>(row + 4 * x, range);
  }
}

const PF_PixelFloat& PixelAt(const PF_World& world, float x, float y) {
  const auto nearest = [](float v, std::int32_t extent) {
    return static_cast<std::int64_t>(std::min(std::max(v + 0.5f, 0.0f), static_cast<float>(extent - 1)));
  };
  const auto* row = static_cast<const std::byte*>(world.data) + nearest(y, world.height) * world.row_bytes;
  return reinterpret_cast<const PF_PixelFloat*>(row)[nearest(x, world.width)];
}

void PutBackPixel(const PF_PixelFloat& from, PF_PixelFloat& to) {
  const float samples[] = {from.alpha, from.red, from.green, from.blue};
  float* const channels[] = {&to.alpha, &to.red, &to.green, &to.blue};
  for (int c = 0; c < 4; ++c) {
    if (!std::isfinite(samples[c])) *channels[c] = samples[c];
  }
}

}  // namespace

void FinishPixels(const float* row, std::int32_t width, const PixelRange& range, std::int32_t depth,
                  std::byte* pixels) {
  switch (depth) {
    case 8:
      return FinishRowOf(row, width, range, reinterpret_cast<PF_Pixel8*>(pixels));
    case 16:
      return FinishRowOf(row, width, range, reinterpret_cast<PF_Pixel16*>(pixels));
    default:
      return FinishRowOf(row, width, range, reinterpret_cast<PF_PixelFloat*>(pixels));
  }
}

void PutBack(const PF_World& previous, const PF_World& next, const FetchRow& row, std::byte* pixels) {
  auto* to = reinterpret_cast<PF_PixelFloat*>(pixels);
  for (std::int32_t x = 0; x < row.width; ++x) {
    const auto left = static_cast<float>(x), top = static_cast<float>(row.y);
    if (row.share[x] > 0) {
      PutBackPixel(PixelAt(previous, left + row.back * row.u[x], top + row.back * row.v[x]), to[x]);
    }
    if (row.share[x] < 1) {
      PutBackPixel(PixelAt(next, left + row.forth * row.u[x], top + row.forth * row.v[x]), to[x]);
    }
  }
}

}  // namespace pf
