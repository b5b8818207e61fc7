// After: wrong sizes, stale addresses of moved handles, records changed by refused calls.
#include <cstring>

#include "unit/world/Support.h"

namespace {

using namespace pftest;

class Chunk : public HostTest {};

std::int32_t Code(const char* text) { return text[0] << 24 | text[1] << 16 | text[2] << 8 | text[3]; }

TEST_F(Chunk, ElementSizesFollowTheCodes) {
  const std::pair<const char*, int> rows[] = {{"FLT4", 4}, {"DBL8", 8}, {"LON4", 4}, {"SHT2", 2},
                                              {"FIX4", 4}, {"UFX4", 4}, {"CHR1", 1}, {"UBT1", 1},
                                              {"UST2", 2}, {"RBG ", 3}, {"RGB ", 1}, {"flt4", 1}};
  for (const auto& [code, size] : rows) {
    std::uint16_t out = 0;
    EXPECT_EQ(PF_ChunkDataSize(Code(code), &out), 0);
    EXPECT_EQ(out, size) << code;
  }
}

TEST_F(Chunk, IsZeroedUsableAtOnceAndFollowsItsHandle) {
  Host().move_handles = true;
  PF_Chunk chunk;
  std::memset(&chunk, 0x42, sizeof chunk);
  ASSERT_EQ(PF_NewChunk(3, 5, 2, Code("DBL8"), &chunk), 0);
  EXPECT_EQ(chunk.chunk_row_bytes, 48);
  EXPECT_EQ(U_GetHandleSize(chunk.chunk_handle), 240u);
  EXPECT_EQ(chunk.chunk_reserved[63], 0x42) << "the caller's bytes stay";
  EXPECT_EQ(static_cast<std::uint8_t*>(chunk.chunk_data)[239], 0);
  static_cast<std::uint8_t*>(chunk.chunk_data)[239] = 9;
  EXPECT_EQ(PFp_LiveChunkCount(), 1);
  EXPECT_EQ(PF_UnlockChunk(&chunk), 0);
  EXPECT_EQ(chunk.chunk_data, nullptr);
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(PF_LockChunk(&chunk), 0) << "a second lock is none";
    U_FreeHandle(U_AllocateHandle(1, nullptr));  // moves whatever is not locked
    EXPECT_EQ(chunk.chunk_data, *chunk.chunk_handle);
    EXPECT_EQ(static_cast<std::uint8_t*>(chunk.chunk_data)[239], 9);
  }
  EXPECT_EQ(PF_UnlockChunk(&chunk), 0);
  EXPECT_EQ(PF_UnlockChunk(&chunk), PF_Err_BAD_PARAMETER);
  const PF_Chunk zero = {};
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(PF_DisposeChunk(&chunk), 0) << "twice is harmless";
    EXPECT_EQ(std::memcmp(&chunk, &zero, sizeof chunk), 0);
  }
  EXPECT_EQ(PF_LockChunk(&chunk), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(Host().ReportTexts(), "invalid parameter\ninvalid parameter\n");
}

TEST_F(Chunk, BadSizesAreRefusedAndTheRecordStays) {
  PF_Chunk chunk, before;
  std::memset(&chunk, 0x42, sizeof chunk);
  before = chunk;
  const std::int32_t counts[][3] = {{0, 1, 1},  {1, 0, 1},         {1, 1, 0},       {-1, 1, 1},
                                    {1, 1, -1}, {INT32_MAX, 1, 2}, {1 << 28, 1, 1}, {INT32_MAX, 1, INT32_MAX}};
  for (const auto& [width, height, dimension] : counts) {
    Host().reports.clear();
    EXPECT_EQ(PF_NewChunk(width, height, dimension, Code("DBL8"), &chunk), PF_Err_BAD_PARAMETER);
    EXPECT_EQ(Host().ReportTexts(), "invalid parameter\n");
  }
  EXPECT_EQ(PF_NewChunk(1, 1, 1, 0, nullptr), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(std::memcmp(&chunk, &before, sizeof chunk), 0);
}

TEST_F(Chunk, WithoutATextOnlyWhatIsMissingStopsACall) {
  Host().no_texts = true;
  PF_Chunk chunk = {};
  for (const auto call : {&PF_LockChunk, &PF_UnlockChunk, &PF_DisposeChunk}) {
    EXPECT_EQ(call(nullptr), PF_Err_BAD_PARAMETER);
  }
  EXPECT_EQ(PF_LockChunk(&chunk), PF_Err_REPORTED);
  EXPECT_EQ(PF_ChunkDataSize(0, nullptr), PF_Err_REPORTED);
  EXPECT_EQ(PF_UnlockChunk(&chunk), 0);
  EXPECT_EQ(PF_NewChunk(-4, -4, 1, 0, &chunk), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(PF_NewChunk(0, 4, 1, 0, &chunk), 0);
  EXPECT_EQ(PF_DisposeChunk(&chunk), 0);
}

TEST_F(Chunk, OutOfMemoryIsToldByTheHostUnderItsName) {
  Host().fail_allocation = 0;
  PF_Chunk chunk;
  std::memset(&chunk, 0x42, sizeof chunk);
  EXPECT_EQ(PF_NewChunk(3, 5, 2, Code("UST2"), &chunk), PF_Err_OUT_OF_MEMORY);
  EXPECT_EQ(chunk.chunk_row_bytes, 12);
  EXPECT_EQ(chunk.chunk_handle, nullptr);
  EXPECT_EQ(chunk.chunk_data, nullptr);
  EXPECT_EQ(Host().ReportTexts(), "out of memory for channel chunk\n");
  EXPECT_EQ(Host().reports[0].kind, Report::kOutOfMemory);
}

}  // namespace
