// The concrete worlds: each operation is one call into its own file.
#include "PF/PF_Worlds.h"

#include <algorithm>

#include "lifecycle/Globals.h"
#include "pixel/ConvertDepth.h"
#include "report/Report.h"
#include "world/Allocate.h"
#include "world/AlphaRows.h"
#include "world/CopyPixels.h"
#include "world/FillPixels.h"
#include "world/SubRect.h"
#include "world/WorldPlane.h"

namespace pf {
namespace {

int DepthOf(const PF_World* world) { return world == nullptr ? 0 : world->Depth(); }

// The rules of the field copy and the full copy differ in their text only.
void CheckSourceDepth(const PF_World* src, const char* text) {
  if (DepthIndex(DepthOf(src)) < 0) ThrowText(Site::kCopyDepth, text);
}

M_LRect RectOfBitmap(BM_World** world, const M_Rect* rect) {
  if (rect != nullptr) return {rect->left, rect->top, rect->right, rect->bottom};
  return {0, 0, (*world)->width, (*world)->height};
}

}  // namespace
}  // namespace pf

template <class P>
PF_WorldX<P>::PF_WorldX(std::int32_t new_width, std::int32_t new_height, std::int32_t flags) {
  pf::AllocatePixels(*this, new_width, new_height, pf::DepthTraits<P>::kDepth, flags);
}

template <class P>
PF_WorldX<P>::PF_WorldX(PF_WorldX* parent, const M_LRect& rect) {
  pf::CheckSubRect(rect, *parent);
  world_flags = parent->world_flags;
  context_value = parent->context_value;
  pf::TakeSubRect(*this, *parent, rect, sizeof(P));
}

template <class P>
PF_WorldX<P>::PF_WorldX(BM_World** world, const M_Rect* rect) {
  data = (*world)->pixels != nullptr ? (*world)->pixels : BMp_GetPixBaseAddr(world);
  row_bytes = (*world)->row_bytes;
  width = (*world)->width;
  height = (*world)->height;
  extent = {0, 0, width, height};
  bm_world = world;
  const M_LRect part = pf::RectOfBitmap(world, rect);
  pf::CheckSubRect(part, *this);
  pf::TakeSubRect(*this, *this, part, sizeof(P));
}

template <class P>
PF_WorldX<P>::PF_WorldX(P* pixels, std::int32_t new_width, std::int32_t new_height, std::int32_t new_row_bytes) {
  data = pixels;
  width = new_width;
  height = new_height;
  row_bytes = new_row_bytes;
  extent = {0, 0, new_width, new_height};
}

template <class P>
PF_WorldX<P>::PF_WorldX(PF_LayerDef* record, bool keep_state) : PF_World(keep_state) {
  world_flags = record->world_flags;
  data = record->data;
  row_bytes = record->row_bytes;
  width = record->width;
  height = record->height;
  extent = record->extent;
}

template <class P>
PF_WorldX<P>::~PF_WorldX() {
  pf::ReleasePixels(*this, pf::DepthTraits<P>::kDepth);
}

template <class P>
std::int16_t PF_WorldX<P>::Depth() const {
  return pf::DepthTraits<P>::kDepth;
}

template <class P>
bool PF_WorldX<P>::IsReference() const {
  return frame == nullptr;
}

template <class P>
void PF_WorldX<P>::Clear(const M_LRect* rect) {
  pf::ClearPlane(pf::Clip(pf::PlaneOf<P>(*this), rect));
}

template <class P>
void PF_WorldX<P>::ClearExceptRect(const M_LRect& rect) {
  const M_LRect kept = {std::max(rect.left, 0), std::max(rect.top, 0), std::min(rect.right, width),
                        std::min(rect.bottom, height)};
  if (kept.left >= kept.right || kept.top >= kept.bottom) return Clear(nullptr);
  const M_LRect around[] = {{0, 0, width, kept.top},
                            {0, kept.top, kept.left, kept.bottom},
                            {kept.right, kept.top, width, kept.bottom},
                            {0, kept.bottom, width, height}};
  for (const M_LRect& part : around) Clear(&part);
}

template <class P>
void PF_WorldX<P>::Fill(const PF_PixelFloat& colour, const M_LRect* rect) {
  pf::FillPlane(pf::Clip(pf::PlaneOf<P>(*this), rect), pf::ConvertPixel<P>(colour));
}

