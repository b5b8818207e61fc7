// After: wrong sub-rectangles, tests in the wrong order, state that a reference should not have taken over
// or should have cleared.
#include <cstring>
#include <new>

#include "unit/world/Support.h"

namespace {

using namespace pftest;

class Geometry : public testing::TestWithParam<std::int32_t> {
 protected:
  void SetUp() override { Host().Reset(); }
  std::int64_t Offset(const PF_World& world, const PF_World& part) {
    return static_cast<std::byte*>(part.data) - static_cast<std::byte*>(world.data);
  }
};
INSTANTIATE_TEST_SUITE_P(Depths, Geometry, testing::Values(8, 16, 32));

void ExpectRect(const M_LRect& actual, const M_LRect& expected) {
  EXPECT_EQ(std::memcmp(&actual, &expected, sizeof(M_LRect)), 0)
      << actual.left << " " << actual.top << " " << actual.right << " " << actual.bottom;
}

TEST_P(Geometry, ASubWorldSeesItsPartOfTheParent) {
  TestWorld pixels(GetParam(), 20, 10, 8);
  pixels.record()->extent = {3, 2, 18, 9};
  const WorldPtr parent = Reference(pixels);
  parent->context_value = 42;
  const WorldPtr part(PF_World::NewReference(parent.get(), M_LRect{4, 1, 19, 5}));
  EXPECT_EQ(Offset(*parent, *part), 4 * GetParam() / 2 + parent->row_bytes);
  EXPECT_EQ(part->width, 15);
  EXPECT_EQ(part->height, 4);
  EXPECT_EQ(part->row_bytes, parent->row_bytes);
  EXPECT_EQ(part->world_flags, parent->world_flags);
  EXPECT_EQ(part->context_value, 42u);
  EXPECT_TRUE(part->IsReference());
  ExpectRect(part->extent, {0, 1, 14, 4});
  // Outside the extent the formula comes out inverted and stays so.
  const WorldPtr outside(PF_World::NewReference(parent.get(), M_Rect{0, 0, 1, 2}));
  ExpectRect(outside->extent, {3, 2, 2, 1});
}

TEST_P(Geometry, ShrinkingTestsTheRectangleThenTheBitmap) {
  const WorldPtr world(PF_World::New(10, 8, GetParam(), 0));
  for (const M_LRect& bad : {M_LRect{-1, 0, 5, 5}, {0, 0, 11, 5}, {0, -1, 5, 5}, {0, 0, 5, 9}}) {
    ExpectThrows(3, "bad sub rect in ShrinkToSubRect", [&] { world->ShrinkToSubRect(bad); });
  }
  const WorldPtr bitmap(PF_World::New(10, 8, GetParam(), PF_NewWorldFlag_BITMAP));
  ExpectThrows(3, "bad sub rect in ShrinkToSubRect", [&] { bitmap->ShrinkToSubRect({0, 0, 11, 8}); });
  ExpectThrows(3, "Can't Shrink a PF_World which is backed by a BM_World", [&] {
    bitmap->ShrinkToSubRect({0, 0, 5, 5});
  });
  const void* first = world->data;
  world->ShrinkToSubRect({2, 1, 9, 7});
  world->ShrinkToSubRect({1, 1, 5, 5});
  EXPECT_EQ(static_cast<std::byte*>(world->data) - static_cast<const std::byte*>(first),
            3 * GetParam() / 2 + 2 * world->row_bytes);
  ExpectRect(world->extent, {0, 0, 4, 4});
  EXPECT_FALSE(world->IsReference());
  EXPECT_FALSE(world->SubWorldSafetyGutterHasBeenOverWritten()) << "the gutter stays that of the block";
  world->ShrinkToSubRect({4, 4, 4, 4});
  EXPECT_EQ(world->width, 0);
}

TEST_P(Geometry, AReversedSubWorldIsLeftAlone) {
  TestWorld pixels(GetParam(), 10, 8, 4);
  Random random(5);
  pixels.Fill(random, TestWorld::kRandom);
  const auto before = pixels.Pixels();
  const WorldPtr world = Reference(pixels);
  world->ShrinkToSubRect({6, 1, 2, 7});
  EXPECT_EQ(world->width, -4);
  world->Clear(nullptr);
  world->ClearExceptRect({0, 0, 1, 1});
  world->Fill(PF_PixelFloat{1, 1, 1, 1}, nullptr);
  world->FillAlpha();
  world->Premultiply();
  world->CopyWorld(world.get());
  EXPECT_EQ(pixels.Pixels(), before);
}

TEST_P(Geometry, ReReferenceTestsDepthThenRectangleThenSelf) {
  TestWorld pixels(GetParam(), 10, 8, 8);
  TestWorld other_depth(GetParam() == 8 ? 16 : 8, 10, 8);
  const WorldPtr world = Reference(pixels), wrong = Reference(other_depth);
  const M_LRect inside = {1, 2, 9, 8}, outside = {1, 2, 11, 8};
  ExpectThrows(3, "can't change bit depth in ReReference", [&] { wrong->ReReference(world.get(), outside); });
  ExpectThrows(3, "bad sub rect in ReReference", [&] { world->ReReference(world.get(), outside); });
  ExpectThrows(3, "can't ReReference self", [&] { world->ReReference(world.get(), inside); });

  const WorldPtr moved(PF_World::New(4, 4, GetParam(), 0));
  const void* frame = moved->frame;
  moved->context_value = 7;
  moved->reserved[1] = 7;
  moved->ReReference(world.get(), inside);
  EXPECT_EQ(Offset(*world, *moved), GetParam() / 2 + 2 * world->row_bytes);
  EXPECT_EQ(moved->row_bytes, world->row_bytes);
  EXPECT_EQ(moved->world_flags, world->world_flags);
  EXPECT_EQ(moved->width, 8);
  EXPECT_EQ(moved->context_value, 0u);
  EXPECT_EQ(moved->reserved[1], 0u);
  EXPECT_EQ(moved->self_check, moved.get());
  EXPECT_EQ(moved->alloc_width, 4);
  EXPECT_EQ(moved->frame, frame);
}

TEST_P(Geometry, RefersToLooksAtRowsNotColumns) {
  TestWorld pixels(GetParam(), 10, 8, 160);
  const WorldPtr whole = Reference(pixels);
  const WorldPtr part(PF_World::NewReference(whole.get(), M_LRect{2, 3, 6, 8}));
  EXPECT_TRUE(part->RefersTo(whole.get()));
  EXPECT_TRUE(whole->RefersTo(whole.get()));
  EXPECT_FALSE(whole->RefersTo(part.get())) << "larger than what it would lie in";
  const auto at = [&](std::int64_t offset, std::int32_t row_bytes) {
    auto* data = static_cast<std::byte*>(whole->data) + offset;
    return WorldPtr(PF_World::NewReference(data, 2, 1, GetParam(), row_bytes));
  };
  const std::int32_t row = whole->row_bytes;
  EXPECT_TRUE(at(row - 1, row)->RefersTo(whole.get())) << "in the slack behind a row";
  EXPECT_TRUE(at(8 * row - 1, row)->RefersTo(whole.get()));
  EXPECT_FALSE(at(8 * row, row)->RefersTo(whole.get()));
  EXPECT_FALSE(at(-1, row)->RefersTo(whole.get()));
  EXPECT_FALSE(at(0, row + 16)->RefersTo(whole.get()));
  whole->row_bytes = 0;
  EXPECT_FALSE(at(0, 0)->RefersTo(whole.get()));
  const WorldPtr owner(PF_World::New(4, 4, GetParam(), 0));
  EXPECT_FALSE(owner->RefersTo(owner.get()));
}

TEST_P(Geometry, FilledRecordsAndReferencesMadeFromThemAgree) {
  const WorldPtr world(PF_World::New(5, 4, GetParam(), 0));
  PF_LayerDef record;
  std::memset(&record, 0xFF, sizeof record);
  world->FillOutEffectWorld(&record);
  world->FillOutEffectWorld(nullptr);
  PF_LayerDef expected;
  std::memset(&expected, 0, sizeof expected);
  expected.world_flags = GetParam() == 8 ? 0 : GetParam() == 16 ? 0x01000001u : 0x02000000u;
  expected.data = world->data;
  expected.row_bytes = world->row_bytes;
  expected.width = 5;
  expected.height = 4;
  expected.extent = {0, 0, 5, 4};
  expected.world_object = world.get();
  EXPECT_EQ(std::memcmp(&record, &expected, sizeof record), 0) << "every byte that has no value is zero";
  const WorldPtr reference(PF_World::NewReference(&record));
  EXPECT_EQ(reference->Depth(), GetParam());
  EXPECT_EQ(reference->data, world->data);
  EXPECT_EQ(reference->world_flags, record.world_flags);
  EXPECT_TRUE(reference->IsReference());
}

TEST_P(Geometry, BitmapWorldsAreReferredToWholeOrInPart) {
  for (const bool without_pixels : {false, true}) {
    Host().bitmap_without_pixels = without_pixels;
    BM_World** bitmap = nullptr;
    ASSERT_EQ(BM_NewWorld(9, 6, GetParam() * 4, BM_CHANNELS_ARGB, &bitmap), 0);
    ASSERT_EQ(BM_LoadLockPixels(bitmap), 0);
    {
      const WorldPtr whole(PF_World::NewReference(bitmap));
      EXPECT_EQ(whole->data, BMp_GetPixBaseAddr(bitmap));
      EXPECT_EQ(whole->GetBMWorld(), bitmap);
      ExpectRect(whole->extent, {0, 0, 9, 6});
      const WorldPtr part(PF_World::NewReference(bitmap, M_Rect{1, 2, 6, 8}));
      EXPECT_EQ(Offset(*whole, *part), 2 * GetParam() / 2 + whole->row_bytes);
      EXPECT_EQ(part->width, 6);
      EXPECT_EQ(part->height, 5);
    }
    BM_UnlockPixels(bitmap);
    BM_DisposeWorld(bitmap);
  }
}

TEST_P(Geometry, OfferedStorageKeepsTheContextWhenAsked) {
  TestWorld pixels(GetParam(), 3, 3);
  const auto remake = [&]<class P>(P) {
    alignas(16) std::byte storage[sizeof(PF_WorldX<P>)] = {};
    auto* world = new (storage) PF_WorldX<P>(pixels.record(), false);
    world->context_value = 99;
    world->~PF_WorldX();
    world = new (storage) PF_WorldX<P>(pixels.record(), true);
    EXPECT_EQ(world->context_value, 99u);
    EXPECT_EQ(world->life_mark, 0u);
    const auto mark = static_cast<std::size_t>(reinterpret_cast<std::byte*>(&world->life_mark) - storage);
    world->~PF_WorldX();
    std::uint64_t left = 0;
    std::memcpy(&left, storage + mark, sizeof left);
    EXPECT_EQ(left, 0xDEADu);
    world = new (storage) PF_WorldX<P>(pixels.record(), false);
    EXPECT_EQ(world->context_value, 0u);
    world->~PF_WorldX();
    return 0;
  };
  pf::DispatchDepth(GetParam(), remake, [] { return 0; });
}

TEST(Factories, RefuseImpossibleDepthsByName) {
  Host().Reset();
  const std::string text = "Unexpected bitdepth in PF_World::NewReference()";
  std::uint32_t pixel = 0;
  ExpectThrows(3, text, [&] { PF_World::NewReference(&pixel, 1, 1, 24, 4); });
  ExpectThrows(3, text, [] { PF_World::NewReference(static_cast<BM_World**>(nullptr)); });
  BM_World fields = {&pixel, 4, 1, 1, 24};
  BM_World* handle = &fields;
  ExpectThrows(3, text, [&] { PF_World::NewReference(&handle); });
  ExpectThrows(3, text, [&] { PF_World::NewReference(&handle, M_Rect{0, 0, 1, 1}); });
  ForeignWorld foreign(24);
  PF_LayerDef record = {};
  record.world_object = &foreign;
  ExpectThrows(3, "Unexpected bitdepth in PF_World::NewReference(PF_EffectWorld)",
               [&] { PF_World::NewReference(&record); });
  ExpectThrows(3, "Unknown pixel format", [&] { foreign.FillOutEffectWorld(&record); });
  EXPECT_EQ(record.world_object, nullptr) << "nothing behind the depth has been filled";
}

TEST(Factories, ReferencesAreNullWithoutMemory) {
  TestWorld pixels(16, 3, 3);
  Host().Reset();
  Host().fail_allocation = 0;
  EXPECT_EQ(PF_World::NewReference(pixels.record()), nullptr);
  EXPECT_TRUE(Host().reports.empty());
}

#ifdef PF_CHECKED
TEST(Factories, TheCheckedBuildNamesRectanglesOutsideTheParent) {
  Host().Reset();
  TestWorld pixels(8, 4, 4);
  const WorldPtr parent = Reference(pixels);
  const std::int64_t live = Host().live_allocations;
  ExpectThrows(3, "bad sub rect in a sub-world of PF_WorldX", [&] {
    PF_World::NewReference(parent.get(), M_LRect{0, 0, 5, 4});
  });
  EXPECT_EQ(Host().live_allocations, live);
}
#endif

}  // namespace
