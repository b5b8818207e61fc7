#include "filter/PlaneBlur.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "filter/Bell.h"
#include "filter/PlaneKernels.h"
#include "iterate/ScratchLines.h"
#include "lifecycle/Globals.h"

namespace pf {
namespace {

const PlaneKernels& Kernels() { return *g_kernels.plane.load(std::memory_order_relaxed); }

// Columns that are blurred together, from top to bottom: sums and rows in reach stay in the cache.
constexpr std::int64_t kTileBytes = 1024;

// Narrow planes have some tiles too, for several processors.
std::int64_t TileBytes(const BlurredPlane& plane) {
  const auto quarter = static_cast<std::uint64_t>(plane.width_bytes()) / 4;
  return std::clamp<std::int64_t>(static_cast<std::int64_t>(std::bit_floor(quarter)), 64, kTileBytes);
}

// \name Along rows
// @{

// Copies of rows with `before` and `behind` pixels around them.
class PaddedRows {
 public:
  PaddedRows(const BlurredPlane& plane, std::int64_t before, std::int64_t behind)
      : plane_(plane),
        pixel_(plane.pixel_bytes),
        before_(before),
        behind_(behind),
        lines_(static_cast<std::uint64_t>((plane.width + before + behind) * plane.pixel_bytes + kRowSlack),
               Message::kBlurMemory) {}

  // Calls f(first pixel of row y) with its copy.
  template <class F>
  void With(std::int64_t y, const F& f) {
    const ScratchLines::Line scratch(lines_);
    std::byte *row = scratch.data() + before_ * pixel_, *end = row + plane_.width * pixel_;
    std::memcpy(row, plane_.src + y * plane_.src_row_bytes, static_cast<std::size_t>(end - row));
    if (!plane_.transparent) {
      Repeat(row, scratch.data(), before_);
      Repeat(end - pixel_, end, behind_);
    }
    f(row);
  }

 private:
  void Repeat(const std::byte* pixel, std::byte* to, std::int64_t times) const {
    const std::int64_t size = times * pixel_;
    if (size == 0) return;
    std::memcpy(to, pixel, static_cast<std::size_t>(pixel_));
    for (std::int64_t done = pixel_; done < size; done *= 2) {
      std::memcpy(to + done, to, static_cast<std::size_t>(std::min(done, size - done)));
    }
  }

  const BlurredPlane& plane_;
  std::int64_t pixel_, before_, behind_;
  ScratchLines lines_;
};

template <class F>
PF_Err ForLines(const BlurredPlane& plane, const F& line) {
  return ForRows(plane.progress, plane.reports, static_cast<std::int32_t>(plane.lines()), line);
}

// The row after y.
RowsAhead AheadOf(const BlurredPlane& plane, std::int64_t y) {
  const std::int64_t next = std::min(y + 1, plane.height - 1);
  return {plane.src + next * plane.src_row_bytes, plane.dst + next * plane.dst_row_bytes};
}

template <class T>
T* RowOut(const BlurredPlane& plane, std::int64_t y) {
  return reinterpret_cast<T*>(plane.dst + y * plane.dst_row_bytes);
}

// A span beyond the line adds nothing but end pixels, the same to every sum.
template <class T>
PF_Err BoxRows(const BlurredPlane& plane, std::int64_t span, const BoxDivider& divider) {
  const BoxKernels<T>& kernels = Kernels().Of<T>();
  const auto kernel = plane.channels == 4 ? kernels.row_of_pixels : kernels.row;
  const std::int64_t reach = std::min(span, plane.width), channels = plane.channels;
  const auto beyond = static_cast<std::uint32_t>(plane.transparent ? 0 : span - reach);
  PaddedRows rows(plane, reach + 1, reach);
  return ForLines(plane, [&](std::int32_t y) {
    rows.With(y, [&](const std::byte* pixels) {
      const auto* row = reinterpret_cast<const T*>(pixels);
      std::uint32_t more[4];
      for (std::int64_t i = 0; i < 4; ++i) {
        const std::int64_t c = i % channels;
        more[i] = beyond * (std::uint32_t{row[c]} + row[channels * (plane.width - 1) + c]);
      }
      kernel({row, RowOut<T>(plane, y), plane.width, reach, more, AheadOf(plane, y)}, divider);
    });
  });
}

PF_Err BellRows(const BlurredPlane& plane, const SplitWeights& weights) {
  const std::int64_t reach = weights.reach, channels = plane.channels;
  PaddedRows rows(plane, reach, reach);
  return ForLines(plane, [&](std::int32_t y) {
    rows.With(y, [&](const std::byte* pixels) {
      const std::uint8_t* taps[2 * kDirectReach + 1];
      const auto* row = reinterpret_cast<const std::uint8_t*>(pixels);
      for (std::int64_t i = 0; i <= 2 * reach; ++i) taps[i] = row + (i - reach) * channels;
      Kernels().bell(taps, weights, RowOut<std::uint8_t>(plane, y), channels * plane.width, AheadOf(plane, y));
    });
  });
}
// @}

// \name Along columns
// @{

// Columns that are blurred together, and the rows that cross them.
class Tile {
 public:
  Tile(const BlurredPlane& plane, std::int64_t begin)
      : plane_(plane), begin_(begin), bytes_(std::min(TileBytes(plane), plane.width_bytes() - begin)) {}

