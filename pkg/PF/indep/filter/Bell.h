// The bell that every Gaussian weight comes from.
#pragma once

#include <cmath>

namespace pf {

// 1 at 0, falling to about 0.0002 at 1, exactly 0 beyond. x is a distance divided by (radius + 1).
inline double BellValue(double x) { return x > 1 ? 0.0 : 1 - (1 - std::exp(-2.378 * (x * x))) * 1.102; }

}  // namespace pf
