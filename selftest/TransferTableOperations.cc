#include "selftest/Depth.h"
#include "selftest/LightTables.h"
#include "selftest/OperationTable.h"

namespace selftest {
namespace {

template <class P>
struct Tables;
template <>
struct Tables<PF_Pixel8> {
  static auto Plain(std::int32_t mode) { return PF_Get_Xfer1_table8(mode); }
  static auto One(std::int32_t mode) { return PF_Get_Xfer1_Opacity_table8(mode); }
  static auto Two(std::int32_t mode) { return PF_Get_Xfer1_Opacity2_table8(mode); }
  static constexpr auto kPlain = &PFp_G_Xfer1_table8;
  static constexpr auto kOne = &PFp_G_Xfer1_Opacity_table8;
  static constexpr auto kTwo = &PFp_G_Xfer1_Opacity2_table8;
};
template <>
struct Tables<PF_Pixel16> {
  static auto Plain(std::int32_t mode) { return PF_Get_Xfer1_table16(mode); }
  static auto One(std::int32_t mode) { return PF_Get_Xfer1_Opacity_table16(mode); }
  static auto Two(std::int32_t mode) { return PF_Get_Xfer1_Opacity2_table16(mode); }
  static constexpr auto kPlain = &PFp_G_Xfer1_table16;
  static constexpr auto kOne = &PFp_G_Xfer1_Opacity_table16;
  static constexpr auto kTwo = &PFp_G_Xfer1_Opacity2_table16;
};
template <>
struct Tables<PF_PixelFloat> {
  static auto Plain(std::int32_t mode) { return PF_Get_Xfer1_tableF(mode); }
  static auto One(std::int32_t mode) { return PF_Get_Xfer1_Opacity_tableF(mode); }
  static auto Two(std::int32_t mode) { return PF_Get_Xfer1_Opacity2_tableF(mode); }
  static constexpr auto kPlain = &PFp_G_Xfer1_tableF;
  static constexpr auto kOne = &PFp_G_Xfer1_Opacity_tableF;
  static constexpr auto kTwo = &PFp_G_Xfer1_Opacity2_tableF;
};

// Every mode of the three tables of a depth, pixel by pixel.
template <class P>
void AddTables(OperationTable& table) {
  constexpr std::int32_t kDepth = DepthTraits<P>::kDepth;
  for (const bool linear : {false, true}) {
    const std::string name = At(linear ? "transfer functions, linear light" : "transfer functions", kDepth);
    table.push_back({name, kDepth, false, [=](Trial& run) {
                       static const PF_LinearBlendingTables light = LightTables();
                       const PF_LinearBlendingTables* lin = linear ? &light : nullptr;
                       const auto opacity = [&] {
                         const auto full = static_cast<double>(DepthTraits<P>::kFull);
                         return static_cast<ChannelOf<P>>(full * static_cast<double>(run.random() % 9) / 8);
                       };
                       for (std::int32_t mode = 0; mode < PF_Xfer_COUNT; ++mode) {
                         const auto index = static_cast<std::size_t>(mode);
                         run.results.AddValue((*Tables<P>::kPlain)[index] == Tables<P>::Plain(mode));
                         run.results.AddValue((*Tables<P>::kOne)[index] == Tables<P>::One(mode));
                         run.results.AddValue((*Tables<P>::kTwo)[index] == Tables<P>::Two(mode));
                         Picture src(run, kDepth, 24, 3), dst(run, kDepth, 24, 3);
                         for (std::int32_t x = 0; x < 24; ++x) {
                           const auto first = opacity(), second = opacity();
                           Tables<P>::Plain(mode)(&src.At<P>(x, 0), lin, &dst.At<P>(x, 0));
                           Tables<P>::One(mode)(&src.At<P>(x, 1), lin, first, &dst.At<P>(x, 1));
                           Tables<P>::Two(mode)(&src.At<P>(x, 2), lin, first, second, &dst.At<P>(x, 2));
                         }
                         run.results.Add(dst);
                       }
                       return PF_Err{PF_Err_NONE};
                     }});
  }
}

void AddLists(OperationTable& table) {
  table.push_back({"names and flags of modes", 0, false, [](Trial& run) {
                     for (std::int32_t mode = -6; mode < PF_Xfer1_TABLE_SIZE + 3; ++mode) {
                       run.results.AddValue(PF_GetTransferFlags(mode));
                       const char* name = PF_GetTransferModeName(mode);
                       run.results.AddText(name != nullptr ? name : "none");
                     }
                     for (std::int32_t mode = PF_Xfer_COUNT; mode < PF_Xfer1_TABLE_SIZE; ++mode) {
                       run.results.AddValue(PF_Get_Xfer1_table8(mode) == nullptr);
                       run.results.AddValue(PF_Get_Xfer1_Opacity_table16(mode) == nullptr);
                       run.results.AddValue(PF_Get_Xfer1_Opacity2_tableF(mode) == nullptr);
                     }
                     run.results.AddValue(PFp_G_OverFuncs.over8 == PF_Get_Xfer1_table8(PF_Xfer_Over));
                     run.results.AddValue(PFp_G_OverFuncs.over16 == PF_Get_Xfer1_table16(PF_Xfer_Over));
                     run.results.AddValue(PFp_G_OverFuncs.overF == PF_Get_Xfer1_tableF(PF_Xfer_Over));
                     return PF_Err{PF_Err_NONE};
                   }});
}

}  // namespace

void AddTransferTables(OperationTable& table) {
  AddTables<PF_Pixel8>(table);
  AddTables<PF_Pixel16>(table);
  AddTables<PF_PixelFloat>(table);
  AddLists(table);
}

}  // namespace selftest
