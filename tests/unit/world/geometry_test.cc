// After: wrong sub-rectangles, tests in the wrong order, state that a reference should not have taken over
// or should have cleared.
#include <cstring>
#include <new>
#include <sstream>

#include "unit/world/Support.h"

namespace {

using namespace pftest;

class Geometry : public HostTest {};
INSTANTIATE_TEST_SUITE_P(Depths, Geometry, testing::Values(8, 16, 32));

// Where and what a world is, in one text.
std::string TextOf(const PF_World& world, const void* origin) {
  std::ostringstream text;
  text << "at " << static_cast<std::byte*>(world.data) - static_cast<const std::byte*>(origin);
  const M_LRect& e = world.extent;
  for (const std::int32_t v : {world.width, world.height, e.left, e.top, e.right, e.bottom}) text << ' ' << v;
  return text.str();
}
std::string At(std::int64_t offset, const char* rest) {
  std::ostringstream text;
  text << "at " << offset << rest;
  return text.str();
}

TEST_P(Geometry, ASubWorldSeesItsPartOfTheParent) {
  TestWorld pixels(GetParam(), 20, 10, 8);
  pixels.record()->extent = {3, 2, 18, 9};
  const WorldPtr parent = Reference(pixels);
  parent->context_value = 42;
  const WorldPtr part(PF_World::NewReference(parent.get(), M_LRect{4, 1, 19, 5}));
  EXPECT_EQ(TextOf(*part, parent->data), At(4 * GetParam() / 2 + parent->row_bytes, " 15 4 0 1 14 4"));
  EXPECT_EQ(part->world_flags, parent->world_flags);
  EXPECT_EQ(part->context_value, 42u);
  EXPECT_TRUE(part->IsReference());
  const WorldPtr outside(PF_World::NewReference(parent.get(), M_Rect{0, 0, 1, 2}));
  EXPECT_EQ(TextOf(*outside, parent->data), At(0, " 2 1 3 2 2 1")) << "the extent comes out inverted and stays so";
#ifdef PF_CHECKED
  ExpectThrows(3, "bad sub rect in a sub-world of PF_WorldX", [&] {
    PF_World::NewReference(parent.get(), M_LRect{0, 0, 21, 4});
  });
#endif
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
  EXPECT_EQ(TextOf(*world, first), At(3 * GetParam() / 2 + 2 * world->row_bytes, " 4 4 0 0 4 4"));
  EXPECT_FALSE(world->IsReference());
  EXPECT_FALSE(world->SubWorldSafetyGutterHasBeenOverWritten()) << "the gutter stays that of the block";
  world->ShrinkToSubRect({4, 4, 4, 4});
  EXPECT_EQ(world->width, 0);
}

TEST_P(Geometry, NothingIsWrittenIntoAReversedWorld) {
  TestWorld pixels(GetParam(), 10, 8, 4);
  const auto before = pixels.Pixels();
  const WorldPtr world = Reference(pixels);
  world->ShrinkToSubRect({6, 1, 2, 7});
  EXPECT_EQ(world->width, -4);
  world->Clear(nullptr);
  world->ClearExceptRect({0, 0, 1, 1});
  world->Fill(PF_PixelFloat{1, 1, 1, 1}, nullptr);
  world->FillAlpha();
  world->CopyWorld(world.get());
  EXPECT_EQ(pixels.Pixels(), before);
}

TEST_P(Geometry, ReReferenceTestsDepthThenRectangleThenSelf) {
  TestWorld pixels(GetParam(), 10, 8, 8), other_depth(GetParam() == 8 ? 16 : 8, 10, 8);
  const WorldPtr world = Reference(pixels), wrong = Reference(other_depth);
  const M_LRect inside = {1, 2, 9, 8}, outside = {1, 2, 11, 8};
  ExpectThrows(3, "can't change bit depth in ReReference", [&] { wrong->ReReference(world.get(), outside); });
  ExpectThrows(3, "bad sub rect in ReReference", [&] { world->ReReference(world.get(), outside); });
  ExpectThrows(3, "can't ReReference self", [&] { world->ReReference(world.get(), inside); });

  const WorldPtr moved(PF_World::New(4, 4, GetParam(), 0));
  const void* frame = moved->frame;
  moved->context_value = moved->reserved[1] = 7;
  moved->bm_world = reinterpret_cast<BM_World**>(moved.get());
  moved->ReReference(world.get(), inside);
  EXPECT_EQ(TextOf(*moved, world->data), At(GetParam() / 2 + 2 * world->row_bytes, " 8 6 0 0 8 6"));
  EXPECT_EQ(moved->world_flags, world->world_flags);
  EXPECT_EQ(moved->context_value + moved->reserved[1], 0u);
  EXPECT_FALSE(moved->HasBMWorld());
  EXPECT_EQ(moved->self_check, moved.get());
  EXPECT_EQ(moved->alloc_width, 4);
  EXPECT_EQ(moved->frame, frame);
}

TEST_P(Geometry, RefersToLooksAtRowsNotColumns) {
  TestWorld pixels(GetParam(), 10, 8, 160);
  const WorldPtr whole = Reference(pixels), owner(PF_World::New(4, 4, GetParam(), 0));
  const std::int32_t row = whole->row_bytes;
  const auto refers = [&](std::int64_t offset, std::int32_t row_bytes, std::int32_t width, std::int32_t height) {
    auto* data = static_cast<std::byte*>(whole->data) + offset;
    return WorldPtr(PF_World::NewReference(data, width, height, GetParam(), row_bytes))->RefersTo(whole.get());
  };
  EXPECT_TRUE(refers(0, row, 10, 8));
  EXPECT_TRUE(refers(8 * row - 1, row, 2, 1)) << "in the slack behind the last row";
  EXPECT_FALSE(refers(8 * row, row, 2, 1));
  EXPECT_FALSE(refers(-1, row, 2, 1));
  EXPECT_FALSE(refers(0, row + 16, 2, 1));
  EXPECT_FALSE(refers(0, row, 11, 8));
  EXPECT_FALSE(refers(0, row, 10, 9));
  EXPECT_FALSE(owner->RefersTo(owner.get()));
  whole->row_bytes = 0;
  EXPECT_FALSE(refers(0, 0, 1, 1));
}

TEST_P(Geometry, BitmapWorldsAreReferredToWholeOrInPart) {
  for (const bool without_pixels : {false, true}) {
    Host().bitmap_without_pixels = without_pixels;
    BM_World** bitmap = nullptr;
    ASSERT_EQ(BM_NewWorld(9, 6, GetParam() * 4, BM_CHANNELS_ARGB, &bitmap), 0);
    void* pixels = BMp_GetPixBaseAddr(bitmap);
    EXPECT_EQ(TextOf(*WorldPtr(PF_World::NewReference(bitmap)), pixels), At(0, " 9 6 0 0 9 6"));
    const WorldPtr part(PF_World::NewReference(bitmap, M_Rect{1, 2, 6, 8}));
    EXPECT_EQ(TextOf(*part, pixels), At(2 * GetParam() / 2 + (*bitmap)->row_bytes, " 6 5 0 0 6 5"));
    EXPECT_EQ(part->GetBMWorld(), bitmap);
    BM_DisposeWorld(bitmap);
  }
}

TEST_P(Geometry, OfferedStorageKeepsTheContextWhenAskedAndTheMarkOfTheDead) {
  TestWorld pixels(GetParam(), 3, 3);
  const auto remake = [&]<class P>(P) {
    alignas(16) std::byte storage[sizeof(PF_WorldX<P>)] = {};
    auto* world = new (storage) PF_WorldX<P>(pixels.record(), false);
    const auto mark = reinterpret_cast<std::byte*>(&world->life_mark) - storage;
    world->context_value = 99;
    world->~PF_WorldX();
    std::uint64_t left = 0;
    std::memcpy(&left, storage + mark, sizeof left);
    EXPECT_EQ(left, 0xDEADu);
    for (const bool keep : {true, false}) {
      world = new (storage) PF_WorldX<P>(pixels.record(), keep);
      EXPECT_EQ(world->context_value, keep ? 99u : 0u);
      EXPECT_EQ(world->life_mark, 0u);
      world->~PF_WorldX();
    }
    return 0;
  };
  pf::DispatchDepth(GetParam(), remake, [] { return 0; });
}

TEST_F(Geometry, FactoriesRefuseImpossibleDepthsByNameAndYieldNullWithoutMemory) {
  const std::string text = "Unexpected bitdepth in PF_World::NewReference()";
  std::uint32_t pixel = 0;
  BM_World fields = {&pixel, 4, 1, 1, 24};
  BM_World* handle = &fields;
  ExpectThrows(3, text, [&] { PF_World::NewReference(&pixel, 1, 1, 24, 4); });
  ExpectThrows(3, text, [&] { PF_World::NewReference(&handle); });
  ExpectThrows(3, text, [&] { PF_World::NewReference(&handle, M_Rect{0, 0, 1, 1}); });
  ForeignWorld foreign(24);
  PF_LayerDef record = {};
  record.world_object = &foreign;
  ExpectThrows(3, "Unexpected bitdepth in PF_World::NewReference(PF_EffectWorld)",
               [&] { PF_World::NewReference(&record); });
  ExpectThrows(3, "Unknown pixel format", [&] { foreign.FillOutEffectWorld(&record); });
  EXPECT_EQ(record.world_object, nullptr) << "nothing behind the depth has been filled";
  Host().fail_allocation = 0;
  EXPECT_EQ(PF_World::NewReference(&record), nullptr);
}

}  // namespace
