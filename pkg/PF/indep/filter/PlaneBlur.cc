#include "filter/PlaneBlur.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "filter/Bell.h"
#include "filter/PlaneKernels.h"
#include "filter/TileOrder.h"
#include "iterate/ScratchLines.h"
#include "lifecycle/Globals.h"

namespace pf {
namespace {

const PlaneKernels& Kernels() { return *g_kernels.plane.load(std::memory_order_relaxed); }

// Columns that are blurred together, from top to bottom: what they need of the rows in reach stays in the cache.
constexpr std::int64_t kBellTileBytes = 1024, kLargestTileBytes = 2048;

// Rows that enter, that leave and that were overwritten fill a quarter of the second cache. Narrower tiles would read
// too little at a time.
std::int64_t BoxTileBytes(std::int64_t span) {
  constexpr std::int64_t kQuarterOfCache = 262144, kSmallest = 512;
  const auto fitting = std::bit_floor(static_cast<std::uint64_t>(kQuarterOfCache / (3 * span)));
  return std::clamp(static_cast<std::int64_t>(fitting), kSmallest, kLargestTileBytes);
}

// Narrow planes have some tiles too, for several processors.
std::int64_t TileBytes(const BlurredPlane& plane, std::int64_t most) {
  const auto quarter = static_cast<std::uint64_t>(plane.width_bytes()) / 4;
  return std::clamp<std::int64_t>(static_cast<std::int64_t>(std::bit_floor(quarter)), 64, most);
}

// \name Along rows
// @{

// Rows of a plane, which go on beyond their ends.
class ExtendedRows {
 public:
  explicit ExtendedRows(const BlurredPlane& plane) : plane_(plane), pixel_(plane.pixel_bytes) {}

  const std::byte* At(std::int64_t y) const { return plane_.src + y * plane_.src_row_bytes; }
  // Copies pixels first..end - 1 of row y, first <= width and end >= 0.
  void Copy(std::int64_t y, std::int64_t first, std::int64_t end, std::byte* to) const {
    const std::int64_t begin = std::max<std::int64_t>(first, 0), stop = std::min(end, plane_.width);
    const std::byte* const row = At(y);
    std::byte *const inside = to + (begin - first) * pixel_, *const behind = inside + (stop - begin) * pixel_;
    std::memcpy(inside, row + begin * pixel_, static_cast<std::size_t>(behind - inside));
    Repeat(row, to, begin - first);
    Repeat(row + (plane_.width - 1) * pixel_, behind, end - stop);
  }

 private:
  void Repeat(const std::byte* pixel, std::byte* to, std::int64_t times) const {
    const std::int64_t size = times * pixel_;
    if (size == 0) return;
    if (plane_.transparent) return void(std::memset(to, 0, static_cast<std::size_t>(size)));
    std::memcpy(to, pixel, static_cast<std::size_t>(pixel_));
    for (std::int64_t done = pixel_; done < size; done *= 2) {
      std::memcpy(to + done, to, static_cast<std::size_t>(std::min(done, size - done)));
    }
  }

  const BlurredPlane& plane_;
  std::int64_t pixel_;
};

template <class F>
PF_Err ForLines(const BlurredPlane& plane, const F& line) {
  return ForRows(plane.progress, plane.reports, static_cast<std::int32_t>(plane.lines()), line);
}

// What follows row y, as far ahead as it takes to fetch it.
RowsAhead AheadOf(const BlurredPlane& plane, std::int64_t y) {
  constexpr std::int64_t kAhead = 4096;
  return {plane.src + y * plane.src_row_bytes + kAhead, plane.dst + y * plane.dst_row_bytes + kAhead};
}

template <class T>
T* RowOut(const BlurredPlane& plane, std::int64_t y) {
  return reinterpret_cast<T*>(plane.dst + y * plane.dst_row_bytes);
}

// A row's values for boxes: where it lies, but for copies of its ends. A row that overwrites itself, or whose ends are
// all there is of it, is copied.
template <class T>
class BoxRows {
 public:
  // A span beyond the line adds nothing but end pixels, the same to every sum.
  BoxRows(const BlurredPlane& plane, std::int64_t span)
      : plane_(plane),
        rows_(plane),
        reach_(std::min(span, plane.width)),
        beyond_(static_cast<std::uint32_t>(span - reach_)),
        block_(kRowBlock / plane.channels),
        head_((reach_ + block_) / block_ * block_),
        tail_((plane.width - reach_) / block_ * block_),
        whole_(plane.in_place() || head_ > tail_) {}

  std::int64_t scratch_pixels() const { return plane_.width + 2 * reach_ + 1 + block_; }

