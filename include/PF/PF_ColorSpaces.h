/// \file
/// One pixel's colour in HLS or YIQ and back, and its luminance, hue, lightness and saturation.
///
/// Rules common to the family
/// - Four forms: _Premul (8-bit premultiplied), _Straight (8-bit), _Straight16 and _StraightFloat. _Premul first
///   takes the straight colour from PFp_G_fcd_table and goes on as _Straight. Into RGB, _Premul equals _Straight: the
///   colour that is written is straight.
/// - effect_ref is the caller's and not used. Every function returns 0. Where a pixel, triple or result is null,
///   nothing is written.
/// - Alpha is read by _Premul alone and never written.
/// - Pure functions: any thread, nothing kept, nothing reported. The result may overlap the input.
/// - full is 255, 32768 and 1. max and min are the largest and smallest of red, green, blue; delta = max - min,
///   sum = max + min. A colour with max = min is grey.
/// - Arithmetic is in double precision, in the order written. Fixed point has 16 fractional bits:
///   v * 65536, + 0.5 (- 0.5 where v is negative), truncated toward zero, limited to 32 bits, 0 where v is not a
///   number. Float results are rounded once; one that is not a number has the bits 0x7FC00000.
/// - Float input outside 0..1 gives output outside the range that is stated here. A channel that is not a number
///   makes H, L, S and the float measures not a number; in YIQ it counts as 0.
#ifndef PF_COLORSPACES_H
#define PF_COLORSPACES_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Types.h"

/// Hue, lightness and saturation in 16.16.
struct PF_EXPORT_TYPE PF_HLSTriple {
  std::int32_t hue;         ///< degrees, 0..360
  std::int32_t lightness;   ///< 0..1
  std::int32_t saturation;  ///< 0..1
};
/// Luma and the two chroma axes in 16.16.
struct PF_EXPORT_TYPE PF_YIQTriple {
  std::int32_t y;  ///< 0..1
  std::int32_t i;  ///< orange to blue, -0.5959..0.5959
  std::int32_t q;  ///< purple to green, -0.5227..0.5226
};
static_assert(sizeof(PF_HLSTriple) == 12 && sizeof(PF_YIQTriple) == 12, "record layout");
static_assert(offsetof(PF_HLSTriple, hue) == 0 && offsetof(PF_YIQTriple, y) == 0, "record layout");
static_assert(offsetof(PF_HLSTriple, lightness) == 4 && offsetof(PF_YIQTriple, i) == 4, "record layout");
static_assert(offsetof(PF_HLSTriple, saturation) == 8 && offsetof(PF_YIQTriple, q) == 8, "record layout");

