// After: a depth taken from the wrong place, records filled when they should be refused.
#include <cstring>

#include "unit/world/Support.h"

namespace {

using namespace pftest;

class RecordDepth : public HostTest {};

TEST_F(RecordDepth, IsTheObjectsElseTheFormatBytes) {
  PF_LayerDef record = {};
  // The deep bit says nothing; an unknown format counts as 8 after a report.
  const std::pair<std::uint32_t, std::int32_t> rows[] = {
      {0, 8}, {1, 8}, {0x01000000u, 16}, {0x01000001u, 16}, {0x02000001u, 32}, {0x03000001u, 8}};
  for (const auto& [flags, depth] : rows) {
    record.world_flags = flags;
    std::int32_t out = 0;
    EXPECT_EQ(PF_GetEffectWorldDepth(&record, &out), 0);
    EXPECT_EQ(out, depth) << flags;
  }
  ForeignWorld object(16);
  record.world_object = &object;
  EXPECT_EQ(PFp_WorldDepth(&record), 16);
  EXPECT_EQ(Host().ReportTexts(), "Unknown pixel format\n");
  EXPECT_EQ(Host().reports[0].kind, Report::kVerification);
  EXPECT_EQ(Host().reports[0].identifier >> 16, 0x25u);
  EXPECT_EQ(PFp_WorldDepth(nullptr), 8);
  std::int32_t out = 0;
  for (const bool no_texts : {false, true}) {
    Host().no_texts = no_texts;
    EXPECT_EQ(PF_GetEffectWorldDepth(nullptr, &out), PF_Err_BAD_PARAMETER);
  }
}

TEST_F(RecordDepth, IsSpelledAsAFormat) {
  const std::pair<std::int32_t, const char*> rows[] = {{8, "argb"}, {16, "vx16"}, {32, "vx32"}};
  PF_PixelFormat format = 0;
  for (const auto& [depth, code] : rows) {
    TestWorld pixels(depth, 1, 1);
    EXPECT_EQ(PFp_GetPixelFormat(pixels.record(), &format), 0);
    EXPECT_EQ(std::memcmp(&format, code, 4), 0) << code;
    PF_EffectWorld made = {};
    EXPECT_EQ(PFp_NewWorldOfPixelFormat(nullptr, 3, 2, 256, format, &made), 0);
    EXPECT_EQ(PFp_WorldDepth(&made), depth);
    EXPECT_EQ(*static_cast<std::uint8_t*>(made.data), 0) << "any flag clears";
    EXPECT_EQ(PF_DisposeEffectWorld(nullptr, &made), 0);
  }
  format = 5;
  ForeignWorld object(24);
  PF_LayerDef record = {};
  record.world_object = &object;
  EXPECT_EQ(PFp_GetPixelFormat(&record, &format), PF_Err_REPORTED);
  EXPECT_EQ(PFp_GetPixelFormat(nullptr, &format), PF_Err_REPORTED);
  EXPECT_EQ(PFp_NewWorldOfPixelFormat(nullptr, 3, 2, 0, 0x20202020u, &record), PF_Err_REPORTED);
  EXPECT_EQ(format, 5u);
  EXPECT_EQ(Host().ReportTexts(),
            "Unsupported pixel depth in PFp_GetPixelFormat()\nBad parameter to PFp_GetPixelFormat()\n"
            "Unsupported PF_PixelFormat\n");
}

TEST_F(RecordDepth, OfBitmapWorldsIsCheckedWhereARecordIsFilled) {
  std::uint8_t pixels[16];
  PF_EffectWorld record, expected;
  const std::pair<std::int16_t, std::uint32_t> rows[] = {
      {24, 0}, {48, 0}, {32, 0}, {64, 0x01000001u}, {128, 0x02000000u}};
  for (const auto& [bits, flags] : rows) {
    BM_World fields = {pixels, 160, 7, 5, bits};
    BM_World* handle = &fields;
    EXPECT_EQ(PF_DepthOfBMWorld(&handle), bits / 4);
    std::memset(&record, 0x77, sizeof record);
    const bool usable = bits % 32 == 0;
    std::memset(&expected, usable ? 0 : 0x77, sizeof expected);
    if (usable) {
      expected.world_flags = flags;
      expected.data = pixels;
      expected.row_bytes = 160;
      expected.width = 7;
      expected.height = 5;
      expected.bm_world = &handle;
    }
    Host().reports.clear();
    EXPECT_EQ(PF_EffectWorldFromBMWorld(&handle, &record), usable ? 0 : 3) << bits;
    EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0) << bits;
    EXPECT_EQ(Host().ReportTexts(), usable ? "" : "PF_Worlds can only be 128, 64 or 32 bits per pixel\n");
    EXPECT_EQ(PF_EffectWorldFromBMWorld(&handle, nullptr), PF_Err_BAD_PARAMETER);
  }
  EXPECT_EQ(PF_EffectWorldFromBMWorld(nullptr, &record), PF_Err_REPORTED);
}

}  // namespace
