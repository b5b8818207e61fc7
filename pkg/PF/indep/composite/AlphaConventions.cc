#include "PF/PF_Compositing.h"
#include "edge/Guard.h"
#include "pixel/ConvertDepth.h"
#include "report/Progress.h"
#include "world/AlphaRows.h"
#include "world/WorldPlane.h"

namespace pf {
namespace {

PF_Err RefuseParameter() {
  ReportCaller(Site::kAlphaConventions, Message::kInvalidParameter);
  return PF_Err_BAD_PARAMETER;
}

// Calls f(pixel type) for the world's depth.
template <class F>
PF_Err ForDepth(const PF_LayerDef* world, F f) {
  if (world == nullptr || world->data == nullptr) return RefuseParameter();
  return DispatchDepth(PFp_WorldDepth(world), f, []() -> PF_Err {
    return FailVerification("Unknown world bitdepth in##CONDITIONNAME", Site::kAlphaConventions);  // QUIRK-1
  });
}

// Calls f(row, pixels) for every row, from the top.
template <class P, class F>
PF_Err ForRowsPolled(const PF_ProgressInfo* progress, const Plane<P>& plane, F f) {
  for (std::int64_t y = 0; y < plane.height; ++y) {
    f(plane.Row(y), static_cast<std::size_t>(plane.width));
    if (const PF_Err code = PollAfterRow(progress, y, plane.height)) return code;
  }
  return PF_Err_NONE;
}

PF_Err Map(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect,
           AlphaKernels::Row (AlphaKernels::*kernels)[3]) {
  return ForDepth(
      world, [&]<class P>(P) { return ForRowsPolled(progress, Clip(PlaneOf<P>(*world), rect), AlphaRow<P>(kernels)); });
}

PF_Err Map(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect, const PF_PixelFloat* matte,
           AlphaKernels::MatteRow (AlphaKernels::*kernels)[3]) {
  if (matte == nullptr) return RefuseParameter();
  return ForDepth(world, [&]<class P>(P) {
    return ForRowsPolled(progress, Clip(PlaneOf<P>(*world), rect), AlphaRow(kernels, ConvertPixel<P>(*matte)));
  });
}

}  // namespace
}  // namespace pf

PF_Err PF_Premultiply(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect) {
  return pf::Guard([&] { return pf::Map(progress, world, rect, &pf::AlphaKernels::premultiply); });
}

PF_Err PF_Unmultiply(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect) {
  return pf::Guard([&] { return pf::Map(progress, world, rect, &pf::AlphaKernels::unmultiply); });
}

PF_Err PF_PremultiplyColor(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect,
                           const PF_PixelFloat* matte) {
  return pf::Guard([&] { return pf::Map(progress, world, rect, matte, &pf::AlphaKernels::onto_matte); });
}

PF_Err PF_UnmultiplyColor(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect,
                          const PF_PixelFloat* matte) {
  return pf::Guard([&] { return pf::Map(progress, world, rect, matte, &pf::AlphaKernels::without_matte); });
}
