#include "support/OperationTable.h"

namespace pftest {

void AddLazyTiles(OperationTable&) {}

}  // namespace pftest
