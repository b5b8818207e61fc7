// Converts a float world to 8 bits with a progress record that stops half-way.
#include <PF/PF.h>
#include <embedded/PFhost.h>

#include <cstdio>

namespace {

constexpr PF_Err kEnough = 1234;

PF_Err StopHalfWay(std::uint64_t reference, std::int32_t row, std::int32_t rows) {
  std::printf("row %d of %d\n", row + 1, rows);
  *reinterpret_cast<std::int32_t*>(reference) = row;
  return row * 2 >= rows ? kEnough : PF_Err_NONE;
}

int Convert() {
  PF_World* in = PF_World::New(64, 512, 32, PF_NewWorldFlag_CLEAR);
  PF_World* out = PF_World::New(64, 512, 8, PF_NewWorldFlag_CLEAR);
  const PF_PixelFloat colour = {1.0f, 0.2f, 0.4f, 0.6f};
  in->Fill(colour, nullptr);

  std::int32_t last_row = -1;
  const PF_ProgressInfo progress = {reinterpret_cast<std::uint64_t>(&last_row), nullptr, StopHalfWay};
  PF_Err code = PF_Err_NONE;
  try {
    out->CopyRectPossiblyDifferentBitdepth(in, {0, 0, 64, 512}, PF_Dither_OFF, 0, 0, &progress);
  } catch (const PF_Error& error) {
    code = error.code();  // the progress function's own code
  }
  PF_EffectWorld record;
  out->FillOutEffectWorld(&record);
  const auto* pixels = static_cast<const PF_Pixel8*>(record.data);
  const bool written = pixels[0].red == 51 && pixels[511 * record.row_bytes / 4].red == 0;
  delete in;
  delete out;
  std::printf("stopped with %d after row %d; the first half is written: %s\n", code, last_row + 1,
              written ? "yes" : "no");
  return code == kEnough && written ? 0 : 1;
}

}  // namespace

int main() {
  if (PFhost_Start(nullptr) != 0) return 1;
  const int result = Convert();
  return PFhost_Stop() != 0 ? 1 : result;
}
