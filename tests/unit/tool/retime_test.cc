// After retimed frames with wrong content or names: source frames that lose bits, times that are those of others,
// frames mixed across cuts, frames that a second run makes again or leaves although they are outdated.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "RetimeFrames.h"

namespace {

using OIIO::TypeDesc;
using pftest::FilePicture;
using pftest::Folder;
using pftest::Outcome;
using pftest::RunPf;
using pftest::Slurp;
using pftest::Waves;
using pftest::Waves8;
using pftest::WriteShot;

nlohmann::json Json(const Outcome& outcome) {
  EXPECT_EQ(outcome.status, 0) << outcome.err;
  return nlohmann::json::parse(outcome.out, nullptr, false);
}

std::vector<std::string> Kinds(const nlohmann::json& result) {
  std::vector<std::string> kinds;
  for (const auto& frame : result["frames"]) kinds.push_back(frame["frame"]);
  return kinds;
}

TEST(Retiming, KeepsSourceFramesAndMakesTheOthers) {
  const Folder folder;
  WriteShot(folder, "in", 5);
  const auto result =
      Json(RunPf(folder, {"retime", "in.####.png", "-o", "out.%03d.png", "--fps", "24:60", "--hold-last", "--json"}));
  ASSERT_EQ(result["frames"].size(), 13u);  // 5 frames last 12.5 new ones
  for (const auto& [made, source] : {std::pair("001", "0001"), {"006", "0003"}, {"011", "0005"}, {"013", "0005"}}) {
    EXPECT_EQ(Slurp(folder / (std::string("out.") + made + ".png")),
              Slurp(folder / (std::string("in.") + source + ".png")))
        << made;
  }
  EXPECT_EQ(result["made"], 8);
  EXPECT_EQ(result["cuts"].size(), 0u);
  EXPECT_NEAR(result["frames"][4]["at"], 0.6, 1e-12);
  EXPECT_EQ(result["frames"][4]["previous"], "in.0002.png");
  // A frame of a run is the one that is asked for alone.
  ASSERT_EQ(RunPf(folder, {"retime", "in.0002.png", "in.0003.png", "--at", "0.6", "-o", "one.png"}).status, 0);
  EXPECT_TRUE(pftest::Read(folder / "one.png").values == pftest::Read(folder / "out.005.png").values);
  EXPECT_FALSE(pftest::Read(folder / "one.png").values == pftest::Read(folder / "in.0002.png").values);

  // Every other frame, numbered on; and one frame in each pair.
  ASSERT_EQ(RunPf(folder, {"retime", "in.####.png", "-o", "fast.#.png", "--speed", "2", "--start", "7"}).status, 0);
  EXPECT_EQ(Slurp(folder / "fast.9.png"), Slurp(folder / "in.0005.png"));
  EXPECT_FALSE(std::filesystem::exists(folder / "fast.10.png"));
  std::filesystem::create_directory(folder / "d");
  ASSERT_EQ(RunPf(folder, {"retime", "in.####.png", "-o", "d", "--at", "1", "--frames", "1-3"}).status, 0);
  EXPECT_EQ(Slurp(folder / "d/in.0001.png"), Slurp(folder / "in.0002.png"));
  EXPECT_FALSE(std::filesystem::exists(folder / "d/in.0003.png"));
}

TEST(Retiming, TakesEveryDepthAndKeepsAlpha) {
  const Folder folder;
  struct Row {
    const char* extension;
    int channels;
    TypeDesc type;
    bool straight;
  };
  const Row rows[] = {{"png", 1, TypeDesc::UINT8, true},  {"png", 4, TypeDesc::UINT8, true},
                      {"png", 2, TypeDesc::UINT16, true}, {"tif", 4, TypeDesc::UINT16, true},
                      {"tif", 4, TypeDesc::FLOAT, true},  {"tif", 4, TypeDesc::UINT8, false},
                      {"exr", 3, TypeDesc::FLOAT, true},  {"exr", 4, TypeDesc::FLOAT, false}};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.extension) + " " + row.type.c_str() + " " + std::to_string(row.channels));
    const std::string type = row.extension;
    FilePicture a = Waves(31, 17, row.channels, row.type, 0);
    if (!row.straight) a.spec.erase_attribute("oiio:UnassociatedAlpha");
    // Premultiplied colour is not above its alpha.
    if (!row.straight && row.type == TypeDesc::UINT8) {
      for (std::size_t i = 0; i < a.count(); ++i)
        a.as<std::uint8_t>()[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 : 90 + i % 7);
    }
    Write(folder / ("a." + type), a);
    Write(folder / ("b." + type), a);
    ASSERT_EQ(
        RunPf(folder, {"retime", "a." + type, "b." + type, "--at", "0.3", "-o", "m." + type, "--overwrite"}).status, 0);
    // Between two equal frames is that frame; 16-bit worlds hold 16-bit files within a step.
    const FilePicture made = pftest::Read(folder / ("m." + type)), source = pftest::Read(folder / ("a." + type));
    ASSERT_EQ(made.spec.nchannels, row.channels);
    ASSERT_EQ(made.spec.format, row.type);
    EXPECT_EQ(made.spec.get_int_attribute("oiio:UnassociatedAlpha"),
              source.spec.get_int_attribute("oiio:UnassociatedAlpha"));
    double largest = 0;
    for (std::size_t i = 0; i < made.count(); ++i) {
      const double difference = row.type == TypeDesc::UINT8 ? made.as<std::uint8_t>()[i] - source.as<std::uint8_t>()[i]
                                : row.type == TypeDesc::UINT16
                                    ? made.as<std::uint16_t>()[i] - source.as<std::uint16_t>()[i]
                                    : static_cast<double>(made.as<float>()[i] - source.as<float>()[i]) * 1e6;
      largest = std::max(largest, std::abs(difference));
    }
    EXPECT_LE(largest, row.type == TypeDesc::UINT8 ? 0 : 1);
  }
  // Opaque beside alpha, in one run.
  Write(folder / "o.png", Waves(31, 17, 3, TypeDesc::UINT8, 0));
  Write(folder / "t.png", Waves(31, 17, 4, TypeDesc::UINT8, 0));
  ASSERT_EQ(RunPf(folder, {"retime", "o.png", "t.png", "--at", "0.5", "-o", "ot.png", "--depth", "16"}).status, 0);
  EXPECT_EQ(pftest::Read(folder / "ot.png").spec.nchannels, 4);
  EXPECT_EQ(pftest::Read(folder / "ot.png").spec.format, TypeDesc::UINT16);
}

