// The modes for single values.
#pragma once

#include <cstdint>

#include "simd/PlainLanes.h"
#include "transfer/TransferKernels.h"

namespace pf::plain {

#include "transfer/Families-body.h"
//
#include "transfer/Colours-body.h"
//
#include "transfer/Modes-body.h"

}  // namespace pf::plain
