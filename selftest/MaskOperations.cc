#include <functional>
#include <memory>

#include "selftest/OperationTable.h"
#include "selftest/TestMask.h"

namespace selftest {
namespace {

constexpr std::int32_t kRows = 140;

// Runs `work` on a mask full of random values, and adds what it holds afterwards.
PF_Err WithMask(Trial& run, std::int32_t depth, const std::function<PF_Err(PF_UnoBuffer&)>& work) {
  PF_Err code = PF_Err_NONE;
  const PF_Err made = CodeOf([&] {
    const std::int32_t width = run.known() ? Between32(run.random, 1, 90) : AnySize(run, 0);
    const std::int32_t height = AnySize(run, kRows);
    TestMask mask(depth, width, height, run.random);
    code = work(*mask.record());
    run.results.Add(mask);
  });
  return made != PF_Err_NONE ? made : code;
}

using OnMask = std::function<PF_Err(Trial&, PF_UnoBuffer&)>;

void AddOnMask(OperationTable& table, const char* name, bool polls, const OnMask& work) {
  for (const std::int32_t depth : {8, 16, 32}) {
    table.push_back({At(name, depth), depth, polls, [=](Trial& run) {
                       return WithMask(run, depth, [&](PF_UnoBuffer& mask) { return work(run, mask); });
                     }});
  }
}

void AddFill(OperationTable& table, const char* name, std::int32_t depth, const OnMask& work) {
  table.push_back({At(name, depth), depth, false, [=](Trial& run) {
                     return WithMask(run, depth, [&](PF_UnoBuffer& mask) { return work(run, mask); });
                   }});
}

M_LRect RectInside(Random& random, const PF_UnoBuffer& mask) {
  const auto left = static_cast<std::int32_t>(Between(random, 0, mask.width - 1));
  const auto top = static_cast<std::int32_t>(Between(random, 0, mask.height - 1));
  return {left, top, static_cast<std::int32_t>(Between(random, left, mask.width)),
          static_cast<std::int32_t>(Between(random, top, mask.height))};
}

void AddFills(OperationTable& table) {
  AddOnMask(table, "fill mask with a byte", false,
            [](Trial&, PF_UnoBuffer& mask) { return PF_FillUnoBuffer(77, &mask); });
  AddFill(table, "fill rectangle of mask", 8,
          [](Trial& run, PF_UnoBuffer& mask) { return PF_FillUnoBuffer(77, RectInside(run.random, mask), &mask); });
  AddFill(table, "fill mask", 16, [](Trial&, PF_UnoBuffer& mask) { return PF_FillDeepUnoBuffer(7777, &mask); });
  AddFill(table, "fill rectangle of mask", 16, [](Trial& run, PF_UnoBuffer& mask) {
    return PF_FillDeepUnoBuffer(7777, RectInside(run.random, mask), &mask);
  });
  AddFill(table, "fill mask", 32, [](Trial&, PF_UnoBuffer& mask) { return PF_FillFloatUnoBuffer(0.7f, &mask); });
}

void AddCreation(OperationTable& table) {
  for (const std::int32_t depth : {8, 16}) {
    table.push_back({At("new mask", depth), depth, false, [=](Trial& run) {
                       PF_UnoBuffer* mask = nullptr;
                       const PF_Err code =
                           depth == 8 ? PF_NewUnoBuffer(33, 7, &mask) : PF_NewDeepUnoBuffer(33, 7, &mask);
                       if (code != PF_Err_NONE) return code;
                       run.results.AddValue(mask->depth);
                       return PF_DisposeUnoBuffer(mask);
                     }});
  }
}

// A mask of another size than the world, anywhere over it; a clip and an area at times.
PF_Err Merge(Trial& run, Picture& picture, const PF_UnoBuffer& mask) {
  const auto near = [&](std::int32_t low, std::int32_t high) {
    return static_cast<std::int32_t>(Between(run.random, low, high));
  };
  const M_LRect clip = {near(-5, 10), near(-5, 10), near(10, 80), near(20, 150)};
  const M_LRect area = {near(-5, 5), near(-5, 3), near(5, 50), near(134, 150)};
  const bool has_clip = run.random() % 2 == 0, has_area = run.random() % 2 == 0;
  const std::int32_t h = near(-30, 30), v = near(-9, 9);
  PF_Err code = PF_Err_NONE;
  const PF_Err made = CodeOf([&] {
    const std::unique_ptr<PF_World> world(PF_World::NewReference(picture.record()));
    if (world == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
    code = PF_MergeMaskAlpha(run.progress, h, v, has_clip ? &clip : nullptr, &mask, has_area ? &area : nullptr,
                             world.get());
  });
  return made != PF_Err_NONE ? made : code;
}

void AddMerges(OperationTable& table) {
  for (const std::int32_t mask_depth : {8, 16}) {
    for (const std::int32_t depth : {8, 16, 32}) {
      table.push_back({At("merge mask", mask_depth, depth), depth, true, [=](Trial& run) {
                         Picture picture(run, depth);
                         const PF_Err code =
                             WithMask(run, mask_depth, [&](PF_UnoBuffer& mask) { return Merge(run, picture, mask); });
                         run.results.Add(picture);
                         return code;
                       }});
    }
  }
}

}  // namespace

void AddMaskOperations(OperationTable& table) {
  AddCreation(table);
  AddFills(table);
  AddOnMask(table, "invert mask", true,
            [](Trial& run, PF_UnoBuffer& mask) { return PF_InvertUnoBuffer(run.progress, &mask); });
  AddOnMask(table, "invert and fade mask", true, [](Trial& run, PF_UnoBuffer& mask) {
    return PF_InvertAndFadeUnoBuffer(run.progress, static_cast<std::int32_t>(run.random() % 100000), &mask);
  });
  AddOnMask(table, "fade mask", false, [](Trial& run, PF_UnoBuffer& mask) {
    return PF_FadeUnoBuffer(run.progress, static_cast<float>(run.random() % 3000) * 0.001f, &mask);
  });
  AddMerges(table);
}

}  // namespace selftest
