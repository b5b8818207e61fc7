// After layers in the wrong place, order, light or strength, and colours that suffer from a convention of alpha.
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>

#include "Support.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::RunPf;
using pftest::WriteValues;

using Bytes = std::vector<std::uint8_t>;
using Arguments = std::vector<std::string>;

struct Blending : ::testing::Test {
  int Run(Arguments arguments, const std::string& output = "out.png") {
    arguments.insert(arguments.begin(), "blend");
    arguments.insert(arguments.end(), {"-o", output, "--overwrite"});
    const auto outcome = RunPf(folder, arguments);
    said = outcome.err;
    return outcome.status;
  }
  Bytes Made(const Arguments& arguments) {
    EXPECT_EQ(Run(arguments), 0) << said;
    return pftest::ValuesOf<std::uint8_t>(folder / "out.png");
  }
  Folder folder;
  std::string said;
};

TEST_F(Blending, GivesKnownResultsInStoredAndLinearLight) {
  WriteValues(folder / "base.png", 2, 1, 3, {0, 100, 255, 50, 60, 70});
  WriteValues(folder / "half.png", 1, 1, 4, {255, 0, 100, 128});
  // 128 / 255 of the layer: 255 a, 100 (1 - a), 255 - 155 a.
  EXPECT_EQ(Made({"base.png", "half.png"}), (Bytes{128, 50, 177, 50, 60, 70}));
  // In linear light 128 / 255 of white is stored as 187.8, (1 - a) of 100's 0.1274 as 71.3, the last mix as 197.6.
  EXPECT_EQ(Made({"base.png", "half.png", "--light", "linear"}), (Bytes{188, 71, 198, 50, 60, 70}));
  WriteValues(folder / "add.png", 2, 1, 3, {100, 100, 100, 0, 200, 70});
  EXPECT_EQ(Made({"base.png", "add.png", "--mode", "add"}), (Bytes{100, 200, 255, 50, 255, 140}));
  // Twice 100's 0.1274 is stored as 138.2, 60's 0.0452 and 200's 0.5776 as 206.8, twice 70's 0.0612 as 98.1.
  EXPECT_EQ(Made({"base.png", "add.png", "--mode", "4", "--light", "linear"}), (Bytes{100, 138, 255, 50, 207, 98}));
  EXPECT_EQ(Made({"base.png", "add.png", "--mode", "add", "--light", "linear", "--profile", "linear-srgb"}),
            Made({"base.png", "add.png", "--mode", "add"}));
}

TEST_F(Blending, TakesOptionsForEachLayer) {
  WriteValues(folder / "base.png", 3, 1, 3, Bytes(9, 200));
  WriteValues(folder / "a.png", 1, 1, 3, {100, 100, 100});
  WriteValues(folder / "b.png", 2, 1, 3, {40, 80, 120, 40, 80, 120});
  WriteValues(folder / "m.png", 2, 1, 1, {255, 51});
  const Arguments layers = {"base.png", "a.png", "b.png"};
  const auto with = [&](const Arguments& options) {
    Arguments all = layers;
    all.insert(all.end(), options.begin(), options.end());
    return Made(all);
  };
  EXPECT_EQ(with({"--mode", "difference", "--mode", "over", "--at", "0,0", "--at", "1,0"}),
            (Bytes{100, 100, 100, 40, 80, 120, 40, 80, 120}));
  EXPECT_EQ(with({"--opacity", "1", "--opacity", "0.5", "--at", "2,0"}),
            (Bytes{200, 200, 200, 200, 200, 200, 70, 90, 110}));
  EXPECT_EQ(with({"--mask", "m.png", "--at", "1,0", "--at", "0,0"}), (Bytes{40, 80, 120, 88, 96, 104, 200, 200, 200}));
  EXPECT_EQ(with({"--at", "-1,0"}), (Bytes{40, 80, 120, 200, 200, 200, 200, 200, 200}));
  // Later layers see what earlier ones made.
  EXPECT_EQ(Made({"base.png", "a.png", "a.png", "--mode", "subtract"}), (Bytes{0, 0, 0, 200, 200, 200, 200, 200, 200}));
}

TEST_F(Blending, KeepsConventionsDepthsAndSizes) {
  // A premultiplied layer gives what its straight form gives.
  WriteValues(folder / "base.png", 2, 1, 4, {10, 20, 30, 255, 200, 100, 50, 51});
  WriteValues(folder / "straight.png", 2, 1, 4, {255, 85, 170, 51, 40, 80, 120, 255});
  WriteValues(folder / "pre.tif", 2, 1, 4, {51, 17, 34, 51, 40, 80, 120, 255}, false);
  for (const char* mode : {"over", "premul-over", "premultiplied-over", "screen"}) {
    const Bytes straight = Made({"base.png", "straight.png", "--mode", mode});
    const Bytes premultiplied = Made({"base.png", "pre.tif", "--mode", mode, "--depth", "8"});
    for (std::size_t i = 0; i < 8; ++i) EXPECT_NEAR(straight[i], premultiplied[i], 2) << mode << i;
  }
  // The deepest picture rules; a deep base is not spoiled by an 8-bit layer.
  FilePicture deep(2, 1, 3, TypeDesc::UINT16);
  for (std::size_t i = 0; i < 6; ++i) deep.as<std::uint16_t>()[i] = static_cast<std::uint16_t>(1000 + 257 * i);
  Write(folder / "deep.png", deep);
  WriteValues(folder / "dot.png", 1, 1, 3, {255, 255, 255});
  ASSERT_EQ(Run({"deep.png", "dot.png"}), 0) << said;
  const auto made = pftest::ValuesOf<std::uint16_t>(folder / "out.png");
  EXPECT_EQ(made[2], 65535);
  for (std::size_t i = 3; i < 6; ++i) EXPECT_NEAR(made[i], 1000 + 257.0 * static_cast<double>(i), 1);
  ASSERT_EQ(Run({"dot.png", "deep.png", "--depth", "32"}, "out.tif"), 0) << said;
  EXPECT_EQ(pftest::ValuesOf<float>(folder / "out.tif").size(), 3u);
}

