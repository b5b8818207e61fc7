// The row kernels of the widest target that is allowed.
#include "sample/SampleKernels.h"

namespace pf {

const SampleKernels& VectorSampleKernels() { return kPortableSampleKernels; }

}  // namespace pf
