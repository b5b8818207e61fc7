/// \file
/// Transfer modes: how one source pixel is laid onto one destination pixel.
///
/// Rules common to the family
/// - Colour is straight, channels are named on the unit interval: a value v of a depth stands for v / full. s and d are
///   source and destination, a_s and a_d their alphas, c_s and c_d one of red, green and blue. a_s is the effective
///   alpha, the source's times the opacities. Where a_s is 0 the destination stays as it is, in every mode.
/// - Union alpha: a_r = 1 - (1 - a_s)(1 - a_d). Integer depths divide by it unrounded.
/// - Opacities scale the source's alpha one after the other, each rounded as its depth does: 8 bits
///   (v + 128 + ((v + 128) >> 8)) >> 8 with v = opacity * alpha, 16 bits (opacity * alpha + 16383) >> 15, limited to
///   full, float the product. A full opacity changes nothing.
/// - Integer depths compute the whole formula on the unit interval (single precision, modes 13 to 20, 35 and 36 in
///   double) and round once, at the end, limited to 0..full; they are within one step of the formula. Float takes the
///   formulas in single precision, without limits; mixes are kept as their distance from the neutral colour. A quotient
///   by a union alpha of 0 or a denormal one counts as 1.
/// - Linear light: with tables the colours of both pixels go to linear light, the mode runs there and its colours come
///   back; alpha stays. 8 bits work on 16-bit linear values with the effective alpha widened. Integers look up with
///   interpolation between table entries (values above full count as full), linear 0 comes back as 0; float takes
///   sign-preserving powers (v^gamma and v^inverseGamma, at most 2 units in the last place off). A pixel that a mode
///   copies whole and a channel whose linear value it leaves keep their stored bits.
/// - The same bits on every processor. The functions keep nothing, cannot fail and may run on any number of threads.
///   Source and destination may be one pixel.
#ifndef PF_TRANSFERMODES_H
#define PF_TRANSFERMODES_H

#include <array>
#include <cstdint>

#include "PF/PF_Export.h"
#include "PF/PF_Types.h"

struct PF_LinearBlendingTables;

