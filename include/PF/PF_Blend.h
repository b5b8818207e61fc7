/// \file
/// Cross-fades of two worlds of equal size into a third.
///
/// Rules common to the family
/// - ratio is 16.16 and limited to 0..65536; w2 = ratio, w1 = 65536 - ratio. Ratio 0 copies the first source bit for
///   bit, 65536 the second. Only pixels are written, never padding. The destination may be one of the sources.
/// - The calls run on the calling thread and keep nothing; calls with distinct destinations may run at once.
/// - Checked in this order, before anything is written: null records (3, reported as below); equal depths and a known
///   depth (verification failures, 3); null pixels ("bad parameter passed to effect callback", 3); equal sizes
///   ("PF_Blend requires width and height of all worlds to be the same", 3). A height of 0 is 0 at once.
#ifndef PF_BLEND_H
#define PF_BLEND_H

#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Types.h"

extern "C" {

/// PF_Blend_Straight.
PF_EXPORT PF_Err PF_Blend(void* effect_ref, const PF_LayerDef* first, const PF_LayerDef* second, std::int32_t ratio,
                          PF_LayerDef* dst);

/// Mixes all four channels alike: (c1 w1 + c2 w2 + 32768) >> 16 in unsigned 32 bits. Float: each product, in single
/// precision, is truncated to a 64-bit integer (saturated, NaN 0) of which the low 32 bits are kept; their sum in
/// unsigned 32 bits times 2^-16. So float results are steps of 2^-16 and negative values wrap.
/// \param effect_ref the caller's; not used.
PF_EXPORT PF_Err PF_Blend_Premul(void* effect_ref, const PF_LayerDef* first, const PF_LayerDef* second,
                                 std::int32_t ratio, PF_LayerDef* dst);

/// Mixes alpha alike and colour by each source's share of the result. A1 = alpha1 w1, A2 = alpha2 w2; alpha is
/// (A1 + A2 + 32768) >> 16. Colour is the second source's when A1 is 0, else the first's when A2 is 0, else
/// (c1 A1 + c2 A2 + (A1 + A2) / 2) / (A1 + A2) in integers (16 bits: 64-bit sums). Float: A1 and A2 by the integer
/// route of PF_Blend_Premul, alpha their sum times 2^-16, colour (c1 A1 + c2 A2) / (A1 + A2) in single precision; a
/// sum that wraps to 0 copies the second source's colour, and a mix that is not a number is the one with the bits
/// 0x7FC00000.
PF_EXPORT PF_Err PF_Blend_Straight(void* effect_ref, const PF_LayerDef* first, const PF_LayerDef* second,
                                   std::int32_t ratio, PF_LayerDef* dst);
}

#endif
