/// \file
/// Painted spots, single pixels and one-pixel lines.
///
/// Rules common to the family
/// - Nothing is kept between calls. Calls that paint into one world at the same time must not overlap.
/// - Records do not tell their depth here: the caller picks the function that matches the pixels.
#ifndef PF_PAINT_H
#define PF_PAINT_H

#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Types.h"
#include "host/M.h"

/// Shapes of a spot. Without a bit: a square.
enum : std::uint32_t {
  PF_SpotShape_BAR = 1u << 0,      ///< one pixel thick; horizontal unless VERTICAL is set too
  PF_SpotShape_VERTICAL = 1u << 5  ///< only read together with BAR
};

extern "C" {

/// Paints one brush dab into an 8-bit world. Each channel becomes
/// (old * (255 - m) + colour * m) / 255, truncated, where m is the coverage of the pixel.
/// \param effect_ref the caller's; not used.
/// \param x, y centre of the dab, in pixels. The sides of the dab are kept in signed 16 bits.
/// \param shape PF_SpotShape bits. A square has size x size pixels, a bar size x 1 or 1 x size.
/// \param size odd, not negative.
/// \param mask coverage 0..255 of the unclipped dab, row by row from its top left corner; values above 255
///   are mixed as they are and the result limited to 0..255.
/// \param colour a PF_Pixel8 as it lies in memory: alpha in the lowest byte.
/// \param world 8-bit pixels. The dab is clipped to it. A dab that is clipped at the top by k rows is painted
///   from row 3 k on; rows that this moves to or beyond the height are not painted. Keep dabs below the top edge.
/// \return 0; 3, reported ("bad parameter passed to effect callback"), for a null mask or world, a world without
///   pixels, or a size that is negative or even: nothing is painted.
PF_EXPORT PF_Err PF_PaintSpot(void* effect_ref, std::int32_t x, std::int32_t y, std::uint32_t shape, std::int32_t size,
                              const std::uint32_t* mask, std::uint32_t colour, PF_LayerDef* world);

/// Sets one pixel.
/// \return 1, or 0 when nothing was written: a null pixel or world, a world without pixels, or a place outside.
PF_EXPORT std::int32_t PF_SetPixel8(std::int32_t x, std::int32_t y, const PF_Pixel8* pixel, PF_LayerDef* world);
PF_EXPORT std::int32_t PF_SetPixel16(std::int32_t x, std::int32_t y, const PF_Pixel16* pixel, PF_LayerDef* world);
PF_EXPORT std::int32_t PF_SetPixelFloat(std::int32_t x, std::int32_t y, const PF_PixelFloat* pixel, PF_LayerDef* world);

/// Sets the pixels of a line to one colour, one pixel per step along its longer axis (vertical when both are
/// equal), at the row or column nearest to the line. Only rows or columns of the world are visited.
/// \param start, end h is x and v is y, in pixels; pixel centres are at integers. Lines with a point that is not
///   finite are not drawn. The start is rounded half away from zero in 16.16; the end is rounded by adding one
///   half and truncating. A start farther than 2^44 pixels away along the longer axis is first moved along the
///   line to that distance.
/// \param colour converted to the world's depth: c * full + 0.5, truncated to 32 bits, of which the low 8 or 16
///   are kept (NaN and what does not fit as in depth conversion).
/// \param world of any depth. Nothing is drawn when it, a point or the colour is null.
/// \return 0 always.
PF_EXPORT PF_Err PF_DrawLine(const M_Vector2T<double>* start, const M_Vector2T<double>* end,
                             const PF_PixelFloat* colour, PF_World* world);
}

#endif
