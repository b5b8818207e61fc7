// Blurs of values in double precision where they lie: bells of short reach, and boxes of floats. Results are those of
// the filters of lanes, bit for bit.
#pragma once

#include "filter/PlaneBlur.h"

namespace pf {

// Largest span whose boxes stay in the nearer caches.
inline constexpr std::int64_t kWideSpan = 500;

// The bell of a radius above 0 and up to kDirectReach, for pixels of four values of 16 bits or floats; whole weights as
// `bits` wants it. One iteration for each line. Throws 4 when memory is short.
template <class T>
PF_Err BlurByWideBell(const BlurredPlane& plane, double radius, int bits);

// The means of the 2 span + 1 pixels around each, for pixels of four floats. As above.
PF_Err BlurByWideBox(const BlurredPlane& plane, std::int64_t span);

}  // namespace pf
