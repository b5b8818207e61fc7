/// \file
/// Masks: rasters of one coverage value per pixel, "uno buffers".
///
/// Rules common to the family
/// - A mask is width x height values of 8 bits (0..255), 16 bits (0..32768) or float (0..1), packed: row y
///   starts y * width values behind the address that the handle refers to. "Full" is 255, 32768 or 1.
/// - Every function first checks the record: magic and a handle that is not null. A damaged record is
///   reported ("damaged mask buffer", as a failed verification) and the work goes on as if it were sound;
///   a null record or a null handle cannot be worked on and gives 3.
/// - Depths other than 8, 16 and 32 give 516 and change nothing, except where said.
/// - Products on the scale of full are rounded to nearest: 8 bits exactly, (v + 128 + ((v + 128) >> 8)) >> 8;
///   16 bits (v + 16383) >> 15, so exact halves go down; float in single precision. Integer results are
///   limited to 0..full; float results are not limited.
/// - Rectangles are half open. Those that are clipped may reach anywhere; an empty one changes nothing and
///   gives 0, except where said.
/// - Functions that take a progress record work row by row through PF_IterateGeneric, except where said, so
///   possibly on several threads, and ask the abort function before each row that the first worker (index 0) runs; a
///   non-zero answer ends the call and is its result. `progress` may be null. Fills, fades and copies of channels run
///   on the calling thread and never ask.
/// - Blocks are locked while they are worked on, so a host may move handles at any call. A mask must not be
///   freed, filled or drawn into while another thread works on it. Distinct masks are independent.
#ifndef PF_MASKS_H
#define PF_MASKS_H

#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Types.h"
#include "host/M.h"
#include "host/U.h"

/// Marks a live record.
enum : std::uint32_t { PF_UnoBuffer_MAGIC = 0xFEEDABBAu };

/// A mask. The record is small; the values lie behind a relocatable host handle that it owns.
struct PF_EXPORT PF_UnoBuffer {
  std::uint32_t magic;  ///< PF_UnoBuffer_MAGIC while the record is live
  std::int32_t width;   ///< values per row
  std::int32_t height;  ///< rows
  U_Handle data;        ///< the values
  std::int32_t depth;   ///< bits per value: 8, 16 or 32 (float)

  /// Allocates the values, all 0, and stores `depth` as it is. A value takes depth / 8 bytes; depth 0
  /// gives 2 bytes a value and depth 1 one byte. Throws PF_Error 4 when memory is short or the size cannot
  /// be had (told to the host as "memory for mask buffer"); a negative size counts as one that cannot.
  PF_UnoBuffer(std::int32_t width, std::int32_t height, std::int32_t depth);
  /// Frees the values. A wrong magic is reported as a failed verification; the handle is freed all the same.
  ~PF_UnoBuffer();
  PF_UnoBuffer(const PF_UnoBuffer&) = delete;
  PF_UnoBuffer& operator=(const PF_UnoBuffer&) = delete;
};
static_assert(sizeof(PF_UnoBuffer) == 32 && offsetof(PF_UnoBuffer, width) == 4 && offsetof(PF_UnoBuffer, height) == 8 &&
                  offsetof(PF_UnoBuffer, data) == 16 && offsetof(PF_UnoBuffer, depth) == 24,
              "crosses the plug-in boundary");

/// How two coverages become one. s is the source (transfer: the first source), d the destination (transfer:
/// the second source); formulas with full = 1. A product is rounded once. 16-bit values above full count as
/// full. Floats: sums from left to right; a value that is not a number makes 4 and 5 give d.
enum PF_MaskMode : std::int32_t {
  PF_MaskMode_COPY = 0,        ///< s
  PF_MaskMode_ADD = 1,         ///< s + d - s d: the union of independent coverages
  PF_MaskMode_SUBTRACT = 2,    ///< d (1 - s)
  PF_MaskMode_INTERSECT = 3,   ///< s d, and 0 everywhere outside the affected area
  PF_MaskMode_LIGHTEN = 4,     ///< the larger
  PF_MaskMode_DARKEN = 5,      ///< the smaller, and 0 everywhere outside the affected area
  PF_MaskMode_DIFFERENCE = 6,  ///< |s - d|
  PF_MaskMode_COUNT = 7
};

