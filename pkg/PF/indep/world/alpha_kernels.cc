#include "world/AlphaKernels.h"

namespace pf {

const AlphaKernels& VectorAlphaKernels() { return kPortableAlphaKernels; }

}  // namespace pf
