#include "selftest/Operations.h"

#include "selftest/OperationTable.h"

namespace selftest {
namespace {

OperationTable Build() {
  OperationTable table;
  AddWorlds(table);
  AddMembers(table);
  AddIterations(table);
  AddSamplers(table);
  AddCopies(table);
  AddMaskOperations(table);
  AddMaskCombinations(table);
  AddPaintAndBlend(table);
  AddLazyTiles(table);
  AddCompositing(table);
  AddTransferTables(table);
  AddColorSpaces(table);
  AddSettings(table);
  AddFilters(table);
  AddFrameBlending(table);
  AddRefusals(table);
  return table;
}

}  // namespace

void AddObject(Hash& hash, const PF_World& world) {
  for (std::int32_t y = 0; y < world.height; ++y) {
    const void* row = static_cast<const std::byte*>(world.data) + std::int64_t{y} * world.row_bytes;
    const auto width = static_cast<std::size_t>(world.width);
    if (world.Depth() == 32) {
      hash.AddFloats(static_cast<const float*>(row), 4 * width);
    } else {
      hash.AddBytes(row, width * world.PixelSize());
    }
  }
}

const std::vector<Operation>& Operations() {
  static const OperationTable table = Build();
  return table;
}

PF_Err CodeOf(const std::function<void()>& body) {
  try {
    body();
    return PF_Err_NONE;
  } catch (const PF_Error& error) {
    return error.code();
  }
}

}  // namespace selftest
