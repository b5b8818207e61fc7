/// \file
/// World objects, effect-world allocation, pixel access and chunks.
///
/// Rules common to the family
/// - A world is width x height pixels of one depth. One that the library allocates has width and height
///   1..30000, rows padded to a multiple of 16 bytes and a 16-byte aligned first pixel.
/// - A world object owns its pixels exactly when `frame` is not null. References never free anything and
///   must not outlive what they refer to.
/// - Rectangles are half open. An empty or reversed rectangle means nothing is done, except where said.
/// - Distinct worlds may be used by different threads at the same time; one world may be read by many.
/// - Members throw PF_Error: 3 after a verification report, 4 out of memory (told to the host), 516 bad
///   parameter (reported), or the code of a progress or abort function.
#ifndef PF_WORLDS_H
#define PF_WORLDS_H

#include <cstddef>
#include <cstdint>

#include "PF/PF_Export.h"
#include "PF/PF_Types.h"
#include "host/BM.h"
#include "host/U.h"

/// Flags of the allocating constructors.
enum : std::int32_t {
  PF_NewWorldFlag_CLEAR = 1 << 0,  ///< set every pixel to zero; without it the pixels are undefined
  PF_NewWorldFlag_DEEP = 1 << 1,   ///< set by callers for 16-bit worlds; not read
  PF_NewWorldFlag_BITMAP = 1 << 2  ///< keep the pixels in a host bitmap world
};

/// Whether a 16 to 8 bit conversion adds noise before it truncates.
enum PF_Dither : std::int32_t { PF_Dither_OFF = 0, PF_Dither_ON = 1 };

/// Which rows of a world a field copy takes.
enum PF_Field : std::int32_t {
  PF_Field_FRAME = 0,  ///< all rows
  PF_Field_UPPER = 1,  ///< rows 0, 2, 4 ...
  PF_Field_LOWER = 2   ///< rows 1, 3, 5 ...
};

/// What anything that holds pixels can tell.
class PF_EXPORT PF_PixelContainerBase {
 public:
  virtual ~PF_PixelContainerBase();
  /// Bits per channel: 8, 16 or 32.
  virtual std::int16_t Depth() const = 0;
  /// Bytes per pixel: the depth divided by 2.
  std::uint64_t PixelSize() const;
};