template <class P>
void PF_WorldX<P>::Fill(const PF_Pixel16& colour, const M_LRect* rect) {
  pf::FillPlane(pf::Clip(pf::PlaneOf<P>(*this), rect), pf::ConvertPixel<P>(colour));
}

template <class P>
void PF_WorldX<P>::FillAlpha() {
  pf::MapPlane(pf::PlaneOf<P>(*this), [](const P& p) { return pf::WithFullAlpha(p); });
}

template <class P>
void PF_WorldX<P>::InvertAlpha() {
  pf::MapPlane(pf::PlaneOf<P>(*this), [](const P& p) { return pf::WithInvertedAlpha(p); });
}

template <class P>
void PF_WorldX<P>::Premultiply() {
  pf::ForRows(pf::PlaneOf<P>(*this), pf::AlphaRow<P>(&pf::AlphaKernels::premultiply));
}

template <class P>
void PF_WorldX<P>::Unmultiply() {
  pf::ForRows(pf::PlaneOf<P>(*this), pf::AlphaRow<P>(&pf::AlphaKernels::unmultiply));
}

template <class P>
void PF_WorldX<P>::PremulColor(const PF_Pixel16& matte) {
  if constexpr (std::is_same_v<P, PF_Pixel16>) {
    if (const PF_Err code = PF_PremulColor16(this, &matte)) pf::ThrowCode(code);
  } else {
    pf::ForRows(pf::PlaneOf<P>(*this), pf::AlphaRow(&pf::AlphaKernels::onto_matte, pf::ConvertPixel<P>(matte)));
  }
}

template <class P>
void PF_WorldX<P>::UnmulColor(const PF_Pixel16& matte) {
  pf::ForRows(pf::PlaneOf<P>(*this), pf::AlphaRow(&pf::AlphaKernels::without_matte, pf::ConvertPixel<P>(matte)));
}

template <class P>
void PF_WorldX<P>::CopyRect(const PF_World* src, const M_LRect& rect, std::int32_t x, std::int32_t y) {
  if (pf::DepthOf(src) != Depth()) {
    pf::ThrowVerification("Src and dest bitdepths are different in PF_World::CopyRect");
  }
  pf::CopyPixels(*src, *this, pf::ClipCopy(*src, rect, *this, x, y));
}

template <class P>
void PF_WorldX<P>::CopyRectPossiblyDifferentBitdepth(const PF_World* src, const M_LRect& rect, PF_Dither dither,
                                                     std::int32_t x, std::int32_t y, const PF_ProgressInfo* progress) {
  pf::CheckSourceDepth(src, "Unknown bit depth in PF_World::CopyRectPossiblyDifferentBitdepths");
  pf::CopyPixels(*src, *this, pf::ClipCopy(*src, rect, *this, x, y), {dither != PF_Dither_OFF, progress});
}

template <class P>
void PF_WorldX<P>::CopyRectPossiblyDifferentBitdepthWithField(const PF_World* src, const M_LRect& rect,
                                                              PF_Field field) {
  pf::CheckSourceDepth(src, "Unknown bit depth in PF_World::CopyRectPossiblyDifferentBitdepthsWithField");
  pf::CopyArea area = pf::ClipCopy(*src, rect, *this, rect.left, rect.top);
  if (field != PF_Field_UPPER && field != PF_Field_LOWER) return pf::CopyPixels(*src, *this, area);
  if (area.src_y % 2 != (field == PF_Field_LOWER ? 1 : 0)) {
    ++area.src_y;
    ++area.dst_y;
    --area.height;
  }
  pf::CopySecondRows(*src, *this, area);
}

template <class P>
bool PF_WorldX<P>::SubWorldSafetyGutterHasBeenOverWritten() const {
  return pf::GutterHasChanged(*this, pf::DepthTraits<P>::kDepth);
}

template <class P>
void PF_WorldX<P>::ReleaseOwnership() {
  if (frame == nullptr) return;
  frame = nullptr;
  alloc_bm_world = nullptr;
  pf::g_live_worlds.fetch_sub(1, std::memory_order_relaxed);
}

template class PF_WorldX<PF_Pixel8>;
template class PF_WorldX<PF_Pixel16>;
template class PF_WorldX<PF_PixelFloat>;
