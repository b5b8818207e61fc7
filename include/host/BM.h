/// \file
/// Host bitmap worlds (BM), version 31: host-owned pixels and the raw frames of the library's worlds.
///
/// Nothing here throws. Allocation may happen on any thread; a bitmap world is used by one thread at a
/// time unless its pixels are only read.
#ifndef HOST_BM_H
#define HOST_BM_H

#include <cstdint>

#include "host/Export.h"
#include "host/U.h"

/// A host bitmap world, reached through a handle `BM_World**`. The library reads the five fields and
/// nothing else.
struct BM_World {
  void* pixels;                 ///< pixel (0, 0), or null when only BMp_GetPixBaseAddr knows it
  std::int32_t row_bytes;       ///< bytes from one row to the next
  std::int16_t width;           ///< pixels per row
  std::int16_t height;          ///< rows
  std::int16_t bits_per_pixel;  ///< 32, 64 or 128 for worlds that the library can use
};

/// Channel order of 32-bit pixels, as bytes from the lowest address.
enum : std::int32_t { BM_CHANNELS_ARGB = 0, BM_CHANNELS_BGRA = 1 };

extern "C" {
/// See U_CheckVersions.
HOST_EXPORT U_Err BM_CheckVersions(std::uint32_t caller, std::int32_t expected_version);

/// Allocates a bitmap world.
/// \param width, height 1 to 30000 pixels.
/// \param bits_per_pixel any positive multiple of 8; the library asks for 32, 64 or 128.
/// \param channel_order BM_CHANNELS_*.
/// \param out receives the handle; null after a failure. Its owner releases it with BM_DisposeWorld.
/// \return 0, or 4 when memory is short (not reported; see BM_ReportWorldAllocationFailure).
HOST_EXPORT U_Err BM_NewWorld(std::int32_t width, std::int32_t height, std::int32_t bits_per_pixel,
                              std::int32_t channel_order, BM_World*** out);
/// Makes the pixels resident and pins them. Locks nest.
HOST_EXPORT U_Err BM_LoadLockPixels(BM_World** world);
/// Undoes one BM_LoadLockPixels.
HOST_EXPORT void BM_UnlockPixels(BM_World** world);
/// Releases the bitmap world and its pixels.
HOST_EXPORT void BM_DisposeWorld(BM_World** world);
/// Address of pixel (0, 0) of a locked world.
HOST_EXPORT void* BMp_GetPixBaseAddr(BM_World** world);
/// BM_CHANNELS_* of a 32-bit world.
HOST_EXPORT std::int32_t BM_GetChannelOrder(BM_World** world);

/// Allocates a raw frame of `size` bytes, aligned to at least 8 bytes, uninitialised. Never reports.
/// \return null when memory is short.
HOST_EXPORT void* BM_AllocateFrameQuiet(std::uint64_t size);
/// Releases a frame; `size` is the size it was requested with.
HOST_EXPORT void BM_FreeFrame(void* frame, std::uint64_t size);
/// Tells the user that the pixels of a world could not be allocated.
/// \param error 4.
HOST_EXPORT void BM_ReportWorldAllocationFailure(U_Err error, std::int32_t row_bytes, std::int32_t width,
                                                 std::int32_t height, std::int32_t bits_per_pixel);
}

#endif