  std::int64_t bytes() const { return bytes_; }
  // Row y, which may lie beyond the ends.
  const std::byte* At(std::int64_t y) const {
    if (plane_.transparent && (y < 0 || y >= plane_.height)) return kNothing;
    return plane_.src + Inside(y) * plane_.src_row_bytes + begin_;
  }
  std::byte* Out(std::int64_t y) const { return plane_.dst + y * plane_.dst_row_bytes + begin_; }
  // What follows soon when row `in` is read and row `out` is written.
  RowsAhead Ahead(std::int64_t in, std::int64_t out) const {
    return {plane_.src + Inside(in + kAhead) * plane_.src_row_bytes + begin_, Out(Inside(out + kAhead))};
  }

 private:
  std::int64_t Inside(std::int64_t y) const { return std::clamp<std::int64_t>(y, 0, plane_.height - 1); }

  static constexpr std::int64_t kAhead = 2;
  alignas(64) static constexpr std::byte kNothing[kTileBytes] = {};

  const BlurredPlane& plane_;
  std::int64_t begin_, bytes_;
};

// Calls f(tile, scratch) for every tile, at its first line.
template <class F>
PF_Err ForTiles(const BlurredPlane& plane, std::int64_t scratch_bytes, const F& f) {
  ScratchLines scratch(static_cast<std::uint64_t>(scratch_bytes), Message::kBlurMemory);
  const std::int64_t tile_bytes = TileBytes(plane);
  return ForLines(plane, [&](std::int32_t x) {
    const std::int64_t begin = x * plane.pixel_bytes;
    if (begin % tile_bytes != 0) return;
    const ScratchLines::Line line(scratch);
    f(Tile(plane, begin), line.data());
  });
}

// A tile's rows for boxes. When results go onto their sources, the last `kept` rows that were overwritten, and the
// first one while it is in reach, remain as copies.
class BoxTile {
 public:
  // Bytes of scratch.
  static std::int64_t Scratch(const BlurredPlane& plane, std::int64_t kept) {
    return plane.in_place() ? Slots(plane, kept) * kTileBytes : 0;
  }

  BoxTile(const BlurredPlane& plane, const Tile& tile, std::int64_t kept, std::byte* scratch)
      : plane_(plane), tile_(tile), mask_(Slots(plane, kept) - 1), scratch_(scratch) {}

  // Of the rows before the one that was begun last only those in reach.
  template <class T>
  const T* At(std::int64_t y) const {
    const std::int64_t inside = std::clamp<std::int64_t>(y, 0, plane_.height - 1);
    const bool nothing = plane_.transparent && inside != y;
    return reinterpret_cast<const T*>(inside < begun_ && !nothing ? Slot(inside) : tile_.At(y));
  }
  // Where the results of row y go. Rows are begun in order.
  template <class T>
  T* Begin(std::int64_t y) {
    if (plane_.in_place()) {
      std::memcpy(Slot(y), tile_.At(y), static_cast<std::size_t>(tile_.bytes()));
      begun_ = y + 1;
    }
    return reinterpret_cast<T*>(tile_.Out(y));
  }

 private:
  static std::int64_t Slots(const BlurredPlane& plane, std::int64_t kept) {
    return static_cast<std::int64_t>(std::bit_ceil(static_cast<std::uint64_t>(std::min(kept + 1, plane.height))));
  }
  std::byte* Slot(std::int64_t y) const { return scratch_ + (y & mask_) * kTileBytes; }

