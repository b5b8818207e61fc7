// After blurred pictures with wrong pixels: directions or edges exchanged, colour that bleeds out of transparency or
// is lost with alpha, a depth that rounds where it should not, frames that get another frame's name.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>

#include "PF/PF_Filters.h"
#include "Support.h"
#include "engine.h"
#include "picture.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::RunPf;
using pftest::ValuesOf;
using Bytes = std::vector<std::uint8_t>;

FilePicture Noise(int width, int height, int channels, TypeDesc type, bool straight) {
  FilePicture picture(width, height, channels, type);
  FillRandom(&picture, 7);
  if (straight) picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  return picture;
}

void WriteBytes(const std::string& path, int width, int height, int channels, const Bytes& values) {
  FilePicture picture(width, height, channels, TypeDesc::UINT8);
  std::copy(values.begin(), values.end(), picture.as<std::uint8_t>());
  picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(path, picture);
}

using Blur1D = decltype(&PF_GaussianBlur1D);

// The file blurred by two calls of the library into worlds of their own, as the values of a file.
std::vector<std::byte> TwoPasses(const std::string& path, TypeDesc type, Blur1D blur, float rx, float ry,
                                 std::int32_t flags, std::int32_t straight) {
  pftool::Reporter reporter(pftool::ProgressStyle::kNone);
  pftool::PictureReader reader(path, path, {});
  const pftool::PictureFacts& facts = reader.facts();
  const pftool::WorldPtr source = pftool::NewWorld(facts.width, facts.height, facts.depth, path),
                         rows = pftool::NewWorld(facts.width, facts.height, facts.depth, path),
                         both = pftool::NewWorld(facts.width, facts.height, facts.depth, path);
  reader.ReadInto(source.get(), &reporter);
  EXPECT_EQ(blur(source.get(), rows.get(), rx, flags, 0, 0, straight, nullptr), 0);
  EXPECT_EQ(blur(rows.get(), both.get(), ry, flags, 1, 1, straight, nullptr), 0);
  const std::size_t row_bytes = static_cast<std::size_t>(facts.width) * 4 * type.size();
  std::vector<std::byte> values(row_bytes * static_cast<std::size_t>(facts.height));
  for (int y = 0; y < facts.height; ++y) {
    pftool::RowFromWorld(static_cast<const std::byte*>(both->data) + std::ptrdiff_t{y} * both->row_bytes, facts.depth,
                         4, facts.width, values.data() + row_bytes * static_cast<std::size_t>(y));
  }
  return values;
}

TEST(Blurring, IsTheLibrarysTwoPassesAtEveryDepth) {
  const pftool::Engine engine(2);
  const Folder folder;
  for (const TypeDesc& type : {TypeDesc(TypeDesc::UINT8), TypeDesc(TypeDesc::UINT16), TypeDesc(TypeDesc::FLOAT)}) {
    for (const bool straight : {true, false}) {
      const FilePicture noise = Noise(53, 38, 4, type, straight);
      Write(folder / "in.tif", noise);
      struct Row {
        std::vector<std::string> options;
        Blur1D blur;
        float rx, ry;
        std::int32_t flags;
      };
      const Row rows[] = {{{"--radius", "3.5"}, PF_GaussianBlur1D, 3.5f, 3.5f, 0},
                          {{"--radius", "0,70", "--threads", "1"}, PF_GaussianBlur1D, 0, 70, 0},
                          {{"--radius", "4,1.4", "--kind", "box", "--edges", "transparent"},
                           PF_BoxBlur1D,
                           4,
                           1.4f,
                           PF_BlurFlag_TRANSPARENT_EDGES},
                          {{"--radius", "9,2", "--alpha", "only"}, PF_GaussianBlur1D, 9, 2, PF_BlurFlag_ALPHA_ONLY}};
      for (const Row& row : rows) {
        std::vector<std::string> arguments = {"blur", "in.tif", "-o", "out.tif", "--overwrite"};
        arguments.insert(arguments.end(), row.options.begin(), row.options.end());
        const auto outcome = RunPf(folder, arguments);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_TRUE(pftest::Read(folder / "out.tif").values ==
                    TwoPasses(folder / "in.tif", type, row.blur, row.rx, row.ry, row.flags, straight ? 1 : 0))
            << type.c_str() << ", straight " << straight << ", radius " << row.options[1];
      }
    }
  }
}

