/// \file
/// The iteration engine: a caller's function once per pixel of a rectangle, or once per index.
///
/// Rules common to the family
/// - The plain names run whatever the host installed (indices 42 to 44 and 53 of the override table) and
///   may call the function from several threads at once. The names ending in _Static are the library's
///   own; they run on the calling thread, rows from top to bottom and pixels from left to right.
/// - x and y are absolute coordinates. They are counted in 16 bits: beyond 32767 the function receives
///   the sign-extended low half.
/// - A non-zero result of the function stops the iteration and is returned. Rows already done stay.
/// - Progress: after each row, when `progress_final` is not 0 and the input record and its progress
///   function are given, progress(effect_ref, progress_base + rows done, progress_final). A result of
///   517 stops. Any other result is overwritten by the next pixel's; the one after the last row is
///   returned.
/// - Bad pointers are reported ("bad parameter passed to effect callback") and give 3; worlds of unequal
///   or unknown depth give 3 with a verification report, before anything is called.
#ifndef PF_ITERATE_H
#define PF_ITERATE_H

#include "PF/PF_Export.h"
#include "PF/PF_Types.h"

extern "C" {

/// Pixel functions, one shape per depth. `in` and `out` are the same pixel when there is no source.
using PF_IteratePixel8Func = PF_Err (*)(void* reference, std::int32_t x, std::int32_t y, PF_Pixel8* in, PF_Pixel8* out);
using PF_IteratePixel16Func = PF_Err (*)(void* reference, std::int32_t x, std::int32_t y, PF_Pixel16* in,
                                         PF_Pixel16* out);
using PF_IteratePixelFloatFunc = PF_Err (*)(void* reference, std::int32_t x, std::int32_t y, PF_PixelFloat* in,
                                            PF_PixelFloat* out);
/// A pixel function of the destination's depth; see PF_PixelFunc.
using PF_IteratePixelFunc = PF_AnyFunc;

/// Called once per index. \param thread_index distinct among calls that run at the same time.
using PF_IterateGenericFunc = PF_Err (*)(void* reference, std::int32_t thread_index, std::int32_t i,
                                         std::int32_t iterations);

/// Calls `function` for every pixel of `area`.
/// \param in for progress; may be null.
/// \param src source of the same depth, or null.
/// \param area left, top, right, bottom; null for all. Clipped to both worlds; an area outside calls nothing.
/// \param function PF_PixelFunc(f) with f of the destination's depth.
/// \return 0, 3, 517 or the function's code.
PF_EXPORT PF_Err PF_Iterate(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                            const M_LRect* area, void* reference, PF_IteratePixelFunc function, PF_LayerDef* dst);
/// PF_Iterate on the calling thread.
PF_EXPORT PF_Err PF_Iterate_Static(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final,
                                   PF_LayerDef* src, const M_LRect* area, void* reference, PF_IteratePixelFunc function,
                                   PF_LayerDef* dst);

/// As PF_Iterate, but destination pixel (x, y) is paired with source pixel (x + origin.h, y + origin.v);
/// the area is clipped to the pixels for which both exist.
/// \param src required. \param origin null means (0, 0).
PF_EXPORT PF_Err PF_IterateOrigin(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final,
                                  PF_LayerDef* src, const M_LRect* area, const M_LPoint* origin, void* reference,
                                  PF_IteratePixelFunc function, PF_LayerDef* dst);
/// PF_IterateOrigin on the calling thread.
PF_EXPORT PF_Err PF_IterateOrigin_Static(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final,
                                         PF_LayerDef* src, const M_LRect* area, const M_LPoint* origin, void* reference,
                                         PF_IteratePixelFunc function, PF_LayerDef* dst);

/// Maps each channel through a table of 256 entries, from the source (or the destination itself when
/// there is none) to the destination.
/// \param alpha, red, green, blue 256 values 0..255 each, or null to leave the channel as it is.
/// 16-bit and float channels (position v * 255 / full value, limited to the table) interpolate linearly
/// between neighbouring entries, in double, rounded half up to the depth for 16 bits; NaN maps as 0.
PF_EXPORT PF_Err PF_IterateLUT(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final, PF_LayerDef* src,
                               const M_LRect* area, const std::uint8_t* alpha, const std::uint8_t* red,
                               const std::uint8_t* green, const std::uint8_t* blue, PF_LayerDef* dst);
/// PF_IterateLUT on the calling thread.
PF_EXPORT PF_Err PF_IterateLUT_Static(PF_InData* in, std::int32_t progress_base, std::int32_t progress_final,
                                      PF_LayerDef* src, const M_LRect* area, const std::uint8_t* alpha,
                                      const std::uint8_t* red, const std::uint8_t* green, const std::uint8_t* blue,
                                      PF_LayerDef* dst);

/// Calls `function` with i = 0 .. iterations - 1; the first non-zero result stops and is returned.
/// \param iterations -1 calls once with (reference, 0, 0, 1); 0 and other negative counts call nothing.
PF_EXPORT PF_Err PF_IterateGeneric(std::int32_t iterations, void* reference, PF_IterateGenericFunc function);
/// PF_IterateGeneric in order on the calling thread.
PF_EXPORT PF_Err PF_IterateGeneric_Static(std::int32_t iterations, void* reference, PF_IterateGenericFunc function);
}

/// Makes the argument of PF_Iterate from a function of one depth.
inline PF_IteratePixelFunc PF_PixelFunc(PF_IteratePixel8Func function) {
  return reinterpret_cast<PF_IteratePixelFunc>(function);
}
inline PF_IteratePixelFunc PF_PixelFunc(PF_IteratePixel16Func function) {
  return reinterpret_cast<PF_IteratePixelFunc>(function);
}
inline PF_IteratePixelFunc PF_PixelFunc(PF_IteratePixelFloatFunc function) {
  return reinterpret_cast<PF_IteratePixelFunc>(function);
}

#endif
