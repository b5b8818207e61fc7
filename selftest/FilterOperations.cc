#include <memory>

#include "PF/PF_Worlds.h"
#include "selftest/BlurWish.h"
#include "selftest/OperationTable.h"

namespace selftest {

PF_Err CallBlur(TestWorld& src, TestWorld& dst, const BlurWish& wish, const PF_ProgressInfo* progress) {
  const std::unique_ptr<PF_World> from(PF_World::NewReference(src.record())), to(PF_World::NewReference(dst.record()));
  if (from == nullptr || to == nullptr) return PF_Err_OUT_OF_MEMORY;
  const auto blur = wish.box ? &PF_BoxBlur1D : &PF_GaussianBlur1D;
  return blur(from.get(), to.get(), wish.radius, wish.flags, wish.src_columns ? 1 : 0, wish.dst_columns ? 1 : 0,
              wish.straight ? 1 : 0, progress);
}

namespace {

// A quarter of them whole, a few beyond any picture.
float AnyRadius(Trial& run, float known) {
  if (run.known()) return known;
  constexpr std::int32_t kMost[] = {1, 3, 13, 30, 60, 400};
  const std::int32_t most = kMost[run.random() % 6];
  const bool whole = run.random() % 4 == 0;
  return static_cast<float>(Between32(run.random, 0, most * 16)) * (whole ? 1.0f : 0.0625f);
}

BlurWish AnyWish(Trial& run, bool box, float radius) {
  BlurWish wish = {box, AnyRadius(run, radius)};
  wish.flags = static_cast<std::int32_t>(run.random() % 8) * PF_BlurFlag_TRANSPARENT_EDGES;
  wish.straight = run.random() % 2 == 0;
  return wish;
}

PF_Err Turned(Trial& run, int depth, BlurWish wish) {
  Picture in(run, depth, 37);
  wish.src_columns = run.random() % 2 == 0;
  wish.dst_columns = !wish.src_columns;
  TestWorld out(depth, in.height(), in.width(), depth);
  const PF_Err code = CallBlur(in, out, wish, run.progress);
  run.results.Add(out);
  return code;
}

void AddBlur(OperationTable& table, const char* name, bool box, float radius) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At(name, depth), depth, true, [=](Trial& run) {
                       Picture in(run, depth), other = Picture::Like(run, in);
                       TestWorld& to = run.random() % 4 == 0 ? in : other;
                       const PF_Err code = CallBlur(in, to, AnyWish(run, box, radius), run.progress);
                       run.results.Add(to);
                       return code;
                     }});
    table.push_back({At(name, depth) + " turned", depth, false,
                     [=](Trial& run) { return Turned(run, depth, AnyWish(run, box, radius)); }});
  }
}

// Channels alike and lines that keep their direction: they do without lanes.
void AddPlain(OperationTable& table, const char* name, bool box, float radius) {
  for (const int depth : {8, 16, 32}) {
    for (const bool columns : {false, true}) {
      table.push_back({At(name, depth) + (columns ? ", columns" : ", rows"), depth, true, [=](Trial& run) {
                         Picture picture(run, depth);
                         BlurWish wish = {box, AnyRadius(run, radius)};
                         wish.flags = run.random() % 2 == 0 ? 0 : PF_BlurFlag_TRANSPARENT_EDGES;
                         wish.src_columns = wish.dst_columns = columns;
                         const PF_Err code = CallBlur(picture, picture, wish, run.progress);
                         run.results.Add(picture);
                         return code;
                       }});
    }
  }
}

// The source is copied first.
void AddTransposition(OperationTable& table) {
  for (const int depth : {8, 16, 32}) {
    table.push_back({At("blur turned onto itself", depth), depth, false, [=](Trial& run) {
                       const std::int32_t size = AnySize(run, 29);
                       Picture picture(run, depth, size, size);
                       BlurWish wish = AnyWish(run, false, 15.5f);
                       wish.dst_columns = true;
                       const PF_Err code = CallBlur(picture, picture, wish);
                       run.results.Add(picture);
                       return code;
                     }});
  }
}

void AddKernels(OperationTable& table) {
  table.push_back({"bell and kernels", 0, false, [](Trial& run) {
                     for (int i = 0; i < 200; ++i) {
                       run.results.AddValue(PFp_GaussianValue(static_cast<double>(run.random() >> 11) * 0x1.2p-53));
                     }
                     const double radius = static_cast<double>(Between32(run.random, 0, 320)) / 16;
                     const double multiplier = static_cast<double>(Between32(run.random, 1, 64)) / 16;
                     std::vector<std::int32_t> kernel(41 * 41);
                     std::int32_t diameter = 0;
                     const PF_Err code = PF_GaussianKernel(nullptr, radius, Between32(run.random, 0, 3), multiplier,
                                                           &diameter, kernel.data());
                     run.results.AddValue(diameter);
                     run.results.AddBytes(kernel.data(), kernel.size() * sizeof kernel[0]);
                     return code;
                   }});
}

}  // namespace

void AddFilters(OperationTable& table) {
  AddBlur(table, "bell blur, short", false, 2.6f);
  AddBlur(table, "bell blur, long", false, 21.0f);
  AddBlur(table, "box blur", true, 6.0f);
  AddPlain(table, "bell blur in place", false, 7.5f);
  AddPlain(table, "box blur in place", true, 140.0f);
  AddTransposition(table);
  AddKernels(table);
}

}  // namespace selftest