extern "C" {

/// \name Creation
/// @{

/// Allocates a record and 8-bit values, all 0. The caller releases it with PF_DisposeUnoBuffer.
/// \param out receives the mask, or null on failure. A null `out` is reported (damaged mask) and gives 3.
/// \return 0; 4 when memory is short (told to the host) or the size is negative or cannot be represented.
PF_EXPORT PF_Err PF_NewUnoBuffer(std::int32_t width, std::int32_t height, PF_UnoBuffer** out);
/// The same with 16-bit values.
PF_EXPORT PF_Err PF_NewDeepUnoBuffer(std::int32_t width, std::int32_t height, PF_UnoBuffer** out);
/// Frees the values and the record of PF_NewUnoBuffer or PF_NewDeepUnoBuffer. A null handle is left alone.
PF_EXPORT PF_Err PF_DisposeUnoBuffer(PF_UnoBuffer* mask);
/// @}

/// \name One mask
/// @{

/// v becomes full - v; 16-bit values above full wrap in 16 bits. Also reports progress (rows done, rows) after
/// each row of the first worker; a non-zero answer ends the call.
PF_EXPORT PF_Err PF_InvertUnoBuffer(const PF_ProgressInfo* progress, PF_UnoBuffer* mask);

/// Inverts, then scales by `fade` / 65536 with the rule of PF_FadeUnoBuffer (the factor in double
/// precision). When the 8-bit scale is 255 or more, or the 16-bit scale exactly 32768, this is the pure
/// inversion. Polls and reports as PF_InvertUnoBuffer.
/// \param fade 16.16, 65536 = 1. Negative counts as 0.
PF_EXPORT PF_Err PF_InvertAndFadeUnoBuffer(const PF_ProgressInfo* progress, std::int32_t fade, PF_UnoBuffer* mask);

/// Scales every value, on the calling thread: scale = trunc(fade * full + 0.5), the product in single
/// precision; v = v * scale on the scale of full, 16-bit products in 64 bits. Float: v * fade.
/// A scale of full leaves every value as it is, those above full too.
/// \param progress accepted and not used. \param fade 1 = unchanged; negative or NaN counts as 0.
PF_EXPORT PF_Err PF_FadeUnoBuffer(const PF_ProgressInfo* progress, float fade, PF_UnoBuffer* mask);
/// @}

/// \name Two masks, and a mask and a world
/// @{

/// Combines `rect` of two sources of equal size and puts it at `at` in the destination, whose own values do
/// not enter. \param first, second sources of any depth, converted to the destination's first.
/// \return 0; 5, reported ("unimplemented blending mode."), for a mode that does not exist; 516 for sources of
///   unequal size. Else as PF_AccumulateUnoBuffers.
PF_EXPORT PF_Err PF_TransferUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* first,
                                       const PF_UnoBuffer* second, std::int32_t mode, const M_LRect* rect,
                                       const M_LPoint* at, PF_UnoBuffer* dst);

/// Converts `rect` of a 16-bit mask to the same place of a mask of 8 or 16 bits. The rectangle is clipped to
/// both. 16 to 8 bits as worlds convert: (v * 255 + 16384) >> 15, or with noise in place of the rounding.
/// \param dither non-zero: add noise (only 16 to 8 bits, and only when the host gave a random table). One
///   value per pixel, row by row, from the sequence of PF_ResetDitherRandomIndex; threads do not change it.
/// \param rect required.
/// \return 0, also when the source is not 16 bits deep: then nothing is done; 516 for another destination or a
///   null rectangle.
PF_EXPORT PF_Err PF_ConvertDeepUnoBuffer(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, const M_LRect* rect,
                                         std::int32_t dither, PF_UnoBuffer* dst);

