// After: a host without a colour engine whose calls crash, answer something else than that there is none, or touch
// their outputs; and operations that need colours and go on without them.
#include <memory>

#include "PF/PF_ColorSettings.h"
#include "PF/PF_Worlds.h"
#include "Support.h"
#include "host/COR.h"

namespace {

TEST(NoEngine, EveryCallTellsSoAndTouchesNothing) {
  COR_XCE_ProfileRef profile;
  COR_XCE_ProfilePool* pool = nullptr;
  COR_XCE_Transform transform = nullptr;
  COR_XCE_ProfileInfo info = {};
  _t_XCE_ID id = {};
  std::uint64_t size = 7;
  float pixel[4] = {1, 2, 3, 4};
  const U_Err answers[] = {
      COR_GetStandardProfile(XCE_Profile_SRGB, &profile),
      COR_GetDefaultWorkingProfile(&profile),
      COR_GetDisplayProfile(&id, &profile),
      COR_GetSystemDisplayProfile(&profile),
      COR_NewProfileFromICC("icc", 3, &profile),
      COR_NewProfileFromFile("no.icc", &profile),
      COR_GetProfileICC(nullptr, nullptr, 0, &size),
      COR_LinearizeProfile(nullptr, &profile),
      COR_DescribeProfile(nullptr, &info),
      COR_NewProfilePool(&pool),
      COR_RegisterProfile(pool, &profile, &id),
      COR_FindProfile(pool, &id, &profile),
      COR_NewTransform(nullptr, nullptr, nullptr, &transform),
      COR_ApplyTransform(transform, XCE_Layout_FLOAT, pixel, XCE_Layout_FLOAT, pixel, 1),
      PFhost_SetDisplayProfile(nullptr, nullptr),
  };
  for (std::size_t i = 0; i < std::size(answers); ++i) EXPECT_EQ(answers[i], XCE_ERR_ABSENT) << "call " << i;
  EXPECT_TRUE(profile == nullptr && pool == nullptr && transform == nullptr);
  EXPECT_EQ(size, 7u);
  EXPECT_EQ(pixel[3], 4);
}

TEST(NoEngine, TheLibraryGivesTheCodeAndReportsNothing) {
  const pftest::RunningHost host(2);
  PF_EffectWorld world;
  ASSERT_EQ(PF_NewEffectWorld(nullptr, 4, 4, 8, 1, 0, &world), 0);
  const std::unique_ptr<PF_World> object(PF_World::NewReference(&world));
  EXPECT_EQ(
      PF_ConvertProfileToProfile(XCE_Profile_SRGB, XCE_Profile_REC2020, object.get(), object.get(), true, nullptr),
      XCE_ERR_ABSENT);
  EXPECT_EQ(PFhost_ReportCount(), 0);
  EXPECT_EQ(PF_DisposeEffectWorld(nullptr, &world), 0);
}

}  // namespace
