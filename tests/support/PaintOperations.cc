#include "support/OperationTable.h"

namespace pftest {

void AddPaintAndBlend(OperationTable&) {}

}  // namespace pftest
