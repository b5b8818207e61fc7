// Blurs of worlds along one direction.
#include <cmath>
#include <cstring>
#include <optional>
#include <type_traits>

#include "PF/PF_Filters.h"
#include "edge/Guard.h"
#include "filter/LaneFilter.h"
#include "filter/LineGroup.h"
#include "filter/PlaneBlur.h"
#include "host/vexcore.h"
#include "iterate/ForRows.h"
#include "iterate/ScratchLines.h"
#include "lifecycle/Globals.h"
#include "pixel/ByteRange.h"
#include "pixel/Depth.h"
#include "report/Report.h"

namespace pf {
namespace {

// What a caller asks for, in the terms of one depth.
struct WorldBlur {
  const PF_World& src;
  PF_World& dst;
  double radius;
  std::int32_t flags;
  bool src_columns, dst_columns;
  bool straight;
  const PF_ProgressInfo* progress;

  bool Has(std::int32_t flag) const { return (flags & flag) != 0; }
  // Whether anything is filtered, and colour needs alpha for it.
  bool Copies() const { return Has(PF_BlurFlag_ALPHA_ONLY) && Has(PF_BlurFlag_COLOR_ONLY); }
  bool Weighs() const { return straight && !Has(PF_BlurFlag_ALPHA_ONLY); }
};

template <class T>
LinePlane PlaneOfWorld(const PF_World& world, void* base, bool columns) {
  return LinePlane::Of(base, world.row_bytes, world.width, world.height, sizeof(T), 4, columns);
}

ByteRange BytesOf(const PF_World& world, std::int64_t pixel_size) {
  return ByteRange::OfRows(world.data, world.row_bytes, world.height, world.width * pixel_size);
}

// Whether lines that are written may be read later. Lines onto themselves are not.
bool Disturbs(const WorldBlur& blur, std::int64_t pixel_size) {
  const bool onto_itself = blur.src.data == blur.dst.data && blur.src.row_bytes == blur.dst.row_bytes &&
                           blur.src_columns == blur.dst_columns;
  return !onto_itself && BytesOf(blur.src, pixel_size).Overlaps(BytesOf(blur.dst, pixel_size));
}

// The source's rows, in a block of scratch.
class SourceCopy {
 public:
  SourceCopy(const PF_World& world, std::int64_t pixel_size)
      : row_bytes_(world.width * pixel_size),
        block_(static_cast<std::uint64_t>(row_bytes_ * world.height), Message::kBlurMemory) {
    for (std::int64_t y = 0; y < world.height; ++y) {
      std::memcpy(block_.data() + y * row_bytes_, static_cast<const std::byte*>(world.data) + y * world.row_bytes,
                  static_cast<std::size_t>(row_bytes_));
    }
  }
  std::byte* data() const { return block_.data(); }
  std::int64_t row_bytes() const { return row_bytes_; }

 private:
  std::int64_t row_bytes_;
  HandleBlock block_;
};

// Samples of a group that stay in the nearest cache from one thing done to them to the next.
constexpr std::int64_t kPiece = 64;

// Memory in doubles: for each group samples with their margins and results, then what the filter needs.
struct GroupScratch {
  std::int64_t samples, results, sums;

  // Filters of short reach go along the lines in pieces.
  GroupScratch(const LaneFilter* filter, std::int64_t length) {
    const std::int64_t n = filter == nullptr || filter->local() ? kPiece : length;
    samples = kLanes * (n + 2 * (filter != nullptr ? filter->margin() : 0));
    results = kLanes * n;
    sums = filter != nullptr ? filter->scratch() : 0;
  }
  std::int64_t group() const { return samples + results; }
  std::uint64_t bytes(std::int64_t groups) const {
    return sizeof(double) * static_cast<std::uint64_t>(groups * group() + sums);
  }
};

// n samples of eight lines beyond one of their ends: the last one again, or nothing.
void FillMargin(double* lanes, std::int64_t n, const double* last, bool transparent) {
  if (transparent) {
    std::fill_n(lanes, kLanes * n, 0.0);
  } else {
    for (std::int64_t i = 0; i < n; ++i) std::copy_n(last, kLanes, lanes + kLanes * i);
  }
}

template <class T>
class BlurLines {
 public:
  BlurLines(const WorldBlur& blur, const BlurKernels& kernels, const LaneFilter* filter, const LinePlane& src,
            const LinePlane& dst)
      : blur_(blur),
        kernels_(kernels),
        filter_(filter),
        src_(src),
        dst_(dst),
        transparent_(blur.Has(PF_BlurFlag_TRANSPARENT_EDGES)),
        streams_(src.base != dst.base && src.length * src.count * 4 * std::int64_t{sizeof(T)} >= kPastCaches),
        tile_(TileOf(blur, filter, src, dst)),
        size_(filter, src.length),
        scratch_(size_.bytes(tile_), Message::kBlurMemory) {}