TEST(Retiming, HoldsFramesAtCuts) {
  const Folder folder;
  WriteShot(folder, "in", 8, 5);
  const Outcome outcome = RunPf(folder, {"retime", "in.####.png", "-o", "out.%02d.png", "--speed", "1/4", "--json"});
  const auto result = Json(outcome);
  ASSERT_EQ(result["cuts"].size(), 1u);
  EXPECT_EQ(result["cuts"][0]["next"], "in.0005.png");
  EXPECT_NE(outcome.err.find("cut between 'in.0004.png' and 'in.0005.png'"), std::string::npos);
  for (const auto& [made, source] : {std::pair("14", "0004"), {"15", "0005"}, {"16", "0005"}}) {
    EXPECT_EQ(Slurp(folder / (std::string("out.") + made + ".png")),
              Slurp(folder / (std::string("in.") + source + ".png")))
        << made;
  }
  for (const auto& [option, kind] : {std::pair("fade", "cross-fade at a cut"), {"ignore", "made"}}) {
    const auto other = Json(RunPf(folder, {"retime", "in.0004.png", "in.0005.png", "--at", "0.5", "-o", "x.png",
                                           "--cuts", option, "--json", "--overwrite"}));
    EXPECT_EQ(Kinds(other), std::vector<std::string>{kind});
    EXPECT_EQ(other["cuts"].size(), 1u) << "told in any case";
    EXPECT_FALSE(pftest::Read(folder / "x.png").values == pftest::Read(folder / "in.0005.png").values);
  }
}

