/// \file
/// Filters: the bell that every Gaussian weight of the library comes from, and kernels filled from it.
///
/// Nothing here keeps state; every function may be called from any thread.
#ifndef PF_FILTERS_H
#define PF_FILTERS_H

#include <cstdint>

#include "PF/PF_Errors.h"
#include "PF/PF_Export.h"
#include "PF/PF_Types.h"

/// Flags of PF_GaussianKernel.
enum : std::int32_t {
  PF_KernelFlag_1D = 1 << 0,         ///< one row instead of a square
  PF_KernelFlag_NORMALIZED = 1 << 1  ///< scale the entries to a sum of about 255 * diameter * rows
};

extern "C" {

/// The bell: 1 - (1 - exp(-2.378 x^2)) * 1.102 for x <= 1, exactly 0 beyond; in double precision. 1 at 0, falling
/// steadily to about 0.000195 at 1. Not the textbook Gaussian: it ends.
/// \param x a distance divided by (radius + 1). \return 0..1; what is not a number comes back.
PF_EXPORT double PFp_GaussianValue(double x);

/// Fills a kernel from the bell. With r = ceil(radius) and diameter D = 2 r + 1, row dy = -r..r (one row, dy = 0, with
/// PF_KernelFlag_1D) and column i: w = bell(sqrt((r - i)^2 + dy^2) / (radius + 1)) * 255 * multiplier, stored as
/// trunc(w + 0.5) limited to 0..255. The right half mirrors the left one.
///
/// With PF_KernelFlag_NORMALIZED every entry e becomes trunc(e * (255 * D * rows / sum)), sum being that of all w, so
/// the entries add up to about 255 * D * rows, limited to 32 bits; a sum of 0 leaves them as they are. \param ignored
/// the caller's. \param radius 0..32767. \param multiplier of every weight, 1 = none. \param diameter_out receives D.
/// \param kernel room for D, or D * D, entries; rows one after the other. \return 0; 516, reported ("bad parameter
/// passed to effect callback"), for a negative radius, one above 32767 or not
///   a number, and for a null diameter or kernel; nothing is written then.
PF_EXPORT PF_Err PF_GaussianKernel(void* ignored, double radius, std::int32_t flags, double multiplier,
                                   std::int32_t* diameter_out, std::int32_t* kernel);

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