  void Blur(std::int64_t y, std::byte* scratch, const BoxDivider& divider) const {
    const BoxKernels<T>& kernels = Kernels().Of<T>();
    std::uint32_t more[4];
    More(y, more);
    (plane_.channels == 4 ? kernels.row_of_pixels : kernels.row)(Row(y, more, scratch), divider);
  }

 private:
  const T* Values(const std::byte* row, std::int64_t x) const {
    return reinterpret_cast<const T*>(row + x * plane_.pixel_bytes);
  }
  // End pixels in the window before the first one.
  void More(std::int64_t y, std::uint32_t* more) const {
    const T *first = Values(rows_.At(y), 0), *last = Values(rows_.At(y), plane_.width - 1);
    const std::uint32_t before = beyond_ + static_cast<std::uint32_t>(reach_ + 1);
    for (int i = 0; i < 4; ++i) {
      const int c = i % plane_.channels;
      more[i] = plane_.transparent ? 0 : before * first[c] + beyond_ * last[c];
    }
  }
  BoxRow<T> Row(std::int64_t y, const std::uint32_t* more, std::byte* scratch) const {
    const std::int64_t n = plane_.width, channels = plane_.channels;
    const std::byte* const row = rows_.At(y);
    BoxRow<T> box = {Values(row, 0), channels * reach_, more, {}, RowOut<T>(plane_, y), AheadOf(plane_, y)};
    if (whole_) {
      rows_.Copy(y, -reach_ - 1, n + reach_, scratch);
      box.pieces[0] = {Values(scratch, 2 * reach_ + 1), Values(scratch, 0), channels * n};
      return box;
    }
    std::byte* const end = scratch + head_ * plane_.pixel_bytes;
    rows_.Copy(y, -reach_ - 1, head_ - reach_ - 1, scratch);
    rows_.Copy(y, tail_ + reach_, n + reach_, end);
    box.pieces[0] = {Values(row, reach_), Values(scratch, 0), channels * head_};
    box.pieces[1] = {Values(row, head_ + reach_), Values(row, head_ - reach_ - 1), channels * (tail_ - head_)};
    box.pieces[2] = {Values(end, 0), Values(row, tail_ - reach_ - 1), channels * (n - tail_)};
    return box;
  }

  const BlurredPlane& plane_;
  ExtendedRows rows_;
  std::int64_t reach_;
  std::uint32_t beyond_;
  std::int64_t block_, head_, tail_;
  bool whole_;
};

template <class T>
PF_Err BlurRowsByBox(const BlurredPlane& plane, std::int64_t span, const BoxDivider& divider) {
  const BoxRows<T> rows(plane, span);
  ScratchLines scratch(static_cast<std::uint64_t>(rows.scratch_pixels() * plane.pixel_bytes), Message::kBlurMemory);
  return ForLines(plane, [&](std::int32_t y) {
    const ScratchLines::Line line(scratch);
    rows.Blur(y, line.data(), divider);
  });
}

PF_Err BellRows(const BlurredPlane& plane, const SplitWeights& weights) {
  const std::int64_t reach = weights.reach, channels = plane.channels;
  const ExtendedRows rows(plane);
  ScratchLines scratch(static_cast<std::uint64_t>((plane.width + 2 * reach) * plane.pixel_bytes), Message::kBlurMemory);
  return ForLines(plane, [&](std::int32_t y) {
    const ScratchLines::Line line(scratch);
    rows.Copy(y, -reach, plane.width + reach, line.data());
    const std::uint8_t* taps[2 * kDirectReach + 1];
    const auto* row = reinterpret_cast<const std::uint8_t*>(line.data());
    for (std::int64_t i = 0; i <= 2 * reach; ++i) taps[i] = row + i * channels;
    Kernels().bell(taps, weights, RowOut<std::uint8_t>(plane, y), channels * plane.width, AheadOf(plane, y));
  });
}
// @}

// \name Along columns
// @{

// Columns that are blurred together, and the rows that cross them.
class Tile {
 public:
  Tile(const BlurredPlane& plane, std::int64_t begin, std::int64_t most)
      : plane_(plane), begin_(begin), bytes_(std::min(most, plane.width_bytes() - begin)) {}

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

  static constexpr std::int64_t kAhead = kSlideRows;
  alignas(64) static constexpr std::byte kNothing[kLargestTileBytes] = {};

