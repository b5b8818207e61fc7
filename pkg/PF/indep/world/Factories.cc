// Factories: the class by the depth.
#include <algorithm>
#include <limits>

#include "PF/PF_Worlds.h"
#include "pixel/Depth.h"
#include "report/Report.h"
#include "world/Allocate.h"

namespace pf {
namespace {

constexpr char kNewText[] = "Unexpected bitdepth in PF_World::New()";
constexpr char kReferenceText[] = "Unexpected bitdepth in PF_World::NewReference()";
constexpr char kRecordText[] = "Unexpected bitdepth in PF_World::NewReference(PF_EffectWorld)";

// What `make` makes of the pixel type of `depth`; any other depth is reported with the text.
template <class Make>
PF_World* ByDepth(int depth, const char* text, Make make) {
  return DispatchDepth(depth, make, [text]() -> PF_World* { ThrowVerification(text); });
}

// Null is a caller's error, told with or without a text.
template <class T>
T& Given(T* argument) {
  if (argument == nullptr) {
    ReportCaller(Site::kNewEffectWorld, Message::kInvalidParameter);
    ThrowCode(PF_Err_BAD_PARAMETER);
  }
  return *argument;
}

PF_World* ReferenceToBitmap(BM_World** world, const M_Rect* rect) {
  return ByDepth(PF_DepthOfBMWorld(world), kReferenceText,
                 [&]<class P>(P) -> PF_World* { return new PF_WorldX<P>(world, rect); });
}

// Sizes beyond 32 bits are refused like any other bad size.
std::int32_t Extent(std::int32_t from, std::int32_t to) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(
      std::clamp<std::int64_t>(std::int64_t{to} - std::int64_t{from}, Limits::min(), Limits::max()));
}

}  // namespace
}  // namespace pf

PF_World* PF_World::New(std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t flags) {
  return pf::ByDepth(depth, pf::kNewText, [&]<class P>(P) -> PF_World* {
    PF_World* world = new PF_WorldX<P>(width, height, flags);
    if (world == nullptr) pf::ThrowNoMemoryForWorld(width, height, depth);
    return world;
  });
}

PF_World* PF_World::New(const M_LRect& rect, std::int32_t depth, std::int32_t flags) {
  return New(pf::Extent(rect.left, rect.right), pf::Extent(rect.top, rect.bottom), depth, flags);
}

PF_World* PF_World::NewMatchingWorld(const PF_World* like, std::int32_t flags) {
  const PF_World& world = pf::Given(like);
  return New(world.width, world.height, world.Depth(), flags);
}

PF_World* PF_World::NewReference(PF_World* parent, const M_LRect& rect) {
  return pf::ByDepth(pf::Given(parent).Depth(), pf::kReferenceText, [&]<class P>(P) -> PF_World* {
    return new PF_WorldX<P>(static_cast<PF_WorldX<P>*>(parent), rect);
  });
}

PF_World* PF_World::NewReference(PF_World* parent, const M_Rect& rect) {
  return NewReference(parent, M_LRect{rect.left, rect.top, rect.right, rect.bottom});
}

PF_World* PF_World::NewReference(BM_World** world) { return pf::ReferenceToBitmap(world, nullptr); }

PF_World* PF_World::NewReference(BM_World** world, const M_Rect& rect) { return pf::ReferenceToBitmap(world, &rect); }

PF_World* PF_World::NewReference(PF_LayerDef* record) {
  return pf::ByDepth(PFp_WorldDepth(&pf::Given(record)), pf::kRecordText,
                     [&]<class P>(P) -> PF_World* { return new PF_WorldX<P>(record, false); });
}

PF_World* PF_World::NewReference(void* pixels, std::int32_t width, std::int32_t height, std::int32_t depth,
                                 std::int32_t row_bytes) {
  return pf::ByDepth(depth, pf::kReferenceText, [&]<class P>(P) -> PF_World* {
    return new PF_WorldX<P>(static_cast<P*>(pixels), width, height, row_bytes);
  });
}