/// A world object. The state is public for reading; change it through the operations.
class PF_EXPORT PF_World : public PF_PixelContainerBase {
 public:
  /// Releases owned pixels: BM_UnlockPixels and BM_DisposeWorld, or BM_FreeFrame.
  ~PF_World() override;
  /// True when the world owns no pixels.
  virtual bool IsReference() const = 0;
  /// Sets all four channels to zero in `rect` (null: everywhere). The rectangle is clipped to the world.
  virtual void Clear(const M_LRect* rect) = 0;
  /// Sets to zero everything outside `rect`; an empty one clears all.
  virtual void ClearExceptRect(const M_LRect& rect) = 0;
  /// Fills `rect` (null: everywhere) with a float colour, converted to the depth by the rules of
  /// CopyRectPossiblyDifferentBitdepth.
  virtual void Fill(const PF_PixelFloat& colour, const M_LRect* rect) = 0;
  /// The same with a 16-bit colour.
  virtual void Fill(const PF_Pixel16& colour, const M_LRect* rect) = 0;
  /// Alpha becomes full (255, 32768, 1.0); colour stays.
  virtual void FillAlpha() = 0;
  /// Alpha becomes full minus alpha; 16-bit alpha above 32768 becomes 0. Colour stays.
  virtual void InvertAlpha() = 0;
  /// Colour becomes colour * alpha: 8-bit round(c a / 255) exactly, 16-bit (c a + 16383) >> 15, float in
  /// single precision.
  virtual void Premultiply() = 0;
  /// Colour becomes colour / alpha: integers (full * c + a / 2) / a limited to full, float c / a in single
  /// precision without a limit; 0 where alpha is 0 (float: not above 0).
  virtual void Unmultiply() = 0;
  /// Composites onto a matte: c becomes m + (c - m) * alpha, with m the matte's channel in the world's
  /// depth. Integers: c a + m (full - a), scaled down as by Premultiply.
  virtual void PremulColor(const PF_Pixel16& matte) = 0;
  /// Takes a matte out again: c becomes m + (c - m) / alpha, integers rounded to nearest (halves away
  /// from zero) and limited to 0..full; where alpha is 0 the pixel's colour becomes 0.
  virtual void UnmulColor(const PF_Pixel16& matte) = 0;
  /// Copies `rect` of a world of the same depth to (x, y), clipped to both. Overlapping areas of one
  /// buffer copy as if through a temporary. Unequal depths: 3 thrown.
  virtual void CopyRect(const PF_World* src, const M_LRect& rect, std::int32_t x, std::int32_t y) = 0;
  /// Copies with conversion of depth; `dither` matters from 16 to 8 bits only. Clipped like CopyRect.
  /// After rows 63, 127 ... of the copied area `progress` (may be null) is polled.
  ///
  /// Per channel: 8 to 16 (v * 8421504 + 33200) >> 16; 16 to 8 (v * 255 + 16384) >> 15, with dither
  /// (v * 255 + (r & 32767)) >> 15; to float v * (1/255f) or v * (1/32768f); from float colour limited
  /// to 0..full, NaN 0, then truncate(v * full + 0.5); alpha the same without limits, so it wraps.
  virtual void CopyRectPossiblyDifferentBitdepth(const PF_World* src, const M_LRect& rect, PF_Dither dither,
                                                 std::int32_t x, std::int32_t y, const PF_ProgressInfo* progress) = 0;
  /// Copies the rows of one field of `rect` of `src` to the same rows of this world at (rect.left,
  /// rect.top), with conversion of depth and no dither. The field counts rows of the source world.
  virtual void CopyRectPossiblyDifferentBitdepthWithField(const PF_World* src, const M_LRect& rect, PF_Field field) = 0;
  /// True when a byte behind the last pixel of an owned frame has been overwritten. False for references
  /// and for worlds in host bitmap worlds.
  virtual bool SubWorldSafetyGutterHasBeenOverWritten() const = 0;
  /// Gives the pixels away: the world becomes a reference and frees nothing.
  virtual void ReleaseOwnership() = 0;

  /// \name Factories
  /// They choose the class by depth. The caller deletes the object.
  /// @{

  /// \param flags PF_NewWorldFlag_*. \throws PF_Error 3 impossible depth (reported), 516 bad size
  ///   (reported), 4 out of memory.
  static PF_World* New(std::int32_t width, std::int32_t height, std::int32_t depth, std::int32_t flags);
  static PF_World* New(const M_LRect& rect, std::int32_t depth, std::int32_t flags);
  /// Same size and depth as `like`.
  static PF_World* NewMatchingWorld(const PF_World* like, std::int32_t flags);
  /// References. \return null when the object cannot be allocated. \throws PF_Error 3, reported, for a
  /// depth other than 8, 16 and 32; 516 for null.
  static PF_World* NewReference(PF_World* parent, const M_LRect& rect);
  static PF_World* NewReference(PF_World* parent, const M_Rect& rect);
  static PF_World* NewReference(BM_World** world);
  static PF_World* NewReference(BM_World** world, const M_Rect& rect);
  static PF_World* NewReference(PF_LayerDef* record);
  static PF_World* NewReference(void* pixels, std::int32_t width, std::int32_t height, std::int32_t depth,
                                std::int32_t row_bytes);
  /// @}

  /// Narrows the world to a part of itself; ownership does not change. The rectangle must lie inside the
  /// world (left < right is not demanded), and the world must not be in a host bitmap world; else 3.
  void ShrinkToSubRect(const M_LRect& rect);
  /// Makes this object refer to a part of `src`. Tests depth, rectangle and self, in this order; each
  /// failure throws 3. What the object owned stays owned.
  void ReReference(PF_World* src, const M_LRect& rect);
  /// Whether this reference lies in `other`'s rows (the column is not tested).
  bool RefersTo(const PF_World* other) const;
  /// CopyRect of the whole source to (0, 0).
  void CopyWorld(const PF_World* src);
  BM_World** GetBMWorld() const { return bm_world; }
  bool HasBMWorld() const { return bm_world != nullptr; }
  /// Fills a record that refers to this object. Null: nothing is done. \throws PF_Error 3 for an
  /// impossible depth.
  void FillOutEffectWorld(PF_LayerDef* record) const;