  const BlurredPlane& plane_;
  const Tile& tile_;
  std::int64_t mask_, begun_ = 0;
  std::byte* scratch_;
};

template <class T>
PF_Err BoxColumns(const BlurredPlane& plane, std::int64_t span, const BoxDivider& divider) {
  const BoxKernels<T>& kernels = Kernels().Of<T>();
  const std::int64_t height = plane.height;
  constexpr std::int64_t kSumBytes = kTileBytes / static_cast<std::int64_t>(sizeof(T)) * 4;
  return ForTiles(plane, kSumBytes + BoxTile::Scratch(plane, span + 1), [&](const Tile& tile, std::byte* scratch) {
    auto* sums = reinterpret_cast<std::uint32_t*>(scratch);
    BoxTile rows(plane, tile, span + 1, scratch + kSumBytes);
    const std::int64_t n = tile.bytes() / static_cast<std::int64_t>(sizeof(T)), inside = std::min(span, height);
    const auto add = [&](std::int64_t y, std::int64_t times) {
      if (times > 0) kernels.add(sums, rows.At<T>(y), static_cast<std::uint32_t>(times), n, divider);
    };
    kernels.start(sums, n, divider);
    add(-1, span + 1);
    for (std::int64_t y = 0; y < inside; ++y) add(y, 1);
    add(height, span - inside);
    kernels.begin(sums, n, divider);
    for (std::int64_t y = 0; y < height; ++y) {
      T* out = rows.Begin<T>(y);
      kernels.slide({sums, rows.At<T>(y + span), rows.At<T>(y - span - 1), out, n, tile.Ahead(y + span, y)}, divider);
    }
  });
}

// Rows in reach stand as copies close together: as they lie in the plane they may get into each other's way in the
// cache. The copy that is left behind takes the row that comes.
PF_Err BellColumns(const BlurredPlane& plane, const SplitWeights& weights) {
  const std::int64_t reach = weights.reach, last = 2 * reach;
  return ForTiles(plane, (last + 1) * kTileBytes, [&](const Tile& tile, std::byte* scratch) {
    std::byte* rows[2 * kDirectReach + 1];
    const std::uint8_t* taps[2 * kDirectReach + 1];
    const auto copy = [&](std::int64_t y, std::byte* to) {
      std::memcpy(to, tile.At(y), static_cast<std::size_t>(tile.bytes()));
    };
    for (std::int64_t i = 0; i <= last; ++i) copy(i - reach - 1, rows[i] = scratch + i * kTileBytes);
    for (std::int64_t y = 0; y < plane.height; ++y) {
      std::rotate(rows, rows + 1, rows + last + 1);
      copy(y + reach, rows[last]);
      std::transform(rows, rows + last + 1, taps, [](std::byte* row) { return reinterpret_cast<std::uint8_t*>(row); });
      auto* out = reinterpret_cast<std::uint8_t*>(tile.Out(y));
      Kernels().bell(taps, weights, out, tile.bytes(), tile.Ahead(y + reach, y));
    }
  });
}
// @}

}  // namespace

template <class T>
PF_Err BlurByBox(const BlurredPlane& plane, std::int64_t span) {
  const BoxDivider divider(static_cast<std::uint32_t>(2 * span + 1), 8 * sizeof(T));
  return plane.columns ? BoxColumns<T>(plane, span, divider) : BoxRows<T>(plane, span, divider);
}
template PF_Err BlurByBox<std::uint8_t>(const BlurredPlane&, std::int64_t);
template PF_Err BlurByBox<std::uint16_t>(const BlurredPlane&, std::int64_t);

PF_Err BlurByBell(const BlurredPlane& plane, double radius) {
  const BellWeights bell(radius, kBellBits8);
  std::int16_t high[kDirectReach + 2] = {}, low[kDirectReach + 2] = {};
  for (std::int64_t i = 0; i <= bell.reach(); ++i) {
    const auto weight = static_cast<std::int32_t>(bell.values()[i] * (1 << kBellBits8));
    high[i] = static_cast<std::int16_t>(weight >> 12);
    low[i] = static_cast<std::int16_t>(weight & 4095);
  }
  const SplitWeights weights = {high, low, bell.reach()};
  return plane.columns ? BellColumns(plane, weights) : BellRows(plane, weights);
}

}  // namespace pf
