// After sequence names and numbers that are read as something else than their writer meant.
#include <gtest/gtest.h>

#include <fstream>

#include "Support.h"
#include "failure.h"
#include "numbers.h"
#include "pattern.h"
#include "plan.h"
#include "scale_plan.h"

namespace {

using pftool::Failure;

// Runs `work`, which must refuse with exit code 64, and returns the reason.
template <class Work>
std::string Refusal(Work work) {
  try {
    work();
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), pftool::ExitCode::kUsage) << failure.what();
    return failure.why();
  }
  return "accepted";
}

TEST(FrameLists, AreReadInOrder) {
  EXPECT_EQ(pftool::ParseFrames("7"), (std::vector<int>{7}));
  EXPECT_EQ(pftool::ParseFrames("1-10x4,150,3"), (std::vector<int>{1, 5, 9, 150, 3}));
  EXPECT_EQ(pftool::ParseFrames("0-2"), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(pftool::ParseFrames("5-6x10"), (std::vector<int>{5}));
}

TEST(FrameLists, NameWhatTheyDoNotUnderstand) {
  const std::pair<const char*, const char*> rows[] = {
      {"", "ends too early"},         {"1-", "ends too early"},    {"1,", "ends too early"},
      {"1-5y2", "'y' at position 4"}, {"-3", "'-' at position 1"}, {"1 - 5", "' ' at position 2"},
      {"5-1", "ends before"},         {"1-5x0", "step of 0"},      {"1-4,3", "frame 3 is named twice"},
      {"1x2", "'x' at position 2"},   {"123456789", "end at"},     {"0-99999999", "more than 1000000"}};
  for (const auto& [text, why] : rows) {
    EXPECT_NE(Refusal([list = text] { pftool::ParseFrames(list); }).find(why), std::string::npos) << text;
  }
}

TEST(NamePatterns, TakePrintfAndHashes) {
  const std::pair<const char*, const char*> rows[] = {
      {"a/shot.%04d.exr", "a/shot.0012.exr"}, {"shot.####.exr", "shot.0012.exr"}, {"#.png", "12.png"}, {"x%d", "x12"},
      {"50%%_%02d.png", "50%_12.png"},        {"a#b/%03d.tif", "a#b/012.tif"}};
  for (const auto& [text, name] : rows) {
    const auto pattern = pftool::ParsePattern(text, nullptr);
    ASSERT_TRUE(pattern) << text;
    EXPECT_EQ(pattern->Name(12), name);
  }
  std::string plain;
  EXPECT_FALSE(pftool::ParsePattern("a%b/100%%.png", &plain));
  EXPECT_EQ(plain, "a%b/100%.png");
}

TEST(NamePatterns, NameWhatTheyDoNotUnderstand) {
  const std::pair<const char*, const char*> rows[] = {
      {"a.%s.png", "'s' at position 4"}, {"a.%4d.png", "'4' at position 4"}, {"a.%00d", "'0' at position 5"},
      {"100%", "ends too early"},        {"%d_%d.png", "two places"},        {"##.#.png", "two places"},
      {"##########.png", "nine digits"}};
  for (const auto& [text, why] : rows) {
    EXPECT_NE(Refusal([name = text] { pftool::ParsePattern(name, nullptr); }).find(why), std::string::npos) << text;
  }
}

TEST(NamePatterns, FindOnlyTheirOwnFramesOnDisk) {
  const pftest::Folder folder;
  for (const char* name :
       {"s.0010.png", "s.0002.png", "s.2.png", "s.12345.png", "s.00x1.png", "s.0003.jpg", "t.0004.png"}) {
    std::ofstream(folder / name) << "x";
  }
  const auto padded = pftool::ParsePattern(folder / "s.####.png", nullptr);
  EXPECT_EQ(pftool::FindFrames(*padded), (std::vector<int>{2, 10, 12345}));
  const auto bare = pftool::ParsePattern(folder / "s.%d.png", nullptr);
  EXPECT_EQ(pftool::FindFrames(*bare), (std::vector<int>{2, 12345}));
}

TEST(Numbers, RefuseWhatIsNoSize) {
  for (const char* text : {"", "x", "5", "0x5", "5x0", "-1x5", "NaNx5", "1e12x5", "30001x5", "5x30001", "5x5x5", "5 x5",
                           "99999999999999999999x1"}) {
    EXPECT_NE(Refusal([&] { pftool::ParseSize("--size", text); }), "accepted") << text;
  }
  const auto size = pftool::ParseSize("--size", "30000x1");
  EXPECT_EQ(std::pair(size.width, size.height), std::pair(30000, 1));
  EXPECT_EQ(pftool::ParseSize("--size", "x7").width, 0);
  for (const char* text : {"", "0", "-0", "-1", "NaN", "inf", "1e999", "5%", "abc", "1 2"}) {
    EXPECT_NE(Refusal([&] { pftool::ParsePercent(text); }), "accepted") << text;
  }
  EXPECT_NE(Refusal([&] { pftool::ParseLimit("--max", "-1"); }), "accepted");
  EXPECT_NE(Refusal([&] { pftool::ParseCrop("--crop", "5x5+1"); }), "accepted");
}

TEST(ScalePlans, GiveSizesAndSourceParts) {
  struct Row {
    const char* size;
    double percent;
    const char* crop;
    pftool::Aspect aspect;
    int width, height;
    M_LRect source;
  };
  using enum pftool::Aspect;
  const Row rows[] = {
      {"100x100", 0, "", kStretch, 100, 100, {0, 0, 400, 300}},
      {"100x100", 0, "", kFit, 100, 75, {0, 0, 400, 300}},
      {"800x300", 0, "", kFit, 400, 300, {0, 0, 400, 300}},
      {"100x100", 0, "", kFill, 100, 100, {50, 0, 350, 300}},
      {"100x50", 0, "", kFill, 100, 50, {0, 50, 400, 250}},
      {"200x", 0, "", kStretch, 200, 150, {0, 0, 400, 300}},
      {"x30", 0, "", kStretch, 40, 30, {0, 0, 400, 300}},
      {"", 0.01, "", kStretch, 1, 1, {0, 0, 400, 300}},
      {"", 12.5, "", kStretch, 50, 38, {0, 0, 400, 300}},
      {"", 0, "20x10+380+290", kStretch, 20, 10, {380, 290, 400, 300}},
      {"", 200, "20x10+3+4", kStretch, 40, 20, {3, 4, 23, 14}},
      {"5x5", 0, "20x10+3+4", kFill, 5, 5, {8, 4, 18, 14}},
  };
  for (const Row& row : rows) {
    pftool::ScaleRequest request;
    if (*row.size) request.size = pftool::ParseSize("--size", row.size);
    if (row.percent > 0) request.percent = row.percent;
    if (*row.crop) request.crop = pftool::ParseCrop("--crop", row.crop);
    request.aspect = row.aspect;
    const pftool::ScalePlan plan = pftool::PlanScale(400, 300, request, "'p'");
    EXPECT_EQ(std::pair(plan.width, plan.height), std::pair(row.width, row.height)) << row.size << row.crop;
    EXPECT_EQ(std::memcmp(&plan.source, &row.source, sizeof(M_LRect)), 0)
        << plan.source.left << " " << plan.source.top << " " << plan.source.right << " " << plan.source.bottom;
  }
}

TEST(ScalePlans, RefusePartsOutsideAndGiantResults) {
  pftool::ScaleRequest request;
  request.crop = pftool::ParseCrop("--crop", "10x10+391+0");
  EXPECT_NE(Refusal([&] { pftool::PlanScale(400, 300, request, "'p'"); }).find("reach beyond"), std::string::npos);
  request.crop.reset();
  request.percent = 1e12;
  EXPECT_NE(Refusal([&] { pftool::PlanScale(400, 300, request, "'p'"); }).find("limit is 30000"), std::string::npos);
}

}  // namespace