  PF_Err Run() {
    return ForRows(blur_.progress, RowReports::kProgress, static_cast<std::int32_t>(src_.count),
                   [&](std::int32_t line) {
                     const std::int64_t tile = tile_ * src_.group();
                     if (line % tile != 0) return;
                     if (line + tile <= src_.count) return Groups(line, tile_);
                     for (std::int64_t l = line; l < src_.count; l += src_.group()) Groups(l, 1);
                   });
  }

 private:
  // Lines that share the lanes, and as many groups of them beside: where they come from, where they go.
  struct Lines {
    LineGroup<T> from, to;
    std::int64_t groups;
  };

  // Columns share lines of the cache: as many groups as fill one, but for what has to stay in the second cache.
  static std::int64_t TileOf(const WorldBlur& blur, const LaneFilter* filter, const LinePlane& src,
                             const LinePlane& dst) {
    const bool plain = filter != nullptr && !blur.Has(PF_BlurFlag_ALPHA_ONLY | PF_BlurFlag_COLOR_ONLY) &&
                       src.Across(sizeof(T)) && dst.Across(sizeof(T));
    if (!plain) return 1;
    constexpr std::int64_t kOfLine = 64 / (kLanes * static_cast<std::int64_t>(sizeof(T)));
    return std::min<std::int64_t>(kOfLine, filter->local() ? 4 : 2);
  }

  // Calls f(begin, n) for the pieces of a line.
  template <class F>
  void Pieces(const F& f) const {
    for (std::int64_t i = 0; i < src_.length; i += kPiece) f(i, std::min(kPiece, src_.length - i));
  }

  void Groups(std::int64_t line, std::int64_t groups) {
    const Lines lines = {LineGroup<T>(kernels_, src_, line), LineGroup<T>(kernels_, dst_, line), groups};
    const ScratchLines::Line memory(scratch_);
    auto* samples = reinterpret_cast<double*>(memory.data());
    if (filter_ == nullptr) {
      return Pieces([&](std::int64_t i, std::int64_t n) {
        T block[kLanes * kPiece];
        lines.from.CopyOut(i, n, block);
        lines.to.CopyIn(i, n, block, 0, 4);
      });
    }
    filter_->local() ? InPieces(lines, samples) : Whole(lines, samples);
    if (streams_) lines.to.Settle();
  }

  // Calls f(samples) for each group.
  template <class F>
  void Each(const Lines& lines, double* samples, const F& f) const {
    for (std::int64_t g = 0; g < lines.groups; ++g) f(samples + g * size_.group());
  }
  double* Sums(double* samples) const { return samples + tile_ * size_.group(); }

  void Whole(const Lines& lines, double* samples) const {
    const std::int64_t length = src_.length, margin = filter_->margin();
    double* const first = samples + kLanes * margin;
    Pieces([&](std::int64_t i, std::int64_t n) { Begin(lines, i, n, first + kLanes * i); });
    Each(lines, first, [&](double* in) {
      FillMargin(in - kLanes * margin, margin, in, transparent_);
      FillMargin(in + kLanes * length, margin, in + kLanes * (length - 1), transparent_);
      filter_->Run(in, in - kLanes * margin + size_.samples, length, Sums(samples));
    });
    Pieces([&](std::int64_t i, std::int64_t n) { Finish(lines, i, n, samples + size_.samples + kLanes * i); });
  }

