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

// Rows of a tile of columns. When results go onto their sources, the last `kept` rows that were overwritten, and the
// first one while it is in reach, remain as copies.
class TileRows {
 public:
  // Bytes of scratch.
  static std::int64_t Scratch(const BlurredPlane& plane, std::int64_t kept) {
    return plane.in_place() ? Slots(plane, kept) * kTileBytes : 0;
  }

  TileRows(const BlurredPlane& plane, std::int64_t begin, std::int64_t kept, std::byte* scratch)
      : plane_(plane),
        begin_(begin),
        bytes_(std::min(kTileBytes, plane.width_bytes() - begin)),
        mask_(Slots(plane, kept) - 1),
        scratch_(scratch) {}

  std::int64_t bytes() const { return bytes_; }

  // Row y, which may lie beyond the ends; of those before the row that was begun last only the ones in reach.
  template <class T>
  const T* At(std::int64_t y) const {
    if (plane_.transparent && (y < 0 || y >= plane_.height)) return reinterpret_cast<const T*>(kNothing);
    y = std::clamp<std::int64_t>(y, 0, plane_.height - 1);
    const std::byte* row = y < begun_ ? Slot(y) : plane_.src + y * plane_.src_row_bytes + begin_;
    return reinterpret_cast<const T*>(row);
  }

  // What follows soon when row `in` is read and row `out` is written.
  RowsAhead Ahead(std::int64_t in, std::int64_t out) const {
    in = std::min(in + kAhead, plane_.height - 1);
    out = std::min(out + kAhead, plane_.height - 1);
    return {plane_.src + in * plane_.src_row_bytes + begin_, plane_.dst + out * plane_.dst_row_bytes + begin_};
  }

  // Where the results of row y go. Rows are begun in order.
  template <class T>
  T* Begin(std::int64_t y) {
    if (plane_.in_place()) {
      std::memcpy(Slot(y), At<std::byte>(y), static_cast<std::size_t>(bytes_));
      begun_ = y + 1;
    }
    return reinterpret_cast<T*>(plane_.dst + y * plane_.dst_row_bytes + begin_);
  }

 private:
  static std::int64_t Slots(const BlurredPlane& plane, std::int64_t kept) {
    return static_cast<std::int64_t>(std::bit_ceil(static_cast<std::uint64_t>(std::min(kept + 1, plane.height))));
  }
  std::byte* Slot(std::int64_t y) const { return scratch_ + (y & mask_) * kTileBytes; }

  static constexpr std::int64_t kAhead = 2;
  alignas(64) static constexpr std::byte kNothing[kTileBytes] = {};

  const BlurredPlane& plane_;
  std::int64_t begin_, bytes_, mask_, begun_ = 0;
  std::byte* scratch_;
};

// Calls f(tile's rows, scratch) for every tile, at its first line.
template <class F>
PF_Err ForTiles(const BlurredPlane& plane, std::int64_t kept, std::int64_t scratch_bytes, const F& f) {
  const std::int64_t saved = TileRows::Scratch(plane, kept);
  ScratchLines scratch(static_cast<std::uint64_t>(saved + scratch_bytes), Message::kBlurMemory);
  return ForLines(plane, [&](std::int32_t x) {
    const std::int64_t begin = x * plane.pixel_bytes;
    if (begin % kTileBytes != 0) return;
    const ScratchLines::Line line(scratch);
    TileRows rows(plane, begin, kept, line.data());
    f(rows, line.data() + saved);
  });
}

template <class T>
PF_Err BoxColumns(const BlurredPlane& plane, std::int64_t span, const BoxDivider& divider) {
  const BoxKernels<T>& kernels = Kernels().Of<T>();
  const std::int64_t height = plane.height;
  constexpr std::int64_t kSumBytes = kTileBytes / static_cast<std::int64_t>(sizeof(T)) * 4;
  return ForTiles(plane, span + 1, kSumBytes, [&](TileRows& rows, std::byte* scratch) {
    auto* sums = reinterpret_cast<std::uint32_t*>(scratch);
    const std::int64_t n = rows.bytes() / static_cast<std::int64_t>(sizeof(T)), inside = std::min(span, height);
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
      kernels.slide({sums, rows.At<T>(y + span), rows.At<T>(y - span - 1), out, n, rows.Ahead(y + span, y)}, divider);
    }
  });
}

PF_Err BellColumns(const BlurredPlane& plane, const SplitWeights& weights) {
  const std::int64_t reach = weights.reach;
  return ForTiles(plane, reach, 0, [&](TileRows& rows, std::byte*) {
    const std::uint8_t* taps[2 * kDirectReach + 1];
    for (std::int64_t y = 0; y < plane.height; ++y) {
      auto* out = rows.Begin<std::uint8_t>(y);
      for (std::int64_t i = 0; i <= 2 * reach; ++i) taps[i] = rows.At<std::uint8_t>(y + i - reach);
      Kernels().bell(taps, weights, out, rows.bytes(), rows.Ahead(y + reach, y));
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
