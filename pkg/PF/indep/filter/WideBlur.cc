#include "filter/WideBlur.h"

#include <algorithm>

#include "filter/Bell.h"
#include "filter/TileOrder.h"
#include "filter/WideKernels.h"
#include "iterate/ScratchLines.h"
#include "lifecycle/Globals.h"
#include "pixel/ByteRange.h"

namespace pf {
namespace {

const WideKernels& Kernels() { return *g_kernels.wide.load(std::memory_order_relaxed); }

// Calls f(first line, how many) for every so many lines: in order, or those that threads begin together far apart.
enum class Turns { kInOrder, kApart };
template <class F>
PF_Err ForLines(const BlurredPlane& plane, std::int64_t together, Turns turns, const F& f) {
  const std::int64_t count = (plane.lines() + together - 1) / together;
  return ForRows(plane.progress, plane.reports, static_cast<std::int32_t>(plane.lines()), [&](std::int32_t line) {
    if (line % together != 0) return;
    const std::int64_t k = line / together, first = (turns == Turns::kApart ? TileInTurn(k, count) : k) * together;
    f(first, std::min(together, plane.lines() - first));
  });
}

template <class T>
const T* At(const BlurredPlane& plane, std::int64_t x, std::int64_t y) {
  return reinterpret_cast<const T*>(plane.src + y * plane.src_row_bytes + x * plane.pixel_bytes);
}
template <class T>
T* OutAt(const BlurredPlane& plane, std::int64_t x, std::int64_t y) {
  return reinterpret_cast<T*>(plane.dst + y * plane.dst_row_bytes + x * plane.pixel_bytes);
}

// \name Bells
// @{

// Rows in reach stand widened in a tile's memory; those that are left behind make room for those that come.
template <class T>
PF_Err BellColumns(const BlurredPlane& plane, const WideWeights& weights, const WideBellKernels<T>& kernels) {
  constexpr std::int64_t kMost = 2 * kDirectReach + kWideRows;
  const std::int64_t reach = weights.reach, count = 2 * reach + kWideRows;
  constexpr std::int64_t kSpare = kWideTile / static_cast<std::int64_t>(sizeof(double) / sizeof(T));
  ScratchLines scratch(sizeof(double) * static_cast<std::uint64_t>(count * kWideTile + kSpare), Message::kBlurMemory);
  return ForLines(plane, kWideTile / 4, Turns::kApart, [&](std::int64_t x, std::int64_t columns) {
    const ScratchLines::Line memory(scratch);
    auto* const doubles = reinterpret_cast<double*>(memory.data());
    auto* const spare = reinterpret_cast<T*>(doubles + count * kWideTile);
    const std::int64_t n = 4 * columns;
    double* rows[kMost];
    for (std::int64_t i = 0; i < count; ++i) rows[i] = doubles + i * kWideTile;
    const auto load = [&](std::int64_t y, double* row) {
      const std::int64_t inside = std::clamp<std::int64_t>(y, 0, plane.height - 1);
      if (plane.transparent && y != inside) return void(std::fill_n(row, n, 0.0));
      const std::int64_t ahead = std::min(inside + 16, plane.height - 1);
      kernels.widen_crossing(At<T>(plane, x, inside), n, row, At<T>(plane, x, ahead));
    };
    for (std::int64_t i = kWideRows; i < count; ++i) load(i - kWideRows - reach, rows[i]);
    for (std::int64_t y = 0; y < plane.height; y += kWideRows) {
      std::rotate(rows, rows + kWideRows, rows + count);
      T* out[kWideRows];
      for (std::int64_t i = 0; i < kWideRows; ++i) {
        load(y + reach + i, rows[2 * reach + i]);
        out[i] = y + i < plane.height ? OutAt<T>(plane, x, y + i) : spare;
      }
      kernels.across(rows, weights, out, n);
    }
  });
}

// Pieces of a row stand widened with what is in their reach, which moves up to the next piece.
template <class T>
PF_Err BellRows(const BlurredPlane& plane, const WideWeights& weights, const WideBellKernels<T>& kernels) {
  constexpr std::int64_t kPiece = 128;
  const std::int64_t reach = weights.reach, width = plane.width;
  ScratchLines scratch(sizeof(double) * static_cast<std::uint64_t>(4 * (kPiece + 2 * reach)), Message::kBlurMemory);
  return ForLines(plane, 1, Turns::kInOrder, [&](std::int64_t y, std::int64_t) {
    const ScratchLines::Line memory(scratch);
    auto* const samples = reinterpret_cast<double*>(memory.data());
    const auto fill = [&](double* to, std::int64_t n, const double* pixel) {
      if (plane.transparent) return void(std::fill_n(to, 4 * n, 0.0));
      for (std::int64_t i = 0; i < n; ++i) std::copy_n(pixel, 4, to + 4 * i);
    };
    std::int64_t begun = 0;
    for (std::int64_t x = 0; x < width; x += kPiece) {
      const std::int64_t n = std::min(kPiece, width - x), end = std::min(x + kPiece + reach, width);
      double* const first = samples + 4 * reach;
      if (x > 0) std::copy_n(samples + 4 * kPiece, 8 * reach, samples);
      if (begun < end) {
        const T* const in = At<T>(plane, begun, y);
        kernels.widen(in, 4 * (end - begun), first + 4 * (begun - x), in + 4 * kPiece);
      }
      begun = std::max(begun, end);
      if (x == 0) fill(samples, reach, first);
      if (x + n + reach > width) fill(first + 4 * (width - x), x + n + reach - width, first + 4 * (width - 1 - x));
      kernels.along(samples, weights, OutAt<T>(plane, x, y), n);
    }
  });
}
// @}

}  // namespace

template <class T>
PF_Err BlurByWideBell(const BlurredPlane& plane, double radius, int bits) {
  const BellWeights bell(radius, bits);
  const WideWeights weights = {bell.values(), bell.reach()};
  const WideBellKernels<T>& kernels = Kernels().Bell<T>();
  return plane.columns ? BellColumns<T>(plane, weights, kernels) : BellRows<T>(plane, weights, kernels);
}
template PF_Err BlurByWideBell<std::uint16_t>(const BlurredPlane&, double, int);
template PF_Err BlurByWideBell<float>(const BlurredPlane&, double, int);

PF_Err BlurByWideBox(const BlurredPlane& plane, std::int64_t span) {
  const bool columns = plane.columns;
  const bool streams = !plane.in_place() && plane.width_bytes() * plane.height >= kPastCaches;
  const std::int64_t window = 2 * span + 1;
  const auto sums = static_cast<std::uint64_t>(BoxSums(window, columns));
  const auto samples = static_cast<std::uint64_t>(columns ? window * kBoxRow : 0);
  ScratchLines scratch(sizeof(double) * sums + sizeof(float) * samples, Message::kBlurMemory);
  // The kernel fetches the beginning of the next columns.
  return ForLines(plane, columns ? kBoxRow / 4 : 2, Turns::kInOrder, [&](std::int64_t line, std::int64_t count) {
    const ScratchLines::Line memory(scratch);
    const std::int64_t x = columns ? line : 0, y = columns ? 0 : line;
    const std::int64_t in_row = plane.src_row_bytes, out_row = plane.dst_row_bytes, pixel = plane.pixel_bytes;
    const BoxLines lines = {reinterpret_cast<double*>(memory.data()),
                            reinterpret_cast<float*>(memory.data() + sizeof(double) * sums),
                            {At<float>(plane, x, y), columns ? in_row : pixel, in_row},
                            {OutAt<float>(plane, x, y), columns ? out_row : pixel, out_row},
                            columns ? plane.height : plane.width,
                            span,
                            plane.transparent,
                            1 / static_cast<double>(window)};
    if (columns) return Kernels().box_columns(lines, 4 * count);
    Kernels().box_rows(lines, count, streams);
    if (streams) Kernels().settle();
  });
}

}  // namespace pf