  const BlurredPlane& plane_;
  std::int64_t begin_, bytes_;
};

// Calls f(tile, scratch) for every tile, at the first line of one of them.
template <class F>
PF_Err ForTiles(const BlurredPlane& plane, std::int64_t most_bytes, std::int64_t scratch_bytes, const F& f) {
  ScratchLines scratch(static_cast<std::uint64_t>(scratch_bytes), Message::kBlurMemory);
  const std::int64_t tile_bytes = TileBytes(plane, most_bytes);
  const std::int64_t count = (plane.width_bytes() + tile_bytes - 1) / tile_bytes;
  return ForLines(plane, [&](std::int32_t x) {
    const std::int64_t at = x * plane.pixel_bytes;
    if (at % tile_bytes != 0) return;
    const ScratchLines::Line line(scratch);
    f(Tile(plane, TileInTurn(at / tile_bytes, count) * tile_bytes, tile_bytes), line.data());
  });
}

// A tile's rows for boxes. When results go onto their sources, the last `kept` rows that were overwritten, and the
// first one while it is in reach, remain as copies.
class BoxTile {
 public:
  // Bytes of scratch.
  static std::int64_t Scratch(const BlurredPlane& plane, std::int64_t kept, std::int64_t tile_bytes) {
    return plane.in_place() ? Slots(plane, kept) * tile_bytes : 0;
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
  // Row y overwrites its source from now on, which goes into the place that is told. Rows are begun in order.
  template <class T>
  T* Begin(std::int64_t y) {
    if (!plane_.in_place()) return nullptr;
    begun_ = y + 1;
    return reinterpret_cast<T*>(Slot(y));
  }

 private:
  static std::int64_t Slots(const BlurredPlane& plane, std::int64_t kept) {
    return static_cast<std::int64_t>(std::bit_ceil(static_cast<std::uint64_t>(std::min(kept + 1, plane.height))));
  }
  std::byte* Slot(std::int64_t y) const { return scratch_ + (y & mask_) * tile_.bytes(); }

  const BlurredPlane& plane_;
  const Tile& tile_;
  std::int64_t mask_, begun_ = 0;
  std::byte* scratch_;
};

template <class T>
PF_Err BoxColumns(const BlurredPlane& plane, std::int64_t span, const BoxDivider& divider) {
  const BoxKernels<T>& kernels = Kernels().Of<T>();
  const std::int64_t height = plane.height;
  const std::int64_t tile_bytes = BoxTileBytes(span), sum_bytes = tile_bytes / std::int64_t{sizeof(T)} * 4;
  const std::int64_t scratch_bytes = sum_bytes + BoxTile::Scratch(plane, span + 1, tile_bytes);
  return ForTiles(plane, tile_bytes, scratch_bytes, [&](const Tile& tile, std::byte* scratch) {
    auto* sums = reinterpret_cast<std::uint32_t*>(scratch);
    BoxTile rows(plane, tile, span + 1, scratch + sum_bytes);
    const std::int64_t n = tile.bytes() / static_cast<std::int64_t>(sizeof(T)), inside = std::min(span, height);
    const auto add = [&](std::int64_t y, std::int64_t times) {
      if (times > 0) kernels.add(sums, rows.At<T>(y), static_cast<std::uint32_t>(times), n, divider);
    };
    kernels.start(sums, n, divider);
    add(-1, span + 1);
    for (std::int64_t y = 0; y < inside; ++y) add(y, 1);
    add(height, span - inside);
    kernels.begin(sums, n, divider);
    const auto slid = [&](std::int64_t y) -> typename BoxSlide<T>::Row {
      T* const kept = rows.Begin<T>(y);
      T* const out = reinterpret_cast<T*>(tile.Out(y));
      return {rows.At<T>(y + span), rows.At<T>(y - span - 1), out, kept, tile.Ahead(y + span, y)};
    };
    BoxSlide<T> slide = {sums, n, kSlideRows, {}};
    for (std::int64_t y = 0; y < height; y += kSlideRows) {
      slide.rows = std::min(kSlideRows, height - y);
      for (std::int64_t i = 0; i < slide.rows; ++i) slide.row[i] = slid(y + i);
      kernels.slide(slide, divider);
    }
  });
}

// Rows in reach stand as copies close together: as they lie in the plane they may get into each other's way in the
// cache. The copy that is left behind takes the row that comes.
PF_Err BellColumns(const BlurredPlane& plane, const SplitWeights& weights) {
  const std::int64_t reach = weights.reach, last = 2 * reach;
  return ForTiles(plane, kBellTileBytes, (last + 1) * kBellTileBytes, [&](const Tile& tile, std::byte* scratch) {
    std::byte* rows[2 * kDirectReach + 1];
    const std::uint8_t* taps[2 * kDirectReach + 1];
    const auto copy = [&](std::int64_t y, std::byte* to) {
      std::memcpy(to, tile.At(y), static_cast<std::size_t>(tile.bytes()));
    };
    for (std::int64_t i = 0; i <= last; ++i) copy(i - reach - 1, rows[i] = scratch + i * kBellTileBytes);
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
  return plane.columns ? BoxColumns<T>(plane, span, divider) : BlurRowsByBox<T>(plane, span, divider);
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
