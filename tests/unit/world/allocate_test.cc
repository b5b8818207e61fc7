// After: blocks of the wrong size or alignment, a gutter in the wrong place, leaks and wrong counts on any
// failure. The test host aborts when a frame is freed with another size than it was asked for.
#include "unit/world/Support.h"

namespace {

using namespace pftest;

class Allocate : public HostTest {};
INSTANTIATE_TEST_SUITE_P(Depths, Allocate, testing::Values(8, 16, 32));

std::byte* Data(const PF_World& world) { return static_cast<std::byte*>(world.data); }

TEST_P(Allocate, RowsArePaddedAlignedClearedAndFollowedByAWatchedGutter) {
  const std::int64_t pixel = GetParam() / 2;
  for (const auto& [width, shifted] : {std::pair{1, false}, {1, true}, {3, true}, {4, false}, {5, false}, {16, true}}) {
    Host().addresses_8_modulo_16 = shifted;
    const WorldPtr world(PF_World::New(width, 4, GetParam(), PF_NewWorldFlag_CLEAR));
    const std::int64_t row = world->row_bytes;
    EXPECT_EQ(row, (width * pixel + 15) / 16 * 16);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(world->data) % 16, 0u);
    EXPECT_EQ(Data(*world) - static_cast<std::byte*>(world->frame), shifted ? 8 : 0);
    EXPECT_EQ(world->self_check, world.get());
    EXPECT_FALSE(world->IsReference());
    EXPECT_EQ(PFp_LiveWorldCount(), 1);
    for (std::int64_t i = 0; i < 4 * width * pixel; ++i) {
      ASSERT_EQ(Data(*world)[i / (width * pixel) * row + i % (width * pixel)], std::byte{0}) << i;
    }
    std::byte* gutter = Data(*world) + 3 * row + width * pixel;
    EXPECT_FALSE(world->SubWorldSafetyGutterHasBeenOverWritten());
    for (std::int64_t i = -1; i < row - pixel; ++i) {
      const std::byte before = gutter[i];
      gutter[i] = std::byte{0x54};
      EXPECT_EQ(world->SubWorldSafetyGutterHasBeenOverWritten(), i >= 0) << "byte " << i << " width " << width;
      gutter[i] = before;
    }
  }
}

TEST_P(Allocate, BadSizesAreToldInTheUsersWordsAndRefused) {
  const auto text = [](std::int32_t w, std::int32_t h) {
    return "invalid image buffer size (" + std::to_string(w) + "x" + std::to_string(h) + ").";
  };
  for (const auto& [w, h] : {std::pair{0, 5}, {5, 0}, {30001, 5}, {5, 30001}, {-1, INT32_MIN}}) {
    ExpectThrows(PF_Err_BAD_PARAMETER, text(w, h), [w = w, h = h] { PF_World::New(w, h, GetParam(), 0); });
  }
  ExpectThrows(PF_Err_BAD_PARAMETER, text(INT32_MAX, 1), [] {
    PF_World::New(M_LRect{INT32_MIN, 0, INT32_MAX, 1}, GetParam(), 0);
  });
  Host().no_texts = true;
  ExpectThrows(PF_Err_BAD_PARAMETER, "", [] { PF_World::New(0, 0, GetParam(), 0); });
  // The depth comes first. The test host has no room for 14.4e9 bytes; a size cut to 32 bits would fit.
  ExpectThrows(PF_Err_REPORTED, "Unexpected bitdepth in PF_World::New()", [] { PF_World::New(0, 0, 24, 0); });
  ExpectThrows(PF_Err_OUT_OF_MEMORY, "480000 30000 30000 128", [] { PF_World::New(30000, 30000, 32, 0); });
  EXPECT_EQ(WorldPtr(PF_World::New(30000, 1, GetParam(), 0))->width, 30000);
}

TEST_P(Allocate, EveryFailureGivesItsCodeAndLeavesNothingBehind) {
  const std::string told =
      std::to_string((5 * GetParam() / 2 + 15) / 16 * 16) + " 5 7 " + std::to_string(GetParam() * 4);
  const auto with = [](std::int32_t flags) { return [flags] { PF_World::New(5, 7, GetParam(), flags); }; };
  for (std::int64_t number = 0; number < 2; ++number) {
    for (const std::int32_t flags : {0, std::int32_t{PF_NewWorldFlag_BITMAP}}) {
      Host().Reset();
      Host().fail_allocation = number;
      ExpectThrows(PF_Err_OUT_OF_MEMORY, told, with(flags));
    }
  }
  Host().Reset();
  for (const std::int32_t code : {77, 4}) {
    Host().answers["BM_LoadLockPixels"] = code;
    ExpectThrows(code, code == 4 ? told : "", with(PF_NewWorldFlag_BITMAP));
  }
}

TEST_P(Allocate, ABitmapBackedWorldUsesTheHostsPixelsAndGivesThemBack) {
  const WorldPtr world(PF_World::New(5, 7, GetParam(), PF_NewWorldFlag_BITMAP | PF_NewWorldFlag_CLEAR));
  ASSERT_TRUE(world->HasBMWorld());
  EXPECT_EQ(world->data, BMp_GetPixBaseAddr(world->GetBMWorld()));
  EXPECT_EQ((*world->bm_world)->bits_per_pixel, GetParam() * 4);
  EXPECT_EQ(Data(*world)[6 * world->row_bytes + 5 * GetParam() / 2 - 1], std::byte{0});
  EXPECT_FALSE(world->SubWorldSafetyGutterHasBeenOverWritten()) << "there is no gutter in a bitmap world";
  EXPECT_EQ(PFp_LiveWorldCount(), 1);
}

TEST_P(Allocate, ReleasedPixelsAreTheCallersToFree) {
  WorldPtr world(PF_World::New(9, 2, GetParam(), 0));
  void* frame = world->frame;
  const std::int64_t row = world->row_bytes, pixel = GetParam() / 2;
  world->ReleaseOwnership();
  world->ReleaseOwnership();
  EXPECT_TRUE(world->IsReference());
  world.reset();
  // Two rows, the gutter and the eight bytes for alignment.
  BM_FreeFrame(frame, static_cast<std::uint64_t>(row + 9 * pixel + (row - pixel) + 8));
}

TEST_P(Allocate, AWorldPointedElsewhereStillChecksAndFreesItsOwnBlock) {
  TestWorld other(GetParam(), 50, 4, 16);
  const WorldPtr reference = Reference(other);
  for (const std::int32_t flags : {0, std::int32_t{PF_NewWorldFlag_BITMAP}}) {
    const WorldPtr world(PF_World::New(3, 2, GetParam(), flags));
    std::byte* behind = Data(*world) + world->row_bytes + 3 * GetParam() / 2;
    world->ReReference(reference.get(), {1, 1, 40, 3});
    EXPECT_FALSE(world->IsReference()) << "it still owns its block";
    EXPECT_FALSE(world->SubWorldSafetyGutterHasBeenOverWritten());
    if (flags == 0) *behind = std::byte{0};
    EXPECT_EQ(world->SubWorldSafetyGutterHasBeenOverWritten(), flags == 0);
  }
}

}  // namespace