/// Multiplies the alpha of a world by a mask whose top left value lies at (h, v) in the world. Colour stays.
/// In the area, alpha beside the mask becomes 0; a mask value of 0 gives alpha 0, full leaves alpha bit for
/// bit. alpha * m is rounded by the rule above for worlds and masks of equal depth; 8-bit world and 16-bit
/// mask: (a * m + 16383) >> 15; 16-bit world and 8-bit mask: a * m / 255 to nearest, halves up; float worlds:
/// alpha * (m * 0.003921569f) or alpha * (m * 2^-15), in single precision.
/// \param clip of the mask, in mask coordinates; null means all of it.
/// \param area of the world, clipped to it; null means all of it.
/// \return 0; 3, reported ("Unexpected bitdepth in PFp_MergeMaskAlphaScanIter()"), for a mask of another depth
///   than 8 or 16: nothing is changed. Null worlds and worlds without pixels: 516, reported. When mask, clip and
///   area have nothing in common the whole area becomes transparent black, colour too.
PF_EXPORT PF_Err PF_MergeMaskAlpha(const PF_ProgressInfo* progress, std::int32_t h, std::int32_t v, const M_LRect* clip,
                                   const PF_UnoBuffer* mask, const M_LRect* area, PF_World* dst);
/// @}

/// \name Blurs along one direction
/// A two-dimensional blur is one scan along rows and one along columns. Weights are divided by their sum and
/// the result is rounded once, half up, and limited to full. Values beyond the border count as 0. Radius 0 copies. The
/// cost does not grow with the radius, but for bells of up to 12. The work goes line by line through PF_IterateGeneric
/// and asks before each line; a call may do the work of lines beside its own.
/// \param src, dst masks of equal size and of the depth in the name; they may be the same.
/// \param radius 0..32767, in pixels. \param direction 0 along rows, else along columns.
/// \return 0; 516 for unequal sizes, another depth, or a radius that is NaN, negative or above 32767; 4 when
///   memory is short (told to the host as "memory for blurring" or "gaussian weight array").
/// @{

/// The bell of PFp_GaussianValue: weight i is the bell at i / (radius + 1), for i up to ceil(radius). For a radius up
/// to 12 weights are integers that add up to 2^24 (8 bits) or 2^37 (16 bits) and sums are exact; above it results are
/// those of the exact sums to within one step.
PF_EXPORT PF_Err PF_GBlurUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                                 const PF_ProgressInfo* progress);
PF_EXPORT PF_Err PF_GBlurDeepUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                                     const PF_ProgressInfo* progress);
/// The mean of the 2 n + 1 values around each, n = trunc(radius + 0.5), exact.
PF_EXPORT PF_Err PF_BoxBlurUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                                   const PF_ProgressInfo* progress);
PF_EXPORT PF_Err PF_BoxBlurDeepUnoScan(const PF_UnoBuffer* src, PF_UnoBuffer* dst, float radius, std::int32_t direction,
                                       const PF_ProgressInfo* progress);
/// @}
}

/// \name Fills
/// On the calling thread. Rectangles are not clipped: keeping them inside the mask is the caller's duty
/// (caught by name in a build with -DPF_CHECKED=ON). An empty or reversed rectangle fills nothing.
/// \return 0; 516, nothing changed, when the mask's values are not of the function's size (a depth of 0 counts
///   as 16 and a depth of 1 as 8).
/// @{

