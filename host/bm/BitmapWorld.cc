// Bitmap worlds. While no lock is held the pixels cannot be reached: a caller that forgot to lock sees a
// null address at once instead of a fault on another day.
#include <atomic>
#include <cstdint>
#include <limits>
#include <new>

#include "host/BM.h"
#include "u/Blocks.h"
#include "u/Version.h"

namespace pfhost {
namespace {

constexpr std::int32_t kLargestSide = 30000;
constexpr std::int64_t kRowAlignment = 16;

// The handle is the address of `self`.
struct BitmapBody {
  BM_World* self;
  BM_World world;
  void* block;
  std::int32_t channel_order;
  std::int32_t locks;
};

BitmapBody* BodyOf(BM_World** world) { return reinterpret_cast<BitmapBody*>(world); }

bool IsSide(std::int32_t side) { return side >= 1 && side <= kLargestSide; }

bool IsFormat(std::int32_t bits_per_pixel, std::int32_t channel_order) {
  return bits_per_pixel > 0 && bits_per_pixel % 8 == 0 && bits_per_pixel <= std::numeric_limits<std::int16_t>::max() &&
         (channel_order == BM_CHANNELS_ARGB || channel_order == BM_CHANNELS_BGRA);
}

std::int64_t RowBytes(std::int32_t width, std::int32_t bits_per_pixel) {
  const std::int64_t used = std::int64_t{width} * (bits_per_pixel / 8);
  return (used + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

BitmapBody* NewBody(const BM_World& world, std::int32_t channel_order) {
  const std::uint64_t size = static_cast<std::uint64_t>(world.row_bytes) * static_cast<std::uint64_t>(world.height);
  void* block = AllocateBlock(size, kPixelAlignment);
  if (block == nullptr) return nullptr;
  auto* body = new (std::nothrow) BitmapBody{nullptr, world, block, channel_order, 0};
  if (body == nullptr) {
    FreeBlock(block, kPixelAlignment);
    return nullptr;
  }
  body->self = &body->world;
  return body;
}

}  // namespace
}  // namespace pfhost

U_Err BM_CheckVersions(std::uint32_t, std::int32_t expected_version) {
  return pfhost::CheckVersion(expected_version, pfhost::kVersionBM);
}

U_Err BM_NewWorld(std::int32_t width, std::int32_t height, std::int32_t bits_per_pixel, std::int32_t channel_order,
                  BM_World*** out) {
  if (out == nullptr) return pfhost::ReportVerification("no place for the bitmap world's handle");
  *out = nullptr;
  if (!pfhost::IsSide(width) || !pfhost::IsSide(height) || !pfhost::IsFormat(bits_per_pixel, channel_order)) {
    return pfhost::ReportVerification("impossible size or format of a bitmap world");
  }
  const BM_World world = {nullptr, static_cast<std::int32_t>(pfhost::RowBytes(width, bits_per_pixel)),
                          static_cast<std::int16_t>(width), static_cast<std::int16_t>(height),
                          static_cast<std::int16_t>(bits_per_pixel)};
  pfhost::BitmapBody* body = pfhost::NewBody(world, channel_order);
  if (body == nullptr) return 4;
  *out = &body->self;
  return 0;
}

U_Err BM_LoadLockPixels(BM_World** world) {
  if (world == nullptr) return pfhost::ReportVerification("no bitmap world to lock");
  pfhost::BitmapBody* body = pfhost::BodyOf(world);
  ++body->locks;
  body->world.pixels = body->block;
  return 0;
}

void BM_UnlockPixels(BM_World** world) {
  if (world == nullptr) return;
  pfhost::BitmapBody* body = pfhost::BodyOf(world);
  if (body->locks == 0) {
    pfhost::ReportVerification("a bitmap world was unlocked more often than locked");
    return;
  }
  if (--body->locks == 0) body->world.pixels = nullptr;
}

void BM_DisposeWorld(BM_World** world) {
  if (world == nullptr) return;
  pfhost::FreeBlock(pfhost::BodyOf(world)->block, pfhost::kPixelAlignment);
  delete pfhost::BodyOf(world);
}

void* BMp_GetPixBaseAddr(BM_World** world) { return world != nullptr ? (*world)->pixels : nullptr; }

std::int32_t BM_GetChannelOrder(BM_World** world) {
  return world != nullptr ? pfhost::BodyOf(world)->channel_order : BM_CHANNELS_ARGB;
}