/// Numbers of the transfer modes.
///
/// "On black", "on white", "on grey": d is put onto the neutral colour N (0, 1, 1/2), b = N + (c_d - N) a_d (c_d itself
/// where a_d is 1), mixed with the mode's B by the source's alpha, m = b + a_s (B - b), and taken off again,
/// c = N + (m - N) / a_r; B itself where a_s is 1. "Overlapping": c = (a_s (1 - a_d) c_s + a_d (1 - a_s) c_d +
/// a_s a_d B) / a_r; c_s + (B - c_s) a_d where a_s is 1. Alpha becomes a_r in both.
///
/// "Of colours": d is laid over s first (mode 1), B is made of the colours of s and that d, and each channel becomes
/// d + (B - d) a_s. L = 0.299 R + 0.587 G + 0.114 B; saturation = max - min. Saturation is set by stretching the
/// channels from min..max to 0..saturation (grey gives black), luminance by adding the difference to each channel;
/// then, with that luminance L and the colour's min and max, c = L + (c - L) L / (L - min) when min < 0 and
/// c = L + (c - L) (1 - L) / (max - L) when max > 1, neither when L is outside 0..1. Integer depths compare luminances
/// exactly: equal is equal.
enum : std::int32_t {
  PF_Xfer_PremulOntoPremul = -3,  ///< pipeline only; both premultiplied, the opacities scale the
                                  ///< source's colour too: s + d (1 - a_s), all channels
  PF_Xfer_PremulIn = -2,          ///< pipeline only; both premultiplied: d a_s, all channels
  PF_Xfer_Copy = 0,               ///< s, all channels
  PF_Xfer_Behind = 1,             ///< (c_s a_s + (c_d - c_s a_s) a_d) / a_r; unchanged where a_d is 1
  PF_Xfer_Over = 2,               ///< (c_d a_d + (c_s - c_d a_d) a_s) / a_r; s where a_s is 1 or a_d is 0
  PF_Xfer_Ignore = 3,             ///< d
  PF_Xfer_Add = 4,                ///< on black: c_s + b
  PF_Xfer_Multiply = 5,           ///< on white: c_s b
  PF_Xfer_Screen = 6,             ///< on black: 1 - (1 - c_s)(1 - b)
  PF_Xfer_Overlay = 7,            ///< on grey: 2 c_s b where b < 1/2, else 1 - 2 (1 - b)(1 - c_s)
  PF_Xfer_Mode8 = 8,              ///< soft light, on grey: b + t T(b) limited to 0..1, t = 2 c_s - 1; T(b) = b - b^2
                                  ///< for t <= 0, else ((16 b - 12) b + 4) b - b up to b = 1/4, sqrt(b) - b above
  PF_Xfer_HardLight = 9,          ///< on grey: b + (2 c_s - 1)(1 - b) where c_s >= 1/2, else 2 b c_s
  PF_Xfer_Darken = 10,            ///< on white: min(c_s, b)
  PF_Xfer_Lighten = 11,           ///< on black: max(c_s, b)
  PF_Xfer_Difference = 12,        ///< on black: |b - c_s|
  PF_Xfer_Hsl13 = 13,             ///< of colours: hue of s; saturation and luminance of d
  PF_Xfer_Hsl14 = 14,             ///< of colours: saturation of s; hue and luminance of d
  PF_Xfer_Hsl15 = 15,             ///< of colours: hue and saturation of s; luminance of d
  PF_Xfer_Hsl16 = 16,             ///< of colours: luminance of s; hue and saturation of d
  PF_Xfer_AlphaMultiply = 17,     ///< a_d a_s; colour stays
  PF_Xfer_LumaMultiply = 18,      ///< a_d (L(s) a_s), at most 1; colour stays
  PF_Xfer_AlphaCutout = 19,       ///< a_d (1 - a_s); colour stays
  PF_Xfer_LumaCutout = 20,        ///< a_d (1 - L(s) a_s), at most 1; colour stays
  PF_Xfer_PremulOver = 21,  ///< s is premultiplied, the opacities scale its colour too: (c_d a_d (1 - a_s) + c_s) / a_r
  PF_Xfer_AlphaAdd = 22,    ///< t = a_s + a_d: c_d (1 - a_s) + c_s a_s and alpha 1 where t >= 1, else (c_d a_d +
                            ///< c_s a_s) / t and alpha t; s where a_s is 1
  PF_Xfer_ColorDodge = 23,  ///< on black: b / (1 - c_s); 1 where c_s is 1 or b >= 1 - c_s
  PF_Xfer_ColorBurn = 24,   ///< on white: 1 - (1 - b) / c_s; 0 where c_s is 0 or denormal
  PF_Xfer_Exclusion = 25,   ///< on black: c_s + b - 2 c_s b
  PF_Xfer_DifferenceB = 26,  ///< overlapping: |c_d - c_s|
  PF_Xfer_ColorDodgeB = 27,  ///< overlapping: 0 where c_d is 0, else as 23 with b = c_d
  PF_Xfer_ColorBurnB = 28,   ///< overlapping: 1 - min(1, (1 - c_d) / c_s); where c_s is 0, 1 if c_d >= 1, else 0
  PF_Xfer_LinearDodge = 29,  ///< overlapping: c_s + c_d
  PF_Xfer_LinearBurn = 30,   ///< overlapping: max(0, c_s + c_d - 1)
  PF_Xfer_LinearLight = 31,  ///< overlapping: c_d + 2 c_s - 1
  PF_Xfer_Mode32 = 32,       ///< vivid light, overlapping: 28 with 2 c_s up to c_s = 1/2, else 27 with 2 c_s - 1
  PF_Xfer_PinLight = 33,     ///< overlapping: min(2 c_s, c_d) below c_s = 1/2, max(2 (c_s - 1/2), c_d) above, c_d at it
  PF_Xfer_HardMix = 34,      ///< overlapping: t = (1 - c_s) 0.99999; 0 where t >= c_d, else
                             ///< min(1, (c_d - t) / 1.001358e-05), in single precision at every depth
  PF_Xfer_Hsl35 = 35,        ///< of colours: darker of s and d by L; d when equal
  PF_Xfer_Hsl36 = 36,        ///< of colours: lighter of s and d by L; d when equal
  PF_Xfer_Subtract = 37,     ///< overlapping: c_d - c_s
  PF_Xfer_Mode38 = 38,       ///< divide, overlapping: c_d / |c_s|; where c_s is 0, 1 (0 if c_d is 0)
  PF_Xfer_Mode39 = 39,       ///< where a_s >= 1/2: blue of s, alpha 1; else d
  PF_Xfer_Mode40 = 40,       ///< s where red and blue of d are not 0; else d
  PF_Xfer_COUNT = 41
};

