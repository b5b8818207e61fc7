/// \file
/// Scaled copies of a rectangle of one world into a rectangle of another.
///
/// Rules common to the family
/// - A null rectangle, or one equal to the whole world, means the whole world. A rectangle that is empty
///   or lies wholly outside its world copies nothing and gives 0. A source rectangle that reaches beyond
///   its world is clipped and the destination follows in proportion, then the same the other way; all
///   divisions truncate.
/// - Draft quality replicates or drops pixels, between any two depths (converted as by
///   PF_World::CopyRectPossiblyDifferentBitdepth without dither). High quality samples bilinearly when
///   neither axis is reduced, else averages areas; it scales between worlds of equal depth only, and
///   converts depths when nothing is scaled. The position of destination pixel k is source left +
///   scale / 2 - 1/2 + k * scale in 16.16, scale = (source extent * 65536) / destination extent.
/// - Source and destination may be the same buffer only when their areas do not overlap.
/// - `progress` may be null. Draft copies and conversions poll it after rows 63, 127 ..., high-quality
///   scaling asks the abort function before rows 0, 64, 128 ...; a non-zero answer ends the copy and is
///   returned, rows already written stay.
/// - Null worlds and worlds without pixels are reported and give 3. Unknown depths give 3.
/// - Cost grows with the pixels written and read, not with the size of the rectangles given.
/// - The plain names forward to what is installed (the override table); names ending in _Static are the
///   library's own and run on the calling thread.
#ifndef PF_COPY_H
#define PF_COPY_H

#include <cstdint>

#include "PF/PF_Export.h"
#include "PF/PF_Types.h"
#include "host/BM.h"

/// The copies that PF_CopyBits_Band knows, each named after its function.
enum PF_CopyKind : std::int32_t {
  PF_CopyKind_DRAFT = 0,
  PF_CopyKind_HQ_STRAIGHT = 1,
  PF_CopyKind_HQ_PREMUL = 2,
  PF_CopyKind_LO_STRAIGHT = 3
};

extern "C" {

/// \name Worlds
/// @{

/// Draft copy.
PF_EXPORT PF_Err PF_CopyBits_Draft(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                   const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_CopyBits_Draft_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                          const M_LRect* src_rect, const M_LRect* dst_rect);
/// High-quality copy of straight pixels.
PF_EXPORT PF_Err PF_CopyBits_HQ_Straight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                         const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_CopyBits_HQ_Straight_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src,
                                                PF_LayerDef* dst, const M_LRect* src_rect, const M_LRect* dst_rect);
/// High-quality copy of premultiplied pixels.
PF_EXPORT PF_Err PF_CopyBits_HQ_Premul(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                       const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_CopyBits_HQ_Premul_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                              const M_LRect* src_rect, const M_LRect* dst_rect);
/// Low-quality copy of straight pixels: the nearest source pixel of each destination pixel's centre
/// (PF_NNSample at the positions of the high-quality copy), between any two depths. Unlike the draft
/// copy it keeps the first row and column and does not shift the picture.
PF_EXPORT PF_Err PF_CopyBits3_LO_Straight(const PF_ProgressInfo* progress, const PF_LayerDef* src, PF_LayerDef* dst,
                                          const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_CopyBits3_LO_Straight_Static(const PF_ProgressInfo* progress, const PF_LayerDef* src,
                                                 PF_LayerDef* dst, const M_LRect* src_rect, const M_LRect* dst_rect);

/// One band of a copy, for hosts that run copies on several threads: of the destination rows that the
/// whole copy writes, n in number, those from n * band / bands up to n * (band + 1) / bands (truncated).
/// Nothing is polled. All bands, in any order or at the same time, give the bits of the whole copy.
/// \param band 0 to bands - 1. More bands than rows are allowed; a band without rows writes nothing.
/// \return as the whole copy, whose checks and reports each band makes anew (run one band first to have
///   them once); 516, reported, for an unknown kind or an impossible band.
PF_EXPORT PF_Err PF_CopyBits_Band(PF_CopyKind kind, const PF_LayerDef* src, PF_LayerDef* dst, const M_LRect* src_rect,
                                  const M_LRect* dst_rect, std::int32_t band, std::int32_t bands);
/// @}

/// \name Host bitmap worlds
/// Each converts both to records (a failure is returned at once) and copies without progress. The worlds
/// must be locked. `progress` is not used.
/// @{

/// Draft copy through the installed routine; then, when one world is ARGB and the other BGRA, reverses
/// the bytes of each pixel of the destination rectangle (the whole of it, unless nothing was copied). A destination
/// that is not 32 bits wide cannot be repaired: reported, 5, the copied pixels stay.
PF_EXPORT PF_Err PF_WorldCopy(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst, const M_LRect* src_rect,
                              const M_LRect* dst_rect);
/// The same with the library's own draft copy.
PF_EXPORT PF_Err PF_WorldCopy_Static(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst,
                                     const M_LRect* src_rect, const M_LRect* dst_rect);
/// High-quality copies; the channel order is taken as it is.
PF_EXPORT PF_Err PF_WorldCopy_HQ_Straight(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst,
                                          const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_WorldCopy_HQ_Straight_Static(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst,
                                                 const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_WorldCopy_HQ(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst,
                                 const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_WorldCopy_HQ_Static(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst,
                                        const M_LRect* src_rect, const M_LRect* dst_rect);
PF_EXPORT PF_Err PF_WorldCopy_HQ_Premul(const PF_ProgressInfo* progress, BM_World** src, BM_World** dst,
                                        const M_LRect* src_rect, const M_LRect* dst_rect);
/// @}
}

#endif
