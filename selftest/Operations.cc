#include "selftest/Operations.h"

#include <memory>

#include "host/BM.h"
#include "selftest/Depth.h"
#include "selftest/OperationTable.h"

namespace selftest {
namespace {

using WorldPtr = std::unique_ptr<PF_World>;
using Table = OperationTable;

WorldPtr Reference(TestWorld& world) { return WorldPtr(PF_World::NewReference(world.record())); }

void AddWorldObject(Hash& hash, const PF_World& world) {
  for (std::int32_t y = 0; y < world.height; ++y) {
    const void* row = static_cast<const std::byte*>(world.data) + std::int64_t{y} * world.row_bytes;
    const auto width = static_cast<std::size_t>(world.width);
    if (world.Depth() == 32) {
      hash.AddFloats(static_cast<const float*>(row), 4 * width);
    } else {
      hash.AddBytes(row, width * world.PixelSize());
    }
  }
}

// A member operation on a reference to a random picture.
void AddMember(Table& table, const char* name, const std::function<void(PF_World&, Trial&)>& member) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At(name, depth), depth, false, [=](Trial& run) {
                       Picture picture(run, depth);
                       const PF_Err code = CodeOf([&] {
                         const WorldPtr world = Reference(picture);
                         if (world == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
                         member(*world, run);
                       });
                       run.results.Add(picture);
                       return code;
                     }});
  }
}

M_LRect AnyRect(Random& random, std::int32_t width, std::int32_t height) {
  const auto c = [&](std::int32_t size) { return static_cast<std::int32_t>(Between(random, -3, size + 3)); };
  return {c(width), c(height), c(width), c(height)};
}

void AddMembers(Table& table) {
  AddMember(table, "Clear", [](PF_World& w, Trial& run) {
    const M_LRect rect = AnyRect(run.random, w.width, w.height);
    w.Clear(&rect);
  });
  AddMember(table, "ClearExceptRect",
            [](PF_World& w, Trial& run) { w.ClearExceptRect(AnyRect(run.random, w.width, w.height)); });
  AddMember(table, "Fill float", [](PF_World& w, Trial& run) {
    const M_LRect rect = AnyRect(run.random, w.width, w.height);
    w.Fill(PF_PixelFloat{0.5f, -1.0f, 0.3f, 2.0f}, &rect);
  });
  AddMember(table, "Fill 16", [](PF_World& w, Trial&) { w.Fill(PF_Pixel16{32768, 1, 12345, 40000}, nullptr); });
  AddMember(table, "FillAlpha", [](PF_World& w, Trial&) { w.FillAlpha(); });
  AddMember(table, "InvertAlpha", [](PF_World& w, Trial&) { w.InvertAlpha(); });
  AddMember(table, "Premultiply", [](PF_World& w, Trial&) { w.Premultiply(); });
  AddMember(table, "Unmultiply", [](PF_World& w, Trial&) { w.Unmultiply(); });
  AddMember(table, "PremulColor", [](PF_World& w, Trial&) { w.PremulColor({32768, 30000, 5, 16384}); });
  AddMember(table, "UnmulColor", [](PF_World& w, Trial&) { w.UnmulColor({32768, 30000, 5, 16384}); });
  AddMember(table, "CopyRect within", [](PF_World& w, Trial& run) {
    w.CopyRect(&w, AnyRect(run.random, w.width, w.height), 1, static_cast<std::int32_t>(run.random() % 3));
  });
}

