// A caller's function over every pixel.
#include "PF/PF_Iterate.h"

#include "dispatch/Slot.h"
#include "edge/Guard.h"
#include "iterate/Rows.h"

namespace pf {
namespace {

template <class P>
using PixelFunction = PF_Err (*)(void*, std::int32_t, std::int32_t, P*, P*);

// Coordinates are carried in 16 bits.
std::int32_t Carried(std::int64_t coordinate) { return static_cast<std::int16_t>(coordinate); }

template <class P>
PF_Err CallRow(PixelFunction<P> function, void* reference, const WideRect& rect, std::int64_t y, P* in, P* out) {
  for (std::int64_t x = rect.left; x < rect.right; ++x, ++in, ++out) {
    if (const PF_Err error = function(reference, Carried(x), Carried(y), in, out)) return error;
  }
  return PF_Err_NONE;
}

template <class P>
PF_Err IterateDepth(const IterateProgress& progress, const PF_LayerDef* src, const WideRect& rect,
                    const M_LPoint& origin, void* reference, PF_IteratePixelFunc function, const PF_LayerDef& dst) {
  const auto typed = reinterpret_cast<PixelFunction<P>>(function);
  const Plane<P> out = PlaneOf<P>(dst);
  const Plane<P> in = PlaneOf<P>(src != nullptr ? *src : dst);
  return WalkRows(rect, progress, [&](std::int64_t y) {
    return CallRow<P>(typed, reference, rect, y, in.At(rect.left + origin.h, y + origin.v), out.At(rect.left, y));
  });
}

PF_Err IterateWorlds(const IterateProgress& progress, const PF_LayerDef* src, const M_LRect* area,
                     const M_LPoint& origin, void* reference, PF_IteratePixelFunc function, const PF_LayerDef* dst) {
  const std::int32_t depth = PFp_WorldDepth(dst);
  if (const PF_Err error = CheckIterateDepths(src, depth)) return error;
  const WideRect rect = WorkingRectangle(src, area, origin, *dst);
  return DispatchDepth(
      depth, [&]<class P>(P) { return IterateDepth<P>(progress, src, rect, origin, reference, function, *dst); },
      FailUnknownDepth);
}

}  // namespace
}  // namespace pf

PF_Err PF_Iterate(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                  const M_LRect* area, void* reference, PF_IteratePixelFunc function, PF_LayerDef* dst) {
  return pf::Installed<&PF_Iterate_Static>(in, progress_base, progress_final, src, area, reference, function, dst);
}

PF_Err PF_Iterate_Static(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                         const M_LRect* area, void* reference, PF_IteratePixelFunc function, PF_LayerDef* dst) {
  return pf::Guard([&]() -> PF_Err {
    const bool src_fits = src == nullptr || pf::HasPixels(src);
    if (const PF_Err error = pf::CheckIterateArguments(src_fits && pf::HasPixels(dst) && function != nullptr))
      return error;
    return pf::IterateWorlds({in, progress_base, progress_final}, src, area, {0, 0}, reference, function, dst);
  });
}

PF_Err PF_IterateOrigin(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                        const M_LRect* area, const M_LPoint* origin, void* reference, PF_IteratePixelFunc function,
                        PF_LayerDef* dst) {
  return pf::Installed<&PF_IterateOrigin_Static>(in, progress_base, progress_final, src, area, origin, reference,
                                                 function, dst);
}

PF_Err PF_IterateOrigin_Static(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                               const M_LRect* area, const M_LPoint* origin, void* reference,
                               PF_IteratePixelFunc function, PF_LayerDef* dst) {
  return pf::Guard([&]() -> PF_Err {
    if (const PF_Err error = pf::CheckIterateArguments(pf::HasPixels(src) && pf::HasPixels(dst) && function != nullptr))
      return error;
    const M_LPoint from = origin != nullptr ? *origin : M_LPoint{0, 0};
    return pf::IterateWorlds({in, progress_base, progress_final}, src, area, from, reference, function, dst);
  });
}
