#include "selftest/Depth.h"
#include "selftest/OperationTable.h"
#include "selftest/TestMask.h"

namespace selftest {
namespace {

// Runs `body`, in which masks are made, and adds up `result` when all went well.
PF_Err WithMasks(Trial& run, const std::function<PF_Err(Trial&)>& body) {
  PF_Err code = PF_Err_NONE;
  const PF_Err thrown = CodeOf([&] { code = body(run); });
  return thrown != PF_Err_NONE ? thrown : code;
}

std::int32_t AnyWidth(Trial& run) { return run.known() ? Between32(run.random, 30, 75) : AnySize(run, 0); }

TestMask AnyMask(Trial& run, std::int32_t depth, std::int32_t rows) {
  const std::int32_t width = AnyWidth(run), height = AnySize(run, rows);
  return {depth, width, height, run.random};
}

float AnyWeight(Trial& run, float known) {
  return run.known() ? known : static_cast<float>(Between32(run.random, -1, 20)) / 16;
}
M_LRect Part(Trial& run, const TestMask& mask, const M_LRect& known) {
  return run.known() ? known : SomeRect(run.random, mask.width(), mask.height());
}
M_LPoint Place(Trial& run, const M_LPoint& known) {
  return run.known() ? known : M_LPoint{Between32(run.random, -9, 30), Between32(run.random, -9, 30)};
}

void Add(OperationTable& table, const std::string& name, std::int32_t depth,
         const std::function<PF_Err(Trial&)>& body) {
  table.push_back({name, depth, true, [=](Trial& run) { return WithMasks(run, body); }});
}

void AddAccumulations(OperationTable& table) {
  for (const int from : {8, 16, 32}) {
    for (const int to : {8, 16, 32}) {
      Add(table, At("accumulate masks", from, to), to, [=](Trial& run) {
        TestMask src = AnyMask(run, from, 150);
        TestMask dst = AnyMask(run, to, 140);
        const M_LRect rect = Part(run, src, {3, -5, 70, 160});
        const M_LPoint at = Place(run, {-2, 1});
        const float weights[] = {AnyWeight(run, 0.9f), AnyWeight(run, 0.8f)};
        PF_Err code = PF_Err_NONE;
        for (std::int32_t mode = 0; mode < PF_MaskMode_COUNT && code == PF_Err_NONE; ++mode) {
          code = PF_AccumulateUnoBuffers(run.progress, src.record(), mode, weights[0], weights[1], &rect, &at,
                                         dst.record());
        }
        run.results.Add(dst);
        return code;
      });
      Add(table, At("transfer masks", from, to), to, [=](Trial& run) {
        const std::int32_t width = AnyWidth(run), height = AnySize(run, 140);
        TestMask first(from, width, height, run.random), dst(to, width, height, run.random);
        const M_LRect rect = Part(run, first, {0, 0, width, height});
        const M_LPoint at = Place(run, {1, 0});
        const std::int32_t mode = run.known() ? PF_MaskMode_ADD : Between32(run.random, 0, PF_MaskMode_COUNT - 1);
        const PF_Err code =
            PF_TransferUnoBuffers(run.progress, first.record(), dst.record(), mode, &rect, &at, dst.record());
        run.results.Add(dst);
        return code;
      });
    }
  }
}

// The forms of accumulation with fewer weights, and channels in and out of pixels.
void AddShortForms(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    Add(table, At("accumulate masks, no weight and one", depth), depth, [=](Trial& run) {
      TestMask src = AnyMask(run, depth, 140);
      TestMask dst = AnyMask(run, depth, 140);
      const M_LRect rect = {0, 0, 75, 140};
      const M_LPoint at = {0, 0};
      PF_Err code = PF_AccumulateUnoBuffers(run.progress, src.record(), PF_MaskMode_DARKEN, &rect, &at, dst.record());
      if (code == PF_Err_NONE) {
        code = PF_AccumulateUnoBuffers(run.progress, src.record(), PF_MaskMode_ADD, 0.4f, &rect, &at, dst.record());
      }
      run.results.Add(dst);
      return code;
    });
    table.push_back({At("channels", depth), depth, false, [=](Trial& run) {
                       return WithMasks(run, [=](Trial& inner) {
                         Picture picture(inner, depth);
                         TestMask mask(depth, picture.width(), picture.height(), inner.random);
                         WithDepth(depth, [&]<class P>(P) {
                           using T = ChannelOf<P>;
                           const M_Vector2T<std::int32_t> all = {mask.width(), mask.height()};
                           const std::int32_t from = mask.width() * depth / 8, to = picture.record()->row_bytes;
                           auto* const pixels = reinterpret_cast<T*>(picture.Row(0));
                           auto* const values = static_cast<T*>(mask.values());
                           PF_Interleave1to4<T>(values, from, to, all, {0, 0}, {0, 0}, pixels + 2);
                           PF_Deinterleave1<T>(pixels, to, from, 3, all, {0, 0}, {0, 0}, values);
                           PF_BlendSingleChannel<P, T>(mask.width(), T(0), DepthTraits<P>::kFull, values,
                                                       reinterpret_cast<P*>(pixels));
                         });
                         inner.results.Add(picture);
                         return PF_Err{PF_Err_NONE};
                       });
                     }});
  }
}

void AddDeepConversions(OperationTable& table) {
  for (const int to : {8, 16}) {
    for (const std::int32_t dither : {0, 1}) {
      Add(table, At(dither != 0 ? "convert deep mask dithered" : "convert deep mask", to), to, [=](Trial& run) {
        const std::int32_t width = AnyWidth(run), height = AnySize(run, 140);
        TestMask src(16, width, height, run.random), dst(to, width, height, run.random);
        const M_LRect rect = Part(run, src, {1, 0, width, height});
        PF_ResetDitherRandomIndex();
        const PF_Err code = PF_ConvertDeepUnoBuffer(run.progress, src.record(), &rect, dither, dst.record());
        run.results.Add(dst);
        return code;
      });
    }
  }
}

using ScanFunc = PF_Err (*)(const PF_UnoBuffer*, PF_UnoBuffer*, float, std::int32_t, const PF_ProgressInfo*);

// Wide enough for several strips of columns.
void AddScan(OperationTable& table, const char* name, int depth, ScanFunc scan) {
  for (const bool in_place : {false, true}) {
    for (const std::int32_t direction : {0, 1}) {
      const std::string full = At(name, depth) + (direction == 0 ? " along rows" : " along columns");
      Add(table, full + (in_place ? " in place" : ""), depth, [=](Trial& run) {
        const std::int32_t width = AnyWidth(run) + (run.known() ? 600 : 0), height = AnySize(run, 40);
        TestMask src(depth, width, height, run.random), dst(depth, width, height, run.random);
        TestMask& out = in_place ? src : dst;
        const float radius =
            run.known() ? 1.3f + static_cast<float>(run.random() % 16)
                        : static_cast<float>(Between32(run.random, 0, run.random() % 8 == 0 ? 9000 : 600)) / 16;
        const PF_Err code = scan(src.record(), out.record(), radius, direction, run.progress);
        run.results.Add(out);
        return code;
      });
    }
  }
}

}  // namespace

void AddMaskCombinations(OperationTable& table) {
  AddAccumulations(table);
  AddShortForms(table);
  AddDeepConversions(table);
  AddScan(table, "bell scan", 8, &PF_GBlurUnoScan);
  AddScan(table, "bell scan", 16, &PF_GBlurDeepUnoScan);
  AddScan(table, "box scan", 8, &PF_BoxBlurUnoScan);
  AddScan(table, "box scan", 16, &PF_BoxBlurDeepUnoScan);
}

}  // namespace selftest