TEST(Retiming, MakesRepeatedFramesAnew) {
  const Folder folder;
  for (const int i : {1, 2, 3, 4, 5, 6}) {
    Write(folder / ("in." + std::to_string(i) + ".png"), Waves8(3 * (i == 4 ? 3 : i)));
  }
  const auto kept = Json(RunPf(folder, {"retime", "in.#.png", "-o", "k.%d.png", "--speed", "1/2", "--json"}));
  EXPECT_EQ(kept["repeated"], (std::vector<std::string>{"in.4.png"}));
  EXPECT_EQ(Slurp(folder / "k.7.png"), Slurp(folder / "in.4.png"));
  const auto skipped =
      Json(RunPf(folder, {"retime", "in.#.png", "-o", "s.%d.png", "--speed", "1/2", "--repeated", "skip", "--json"}));
  EXPECT_EQ(skipped["frames"][6]["previous"], "in.3.png");
  EXPECT_EQ(skipped["frames"][6]["next"], "in.5.png");
  EXPECT_NEAR(skipped["frames"][6]["at"], 0.5, 1e-12);
  EXPECT_NEAR(skipped["frames"][7]["at"], 0.75, 1e-12);
  EXPECT_EQ(skipped["frames"][8]["source"], "in.5.png");
  EXPECT_NE(Slurp(folder / "s.7.png"), Slurp(folder / "in.4.png"));
}

TEST(Retiming, TakesUpWhereItWasLeft) {
  const Folder folder;
  WriteShot(folder, "in", 40);
  std::vector<std::string> run = {"retime",  "in.####.png", "-o",       "out.%03d.png",
                                  "--speed", "0.5",         "--resume", "--json"};
  EXPECT_EQ(Json(RunPf(folder, run))["there_already"], 0);
  const auto before = folder.Names();
  std::filesystem::remove(folder / "out.010.png");
  const std::string made = Slurp(folder / "out.020.png");
  Write(folder / "in.0040.png", Waves8(61));
  auto again = Json(RunPf(folder, run));
  // Frame 10 is missing, and what lies near frame 40 may have changed.
  EXPECT_EQ(again["frames"][9]["frame"], "made");
  EXPECT_EQ(again["frames"][78]["frame"], "source");
  EXPECT_EQ(again["frames"][19]["frame"], "there already");
  EXPECT_GT(again["there_already"], 50);
  EXPECT_EQ(Slurp(folder / "out.079.png"), Slurp(folder / "in.0040.png"));
  EXPECT_EQ(folder.Names(), before);
  // Other options make all anew; a frame that somebody else wrote is not touched.
  run.insert(run.end(), {"--stiffness", "5"});
  again = Json(RunPf(folder, run));
  EXPECT_EQ(again["there_already"], 0);
  std::ofstream(folder / "out.020.png") << "somebody's";
  EXPECT_EQ(RunPf(folder, run).status, 73);
  EXPECT_EQ(Slurp(folder / "out.020.png"), "somebody's");
}

TEST(Retiming, WritesMotion) {
  const Folder folder;
  Write(folder / "a.png", Waves(7, 5, 3, TypeDesc::UINT8, 0));
  Write(folder / "b.png", Waves(7, 5, 3, TypeDesc::UINT8, 1));
  ASSERT_EQ(RunPf(folder, {"retime", "a.png", "b.png", "--vectors", "m.flo"}).status, 0);
  const std::string flow = Slurp(folder / "m.flo");
  ASSERT_EQ(flow.size(), 12u + 7 * 5 * 8);
  EXPECT_EQ(flow.substr(0, 12), std::string("PIEH\7\0\0\0\5\0\0\0", 12));
  ASSERT_EQ(RunPf(folder, {"retime", "a.png", "b.png", "--at", "0", "-o", "o.png", "--vectors", "m.png"}).status, 0);
  WriteShot(folder, "in", 3);
  ASSERT_EQ(RunPf(folder, {"retime", "in.####.png", "--vectors", "v.##.png", "--start", "5"}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(folder / "v.06.png"));
  EXPECT_EQ(pftest::Read(folder / "v.05.png").spec.width, 64);
}

double Distance(const FilePicture& a, const FilePicture& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.count(); ++i) sum += std::abs(a.as<std::uint8_t>()[i] - b.as<std::uint8_t>()[i]);
  return sum / static_cast<double>(a.count());
}