  /// World objects live in the host's small blocks; the plain form yields null when memory is short.
  static void* operator new(std::size_t size) noexcept;
  static void* operator new(std::size_t, void* place) noexcept { return place; }
  static void operator delete(void* block, std::size_t size) noexcept;
  static void operator delete(void*, void*) noexcept {}

  PF_World(const PF_World&) = delete;
  PF_World& operator=(const PF_World&) = delete;

  std::uint64_t reserved[2] = {};
  std::uint32_t world_flags = 0;  ///< from the parent or the record; 0 for fresh worlds
  void* data = nullptr;           ///< pixel (0, 0)
  std::int32_t row_bytes = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  M_LRect extent = {};              ///< meaningful part
  std::uint64_t life_mark = 0;      ///< 0 while alive, 0xDEAD afterwards
  PF_World* self_check;             ///< this
  std::uint64_t context_value = 0;  ///< opaque; a sub-world copies its parent's
  BM_World** bm_world = nullptr;    ///< host bitmap world that holds the pixels, or null
  std::int16_t alloc_width = 0;     ///< size of the block this world allocated
  std::int16_t alloc_height = 0;
  void* frame = nullptr;                ///< block this world owns, or null
  std::int32_t alloc_row_bytes = 0;     ///< row bytes of that block
  BM_World** alloc_bm_world = nullptr;  ///< the host bitmap world it owns instead of a raw frame, or null

 protected:
  PF_World() : self_check(this) {}
  /// \param keep_context true leaves context_value as the storage held it before.
  explicit PF_World(bool keep_context);
};

/// The concrete world of one pixel type: PF_Pixel8, PF_Pixel16 or PF_PixelFloat.
template <class P>
class PF_EXPORT PF_WorldX final : public PF_World {
 public:
  /// Allocates. \param flags PF_NewWorldFlag_*. \throws PF_Error 516 bad size (reported), 4 out of memory.
  PF_WorldX(std::int32_t width, std::int32_t height, std::int32_t flags);
  /// A reference to a part of `parent`; the rectangle must lie inside it (the caller's duty).
  PF_WorldX(PF_WorldX* parent, const M_LRect& rect);
  /// A reference to a locked host bitmap world of this depth, or to a part of it.
  PF_WorldX(BM_World** world, const M_Rect* rect);
  /// A reference to raw memory.
  PF_WorldX(P* pixels, std::int32_t width, std::int32_t height, std::int32_t row_bytes);
  /// A reference to what a record describes. \param keep_state true leaves context_value as the storage
  ///   held it (for placement over an earlier object); false zeroes the object first.
  PF_WorldX(PF_LayerDef* record, bool keep_state);
  ~PF_WorldX() override;

  std::int16_t Depth() const override;
  bool IsReference() const override;
  void Clear(const M_LRect* rect) override;
  void ClearExceptRect(const M_LRect& rect) override;
  void Fill(const PF_PixelFloat& colour, const M_LRect* rect) override;
  void Fill(const PF_Pixel16& colour, const M_LRect* rect) override;
  void FillAlpha() override;
  void InvertAlpha() override;
  void Premultiply() override;
  void Unmultiply() override;
  void PremulColor(const PF_Pixel16& matte) override;
  void UnmulColor(const PF_Pixel16& matte) override;
  void CopyRect(const PF_World* src, const M_LRect& rect, std::int32_t x, std::int32_t y) override;
  void CopyRectPossiblyDifferentBitdepth(const PF_World* src, const M_LRect& rect, PF_Dither dither, std::int32_t x,
                                         std::int32_t y, const PF_ProgressInfo* progress) override;
  void CopyRectPossiblyDifferentBitdepthWithField(const PF_World* src, const M_LRect& rect, PF_Field field) override;
  bool SubWorldSafetyGutterHasBeenOverWritten() const override;
  void ReleaseOwnership() override;
};

