// What the parts of the operation table have in common, and the parts.
#pragma once

#include <string>
#include <vector>

#include "selftest/Operations.h"
#include "selftest/Worlds.h"

namespace selftest {

using OperationTable = std::vector<Operation>;

inline std::string At(const char* name, int depth) { return std::string(name) + " " + std::to_string(depth); }
inline std::string At(const char* name, int from, int to) { return At(name, from) + " to " + std::to_string(to); }

inline TestWorld::Kind AnyKind(Random& random) {
  const TestWorld::Kind kinds[] = {TestWorld::kRandom, TestWorld::kOpaque, TestWorld::kEdges, TestWorld::kSparse};
  return kinds[random() % 4];
}

// Sizes that polls are reached with: more than 128 rows, few columns.
struct Picture : TestWorld {
  Picture(Trial& run, int picture_depth, int rows = 140)
      : TestWorld(picture_depth, static_cast<std::int32_t>(Between(run.random, 1, 40)), rows, 16) {
    Fill(run.random, AnyKind(run.random));
  }
};

void AddMaskOperations(OperationTable& table);    // one mask; a mask and a world
void AddMaskCombinations(OperationTable& table);  // several masks, scans, channels
void AddPaintAndBlend(OperationTable& table);
void AddLazyTiles(OperationTable& table);
void AddCompositing(OperationTable& table);
void AddColorSpaces(OperationTable& table);
void AddFilters(OperationTable& table);
void AddFrameBlending(OperationTable& table);

}  // namespace selftest
