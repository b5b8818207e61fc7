// The fields of the algorithm parameters, one after the other.
#pragma once

#include "PF/PF_FrameBlending.h"

namespace pf {

// Calls f(name, field) for each field, in the order in which they are hashed.
template <class F>
void ForFields(const PF_Tavros_AlgoParams& p, const F& f) {
  f("mode", p.mode);
  f("fraction", p.fraction);
  f("boundA", p.boundA);
  f("boundB", p.boundB);
  f("count", p.count);
  f("threshold", p.threshold);
  f("switchFlag", p.switchFlag);
  f("size", p.size);
  f("weightR", p.weightR);
  f("weightG", p.weightG);
  f("weightB", p.weightB);
  f("degrees", p.degrees);
  f("steps", p.steps);
  f("variant", p.variant);
}

}  // namespace pf
