/// \file
/// Filters: the bell that every Gaussian weight of the library comes from, kernels filled from it, and blurs along one
/// direction.
///
/// Nothing here keeps state; every function may be called from any thread.
///
/// Rules of blurs
/// - A line is a row or a column. Line i of the destination is what the blur makes of line i of the source; where the
///   directions differ the result is transposed. Source and destination have as many lines, and lines as long, as each
///   other, and one depth. They may be one world or share pixels: the result is as if from a copy of the source.
/// - Weights are divided by their sum. Integer depths round once, halves up, and are limited to their full value.
///   Copies are copies, whatever they hold.
/// - Beyond the ends of a line its end pixels repeat; with PF_BlurFlag_TRANSPARENT_EDGES all channels are 0 there.
/// - Channels are blurred alike, each by itself (premultiplied pixels stay premultiplied), or, when `straight` is not
///   0, colour is weighted by alpha: it is the blurred product of colour and alpha, divided by the blurred alpha, and 0
///   where that is 0. Weighted colour is as exact as the alpha that it is seen by; it has no bound where alphas of both
///   signs meet.
/// - A line of one legal colour keeps it exactly, when weighted by an alpha above 0. A sample that is not finite is not
///   felt beyond its reach, and what has nothing but 0 in reach is exactly 0.
/// - The cost does not grow with the radius, but for what reaches beyond the ends of lines and, in float, close to
///   samples that are not finite, or larger by far than those around them.
/// - The work goes line by line through PF_IterateGeneric, one call for each destination line, so possibly on several
///   threads; a call may do the work of other lines, and leave its own to another call. Before each line that the first
///   worker (index 0) runs the abort function is asked, after it the progress function hears how many lines are done of
///   how many; a non-zero answer ends the call and is its result: any lines may be done then. `progress` may be null.
/// - The same bits on every processor and for any number of threads.
#ifndef PF_FILTERS_H
#define PF_FILTERS_H

#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Types.h"
#include "PF/PF_Worlds.h"

/// Flags of blurs.
enum : std::int32_t {
  PF_BlurFlag_TRANSPARENT_EDGES = 1 << 1,  ///< beyond the ends of a line there is nothing, instead of its end pixels
  PF_BlurFlag_ALPHA_ONLY = 1 << 2,         ///< colour is copied
  PF_BlurFlag_COLOR_ONLY = 1 << 3          ///< alpha is copied; with both flags all is
};

/// Flags of PF_GaussianKernel.
enum : std::int32_t {
  PF_KernelFlag_1D = 1 << 0,         ///< one row instead of a square
  PF_KernelFlag_NORMALIZED = 1 << 1  ///< scale the entries to a sum of about 255 * diameter * rows
};

extern "C" {

/// The bell: 1 - (1 - exp(-2.378 x^2)) * 1.102 for x <= 1, exactly 0 beyond; in double precision, by an exponential of
/// the library's own. 1 at 0, falling steadily to about 0.000195 at 1. Not the textbook Gaussian: it ends.
/// \param x a distance divided by (radius + 1), so at least 0.
/// \return 0..1; what is not a number comes back.
PF_EXPORT double PFp_GaussianValue(double x);

/// Fills a kernel from the bell. With r = ceil(radius) and diameter D = 2 r + 1, row dy = -r..r (one row, dy = 0, with
/// PF_KernelFlag_1D) and column i: w = bell(sqrt((r - i)^2 + dy^2) / (radius + 1)) * 255 * multiplier, stored as
/// trunc(w + 0.5) limited to 0..255. The right half mirrors the left one.
///
/// With PF_KernelFlag_NORMALIZED every entry e becomes trunc(e * (255 * D * rows / sum)), sum being that of all w, so
/// the entries add up to about 255 * D * rows, limited to 32 bits; a sum of 0 leaves them as they are.
/// \param ignored the caller's.
/// \param radius 0..32767, in entries.
/// \param flags PF_KernelFlag_*.
/// \param multiplier of every weight, 1 = none.
/// \param diameter_out receives D.
/// \param kernel room for D, or D * D, entries; rows one after the other.
/// \return 0; 516, reported ("bad parameter passed to effect callback"), for a radius that is negative, above 32767 or
///   not a number, and for a null diameter or kernel; nothing is written then.
PF_EXPORT PF_Err PF_GaussianKernel(void* ignored, double radius, std::int32_t flags, double multiplier,
                                   std::int32_t* diameter_out, std::int32_t* kernel);

/// \name Blurs along one direction
/// \param radius 0..32767, in pixels.
/// \param flags PF_BlurFlag_*, others are ignored.
/// \param source_direction 0: the source's lines are rows, else columns.
/// \param destination_direction the same for the destination.
/// \param straight not 0: colour is weighted by alpha.
/// \return 0; 516, reported ("bad parameter passed to effect callback"), for a null world or one without data, for
///   lines that do not match, and for a radius that is negative, above 32767 or not a number; 3, reported, for unequal
///   or unknown depths; 4 when memory is short (told to the host as "memory for blurring" or "gaussian weight array").
///   Nothing is written then. Worlds of no width or no height: 0, nothing to do.
/// @{

/// The bell of PFp_GaussianValue: weight i is the bell at i / (radius + 1), for i up to ceil(radius), which is as far
/// as a sample reaches. Radius 0 copies.
///
/// Results are those of the exact sums of these weights to within one step of integer depths, and 10^-6 of the largest
/// sample in reach in float.
PF_EXPORT PF_Err PF_GaussianBlur1D(const PF_World* source, PF_World* destination, float radius, std::int32_t flags,
                                   std::int32_t source_direction, std::int32_t destination_direction,
                                   std::int32_t straight, const PF_ProgressInfo* progress);

/// The mean of the 2 n + 1 pixels around each, n = trunc(radius + 1/2), which is as far as a sample reaches. n = 0
/// copies.
PF_EXPORT PF_Err PF_BoxBlur1D(const PF_World* source, PF_World* destination, float radius, std::int32_t flags,
                              std::int32_t source_direction, std::int32_t destination_direction, std::int32_t straight,
                              const PF_ProgressInfo* progress);
/// @}

/// \name Entries without a filter behind them
/// Touch no pixel and return 5 at once.
/// @{
PF_EXPORT PF_Err PF_FastBlur_Premul(const PF_World* source, PF_World* destination, float radius, std::int32_t flags,
                                    const PF_ProgressInfo* progress);
PF_EXPORT PF_Err PF_FastBlur_Straight(const PF_World* source, PF_World* destination, float radius, std::int32_t flags,
                                      const PF_ProgressInfo* progress);
/// @}
}

#endif
