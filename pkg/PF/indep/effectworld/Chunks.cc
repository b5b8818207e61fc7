// Two-dimensional arrays of numbers in host handles. A chunk is locked while its chunk_data is set.
#include <cstring>
#include <limits>
#include <optional>

#include "PF/PF_Worlds.h"
#include "edge/Guard.h"
#include "lifecycle/Globals.h"
#include "report/Report.h"

namespace {

// QUIRK-6: unknown types count one byte, and the three-byte type is R, B, G.
constexpr std::uint16_t ElementSize(std::int32_t type) {
  switch (type) {
    case PF_ChunkType_DBL8:
      return 8;
    case PF_ChunkType_FLT4:
    case PF_ChunkType_LON4:
    case PF_ChunkType_FIX4:
    case PF_ChunkType_UFX4:
      return 4;
    case PF_ChunkType_RBG:
      return 3;
    case PF_ChunkType_SHT2:
    case PF_ChunkType_UST2:
      return 2;
    default:
      return 1;
  }
}

// Nothing when the bytes of a row leave 32 bits.
std::optional<std::int32_t> RowBytes(std::int32_t width, std::int32_t dimension, std::int32_t type) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  const std::int64_t elements = std::int64_t{width} * dimension;
  if (elements > kMost || elements < -kMost) return std::nullopt;
  const std::int64_t bytes = elements * ElementSize(type);
  if (bytes > kMost || bytes < -kMost) return std::nullopt;
  return static_cast<std::int32_t>(bytes);
}

// False when the host has no text for the refusal: then the caller's wish is followed where it can be.
bool Refused() { return pf::ReportCaller(pf::Site::kChunk, pf::Message::kInvalidParameter); }

PF_Err RefuseNull() {
  Refused();
  return PF_Err_BAD_PARAMETER;
}

// QUIRK-15: what is missing cannot be gone on with.
PF_Err RefuseMissing(const char* what) { return Refused() ? PF_Err_BAD_PARAMETER : pf::FailVerification(what); }

PF_Err AllocateData(PF_Chunk* chunk) {
  if (chunk->chunk_height < 0 || chunk->chunk_row_bytes < 0) return PF_Err_OUT_OF_MEMORY;
  const auto size =
      static_cast<std::uint64_t>(chunk->chunk_height) * static_cast<std::uint64_t>(chunk->chunk_row_bytes);
  chunk->chunk_handle = U_AllocateHandleClear(size, pf::LookUp(pf::Message::kChunkMemory));
  if (chunk->chunk_handle == nullptr) return PF_Err_OUT_OF_MEMORY;
  chunk->chunk_data = U_LockHandle(chunk->chunk_handle);
  pf::g_live_chunks.fetch_add(1, std::memory_order_relaxed);
  return PF_Err_NONE;
}

}  // namespace

PF_Err PF_ChunkDataSize(std::int32_t type, std::uint16_t* size) {
  return pf::Guard([&]() -> PF_Err {
    if (size == nullptr) return RefuseMissing("no place for the size of a chunk's element");
    *size = ElementSize(type);
    return PF_Err_NONE;
  });
}

PF_Err PF_NewChunk(std::int32_t width, std::int32_t height, std::int32_t dimension, std::int32_t type,
                   PF_Chunk* chunk) {
  return pf::Guard([&]() -> PF_Err {
    const auto row_bytes = RowBytes(width, dimension, type);
    if (chunk == nullptr || !row_bytes) return RefuseNull();
    if ((width <= 0 || height <= 0 || dimension <= 0) && Refused()) return PF_Err_BAD_PARAMETER;
    chunk->chunk_width = width;
    chunk->chunk_height = height;
    chunk->chunk_dimension = dimension;
    chunk->chunk_type = type;
    chunk->chunk_row_bytes = *row_bytes;
    chunk->chunk_handle = nullptr;
    chunk->chunk_data = nullptr;
    return AllocateData(chunk);
  });
}

PF_Err PF_LockChunk(PF_Chunk* chunk) {
  return pf::Guard([&]() -> PF_Err {
    if (chunk == nullptr) return RefuseNull();
    if (chunk->chunk_handle == nullptr) return RefuseMissing("a chunk without a handle cannot be locked");
    const bool locked = chunk->chunk_data != nullptr;
    chunk->chunk_data = locked ? *chunk->chunk_handle : U_LockHandle(chunk->chunk_handle);
    return PF_Err_NONE;
  });
}

PF_Err PF_UnlockChunk(PF_Chunk* chunk) {
  return pf::Guard([&]() -> PF_Err {
    if (chunk == nullptr) return RefuseNull();
    const bool locked = chunk->chunk_data != nullptr;
    if (!locked && Refused()) return PF_Err_BAD_PARAMETER;
    if (locked && chunk->chunk_handle != nullptr) U_UnlockHandle(chunk->chunk_handle);
    chunk->chunk_data = nullptr;
    return PF_Err_NONE;
  });
}

PF_Err PF_DisposeChunk(PF_Chunk* chunk) {
  return pf::Guard([&]() -> PF_Err {
    if (chunk == nullptr) return RefuseNull();
    if (chunk->chunk_handle != nullptr) {
      U_FreeHandle(chunk->chunk_handle);
      pf::g_live_chunks.fetch_sub(1, std::memory_order_relaxed);
    }
    std::memset(chunk, 0, sizeof(*chunk));
    return PF_Err_NONE;
  });
}

std::int64_t PFp_LiveChunkCount() { return pf::g_live_chunks.load(std::memory_order_relaxed); }
