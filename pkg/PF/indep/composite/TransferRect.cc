// The rectangle compositor.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "PF/PF_Compositing.h"
#include "PF/PF_Worlds.h"
#include "composite/TransferRows.h"
#include "edge/Guard.h"
#include "iterate/ForRows.h"
#include "pixel/ByteRange.h"
#include "pixel/ConvertDepth.h"
#include "report/HostMemory.h"
#include "report/Report.h"

namespace pf {
namespace {

constexpr std::int64_t kBandRows = 16;

PF_Err RefuseMode() {
  ReportCaller(Site::kComposite, Message::kUnimplementedMode);
  return PF_Err_NOT_IMPLEMENTED;
}

PF_Err RefuseParameter() {
  ReportCaller(Site::kComposite, Message::kInvalidParameter);
  return PF_Err_BAD_PARAMETER;
}

bool IsKnownDepth(std::int32_t depth) { return DepthIndex(depth) >= 0; }

// What both operations check, in this order; the first failure is the result.
PF_Err Check(const PF_TransferParams* params, const PF_LayerDef* dst) {
  if (params == nullptr) return RefuseParameter();
  if (!IsPipelineMode(params->mode)) return RefuseMode();
  if (std::isnan(params->opacity)) return RefuseParameter();
  if (dst == nullptr || dst->data == nullptr) return FailCaller(Site::kComposite, Message::kBadCallbackParameter);
  if (params->mask != nullptr) {
    CheckMask(params->mask);
    if (!IsKnownDepth(params->mask->depth)) return PF_Err_BAD_PARAMETER;
  }
  return PF_Err_NONE;
}

template <class P>
ChannelOf<P> OpacityOf(float opacity) {
  const float limited = std::clamp(opacity, 0.0f, 1.0f);
  if constexpr (std::is_same_v<P, PF_PixelFloat>) {
    return limited;
  } else {
    return ColourFromFloat<P>(limited);
  }
}

// The rows of a prepared operation, on as many threads as the host gives.
template <class P>
PF_Err Run(const PF_ProgressInfo* progress, TransferRows<P> rows, const PF_TransferParams& params) {
  if (rows.target.Empty()) return PF_Err_NONE;
  rows.mode = params.mode;
  rows.opacity = OpacityOf<P>(params.opacity);
  rows.tables = params.linear;
  std::optional<LockedMask> locked;
  rows.mask = nullptr;
  if (params.mask != nullptr) {
    locked.emplace(params.mask);
    rows.mask = &*locked;
    rows.mask_h = -std::int64_t{params.mask_at.h};
    rows.mask_v = -std::int64_t{params.mask_at.v};
    rows.present =
        rows.present.And(Box::OfSize(locked->width(), locked->height()).MovedBy(params.mask_at.h, params.mask_at.v));
  }
  if (rows.present.Empty() && !TraitsOf(rows.mode).matte) return PF_Err_NONE;
  const Span all = TraitsOf(rows.mode).matte ? rows.target.rows : rows.present.rows;
  const std::int64_t bands = (all.end - all.begin + kBandRows - 1) / kBandRows;
  return ForRows(progress, RowReports::kProgress, static_cast<std::int32_t>(bands), [&](std::int32_t band) {
    const std::int64_t first = all.begin + band * kBandRows;
    for (std::int64_t y = first; y < std::min(first + kBandRows, all.end); ++y) rows.Row(y);
  });
}

template <class P>
ByteRange BytesOf(const Plane<P>& plane, const Box& box) {
  const auto [left, right] = box.columns;
  return ByteRange::OfRows(plane.At(left, box.rows.begin), plane.stride, box.rows.end - box.rows.begin,
                           (right - left) * static_cast<std::int64_t>(sizeof(P)));
}

// Whether writing the destination may change source pixels that are read later. Pixels that lie onto themselves do
// not. Mattes write beside the source too.
template <class P>
bool Disturbs(const TransferRows<P>& rows, std::int32_t mode) {
  if (rows.present.Empty()) return false;
  const std::int64_t x = rows.present.columns.begin, y = rows.present.rows.begin;
  const bool onto_itself =
      rows.src.At(x + rows.src_h, y + rows.src_v) == rows.dst.At(x, y) && rows.src.stride == rows.dst.stride;
  const ByteRange s = BytesOf(rows.src, rows.present.MovedBy(rows.src_h, rows.src_v));
  return !onto_itself && s.Overlaps(BytesOf(rows.dst, TraitsOf(mode).matte ? rows.target : rows.present));
}

// A copy of what is read of the source, in its place.
template <class P>
class SourceCopy {
 public:
  explicit SourceCopy(TransferRows<P>& rows)
      : width_(rows.present.columns.end - rows.present.columns.begin),
        block_(static_cast<std::uint64_t>(width_ * (rows.present.rows.end - rows.present.rows.begin)) * sizeof(P),
               Message::kBlendingScratch) {
    const Box from = rows.present.MovedBy(rows.src_h, rows.src_v);
    const std::int64_t height = from.rows.end - from.rows.begin;
    const Plane<P> copy = {block_.data(), width_ * static_cast<std::int64_t>(sizeof(P)), width_, height};
    for (std::int64_t y = 0; y < height; ++y) {
      std::memcpy(copy.Row(y), rows.src.At(from.columns.begin, from.rows.begin + y),
                  static_cast<std::size_t>(copy.stride));
    }
    rows.src = copy;
    rows.src_h = -rows.present.columns.begin;
    rows.src_v = -rows.present.rows.begin;
  }

