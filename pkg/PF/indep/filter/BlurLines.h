// Lines of a plane through a filter, eight lanes at a time.
#pragma once

#include <algorithm>
#include <cstdint>

#include "filter/LaneFilter.h"
#include "filter/LineGroup.h"
#include "iterate/ForRows.h"
#include "iterate/ScratchLines.h"
#include "pixel/ByteRange.h"

namespace pf {

// Samples of a group that stay in the nearest cache from one thing done to them to the next.
inline constexpr std::int64_t kPiece = 64;

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
inline void FillMargin(double* lanes, std::int64_t n, const double* last, bool transparent) {
  if (transparent) {
    std::fill_n(lanes, kLanes * n, 0.0);
  } else {
    for (std::int64_t i = 0; i < n; ++i) std::copy_n(last, kLanes, lanes + kLanes * i);
  }
}

// What is done to lines besides the filter.
struct LineBlur {
  bool transparent;                  // beyond the ends of a line there is nothing, instead of its end samples
  bool weighs;                       // colour by alpha
  bool copies_alpha, copies_colour;  // at most one of them, unless there is no filter
  const PF_ProgressInfo* progress;
  RowReports reports;
};

// Lines of a plane through a filter, or copied where there is none, to lines of another one, or onto themselves.
template <class T>
class BlurLines {
 public:
  BlurLines(const LineBlur& blur, const BlurKernels& kernels, const LaneFilter* filter, const LinePlane& src,
            const LinePlane& dst)
      : blur_(blur),
        kernels_(kernels),
        filter_(filter),
        src_(src),
        dst_(dst),
        streams_(src.base != dst.base &&
                 src.length * src.count * src.channels * std::int64_t{sizeof(T)} >= kPastCaches),
        tile_(TileOf(blur, filter, src, dst)),
        piece_(filter != nullptr && filter->local() ? filter->piece(kPiece) : kPiece),
        size_(filter, src.length),
        scratch_(size_.bytes(tile_), Message::kBlurMemory) {}

  PF_Err Run() {
    return ForRows(blur_.progress, blur_.reports, static_cast<std::int32_t>(src_.count), [&](std::int32_t line) {
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
  static std::int64_t TileOf(const LineBlur& blur, const LaneFilter* filter, const LinePlane& src,
                             const LinePlane& dst) {
    const bool plain = filter != nullptr && !blur.copies_alpha && !blur.copies_colour && src.Across(sizeof(T)) &&
                       dst.Across(sizeof(T));
    if (!plain) return 1;
    constexpr std::int64_t kOfLine = 64 / (kLanes * static_cast<std::int64_t>(sizeof(T)));
    return std::min<std::int64_t>(kOfLine, filter->local() ? 4 : 2);
  }

  // Calls f(begin, n) for the pieces of a line.
  template <class F>
  void Pieces(const F& f) const {
    for (std::int64_t i = 0; i < src_.length; i += piece_) f(i, std::min(piece_, src_.length - i));
  }

  void Groups(std::int64_t line, std::int64_t groups) {
    const Lines lines = {LineGroup<T>(kernels_, src_, line), LineGroup<T>(kernels_, dst_, line), groups};
    const ScratchLines::Line memory(scratch_);
    auto* samples = reinterpret_cast<double*>(memory.data());
    if (filter_ == nullptr) {
      return Pieces([&](std::int64_t i, std::int64_t n) {
        T block[kLanes * kPiece];
        lines.from.CopyOut(i, n, block);
        lines.to.CopyIn(i, n, block, 0, static_cast<std::size_t>(src_.channels));
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
      FillMargin(in - kLanes * margin, margin, in, blur_.transparent);
      FillMargin(in + kLanes * length, margin, in + kLanes * (length - 1), blur_.transparent);
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
        Each(lines, samples, [&](double* to) { std::copy_n(to + kLanes * piece_, 2 * kLanes * margin, to); });
      }
      const std::int64_t end = std::min(i + piece_ + margin, length), beyond = i + n + margin - length;
      Begin(lines, begun, end - begun, first + kLanes * (begun - i));
      begun = end;
      Each(lines, first, [&](double* in) {
        if (i == 0) FillMargin(in - kLanes * margin, margin, in, blur_.transparent);
        double* const last = in + kLanes * (length - 1 - i);
        if (beyond > 0) FillMargin(last + kLanes, beyond, last, blur_.transparent);
        filter_->Run(in, in - kLanes * margin + size_.samples, n, Sums(samples));
      });
      Finish(lines, i, n, samples + size_.samples);
    });
  }

  void Begin(const Lines& lines, std::int64_t i, std::int64_t n, double* samples) const {
    lines.from.Load(i, n, samples, {lines.groups, size_.group()});
    if (blur_.weighs) Each(lines, samples, [&](double* group) { kernels_.lanes.weigh(group, n); });
  }
  void Finish(const Lines& lines, std::int64_t i, std::int64_t n, double* results) const {
    if (blur_.weighs) Each(lines, results, [&](double* group) { kernels_.lanes.unweigh(group, n); });
    if (!blur_.copies_alpha && !blur_.copies_colour)
      return lines.to.Store(i, n, results, streams_, {lines.groups, size_.group()});
    // Results may go onto what is copied.
    T block[kLanes * kPiece];
    lines.from.CopyOut(i, n, block);
    lines.to.Store(i, n, results);
    lines.to.CopyIn(i, n, block, blur_.copies_alpha ? 0 : 1, blur_.copies_alpha ? 1 : 3);
  }

  const LineBlur& blur_;
  const BlurKernels& kernels_;
  const LaneFilter* filter_;
  const LinePlane &src_, &dst_;
  bool streams_;  // past the caches: lines of them that are overwritten whole need not be read first
  std::int64_t tile_, piece_;
  GroupScratch size_;
  ScratchLines scratch_;
};

}  // namespace pf