TEST(Retiming, MovesWhatIsInTheFrames) {
  const Folder folder;
  const auto frame = [](double shift) { return Waves(192, 108, 3, TypeDesc::UINT8, shift); };
  Write(folder / "a.png", frame(0));
  Write(folder / "b.png", frame(8));
  ASSERT_EQ(RunPf(folder, {"retime", "a.png", "b.png", "--at", "0.25", "-o", "o.png", "--vectors", "m.png"}).status, 0);
  const FilePicture made = pftest::Read(folder / "o.png");
  EXPECT_LT(Distance(made, frame(2)), 3);
  EXPECT_GT(Distance(made, frame(6)), 10);
  ASSERT_EQ(RunPf(folder, {"retime", "a.png", "b.png", "--vectors", "m.flo"}).status, 0);
  const std::string flow = Slurp(folder / "m.flo");
  std::vector<float> vectors(192 * 108 * 2);
  ASSERT_EQ(flow.size(), 12 + vectors.size() * sizeof(float));
  std::memcpy(vectors.data(), flow.data() + 12, flow.size() - 12);
  const std::size_t middle = 2 * (54 * 192 + 96);
  EXPECT_NEAR(vectors[middle], 8, 0.5);
  EXPECT_NEAR(vectors[middle + 1], 0, 0.5);
  // To the right is red.
  const auto colours = pftest::ValuesOf<std::uint8_t>(folder / "m.png");
  const std::size_t pixel = 3 * (54 * 192 + 96);
  EXPECT_EQ(colours[pixel], 255);
  EXPECT_LT(colours[pixel + 2], 230);
  EXPECT_NEAR(colours[pixel + 1], colours[pixel + 2], 20);
}

TEST(Retiming, FindsCutsInFootage) {
  const char* const data = std::getenv("PF_TEST_DATA");
  if (!data) GTEST_SKIP() << "PF_TEST_DATA is not set";
  const Folder folder;
  const std::vector<std::string> shots = {"bunny_grass_1080p", "sign_hand", "studio_walk", "syn_flower"};
  int number = 0;
  for (const std::string& shot : shots) {
    for (const char* name : {"prev", "mid", "next"}) {
      ASSERT_EQ(RunPf(folder, {"scale", std::string(data) + "/frames/" + shot + "/" + name + ".png", "-o",
                               std::to_string(++number) + ".png", "--size", "320x180", "--fill"})
                    .status,
                0);
    }
  }
  const auto result =
      Json(RunPf(folder, {"retime", "#.png", "-o", "out.##.png", "--at", "0.5", "--mode", "fade", "--json"}));
  std::vector<std::string> cuts;
  for (const auto& cut : result["cuts"]) cuts.push_back(cut["next"]);
  EXPECT_EQ(cuts, (std::vector<std::string>{"4.png", "7.png", "10.png"}));
  for (const char* next : {"2.png", "3.png", "4.png", "7.png", "10.png"}) {
    const auto alone = Json(RunPf(
        folder, {"retime", "1.png", next, "-o", "x.png", "--at", "0.5", "--mode", "fade", "--json", "--overwrite"}));
    EXPECT_EQ(alone["cuts"].size(), next[0] == '2' || next[0] == '3' ? 0u : 1u) << next;
  }
}

TEST(Retiming, TakesFramesOfOnePixel) {
  const Folder folder;
  pftest::WriteValues(folder / "a.png", 1, 1, 1, {100});
  pftest::WriteValues(folder / "b.png", 1, 1, 1, {102});
  ASSERT_EQ(RunPf(folder, {"retime", "a.png", "b.png", "--at", "0.5", "-o", "o.png", "--vectors", "v.flo"}).status, 0);
  EXPECT_NEAR(pftest::ValuesOf<std::uint8_t>(folder / "o.png")[0], 101, 1);
}

