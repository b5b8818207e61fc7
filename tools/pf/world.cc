#include "world.h"

#include <fmt/format.h>

#include <cstring>
#include <fstream>

#include "engine.h"
#include "failure.h"

namespace pftool {
namespace {

// What the system can hand out without swapping, in bytes; 0 when it does not tell.
std::uint64_t AvailableMemory() {
  std::ifstream file("/proc/meminfo");
  std::string key, unit;
  std::uint64_t value = 0;
  while (file >> key >> value && std::getline(file, unit)) {
    if (key == "MemAvailable:") return value * 1024;
  }
  return 0;
}

std::string Gigabytes(std::uint64_t bytes) { return fmt::format("{:.1f} GB", static_cast<double>(bytes) / 1e9); }

}  // namespace

std::uint64_t WorldBytes(int width, int height, int depth) {
  const std::uint64_t row = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(depth) / 2;
  return (row + 15) / 16 * 16 * static_cast<std::uint64_t>(height);
}

void RequireMemory(std::uint64_t bytes, const std::string& where) {
  const std::uint64_t available = AvailableMemory();
  if (available == 0 || bytes <= available) return;
  throw Failure(ExitCode::kOutOfMemory, "cannot hold", where,
                fmt::format("it needs {} of memory and {} are available", Gigabytes(bytes), Gigabytes(available)),
                "ask for a smaller size or depth, or close other programs");
}

WorldPtr NewWorld(int width, int height, int depth, const std::string& where) {
  WorldPtr world;
  Guarded("cannot hold", where, [&] { world.reset(PF_World::New(width, height, depth, 0)); });
  return world;
}

WorldPtr PartOf(PF_World* world, const M_LRect& part) {
  WorldPtr reference;
  Guarded("cannot use", "a part of a picture", [&] { reference.reset(PF_World::NewReference(world, part)); });
  if (!reference) Check(PF_Err_OUT_OF_MEMORY, "cannot use", "a part of a picture");
  return reference;
}

PF_LayerDef RecordOf(const PF_World& world) {
  PF_LayerDef record = {};
  world.FillOutEffectWorld(&record);
  return record;
}

void ConvertInto(const PF_World& src, PF_World* dst, int x, int y, bool dither, const std::string& where,
                 Reporter* reporter) {
  if (dither && src.Depth() == 32 && dst->Depth() == 8) {
    const WorldPtr between = NewWorld(src.width, src.height, 16, where);
    ConvertInto(src, between.get(), 0, 0, false, where, reporter);
    ConvertInto(*between, dst, x, y, true, where, reporter);
    return;
  }
  Guarded("cannot convert", where, [&] {
    dst->CopyRectPossiblyDifferentBitdepth(&src, BoundsOf(src), dither ? PF_Dither_ON : PF_Dither_OFF, x, y,
                                           reporter ? reporter->Info(src.height) : nullptr);
  });
}

WorldPtr Converted(WorldPtr world, int depth, bool dither, const std::string& where, Reporter* reporter) {
  if (world->Depth() == depth) return world;
  WorldPtr result = NewWorld(world->width, world->height, depth, where);
  ConvertInto(*world, result.get(), 0, 0, dither, where, reporter);
  return result;
}

void RepeatEdges(PF_World* world, int margin) {
  const auto pixel = static_cast<std::size_t>(world->PixelSize());
  const auto row_bytes = static_cast<std::ptrdiff_t>(world->row_bytes);
  auto* base = static_cast<unsigned char*>(world->data);
  const int last_column = world->width - 1 - margin, last_row = world->height - 1 - margin;
  for (int y = margin; y <= last_row; ++y) {
    unsigned char* row = base + y * row_bytes;
    for (int k = 0; k < margin; ++k) {
      std::memcpy(row + static_cast<std::size_t>(k) * pixel, row + static_cast<std::size_t>(margin) * pixel, pixel);
      std::memcpy(row + static_cast<std::size_t>(last_column + 1 + k) * pixel,
                  row + static_cast<std::size_t>(last_column) * pixel, pixel);
    }
  }
  const std::size_t bytes = static_cast<std::size_t>(world->width) * pixel;
  for (int k = 0; k < margin; ++k) {
    std::memcpy(base + k * row_bytes, base + margin * row_bytes, bytes);
    std::memcpy(base + (last_row + 1 + k) * row_bytes, base + last_row * row_bytes, bytes);
  }
}

}  // namespace pftool
