#include "support/OperationTable.h"

namespace pftest {

void AddMaskOperations(OperationTable&) {}

}  // namespace pftest
