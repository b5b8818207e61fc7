#include <cstring>
#include <memory>

#include "host/BM.h"
#include "selftest/Depth.h"
#include "selftest/OperationTable.h"

namespace selftest {
namespace {

using WorldPtr = std::unique_ptr<PF_World>;

// What a record tells, addresses left out.
void AddRecord(Hash& hash, const PF_LayerDef& record) {
  hash.AddValue(record.world_flags);
  hash.AddValue(record.row_bytes);
  hash.AddValue(record.width);
  hash.AddValue(record.height);
  hash.AddBytes(&record.extent, sizeof record.extent);
  hash.AddValue(record.owner_tag);
  hash.AddValue(record.data != nullptr);
  hash.AddValue(record.world_object != nullptr);
  hash.AddValue(record.bm_world != nullptr);
  PF_PixelFormat format = 0;
  hash.AddValue(PFp_GetPixelFormat(&record, &format));
  hash.AddValue(format);
  std::int32_t depth = 0;
  hash.AddValue(PF_GetEffectWorldDepth(&record, &depth));
  hash.AddValue(depth);
  hash.AddValue(PFp_WorldDepth(&record));
}

void AddAccess(Hash& hash, PF_EffectWorld& record) {
  PF_Pixel8* p8 = nullptr;
  PF_Pixel16* p16 = nullptr;
  PF_PixelFloat* pf = nullptr;
  hash.AddValue(PF_GetPixelData8(&record, nullptr, &p8));
  hash.AddValue(PF_GetPixelData16(&record, nullptr, &p16));
  hash.AddValue(PF_GetPixelDataFloat(&record, nullptr, &pf));
  for (const void* found : {static_cast<void*>(p8), static_cast<void*>(p16), static_cast<void*>(pf)}) {
    hash.AddValue(found == record.data);
    hash.AddValue(found == nullptr);
  }
}

void AddEffectWorlds(OperationTable& table, int depth) {
  constexpr PF_PixelFormat kFormats[] = {PF_PixelFormat_ARGB32, PF_PixelFormat_ARGB64, PF_PixelFormat_ARGB128};
  const PF_PixelFormat format = kFormats[depth / 16];
  for (const int bitmap : {0, 1}) {
    table.push_back({At(bitmap ? "new bitmap-backed world" : "new world", depth), depth, false, [=](Trial& run) {
                       PF_EffectWorld record = {};
                       const std::int32_t width = AnySize(run, 33), height = AnySize(run, 7);
                       const PF_Err code = PF_NewEffectWorld(nullptr, width, height, depth, 1, bitmap, &record);
                       if (code != PF_Err_NONE) return code;
                       AddObject(run.results, *record.world_object);
                       AddRecord(run.results, record);
                       AddAccess(run.results, record);
                       return PF_DisposeEffectWorld(nullptr, &record);
                     }});
  }
  table.push_back({At("new world by format", depth), depth, false, [=](Trial& run) {
                     PF_EffectWorld record = {};
                     const std::int32_t width = AnySize(run, 21), height = AnySize(run, 9);
                     const PF_Err code = PFp_NewWorldOfPixelFormat(nullptr, width, height, 1, format, &record);
                     if (code != PF_Err_NONE) return code;
                     AddObject(run.results, *record.world_object);
                     AddRecord(run.results, record);
                     for (const auto hook : {&PF_OpenDestination, &PF_OpenDestination_Static, &PF_CloseDestination,
                                             &PF_CloseDestination_Static}) {
                       run.results.AddValue(hook(nullptr, &record));
                     }
                     return PF_DisposeEffectWorld(nullptr, &record);
                   }});
}

void AddObjects(OperationTable& table, int depth) {
  table.push_back({At("sub-world, matching world", depth), depth, false, [=](Trial& run) {
                     Picture picture(run, depth);
                     return CodeOf([&] {
                       const WorldPtr whole(Need(PF_World::NewReference(picture.record())));
                       const std::int32_t top = run.known() ? 1 : Between32(run.random, 0, whole->height - 1);
                       const M_LRect rect = {0, top, whole->width, run.known() ? 60 : whole->height};
                       const WorldPtr part(Need(PF_World::NewReference(whole.get(), rect)));
                       const WorldPtr match(PF_World::NewMatchingWorld(part.get(), PF_NewWorldFlag_CLEAR));
                       match->CopyWorld(part.get());
                       AddObject(run.results, *match);
                       run.results.AddValue(part->RefersTo(whole.get()));
                       run.results.AddValue(match->RefersTo(whole.get()));
                       run.results.AddValue(match->SubWorldSafetyGutterHasBeenOverWritten());
                       PF_WorldDebugger(match.get());
                     });
                   }});
  table.push_back({At("world narrowed and pointed elsewhere", depth), depth, false, [=](Trial& run) {
                     Picture picture(run, depth);
                     return CodeOf([&] {
                       const std::int32_t width = AnySize(run, 20), height = AnySize(run, 10);
                       const WorldPtr world(PF_World::New(M_LRect{3, 5, 3 + width, 5 + height}, depth, 0));
                       const M_LRect all = {0, 0, world->width, world->height};
                       world->Fill(PF_PixelFloat{1.0f, 0.25f, 0.5f, 0.75f}, &all);
                       run.results.AddValue(world->IsReference());
                       run.results.AddValue(world->Depth());
                       const std::int32_t left = Between32(run.random, 0, world->width - 1);
                       world->ShrinkToSubRect({left, 0, world->width, Between32(run.random, 1, world->height)});
                       AddObject(run.results, *world);
                       PF_LayerDef record = {};
                       world->FillOutEffectWorld(&record);
                       AddRecord(run.results, record);
                       const WorldPtr other(Need(PF_World::NewReference(
                           picture.Row(0), picture.width(), picture.height(), depth, picture.record()->row_bytes)));
                       const WorldPtr part(Need(PF_World::NewReference(other.get(), M_Rect{0, 0, 1, 1})));
                       const std::int32_t right = Between32(run.random, 1, picture.width());
                       part->ReReference(other.get(), {0, 0, right, picture.height()});
                       AddObject(run.results, *part);
                       part->ReleaseOwnership();
                       run.results.AddValue(part->IsReference());
                     });
                   }});
  table.push_back({At("host bitmap world as a world", depth), depth, false, [=](Trial& run) {
                     const std::int32_t width = AnySize(run, 12), height = AnySize(run, 6);
                     BM_World** bitmap = nullptr;
                     if (BM_NewWorld(width, height, depth * 4, BM_CHANNELS_ARGB, &bitmap) != 0) {
                       return PF_Err{PF_Err_OUT_OF_MEMORY};
                     }
                     if (BM_LoadLockPixels(bitmap) != 0) {
                       BM_DisposeWorld(bitmap);
                       return PF_Err{PF_Err_OUT_OF_MEMORY};
                     }
                     const PF_Err code = CodeOf([&] {
                       const WorldPtr whole(Need(PF_World::NewReference(bitmap)));
                       whole->Fill(PF_PixelFloat{0.5f, 0.2f, 0.4f, 0.8f}, nullptr);
                       const WorldPtr part(Need(PF_World::NewReference(
                           bitmap, M_Rect{0, 0, static_cast<std::int16_t>(height), static_cast<std::int16_t>(width)})));
                       AddObject(run.results, *part);
                       run.results.AddValue(PF_DepthOfBMWorld(bitmap));
                       PF_EffectWorld record = {};
                       run.results.AddValue(PF_EffectWorldFromBMWorld(bitmap, &record));
                       run.results.AddValue(record.width);
                       run.results.AddValue(record.world_flags);
                     });
                     BM_UnlockPixels(bitmap);
                     BM_DisposeWorld(bitmap);
                     return code;
                   }});
}

void AddChunks(OperationTable& table) {
  table.push_back({"chunk", 0, false, [](Trial& run) {
                     PF_Chunk chunk = {};
                     PF_Err code = PF_NewChunk(7, 5, 2, PF_ChunkType_DBL8, &chunk);
                     if (code != PF_Err_NONE) return code;
                     run.results.AddValue(chunk.chunk_row_bytes);
                     code = PF_UnlockChunk(&chunk);
                     if (code == PF_Err_NONE) code = PF_LockChunk(&chunk);
                     if (code == PF_Err_NONE) run.results.AddBytes(chunk.chunk_data, 7 * 5 * 2 * 8);
                     run.results.AddValue(PFp_LiveChunkCount());
                     const PF_Err disposed = PF_DisposeChunk(&chunk);
                     return code != PF_Err_NONE ? code : disposed;
                   }});
  table.push_back({"chunk sizes", 0, false, [](Trial& run) {
                     for (std::int32_t type = -3; type < 40; ++type) {
                       std::uint16_t size = 0;
                       run.results.AddValue(PF_ChunkDataSize(type, &size));
                       run.results.AddValue(size);
                     }
                     return PF_Err{PF_Err_NONE};
                   }});
}

}  // namespace

void AddWorlds(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    AddEffectWorlds(table, depth);
    AddObjects(table, depth);
  }
  AddChunks(table);
}

}  // namespace selftest
