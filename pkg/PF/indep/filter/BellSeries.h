// The bell as a sum of cosines.
#pragma once

#include "filter/LaneKernels.h"
#include "report/HostMemory.h"

namespace pf {

// The weights of a bell, divided by their sum, as a sum of 4 to 8 cosines. The more terms, the closer: the differences
// from the bell's weights add up to 3e-5, 4.4e-6, 2.3e-8, 2.8e-9 and 9e-12 of the weights' sum.
class BellSeries {
 public:
  // Throws 4 when memory is short.
  BellSeries(double radius, int terms);

  std::int64_t reach() const { return reach_; }
  const SeriesTerms& terms() const { return terms_; }

 private:
  std::int64_t reach_;
  HandleBlock block_;
  SeriesTerms terms_;
};

}  // namespace pf
