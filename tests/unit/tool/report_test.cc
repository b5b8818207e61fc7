// After comparisons that measure the wrong thing, and help, pages and scripts that miss a verb or an option.
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <limits>
#include <sstream>

#include "Support.h"
#include "command_line.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::Outcome;
using pftest::RunPf;

template <class T>
void WriteValues(const std::string& path, int channels, TypeDesc type, const std::vector<T>& values,
                 bool straight = true) {
  FilePicture picture(static_cast<int>(values.size()) / channels, 1, channels, type);
  std::copy(values.begin(), values.end(), picture.as<T>());
  if (straight) picture.spec.attribute("oiio:UnassociatedAlpha", 1);
  Write(path, picture);
}

nlohmann::json Compared(const Folder& folder, const std::string& a, const std::string& b) {
  return nlohmann::json::parse(RunPf(folder, {"compare", a, b, "--json"}).out)["pairs"][0];
}

TEST(Comparisons, MeasureInStepsOfTheFile) {
  const Folder folder;
  WriteValues<std::uint8_t>(folder / "a.png", 3, TypeDesc::UINT8, {10, 20, 30, 40, 50, 60});
  WriteValues<std::uint8_t>(folder / "b.png", 3, TypeDesc::UINT8, {10, 20, 30, 40, 53, 59});
  const auto pair = Compared(folder, "a.png", "b.png");
  EXPECT_EQ(pair["largest"], 3);
  EXPECT_EQ(pair["full"], 255);
  EXPECT_EQ(pair["at"], (nlohmann::json{{"x", 1}, {"y", 0}, {"channel", "g"}}));
  EXPECT_DOUBLE_EQ(pair["mean"], 4.0 / 6);
  EXPECT_NEAR(pair["psnr_db"], 10 * std::log10(255.0 * 255 * 6 / 10), 1e-9);
  EXPECT_EQ(RunPf(folder, {"compare", "a.png", "b.png", "--max", "3"}).status, 0);
  EXPECT_EQ(RunPf(folder, {"compare", "a.png", "b.png", "--max", "2.9"}).status, 1);
  // Neighbouring 16-bit values fall onto one 16-bit pixel and still differ.
  WriteValues<std::uint16_t>(folder / "c.png", 1, TypeDesc::UINT16, {30000});
  WriteValues<std::uint16_t>(folder / "d.png", 1, TypeDesc::UINT16, {30001});
  EXPECT_EQ(Compared(folder, "c.png", "d.png")["largest"], 1);
}

TEST(Comparisons, BringPicturesOfDifferentFormTogether) {
  const Folder folder;
  WriteValues<std::uint8_t>(folder / "grey.png", 1, TypeDesc::UINT8, {51, 255});
  WriteValues<std::uint8_t>(folder / "rgba.png", 4, TypeDesc::UINT8, {51, 51, 51, 255, 255, 255, 255, 255});
  EXPECT_EQ(Compared(folder, "grey.png", "rgba.png")["equal"], true);
  WriteValues<std::uint8_t>(folder / "thin.png", 4, TypeDesc::UINT8, {51, 51, 51, 204, 255, 255, 255, 255});
  EXPECT_EQ(Compared(folder, "grey.png", "thin.png")["at"]["channel"], "a");
  WriteValues<float>(folder / "half.tif", 1, TypeDesc::FLOAT, {0.2f, 0.5f});
  EXPECT_NEAR(Compared(folder, "grey.png", "half.tif")["largest"], 0.5, 1e-6);
  // Straight 0.8 of alpha 0.5 is premultiplied 0.4.
  WriteValues<float>(folder / "s.tif", 4, TypeDesc::FLOAT, {0.8f, 0, 0, 0.5f});
  WriteValues<float>(folder / "p.tif", 4, TypeDesc::FLOAT, {0.4f, 0, 0, 0.5f}, false);
  EXPECT_NEAR(Compared(folder, "s.tif", "p.tif")["largest"], 0, 1e-6);
  const auto sizes = RunPf(folder, {"compare", "s.tif", "grey.png"});
  EXPECT_EQ(sizes.status, 1);
  EXPECT_NE(sizes.out.find("sizes differ"), std::string::npos);
}

TEST(Comparisons, TreatNanAsAValue) {
  const Folder folder;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  WriteValues<float>(folder / "a.tif", 1, TypeDesc::FLOAT, {nan, 1});
  WriteValues<float>(folder / "b.tif", 1, TypeDesc::FLOAT, {0, 1});
  EXPECT_EQ(RunPf(folder, {"compare", "a.tif", "a.tif"}).status, 0);
  EXPECT_EQ(RunPf(folder, {"compare", "a.tif", "b.tif", "--max", "1e30"}).status, 1);
}

TEST(Info, TellsWhatWillBeAssumed) {
  const Folder folder;
  FilePicture picture(7, 5, 4, TypeDesc::HALF);
  Write(folder / "a.exr", picture);
  const auto outcome = RunPf(folder, {"info", "a.exr", "--json", "--check"});
  ASSERT_EQ(outcome.status, 0);
  const auto info = nlohmann::json::parse(outcome.out)["pictures"][0];
  EXPECT_EQ(info["width"], 7);
  EXPECT_EQ(info["type"], "half");
  EXPECT_EQ(info["depth"], 32);
  EXPECT_EQ(info["alpha"], "premultiplied alpha");
  EXPECT_EQ(info["world_bytes"], 7 * 16 * 5);
  EXPECT_EQ(RunPf(folder, {"info", "a.exr"}).out.find("premultiplied") == std::string::npos, false);
}

