/// \file
/// Compositing of rectangles: one world onto another by a transfer mode, and between the conventions of alpha.
///
/// Rules common to the family
/// - Rectangles are half open; they may reach anywhere and are clipped, an empty or reversed one changes nothing and
///   gives 0. Padding of rows is never touched.
/// - The same bits on every processor and for any number of threads.
/// - Nothing is kept.
///
/// Rules of transfers
/// - Worlds are of one depth. A pixel of the result is what the function of the mode in PF_TransferModes.h makes of the
///   source's and the destination's pixel, bit for bit.
/// - The work goes in bands of 16 rows through PF_IterateGeneric, so possibly on several threads. Before each band that
///   the first worker (index 0) runs the abort function is asked, after it the progress function hears how many bands
///   are done of how many; a non-zero answer ends the call and is its result. `progress` may be null.
/// - Calls with distinct destinations may run at once.
#ifndef PF_COMPOSITING_H
#define PF_COMPOSITING_H

#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Masks.h"
#include "PF/PF_TransferModes.h"
#include "PF/PF_Types.h"
#include "host/M.h"

/// How a rectangle is laid.
struct PF_TransferParams {
  std::int32_t mode;           ///< PF_Xfer_*: -3 to 40 except -1
  std::int32_t premultiplied;  ///< not 0: the source's colour is premultiplied; it is divided by its alpha (as
                               ///< PF_WorldX::Unmultiply) before the mode. Modes -3, -2 and 21 take it as it is, in
                               ///< linear light through the same curve
  float opacity;               ///< 0..1, limited; integer depths: trunc(opacity * full + 1/2). NaN gives 516
  const PF_LinearBlendingTables* linear;  ///< blend in linear light; null: on stored values
  const PF_UnoBuffer* mask;  ///< coverage that scales as the opacity does, after it, converted to the depth (values
                             ///< outside 0..full are limited; floats on floats are not); null: full
  M_LPoint mask_at;          ///< where the mask's first value lies in the destination; beside it coverage is 0
};
static_assert(sizeof(PF_TransferParams) == 40 && offsetof(PF_TransferParams, opacity) == 8 &&
                  offsetof(PF_TransferParams, linear) == 16 && offsetof(PF_TransferParams, mask) == 24 &&
                  offsetof(PF_TransferParams, mask_at) == 32,
              "crosses the plug-in boundary");

extern "C" {

/// \name Transfers
/// @{

/// The rectangle compositor: lays `src_rect` of the source (null: all of it) with its top left corner at `at` of the
/// destination (null: 0, 0). What lies outside either world is left out.
///
/// Where the effective alpha of the source is 0 the destination stays as it is. Modes -2, 17 and 18 are mattes: inside
/// the rectangle they multiply the destination's alpha (mode -2: all channels) by 0 where the effective alpha is 0 and
/// where the source or the mask does not reach.
///
/// Source and destination may be one world or share pixels: the result is as if from a copy of the source. One is made
/// where their memory overlaps, unless every pixel lies onto itself.
/// \param progress see above. \param src, dst worlds of one depth with pixels.
/// \return 0. In this order: 516, reported, for null parameters; 5 for a mode that is none ("unimplemented blending
///   mode."); 516, reported, for an opacity that is not a number; 3, reported, for a missing destination or missing
///   pixels; a damaged mask as in PF_Masks.h, 516 for a mask of another depth than 8, 16 and 32; 3, reported, for a
///   missing source or missing pixels, and for unequal or unknown depths; 4 when memory for a copy of the source is
///   short ("blending scratch buffer", told to the host); what the progress record's functions answer.
PF_EXPORT PF_Err PF_TransferRect(const PF_ProgressInfo* progress, const PF_TransferParams* params,
                                 const PF_LayerDef* src, const M_LRect* src_rect, PF_LayerDef* dst, const M_LPoint* at);

/// The same with one colour in place of a source: fills `rect` of the destination (null: all of it).
/// \param colour converted to the depth as PF_WorldX::Fill does. \return as PF_TransferRect; 516, reported, without a
///   colour.
PF_EXPORT PF_Err PF_TransferFill(const PF_ProgressInfo* progress, const PF_TransferParams* params,
                                 const PF_PixelFloat* colour, const M_LRect* rect, PF_LayerDef* dst);
/// @}

/// \name Straight and premultiplied
/// Colour changes in place, alpha never. c is a channel, a the pixel's alpha, full the depth's full value. These are
/// the formulas of PF_World::Premultiply and its neighbours; exact halves go as stated. Rules common to them
/// - A null rectangle means the whole world; others are clipped to it. Only the pixels of the rectangle are read.
/// - `progress` may be null. It is polled after rows 63, 127 ... of the clipped rectangle: the progress function
///   (row, rows) when there is one, else the abort function. A non-zero answer ends the call and is returned; rows
///   already written stay.
/// - Checked in this order, before anything is written: null pointers and worlds without pixels (516, reported,
///   "invalid parameter"); a depth other than 8, 16 and 32 (3, a verification failure); then the rectangle.
/// - The calls run on the calling thread and allocate nothing. Calls that change disjoint rectangles of one world may
///   run at once.
/// - Of results that are not a number only that they are none is certain.
/// @{

/// Colour becomes colour times alpha: 8-bit c a / 255 to nearest (there are no halves), 16-bit (c a + 16383) >> 15,
/// limited to 65535, float c * a in single precision.
PF_EXPORT PF_Err PF_Premultiply(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect);

/// Colour becomes colour divided by alpha: integers (full * c + a / 2) / a, both divisions truncated, limited to full;
/// float c / a in single precision, without a limit. 0 where alpha is 0 (float: where it is not above 0).
PF_EXPORT PF_Err PF_Unmultiply(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect);

/// Composites onto an opaque matte: 8-bit (c a + m (255 - a)) / 255 to nearest, 16-bit (c a + m (32768 - a) + 16383)
/// >> 15 with alpha limited to 32768, float m + (c - m) * a in single precision, step by step.
/// \param matte m, its alpha not used. Converted to the world's depth by the rules of
///   PF_World::CopyRectPossiblyDifferentBitdepth: for integers limited to 0..full, NaN 0, to nearest; floats as they
///   are. Required.
PF_EXPORT PF_Err PF_PremultiplyColor(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect,
                                     const PF_PixelFloat* matte);

/// Takes a matte out again: integers m + full (c - m) / a, the quotient to nearest with halves away from zero, limited
/// to 0..full; float m + (c - m) / a in single precision, step by step. 0 where alpha is 0 (float: where it is not
/// above 0).
/// \param matte as for PF_PremultiplyColor.
PF_EXPORT PF_Err PF_UnmultiplyColor(const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect,
                                    const PF_PixelFloat* matte);
/// @}
}

#endif