extern "C" {

/// Straight value of a premultiplied 8-bit channel, at [alpha * 256 + channel]:
/// min(255, (255 * channel + alpha / 2) / alpha) in integers; 0 where alpha is 0. Constant data.
PF_EXPORT extern const std::array<std::uint8_t, 65536> PFp_G_fcd_table;

/// Premultiplied value of a straight 8-bit channel, at [alpha * 256 + channel]: channel * alpha / 255 to nearest.
/// Constant data.
PF_EXPORT extern const std::array<std::uint8_t, 65536> PFp_G_fcm_table;

/// RGB to HLS. Integer channels are divided by full first.
/// L = 0.5 * sum. Grey: H = 0 and S = 0. Else S = delta / sum where L <= 0.5, delta / (2 - max - min) above
/// (a divisor of 0, which needs channels outside 0..1, gives the largest S);
/// h = (green - blue) / delta where red is the maximum, else (blue - red) / delta + 2 where green is, else
/// (red - green) / delta + 4; H = 60 * h degrees, + 360 where negative. So a red a trace towards blue may be 360.
PF_EXPORT PF_Err PF_RGBtoHLS_Premul(void* effect_ref, const PF_Pixel8* pixel, PF_HLSTriple* hls);
PF_EXPORT PF_Err PF_RGBtoHLS_Straight(void* effect_ref, const PF_Pixel8* pixel, PF_HLSTriple* hls);
PF_EXPORT PF_Err PF_RGBtoHLS_Straight16(void* effect_ref, const PF_Pixel16* pixel, PF_HLSTriple* hls);
PF_EXPORT PF_Err PF_RGBtoHLS_StraightFloat(void* effect_ref, const PF_PixelFloat* pixel, PF_HLSTriple* hls);

/// HLS to RGB. With h, l, s the fixed values / 65536: m2 = l * (1 + s) where l <= 0.5, else l + s - l * s;
/// m1 = 2 * l - m2. S = 0: red = green = blue = l. Else red = f(h + 120), green = f(h), blue = f(h - 120). f takes
/// 360 from an angle above 360 or adds 360 to a negative one, once, and gives m1 + (m2 - m1) * x / 60 for x < 60,
/// m2 below 180, m1 + (m2 - m1) * (240 - x) / 60 below 240, m1 from there on.
/// Integer channels are c * full, limited to 0..full, + 0.5, truncated; float channels are not limited.
PF_EXPORT PF_Err PF_HLStoRGB_Premul(void* effect_ref, const PF_HLSTriple* hls, PF_Pixel8* pixel);
PF_EXPORT PF_Err PF_HLStoRGB_Straight(void* effect_ref, const PF_HLSTriple* hls, PF_Pixel8* pixel);
PF_EXPORT PF_Err PF_HLStoRGB_Straight16(void* effect_ref, const PF_HLSTriple* hls, PF_Pixel16* pixel);
PF_EXPORT PF_Err PF_HLStoRGB_StraightFloat(void* effect_ref, const PF_HLSTriple* hls, PF_PixelFloat* pixel);

/// RGB to YIQ:
///     Y = 0.2989 R + 0.5866 G + 0.1144 B
///     I = 0.5959 R - 0.2741 G - 0.3218 B
///     Q = 0.2113 R - 0.5227 G + 0.3113 B
/// Each product becomes fixed point on its own; the three are added, limited to 32 bits. 8-bit channels are
/// multiplied by 0.003921569 first, 16-bit ones by 1 / 32768.
PF_EXPORT PF_Err PF_RGBtoYIQ_Premul(void* effect_ref, const PF_Pixel8* pixel, PF_YIQTriple* yiq);
PF_EXPORT PF_Err PF_RGBtoYIQ_Straight(void* effect_ref, const PF_Pixel8* pixel, PF_YIQTriple* yiq);
PF_EXPORT PF_Err PF_RGBtoYIQ_Straight16(void* effect_ref, const PF_Pixel16* pixel, PF_YIQTriple* yiq);
PF_EXPORT PF_Err PF_RGBtoYIQ_StraightFloat(void* effect_ref, const PF_PixelFloat* pixel, PF_YIQTriple* yiq);

/// YIQ to RGB, with y, i, q the fixed values / 65536 * full:
///     R = y + 0.9562 i + 0.621 q
///     G = y - 0.2717 i - 0.6485 q
///     B = y - 1.1053 i + 1.702 q
/// which is near the inverse of RGB to YIQ and not exactly it. Integer channels are limited to 0..full, + 0.5,
/// truncated; float channels are not limited.
PF_EXPORT PF_Err PF_YIQtoRGB_Premul(void* effect_ref, const PF_YIQTriple* yiq, PF_Pixel8* pixel);
PF_EXPORT PF_Err PF_YIQtoRGB_Straight(void* effect_ref, const PF_YIQTriple* yiq, PF_Pixel8* pixel);
PF_EXPORT PF_Err PF_YIQtoRGB_Straight16(void* effect_ref, const PF_YIQTriple* yiq, PF_Pixel16* pixel);
PF_EXPORT PF_Err PF_YIQtoRGB_StraightFloat(void* effect_ref, const PF_YIQTriple* yiq, PF_PixelFloat* pixel);

/// 30 R + 59 G + 11 B: 0..100 * full (25500, 3276800, 100).
PF_EXPORT PF_Err PF_Luminance_Premul(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* luminance);
PF_EXPORT PF_Err PF_Luminance_Straight(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* luminance);
PF_EXPORT PF_Err PF_Luminance_Straight16(void* effect_ref, const PF_Pixel16* pixel, std::uint32_t* luminance);
PF_EXPORT PF_Err PF_Luminance_StraightFloat(void* effect_ref, const PF_PixelFloat* pixel, float* luminance);

/// The H of RGB to HLS as a share of the circle, H / 360 * full: 0..full, 0 for grey. Integers to nearest, exact
/// halves up.
PF_EXPORT PF_Err PF_Hue_Premul(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* hue);
PF_EXPORT PF_Err PF_Hue_Straight(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* hue);
PF_EXPORT PF_Err PF_Hue_Straight16(void* effect_ref, const PF_Pixel16* pixel, std::uint32_t* hue);
PF_EXPORT PF_Err PF_Hue_StraightFloat(void* effect_ref, const PF_PixelFloat* pixel, float* hue);

/// sum / 2, in integers truncated: 0..full.
PF_EXPORT PF_Err PF_Lightness_Premul(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* lightness);
PF_EXPORT PF_Err PF_Lightness_Straight(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* lightness);
PF_EXPORT PF_Err PF_Lightness_Straight16(void* effect_ref, const PF_Pixel16* pixel, std::uint32_t* lightness);
PF_EXPORT PF_Err PF_Lightness_StraightFloat(void* effect_ref, const PF_PixelFloat* pixel, float* lightness);

/// A product, not the quotient that is the S of RGB to HLS: delta * (sum where sum / 2 is below the middle of the
/// scale, else 2 * full - max - min) / full, in integers truncated and kept to the channel's bits: 0..full, 0 for grey.
PF_EXPORT PF_Err PF_Saturation_Premul(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* saturation);
PF_EXPORT PF_Err PF_Saturation_Straight(void* effect_ref, const PF_Pixel8* pixel, std::uint32_t* saturation);
PF_EXPORT PF_Err PF_Saturation_Straight16(void* effect_ref, const PF_Pixel16* pixel, std::uint32_t* saturation);
PF_EXPORT PF_Err PF_Saturation_StraightFloat(void* effect_ref, const PF_PixelFloat* pixel, float* saturation);
}

#endif
