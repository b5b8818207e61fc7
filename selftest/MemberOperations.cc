#include <memory>

#include "selftest/OperationTable.h"

namespace selftest {
namespace {

using WorldPtr = std::unique_ptr<PF_World>;

WorldPtr Reference(TestWorld& world) { return WorldPtr(Need(PF_World::NewReference(world.record()))); }

// A member operation on a reference to a picture.
void AddMember(OperationTable& table, const char* name, const std::function<void(PF_World&, Trial&)>& member) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At(name, depth), depth, false, [=](Trial& run) {
                       Picture picture(run, depth);
                       const PF_Err code = CodeOf([&] { member(*Reference(picture), run); });
                       run.results.Add(picture);
                       return code;
                     }});
  }
}

template <class P>
P AnyColour(Trial& run) {
  Picture one(run, static_cast<std::int32_t>(2 * sizeof(P)), 1, 1);
  return one.At<P>(0, 0);
}

PF_PixelFloat AnyFloat(Trial& run) {
  return run.known() ? PF_PixelFloat{0.5f, -1.0f, 0.3f, 2.0f} : AnyColour<PF_PixelFloat>(run);
}
PF_Pixel16 Any16(Trial& run) { return run.known() ? PF_Pixel16{32768, 30000, 5, 16384} : AnyColour<PF_Pixel16>(run); }

void AddPlainMembers(OperationTable& table) {
  AddMember(table, "Clear", [](PF_World& w, Trial& run) {
    const M_LRect rect = AnyRect(run.random, w.width, w.height);
    w.Clear(&rect);
  });
  AddMember(table, "ClearExceptRect",
            [](PF_World& w, Trial& run) { w.ClearExceptRect(AnyRect(run.random, w.width, w.height)); });
  AddMember(table, "Fill float", [](PF_World& w, Trial& run) {
    const M_LRect rect = AnyRect(run.random, w.width, w.height);
    w.Fill(AnyFloat(run), &rect);
  });
  AddMember(table, "Fill 16", [](PF_World& w, Trial& run) { w.Fill(Any16(run), nullptr); });
  AddMember(table, "FillAlpha", [](PF_World& w, Trial&) { w.FillAlpha(); });
  AddMember(table, "InvertAlpha", [](PF_World& w, Trial&) { w.InvertAlpha(); });
  AddMember(table, "Premultiply", [](PF_World& w, Trial&) { w.Premultiply(); });
  AddMember(table, "Unmultiply", [](PF_World& w, Trial&) { w.Unmultiply(); });
  AddMember(table, "PremulColor", [](PF_World& w, Trial& run) { w.PremulColor(Any16(run)); });
  AddMember(table, "UnmulColor", [](PF_World& w, Trial& run) { w.UnmulColor(Any16(run)); });
  AddMember(table, "CopyRect within", [](PF_World& w, Trial& run) {
    const M_LRect rect = AnyRect(run.random, w.width, w.height);
    w.CopyRect(&w, rect, 1, Between32(run.random, 0, 2));
  });
  table.push_back({"PF_PremulColor16 16", 16, false, [](Trial& run) {
                     Picture picture(run, 16);
                     const PF_Pixel16 matte = Any16(run);
                     PF_Err code = 0;
                     const PF_Err made = CodeOf([&] { code = PF_PremulColor16(Reference(picture).get(), &matte); });
                     run.results.Add(picture);
                     return made != 0 ? made : code;
                   }});
}

// A copy that gets a source, a destination and a rectangle of the source.
using CopyMember = std::function<void(PF_World& src, const M_LRect& rect, PF_World& dst, Trial& run)>;

void AddCopyMember(OperationTable& table, const char* name, int from, int to, bool polls, const CopyMember& copy) {
  table.push_back({At(name, from, to), to, polls, [=](Trial& run) {
                     Picture in(run, from), out(run, to);
                     PF_ResetDitherRandomIndex();
                     const PF_Err code = CodeOf([&] {
                       const WorldPtr src = Reference(in), dst = Reference(out);
                       const M_LRect all = {0, 0, in.width(), in.height()};
                       const M_LRect rect = run.known() ? all : SomeRect(run.random, in.width(), in.height());
                       copy(*src, rect, *dst, run);
                     });
                     run.results.Add(out);
                     return code;
                   }});
}

void AddCopyMembers(OperationTable& table) {
  const auto place = [](Trial& run) { return run.known() ? -1 : Between32(run.random, -20, 20); };
  for (const int from : {8, 16, 32}) {
    AddCopyMember(table, "CopyRect", from, from, false,
                  [=](PF_World& src, const M_LRect& rect, PF_World& dst, Trial& run) {
                    const std::int32_t x = place(run), y = place(run);
                    dst.CopyRect(&src, rect, x, y);
                  });
    for (const int to : {8, 16, 32}) {
      for (const PF_Dither dither : {PF_Dither_OFF, PF_Dither_ON}) {
        if (dither == PF_Dither_ON && (from != 16 || to != 8)) continue;
        AddCopyMember(table, dither == PF_Dither_ON ? "convert dithered" : "convert", from, to, true,
                      [=](PF_World& src, const M_LRect& rect, PF_World& dst, Trial& run) {
                        const std::int32_t x = place(run), y = run.known() ? 0 : place(run);
                        dst.CopyRectPossiblyDifferentBitdepth(&src, rect, dither, x, y, run.progress);
                      });
      }
      AddCopyMember(table, "convert field", from, to, false,
                    [](PF_World& src, const M_LRect& rect, PF_World& dst, Trial& run) {
                      const auto field = static_cast<PF_Field>(Between32(run.random, 0, 2));
                      dst.CopyRectPossiblyDifferentBitdepthWithField(&src, rect, field);
                    });
      table.push_back({At("PF_DepthConvertWorld", from, to), to, false, [=](Trial& run) {
                         Picture in(run, from), out(run, to);
                         PF_Err code = 0;
                         const PF_Err made = CodeOf([&] {
                           const WorldPtr src = Reference(in), dst = Reference(out);
                           code = PF_DepthConvertWorld(nullptr, src.get(), dst.get());
                         });
                         run.results.Add(out);
                         return made != 0 ? made : code;
                       }});
    }
  }
}

}  // namespace

void AddMembers(OperationTable& table) {
  AddPlainMembers(table);
  AddCopyMembers(table);
}

}  // namespace selftest
