/// \file
/// Pixels, depths and the plain world record that crosses the plug-in boundary.
///
/// A depth counts bits per channel: 8, 16 or 32 (float). The size of a pixel in bytes is half its depth.
/// All records are little-endian with 8-byte pointers.
#ifndef PF_TYPES_H
#define PF_TYPES_H

#include <cstddef>
#include <cstdint>

#include "PF/PF_Errors.h"
#include "host/M.h"

struct BM_World;
class PF_World;

/// Four 8-bit channels, 0..255.
struct PF_EXPORT_TYPE PF_Pixel8 {
  std::uint8_t alpha, red, green, blue;
};
/// Four 16-bit channels, 0..32768. Values above 32768 can be stored but mean nothing.
struct PF_EXPORT_TYPE PF_Pixel16 {
  std::uint16_t alpha, red, green, blue;
};
/// Four float channels, 0..1 for the range that integers have; values outside are legal.
struct PF_EXPORT_TYPE PF_PixelFloat {
  float alpha, red, green, blue;
};
/// Four doubles: the accumulator of sums over many pixels.
struct PF_EXPORT_TYPE PF_PixelDouble {
  double alpha, red, green, blue;
};
static_assert(sizeof(PF_Pixel8) == 4 && sizeof(PF_Pixel16) == 8 && sizeof(PF_PixelFloat) == 16, "pixel layout");
static_assert(sizeof(PF_PixelDouble) == 32, "pixel layout");

/// Full value (white, opaque) of each depth.
enum : std::int32_t { PF_MAX_CHAN8 = 255, PF_MAX_CHAN16 = 32768 };

/// Largest and smallest width and height of a world that the library allocates.
enum : std::int32_t { PF_MIN_WORLD_SIZE = 1, PF_MAX_WORLD_SIZE = 30000 };

/// Bits of PF_LayerDef::world_flags.
enum : std::uint32_t {
  PF_WorldFlag_DEEP = 1u << 0,     ///< set exactly when the depth is 16
  PF_WorldFlag_FORMAT_SHIFT = 24,  ///< the format byte: 0 = 8-bit, 1 = 16-bit, 2 = float
  PF_WorldFlag_FORMAT_MASK = 0xFF000000u
};

/// Owner tag of a record allocated by PF_NewEffectWorld.
enum : std::uint32_t { PF_OwnerTag_ALLOCATED = 0xAAAABBBBu };

/// The plain world record. Pixel (x, y) starts at data + y * row_bytes + x * pixel size; rows run from
/// top to bottom. Readers of the depth use world_object or the format byte, never the deep bit.
struct PF_LayerDef {
  void* reserved0;             ///< null
  void* reserved1;             ///< null
  std::uint32_t world_flags;   ///< PF_WorldFlag_*
  void* data;                  ///< first byte of pixel (0, 0)
  std::int32_t row_bytes;      ///< bytes from one row to the next
  std::int32_t width;          ///< pixels per row
  std::int32_t height;         ///< rows
  M_LRect extent;              ///< the meaningful pixels
  void* platform_ref;          ///< the host's; the library leaves it null and never reads it
  std::uint32_t owner_tag;     ///< PF_OwnerTag_ALLOCATED, or 0
  PF_World* world_object;      ///< the object that backs the record, or null
  void* reserved2;             ///< null
  BM_World** bm_world;         ///< the host bitmap world that holds the pixels, or null
  std::uint64_t reserved3[2];  ///< zero
};
/// The plug-in side's name of the same record.
using PF_EffectWorld = PF_LayerDef;

static_assert(sizeof(PF_LayerDef) == 120, "record layout");
static_assert(offsetof(PF_LayerDef, world_flags) == 16 && offsetof(PF_LayerDef, data) == 24, "record layout");
static_assert(offsetof(PF_LayerDef, row_bytes) == 32 && offsetof(PF_LayerDef, width) == 36, "record layout");
static_assert(offsetof(PF_LayerDef, height) == 40 && offsetof(PF_LayerDef, extent) == 44, "record layout");
static_assert(offsetof(PF_LayerDef, platform_ref) == 64 && offsetof(PF_LayerDef, owner_tag) == 72, "record layout");
static_assert(offsetof(PF_LayerDef, world_object) == 80 && offsetof(PF_LayerDef, bm_world) == 96, "record layout");
static_assert(offsetof(PF_LayerDef, reserved2) == 88 && offsetof(PF_LayerDef, reserved3) == 104, "record layout");

/// Four-character code of a pixel format; its bytes, lowest address first, spell the code.
using PF_PixelFormat = std::uint32_t;
enum : PF_PixelFormat {
  PF_PixelFormat_ARGB32 = 0x62677261u,  ///< "argb", depth 8
  PF_PixelFormat_ARGB64 = 0x36317876u,  ///< "vx16", depth 16
  PF_PixelFormat_ARGB128 = 0x32337876u  ///< "vx32", depth 32 (float)
};

/// Any function, to be cast to its own type before a call.
using PF_AnyFunc = void (*)();

/// The record that the host hands a plug-in. The library reads two members.
struct PF_InData {
  std::uint64_t host_private0[4];
  /// Called with (effect_ref, current, final); returns a code, 517 = cancelled.
  PF_Err (*progress)(void* effect_ref, std::int32_t current, std::int32_t final);
  std::uint64_t host_private1[18];
  void* effect_ref;
};
static_assert(offsetof(PF_InData, progress) == 32 && offsetof(PF_InData, effect_ref) == 184, "record layout");

#endif