 private:
  std::int64_t width_;
  HostBlock block_;
};

template <class P>
PF_Err TransferWorld(const PF_ProgressInfo* progress, const PF_TransferParams& params, const PF_LayerDef& src,
                     const M_LRect* src_rect, PF_LayerDef& dst, const M_LPoint& at) {
  const Box whole = Box::OfSize(src.width, src.height);
  const Box rect = src_rect != nullptr ? Box::Of(*src_rect) : whole;
  if (rect.Empty()) return PF_Err_NONE;
  TransferRows<P> rows = {};
  rows.dst = PlaneOf<P>(dst);
  rows.src = PlaneOf<P>(src);
  rows.src_h = rect.columns.begin - at.h;
  rows.src_v = rect.rows.begin - at.v;
  rows.premultiplied = params.premultiplied != 0 && params.mode >= 0 && params.mode != PF_Xfer_PremulOver;
  rows.target = rect.MovedBy(-rows.src_h, -rows.src_v).And(Box::OfSize(dst.width, dst.height));
  rows.present = rows.target.And(whole.MovedBy(-rows.src_h, -rows.src_v));
  if (!Disturbs(rows, params.mode)) return Run(progress, rows, params);
  const SourceCopy<P> copy(rows);
  return Run(progress, rows, params);
}

template <class P>
PF_Err FillWorld(const PF_ProgressInfo* progress, const PF_TransferParams& params, const PF_PixelFloat& colour,
                 const M_LRect* rect, PF_LayerDef& dst) {
  P run[TransferRows<P>::kRun];
  std::fill_n(run, TransferRows<P>::kRun, ConvertPixel<P>(colour));
  const Box whole = Box::OfSize(dst.width, dst.height);
  TransferRows<P> rows = {};
  rows.dst = PlaneOf<P>(dst);
  rows.colour = run;
  rows.premultiplied = params.premultiplied != 0 && params.mode >= 0 && params.mode != PF_Xfer_PremulOver;
  rows.target = rect != nullptr ? Box::Of(*rect).And(whole) : whole;
  rows.present = rows.target;
  return Run(progress, rows, params);
}

PF_Err TransferRect(const PF_ProgressInfo* progress, const PF_TransferParams* params, const PF_LayerDef* src,
                    const M_LRect* src_rect, PF_LayerDef* dst, const M_LPoint* at) {
  if (const PF_Err error = Check(params, dst)) return error;
  if (src == nullptr || src->data == nullptr) return FailCaller(Site::kComposite, Message::kBadCallbackParameter);
  const std::int32_t depth = PFp_WorldDepth(dst);
  if (PFp_WorldDepth(src) != depth) {
    return FailVerification("PF_TransferRect requires src and dst worlds to be same depth", Site::kComposite);
  }
  const M_LPoint place = at != nullptr ? *at : M_LPoint{0, 0};
  return DispatchDepth(
      depth, [&](auto p) { return TransferWorld<decltype(p)>(progress, *params, *src, src_rect, *dst, place); },
      [] { return FailVerification("Unknown world bitdepth in PF_TransferRect", Site::kComposite); });
}

PF_Err TransferFill(const PF_ProgressInfo* progress, const PF_TransferParams* params, const PF_PixelFloat* colour,
                    const M_LRect* rect, PF_LayerDef* dst) {
  if (const PF_Err error = Check(params, dst)) return error;
  if (colour == nullptr) return RefuseParameter();
  return DispatchDepth(
      PFp_WorldDepth(dst), [&](auto p) { return FillWorld<decltype(p)>(progress, *params, *colour, rect, *dst); },
      [] { return FailVerification("Unknown world bitdepth in PF_TransferFill", Site::kComposite); });
}

}  // namespace
}  // namespace pf

PF_Err PF_TransferRect(const PF_ProgressInfo* progress, const PF_TransferParams* params, const PF_LayerDef* src,
                       const M_LRect* src_rect, PF_LayerDef* dst, const M_LPoint* at) {
  return pf::Guard([&] { return pf::TransferRect(progress, params, src, src_rect, dst, at); });
}

PF_Err PF_TransferFill(const PF_ProgressInfo* progress, const PF_TransferParams* params, const PF_PixelFloat* colour,
                       const M_LRect* rect, PF_LayerDef* dst) {
  return pf::Guard([&] { return pf::TransferFill(progress, params, colour, rect, dst); });
}
