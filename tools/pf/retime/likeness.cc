#include "retime/likeness.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace pftool {
namespace {

constexpr int kMostCells = 64, kPatch = 4;
// Pictures without contrast are all alike: below this mean deviation noise would decide.
constexpr double kLeastContrast = 0.06;

template <class Pixel>
constexpr float kFull = 1;
template <>
constexpr float kFull<PF_Pixel8> = PF_MAX_CHAN8;
template <>
constexpr float kFull<PF_Pixel16> = PF_MAX_CHAN16;

template <class Pixel>
float Unit(const Pixel& pixel, decltype(Pixel::red) value) {
  const float unit = static_cast<float>(value) / kFull<Pixel> * (static_cast<float>(pixel.alpha) / kFull<Pixel>);
  if (!(unit > 0)) return 0;  // also what is no number
  return unit > 1 ? 2 - 1 / std::min(unit, 1e6f) : unit;
}

template <class Pixel>
const Pixel* RowOf(const PF_World& world, int y) {
  return reinterpret_cast<const Pixel*>(static_cast<const std::byte*>(world.data) +
                                        static_cast<std::ptrdiff_t>(y) * world.row_bytes);
}

/// Calls `visit(cell, a, b)` for every pixel of two worlds, which may be one.
template <class Pixel, class Visit>
void ForEachPixel(const PF_World& a, const PF_World& b, int columns, int rows, Visit visit) {
  for (int y = 0; y < a.height; ++y) {
    const Pixel *row_a = RowOf<Pixel>(a, y), *row_b = RowOf<Pixel>(b, y);
    const auto first = static_cast<std::size_t>(static_cast<std::int64_t>(y) * rows / a.height * columns);
    for (int x = 0; x < a.width; ++x) {
      visit(first + static_cast<std::size_t>(static_cast<std::int64_t>(x) * columns / a.width), row_a[x], row_b[x]);
    }
  }
}

template <class Pixel>
void Fill(const PF_World& world, Signature* signature) {
  const auto count = static_cast<std::size_t>(signature->columns * signature->rows);
  std::vector<float> pixels(count);
  for (auto& channel : signature->cells) channel.assign(count, 0);
  ForEachPixel<Pixel>(world, world, signature->columns, signature->rows,
                      [&](std::size_t cell, const Pixel& pixel, const Pixel&) {
                        signature->cells[0][cell] += Unit(pixel, pixel.red);
                        signature->cells[1][cell] += Unit(pixel, pixel.green);
                        signature->cells[2][cell] += Unit(pixel, pixel.blue);
                        pixels[cell] += 1;
                      });
  for (auto& channel : signature->cells) {
    for (std::size_t i = 0; i < count; ++i) channel[i] /= pixels[i];
  }
}

template <class Pixel>
bool Same(const PF_World& a, const PF_World& b, int columns, int rows) {
  const auto count = static_cast<std::size_t>(columns * rows);
  std::vector<double> sums(count), pixels(count);
  double all = 0;
  ForEachPixel<Pixel>(a, b, columns, rows, [&](std::size_t cell, const Pixel& p, const Pixel& q) {
    const float colour = std::abs(Unit(p, p.red) - Unit(q, q.red)) + std::abs(Unit(p, p.green) - Unit(q, q.green)) +
                         std::abs(Unit(p, p.blue) - Unit(q, q.blue));
    const float alpha = std::abs(static_cast<float>(p.alpha) - static_cast<float>(q.alpha)) / kFull<Pixel>;
    sums[cell] += static_cast<double>(colour / 3 + alpha);
    pixels[cell] += 1;
  });
  constexpr double kStep = 1.0 / 255;
  for (std::size_t i = 0; i < count; ++i) {
    // Written so that what is no number is no repeat either.
    if (!(sums[i] <= kStep * pixels[i])) return false;
    all += sums[i];
  }
  return all <= kStep / 4 * static_cast<double>(a.width) * static_cast<double>(a.height);
}

bool EqualBits(const PF_World& a, const PF_World& b) {
  const auto bytes = static_cast<std::size_t>(a.width) * static_cast<std::size_t>(a.PixelSize());
  for (int y = 0; y < a.height; ++y) {
    if (std::memcmp(RowOf<std::byte>(a, y), RowOf<std::byte>(b, y), bytes) != 0) return false;
  }
  return true;
}

double Contrast(const Signature& signature) {
  double sum = 0;
  for (const auto& channel : signature.cells) {
    double mean = 0;
    for (const float value : channel) mean += static_cast<double>(value);
    mean /= static_cast<double>(channel.size());
    for (const float value : channel) sum += std::abs(static_cast<double>(value) - mean);
  }
  return sum / static_cast<double>(3 * signature.cells[0].size());
}

/// What remains of the patch of `a` at (x, y) against `b` moved by (dx, dy); gives up above `limit`.
double Remainder(const Signature& a, const Signature& b, int x, int y, int width, int height, int dx, int dy,
                 double limit) {
  float sum = 0;
  for (int row = y; row < y + height; ++row) {
    const auto from = static_cast<std::size_t>(row * a.columns + x);
    const auto to = static_cast<std::size_t>((row + dy) * b.columns + x + dx);
    for (std::size_t channel = 0; channel < 3; ++channel) {
      const float *p = &a.cells[channel][from], *q = &b.cells[channel][to];
      for (int i = 0; i < width; ++i) sum += std::abs(p[i] - q[i]);
    }
    if (static_cast<double>(sum) >= limit) break;
  }
  return static_cast<double>(sum);
}

double BestRemainder(const Signature& a, const Signature& b, int x, int y, int width, int height) {
  const int reach_x = a.columns / 4, reach_y = a.rows / 4;
  double best = Remainder(a, b, x, y, width, height, 0, 0, std::numeric_limits<double>::infinity());
  for (int dy = std::max(-reach_y, -y); dy <= std::min(reach_y, b.rows - height - y); ++dy) {
    for (int dx = std::max(-reach_x, -x); dx <= std::min(reach_x, b.columns - width - x); ++dx) {
      best = std::min(best, Remainder(a, b, x, y, width, height, dx, dy, best));
    }
  }
  return best;
}

/// The mean that motion leaves unexplained of `a` in `b`.
double Unexplained(const Signature& a, const Signature& b) {
  double sum = 0;
  for (int y = 0; y < a.rows; y += kPatch) {
    for (int x = 0; x < a.columns; x += kPatch) {
      sum += BestRemainder(a, b, x, y, std::min(kPatch, a.columns - x), std::min(kPatch, a.rows - y));
    }
  }
  return sum / static_cast<double>(3 * a.cells[0].size());
}

double Transport(const Signature& a, const Signature& b) {
  double sum = 0;
  for (std::size_t channel = 0; channel < 3; ++channel) {
    for (std::size_t i = 0; i < a.sorted[channel].size(); ++i) {
      sum += std::abs(static_cast<double>(a.sorted[channel][i] - b.sorted[channel][i]));
    }
  }
  return sum / static_cast<double>(3 * a.sorted[0].size());
}

}  // namespace

