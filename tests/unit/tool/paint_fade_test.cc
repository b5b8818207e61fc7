// After strokes that break at an edge or spoil what they do not touch, and fades with the wrong share.
#include <gtest/gtest.h>

#include <fstream>

#include "Support.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::RunPf;
using pftest::ValuesOf;

FilePicture Flat(int width, int height, const std::vector<std::uint8_t>& pixel) {
  FilePicture picture(width, height, static_cast<int>(pixel.size()), TypeDesc::UINT8);
  for (std::size_t i = 0; i < picture.count(); ++i) picture.as<std::uint8_t>()[i] = pixel[i % pixel.size()];
  if (pixel.size() == 4) picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  return picture;
}

struct Painting : ::testing::Test {
  pftest::Outcome Paint(const std::string& strokes, const std::string& picture = "in.png") {
    std::ofstream(folder / "s.txt") << strokes;
    return RunPf(folder, {"paint", picture, "s.txt", "-o", "out.png", "--overwrite"});
  }
  Folder folder;
};

TEST_F(Painting, DabsAreWholeAtEveryEdge) {
  Write(folder / "in.png", Flat(12, 9, {10, 20, 30}));
  // A square of 5 at each corner and on each edge; the picture shows the part of it that lies inside.
  for (const auto& [x, y] : {std::pair{0, 0},
                             {11, 0},
                             {0, 8},
                             {11, 8},
                             {6, 0},
                             {6, 8},
                             {0, 4},
                             {11, 4},
                             {-2, 4},
                             {13, 10},
                             {6, -1},
                             {6, -2},
                             {6, 10}}) {
    const auto outcome = Paint("color 1 0 0  # red\nsquare 5\ndab " + std::to_string(x) + " " + std::to_string(y));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    const auto values = ValuesOf<std::uint8_t>(folder / "out.png");
    for (int py = 0; py < 9; ++py) {
      for (int px = 0; px < 12; ++px) {
        const bool inside = std::abs(px - x) <= 2 && std::abs(py - y) <= 2;
        const auto at = static_cast<std::size_t>(3 * (py * 12 + px));
        ASSERT_EQ(values[at], inside ? 255 : 10) << "dab " << x << ", " << y << " at " << px << ", " << py;
        ASSERT_EQ(values[at + 2], inside ? 0 : 30);
      }
    }
  }
}

TEST_F(Painting, StrokesLinesPixelsAndBrushesFromPictures) {
  Write(folder / "in.png", Flat(9, 3, {0, 0, 0}));
  FilePicture brush(2, 1, 1, TypeDesc::UINT8);
  brush.as<std::uint8_t>()[0] = 255, brush.as<std::uint8_t>()[1] = 51;
  Write(folder / "brush.png", brush);
  const auto green = [&](const std::string& strokes) {
    const auto outcome = Paint("color #00ff00\n" + strokes);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    std::vector<int> row;
    const auto values = ValuesOf<std::uint8_t>(folder / "out.png");
    for (std::size_t x = 0; x < 9; ++x) row.push_back(values[3 * (9 + x) + 1]);
    return row;
  };
  EXPECT_EQ(green("square 1\nspacing 3\nstroke 0 1 4 1 8 1"), (std::vector<int>{255, 0, 0, 255, 0, 0, 255, 0, 0}));
  EXPECT_EQ(green("hbar 3\ndab 4 1"), (std::vector<int>{0, 0, 0, 255, 255, 255, 0, 0, 0}));
  EXPECT_EQ(green("vbar 3\ndab 4 0"), (std::vector<int>{0, 0, 0, 0, 255, 0, 0, 0, 0}));
  EXPECT_EQ(green("brush brush.png\nopacity 0.2\ndab 4 1"), (std::vector<int>{0, 0, 0, 51, 10, 0, 0, 0, 0}));
  EXPECT_EQ(green("line 2 1 5 1\npixel 8 1"), (std::vector<int>{0, 0, 255, 255, 255, 255, 0, 0, 255}));
}

TEST_F(Painting, LeavesStraightPixelsItDoesNotTouchAloneAndMixesTheOthersByAlpha) {
  Write(folder / "in.png", Flat(8, 3, {200, 3, 77, 1}));  // colours that premultiplying would lose
  ASSERT_EQ(Paint("color 1 1 1 1\nopacity 0.5\nsquare 1\ndab 2 1").status, 0);
  const auto values = ValuesOf<std::uint8_t>(folder / "out.png");
  for (std::size_t i = 0; i < 24; ++i) {
    if (i == 8 + 2) continue;
    ASSERT_EQ((std::vector<std::uint8_t>(values.begin() + 4 * static_cast<std::ptrdiff_t>(i),
                                         values.begin() + 4 * static_cast<std::ptrdiff_t>(i) + 4)),
              (std::vector<std::uint8_t>{200, 3, 77, 1}))
        << i;
  }
  EXPECT_EQ(values[4 * 10 + 3], 128);  // half white over nearly nothing
  EXPECT_GE(values[4 * 10 + 0], 253);
}

TEST_F(Painting, TranslucentColoursOnOpaquePicturesWeakenTheBrush) {
  Write(folder / "in.png", Flat(3, 1, {204, 204, 204}));
  ASSERT_EQ(Paint("color 1 1 1 0.5\nsquare 1\ndab 1 0").status, 0);
  EXPECT_EQ((ValuesOf<std::uint8_t>(folder / "out.png")),
            (std::vector<std::uint8_t>{204, 204, 204, 229, 229, 229, 204, 204, 204}));
}

