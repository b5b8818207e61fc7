// After masks that cover the wrong place or lose a channel, and pictures whose colours suffer under a mask.
#include <gtest/gtest.h>

#include "Support.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::RunPf;
using pftest::WriteValues;

using Bytes = std::vector<std::uint8_t>;

Bytes BytesOf(const std::string& path, int channels) {
  const FilePicture picture = pftest::Read(path);
  EXPECT_EQ(picture.spec.nchannels, channels) << path;
  EXPECT_EQ(picture.spec.format, TypeDesc::UINT8) << path;
  return {picture.as<std::uint8_t>(), picture.as<std::uint8_t>() + picture.count()};
}

struct Masks : ::testing::Test {
  // Runs a verb with "-o out.png" and reads the result.
  Bytes Made(std::vector<std::string> arguments, int channels = 1) {
    arguments.insert(arguments.end(), {"-o", "out.png", "--overwrite"});
    const auto outcome = RunPf(folder, arguments);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    return BytesOf(folder / "out.png", channels);
  }
  Folder folder;
};

TEST_F(Masks, AreMadeFromChannelsAndFills) {
  WriteValues(folder / "p.png", 2, 1, 4, {1, 2, 3, 4, 5, 6, 7, 8});
  WriteValues(folder / "rgb.png", 2, 1, 3, {1, 2, 3, 5, 6, 7});
  EXPECT_EQ(Made({"mask", "make", "p.png"}), (Bytes{4, 8}));
  EXPECT_EQ(Made({"mask", "make", "p.png", "--channel", "green"}), (Bytes{2, 6}));
  EXPECT_EQ(Made({"mask", "make", "rgb.png", "--channel", "blue"}), (Bytes{3, 7}));
  EXPECT_EQ(RunPf(folder, {"mask", "make", "rgb.png", "-o", "no.png"}).status, 65);
  EXPECT_EQ(Made({"mask", "make", "--size", "3x2", "--value", "0.5", "--rect", "5x1+1+1"}),
            (Bytes{0, 0, 0, 0, 128, 128}));
  ASSERT_EQ(RunPf(folder, {"mask", "make", "--size", "1x1", "--depth", "16", "-o", "deep.png"}).status, 0);
  EXPECT_EQ(pftest::Read(folder / "deep.png").as<std::uint16_t>()[0], 65535);
}

TEST_F(Masks, AreInvertedFadedCombinedAndBlurred) {
  WriteValues(folder / "a.png", 4, 1, 1, {0, 100, 200, 255});
  WriteValues(folder / "b.png", 2, 1, 1, {255, 51});
  EXPECT_EQ(Made({"mask", "invert", "a.png"}), (Bytes{255, 155, 55, 0}));
  EXPECT_EQ(Made({"mask", "invert", "a.png", "--fade", "0.2"}), (Bytes{51, 31, 11, 0}));
  EXPECT_EQ(Made({"mask", "fade", "a.png", "--by", "0.5"}), (Bytes{0, 50, 100, 128}));
  EXPECT_EQ(Made({"mask", "combine", "a.png", "b.png", "--mode", "subtract", "--at", "2,0"}), (Bytes{0, 100, 0, 204}));
  EXPECT_EQ(Made({"mask", "combine", "a.png", "b.png", "--mode", "intersect", "--at", "1,0"}), (Bytes{0, 100, 40, 0}));
  EXPECT_EQ(Made({"mask", "combine", "a.png", "b.png", "--mode", "add", "--weights", "1:0.2"}),
            (Bytes{51, 106, 200, 255}));
  WriteValues(folder / "dot.png", 5, 1, 1, {0, 0, 255, 0, 0});
  // Columns have one row: beyond it coverage counts as none, so each scan across it takes two thirds away.
  EXPECT_EQ(Made({"mask", "blur", "dot.png", "--radius", "1", "--kind", "box"}), (Bytes{0, 28, 28, 28, 0}));
}

