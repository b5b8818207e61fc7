#include "selftest/LightTables.h"
#include "selftest/OperationTable.h"
#include "selftest/TestMask.h"

namespace selftest {
namespace {

std::int32_t AnyMode(Random& random) {
  const auto mode = static_cast<std::int32_t>(Between(random, -3, PF_Xfer_COUNT - 1));
  return mode == -1 ? PF_Xfer_Over : mode;
}

float AnyOpacity(Random& random) {
  const float opacities[] = {0.0f, 0.3f, 1.0f, 1.0f, 0.7f};
  return opacities[random() % 5];
}

// Every mode once in 43 runs; in linear light every other time.
PF_TransferParams AnyParams(Trial& run, std::int32_t mode, const PF_LinearBlendingTables* tables) {
  PF_TransferParams params = {};
  params.mode = mode;
  params.premultiplied = static_cast<std::int32_t>(run.random() % 2);
  params.opacity = AnyOpacity(run.random);
  params.linear = run.random() % 2 == 0 ? tables : nullptr;
  params.mask_at = {Between32(run.random, -9, 9), -2};
  return params;
}

PF_Err RunRect(Trial& run, int depth, std::int32_t mode, PF_UnoBuffer* mask) {
  static const PF_LinearBlendingTables tables = LightTables();
  Picture in(run, depth, 150), out(run, depth, 150);
  PF_TransferParams params = AnyParams(run, mode, &tables);
  params.mask = mask;
  const M_LPoint at = {static_cast<std::int32_t>(Between(run.random, -5, 5)), 1};
  M_LRect rect;
  const M_LRect* src_rect = MaybeRect(run, in.width(), in.height(), &rect);
  const PF_Err code = PF_TransferRect(run.progress, &params, in.record(), src_rect, out.record(), &at);
  run.results.Add(out);
  return code;
}

PF_Err RunMasked(Trial& run, int depth, std::int32_t mode) {
  PF_Err code = 0;
  const PF_Err made = CodeOf([&] {
    const std::int32_t mask_depth = 8 << run.random() % 3, width = AnySize(run, 45), height = AnySize(run, 160);
    TestMask mask(mask_depth, width, height, run.random);
    code = RunRect(run, depth, mode, mask.record());
  });
  return made != 0 ? made : code;
}

// The whole world, then a rectangle.
void AddAlphaConvention(OperationTable& table, const char* name,
                        PF_Err (*routine)(const PF_ProgressInfo*, PF_LayerDef*, const M_LRect*)) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At(name, depth), depth, true, [=](Trial& run) {
                       Picture world(run, depth, 140);
                       const M_LRect rect = {2, 3, Between32(run.random, 0, run.known() ? 45 : 200), 139};
                       PF_Err code = routine(run.progress, world.record(), nullptr);
                       if (code == PF_Err_NONE) code = routine(run.progress, world.record(), &rect);
                       run.results.Add(world);
                       return code;
                     }});
  }
}

constexpr PF_PixelFloat kMatte = {1.0f, 0.9f, 0.0f, 0.4f};

}  // namespace

void AddCompositing(OperationTable& table) {
  AddAlphaConvention(table, "premultiply", &PF_Premultiply);
  AddAlphaConvention(table, "unmultiply", &PF_Unmultiply);
  AddAlphaConvention(table, "premultiply colour",
                     [](const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect) {
                       return PF_PremultiplyColor(progress, world, rect, &kMatte);
                     });
  AddAlphaConvention(table, "unmultiply colour",
                     [](const PF_ProgressInfo* progress, PF_LayerDef* world, const M_LRect* rect) {
                       return PF_UnmultiplyColor(progress, world, rect, &kMatte);
                     });
  for (const int depth : {8, 16, 32}) {
    table.push_back({At("transfer rect", depth), depth, true,
                     [=](Trial& run) { return RunMasked(run, depth, AnyMode(run.random)); }});
    table.push_back({At("transfer rect, every mode", depth), depth, false,
                     [=](Trial& run) {
                       for (std::int32_t mode = -3; mode < PF_Xfer_COUNT; ++mode) {
                         if (mode == -1) continue;
                         if (const PF_Err code = RunRect(run, depth, mode, nullptr)) return code;
                       }
                       return PF_Err{0};
                     },
                     false, 6});
    table.push_back({At("transfer rect onto itself", depth), depth, true, [=](Trial& run) {
                       Picture world(run, depth, 170);
                       const PF_TransferParams params = {
                           run.known() ? PF_Xfer_HardLight : AnyMode(run.random), 0, 1.0f, nullptr, nullptr, {0, 0}};
                       const M_LPoint at = {0, 9};
                       const PF_Err code =
                           PF_TransferRect(run.progress, &params, world.record(), nullptr, world.record(), &at);
                       run.results.Add(world);
                       return code;
                     }});
    table.push_back({At("transfer fill", depth), depth, true, [=](Trial& run) {
                       Picture world(run, depth, 150);
                       PF_TransferParams params = {AnyMode(run.random), 1, 0.5f, nullptr, nullptr, {0, 0}};
                       Picture one(run, 32, 1, 1);
                       const PF_PixelFloat colour =
                           run.known() ? PF_PixelFloat{0.5f, 0.25f, 0.5f, 0.1f} : one.At<PF_PixelFloat>(0, 0);
                       M_LRect part;
                       const M_LRect* rect = MaybeRect(run, world.width(), world.height(), &part);
                       const PF_Err code = PF_TransferFill(run.progress, &params, &colour, rect, world.record());
                       run.results.Add(world);
                       return code;
                     }});
  }
}

}  // namespace selftest