  // What is in reach of a piece moves up to the next one.
  void InPieces(const Lines& lines, double* samples) const {
    const std::int64_t length = src_.length, margin = filter_->margin();
    double* const first = samples + kLanes * margin;
    std::int64_t begun = 0;
    Pieces([&](std::int64_t i, std::int64_t n) {
      if (i > 0) {
        Each(lines, samples, [&](double* to) { std::copy_n(to + kLanes * kPiece, 2 * kLanes * margin, to); });
      }
      const std::int64_t end = std::min(i + kPiece + margin, length), beyond = i + n + margin - length;
      Begin(lines, begun, end - begun, first + kLanes * (begun - i));
      begun = end;
      Each(lines, first, [&](double* in) {
        if (i == 0) FillMargin(in - kLanes * margin, margin, in, transparent_);
        double* const last = in + kLanes * (length - 1 - i);
        if (beyond > 0) FillMargin(last + kLanes, beyond, last, transparent_);
        filter_->Run(in, in - kLanes * margin + size_.samples, n, Sums(samples));
      });
      Finish(lines, i, n, samples + size_.samples);
    });
  }

  void Begin(const Lines& lines, std::int64_t i, std::int64_t n, double* samples) const {
    lines.from.Load(i, n, samples, {lines.groups, size_.group()});
    if (blur_.Weighs()) Each(lines, samples, [&](double* group) { kernels_.lanes.weigh(group, n); });
  }
  void Finish(const Lines& lines, std::int64_t i, std::int64_t n, double* results) const {
    if (blur_.Weighs()) Each(lines, results, [&](double* group) { kernels_.lanes.unweigh(group, n); });
    const bool copies_alpha = blur_.Has(PF_BlurFlag_COLOR_ONLY), copies_colour = blur_.Has(PF_BlurFlag_ALPHA_ONLY);
    if (!copies_alpha && !copies_colour) return lines.to.Store(i, n, results, streams_, {lines.groups, size_.group()});
    // Results may go onto what is copied.
    T block[kLanes * kPiece];
    lines.from.CopyOut(i, n, block);
    lines.to.Store(i, n, results);
    lines.to.CopyIn(i, n, block, copies_alpha ? 0 : 1, copies_alpha ? 1 : 3);
  }

