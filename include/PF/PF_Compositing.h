/// \file
/// Compositing of rectangles: one world onto another by a transfer mode.
///
/// Rules common to the family
/// - Worlds are of one depth. Rectangles are half open; they may reach anywhere and are clipped, an empty or reversed
///   one changes nothing and gives 0. Padding of rows is never touched.
/// - A pixel of the result is what the function of the mode in PF_TransferModes.h makes of the source's and the
///   destination's pixel, bit for bit, on every processor and for any number of threads.
/// - The work goes in bands of 16 rows through PF_IterateGeneric, so possibly on several threads. Before each band that
///   the first worker (index 0) runs the abort function is asked, after it the progress function hears how many bands
///   are done of how many; a non-zero answer ends the call and is its result. `progress` may be null.
/// - Calls with distinct destinations may run at once. Nothing is kept.
#ifndef PF_COMPOSITING_H
#define PF_COMPOSITING_H

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
                               ///< PF_WorldX::Unmultiply) before the mode. Modes -3, -2 and 21 take it as it is
  float opacity;               ///< 0..1, limited; integer depths: trunc(opacity * full + 1/2). NaN gives 516
  const PF_LinearBlendingTables* linear;  ///< blend in linear light; null: on stored values
  const PF_UnoBuffer* mask;  ///< coverage that scales alpha after the opacity, converted to the depth (values
                             ///< outside 0..full are limited; floats on floats are not); null: full
  M_LPoint mask_at;          ///< where the mask's first value lies in the destination; beside it coverage is 0
};

extern "C" {

/// The rectangle compositor: lays `src_rect` of the source (null: all of it) with its top left corner at `at` of the
/// destination (null: 0, 0). What lies outside either world is left out.
///
/// Where the effective alpha of the source is 0 the destination stays as it is. Modes -2, 17 and 18 are mattes: inside
/// the rectangle they cut the destination's alpha (mode -2: all channels) to 0 where the source is transparent, where
/// it or the mask does not reach, and where the mask is 0.
///
/// Source and destination may be one world or share pixels: the result is as if from a copy of the source, which is
/// made only when a pixel would be written before it is read.
/// \param progress see above. \param src, dst worlds of one depth with pixels.
/// \return 0. In this order: 516, reported, for null parameters; 5 for a mode that is none ("unimplemented blending
///   mode."); 516, reported, for an opacity that is not a number; 3, reported, for a missing world or missing pixels; a
///   damaged mask as in PF_Masks.h, 516 for a mask of another depth than 8, 16 and 32; 3, reported, for unequal or
///   unknown depths; 4 when memory for a copy of the source is short ("blending scratch buffer", told to the
///   host); what the progress record's functions answer.
PF_EXPORT PF_Err PF_TransferRect(const PF_ProgressInfo* progress, const PF_TransferParams* params,
                                 const PF_LayerDef* src, const M_LRect* src_rect, PF_LayerDef* dst, const M_LPoint* at);

/// The same with one colour in place of a source: fills `rect` of the destination (null: all of it).
/// \param colour converted to the depth as PF_WorldX::Fill does. \return as PF_TransferRect; 516, reported, without a
///   colour.
PF_EXPORT PF_Err PF_TransferFill(const PF_ProgressInfo* progress, const PF_TransferParams* params,
                                 const PF_PixelFloat* colour, const M_LRect* rect, PF_LayerDef* dst);
}

#endif
