// After: records of failed allocations, worlds freed that are not the library's, reports that are missing
// or doubled.
#include <cstring>

#include "PF/PF_Lifecycle.h"
#include "unit/world/Support.h"

namespace {

using namespace pftest;

class EffectWorld : public HostTest {};

bool IsAll(const PF_EffectWorld& record, int byte) {
  PF_EffectWorld same;
  std::memset(&same, byte, sizeof same);
  return std::memcmp(&record, &same, sizeof same) == 0;
}

TEST_F(EffectWorld, IsAllocatedFilledTaggedAndReleased) {
  const std::pair<std::int32_t, std::uint32_t> rows[] = {{8, 0}, {16, 0x01000001u}, {32, 0x02000000u}};
  for (const auto& [depth, flags] : rows) {
    for (const std::int32_t bitmap : {0, 1}) {
      PF_EffectWorld record, expected;
      std::memset(&record, 0x66, sizeof record);
      std::memset(&expected, 0, sizeof expected);
      ASSERT_EQ(PF_NewEffectWorld(nullptr, 5, 3, depth, 1, bitmap, &record), 0);
      EXPECT_EQ(record.bm_world != nullptr, bitmap == 1);
      expected.world_flags = flags;
      expected.data = record.world_object->data;
      expected.row_bytes = record.world_object->row_bytes;
      expected.width = expected.extent.right = 5;
      expected.height = expected.extent.bottom = 3;
      expected.owner_tag = 0xAAAABBBBu;
      expected.world_object = record.world_object;
      expected.bm_world = record.world_object->bm_world;
      EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0) << "every byte without a value is zero";
      EXPECT_EQ(PFp_LiveWorldCount(), 1);
      EXPECT_EQ(PF_DisposeEffectWorld(nullptr, &record), 0);
      EXPECT_TRUE(IsAll(record, 0));
    }
  }
  EXPECT_TRUE(Host().reports.empty());
}

TEST_F(EffectWorld, AFailureLeavesTheRecordUntouched) {
  PF_EffectWorld record;
  std::memset(&record, 0x66, sizeof record);
  EXPECT_EQ(PF_NewEffectWorld(nullptr, 0, 0, 24, 0, 0, &record), PF_Err_REPORTED) << "the depth is found first";
  EXPECT_EQ(PF_NewEffectWorld(nullptr, 30001, 1, 8, 0, 0, &record), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_NewEffectWorld(nullptr, 1, 1, 8, 0, 0, nullptr), PF_Err_BAD_PARAMETER);
  for (std::int64_t number = 0; number < 2; ++number) {
    Host().Reset();
    Host().fail_allocation = number;
    EXPECT_EQ(PF_NewEffectWorld(nullptr, 9, 9, 16, 1, 0, &record), PF_Err_OUT_OF_MEMORY);
  }
  EXPECT_TRUE(IsAll(record, 0x66));
}

TEST_F(EffectWorld, OnlyWhatTheLibraryAllocatedIsDisposed) {
  PF_EffectWorld record, filled, without_object = {};
  ASSERT_EQ(PF_NewEffectWorld(nullptr, 5, 3, 8, 0, 0, &record), 0);
  record.world_object->FillOutEffectWorld(&filled);
  without_object.owner_tag = 0xAAAABBBBu;
  EXPECT_EQ(PF_DisposeEffectWorld(nullptr, nullptr), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_DisposeEffectWorld(nullptr, &filled), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_DisposeEffectWorld(nullptr, &without_object), PF_Err_BAD_PARAMETER);
  const std::string refusal = "effects modules should only dispose worlds they have allocated\n";
  EXPECT_EQ(Host().ReportTexts(), "invalid parameter\n" + refusal + refusal);
  EXPECT_EQ(Host().reports[1].line_or_kind, 8);
  EXPECT_EQ(PFp_LiveWorldCount(), 1) << "the pixels survive";
  // Without a text the disposal goes on, of null it cannot.
  Host().no_texts = true;
  EXPECT_EQ(PF_DisposeEffectWorld(nullptr, nullptr), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_DisposeEffectWorld(nullptr, &without_object), 0);
  EXPECT_EQ(PF_DisposeEffectWorld(nullptr, &filled), 0);
  EXPECT_TRUE(IsAll(filled, 0));
}

TEST_F(EffectWorld, PixelsAreGivenToTheirOwnTypeOnly) {
  TestWorld pixels(8, 2, 2);
  std::uint64_t other[2];
  PF_Pixel8* out8 = nullptr;
  auto* out16 = reinterpret_cast<PF_Pixel16*>(other);
  auto* out_float = reinterpret_cast<PF_PixelFloat*>(other);
  EXPECT_EQ(PF_GetPixelData8(pixels.record(), nullptr, &out8), 0);
  EXPECT_EQ(out8, pixels.record()->data);
  EXPECT_EQ(PF_GetPixelData8(pixels.record(), other, &out8), 0);
  EXPECT_EQ(static_cast<void*>(out8), other);
  EXPECT_EQ(PF_GetPixelDataFloat(pixels.record(), nullptr, &out_float), 0);
  EXPECT_EQ(out_float, nullptr);
  EXPECT_EQ(PF_GetPixelData8(nullptr, other, &out8), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(PF_GetPixelData16(nullptr, other, &out16), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(out16, nullptr);
  EXPECT_EQ(PF_GetPixelDataFloat(pixels.record(), other, nullptr), PF_Err_BAD_PARAMETER);
  EXPECT_EQ(Host().ReportTexts(),
            "bad parameter passed to PF_GetPixelData8\nbad parameter passed to PF_GetPixelData8\n"
            "bad parameter passed to PF_GetPixelDataFloat\n");
}

TEST_F(EffectWorld, DestinationsAreOpenedByWhatTheHostInstalled) {
  TestWorld pixels(8, 1, 1);
  using Destination = PF_Err (*)(PF_InData*, PF_EffectWorld*);
  const Destination mine = [](PF_InData*, PF_EffectWorld* record) -> PF_Err { return 1000 + record->width; };
  ASSERT_EQ(PF_SetOverrideFunc(45, reinterpret_cast<PF_AnyFunc>(mine)), 0);
  EXPECT_EQ(PF_OpenDestination(nullptr, pixels.record()), 1001);
  EXPECT_EQ(PF_CloseDestination(nullptr, pixels.record()), 0);
  ASSERT_EQ(PF_SetOverrideFunc(45, nullptr), 0);
  EXPECT_EQ(PF_OpenDestination(nullptr, pixels.record()), 0);
}

}  // namespace