extern template class PF_WorldX<PF_Pixel8>;
extern template class PF_WorldX<PF_Pixel16>;
extern template class PF_WorldX<PF_PixelFloat>;

/// Element types of chunks: four characters, the first in the most significant byte.
enum : std::int32_t {
  PF_ChunkType_FLT4 = 0x464C5434,
  PF_ChunkType_DBL8 = 0x44424C38,
  PF_ChunkType_LON4 = 0x4C4F4E34,
  PF_ChunkType_SHT2 = 0x53485432,
  PF_ChunkType_FIX4 = 0x46495834,
  PF_ChunkType_UFX4 = 0x55465834,
  PF_ChunkType_CHR1 = 0x43485231,
  PF_ChunkType_UBT1 = 0x55425431,
  PF_ChunkType_UST2 = 0x55535432,
  PF_ChunkType_RBG = 0x52424720  ///< "RBG " with a space: three bytes
};

/// A two-dimensional array of numbers in a relocatable host handle.
struct PF_Chunk {
  std::uint8_t chunk_reserved[64];  ///< the caller's; zeroed by PF_DisposeChunk only
  std::int32_t chunk_width;         ///< elements per row, per component
  std::int32_t chunk_height;        ///< rows
  std::int32_t chunk_dimension;     ///< components per element
  std::int32_t chunk_row_bytes;     ///< width * dimension * element size
  std::int32_t chunk_type;          ///< PF_ChunkType_*; any other code counts one byte an element
  U_Handle chunk_handle;            ///< the data, or null
  void* chunk_data;                 ///< the data's address while locked, or null
};
static_assert(sizeof(PF_Chunk) == 104 && offsetof(PF_Chunk, chunk_width) == 64, "record layout");
static_assert(offsetof(PF_Chunk, chunk_height) == 68 && offsetof(PF_Chunk, chunk_dimension) == 72, "record layout");
static_assert(offsetof(PF_Chunk, chunk_row_bytes) == 76 && offsetof(PF_Chunk, chunk_type) == 80, "record layout");
static_assert(offsetof(PF_Chunk, chunk_handle) == 88 && offsetof(PF_Chunk, chunk_data) == 96, "record layout");

