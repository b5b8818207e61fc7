#include <memory>

#include "selftest/OperationTable.h"

namespace selftest {
namespace {

void AddSpots(OperationTable& table) {
  table.push_back({At("paint spots", 8), 8, false, [](Trial& run) {
                     Picture picture(run, 8);
                     PF_Err code = PF_Err_NONE;
                     for (int i = 0; i < 8 && code == PF_Err_NONE; ++i) {
                       const auto size = static_cast<std::int32_t>(2 * Between(run.random, 0, 20) + 1);
                       std::vector<std::uint32_t> mask(static_cast<std::size_t>(size) * static_cast<std::size_t>(size));
                       for (auto& m : mask) m = static_cast<std::uint32_t>(run.random() % (i == 7 ? 100000 : 256));
                       const auto place = [&](std::int32_t end) {
                         return static_cast<std::int32_t>(Between(run.random, -9, end + 9));
                       };
                       const std::int32_t x = place(picture.width()), y = place(picture.height());
                       const auto shape = static_cast<std::uint32_t>(run.random() % 64);
                       const auto colour = static_cast<std::uint32_t>(run.random());
                       code = PF_PaintSpot(nullptr, x, y, shape, size, mask.data(), colour, picture.record());
                     }
                     run.results.Add(picture);
                     return code;
                   }});
}

void AddLines(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At("lines", depth), depth, false, [=](Trial& run) {
                       Picture picture(run, depth);
                       const PF_Err code = CodeOf([&] {
                         const std::unique_ptr<PF_World> world(PF_World::NewReference(picture.record()));
                         if (world == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
                         for (int i = 0; i < 8; ++i) {
                           const auto place = [&] { return static_cast<double>(Between(run.random, -999, 9999)) / 64; };
                           const M_Vector2T<double> start = {place(), place()}, end = {place(), place()};
                           const auto channel = [&] { return static_cast<float>(run.random() % 999) / 998.0f; };
                           const PF_PixelFloat colour = {channel(), channel(), channel(), channel()};
                           PF_DrawLine(&start, &end, &colour, world.get());
                         }
                       });
                       run.results.Add(picture);
                       return code;
                     }});
  }
}

void AddBlend(OperationTable& table, const char* name, decltype(&PF_Blend) blend) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At(name, depth), depth, false, [=](Trial& run) {
                       Picture first(run, depth);
                       Picture second = Picture::Like(run, first), out = Picture::Like(run, first);
                       const auto ratio = static_cast<std::int32_t>(Between(run.random, 1, 65535));
                       PF_Err code = blend(nullptr, first.record(), second.record(), ratio, out.record());
                       run.results.Add(out);
                       if (code == PF_Err_NONE)
                         code = blend(nullptr, out.record(), first.record(), 40000, out.record());
                       run.results.Add(out);
                       for (const std::int32_t end : {-5, 70000}) {
                         if (code == PF_Err_NONE)
                           code = blend(nullptr, second.record(), first.record(), end, out.record());
                         run.results.Add(out);
                       }
                       return code;
                     }});
  }
}

void AddPixels(OperationTable& table) {
  table.push_back({"single pixels", 0, false, [](Trial& run) {
                     Picture eight(run, 8), sixteen(run, 16), floats(run, 32);
                     const PF_Pixel8 p8 = {1, 2, 3, 4};
                     const PF_Pixel16 p16 = {1, 2, 3, 32768};
                     const PF_PixelFloat pf = {0.5f, -1, 2, 3};
                     for (int i = 0; i < 20; ++i) {
                       const auto x = static_cast<std::int32_t>(Between(run.random, -3, 45));
                       const auto y = static_cast<std::int32_t>(Between(run.random, -3, 145));
                       run.results.AddValue(PF_SetPixel8(x, y, &p8, eight.record()));
                       run.results.AddValue(PF_SetPixel16(x, y, &p16, sixteen.record()));
                       run.results.AddValue(PF_SetPixelFloat(x, y, &pf, floats.record()));
                     }
                     run.results.Add(eight);
                     run.results.Add(sixteen);
                     run.results.Add(floats);
                     return PF_Err{PF_Err_NONE};
                   }});
}

}  // namespace

void AddPaintAndBlend(OperationTable& table) {
  AddSpots(table);
  AddLines(table);
  AddPixels(table);
  AddBlend(table, "blend", &PF_Blend);
  AddBlend(table, "premultiplied blend", &PF_Blend_Premul);
  AddBlend(table, "straight blend", &PF_Blend_Straight);
}

}  // namespace selftest
