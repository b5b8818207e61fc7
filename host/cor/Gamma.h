// How a curve is told in one number.
#pragma once

#include "cor/Lcms.h"

namespace pfhost {

// Exponent of a pure power, exactly; else the mean of log(y) / log(x) over x = 1/16 to 15/16 in steps of 1/256
// where 0 < y < 1. 0 when there is no such place.
double GammaOfCurve(const cmsToneCurve& curve);

// The same mean of luminance along the neutral axis, black taken as 0 and white as 1. Called under LcmsLock().
double GammaOfNeutrals(cmsHPROFILE profile);

}  // namespace pfhost