Signature SignatureOf(const PF_World& world) {
  Signature signature;
  const int longer = std::max(world.width, world.height);
  const auto cells = [&](int extent) {
    return std::clamp(static_cast<int>(static_cast<std::int64_t>(extent) * kMostCells / longer), 1,
                      std::min(extent, kMostCells));
  };
  signature.columns = cells(world.width);
  signature.rows = cells(world.height);
  if (world.Depth() == 8) {
    Fill<PF_Pixel8>(world, &signature);
  } else if (world.Depth() == 16) {
    Fill<PF_Pixel16>(world, &signature);
  } else {
    Fill<PF_PixelFloat>(world, &signature);
  }
  signature.sorted = signature.cells;
  for (auto& channel : signature.sorted) std::sort(channel.begin(), channel.end());
  return signature;
}

double Strangeness(const Signature& a, const Signature& b) {
  const double contrast = std::max({kLeastContrast, Contrast(a), Contrast(b)});
  const double unexplained = (Unexplained(a, b) + Unexplained(b, a)) / 2;
  return (unexplained + Transport(a, b)) / contrast;
}

bool ShowsTheSame(const PF_World& a, const PF_World& b) {
  if (EqualBits(a, b)) return true;
  const int columns = std::min(a.width, kMostCells), rows = std::min(a.height, kMostCells);
  if (a.Depth() == 8) return Same<PF_Pixel8>(a, b, columns, rows);
  if (a.Depth() == 16) return Same<PF_Pixel16>(a, b, columns, rows);
  return Same<PF_PixelFloat>(a, b, columns, rows);
}

}  // namespace pftool
