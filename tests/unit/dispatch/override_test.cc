// After: an entry that forwards elsewhere, a replacement that sticks after reset, texts under the wrong
// number.
#include <gtest/gtest.h>

#include <array>

#include "PF/PF.h"
#include "support/TestHost.h"
#include "support/Worlds.h"

namespace {

using pftest::Host;

PF_Err AnswerGeneric(std::int32_t, void*, PF_IterateGenericFunc) { return 1001; }
PF_Err AnswerCopy(const PF_ProgressInfo*, const PF_LayerDef*, PF_LayerDef*, const M_LRect*, const M_LRect*) {
  return 1002;
}

PF_AnyFunc Any(auto function) { return reinterpret_cast<PF_AnyFunc>(function); }

TEST(Overrides, AReplacementIsCalledAndNullRestoresTheLibrarysOwn) {
  ASSERT_EQ(PF_SetOverrideFunc(53, Any(&AnswerGeneric)), 0);
  EXPECT_EQ(PF_IterateGeneric(3, nullptr, nullptr), 1001);
  EXPECT_EQ(PF_IterateGeneric_Static(0, nullptr, [](void*, std::int32_t, std::int32_t, std::int32_t) { return 1; }), 0);
  ASSERT_EQ(PF_SetOverrideFunc(53, nullptr), 0);
  EXPECT_EQ(PF_GetOverrideFunc(53), Any(&PF_IterateGeneric_Static));
}

TEST(Overrides, BirthPutsTheLibrarysOwnBackEverywhere) {
  Host().Reset();
  PF_SetOverrideFunc(53, Any(&AnswerGeneric));
  ASSERT_EQ(PF_Birth(), 0);
  EXPECT_EQ(PF_GetOverrideFunc(53), Any(&PF_IterateGeneric_Static));
  EXPECT_EQ(PF_Death(), 0);
}

TEST(Overrides, IndicesOutsideTheTableAreRefusedWithoutChange) {
  for (const std::int32_t index : {0, -1, 118, 1 << 30}) {
    EXPECT_EQ(PF_SetOverrideFunc(index, Any(&AnswerGeneric)), 3) << index;
    EXPECT_EQ(PF_GetOverrideFunc(index), nullptr) << index;
  }
  EXPECT_EQ(PF_SetOverrideFunc(117, Any(&AnswerGeneric)), 0) << "free entries are part of the table";
  EXPECT_EQ(PF_GetOverrideFunc(117), Any(&AnswerGeneric));
  EXPECT_EQ(PF_SetOverrideFunc(117, nullptr), 0);
}

TEST(Overrides, TheNamedEntriesStandAtTheirIndices) {
  const std::pair<int, const char*> named[] = {{42, "PF_Iterate"},          {43, "PF_IterateOrigin"},
                                               {44, "PF_IterateLUT"},       {45, "PF_OpenDestination"},
                                               {46, "PF_CloseDestination"}, {53, "PF_IterateGeneric"}};
  for (const auto& [index, name] : named) EXPECT_STREQ(PF_GetOverrideName(index), name);
}

TEST(Overrides, CopiesOfBitmapWorldsGoThroughTheSlotAndTheirStaticFormsDoNot) {
  Host().Reset();
  BM_World **src = nullptr, **dst = nullptr;
  ASSERT_EQ(BM_NewWorld(4, 4, 32, 0, &src), 0);
  ASSERT_EQ(BM_NewWorld(2, 2, 32, 0, &dst), 0);
  for (const int index : {1, 2, 3}) PF_SetOverrideFunc(index, Any(&AnswerCopy));
  using Copy = PF_Err (*)(const PF_ProgressInfo*, BM_World**, BM_World**, const M_LRect*, const M_LRect*);
  for (const Copy copy : {&PF_WorldCopy, &PF_WorldCopy_HQ, &PF_WorldCopy_HQ_Straight, &PF_WorldCopy_HQ_Premul}) {
    EXPECT_EQ(copy(nullptr, src, dst, nullptr, nullptr), 1002);
  }
  for (const Copy copy : {&PF_WorldCopy_Static, &PF_WorldCopy_HQ_Static, &PF_WorldCopy_HQ_Straight_Static}) {
    EXPECT_EQ(copy(nullptr, src, dst, nullptr, nullptr), 0);
  }
  for (const int index : {1, 2, 3}) PF_SetOverrideFunc(index, nullptr);
  BM_DisposeWorld(src);
  BM_DisposeWorld(dst);
}

TEST(Overrides, CallbackSelectorsAndTheObsoleteCallAnswerAsStated) {
  Host().Reset();
  PF_AnyFunc function = nullptr;
  EXPECT_EQ(PF_GetCallbackAddr(42, &function), 0);
  EXPECT_EQ(function, Any(&PF_Iterate_Static));
  EXPECT_EQ(PF_GetCallbackAddr(999, &function), 515);
  EXPECT_EQ(function, nullptr);
  EXPECT_EQ(PF_OverrideStdFuncs(nullptr), 515);
  EXPECT_EQ(PF_GetCallbackAddr(42, nullptr), 516);
  EXPECT_EQ(Host().ReportTexts(), "invalid callback selector\nObsolete routine\ninvalid parameter\n");
  for (const pftest::Report& report : Host().reports) EXPECT_EQ(report.identifier >> 16, 0x25u);
}

TEST(Texts, TheTwentyTextsStandUnderTheirNumbers) {
  const char* const texts[] = {"invalid callback selector",
                               "invalid parameter",
                               "effects modules should only dispose worlds they have allocated",
                               "image plane buffer",
                               "bad parameter passed to effect callback",
                               "problem opening plug-in acceleration module.",
                               "unimplemented blending mode.",
                               "noise table.",
                               "Unable to guess alpha channel.",
                               "Obsolete routine",
                               "memory for blurring",
                               "memory for mask buffer",
                               "damaged mask buffer",
                               "can#{rsquo}t unlock PF Mask Buffer",
                               "gaussian weight array",
                               "blending scratch buffer",
                               "can#{rsquo}t copy different channel worlds",
                               "out of memory for channel chunk",
                               "image buffer",
                               "effect plug-in passed invalid world to get_platform_refs"};
  ASSERT_EQ(PF_G_zref->count, 20);
  for (int i = 0; i < 20; ++i) {
    char keyed[128];
    std::snprintf(keyed, sizeof keyed, "$$$/VX/PF/LStr/%04d=%s", i, texts[i]);
    EXPECT_STREQ(PF_G_zref->keyed_texts[i], keyed);
  }
}

}  // namespace