extern "C" {

using PF_Xfer1_Func8 = void (*)(const PF_Pixel8* src, const PF_LinearBlendingTables* lin, PF_Pixel8* dst);
using PF_Xfer1_Func16 = void (*)(const PF_Pixel16* src, const PF_LinearBlendingTables* lin, PF_Pixel16* dst);
using PF_Xfer1_FuncF = void (*)(const PF_PixelFloat* src, const PF_LinearBlendingTables* lin, PF_PixelFloat* dst);
using PF_Xfer1_Opacity_Func8 = void (*)(const PF_Pixel8* src, const PF_LinearBlendingTables* lin, std::uint8_t opacity,
                                        PF_Pixel8* dst);
using PF_Xfer1_Opacity_Func16 = void (*)(const PF_Pixel16* src, const PF_LinearBlendingTables* lin,
                                         std::uint16_t opacity, PF_Pixel16* dst);
using PF_Xfer1_Opacity_FuncF = void (*)(const PF_PixelFloat* src, const PF_LinearBlendingTables* lin, float opacity,
                                        PF_PixelFloat* dst);
using PF_Xfer1_Opacity2_Func8 = void (*)(const PF_Pixel8* src, const PF_LinearBlendingTables* lin,
                                         std::uint8_t opacity1, std::uint8_t opacity2, PF_Pixel8* dst);
using PF_Xfer1_Opacity2_Func16 = void (*)(const PF_Pixel16* src, const PF_LinearBlendingTables* lin,
                                          std::uint16_t opacity1, std::uint16_t opacity2, PF_Pixel16* dst);
using PF_Xfer1_Opacity2_FuncF = void (*)(const PF_PixelFloat* src, const PF_LinearBlendingTables* lin, float opacity1,
                                         float opacity2, PF_PixelFloat* dst);

/// Entries of each table: modes 0 to 40 and three nulls.
enum : std::int32_t { PF_Xfer1_TABLE_SIZE = 44 };

/// \name Tables of per-pixel functions, indexed by mode
/// The destination pixel is read and overwritten. `lin` may be null: stored values. Colour in linear light otherwise.
/// Constant data, laid out like plain arrays.
/// @{
PF_EXPORT extern const std::array<PF_Xfer1_Func8, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_table8;
PF_EXPORT extern const std::array<PF_Xfer1_Func16, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_table16;
PF_EXPORT extern const std::array<PF_Xfer1_FuncF, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_tableF;
PF_EXPORT extern const std::array<PF_Xfer1_Opacity_Func8, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity_table8;
PF_EXPORT extern const std::array<PF_Xfer1_Opacity_Func16, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity_table16;
PF_EXPORT extern const std::array<PF_Xfer1_Opacity_FuncF, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity_tableF;
PF_EXPORT extern const std::array<PF_Xfer1_Opacity2_Func8, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity2_table8;
PF_EXPORT extern const std::array<PF_Xfer1_Opacity2_Func16, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity2_table16;
PF_EXPORT extern const std::array<PF_Xfer1_Opacity2_FuncF, PF_Xfer1_TABLE_SIZE> PFp_G_Xfer1_Opacity2_tableF;
/// @}

/// \name Entry `mode` of a table
/// `mode` must be 0 to 43; it is not checked. 41 to 43 give null, which the caller must test for.
/// @{
PF_EXPORT PF_Xfer1_Func8 PF_Get_Xfer1_table8(std::int32_t mode);
PF_EXPORT PF_Xfer1_Func16 PF_Get_Xfer1_table16(std::int32_t mode);
PF_EXPORT PF_Xfer1_FuncF PF_Get_Xfer1_tableF(std::int32_t mode);
PF_EXPORT PF_Xfer1_Opacity_Func8 PF_Get_Xfer1_Opacity_table8(std::int32_t mode);
PF_EXPORT PF_Xfer1_Opacity_Func16 PF_Get_Xfer1_Opacity_table16(std::int32_t mode);
PF_EXPORT PF_Xfer1_Opacity_FuncF PF_Get_Xfer1_Opacity_tableF(std::int32_t mode);
PF_EXPORT PF_Xfer1_Opacity2_Func8 PF_Get_Xfer1_Opacity2_table8(std::int32_t mode);
PF_EXPORT PF_Xfer1_Opacity2_Func16 PF_Get_Xfer1_Opacity2_table16(std::int32_t mode);
PF_EXPORT PF_Xfer1_Opacity2_FuncF PF_Get_Xfer1_Opacity2_tableF(std::int32_t mode);
/// @}

/// 1 for the modes -3, 0, 1, 2, 4 to 7, 9 to 16, 22, 25, 37 and 38; 0 for any other value.
PF_EXPORT std::int32_t PF_GetTransferFlags(std::int32_t mode);
/// The mode's name in this header, static. \return null for what is not a mode of the pipeline (-3 to 40 except -1).
PF_EXPORT const char* PF_GetTransferModeName(std::int32_t mode);

/// The Over functions of the three depths, mode 2 of the plain tables.
struct PF_OverFuncs {
  PF_Xfer1_Func8 over8;
  PF_Xfer1_Func16 over16;
  PF_Xfer1_FuncF overF;
};
static_assert(sizeof(PF_OverFuncs) == 24, "record layout");
PF_EXPORT extern const PF_OverFuncs PFp_G_OverFuncs;
}

#endif