  const WorldBlur& blur_;
  const BlurKernels& kernels_;
  const LaneFilter* filter_;
  const LinePlane &src_, &dst_;
  bool transparent_;
  bool streams_;  // past the caches: lines of them that are overwritten whole need not be read first
  std::int64_t tile_;
  GroupScratch size_;
  ScratchLines scratch_;
};

template <class T>
LaneDemands DemandsOf(bool weighs) {
  if constexpr (sizeof(T) == 1) {
    return {kBellBits8, weighs ? 5 : 4, weighs};
  } else if constexpr (sizeof(T) == 2) {
    return {kBellBits16, weighs ? 6 : 5, weighs};
  } else {
    return {0, weighs ? 8 : 6, true};
  }
}

enum class Shape { kBell, kBox };

// QUIRK-49: the vector path says of itself that it is not tested.
void TraceVectorPath(const BlurKernels& kernels) {
  if (&kernels == &kPortableBlurKernels || !vexcore::DebugTraceEnabled("Blur", 1)) return;
  vexcore::DebugTrace("untested SSE2 codepath in blur");
}

// Whether whole numbers do: channels alike, lines that keep their direction, and weights for which there are kernels.
template <class T>
bool IsPlain(Shape shape, const WorldBlur& blur) {
  const bool alike = !blur.straight && !blur.Has(PF_BlurFlag_ALPHA_ONLY | PF_BlurFlag_COLOR_ONLY);
  const bool kernel = shape == Shape::kBox
                          ? blur.radius >= 0.5
                          : sizeof(T) == 1 && blur.radius > 0 && std::ceil(blur.radius) <= kDirectReach;
  return alike && kernel && blur.src_columns == blur.dst_columns;
}

template <class T>
BlurredPlane PlainOf(const WorldBlur& blur, const LinePlane& src) {
  const std::int64_t src_row_bytes = blur.src_columns ? src.step : src.pitch;
  return {src.base,
          src_row_bytes,
          static_cast<std::byte*>(blur.dst.data),
          blur.dst.row_bytes,
          blur.src.width,
          blur.src.height,
          4,
          4 * sizeof(T),
          blur.src_columns,
          blur.Has(PF_BlurFlag_TRANSPARENT_EDGES),
          blur.progress,
          RowReports::kProgress};
}

template <class T>
PF_Err BlurOf(Shape shape, const WorldBlur& blur) {
  const BlurKernels& kernels = *g_kernels.blur.load(std::memory_order_relaxed);
  std::optional<SourceCopy> copy;
  LinePlane src = PlaneOfWorld<T>(blur.src, blur.src.data, blur.src_columns);
  const LinePlane dst = PlaneOfWorld<T>(blur.dst, blur.dst.data, blur.dst_columns);
  if (Disturbs(blur, 4 * sizeof(T))) {
    copy.emplace(blur.src, 4 * sizeof(T));
    src =
        LinePlane::Of(copy->data(), copy->row_bytes(), blur.src.width, blur.src.height, sizeof(T), 4, blur.src_columns);
  }
  const auto span = static_cast<std::int64_t>(blur.radius + 0.5);
  if constexpr (!std::is_same_v<T, float>) {
    if (IsPlain<T>(shape, blur)) {
      TraceVectorPath(kernels);
      const BlurredPlane plain = PlainOf<T>(blur, src);
      return shape == Shape::kBox ? BlurByBox<T>(plain, span) : BlurByBell(plain, blur.radius);
    }
  }
  std::optional<LaneFilter> filter;
  if (shape == Shape::kBell && blur.radius > 0 && !blur.Copies()) {
    filter.emplace(kernels.lanes, blur.radius, DemandsOf<T>(blur.Weighs()));
  }
  if (shape == Shape::kBox && span > 0 && !blur.Copies()) filter.emplace(kernels.lanes, span);
  if (filter) TraceVectorPath(kernels);
  return BlurLines<T>(blur, kernels, filter ? &*filter : nullptr, src, dst).Run();
}

PF_Err Refuse() {
  ReportCaller(Site::kBlurs, Message::kBadCallbackParameter);
  return PF_Err_BAD_PARAMETER;
}

bool IsWorld(const PF_World* world) { return world != nullptr && world->data != nullptr; }

PF_Err Blur(Shape shape, const PF_World* source, PF_World* destination, float radius, std::int32_t flags,
            std::int32_t source_direction, std::int32_t destination_direction, std::int32_t straight,
            const PF_ProgressInfo* progress) {
  const bool fits = radius >= 0 && radius <= kLargestRadius;  // false for what is not a number
  if (!fits || !IsWorld(source) || !IsWorld(destination)) return Refuse();
  if (destination->Depth() != source->Depth()) {
    return FailVerification("Blur requires source and destination of the same depth", Site::kBlurs);
  }
  const bool src_columns = source_direction != 0, dst_columns = destination_direction != 0;
  const bool turned = src_columns != dst_columns;
  if (destination->width != (turned ? source->height : source->width) ||
      destination->height != (turned ? source->width : source->height)) {
    return Refuse();
  }
  if (source->width <= 0 || source->height <= 0) return PF_Err_NONE;
  const WorldBlur blur = {*source,     *destination, double{radius}, flags,
                          src_columns, dst_columns,  straight != 0,  progress};
  return DispatchDepth(
      source->Depth(), [&]<class P>(P) -> PF_Err { return BlurOf<ChannelOf<P>>(shape, blur); },
      []() -> PF_Err { return FailVerification("Unknown depth in blur", Site::kBlurs); });
}

}  // namespace
}  // namespace pf

PF_Err PF_GaussianBlur1D(const PF_World* source, PF_World* destination, float radius, std::int32_t flags,
                         std::int32_t source_direction, std::int32_t destination_direction, std::int32_t straight,
                         const PF_ProgressInfo* progress) {
  return pf::Guard([&] {
    return pf::Blur(pf::Shape::kBell, source, destination, radius, flags, source_direction, destination_direction,
                    straight, progress);
  });
}

PF_Err PF_BoxBlur1D(const PF_World* source, PF_World* destination, float radius, std::int32_t flags,
                    std::int32_t source_direction, std::int32_t destination_direction, std::int32_t straight,
                    const PF_ProgressInfo* progress) {
  return pf::Guard([&] {
    return pf::Blur(pf::Shape::kBox, source, destination, radius, flags, source_direction, destination_direction,
                    straight, progress);
  });
}