void AddConversions(Table& table) {
  for (const int from : {8, 16, 32}) {
    for (const int to : {8, 16, 32}) {
      for (const PF_Dither dither : {PF_Dither_OFF, PF_Dither_ON}) {
        if (dither == PF_Dither_ON && (from != 16 || to != 8)) continue;
        const char* name = dither == PF_Dither_ON ? "convert dithered" : "convert";
        table.push_back({At(name, from, to), to, true, [=](Trial& run) {
                           Picture in(run, from), out(run, to);
                           PF_ResetDitherRandomIndex();
                           const PF_Err code = CodeOf([&] {
                             const WorldPtr src = Reference(in), dst = Reference(out);
                             if (src == nullptr || dst == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
                             dst->CopyRectPossiblyDifferentBitdepth(src.get(), {0, 0, in.width(), in.height()}, dither,
                                                                    -1, 0, run.progress);
                           });
                           run.results.Add(out);
                           return code;
                         }});
      }
    }
  }
}

using Copy = PF_Err (*)(const PF_ProgressInfo*, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*);

void AddCopy(Table& table, const char* name, int from, int to, int rows_in, int rows_out, Copy copy) {
  table.push_back({At(name, from, to), to, true, [=](Trial& run) {
                     Picture in(run, from, rows_in), out(run, to, rows_out);
                     const PF_Err code = copy(run.progress, in.record(), out.record(), nullptr, nullptr);
                     run.results.Add(out);
                     return code;
                   }});
}

void AddCopies(Table& table) {
  for (const int depth : {8, 16, 32}) {
    for (const int to : {8, 16, 32}) {
      AddCopy(table, "draft enlarge", depth, to, 80, 150, &PF_CopyBits_Draft);
      AddCopy(table, "draft reduce", depth, to, 300, 140, &PF_CopyBits_Draft);
      AddCopy(table, "low quality", depth, to, 77, 140, &PF_CopyBits3_LO_Straight);
    }
    AddCopy(table, "high quality enlarge", depth, depth, 80, 150, &PF_CopyBits_HQ_Straight);
    AddCopy(table, "high quality reduce", depth, depth, 300, 140, &PF_CopyBits_HQ_Straight);
    AddCopy(table, "premultiplied enlarge", depth, depth, 80, 150, &PF_CopyBits_HQ_Premul);
    AddCopy(table, "premultiplied reduce", depth, depth, 300, 140, &PF_CopyBits_HQ_Premul);
  }
}

struct Bitmap {
  Bitmap(int bits, int width, int height, std::int32_t order) {
    if (BM_NewWorld(width, height, bits, order, &world) == 0 && BM_LoadLockPixels(world) == 0) locked = true;
  }
  ~Bitmap() {
    if (locked) BM_UnlockPixels(world);
    if (world != nullptr) BM_DisposeWorld(world);
  }
  Bitmap(const Bitmap&) = delete;
  Bitmap& operator=(const Bitmap&) = delete;
  void Fill(Random& random) {
    auto* bytes = static_cast<std::uint8_t*>(BMp_GetPixBaseAddr(world));
    for (int i = 0; i < (*world)->row_bytes * (*world)->height; ++i) bytes[i] = static_cast<std::uint8_t>(random());
  }
  BM_World** world = nullptr;
  bool locked = false;
};

using BitmapCopy = PF_Err (*)(const PF_ProgressInfo*, BM_World**, BM_World**, const M_LRect*, const M_LRect*);

void AddBitmapCopies(Table& table) {
  const std::pair<const char*, BitmapCopy> copies[] = {{"bitmap draft", &PF_WorldCopy},
                                                       {"bitmap draft static", &PF_WorldCopy_Static},
                                                       {"bitmap straight", &PF_WorldCopy_HQ_Straight},
                                                       {"bitmap straight static", &PF_WorldCopy_HQ_Straight_Static},
                                                       {"bitmap", &PF_WorldCopy_HQ},
                                                       {"bitmap static", &PF_WorldCopy_HQ_Static},
                                                       {"bitmap premultiplied", &PF_WorldCopy_HQ_Premul}};
  for (const auto& [name, copy] : copies) {
    for (const int bits : {32, 64}) {
      const BitmapCopy function = copy;
      table.push_back({At(name, bits / 4), bits / 4, false, [=](Trial& run) {
                         Bitmap in(bits, 9, 13, BM_CHANNELS_ARGB), out(bits, 14, 11, BM_CHANNELS_BGRA);
                         if (!in.locked || !out.locked) return PF_Err{PF_Err_OUT_OF_MEMORY};
                         in.Fill(run.random);
                         out.Fill(run.random);
                         const PF_Err code = function(nullptr, in.world, out.world, nullptr, nullptr);
                         for (std::int32_t y = 0; y < 11; ++y) {
                           run.results.AddBytes(static_cast<std::byte*>(BMp_GetPixBaseAddr(out.world)) +
                                                    std::int64_t{y} * (*out.world)->row_bytes,
                                                static_cast<std::size_t>(14 * bits / 8));
                         }
                         return code;
                       }});
    }
  }
}

void AddAllocations(Table& table) {
  for (const int depth : {8, 16, 32}) {
    for (const int bitmap : {0, 1}) {
      table.push_back({At(bitmap ? "new bitmap-backed world" : "new world", depth), depth, false, [=](Trial& run) {
                         PF_EffectWorld record = {};
                         const PF_Err code = PF_NewEffectWorld(nullptr, 33, 7, depth, 1, bitmap, &record);
                         if (code != PF_Err_NONE) return code;
                         AddWorldObject(run.results, *record.world_object);
                         return PF_DisposeEffectWorld(nullptr, &record);
                       }});
    }
    table.push_back({At("sub-world, matching world", depth), depth, false, [=](Trial& run) {
                       Picture picture(run, depth);
                       return CodeOf([&] {
                         const WorldPtr whole = Reference(picture);
                         if (whole == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
                         const WorldPtr part(PF_World::NewReference(whole.get(), M_LRect{0, 1, whole->width, 60}));
                         if (part == nullptr) throw PF_Error(PF_Err_OUT_OF_MEMORY);
                         const WorldPtr match(PF_World::NewMatchingWorld(part.get(), PF_NewWorldFlag_CLEAR));
                         match->CopyWorld(part.get());
                         AddWorldObject(run.results, *match);
                       });
                     }});
  }
  table.push_back({"chunk", 0, false, [](Trial& run) {
                     PF_Chunk chunk = {};
                     PF_Err code = PF_NewChunk(7, 5, 2, PF_ChunkType_DBL8, &chunk);
                     if (code != PF_Err_NONE) return code;
                     code = PF_UnlockChunk(&chunk);
                     if (code == PF_Err_NONE) code = PF_LockChunk(&chunk);
                     if (code == PF_Err_NONE) run.results.AddBytes(chunk.chunk_data, 7 * 5 * 2 * 8);
                     const PF_Err disposed = PF_DisposeChunk(&chunk);
                     return code != PF_Err_NONE ? code : disposed;
                   }});
}

template <class P>
PF_Err Scramble(void*, std::int32_t x, std::int32_t y, P* in, P* out) {
  using C = ChannelOf<P>;
  *out = {in->blue, static_cast<C>(x), in->red, static_cast<C>(y)};
  return PF_Err_NONE;
}

template <class P>
void AddIterations(Table& table) {
  constexpr int kDepth = DepthTraits<P>::kDepth;
  table.push_back({At("iterate", kDepth), kDepth, false, [](Trial& run) {
                     Picture in(run, kDepth), out(run, kDepth);
                     const PF_Err code = PF_Iterate(run.in, 0, 140, in.record(), nullptr, nullptr,
                                                    PF_PixelFunc(&Scramble<P>), out.record());
                     run.results.Add(out);
                     return code;
                   }});
  table.push_back({At("iterate tables", kDepth), kDepth, false, [](Trial& run) {
                     Picture in(run, kDepth), out(run, kDepth);
                     std::uint8_t lut[256];
                     for (std::uint8_t& v : lut) v = static_cast<std::uint8_t>(run.random());
                     const PF_Err code =
                         PF_IterateLUT(run.in, 0, 140, in.record(), nullptr, lut, nullptr, lut, lut, out.record());
                     run.results.Add(out);
                     return code;
                   }});
}

Table Build() {
  Table table;
  AddAllocations(table);
  AddMembers(table);
  AddConversions(table);
  AddIterations<PF_Pixel8>(table);
  AddIterations<PF_Pixel16>(table);
  AddIterations<PF_PixelFloat>(table);
  AddCopies(table);
  AddBitmapCopies(table);
  AddMaskOperations(table);
  AddMaskCombinations(table);
  AddPaintAndBlend(table);
  AddLazyTiles(table);
  AddCompositing(table);
  AddColorSpaces(table);
  AddFilters(table);
  AddFrameBlending(table);
  return table;
}

}  // namespace

const std::vector<Operation>& Operations() {
  static const Table table = Build();
  return table;
}

PF_Err CodeOf(const std::function<void()>& body) {
  try {
    body();
    return PF_Err_NONE;
  } catch (const PF_Error& error) {
    return error.code();
  }
}

}  // namespace selftest