/// Sets every byte of the mask, whatever its depth.
PF_EXPORT PF_Err PF_FillUnoBuffer(std::uint8_t value, PF_UnoBuffer* mask);
PF_EXPORT PF_Err PF_FillUnoBuffer(std::uint8_t value, const M_LRect& rect, PF_UnoBuffer* mask);
PF_EXPORT PF_Err PF_FillDeepUnoBuffer(std::uint16_t value, PF_UnoBuffer* mask);
PF_EXPORT PF_Err PF_FillDeepUnoBuffer(std::uint16_t value, const M_LRect& rect, PF_UnoBuffer* mask);
PF_EXPORT PF_Err PF_FillFloatUnoBuffer(float value, PF_UnoBuffer* mask);
/// @}

/// \name Accumulation
/// Combines `rect` of the source into the destination. The rectangle is clipped to the source, moved so that the
/// top left corner of `rect` as given comes to lie at `at`, and clipped to the destination; an empty result
/// changes nothing and gives 0. Modes 3 and 5 also set everything
/// outside the affected area to 0. Rows run through PF_IterateGeneric when the affected area holds at least
/// 76800 values, else through PF_IterateGeneric_Static.
/// \param src a source of any depth, converted to the destination's first; it may be the destination, and
///   areas that overlap behave as if the source had been copied before.
/// \param mode PF_MaskMode. \param rect, at required; null: 516.
/// \return 0; 5, reported ("unimplemented blending mode."), for a mode that does not exist, nothing changed;
///   4 when memory for a copy is short.
/// @{
PF_EXPORT PF_Err PF_AccumulateUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, std::int32_t mode,
                                         const M_LRect* rect, const M_LPoint* at, PF_UnoBuffer* dst);
/// First scales the source by `src_weight` with the rule of PF_FadeUnoBuffer.
PF_EXPORT PF_Err PF_AccumulateUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, std::int32_t mode,
                                         float src_weight, const M_LRect* rect, const M_LPoint* at, PF_UnoBuffer* dst);
/// First scales both, source and destination.
PF_EXPORT PF_Err PF_AccumulateUnoBuffers(const PF_ProgressInfo* progress, const PF_UnoBuffer* src, std::int32_t mode,
                                         float src_weight, float dst_weight, const M_LRect* rect, const M_LPoint* at,
                                         PF_UnoBuffer* dst);
/// @}

/// \name Single channels
/// Copies and blends of bare arrays, T one of std::uint8_t, std::uint16_t, float. Nothing is checked or clipped; an
/// extent that is empty copies nothing. Source and destination do not overlap.
/// @{

/// Copies one channel of values into one channel of pixels.
/// \param src value (0, 0); rows are `src_row_bytes` apart. \param dst the wanted channel of pixel (0, 0); rows are
///   `dst_row_bytes` apart, pixels four values. \param extent values to copy in each direction.
/// \param src_origin, dst_origin where the copied rectangle starts in each.
template <class T>
PF_EXPORT void PF_Interleave1to4(const T* src, std::int32_t src_row_bytes, std::int32_t dst_row_bytes,
                                 M_Vector2T<std::int32_t> extent, M_Vector2T<std::int32_t> src_origin,
                                 M_Vector2T<std::int32_t> dst_origin, T* dst);
/// Copies one channel of pixels into one channel of values.
/// \param src first value of pixel (0, 0). \param channel 0..3: alpha, red, green, blue; another copies nothing.
template <class T>
PF_EXPORT void PF_Deinterleave1(const T* src, std::int32_t src_row_bytes, std::int32_t dst_row_bytes,
                                std::int32_t channel, M_Vector2T<std::int32_t> extent,
                                M_Vector2T<std::int32_t> src_origin, M_Vector2T<std::int32_t> dst_origin, T* dst);
/// alpha[i] = v0 + (v1 - v0) * mask[i] / full for `count` pixels, rounded to nearest, halves up, exactly v0 at 0
/// and v1 at full; masks above full count as full. Float: in single precision. Colour stays.
/// \param mask `count` values. \param dst `count` pixels.
template <class Pixel, class T>
PF_EXPORT void PF_BlendSingleChannel(std::int32_t count, T v0, T v1, const T* mask, Pixel* dst);
/// @}

#endif
