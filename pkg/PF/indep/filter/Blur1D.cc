// Blurs of worlds along one direction.
#include <cmath>
#include <cstring>
#include <optional>
#include <type_traits>

#include "PF/PF_Filters.h"
#include "edge/Guard.h"
#include "filter/BlurLines.h"
#include "filter/PlaneBlur.h"
#include "filter/WideBlur.h"
#include "host/vexcore.h"
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

enum class Shape { kBell, kBox };

// QUIRK-49: the vector path says of itself that it is not tested.
void TraceVectorPath(const BlurKernels& kernels) {
  if (&kernels == &kPortableBlurKernels || !vexcore::DebugTraceEnabled("Blur", 1)) return;
  vexcore::DebugTrace("untested SSE2 codepath in blur");
}

// Whether lines are blurred where they lie: channels alike, directions that stay, and weights for which there are
// kernels.
template <class T>
bool IsPlain(Shape shape, const WorldBlur& blur) {
  const bool alike = !blur.straight && !blur.Has(PF_BlurFlag_ALPHA_ONLY | PF_BlurFlag_COLOR_ONLY);
  const bool kernel = shape == Shape::kBox ? blur.radius >= 0.5 && (sizeof(T) < 4 || blur.radius < kWideSpan)
                                           : blur.radius > 0 && std::ceil(blur.radius) <= kDirectReach;
  return alike && kernel && blur.src_columns == blur.dst_columns;
}

template <class T>
PF_Err BlurPlain(Shape shape, const BlurredPlane& plane, double radius, std::int64_t span) {
  if constexpr (std::is_same_v<T, float>) {
    if (shape == Shape::kBox) return BlurByWideBox(plane, span);
  } else {
    if (shape == Shape::kBox) return BlurByBox<T>(plane, span);
  }
  if constexpr (sizeof(T) == 1) {
    return BlurByBell(plane, radius);
  } else {
    return BlurByWideBell<T>(plane, radius, DemandsOf<T>(false).bits);
  }
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
  if (IsPlain<T>(shape, blur)) {
    TraceVectorPath(kernels);
    return BlurPlain<T>(shape, PlainOf<T>(blur, src), blur.radius, span);
  }
  std::optional<LaneFilter> filter;
  if (shape == Shape::kBell && blur.radius > 0 && !blur.Copies()) {
    filter.emplace(kernels.lanes, blur.radius, DemandsOf<T>(blur.Weighs()));
  }
  if (shape == Shape::kBox && span > 0 && !blur.Copies()) filter.emplace(kernels.lanes, span);
  if (filter) TraceVectorPath(kernels);
  const LineBlur lines = {blur.Has(PF_BlurFlag_TRANSPARENT_EDGES), blur.Weighs(), blur.Has(PF_BlurFlag_COLOR_ONLY),
                          blur.Has(PF_BlurFlag_ALPHA_ONLY),        blur.progress, RowReports::kProgress};
  return BlurLines<T>(lines, kernels, filter ? &*filter : nullptr, src, dst).Run();
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
