#include "host/BM.h"
#include "selftest/OperationTable.h"

namespace selftest {
namespace {

using Copy = PF_Err (*)(const PF_ProgressInfo*, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*);

void AddCopy(OperationTable& table, const char* name, int from, int to, int rows_in, int rows_out, Copy copy) {
  table.push_back({At(name, from, to), to, true, [=](Trial& run) {
                     Picture in(run, from, rows_in), out(run, to, rows_out);
                     M_LRect rects[2];
                     const M_LRect* src_rect = MaybeRect(run, in.width(), in.height(), &rects[0]);
                     const M_LRect* dst_rect = MaybeRect(run, out.width(), out.height(), &rects[1]);
                     const PF_Err code = copy(run.progress, in.record(), out.record(), src_rect, dst_rect);
                     run.results.Add(out);
                     return code;
                   }});
}

// All bands of a copy, the last one first.
void AddBands(OperationTable& table, const char* name, int depth, PF_CopyKind kind) {
  table.push_back({At(name, depth), depth, false, [=](Trial& run) {
                     Picture in(run, depth, 61), out(run, depth, 99);
                     const std::int32_t bands = Between32(run.random, 1, 5);
                     PF_Err code = PF_Err_NONE;
                     for (std::int32_t band = bands - 1; band >= 0 && code == PF_Err_NONE; --band) {
                       code = PF_CopyBits_Band(kind, in.record(), out.record(), nullptr, nullptr, band, bands);
                     }
                     run.results.Add(out);
                     return code;
                   }});
}

void AddWorldCopies(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    for (const int to : {8, 16, 32}) {
      AddCopy(table, "draft enlarge", depth, to, 80, 150, &PF_CopyBits_Draft);
      AddCopy(table, "draft reduce", depth, to, 300, 140, &PF_CopyBits_Draft);
      AddCopy(table, "draft static", depth, to, 90, 140, &PF_CopyBits_Draft_Static);
      AddCopy(table, "low quality", depth, to, 77, 140, &PF_CopyBits3_LO_Straight);
      AddCopy(table, "low quality static", depth, to, 177, 140, &PF_CopyBits3_LO_Straight_Static);
    }
    AddCopy(table, "high quality enlarge", depth, depth, 80, 150, &PF_CopyBits_HQ_Straight);
    AddCopy(table, "high quality reduce", depth, depth, 300, 140, &PF_CopyBits_HQ_Straight);
    AddCopy(table, "high quality static", depth, depth, 100, 140, &PF_CopyBits_HQ_Straight_Static);
    AddCopy(table, "premultiplied enlarge", depth, depth, 80, 150, &PF_CopyBits_HQ_Premul);
    AddCopy(table, "premultiplied reduce", depth, depth, 300, 140, &PF_CopyBits_HQ_Premul);
    AddCopy(table, "premultiplied static", depth, depth, 100, 140, &PF_CopyBits_HQ_Premul_Static);
    AddBands(table, "bands of draft", depth, PF_CopyKind_DRAFT);
    AddBands(table, "bands of high quality", depth, PF_CopyKind_HQ_STRAIGHT);
    AddBands(table, "bands of premultiplied", depth, PF_CopyKind_HQ_PREMUL);
    AddBands(table, "bands of low quality", depth, PF_CopyKind_LO_STRAIGHT);
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
  std::byte* Row(std::int32_t y) const {
    return static_cast<std::byte*>(BMp_GetPixBaseAddr(world)) + std::int64_t{y} * (*world)->row_bytes;
  }
  std::size_t RowSize() const { return static_cast<std::size_t>((*world)->width * (*world)->bits_per_pixel / 8); }
  void Fill(Random& random) {
    for (std::int32_t y = 0; y < (*world)->height; ++y) {
      for (std::size_t i = 0; i < RowSize(); ++i) Row(y)[i] = static_cast<std::byte>(random());
    }
  }
  BM_World** world = nullptr;
  bool locked = false;
};

using BitmapCopy = PF_Err (*)(const PF_ProgressInfo*, BM_World**, BM_World**, const M_LRect*, const M_LRect*);

void AddBitmapCopies(OperationTable& table) {
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
      table.push_back(
          {At(name, bits / 4), bits / 4, false, [=](Trial& run) {
             const std::int32_t sizes[] = {AnySize(run, 9), AnySize(run, 13), AnySize(run, 14), AnySize(run, 11)};
             Bitmap in(bits, sizes[0], sizes[1], BM_CHANNELS_ARGB);
             Bitmap out(bits, sizes[2], sizes[3], BM_CHANNELS_BGRA);
             if (!in.locked || !out.locked) return PF_Err{PF_Err_OUT_OF_MEMORY};
             in.Fill(run.random);
             out.Fill(run.random);
             const PF_Err code = function(nullptr, in.world, out.world, nullptr, nullptr);
             for (std::int32_t y = 0; y < (*out.world)->height; ++y) {
               run.results.AddBytes(out.Row(y), out.RowSize());
             }
             return code;
           }});
    }
  }
}

}  // namespace

void AddCopies(OperationTable& table) {
  AddWorldCopies(table);
  AddBitmapCopies(table);
}

}  // namespace selftest
