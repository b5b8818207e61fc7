#include "world/Allocate.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "lifecycle/Globals.h"
#include "report/Report.h"

namespace pf {
namespace {

constexpr std::int64_t kRowAlignment = 16;
constexpr std::byte kGutter{0x55};
constexpr std::size_t kLongestMessage = 256;

std::int64_t PixelSize(std::int32_t depth) { return depth / 2; }

std::int32_t PaddedRowBytes(std::int32_t width, std::int32_t depth) {
  const std::int64_t bytes = width * PixelSize(depth);
  return static_cast<std::int32_t>((bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment);
}

// The raw frame of an allocated world: where its pixels and its gutter lie.
struct Frame {
  Frame(std::int64_t width, std::int64_t height, std::int64_t row_bytes, std::int64_t pixel_size)
      : gutter_offset((height - 1) * row_bytes + width * pixel_size), gutter_size(row_bytes - pixel_size) {}

  static Frame Of(const PF_World& world, std::int32_t depth) {
    return {world.alloc_width, world.alloc_height, world.alloc_row_bytes, PixelSize(depth)};
  }
  // Eight bytes more than needed, so that the first pixel can move up to a multiple of 16.
  std::uint64_t Size() const { return static_cast<std::uint64_t>(gutter_offset + gutter_size + 8); }
  static std::byte* FirstPixel(void* frame) {
    return static_cast<std::byte*>(frame) + (reinterpret_cast<std::uintptr_t>(frame) % kRowAlignment == 0 ? 0 : 8);
  }

  std::int64_t gutter_offset;  // from the first pixel
  std::int64_t gutter_size;
};

struct NumberText {
  explicit NumberText(std::int32_t number) { std::snprintf(digits, sizeof(digits), "%d", number); }
  char digits[16];
};

void CheckSize(std::int32_t width, std::int32_t height) {
  const auto good = [](std::int32_t v) { return v >= PF_MIN_WORLD_SIZE && v <= PF_MAX_WORLD_SIZE; };
  if (good(width) && good(height)) return;
  if (const char* text = U_ZLookup(kInvalidSizeText)) {
    char message[kLongestMessage + 1];
    U_SubString(text, NumberText(width).digits, NumberText(height).digits, message, sizeof(message));
    ReportText(Site::kWorldSize, message);
  }
  ThrowCode(PF_Err_BAD_PARAMETER);
}

void TakeFrame(PF_World& world, std::int32_t depth) {
  const Frame frame = Frame::Of(world, depth);
  world.frame = BM_AllocateFrameQuiet(frame.Size());
  if (world.frame == nullptr) ThrowNoMemoryForWorld(world.width, world.height, depth);
  std::byte* first = Frame::FirstPixel(world.frame);
  std::memset(first + frame.gutter_offset, static_cast<int>(kGutter), static_cast<std::size_t>(frame.gutter_size));
  world.data = first;
}

// A host service's own code passes through; short memory is told like that of a raw frame.
void CheckBitmap(U_Err code, const PF_World& world, std::int32_t depth) {
  if (code == PF_Err_OUT_OF_MEMORY) ThrowNoMemoryForWorld(world.width, world.height, depth);
  if (code != PF_Err_NONE) ThrowCode(code);
}

void TakeBitmap(PF_World& world, std::int32_t depth) {
  BM_World** bitmap = nullptr;
  const U_Err made = BM_NewWorld(world.width, world.height, depth * 4, BM_CHANNELS_ARGB, &bitmap);
  CheckBitmap(made == PF_Err_NONE && bitmap == nullptr ? PF_Err_OUT_OF_MEMORY : made, world, depth);
  const U_Err locked = BM_LoadLockPixels(bitmap);
  void* pixels = locked == PF_Err_NONE ? BMp_GetPixBaseAddr(bitmap) : nullptr;
  if (pixels == nullptr) {
    if (locked == PF_Err_NONE) BM_UnlockPixels(bitmap);
    BM_DisposeWorld(bitmap);
    CheckBitmap(locked == PF_Err_NONE ? PF_Err_OUT_OF_MEMORY : locked, world, depth);
  }
  world.frame = world.data = pixels;
  world.bm_world = world.alloc_bm_world = bitmap;
  world.row_bytes = world.alloc_row_bytes = (*bitmap)->row_bytes;
}

// Pixels only: the gutter and the gaps between rows stay.
void ClearPixels(const PF_World& world, std::int32_t depth) {
  const auto row = static_cast<std::size_t>(world.width * PixelSize(depth));
  auto* data = static_cast<std::byte*>(world.data);
  if (static_cast<std::size_t>(world.row_bytes) == row) {
    std::memset(data, 0, row * static_cast<std::size_t>(world.height));
    return;
  }
  for (std::int64_t y = 0; y < world.height; ++y) std::memset(data + y * world.row_bytes, 0, row);
}

}  // namespace

void AllocatePixels(PF_World& world, std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t flags) {
  CheckSize(width, height);
  world.width = width;
  world.height = height;
  world.extent = {0, 0, width, height};
  world.row_bytes = world.alloc_row_bytes = PaddedRowBytes(width, depth);
  world.alloc_width = static_cast<std::int16_t>(width);
  world.alloc_height = static_cast<std::int16_t>(height);
  if ((flags & PF_NewWorldFlag_BITMAP) != 0) {
    TakeBitmap(world, depth);
  } else {
    TakeFrame(world, depth);
  }
  g_live_worlds.fetch_add(1, std::memory_order_relaxed);
  if ((flags & PF_NewWorldFlag_CLEAR) != 0) ClearPixels(world, depth);
}

void ReleasePixels(PF_World& world, std::int32_t depth) noexcept {
  if (world.frame == nullptr) return;
  if (world.alloc_bm_world != nullptr) {
    BM_UnlockPixels(world.alloc_bm_world);
    BM_DisposeWorld(world.alloc_bm_world);
  } else {
    BM_FreeFrame(world.frame, Frame::Of(world, depth).Size());
  }
  world.frame = nullptr;
  g_live_worlds.fetch_sub(1, std::memory_order_relaxed);
}

bool GutterHasChanged(const PF_World& world, std::int32_t depth) {
  // QUIRK-17: only frames of the library's own have a gutter, and its place is the frame's.
  if (world.frame == nullptr || world.alloc_bm_world != nullptr) return false;
  const Frame frame = Frame::Of(world, depth);
  const std::byte* gutter = Frame::FirstPixel(world.frame) + frame.gutter_offset;
  return std::any_of(gutter, gutter + frame.gutter_size, [](std::byte b) { return b != kGutter; });
}

void ThrowNoMemoryForWorld(std::int32_t width, std::int32_t height, std::int32_t depth) {
  BM_ReportWorldAllocationFailure(PF_Err_OUT_OF_MEMORY, PaddedRowBytes(width, depth), width, height, depth * 4);
  ThrowOutOfMemory();
}

}  // namespace pf
