// Calls that are refused: what they answer and report, and that they change nothing.
#include <cmath>
#include <limits>
#include <memory>

#include "selftest/OperationTable.h"
#include "selftest/TestMask.h"

namespace selftest {
namespace {

using WorldPtr = std::unique_ptr<PF_World>;

// What refused calls have at hand: sound worlds and masks of several sizes and depths, and damaged ones.
struct Bench {
  explicit Bench(Trial& run)
      : deep(run, 16, 5, 4),
        small(run, 8, 4, 4),
        world(run, 8, 5, 4),
        floats(run, 32, 5, 4),
        mask(8, 5, 4, run.random),
        deep_mask(16, 5, 4, run.random),
        small_mask(8, 3, 4, run.random),
        odd_mask(24, 5, 4) {
    no_pixels = *world.record();
    no_pixels.data = nullptr;
    odd_depth = *world.record();
    odd_depth.world_flags = 7u << PF_WorldFlag_FORMAT_SHIFT;
    odd_mask.FillWith(0);
  }
  void AddAll(Hash& hash) const {
    for (const TestWorld* picture : {&deep, &small, &world, &floats}) hash.Add(*picture);
    for (const TestMask* each : {&mask, &deep_mask, &small_mask}) hash.Add(*each);
  }
  Picture deep, small, world, floats;
  TestMask mask, deep_mask, small_mask, odd_mask;
  PF_LayerDef no_pixels, odd_depth;
};

using Refused = std::function<void(Bench& on, Hash& codes)>;

void Add(OperationTable& table, const char* name, const Refused& refused) {
  Operation operation = {std::string("refused: ") + name,
                         0,
                         false,
                         [=](Trial& run) {
                           return CodeOf([&] {
                             Bench bench(run);
                             refused(bench, run.results);
                             bench.AddAll(run.results);
                           });
                         },
                         true,
                         6};
  table.push_back(operation);
}

void RefuseWorlds(Bench& on, Hash& codes) {
  PF_EffectWorld record = {};
  for (const std::int32_t size : {-1, 0, 30001}) {
    codes.AddValue(PF_NewEffectWorld(nullptr, size, 5, 8, 0, 0, &record));
    codes.AddValue(PF_NewEffectWorld(nullptr, 5, size, 16, 0, 1, &record));
    codes.AddValue(CodeOf([&] { PF_World::New(size, 3, 32, 0); }));
  }
  for (const std::int32_t depth : {0, 7, 24, 64}) {
    codes.AddValue(PF_NewEffectWorld(nullptr, 5, 5, depth, 0, 0, &record));
    codes.AddValue(CodeOf([&] { PF_World::New(3, 3, depth, 0); }));
    codes.AddValue(CodeOf([&] { PF_World::NewReference(on.world.Row(0), 5, 4, depth, 20); }));
  }
  codes.AddValue(PF_NewEffectWorld(nullptr, 5, 5, 8, 0, 0, nullptr));
  codes.AddValue(PFp_NewWorldOfPixelFormat(nullptr, 5, 5, 0, 0x12345678, &record));
  codes.AddValue(PF_DisposeEffectWorld(nullptr, nullptr));
  codes.AddValue(PF_DisposeEffectWorld(nullptr, on.world.record()));
  PF_PixelFormat format = 1;
  codes.AddValue(PFp_GetPixelFormat(nullptr, &format));
  codes.AddValue(PFp_GetPixelFormat(&on.odd_depth, &format));
  codes.AddValue(format);
  std::int32_t depth = 1;
  codes.AddValue(PF_GetEffectWorldDepth(nullptr, &depth));
  codes.AddValue(PF_GetEffectWorldDepth(on.world.record(), nullptr));
  codes.AddValue(PFp_WorldDepth(nullptr));
  codes.AddValue(PFp_WorldDepth(&on.odd_depth));
  PF_Pixel8* pixels = nullptr;
  codes.AddValue(PF_GetPixelData8(nullptr, nullptr, &pixels));
  codes.AddValue(PF_GetPixelData8(on.world.record(), nullptr, nullptr));
  codes.AddValue(PF_DepthOfBMWorld(nullptr));
  const PF_Pixel16 matte = {};
  codes.AddValue(PF_PremulColor16(nullptr, &matte));
}

void RefuseChunks(Bench&, Hash& codes) {
  PF_Chunk chunk = {};
  for (const std::int32_t count : {-1, 0}) {
    codes.AddValue(PF_NewChunk(count, 5, 2, PF_ChunkType_DBL8, &chunk));
    codes.AddValue(PF_NewChunk(5, count, 2, PF_ChunkType_DBL8, &chunk));
    codes.AddValue(PF_NewChunk(5, 5, count, PF_ChunkType_DBL8, &chunk));
  }
  codes.AddValue(PF_NewChunk(1 << 30, 5, 2, PF_ChunkType_DBL8, &chunk));
  codes.AddValue(PF_NewChunk(5, 5, 2, PF_ChunkType_DBL8, nullptr));
  codes.AddValue(PF_LockChunk(&chunk));
  codes.AddValue(PF_UnlockChunk(&chunk));
  codes.AddValue(PF_DisposeChunk(&chunk));
  codes.AddValue(PF_DisposeChunk(nullptr));
  codes.AddValue(PF_ChunkDataSize(PF_ChunkType_RBG, nullptr));
}

void RefuseMembers(Bench& on, Hash& codes) {
  const WorldPtr world(Need(PF_World::NewReference(on.world.record())));
  const WorldPtr deep(Need(PF_World::NewReference(on.deep.record())));
  codes.AddValue(CodeOf([&] { world->CopyRect(deep.get(), {0, 0, 5, 4}, 0, 0); }));
  codes.AddValue(CodeOf([&] { world->ShrinkToSubRect({0, 0, 6, 4}); }));
  codes.AddValue(CodeOf([&] { world->ShrinkToSubRect({-1, 0, 5, 4}); }));
  codes.AddValue(CodeOf([&] { world->ReReference(deep.get(), {0, 0, 1, 1}); }));
  codes.AddValue(CodeOf([&] { world->ReReference(world.get(), {0, 0, 1, 1}); }));
  codes.AddValue(CodeOf([&] { PF_World::NewReference(static_cast<PF_LayerDef*>(nullptr)); }));
}

using Copy = PF_Err (*)(const PF_ProgressInfo*, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*);

void RefuseCopies(Bench& on, Hash& codes) {
  for (const Copy copy : {&PF_CopyBits_Draft, &PF_CopyBits_HQ_Straight, &PF_CopyBits_HQ_Premul,
                          &PF_CopyBits3_LO_Straight, &PF_CopyBits_Draft_Static, &PF_CopyBits_HQ_Straight_Static}) {
    codes.AddValue(copy(nullptr, nullptr, on.world.record(), nullptr, nullptr));
    codes.AddValue(copy(nullptr, on.world.record(), nullptr, nullptr, nullptr));
    codes.AddValue(copy(nullptr, &on.no_pixels, on.world.record(), nullptr, nullptr));
    codes.AddValue(copy(nullptr, on.world.record(), &on.no_pixels, nullptr, nullptr));
    const M_LRect nothing = {3, 3, 2, 9}, outside = {50, 50, 60, 60};
    codes.AddValue(copy(nullptr, on.world.record(), on.small.record(), &nothing, nullptr));
    codes.AddValue(copy(nullptr, on.world.record(), on.small.record(), nullptr, &outside));
  }
  codes.AddValue(PF_CopyBits_HQ_Straight(nullptr, on.deep.record(), on.small.record(), nullptr, nullptr));
  for (const std::int32_t band : {-1, 3}) {
    codes.AddValue(
        PF_CopyBits_Band(PF_CopyKind_DRAFT, on.world.record(), on.small.record(), nullptr, nullptr, band, 3));
  }
}

void RefuseIterations(Bench& on, Hash& codes) {
  const PF_IteratePixel8Func leave = [](void*, std::int32_t, std::int32_t, PF_Pixel8*, PF_Pixel8*) {
    return PF_Err{PF_Err_NONE};
  };
  const PF_IteratePixel8Func stop = [](void*, std::int32_t x, std::int32_t y, PF_Pixel8*, PF_Pixel8*) {
    return x == 3 && y == 2 ? PF_Err{99} : PF_Err{PF_Err_NONE};
  };
  for (const auto iterate : {&PF_Iterate, &PF_Iterate_Static}) {
    PF_LayerDef* const world = on.world.record();
    codes.AddValue(iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, PF_PixelFunc(leave), nullptr));
    codes.AddValue(iterate(nullptr, 0, 0, world, nullptr, nullptr, nullptr, world));
    codes.AddValue(iterate(nullptr, 0, 0, on.deep.record(), nullptr, nullptr, PF_PixelFunc(leave), world));
    codes.AddValue(iterate(nullptr, 0, 0, nullptr, nullptr, nullptr, PF_PixelFunc(stop), world));
  }
  codes.AddValue(
      PF_IterateLUT(nullptr, 0, 0, on.deep.record(), nullptr, nullptr, nullptr, nullptr, nullptr, on.world.record()));
  codes.AddValue(
      PF_IterateOrigin(nullptr, 0, 0, nullptr, nullptr, nullptr, nullptr, PF_PixelFunc(leave), on.world.record()));
  codes.AddValue(PF_IterateGeneric_Static(9, nullptr, [](void*, std::int32_t, std::int32_t i, std::int32_t) {
    return i == 4 ? PF_Err{98} : PF_Err{PF_Err_NONE};
  }));
}

void RefuseMasks(Bench& on, Hash& codes) {
  const M_LRect all = {0, 0, 5, 4};
  const M_LPoint at = {0, 0};
  const float nan = std::numeric_limits<float>::quiet_NaN();
  PF_UnoBuffer* const mask = on.mask.record();
  codes.AddValue(PF_NewUnoBuffer(4, 4, nullptr));
  PF_UnoBuffer* made = nullptr;
  codes.AddValue(PF_NewUnoBuffer(-4, 4, &made));
  codes.AddValue(PF_InvertUnoBuffer(nullptr, nullptr));
  codes.AddValue(PF_FadeUnoBuffer(nullptr, 0.5f, nullptr));
  codes.AddValue(PF_InvertUnoBuffer(nullptr, on.odd_mask.record()));
  codes.AddValue(PF_FadeUnoBuffer(nullptr, 0.5f, on.odd_mask.record()));
  codes.AddValue(PF_TransferUnoBuffers(nullptr, mask, on.small_mask.record(), 1, &all, &at, mask));
  codes.AddValue(PF_AccumulateUnoBuffers(nullptr, mask, PF_MaskMode_COUNT, &all, &at, on.deep_mask.record()));
  codes.AddValue(PF_AccumulateUnoBuffers(nullptr, mask, -1, &all, &at, on.deep_mask.record()));
  codes.AddValue(PF_AccumulateUnoBuffers(nullptr, mask, 1, nullptr, &at, on.deep_mask.record()));
  codes.AddValue(PF_AccumulateUnoBuffers(nullptr, mask, 1, &all, nullptr, on.deep_mask.record()));
  codes.AddValue(PF_ConvertDeepUnoBuffer(nullptr, mask, &all, 0, on.deep_mask.record()));
  codes.AddValue(PF_ConvertDeepUnoBuffer(nullptr, on.deep_mask.record(), nullptr, 0, mask));
  codes.AddValue(PF_FillDeepUnoBuffer(9, mask));
  codes.AddValue(PF_FillFloatUnoBuffer(0.5f, mask));
  codes.AddValue(PF_FillUnoBuffer(9, all, on.deep_mask.record()));
  codes.AddValue(PF_MergeMaskAlpha(nullptr, 0, 0, nullptr, mask, nullptr, nullptr));
  for (const auto scan : {&PF_GBlurUnoScan, &PF_BoxBlurUnoScan, &PF_GBlurDeepUnoScan, &PF_BoxBlurDeepUnoScan}) {
    for (const float radius : {-1.0f, nan, 40000.0f}) codes.AddValue(scan(mask, mask, radius, 0, nullptr));
    codes.AddValue(scan(mask, on.small_mask.record(), 2.0f, 0, nullptr));
    codes.AddValue(scan(mask, on.deep_mask.record(), 2.0f, 0, nullptr));
  }
  const std::uint32_t magic = mask->magic;
  mask->magic = 5;
  codes.AddValue(PF_InvertUnoBuffer(nullptr, mask));
  mask->magic = magic;
}

void RefuseCompositing(Bench& on, Hash& codes) {
  PF_TransferParams params = {PF_Xfer_Over, 0, 1.0f, nullptr, nullptr, {0, 0}};
  PF_LayerDef* const world = on.world.record();
  const PF_PixelFloat colour = {1, 1, 1, 1};
  codes.AddValue(PF_TransferRect(nullptr, nullptr, world, nullptr, world, nullptr));
  codes.AddValue(PF_TransferRect(nullptr, &params, nullptr, nullptr, world, nullptr));
  codes.AddValue(PF_TransferRect(nullptr, &params, world, nullptr, nullptr, nullptr));
  codes.AddValue(PF_TransferRect(nullptr, &params, on.deep.record(), nullptr, world, nullptr));
  codes.AddValue(PF_TransferRect(nullptr, &params, world, nullptr, &on.no_pixels, nullptr));
  codes.AddValue(PF_TransferFill(nullptr, &params, nullptr, nullptr, world));
  codes.AddValue(PF_TransferFill(nullptr, &params, &colour, nullptr, &on.odd_depth));
  params.mask = on.odd_mask.record();
  codes.AddValue(PF_TransferFill(nullptr, &params, &colour, nullptr, world));
  params.mask = nullptr;
  for (const std::int32_t mode : {-4, -1, 41, 1000}) {
    params.mode = mode;
    codes.AddValue(PF_TransferFill(nullptr, &params, &colour, nullptr, world));
  }
  params = {PF_Xfer_Over, 0, std::numeric_limits<float>::quiet_NaN(), nullptr, nullptr, {0, 0}};
  codes.AddValue(PF_TransferFill(nullptr, &params, &colour, nullptr, world));
  for (const auto convert : {&PF_Premultiply, &PF_Unmultiply}) {
    codes.AddValue(convert(nullptr, nullptr, nullptr));
    codes.AddValue(convert(nullptr, &on.no_pixels, nullptr));
  }
  for (const auto convert : {&PF_PremultiplyColor, &PF_UnmultiplyColor}) {
    codes.AddValue(convert(nullptr, nullptr, nullptr, &colour));
    codes.AddValue(convert(nullptr, world, nullptr, nullptr));
  }
}

void RefuseFilters(Bench& on, Hash& codes) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  std::int32_t diameter = 77, kernel[9] = {};
  for (const double radius : {-0.5, 32768.0, nan}) {
    codes.AddValue(PF_GaussianKernel(nullptr, radius, 0, 1, &diameter, kernel));
  }
  codes.AddValue(PF_GaussianKernel(nullptr, 1, 0, 1, nullptr, kernel));
  codes.AddValue(PF_GaussianKernel(nullptr, 1, 0, 1, &diameter, nullptr));
  codes.AddValue(diameter);
  codes.AddValue(PFp_GaussianValue(nan));
  const WorldPtr world(Need(PF_World::NewReference(on.world.record())));
  const WorldPtr small(Need(PF_World::NewReference(on.small.record())));
  const WorldPtr deep(Need(PF_World::NewReference(on.deep.record())));
  for (const auto blur : {&PF_GaussianBlur1D, &PF_BoxBlur1D}) {
    codes.AddValue(blur(nullptr, world.get(), 1, 0, 0, 0, 0, nullptr));
    codes.AddValue(blur(world.get(), nullptr, 1, 0, 0, 0, 0, nullptr));
    codes.AddValue(blur(small.get(), world.get(), 1, 0, 0, 0, 0, nullptr));
    codes.AddValue(blur(deep.get(), world.get(), 1, 0, 0, 0, 0, nullptr));
    for (const float radius : {-1.0f, 32768.0f, static_cast<float>(nan)}) {
      codes.AddValue(blur(world.get(), world.get(), radius, 0, 0, 0, 0, nullptr));
    }
  }
  codes.AddValue(PF_FastBlur_Premul(world.get(), small.get(), 1, 0, nullptr));
  codes.AddValue(PF_FastBlur_Straight(world.get(), small.get(), 1, 0, nullptr));
}