TEST(Retiming, RefusesWhatCannotBe) {
  const Folder folder;
  WriteShot(folder, "in", 3);
  Write(folder / "gap.1.png", Waves8(0));
  Write(folder / "gap.3.png", Waves8(0));
  Write(folder / "small.png", Waves(64, 35, 3, TypeDesc::UINT8, 0));
  Write(folder / "deep.png", Waves(64, 36, 3, TypeDesc::UINT16, 0));
  std::ofstream(folder / "cut.png") << Slurp(folder / "in.0001.png").substr(0, 900);
  struct Row {
    int code;
    std::vector<std::string> arguments;
    const char* why;
  };
  const std::string a = "in.0001.png", s = "in.####.png", o = "-o";
  const Row rows[] = {
      {64, {a, "in.0002.png", "--at", "1.5", o, "o.png"}, "above 1"},
      {64, {a, "in.0002.png", "--at", "NaN", o, "o.png"}, "not understood"},
      {64, {a, "in.0002.png", o, "o.png"}, "no times"},
      {64, {a, "in.0002.png", "--at", "0.5"}, "no output"},
      {64, {a, "--at", "0.5", o, "o.png"}, "a single frame"},
      {64, {s, "--speed", "0.5", o, "o.png"}, "no place for their number"},
      {64, {s, "--speed", "0.5", o, "in.%04d.png"}, "also an input"},
      {64, {s, "--speed", "0.000001", o, "o.%d.png"}, "frames would be made"},
      {64, {s, "--at", "0.5", o, "o.%d.png", "--stiffness", "101"}, "above 100"},
      {64, {s, "--at", "0.5", o, "o.%d.png", "--rounds", "2.5"}, "whole number"},
      {64, {s, "--at", "0.5", o, "o.%d.png", "--weights", "50,50,50"}, "add up to 150"},
      {64, {s, "--at", "0.5", o, "o.%d.png", "--blur-steps", "5"}, "no motion blur"},
      {64, {s, "--at", "0.5", o, "o.%d.png", "--largest-motion", "5%,101%"}, "above 100"},
      {64, {s, "--at", "0.5", o, "-", "--resume"}, "pipe"},
      {64, {s, "-", "--at", "0.5", o, "o.%d.png"}, "beside other inputs"},
      {65, {a, "small.png", "--at", "0.5", o, "o.png"}, "64 x 35"},
      {65, {a, "deep.png", "--at", "0.5", o, "o.png"}, "16 bits"},
      {65, {"cut.png", a, "--at", "0", o, "o.png"}, "damaged"},
      {66, {"none.####.png", "--at", "0.5", o, "o.%d.png"}, "no file"},
      {66, {"gap.#.png", "--at", "0.5", o, "o.%d.png"}, "frame 2 is missing"},
      {73, {a, "in.0002.png", "--at", "0.5", o, "deep.png"}, "exists"},
      {73, {s, "--at", "0.5", o, "none/o.%d.png"}, "no such"},
  };
  const auto before = folder.Names();
  for (const Row& row : rows) {
    std::vector<std::string> arguments = {"retime"};
    arguments.insert(arguments.end(), row.arguments.begin(), row.arguments.end());
    const Outcome outcome = RunPf(folder, arguments);
    EXPECT_EQ(outcome.status, row.code) << row.why << ": " << outcome.err;
    const std::size_t sentence = outcome.err.find("pf: cannot");
    ASSERT_NE(sentence, std::string::npos) << row.why << ": " << outcome.err;
    EXPECT_NE(outcome.err.find(row.why, sentence), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin() + static_cast<std::ptrdiff_t>(sentence), outcome.err.end(), '\n'), 1);
    EXPECT_EQ(folder.Names(), before);
  }
  // With the numbers named, what is there follows one another.
  EXPECT_EQ(RunPf(folder, {"retime", "gap.#.png", "--at", "0.5", o, "o.%d.png", "--frames", "1,3"}).status, 0);
}

TEST(Retiming, StopsWithoutDebris) {
  const Folder folder;
  for (int i = 1; i <= 3; ++i) {
    Write(folder / ("in." + std::to_string(i) + ".png"), Waves(1200, 800, 3, TypeDesc::UINT8, 2 * i));
  }
  pftest::Child child(folder, {"retime", "in.#.png", "-o", "out.%04d.png", "--speed", "0.001", "--progress", "plain"});
  ASSERT_TRUE(child.WaitForError("out.0003.png: make"));
  child.Signal(SIGINT);
  EXPECT_EQ(child.Wait().status, 130);
  for (const std::string& name : folder.Names()) {
    EXPECT_TRUE(name.rfind("in.", 0) == 0 || name.rfind("out.", 0) == 0) << name;
    EXPECT_EQ(pftest::Read(folder / name).spec.width, 1200);
  }
}

}  // namespace