TEST_F(Painting, TellsTheLineAndTheWordThatAreNonsense) {
  Write(folder / "in.png", Flat(4, 4, {0, 0, 0}));
  const std::pair<const char*, const char*> rows[] = {
      {"dab 1", "line 1"},    {"\n\ndab 1 x", "'x'"},   {"paint 1 2", "'paint'"},  {"color 1 2 3", "'2'"},
      {"color #12", "'#12'"}, {"disk 0", "'0'"},        {"disk 5000", "'5000'"},   {"disk 3.5", "'3.5'"},
      {"dab nan 1", "'nan'"}, {"dab 1 1e30", "'1e30'"}, {"stroke 1 1", "points"},  {"opacity -1", "'-1'"},
      {"spacing 0", "'0'"},   {"dab 1 2 3", "'3'"},     {"stroke 1 1 2", "points"}};
  std::filesystem::remove(folder / "out.png");
  for (const auto& [strokes, told] : rows) {
    const auto outcome = Paint(strokes);
    EXPECT_EQ(outcome.status, 65) << strokes << ": " << outcome.err;
    EXPECT_NE(outcome.err.find(told), std::string::npos) << outcome.err;
    EXPECT_FALSE(std::filesystem::exists(folder / "out.png")) << strokes;
  }
  EXPECT_EQ(Paint("brush none.png\ndab 1 1").status, 66);
  EXPECT_EQ(Paint("brush in.png\ndab 1 1").status, 65) << "it has colours and no alpha";
  std::ofstream(folder / "junk.png") << "no picture";
  EXPECT_EQ(Paint("brush junk.png\ndab 1 1").status, 65);
  EXPECT_EQ(RunPf(folder, {"paint", "in.png", "none.txt", "-o", "out.png"}).status, 66);
}

TEST(Fading, MixesAtEveryDepthAndEndsExactly) {
  const Folder folder;
  FilePicture a(31, 7, 3, TypeDesc::UINT8), b(31, 7, 3, TypeDesc::UINT8);
  FillRandom(&a, 1);
  FillRandom(&b, 2);
  Write(folder / "a.png", a);
  Write(folder / "b.png", b);
  for (const auto& [ratio, like] : {std::pair{"0", &a}, {"1", &b}}) {
    ASSERT_EQ(RunPf(folder, {"fade", "a.png", "b.png", "-o", "o.png", "--ratio", ratio, "--overwrite"}).status, 0);
    EXPECT_EQ(pftest::Read(folder / "o.png").values, like->values);
  }
  for (const char* depth : {"8", "16", "32"}) {
    ASSERT_EQ(
        RunPf(folder, {"fade", "a.png", "b.png", "-o", "o.tif", "--ratio", "0.25", "--depth", depth, "--overwrite"})
            .status,
        0);
    ASSERT_EQ(RunPf(folder, {"convert", "o.tif", "-o", "o.png", "--depth", "8", "--overwrite"}).status, 0);
    const auto o = ValuesOf<std::uint8_t>(folder / "o.png");
    for (std::size_t i = 0; i < o.size(); ++i) {
      ASSERT_NEAR(o[i], 0.75 * a.as<std::uint8_t>()[i] + 0.25 * b.as<std::uint8_t>()[i], 0.6) << depth << " at " << i;
    }
  }
}

TEST(Fading, TransparentPixelsLendNoColour) {
  const Folder folder;
  Write(folder / "a.png", Flat(3, 2, {255, 0, 0, 255}));
  Write(folder / "b.png", Flat(3, 2, {0, 255, 0, 0}));
  ASSERT_EQ(RunPf(folder, {"fade", "a.png", "b.png", "-o", "s.png", "--ratio", "0.5"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "s.png")[0], 255);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "s.png")[3], 128);
  ASSERT_EQ(
      RunPf(folder, {"fade", "a.png", "b.png", "-o", "p.tif", "--ratio", "0.5", "--alpha", "premultiplied"}).status, 0);
  EXPECT_EQ((ValuesOf<std::uint8_t>(folder / "p.tif")[0]), 128);
}

TEST(Fading, RunsOverFramesAndStills) {
  const Folder folder;
  Write(folder / "a.png", Flat(2, 2, {0}));
  Write(folder / "b.png", Flat(2, 2, {200}));
  ASSERT_EQ(RunPf(folder, {"fade", "a.png", "b.png", "-o", "o.%02d.png", "--ratio", "0:1", "--frames", "1-5"}).status,
            0);
  for (const auto& [name, value] : {std::pair{"o.01.png", 0}, {"o.02.png", 50}, {"o.03.png", 100}, {"o.05.png", 200}}) {
    EXPECT_EQ(ValuesOf<std::uint8_t>(folder / name)[0], value) << name;
  }
  ASSERT_EQ(
      RunPf(folder, {"fade", "o.%02d.png", "a.png", "-o", "q.%02d.png", "--ratio", "0.5", "--frames", "3,5"}).status,
      0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "q.05.png")[0], 100);
}

TEST(Fading, RefusesWhatCannotBe) {
  const Folder folder;
  Write(folder / "a.png", Flat(2, 2, {0}));
  Write(folder / "big.png", Flat(3, 2, {0}));
  EXPECT_EQ(RunPf(folder, {"fade", "a.png", "big.png", "-o", "o.png", "--ratio", "0.5"}).status, 65);
  for (const char* ratio : {"nan", "-0.1", "1.5", "1e300", "", "0:2", "x"}) {
    EXPECT_EQ(RunPf(folder, {"fade", "a.png", "a.png", "-o", "o.png", "--ratio", ratio}).status, 64) << ratio;
  }
  EXPECT_EQ(RunPf(folder, {"fade", "a.png", "none.png", "-o", "o.png", "--ratio", "0"}).status, 66);
  EXPECT_EQ(RunPf(folder, {"fade", "-", "-", "-o", "o.png", "--ratio", "0"}).status, 64);
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"a.png", "big.png"}));
}

}  // namespace