TEST(Blurring, LetsAConstantPictureBe) {
  const Folder folder;
  for (const char* kind : {"gaussian", "box"}) {
    Bytes values;
    for (int i = 0; i < 9 * 5; ++i) values.insert(values.end(), {7, 130, 255, 201});
    WriteBytes(folder / "in.png", 9, 5, 4, values);
    ASSERT_EQ(
        RunPf(folder, {"blur", "in.png", "-o", "out.png", "--radius", "40", "--kind", kind, "--overwrite"}).status, 0);
    EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "out.png"), values) << kind;
  }
}

TEST(Blurring, WeighsStraightColoursByAlphaAndPremultipliedOnesNot) {
  const Folder folder;
  WriteBytes(folder / "in.tif", 3, 1, 4, {9, 9, 9, 0, 240, 60, 0, 255, 9, 9, 9, 0});
  ASSERT_EQ(RunPf(folder, {"blur", "in.tif", "-o", "s.tif", "--radius", "1", "--kind", "box"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "s.tif"), (Bytes{240, 60, 0, 85, 240, 60, 0, 85, 240, 60, 0, 85}));
  ASSERT_EQ(
      RunPf(folder, {"blur", "in.tif", "-o", "p.tif", "--radius", "1", "--kind", "box", "--alpha", "premultiplied"})
          .status,
      0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "p.tif"), (Bytes{86, 26, 6, 85, 86, 26, 6, 85, 86, 26, 6, 85}));
  ASSERT_EQ(
      RunPf(folder, {"blur", "in.tif", "-o", "o.tif", "--radius", "1", "--kind", "box", "--alpha", "only"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "o.tif"), (Bytes{9, 9, 9, 85, 240, 60, 0, 85, 9, 9, 9, 85}));
}

TEST(Blurring, FadesAtTransparentEdgesOnly) {
  const Folder folder;
  Bytes grey(7 * 6, 200);
  WriteBytes(folder / "in.png", 7, 6, 1, grey);
  ASSERT_EQ(RunPf(folder, {"blur", "in.png", "-o", "repeat.png", "--radius", "2"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "repeat.png"), grey);
  ASSERT_EQ(
      RunPf(folder, {"blur", "in.png", "-o", "fade.png", "--radius", "1", "--kind", "box", "--edges", "transparent"})
          .status,
      0);
  const auto faded = ValuesOf<std::uint8_t>(folder / "fade.png");  // grey and alpha
  ASSERT_EQ(faded.size(), 2u * 7 * 6);
  for (std::size_t i = 0; i < faded.size(); i += 2) EXPECT_EQ(faded[i], 200) << i;
  EXPECT_EQ(faded[1], 113);                    // a corner keeps two thirds each way: 255 -> 170 -> 113
  EXPECT_EQ(faded[2 * 3 + 1], 170);            // an edge
  EXPECT_EQ(faded[2 * (7 * 2 + 3) + 1], 255);  // the middle
  // Where nothing is blurred nothing fades, and the picture stays opaque.
  ASSERT_EQ(
      RunPf(folder, {"blur", "in.png", "-o", "same.png", "--radius", "0.4", "--kind", "box", "--edges", "transparent"})
          .status,
      0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "same.png"), grey);
}

TEST(Blurring, WorksAtTheDeeperDepth) {
  const Folder folder;
  FilePicture bright(3, 1, 1, TypeDesc::FLOAT);
  const float values[] = {0, 1.5f, 0};
  std::copy_n(values, 3, bright.as<float>());
  Write(folder / "bright.tif", bright);
  ASSERT_EQ(
      RunPf(folder, {"blur", "bright.tif", "-o", "b.tif", "--radius", "1", "--kind", "box", "--depth", "8"}).status, 0);
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "b.tif"), (Bytes{128, 128, 128}));  // limited after the mean, not before
  WriteBytes(folder / "dot.png", 3, 3, 1, {0, 0, 0, 0, 1, 0, 0, 0, 0});
  ASSERT_EQ(RunPf(folder, {"blur", "dot.png", "-o", "d.tif", "--radius", "1", "--kind", "box", "--depth", "32"}).status,
            0);
  EXPECT_NEAR(ValuesOf<float>(folder / "d.tif")[0], 1.0 / 255 / 9, 1e-8);
}