TEST_F(Masks, CutPicturesOutWithoutTouchingStraightColours) {
  WriteValues(folder / "m.png", 2, 1, 1, {255, 51});
  WriteValues(folder / "p.png", 3, 1, 3, {10, 20, 30, 40, 50, 60, 70, 80, 90});
  EXPECT_EQ(Made({"mask", "apply", "p.png", "m.png", "--at", "1,0"}, 4),
            (Bytes{10, 20, 30, 0, 40, 50, 60, 255, 70, 80, 90, 51}));
  EXPECT_EQ(Made({"mask", "apply", "p.png", "m.png", "--at", "-1,0"}, 4),
            (Bytes{10, 20, 30, 51, 40, 50, 60, 0, 70, 80, 90, 0}));
  // Premultiplied pixels fade as a whole, and those that stay keep their bits.
  WriteValues(folder / "pre.tif", 2, 1, 4, {100, 50, 25, 200, 100, 50, 25, 200}, false);
  ASSERT_EQ(RunPf(folder, {"mask", "apply", "pre.tif", "m.png", "-o", "out.tif"}).status, 0);
  EXPECT_EQ(BytesOf(folder / "out.tif", 4), (Bytes{100, 50, 25, 200, 20, 10, 5, 40}));
}

TEST_F(Masks, OfNonsenseAreRefused) {
  WriteValues(folder / "m.png", 2, 1, 1, {255, 51});
  const std::vector<std::vector<std::string>> refused = {
      {"mask", "make"},
      {"mask", "make", "m.png", "--size", "2x2"},
      {"mask", "make", "--size", "2x2", "--rect", "1x1+5+5"},
      {"mask", "make", "--size", "2x2", "--depth", "32"},
      {"mask", "fade", "m.png", "--by", "nan"},
      {"mask", "fade", "m.png", "--by", "-1"},
      {"mask", "fade", "m.png", "--by", "1e30"},
      {"mask", "blur", "m.png", "--radius", "-1"},
      {"mask", "blur", "m.png", "--radius", "40000"},
      {"mask", "combine", "m.png", "m.png", "--mode", "fold"},
      {"mask", "combine", "m.png", "m.png", "--mode", "add", "--weights", "2:1"},
      {"mask", "apply", "m.png", "m.png", "--at", "1"},
      {"mask", "apply", "m.png", "m.png", "--at", "1,x"},
      {"mask", "apply", "-", "-"},
      {"mask", "sharpen", "m.png"}};
  const auto before = folder.Names();
  for (std::vector<std::string> arguments : refused) {
    const std::string what = arguments[1] + " " + arguments.back();
    arguments.insert(arguments.end(), {"-o", "no.png"});
    const auto outcome = RunPf(folder, arguments);
    EXPECT_EQ(outcome.status, 64) << what << ": " << outcome.err;
    EXPECT_NE(outcome.err.find("; "), std::string::npos) << what;
    EXPECT_EQ(folder.Names(), before) << what;
  }
}

TEST_F(Masks, OfASequenceMeetTheirFrames) {
  for (int frame = 1; frame <= 3; ++frame) {
    const std::string number = std::to_string(frame);
    WriteValues(folder / ("p." + number + ".png"), 1, 1, 3, {9, 9, 9});
    WriteValues(folder / ("m." + number + ".png"), 1, 1, 1, {static_cast<std::uint8_t>(frame * 10)});
  }
  ASSERT_EQ(RunPf(folder, {"mask", "apply", "p.%d.png", "m.%d.png", "-o", "o.%d.png", "--frames", "1,3"}).status, 0);
  EXPECT_EQ(BytesOf(folder / "o.3.png", 4), (Bytes{9, 9, 9, 30}));
  EXPECT_EQ(folder.Names().count("o.2.png"), 0u);
  ASSERT_EQ(RunPf(folder, {"mask", "apply", "p.%d.png", "m.2.png", "-o", "q.%d.png"}).status, 0);
  EXPECT_EQ(BytesOf(folder / "q.3.png", 4), (Bytes{9, 9, 9, 20}));
}

}  // namespace