extern "C" {

/// \name Depth and format
/// @{

/// Depth of a record: its object's, else by the format byte. An unknown format byte is reported
/// ("Unknown pixel format") and counts as 8. A null record is reported and counts as 8.
PF_EXPORT std::int32_t PFp_WorldDepth(const PF_LayerDef* record);
/// The plug-in form. \return 0; 516 for a null pointer.
PF_EXPORT PF_Err PF_GetEffectWorldDepth(const PF_EffectWorld* record, std::int32_t* depth);
/// Bits per pixel divided by 4, unchecked (24 bits per pixel give 6). A null handle gives 0.
PF_EXPORT std::int16_t PF_DepthOfBMWorld(BM_World** world);
/// Stores the four-character code of a record's depth. \return 0, or 3 (reported) for a null pointer or
/// another depth.
PF_EXPORT PF_Err PFp_GetPixelFormat(const PF_EffectWorld* record, PF_PixelFormat* format);
/// @}

/// \name Effect worlds
/// `context` is the caller's; the library does not read it.
/// @{

/// Allocates a world and fills `record`. The caller releases it with PF_DisposeEffectWorld.
/// \param width, height 1..30000. \param depth 8, 16 or 32.
/// \param clear non-zero: all pixels zero. \param bitmap_backed non-zero: keep them in a host bitmap world.
/// \return 0, 516 bad size or null record, 4 out of memory, 3 impossible depth; after a failure the
///   record is untouched.
PF_EXPORT PF_Err PF_NewEffectWorld(void* context, std::int32_t width, std::int32_t height, std::int32_t depth,
                                   std::int32_t clear, std::int32_t bitmap_backed, PF_EffectWorld* record);
/// The same by pixel format; any non-zero `flags` clears. \return also 3, reported, for an unknown format.
PF_EXPORT PF_Err PFp_NewWorldOfPixelFormat(void* context, std::int32_t width, std::int32_t height, std::int32_t flags,
                                           PF_PixelFormat format, PF_EffectWorld* record);
/// Releases a world of PF_NewEffectWorld and zeroes the record.
/// \return 0, or 516 (reported) for null and for records that the library did not allocate, which are
///   left alone. When the host has no text for the latter, the disposal goes on.
PF_EXPORT PF_Err PF_DisposeEffectWorld(void* context, PF_EffectWorld* record);
/// Fills a record from a host bitmap world; the extent stays all zero.
/// \return 0, or 3 (reported) with the record untouched unless bits per pixel are 32, 64 or 128.
PF_EXPORT PF_Err PF_EffectWorldFromBMWorld(BM_World** world, PF_EffectWorld* record);
/// Typed access: `*out` becomes `pixels` when given, else the record's data. A record of another depth
/// yields null and 0. \return 0, or 516 (reported) for a null record or out pointer.
PF_EXPORT PF_Err PF_GetPixelData8(PF_EffectWorld* record, void* pixels, PF_Pixel8** out);
PF_EXPORT PF_Err PF_GetPixelData16(PF_EffectWorld* record, void* pixels, PF_Pixel16** out);
PF_EXPORT PF_Err PF_GetPixelDataFloat(PF_EffectWorld* record, void* pixels, PF_PixelFloat** out);
/// Replaceable entries 45 and 46; the library's own do nothing and return 0.
PF_EXPORT PF_Err PF_OpenDestination(PF_InData* in, PF_EffectWorld* record);
PF_EXPORT PF_Err PF_CloseDestination(PF_InData* in, PF_EffectWorld* record);
PF_EXPORT PF_Err PF_OpenDestination_Static(PF_InData* in, PF_EffectWorld* record);
PF_EXPORT PF_Err PF_CloseDestination_Static(PF_InData* in, PF_EffectWorld* record);
/// @}

/// \name Chunks
/// Failures are reported with "invalid parameter"; out of memory is reported by the host. When the host has
/// no text for the report, what can be done is done; a missing handle or out pointer is then reported as a
/// failed verification and gives 3.
/// @{

/// Size in bytes of one element. \return 0; 516 for a null pointer.
PF_EXPORT PF_Err PF_ChunkDataSize(std::int32_t type, std::uint16_t* size);
/// Allocates height x (width * dimension) zero elements; the chunk is locked once.
/// \return 0; 516 when a count is not positive, the record is null or a row exceeds 2^31 - 1 bytes, with
///   the record untouched; 4 out of memory, with the fields set and the handle null.
PF_EXPORT PF_Err PF_NewChunk(std::int32_t width, std::int32_t height, std::int32_t dimension, std::int32_t type,
                             PF_Chunk* chunk);
/// Sets chunk_data to the data's current address. \return 0; 516 without a handle.
PF_EXPORT PF_Err PF_LockChunk(PF_Chunk* chunk);
/// Sets chunk_data to null; the data may move from here on. \return 0; 516 when it is null already.
PF_EXPORT PF_Err PF_UnlockChunk(PF_Chunk* chunk);
/// Releases the data and zeroes all 104 bytes. \return 0; 516 for null. Twice is harmless.
PF_EXPORT PF_Err PF_DisposeChunk(PF_Chunk* chunk);
/// @}

/// \name Further operations
/// @{

/// Puts the dither sequence back to its start, so that dithered results can be repeated.
PF_EXPORT void PF_ResetDitherRandomIndex();
/// The routine behind PF_WorldX<PF_Pixel16>::PremulColor: composites the whole world onto a matte.
/// \return 0; 516 for a null pointer; 3 for a world of another depth.
PF_EXPORT PF_Err PF_PremulColor16(PF_World* world, const PF_Pixel16* matte);
/// An empty hook to set a breakpoint on.
PF_EXPORT void PF_WorldDebugger(const PF_World* world);
/// Worlds that own a block, and chunks that hold a handle, at this moment.
PF_EXPORT std::int64_t PFp_LiveWorldCount();
PF_EXPORT std::int64_t PFp_LiveChunkCount();
/// @}
}

#endif