TEST(Progress, IsJsonLinesWhenAsked) {
  const Folder folder;
  WriteValues<std::uint8_t>(folder / "a.png", 1, TypeDesc::UINT8, {1, 2});
  const Outcome outcome = RunPf(folder, {"scale", "a.png", "-o", "b.png", "--percent", "200", "--progress", "json"});
  ASSERT_EQ(outcome.status, 0);
  std::istringstream lines(outcome.err);
  std::set<std::string> stages;
  for (std::string line; std::getline(lines, line);) {
    const auto event = nlohmann::json::parse(line);
    if (event["event"] == "progress") stages.insert(event["stage"]);
  }
  EXPECT_EQ(stages, (std::set<std::string>{"read", "scale", "write"}));
}

TEST(Progress, TellsThePaceOfSeveralPictures) {
  const Folder folder;
  for (const char* name : {"1.png", "2.png", "3.png"})
    WriteValues<std::uint8_t>(folder / name, 1, TypeDesc::UINT8, {1, 2});
  const Outcome outcome = RunPf(folder, {"convert", "#.png", "-o", "o.#.png", "--depth", "16", "--progress", "json"});
  ASSERT_EQ(outcome.status, 0);
  std::istringstream lines(outcome.err);
  int with_pace = 0;
  for (std::string line; std::getline(lines, line);) {
    const auto event = nlohmann::json::parse(line);
    if (event["event"] != "progress") continue;
    EXPECT_EQ(event.contains("pictures_per_second"), event["picture"] > 1) << line;
    if (!event.contains("pictures_per_second")) continue;
    ++with_pace;
    const double left = event["seconds_left"], rate = event["pictures_per_second"], done = event["picture"];
    EXPECT_NEAR(left * rate, 3 - (done - 1 + event["fraction"].get<double>()), 1e-6) << line;
  }
  EXPECT_GT(with_pace, 0);
}

TEST(Sheets, ShowEveryPictureOverAChecksAndLinkThem) {
  const Folder folder;
  WriteValues<std::uint8_t>(folder / "red <1>.png", 4, TypeDesc::UINT8, {255, 0, 0, 255, 255, 0, 0, 0});
  WriteValues<std::uint8_t>(folder / "b.png", 1, TypeDesc::UINT8, std::vector<std::uint8_t>(200, 9));
  const auto outcome = RunPf(folder, {"sheet", "red <1>.png", "b.png", "-o", "sheet.png", "--page", "sheet.html",
                                      "--cell", "64x32", "--columns", "2", "--caption", "one", "--caption", "two"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const FilePicture sheet = pftest::Read(folder / "sheet.png");
  ASSERT_EQ(sheet.spec.nchannels, 3);
  ASSERT_EQ(sheet.spec.width, 16 + 2 * (64 + 16));
  // Two pixels in the middle of the first cell: opaque red, and the checkerboard behind nothing.
  const auto* pixel = sheet.as<std::uint8_t>() +
                      (static_cast<std::size_t>(16 + 15) * static_cast<std::size_t>(sheet.spec.width) + 16 + 31) * 3;
  EXPECT_EQ(std::vector<int>(pixel, pixel + 3), (std::vector<int>{255, 0, 0}));
  EXPECT_EQ(pixel[3], pixel[4]);
  const std::string page = pftest::Slurp(folder / "sheet.html");
  EXPECT_NE(page.find("href=\"red%20%3C1%3E.png\""), std::string::npos) << page;
  EXPECT_NE(page.find("href=\"b.png\""), std::string::npos);
  EXPECT_EQ(RunPf(folder, {"sheet", "b.png", "-o", "s.png", "--caption", "a", "--caption", "b"}).status, 64);
}

TEST(HelpTexts, CoverEveryVerbAndOption) {
  const pftool::CommandLine line;
  const Folder folder;
  const std::string man = RunPf(folder, {"man"}).out, bash = RunPf(folder, {"completion", "bash"}).out;
  for (const pftool::Verb& verb : pftool::Verbs()) {
    std::vector<std::string> words = pftool::WordsOf(verb), asked = words;
    words.push_back("--help");
    asked.insert(asked.begin(), "help");
    const std::string help = RunPf(folder, words).out;
    EXPECT_EQ(help, RunPf(folder, asked).out);
    ASSERT_FALSE(verb.examples.empty()) << verb.name;
    EXPECT_NE(help.find(verb.examples[0].command), std::string::npos) << verb.name;
    EXPECT_NE(man.find("\"pf " + std::string(verb.name) + "\""), std::string::npos) << verb.name;
    for (const CLI::Option* option : line.AppOf(verb).get_options()) {
      if (option->get_lnames().empty()) continue;
      const std::string name = "--" + option->get_lnames()[0];
      EXPECT_NE(help.find(name), std::string::npos) << name;
      EXPECT_NE(bash.find(name), std::string::npos) << name;
      EXPECT_FALSE(option->get_description().empty()) << name;
    }
  }
  EXPECT_NE(RunPf(folder, {"help", "mask"}).out.find("combine"), std::string::npos);
  EXPECT_EQ(RunPf(folder, {"mask"}).status, 64);
  for (const pftool::ExitCodeText* row = pftool::kExitCodeTexts; row->meaning; ++row) {
    EXPECT_NE(RunPf(folder, {"--help"}).out.find(row->meaning), std::string::npos);
  }
}

}  // namespace
