// Colour conversion of worlds through the engine.
#include <optional>

#include "PF/PF_ColorSettings.h"
#include "PF/PF_Masks.h"
#include "PF/PF_Worlds.h"
#include "color/Engine.h"
#include "edge/Guard.h"
#include "pixel/Depth.h"
#include "report/HostMemory.h"
#include "report/Progress.h"

namespace pf {
namespace {

// How the engine shall read a world.
struct Layout {
  XCE_Layout code;
  std::int64_t channel_bytes;
};
constexpr XCE_Layout kLayouts[] = {XCE_Layout_8, XCE_Layout_16, XCE_Layout_FLOAT};

Layout LayoutOf(const PF_World& world) {
  const int index = DepthIndex(world.Depth());
  if (index < 0) ThrowVerification("Unknown pixel format", Site::kColorTransform);
  return {kLayouts[index], world.Depth() / 8};
}

bool HasNoGaps(const PF_World& world, const Layout& layout) {
  return world.row_bytes == std::int64_t{world.width} * 4 * layout.channel_bytes;
}

std::byte* Row(const PF_World& world, std::int64_t y) {
  return static_cast<std::byte*>(world.data) + y * world.row_bytes;
}

void ApplyToRun(XCETransform* transform, const Layout& from, const void* source, const Layout& to, void* destination,
                std::int64_t count) {
  CheckEngine(
      COR_ApplyTransform(transform, from.code, source, to.code, destination, static_cast<std::uint64_t>(count)));
}

// Alpha of one row, kept while the engine has the row. In place the engine may write over it.
class AlphaRow {
 public:
  AlphaRow(std::int32_t width, const Layout& layout)
      : width_(width),
        depth_(static_cast<int>(8 * layout.channel_bytes)),
        values_(static_cast<std::uint64_t>(width * layout.channel_bytes), Message::kImagePlaneBuffer) {}

  void TakeFrom(const std::byte* row) const {
    ForDepth([&]<class T>(T) {
      PF_Deinterleave1<T>(reinterpret_cast<const T*>(row), 0, 0, 0, {width_, 1}, {}, {}, Values<T>());
    });
  }
  void PutInto(std::byte* row) const {
    ForDepth([&]<class T>(T) {
      PF_Interleave1to4<T>(Values<T>(), 0, 0, {width_, 1}, {}, {}, reinterpret_cast<T*>(row));
    });
  }

 private:
  template <class T>
  T* Values() const {
    return reinterpret_cast<T*>(values_.data());
  }
  template <class F>
  void ForDepth(F f) const {
    DispatchDepth(
        depth_, [&]<class P>(P) { f(ChannelOf<P>{}); }, [] {});
  }

  std::int32_t width_;
  int depth_;
  HostBlock values_;
};

PF_Err ApplyByRows(XCETransform* transform, const Layout& from, const PF_World& source, const Layout& to,
                   PF_World& destination, bool preserve_alpha, const PF_ProgressInfo* progress) {
  std::optional<AlphaRow> alpha;
  if (preserve_alpha) alpha.emplace(source.width, from);
  for (std::int64_t y = 0; y < source.height; ++y) {
    if (alpha) alpha->TakeFrom(Row(source, y));
    ApplyToRun(transform, from, Row(source, y), to, Row(destination, y), source.width);
    if (alpha) alpha->PutInto(Row(destination, y));
    if (const PF_Err stopped = PollAfterRow(progress, y, source.height)) return stopped;
  }
  return PF_Err_NONE;
}

PF_Err Refuse() {
  FailCaller(Site::kColorTransform, Message::kInvalidParameter);
  return PF_Err_BAD_PARAMETER;
}

PF_Err Apply(XCETransform* transform, const PF_World* source, PF_World* destination, bool preserve_alpha,
             const PF_ProgressInfo* progress) {
  if (transform == nullptr || source == nullptr || destination == nullptr) return Refuse();
  if (source->width != destination->width || source->height != destination->height) return Refuse();
  const Layout from = LayoutOf(*source), to = LayoutOf(*destination);
  if (preserve_alpha && from.code != to.code) {
    return FailVerification("Can't copy alpha if src and dst have different depth.", Site::kColorTransform);
  }
  if (source->width <= 0 || source->height <= 0) return PF_Err_NONE;
  if (source->data == nullptr || destination->data == nullptr) return Refuse();
  if (!preserve_alpha && HasNoGaps(*source, from) && HasNoGaps(*destination, to)) {
    ApplyToRun(transform, from, source->data, to, destination->data, std::int64_t{source->width} * source->height);
    return PF_Err_NONE;
  }
  return ApplyByRows(transform, from, *source, to, *destination, preserve_alpha, progress);
}

PF_Err ConvertDepth(const PF_World* source, PF_World* destination) {
  if (source == nullptr || destination == nullptr) return Refuse();
  if (DepthIndex(source->Depth()) < 0 || DepthIndex(destination->Depth()) < 0) {
    return FailVerification("Unknown bit depth attempting to depth convert.", Site::kColorTransform);
  }
  if (source->data == nullptr || destination->data == nullptr) return Refuse();
  const M_LRect all = {0, 0, source->width, source->height};
  destination->CopyRectPossiblyDifferentBitdepth(source, all, PF_Dither_OFF, 0, 0, nullptr);
  return PF_Err_NONE;
}

}  // namespace
}  // namespace pf

PF_Err PF_XCEApplyTransform(XCETransform* transform, const PF_World* source, PF_World* destination, bool preserve_alpha,
                            const PF_ProgressInfo* progress) {
  return pf::Guard([&] { return pf::Apply(transform, source, destination, preserve_alpha, progress); });
}

PF_Err PF_ConvertProfileToProfile(XCE_ProfileCode from, XCE_ProfileCode to, const PF_World* source,
                                  PF_World* destination, bool preserve_alpha, const PF_ProgressInfo* progress) {
  return pf::Guard([&] {
    const pf::ProfileRef from_profile = pf::StandardProfile(from), to_profile = pf::StandardProfile(to);
    const pf::OwnedTransform transform = pf::NewTransform(from_profile.get(), to_profile.get());
    return pf::Apply(transform.get(), source, destination, preserve_alpha, progress);
  });
}

PF_Err PF_DepthConvertWorld(const PF_LinearBlendingTables*, const PF_World* source, PF_World* destination) {
  return pf::Guard([&] { return pf::ConvertDepth(source, destination); });
}
