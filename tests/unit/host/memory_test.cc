// After: blocks that are too small, badly aligned or never counted back; failures that are told to the
// wrong place; pixels of bitmap worlds that can be reached without a lock.
#include <cstring>

#include "Support.h"
#include "host/BM.h"
#include "host/LIST.h"
#include "host/M.h"
#include "host/vexcore.h"

namespace {

constexpr std::uint64_t kTooMuch = ~std::uint64_t{0} - 64;

bool Aligned(const void* address, std::uintptr_t alignment) {
  return reinterpret_cast<std::uintptr_t>(address) % alignment == 0;
}

TEST(Memory, EveryFamilyIsCountedAndCountedBack) {
  const std::int64_t before = PFhost_LiveAllocations();
  void* pointer = U_AllocatePtr(100, "pointer");
  void* nothing = U_AllocatePtr(0, "nothing");
  U_Handle handle = U_AllocateHandle(100, "handle");
  U_Handle clear = U_AllocateHandleClear(0, "clear");
  void* frame = BM_AllocateFrameQuiet(100);
  void* small = vexcore::AllocateSmallBlock(40);
  BM_World** world = nullptr;
  ASSERT_EQ(BM_NewWorld(3, 2, 32, BM_CHANNELS_ARGB, &world), 0);
  EXPECT_EQ(PFhost_LiveAllocations(), before + 7);
  for (const void* address : {pointer, nothing, *handle, *clear, frame, small}) ASSERT_NE(address, nullptr);
  EXPECT_TRUE(Aligned(pointer, 8) && Aligned(*handle, 8) && Aligned(frame, 8) && Aligned(small, 16));

  U_FreePtr(pointer);
  U_FreePtr(nothing);
  U_FreeHandle(handle);
  U_FreeHandle(clear);
  BM_FreeFrame(frame, 100);
  vexcore::FreeSmallBlock(small, 40);
  BM_DisposeWorld(world);
  U_FreePtr(nullptr);
  U_FreeHandle(nullptr);
  vexcore::FreeSmallBlock(nullptr, 8);
  EXPECT_EQ(PFhost_LiveAllocations(), before);
}

TEST(Memory, AHandleKeepsItsContentAndAddressWhileLocked) {
  U_Handle handle = U_AllocateHandleClear(1000, "handle");
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(U_GetHandleSize(handle), 1000u);
  auto* bytes = static_cast<unsigned char*>(U_LockHandle(handle));
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(bytes[i], 0);
  std::memset(bytes, 0x5A, 1000);
  EXPECT_EQ(U_LockHandle(handle), bytes);
  U_UnlockHandle(handle);
  EXPECT_EQ(*handle, bytes) << "one lock is left";
  U_UnlockHandle(handle);
  PFhost_ClearReports();
  U_UnlockHandle(handle);
  EXPECT_EQ(PFhost_ReportCount(), 1) << "one unlock too many";
  EXPECT_EQ(static_cast<unsigned char*>(*handle)[999], 0x5A);
  U_FreeHandle(handle);
}

TEST(Memory, ShortageIsReportedUnderTheNameGivenAndOnlyThen) {
  const std::int64_t before = PFhost_LiveAllocations();
  PFhost_ClearReports();
  Up_SetThreadLastError(0);
  EXPECT_EQ(U_AllocatePtr(kTooMuch, nullptr), nullptr);
  EXPECT_EQ(BM_AllocateFrameQuiet(kTooMuch), nullptr);
  EXPECT_EQ(vexcore::AllocateSmallBlock(kTooMuch), nullptr);
  EXPECT_EQ(PFhost_ReportCount(), 0);
  EXPECT_EQ(U_AllocatePtr(kTooMuch, "a pointer"), nullptr);
  EXPECT_EQ(U_AllocateHandleClear(kTooMuch, "a handle"), nullptr);
  BM_ReportWorldAllocationFailure(4, 4000, 1000, 700, 32);
  EXPECT_EQ(PFhost_ThreadLastError(), 4);
  PFhost_Report report;
  ASSERT_EQ(PFhost_GetReport(2, &report), 0);
  EXPECT_EQ(report.kind, PFHOST_REPORT_OUT_OF_MEMORY);
  EXPECT_EQ(report.identifier, 0u);
  EXPECT_NE(std::string(report.text).find("1000 x 700"), std::string::npos) << report.text;
  const std::vector<std::string> texts = pftest::ReportTexts();
  EXPECT_EQ(texts[0], "a pointer");
  EXPECT_EQ(texts[1], "a handle");
  EXPECT_EQ(PFhost_LiveAllocations(), before);
}

TEST(BitmapWorld, HoldsItsPixelsOfAnyFormatWhileLocked) {
  struct Format {
    std::int32_t width, height, bits, row_bytes;
  };
  for (const Format& f : {Format{1, 1, 8, 16}, Format{5, 3, 24, 16}, Format{5, 4, 32, 32}, Format{3, 2, 48, 32},
                          Format{3, 2, 64, 32}, Format{3, 2, 128, 48}, Format{3, 2, 256, 96}}) {
    SCOPED_TRACE(f.bits);
    BM_World** world = nullptr;
    ASSERT_EQ(BM_NewWorld(f.width, f.height, f.bits, BM_CHANNELS_BGRA, &world), 0);
    EXPECT_EQ((*world)->width, f.width);
    EXPECT_EQ((*world)->height, f.height);
    EXPECT_EQ((*world)->bits_per_pixel, f.bits);
    EXPECT_EQ((*world)->row_bytes, f.row_bytes);
    EXPECT_EQ(BM_GetChannelOrder(world), BM_CHANNELS_BGRA);
    EXPECT_EQ(BMp_GetPixBaseAddr(world), nullptr) << "not locked yet";
    ASSERT_EQ(BM_LoadLockPixels(world), 0);
    ASSERT_EQ(BM_LoadLockPixels(world), 0);
    void* pixels = BMp_GetPixBaseAddr(world);
    ASSERT_NE(pixels, nullptr);
    EXPECT_TRUE(Aligned(pixels, 16));
    std::memset(pixels, 0x11, static_cast<std::size_t>(f.row_bytes * f.height));
    BM_UnlockPixels(world);
    EXPECT_EQ((*world)->pixels, pixels) << "one lock is left";
    BM_UnlockPixels(world);
    EXPECT_EQ((*world)->pixels, nullptr);
    ASSERT_EQ(BM_LoadLockPixels(world), 0);
    EXPECT_EQ(static_cast<unsigned char*>(BMp_GetPixBaseAddr(world))[f.row_bytes * f.height - 1], 0x11);
    BM_DisposeWorld(world);
  }
}

TEST(BitmapWorld, RefusesWhatCannotBe) {
  PFhost_ClearReports();
  int refused = 0;
  for (auto [width, height, bits, order] : {std::tuple{0, 1, 32, 0}, {1, 30001, 32, 0}, {1, 1, 12, 0}, {1, 1, 32, 2}}) {
    BM_World** world = reinterpret_cast<BM_World**>(&refused);
    EXPECT_EQ(BM_NewWorld(width, height, bits, order, &world), 3);
    EXPECT_EQ(world, nullptr);
    EXPECT_EQ(PFhost_ReportCount(), ++refused);
  }
}

TEST(Geometry, EmptyRectanglesAddNothingAndIntersectToZeros) {
  const M_LRect a = {0, 0, 10, 10}, b = {5, -5, 20, 5}, apart = {10, 0, 12, 5}, reversed = {8, 0, 2, 9};
  M_LRect out = a;
  EXPECT_EQ(M_IntersectLRect(&out, &b, &out), 1);
  EXPECT_TRUE(out.left == 5 && out.top == 0 && out.right == 10 && out.bottom == 5);
  for (const M_LRect& other : {apart, reversed}) {
    out = b;
    EXPECT_EQ(M_IntersectLRect(&a, &other, &out), 0);
    EXPECT_TRUE(out.left == 0 && out.top == 0 && out.right == 0 && out.bottom == 0);
  }
  M_UnionLRect(&a, &b, &out);
  EXPECT_TRUE(out.left == 0 && out.top == -5 && out.right == 20 && out.bottom == 10);
  M_UnionLRect(&reversed, &b, &out);
  EXPECT_TRUE(out.left == 5 && out.top == -5 && out.right == 20 && out.bottom == 5);
}

TEST(List, KeepsItsOrderAndDoesNotGrowWhileLocked) {
  PFhost_ClearReports();
  LIST_List list = LIST_New();
  int items[40];
  for (int& item : items) ASSERT_EQ(LIST_Append(list, &item), 0);
  EXPECT_EQ(LIST_Count(list), 40);
  EXPECT_EQ(LIST_Get(list, 39), &items[39]);
  EXPECT_EQ(LIST_Get(list, 40), nullptr);
  EXPECT_EQ(LIST_Get(list, -1), nullptr);
  EXPECT_EQ(LIST_Lock(list), 0);
  EXPECT_EQ(LIST_Lock(list), 0);
  EXPECT_EQ(LIST_Unlock(list), 0);
  EXPECT_EQ(LIST_Append(list, items), 3);
  EXPECT_EQ(LIST_Unlock(list), 0);
  EXPECT_EQ(LIST_Append(list, items), 0);
  EXPECT_EQ(LIST_Unlock(list), 3);
  EXPECT_EQ(PFhost_ReportCount(), 2);
  LIST_Dispose(list);
  LIST_Dispose(nullptr);
}

}  // namespace