TEST(Blurring, KeepsFramesAndTellsWhatWasWritten) {
  const Folder folder;
  for (int frame : {1, 2, 3}) {
    WriteBytes(folder / ("in." + std::to_string(frame) + ".png"), 1, 1, 1, {static_cast<std::uint8_t>(frame)});
  }
  const auto outcome = RunPf(folder, {"blur", "in.%d.png", "-o", "out.%d.png", "--radius", "2", "--frames", "1,3",
                                      "--json", "--edges", "repeat"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  EXPECT_EQ(ValuesOf<std::uint8_t>(folder / "out.3.png"), (Bytes{3}));
  EXPECT_EQ(folder.Names().count("out.2.png"), 0u);
  const auto told = nlohmann::json::parse(outcome.out);
  EXPECT_EQ(told["verb"], "blur");
  EXPECT_EQ(told["pictures"][1]["output"], "out.3.png");
}

TEST(Blurring, RefusesNonsense) {
  const Folder folder;
  WriteBytes(folder / "in.png", 2, 1, 4, {1, 2, 3, 4, 5, 6, 7, 8});
  WriteBytes(folder / "opaque.png", 2, 1, 1, {1, 2});
  struct Row {
    int status;
    std::vector<std::string> arguments;
    const char* why;
  };
  const Row rows[] = {{64, {"in.png"}, "--radius is required"},
                      {64, {"in.png", "--radius", "-1"}, "below 0"},
                      {64, {"in.png", "--radius", "2,-1"}, "below 0"},
                      {64, {"in.png", "--radius", "nan"}, "not a finite number"},
                      {64, {"in.png", "--radius", "32767.5"}, "above 32767"},
                      {64, {"in.png", "--radius", "abc"}, "'a' at position 1"},
                      {64, {"in.png", "--radius", "3,"}, "a number is missing"},
                      {64, {"in.png", "--radius", "1,2,3"}, "more than two numbers"},
                      {64, {"in.png", "--radius", "1", "--kind", "bokeh"}, "gaussian,box"},
                      {64, {"in.png", "--radius", "1", "--edges", "wrap"}, "repeat,transparent"},
                      {64, {"in.png", "--radius", "1", "--alpha", "both"}, "straight,premultiplied,only"},
                      {66, {"none.png", "--radius", "1"}, "none.png"}};
  const auto before = folder.Names();
  for (const Row& row : rows) {
    std::vector<std::string> arguments = {"blur", "-o", "no.png"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    const auto outcome = RunPf(folder, arguments);
    EXPECT_EQ(outcome.status, row.status) << row.why << ": " << outcome.err;
    EXPECT_NE(outcome.err.find(row.why), std::string::npos) << outcome.err;
    EXPECT_NE(outcome.err.find("; "), std::string::npos) << outcome.err;
    EXPECT_EQ(folder.Names(), before) << row.why;
  }
  // Edges that fade need a format that holds alpha.
  EXPECT_EQ(RunPf(folder, {"blur", "opaque.png", "-o", "no.jpg", "--radius", "1", "--edges", "transparent"}).status,
            64);
  EXPECT_EQ(folder.Names(), before);
}

TEST(Blurring, InterruptedLeavesNothingBehind) {
  const Folder folder;
  Write(folder / "in.tif", Noise(9000, 6000, 3, TypeDesc::UINT8, false));
  const std::pair<const char*, const char*> stages[] = {{": blur rows", ": blur columns"},
                                                        {": blur columns", ": write"}};
  for (const auto& [stage, next] : stages) {
    pftest::Child child(
        folder, {"blur", "in.tif", "-o", "out.tif", "--radius", "300", "--threads", "1", "--progress", "plain"});
    ASSERT_TRUE(child.WaitForError(stage));
    child.Signal(SIGINT);
    const auto outcome = child.Wait();
    EXPECT_EQ(outcome.status, 130) << outcome.err;
    EXPECT_EQ(outcome.err.find(next), std::string::npos) << stage << ": the call ran to its end";
    EXPECT_EQ(folder.Names(), (std::set<std::string>{"in.tif"}));
  }
}

}  // namespace
