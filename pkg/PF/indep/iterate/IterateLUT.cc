// Look-up tables over every pixel.
#include <cmath>

#include "PF/PF_Iterate.h"
#include "dispatch/Slot.h"
#include "edge/Guard.h"
#include "iterate/Rows.h"

namespace pf {
namespace {

using Table = const std::uint8_t*;

constexpr double kFull16 = 32768.0;

struct Tables {
  Table alpha, red, green, blue;
};

// The table's value at a position between entries; both in 0..255. NaN maps as 0.
double Interpolate(Table table, double position) {
  const double limited = position > 0.0 ? std::min(position, 255.0) : 0.0;
  const auto index = static_cast<int>(limited);
  const double low = table[index];
  const double high = table[std::min(index + 1, 255)];
  return low + (high - low) * (limited - index);
}

std::uint8_t Map(Table table, std::uint8_t v) { return table == nullptr ? v : table[v]; }

std::uint16_t Map(Table table, std::uint16_t v) {
  if (table == nullptr) return v;
  const double mapped = Interpolate(table, v * 255.0 / kFull16);
  return static_cast<std::uint16_t>(std::floor(mapped * kFull16 / 255.0 + 0.5));
}

float Map(Table table, float v) {
  if (table == nullptr) return v;
  return static_cast<float>(Interpolate(table, static_cast<double>(v) * 255.0) / 255.0);
}

template <class P>
void MapRow(const Tables& t, const P* in, P* out, std::int64_t n) {
  for (std::int64_t x = 0; x < n; ++x) {
    const P p = in[x];
    out[x] = {Map(t.alpha, p.alpha), Map(t.red, p.red), Map(t.green, p.green), Map(t.blue, p.blue)};
  }
}

template <class P>
PF_Err MapWorld(const IterateProgress& progress, const PF_LayerDef* src, const WideRect& rect, const Tables& tables,
                const PF_LayerDef& dst) {
  const Plane<P> out = PlaneOf<P>(dst);
  const Plane<P> in = PlaneOf<P>(src != nullptr ? *src : dst);
  return WalkRows(rect, progress, [&](std::int64_t y) {
    MapRow(tables, in.At(rect.left, y), out.At(rect.left, y), rect.right - rect.left);
    return PF_Err_NONE;
  });
}

}  // namespace
}  // namespace pf

PF_Err PF_IterateLUT(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                     const M_LRect* area, const std::uint8_t* alpha, const std::uint8_t* red, const std::uint8_t* green,
                     const std::uint8_t* blue, PF_LayerDef* dst) {
  return pf::Installed<&PF_IterateLUT_Static>(in, progress_base, progress_final, src, area, alpha, red, green, blue,
                                              dst);
}

PF_Err PF_IterateLUT_Static(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                            const M_LRect* area, const std::uint8_t* alpha, const std::uint8_t* red,
                            const std::uint8_t* green, const std::uint8_t* blue, PF_LayerDef* dst) {
  return pf::Guard([&]() -> PF_Err {
    const bool src_fits = src == nullptr || pf::HasPixels(src);
    if (const PF_Err error = pf::CheckIterateArguments(src_fits && pf::HasPixels(dst))) return error;
    const std::int32_t depth = PFp_WorldDepth(dst);
    if (const PF_Err error = pf::CheckIterateDepths(src, depth)) return error;
    const pf::WideRect rect = pf::WorkingRectangle(src, area, {0, 0}, *dst);
    const pf::IterateProgress progress = {in, progress_base, progress_final};
    const pf::Tables tables = {alpha, red, green, blue};
    return pf::DispatchDepth(
        depth, [&]<class P>(P) { return pf::MapWorld<P>(progress, src, rect, tables, *dst); }, pf::FailUnknownDepth);
  });
}