void RefuseFrames(Bench& on, Hash& codes) {
  const WorldPtr world(Need(PF_World::NewReference(on.world.record())));
  const WorldPtr small(Need(PF_World::NewReference(on.small.record())));
  const WorldPtr deep(Need(PF_World::NewReference(on.deep.record())));
  PF_AdvancedFrameBlending blending(PF_Tavros_OtherParams{}, {});
  codes.AddValue(blending.Render(nullptr, world.get(), world.get()));
  codes.AddValue(blending.Render(world.get(), small.get(), world.get()));
  codes.AddValue(blending.Render(world.get(), deep.get(), world.get()));
  boost::shared_ptr<PF_TavrosCache_Stuff> found;
  codes.AddValue(blending.FindVectors(world.get(), nullptr, &found));
  blending.algoParams.mode = 3;
  codes.AddValue(blending.CheckParamRange());
  codes.AddValue(blending.Render(world.get(), world.get(), world.get()));
  codes.AddValue(calcTavrosOpticalFlowParamsNoIpl(blending.algoParams, nullptr, {world.get(), world.get(), nullptr}));
}

void RefuseRest(Bench& on, Hash& codes) {
  PF_LayerDef* const world = on.world.record();
  const std::uint32_t coverage[9] = {};
  for (const std::int32_t size : {-1, 2}) {
    codes.AddValue(PF_PaintSpot(nullptr, 1, 1, 0, size, coverage, 0, world));
  }
  codes.AddValue(PF_PaintSpot(nullptr, 1, 1, 0, 3, nullptr, 0, world));
  codes.AddValue(PF_PaintSpot(nullptr, 1, 1, 0, 3, coverage, 0, nullptr));
  codes.AddValue(PF_SetPixel8(1, 1, nullptr, world));
  for (const auto blend : {&PF_Blend, &PF_Blend_Premul, &PF_Blend_Straight}) {
    codes.AddValue(blend(nullptr, nullptr, world, 5, world));
    codes.AddValue(blend(nullptr, world, on.deep.record(), 5, world));
    codes.AddValue(blend(nullptr, world, on.small.record(), 5, world));
    codes.AddValue(blend(nullptr, world, &on.no_pixels, 5, world));
  }
  codes.AddValue(CodeOf([&] { const PF_LazyWorldCopyOperator refused(nullptr, world); }));
  codes.AddValue(CodeOf([] {
    boost::scoped_ptr<PF_LazyOperator> none;
    const PF_LazyTiles refused(4, &none);
  }));
  codes.AddValue(PF_OverrideStdFuncs(nullptr));
  PF_AnyFunc function = nullptr;
  codes.AddValue(PF_GetCallbackAddr(0, &function));
  codes.AddValue(PF_GetCallbackAddr(2, nullptr));
  codes.AddValue(PF_SetOverrideFunc(0, nullptr));
  codes.AddValue(PF_CheckVersions(PF_MODULE, PF_VERSION + 1));
  codes.AddValue(PF_DepthConvertWorld(nullptr, nullptr, nullptr));
  codes.AddValue(PF_XCEApplyTransform(nullptr, nullptr, nullptr, true, nullptr));
  PF_ColorSettings settings;
  codes.AddValue(CodeOf([&] { settings.SetProfile({}); }));
  codes.AddValue(PF_RGBtoHLS_Straight(nullptr, nullptr, nullptr));
}

}  // namespace

void AddRefusals(OperationTable& table) {
  Add(table, "worlds", &RefuseWorlds);
  Add(table, "chunks", &RefuseChunks);
  Add(table, "members of worlds", &RefuseMembers);
  Add(table, "copies", &RefuseCopies);
  Add(table, "iterations", &RefuseIterations);
  Add(table, "masks", &RefuseMasks);
  Add(table, "compositing", &RefuseCompositing);
  Add(table, "filters", &RefuseFilters);
  Add(table, "frame blending", &RefuseFrames);
  Add(table, "the rest", &RefuseRest);
}

}  // namespace selftest
