// What the parts of the operation table have in common, and the parts.
//
// No two numbers are drawn in one expression whose order is the compiler's choice: arguments of one call, operands.
#pragma once

#include <string>
#include <vector>

#include "selftest/Operations.h"
#include "selftest/Worlds.h"

namespace selftest {

using OperationTable = std::vector<Operation>;

inline std::string At(const char* name, int depth) { return std::string(name) + " " + std::to_string(depth); }
inline std::string At(const char* name, int from, int to) { return At(name, from) + " to " + std::to_string(to); }

// One extent of a picture: `known` where sizes are known.
inline std::int32_t AnySize(Trial& run, std::int32_t known) {
  if (run.known()) return known;
  if (run.sizes == Trial::kLarge) return Between32(run.random, 270, 330);
  constexpr std::int32_t kMost[] = {1, 8, 33, 64, 64, 100, 100, 300};
  return Between32(run.random, 1, kMost[run.random() % 8]);
}
// A rectangle that may reach beyond a picture, or be empty or reversed.
inline M_LRect AnyRect(Random& random, std::int32_t width, std::int32_t height) {
  const auto c = [&](std::int32_t size) { return Between32(random, -3, size + 3); };
  return {c(width), c(height), c(width), c(height)};
}
// One that is mostly not empty.
inline M_LRect SomeRect(Random& random, std::int32_t width, std::int32_t height) {
  const std::int32_t left = Between32(random, -3, width - 1), top = Between32(random, -3, height - 1);
  return {left, top, Between32(random, left, width + 5), Between32(random, top, height + 5)};
}
// `rect` filled with one, or null for all; always null where sizes are known.
inline const M_LRect* MaybeRect(Trial& run, std::int32_t width, std::int32_t height, M_LRect* rect) {
  if (run.known() || run.random() % 3 == 0) return nullptr;
  *rect = run.random() % 4 == 0 ? AnyRect(run.random, width, height) : SomeRect(run.random, width, height);
  return rect;
}

inline TestWorld::Kind AnyKind(Trial& run) {
  constexpr TestWorld::Kind kKinds[] = {TestWorld::kRandom, TestWorld::kOpaque, TestWorld::kEdges, TestWorld::kSparse,
                                        TestWorld::kRawBits};
  return kKinds[run.random() % (run.known() ? 4 : 5)];
}
inline std::int32_t AnyGap(Trial& run, std::int32_t depth) {
  return run.known() ? 16 : depth / 2 * Between32(run.random, 0, 3);
}

// A filled picture. Its known size reaches polls: more than 128 rows, few columns.
struct Picture : TestWorld {
  Picture(Trial& run, std::int32_t picture_depth, std::int32_t rows = 140)
      : Picture(run, picture_depth, AnyExtent(run, rows)) {}
  Picture(Trial& run, std::int32_t picture_depth, std::int32_t picture_width, std::int32_t picture_height)
      : Picture(run, picture_depth, {picture_width, picture_height}) {}
  static Picture Like(Trial& run, const TestWorld& other) {
    return {run, other.depth(), other.width(), other.height()};
  }

 private:
  struct Extent {
    std::int32_t width, height;
  };
  // Braces, so that the numbers are drawn in this order by every compiler.
  static Extent AnyExtent(Trial& run, std::int32_t rows) {
    return {run.known() ? Between32(run.random, 1, 40) : AnySize(run, 0), AnySize(run, rows)};
  }
  Picture(Trial& run, std::int32_t picture_depth, Extent e)
      : TestWorld(picture_depth, e.width, e.height, AnyGap(run, picture_depth)) {
    Fill(run.random, AnyKind(run));
  }
};

// Throws out of memory as factories of references do not.
template <class T>
T* Need(T* object) {
  if (object == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
  return object;
}

void AddObject(Hash& hash, const PF_World& world);  // the pixels of a world object

void AddWorlds(OperationTable& table);   // effect worlds, world objects, chunks
void AddMembers(OperationTable& table);  // members of world objects, conversions
void AddIterations(OperationTable& table);
void AddSamplers(OperationTable& table);
void AddCopies(OperationTable& table);            // worlds and host bitmap worlds
void AddMaskOperations(OperationTable& table);    // one mask; a mask and a world
void AddMaskCombinations(OperationTable& table);  // several masks, scans, channels
void AddPaintAndBlend(OperationTable& table);
void AddLazyTiles(OperationTable& table);
void AddCompositing(OperationTable& table);
void AddTransferTables(OperationTable& table);
void AddColorSpaces(OperationTable& table);
void AddSettings(OperationTable& table);  // colour settings without an engine, versions, names
void AddFilters(OperationTable& table);
void AddFrameBlending(OperationTable& table);
void AddRefusals(OperationTable& table);

}  // namespace selftest
