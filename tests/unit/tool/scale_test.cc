// After scaled pictures with wrong pixels: edges that fade, colour that bleeds out of transparency, parts from
// the wrong place, depths that lose precision, frames that get another frame's name.
#include <gtest/gtest.h>

#include <fstream>

#include "Support.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::RunPf;
using pftest::ValuesOf;

void WriteGrey(const std::string& path, int width, int height, const std::vector<std::uint8_t>& values) {
  FilePicture picture(width, height, 1, TypeDesc::UINT8);
  std::copy(values.begin(), values.end(), picture.as<std::uint8_t>());
  Write(path, picture);
}

TEST(Scaling, EnlargesByInterpolationAndReducesByAverages) {
  const Folder folder;
  WriteGrey(folder / "in.png", 2, 1, {0, 200});
  ASSERT_EQ(RunPf(folder, {"scale", "in.png", "-o", "big.png", "--size", "4x1"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "big.png"), (std::vector<std::uint8_t>{0, 50, 150, 200}));
  WriteGrey(folder / "four.png", 4, 2, {0, 10, 100, 200, 20, 30, 100, 0});
  ASSERT_EQ(RunPf(folder, {"scale", "four.png", "-o", "small.png", "--percent", "50"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "small.png"), (std::vector<std::uint8_t>{15, 100}));
  ASSERT_EQ(RunPf(folder, {"scale", "four.png", "-o", "draft.png", "--percent", "50", "--quality", "draft"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "draft.png"), (std::vector<std::uint8_t>{30, 0}));
  ASSERT_EQ(RunPf(folder, {"scale", "four.png", "-o", "crop.png", "--crop", "2x1+1+1"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "crop.png"), (std::vector<std::uint8_t>{30, 100}));
  ASSERT_EQ(RunPf(folder, {"scale", "four.png", "-o", "fill.png", "--size", "2x2", "--fill"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "fill.png"), (std::vector<std::uint8_t>{10, 100, 30, 100}));
}

TEST(Scaling, KeepsEdgesOpaqueUnlessTheyAreToFade) {
  const Folder folder;
  for (const char* depth : {"8", "16", "32"}) {
    FilePicture picture(3, 3, 4, TypeDesc::UINT8);
    std::fill(picture.values.begin(), picture.values.end(), std::byte{255});
    picture.spec.attribute("oiio:UnassociatedAlpha", 1);
    Write(folder / "in.png", picture);
    ASSERT_EQ(
        RunPf(folder, {"scale", "in.png", "-o", "r.tif", "--size", "10x8", "--depth", depth, "--overwrite"}).status, 0);
    ASSERT_EQ(RunPf(folder, {"convert", "r.tif", "-o", "r.png", "--depth", "8", "--overwrite"}).status, 0);
    EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "r.png"), std::vector<std::uint8_t>(10 * 8 * 4, 255)) << depth;
  }
  ASSERT_EQ(RunPf(folder, {"scale", "in.png", "-o", "f.png", "--size", "6x6", "--edge", "fade"}).status, 0);
  const auto faded = ValuesOf<std::uint8_t>(folder / "f.png");
  EXPECT_LT(faded[3], 255);                    // the corner's alpha
  EXPECT_EQ(faded[(2 * 6 + 2) * 4 + 3], 255);  // the middle's
}

TEST(Scaling, WeighsStraightColoursByAlphaAndPremultipliedOnesNot) {
  const Folder folder;
  FilePicture picture(2, 1, 4, TypeDesc::UINT8);
  const std::uint8_t values[] = {200, 0, 0, 255, 0, 100, 0, 0};
  std::copy(values, values + 8, picture.as<std::uint8_t>());
  picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(folder / "in.tif", picture);
  ASSERT_EQ(RunPf(folder, {"scale", "in.tif", "-o", "s.tif", "--size", "1x1"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "s.tif"), (std::vector<std::uint8_t>{200, 0, 0, 128}));
  ASSERT_EQ(RunPf(folder, {"scale", "in.tif", "-o", "p.tif", "--size", "1x1", "--alpha", "premultiplied"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "p.tif"), (std::vector<std::uint8_t>{100, 50, 0, 128}));
}

TEST(Scaling, WorksAtTheDeeperDepth) {
  const Folder folder;
  WriteGrey(folder / "in.tif", 2, 1, {0, 255});
  ASSERT_EQ(RunPf(folder, {"scale", "in.tif", "-o", "f.tif", "--size", "8x1", "--depth", "32"}).status, 0);
  EXPECT_FLOAT_EQ(ValuesOf<float>(folder / "f.tif")[3], 0.375f);
  // A float picture on its way to 8 bits is averaged before its values are limited.
  FilePicture bright(2, 1, 1, TypeDesc::FLOAT);
  bright.as<float>()[0] = 1.5f;
  bright.as<float>()[1] = 0.0f;
  Write(folder / "bright.tif", bright);
  ASSERT_EQ(RunPf(folder, {"scale", "bright.tif", "-o", "b.tif", "--size", "1x1", "--depth", "8"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "b.tif"), (std::vector<std::uint8_t>{191}));
}

TEST(Scaling, DoesNotDependOnTheNumberOfThreads) {
  const Folder folder;
  FilePicture picture(211, 190, 4, TypeDesc::UINT8);
  FillRandom(&picture, 3);
  picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(folder / "in.png", picture);
  for (const char* size : {"333x400", "100x77"}) {
    for (const char* threads : {"1", "2", "5"}) {
      ASSERT_EQ(RunPf(folder, {"scale", "in.png", "-o", std::string(threads) + ".tif", "--size", size, "--threads",
                               threads, "--overwrite"})
                    .status,
                0);
    }
    EXPECT_TRUE(pftest::Read(folder / "2.tif").values == pftest::Read(folder / "1.tif").values) << size;
    EXPECT_TRUE(pftest::Read(folder / "5.tif").values == pftest::Read(folder / "1.tif").values) << size;
  }
}

TEST(Scaling, ReachesTheLimitsOfSize) {
  const Folder folder;
  WriteGrey(folder / "one.png", 1, 1, {77});
  ASSERT_EQ(RunPf(folder, {"scale", "one.png", "-o", "wide.png", "--size", "30000x1"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "wide.png"), std::vector<std::uint8_t>(30000, 77));
  ASSERT_EQ(RunPf(folder, {"scale", "wide.png", "-o", "back.png", "--size", "1x1"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "back.png"), (std::vector<std::uint8_t>{77}));
  FilePicture large(29999, 1, 1, TypeDesc::UINT8);
  Write(folder / "large.png", large);
  EXPECT_EQ(RunPf(folder, {"scale", "large.png", "-o", "larger.png", "--size", "30000x2"}).status, 0);
}

TEST(Sequences, KeepFramesAndNames) {
  const Folder folder;
  for (int frame : {1, 2, 3, 4, 5, 9}) {
    WriteGrey(folder / ("in.000" + std::to_string(frame) + ".png"), 1, 1, {static_cast<std::uint8_t>(frame)});
  }
  ASSERT_EQ(
      RunPf(folder, {"scale", "in.####.png", "-o", "out_%02d.png", "--percent", "100", "--frames", "1-5x2,9"}).status,
      0);
  std::set<std::string> made;
  for (const std::string& name : folder.Names()) {
    if (name.rfind("out_", 0) == 0) made.insert(name);
  }
  EXPECT_EQ(made, (std::set<std::string>{"out_01.png", "out_03.png", "out_05.png", "out_09.png"}));
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "out_09.png"), (std::vector<std::uint8_t>{9}));
  // Several files into a folder keep their names.
  std::filesystem::create_directory(folder.path() / "d");
  ASSERT_EQ(RunPf(folder, {"convert", "in.0001.png", "in.0002.png", "-o", "d"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "d/in.0002.png"), (std::vector<std::uint8_t>{2}));
}

TEST(Pipes, TakeAndGivePictures) {
  const Folder folder;
  WriteGrey(folder / "in.png", 2, 1, {1, 2});
  const auto outcome = RunPf(folder, {"convert", "-", "-o", "-", "--format", "tiff"}, "in.png");
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  std::ofstream(folder / "out.tif", std::ios::binary) << outcome.out;
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "out.tif"), (std::vector<std::uint8_t>{1, 2}));
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"in.png", "out.tif"}));
}

}  // namespace