TEST_F(Blending, LeavesWhatIsNoNumberInItsPixel) {
  FilePicture base(3, 1, 4, TypeDesc::FLOAT), layer(3, 1, 4, TypeDesc::FLOAT);
  std::fill_n(base.as<float>(), 12, 0.5f);
  std::fill_n(layer.as<float>(), 12, 0.25f);
  base.as<float>()[4] = std::numeric_limits<float>::quiet_NaN();
  layer.as<float>()[5] = std::numeric_limits<float>::infinity();
  for (FilePicture* picture : {&base, &layer}) picture->spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(folder / "base.tif", base);
  Write(folder / "layer.tif", layer);
  for (const char* mode : {"over", "soft-light", "hue", "divide"}) {
    ASSERT_EQ(Run({"base.tif", "layer.tif", "--mode", mode, "--light", "linear"}, "out.tif"), 0) << said;
    const auto made = pftest::ValuesOf<float>(folder / "out.tif");
    for (const std::size_t i : {0u, 1u, 2u, 3u, 8u, 9u, 10u, 11u}) {
      EXPECT_TRUE(std::isfinite(made[i])) << mode << i;
      EXPECT_EQ(made[i], made[i % 4]) << mode << i;
    }
    EXPECT_FALSE(std::isfinite(made[4])) << mode;
  }
}

TEST_F(Blending, OfASequenceMeetsItsFrames) {
  for (int frame = 1; frame <= 3; ++frame) {
    const auto value = static_cast<std::uint8_t>(frame * 10);
    const std::string number = std::to_string(frame) + ".png";
    WriteValues(folder / ("p." + number), 1, 1, 3, {value, value, value});
    WriteValues(folder / ("m." + number), 1, 1, 1, {static_cast<std::uint8_t>(frame == 2 ? 0 : 255)});
  }
  WriteValues(folder / "one.png", 1, 1, 3, {100, 0, 5});
  ASSERT_EQ(Run({"p.%d.png", "one.png", "p.%d.png", "--mode", "add", "--mask", "m.%d.png"}, "o.%d.png"), 0) << said;
  EXPECT_EQ(pftest::ValuesOf<std::uint8_t>(folder / "o.2.png"), (Bytes{20, 20, 20}));
  EXPECT_EQ(pftest::ValuesOf<std::uint8_t>(folder / "o.3.png"), (Bytes{160, 60, 65}));
  EXPECT_EQ(Run({"p.%d.png", "one.png", "--frames", "2-4"}, "q.%d.png"), 66);
  EXPECT_EQ(folder.Names().count("q.2.png"), 0u);
}

TEST_F(Blending, OfNonsenseIsRefused) {
  WriteValues(folder / "a.png", 1, 1, 3, {1, 2, 3});
  std::ofstream(folder / "text.icc") << "no profile";
  std::ofstream(folder / "text.png") << "no picture";
  const auto before = folder.Names();
  const std::pair<int, Arguments> rows[] = {
      {64, {"a.png"}},
      {64, {"a.png", "a.png", "--mode", "41"}},
      {64, {"a.png", "a.png", "--mode", "-1"}},
      {64, {"a.png", "a.png", "--opacity", "1.5"}},
      {64, {"a.png", "a.png", "--opacity", "nan"}},
      {64, {"a.png", "a.png", "--at", "1.5,0"}},
      {64, {"a.png", "a.png", "a.png", "a.png", "--mode", "add", "--mode", "over"}},
      {64, {"a.png", "a.png", "--mask", "a.png", "--mask", "a.png"}},
      {64, {"a.png", "a.png", "--light", "bright"}},
      {64, {"a.png", "a.png", "--light", "linear", "--profile", "none.icc"}},
      {64, {"-", "-"}},
      {65, {"a.png", "a.png", "--light", "linear", "--profile", "text.icc"}},
      {65, {"a.png", "a.png", "--mask", "a.png"}},
      {65, {"a.png", "text.png"}},
      {66, {"a.png", "none.png"}},
      {66, {"a.png", "a.png", "--mask", "none.png"}}};
  for (const auto& [status, arguments] : rows) {
    EXPECT_EQ(Run(arguments, "no.png"), status) << arguments.back() << ": " << said;
    EXPECT_NE(said.find("; "), std::string::npos) << arguments.back();
    EXPECT_EQ(folder.Names(), before) << arguments.back();
  }
  EXPECT_EQ(Run({"a.png", "a.png", "--mode", "multply"}, "no.png"), 64);
  EXPECT_NE(said.find("did you mean 'multiply'"), std::string::npos) << said;
  const auto listed = nlohmann::json::parse(RunPf(folder, {"modes", "--json"}).out);
  EXPECT_EQ(listed.size(), 43u);
  EXPECT_EQ(listed[6]["name"], "add");
}

}  // namespace
