#include "support/OperationTable.h"

namespace pftest {

void AddMaskCombinations(OperationTable&) {}

}  // namespace pftest
