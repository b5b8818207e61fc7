/// \file
/// Reading a world at fractional positions.
///
/// Rules common to the family
/// - x and y are signed 16.16 fixed point in source pixels; whole values are pixel centres. The integer
///   part (arithmetic shift by 16) is the column i or row j, the low 16 bits the fraction towards the next.
/// - What lies outside the world reads as the zero pixel. The NoClip, Translate, Span and _4 forms do not
///   test: the caller sees to it that the 2 x 2 block at (i, j) can be read, and they take the column as
///   a signed 16-bit value. With -DPF_CHECKED=ON a block outside is caught by name.
/// - `params->src` must be of the sampler's depth; nothing is tested.
/// - Samplers cannot fail, always return 0, keep no state and may run on any number of threads. The
///   progress pointer is not used and may be null.
///
/// Straight bilinear. Integral positions copy the pixel. Of the four neighbours p00 p10 p01 p11 (right,
/// below, diagonal): four equal pixels are the result. Weights, from u = fx / 65536 and v = fy / 65536:
/// w11 = u v, w10 = u - w11, w01 = v - w11, w00 = 1 - w10 - w01 - w11. Equal alphas: alpha stays, colour
/// is w00 c00 + w10 c10 + w01 c01 + w11 c11 (alpha 0: the zero pixel). Otherwise A = sum of a w, colour is
/// (sum of a w c) * (1 / A), alpha A. 8 bits compute in single precision, add 0.5, truncate and limit to
/// 0..255; 16 bits in double, add 0.5 and truncate; for both A < 0.5 is the zero pixel. Float computes in
/// single precision without rounding or limits, and A not above 0 is the zero pixel. Sums run in the
/// order written. A float result that is not a number is the quiet NaN 0x7FC00000, here and below.
///
/// Area. The box is [x - radius_x, x + radius_x] x [y - radius_y, y + radius_y], pixel i covers
/// [i - 1/2, i + 1/2], the weight w of a pixel is the overlap's area; a radius of 0 covers that position
/// alone. Straight: alpha = sum(w a) / box area, colour = sum(w a c) / sum(w a). Premultiplied: every
/// channel sum(w c) / box area. Integers round half up, and an alpha that rounds to 0 is the zero pixel.
/// Straight float pixels whose sum of alpha is not above 0 give the zero pixel. Divisions are products
/// with a reciprocal, 1 / sum or 1 / box area. Weights of one axis are fractions of a pixel, multiples of
/// 1/65536. The order of the sums fixes the bits:
/// - 16 bits and floats sum in double, from 0. Each column adds its rows inside the world from top to
///   bottom, row weight times (alpha times colour), in blocks of 32 rows whose sums are then added;
///   columns are added from left to right, each times its column weight. Integers add 0.5 + 2^-30 and
///   truncate, so that halves go up. Sums of up to 32 rows of integers are exact.
/// - 8 bits sum in single precision. Each column sums the rows covered whole exactly, then adds its first
///   and its last row times their weights if they are not whole. Columns are taken in blocks of 32; of
///   each block the even ones and the odd ones are added apart, from left to right, each times its column
///   weight, then the two sums; blocks are added in double. Means add 0.5 + 2^-14 and truncate.
#ifndef PF_SAMPLING_H
#define PF_SAMPLING_H

#include "PF/PF_Export.h"
#include "PF/PF_Types.h"

/// What a sampler reads from. The caller owns it and the world.
struct PF_SampPB {
  std::int32_t radius_x;   ///< half-extent of the box, 16.16; area samplers only
  std::int32_t radius_y;   ///< likewise downwards
  std::int32_t area;       ///< area of a destination pixel in source pixels, 16.16, saturated
  const PF_LayerDef* src;  ///< the source world
};
static_assert(sizeof(PF_SampPB) == 24, "record layout");

/// A sample position, 16.16.
struct PF_SamplePoint {
  std::int32_t x, y;
};

extern "C" {

/// Weights w00, w10, w01, w11 of the fractions fx and fy, in double.
PF_EXPORT PF_Err PF_SubpixelSampleComputeWeight(std::uint16_t fx, std::uint16_t fy, double weights[4]);

/// \name Nearest neighbour
/// Column (x + 32768) >> 16, row likewise: a position half-way goes to the higher index.
/// @{
PF_EXPORT PF_Err PF_NNSample(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                             PF_Pixel8* out);
PF_EXPORT PF_Err PF_NNSample16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                               PF_Pixel16* out);
PF_EXPORT PF_Err PF_NNSampleFloat(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                  PF_PixelFloat* out);
/// @}

