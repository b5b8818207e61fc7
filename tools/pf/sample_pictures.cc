#include "sample_pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace pftool {
namespace {

float Single(double v) { return static_cast<float>(v); }

PF_PixelFloat Mix(const PF_PixelFloat& a, const PF_PixelFloat& b, double t) {
  const auto part = [t](float u, float v) { return u + (v - u) * Single(t); };
  return {part(a.alpha, b.alpha), part(a.red, b.red), part(a.green, b.green), part(a.blue, b.blue)};
}

double Smooth(double from, double to, double v) {
  const double t = std::clamp((v - from) / (to - from), 0.0, 1.0);
  return t * t * (3 - 2 * t);
}

// Noise of a place, -1..1.
double Grain(int x, int y) {
  auto h = static_cast<std::uint32_t>(x) * 374761393u + static_cast<std::uint32_t>(y) * 668265263u;
  h = (h ^ (h >> 13)) * 1274126177u;
  return static_cast<double>((h ^ (h >> 16)) & 0xFFFF) / 32767.5 - 1;
}

PF_PixelFloat Landscape(double u, double v, double grain) {
  PF_PixelFloat pixel = Mix({1, 0.18f, 0.40f, 0.75f}, {1, 0.98f, 0.80f, 0.58f}, Smooth(0, 0.62, v));
  pixel = Mix(pixel, {1, 1, 0.97f, 0.85f}, 1 - Smooth(0.05, 0.16, std::hypot((u - 0.72) * 1.33, v - 0.3)));
  const PF_PixelFloat far = {1, 0.42f, 0.48f, 0.58f}, near = {1, 0.10f, 0.24f, 0.08f};
  for (int hill = 0; hill < 3; ++hill) {
    const double ridge = 0.5 + 0.15 * hill + 0.07 * std::sin(u * (5 + 3 * hill) + 2.1 * hill) +
                         0.02 * std::sin(u * (23 + 9 * hill) + hill);
    const double light = 0.25 * (v - ridge) + 0.05 * std::sin(40 * u + 25 * v) + 0.06 * grain;
    PF_PixelFloat slope = Mix(far, near, hill / 2.0);
    slope = Mix(slope, {1, 0.80f, 0.72f, 0.30f}, std::clamp(light + 0.1, 0.0, 1.0));
    pixel = Mix(pixel, slope, Smooth(ridge - 0.004, ridge + 0.004, v));
  }
  return Mix(pixel, {1, 0.5f, 0.5f, 0.5f}, 0.03 * (grain + 1));
}

PF_PixelFloat CutOut(double u, double v) {
  const double dx = (u - 0.38) * 1.33, dy = v - 0.45, r = std::hypot(dx, dy);
  const double light = std::clamp(1 - std::hypot(dx + 0.1, dy + 0.12) * 2.2, 0.0, 1.0);
  PF_PixelFloat pixel = Mix({1, 0.35f, 0.05f, 0.25f}, {1, 1.0f, 0.62f, 0.20f}, light);
  pixel = Mix(pixel, {1, 1, 1, 1}, Smooth(0.8, 1, light));
  pixel.alpha = Single(1 - Smooth(0.22, 0.36, r));
  const double strip = 1 - Smooth(0.05, 0.09, std::abs(v - 0.85));
  if (strip > pixel.alpha) {
    pixel = HueColour(u, 0.9, 0.5);
    pixel.alpha = Single(strip);
  }
  return pixel;
}

template <class F>
WorldPtr Drawn(int width, int height, F f) {
  WorldPtr world = NewWorld(width, height, 32, "a sample picture");
  for (int y = 0; y < height; ++y) {
    auto* row = reinterpret_cast<PF_PixelFloat*>(static_cast<std::byte*>(world->data) +
                                                 static_cast<std::ptrdiff_t>(y) * world->row_bytes);
    for (int x = 0; x < width; ++x) row[x] = f((x + 0.5) / width, (y + 0.5) / height, Grain(x, y));
  }
  return world;
}

}  // namespace

PF_PixelFloat HueColour(double hue, double saturation, double lightness) {
  const double chroma = (1 - std::abs(2 * lightness - 1)) * saturation;
  const auto part = [&](double shift) {
    const double turn = std::fmod(hue + shift, 1.0) * 6;
    return Single(lightness + chroma * (std::clamp(std::abs(turn - 3) - 1, 0.0, 1.0) - 0.5));
  };
  return {1, part(0), part(2.0 / 3), part(1.0 / 3)};
}

WorldPtr SampleLandscape(int width, int height) { return Drawn(width, height, Landscape); }
WorldPtr SampleCutOut(int width, int height) {
  return Drawn(width, height, [](double u, double v, double) { return CutOut(u, v); });
}

}  // namespace pftool