/// \name Straight bilinear, bounds tested
/// @{
PF_EXPORT PF_Err PF_SubpixelSample_Straight(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                            const PF_SampPB* params, PF_Pixel8* out);
PF_EXPORT PF_Err PF_SubpixelSample_Straight16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                              const PF_SampPB* params, PF_Pixel16* out);
PF_EXPORT PF_Err PF_SubpixelBilinearFloat(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                          const PF_SampPB* params, PF_PixelFloat* out);
/// As above; `all_inside` becomes 1 when the position is not integral and all four neighbours lie inside
/// the world, else 0. At an integral position it is 0 even inside the world.
PF_EXPORT PF_Err PF_SubpixelSamplePlus_Straight(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                                const PF_SampPB* params, std::uint8_t* all_inside, PF_Pixel8* out);
PF_EXPORT PF_Err PF_SubpixelSamplePlus_Straight16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                                  const PF_SampPB* params, std::uint8_t* all_inside, PF_Pixel16* out);
/// @}

/// \name Straight bilinear, no bounds tests
/// All four neighbours are read whenever a fraction is not 0.
/// @{
PF_EXPORT PF_Err PF_SubpixelSampleNoClip_Straight(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                                  const PF_SampPB* params, PF_Pixel8* out);
PF_EXPORT PF_Err PF_SubpixelSampleNoClip_Straight16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                                    const PF_SampPB* params, PF_Pixel16* out);
/// With the caller's weights (8 bits narrow them to single precision); the fractions only tell an
/// integral position.
PF_EXPORT PF_Err PF_SubpixelSampleTranslateNoClip_Straight(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                                           const double weights[4], const PF_SampPB* params,
                                                           PF_Pixel8* out);
PF_EXPORT PF_Err PF_SubpixelSampleTranslateNoClip_Straight16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                                             const double weights[4], const PF_SampPB* params,
                                                             PF_Pixel16* out);
/// `count` samples at (x + k, y), k whole pixels from 0; weights computed once. Each output alpha is
/// added to `alpha_sum`, which is not reset. A count of 0 or less does nothing.
PF_EXPORT PF_Err PF_SubpixelSpanSampleTranslateNoClip_Straight(PF_ProgressInfo* progress, std::int32_t count,
                                                               std::int32_t x, std::int32_t y, const PF_SampPB* params,
                                                               std::uint32_t* alpha_sum, PF_Pixel8* out);
PF_EXPORT PF_Err PF_SubpixelSpanSampleTranslateNoClip_Straight16(PF_ProgressInfo* progress, std::int32_t count,
                                                                 std::int32_t x, std::int32_t y,
                                                                 const PF_SampPB* params, std::uint32_t* alpha_sum,
                                                                 PF_Pixel16* out);
/// Four independent samples. `points` and `out` hold four each.
PF_EXPORT PF_Err PF_SubpixelSampleNoClip_Straight_4(PF_ProgressInfo* progress, const PF_SamplePoint points[4],
                                                    const PF_SampPB* params, PF_Pixel8 out[4]);
PF_EXPORT PF_Err PF_SubpixelSampleTranslateNoClip_Straight_4(PF_ProgressInfo* progress, const PF_SamplePoint points[4],
                                                             const double weights[4], const PF_SampPB* params,
                                                             PF_Pixel8 out[4]);
/// @}

/// \name Premultiplied bilinear, bounds tested
/// 8 and 16 bits: integer weights that add up to 65536, each product truncated from double: w10 =
/// (65536 - fy) fx / 65536, w01 = (65536 - fx) fy / 65536, w11 = fx fy / 65536, w00 the rest; every channel
/// (sum of c w + 32768) >> 16. Float: the double weights narrowed to single precision. The column is not
/// narrowed: a 32-bit position has none beyond 16 bits, and the rows of scaled copies take wider positions.
/// @{
PF_EXPORT PF_Err PF_SubpixelSample_Premul(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                          const PF_SampPB* params, PF_Pixel8* out);
PF_EXPORT PF_Err PF_SubpixelSample_Premul16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                            const PF_SampPB* params, PF_Pixel16* out);
PF_EXPORT PF_Err PF_SubpixelSample_PremulFloat(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                               const PF_SampPB* params, PF_PixelFloat* out);
/// @}

/// \name Area
/// @{
PF_EXPORT PF_Err PF_AreaSample_Straight(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                        const PF_SampPB* params, PF_Pixel8* out);
PF_EXPORT PF_Err PF_AreaSample_Straight16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                          const PF_SampPB* params, PF_Pixel16* out);
PF_EXPORT PF_Err PF_AreaSample_StraightFloat(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                             const PF_SampPB* params, PF_PixelFloat* out);
PF_EXPORT PF_Err PF_AreaSample_Premul(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                      const PF_SampPB* params, PF_Pixel8* out);
PF_EXPORT PF_Err PF_AreaSample_Premul16(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                        const PF_SampPB* params, PF_Pixel16* out);
PF_EXPORT PF_Err PF_AreaSample_PremulFloat(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                           const PF_SampPB* params, PF_PixelFloat* out);
/// @}
}

/// The area samplers by pixel type; `straight` is 1 for straight pixels, 0 for premultiplied ones.
template <class P, int straight>
PF_EXPORT PF_Err PF_AreaSample_CPlusPlus(PF_ProgressInfo* progress, std::int32_t x, std::int32_t y,
                                         const PF_SampPB* params, P* out);

#endif
