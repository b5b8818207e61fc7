// After explanations that tell another story than the compositor's, and galleries that leave half a folder behind.
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <random>

#include "PF/PF_Compositing.h"
#include "Support.h"
#include "engine.h"
#include "explain.h"
#include "light.h"
#include "mask.h"
#include "output_folder.h"
#include "world.h"

namespace {

using OIIO::TypeDesc;
using pftest::Folder;
using pftest::RunPf;
using pftool::Quad;

// Values at edges or anywhere, some floats beyond 0..1.
double AnyValue(std::mt19937& random, int depth, bool alpha) {
  const double edges[] = {0, 1, 0.5, 0.25};
  const double v = random() % 3 == 0 ? edges[random() % 4] : static_cast<double>(random() % 4097) / 4096;
  if (depth != 32) return std::floor(v * pftool::FullOf(depth) + 0.5);
  return !alpha && random() % 8 == 0 ? v * 3 - 1 : v;
}

pftool::WorldPtr RandomWorld(std::mt19937& random, int width, int depth) {
  pftool::WorldPtr world = pftool::NewWorld(width, 1, depth, "the test");
  for (int i = 0; i < 4 * width; ++i) {
    const double v = AnyValue(random, depth, i % 4 == 0);
    if (depth == 8) static_cast<std::uint8_t*>(world->data)[i] = static_cast<std::uint8_t>(v);
    if (depth == 16) static_cast<std::uint16_t*>(world->data)[i] = static_cast<std::uint16_t>(v);
    if (depth == 32) static_cast<float*>(world->data)[i] = static_cast<float>(v);
  }
  return world;
}

struct ExplainedMode : ::testing::TestWithParam<int> {};

// Each case is one row of pixels, laid by the library at once and explained one by one.
TEST_P(ExplainedMode, IsWhatTheCompositorDoes) {
  constexpr int kWidth = 64;
  const int mode = GetParam();
  const pftool::Engine engine(1);
  const pftool::Tables tables[] = {nullptr, PF_MakeLinearizationTables(pftool::ReadProfile("--profile", "srgb")),
                                   PF_MakeLinearizationTables(pftool::ReadProfile("--profile", "dci-p3"))};
  for (unsigned seed = 0; seed < 36; ++seed) {
    std::mt19937 random(seed);
    const int depth = std::array{8, 16, 32}[seed % 3], mask_depth = std::array{8, 16, 32}[seed / 3 % 3];
    const pftool::Tables& light = tables[random() % 3];
    const bool premultiplied = random() % 4 == 0, masked = random() % 2 == 0;
    const float opacity = random() % 2 == 0 ? 1.0f : static_cast<float>(random() % 1001) / 1000;
    const pftool::WorldPtr layer = RandomWorld(random, kWidth, depth), base = RandomWorld(random, kWidth, depth);
    const pftool::WorldPtr before = pftool::NewWorld(kWidth, 1, depth, "the test");
    before->CopyRect(base.get(), pftool::BoundsOf(*base), 0, 0);
    const pftool::WorldPtr coverage = RandomWorld(random, kWidth, mask_depth);
    const pftool::MaskPtr mask = pftool::NewMask(kWidth, 1, mask_depth, "the test");
    for (int x = 0; x < kWidth; ++x) {
      const double v = pftool::PixelAt(*coverage, x, 0).a;
      if (mask_depth == 8) static_cast<std::uint8_t*>(*mask->data)[x] = static_cast<std::uint8_t>(v);
      if (mask_depth == 16) static_cast<std::uint16_t*>(*mask->data)[x] = static_cast<std::uint16_t>(v);
      if (mask_depth == 32) static_cast<float*>(*mask->data)[x] = static_cast<float>(v);
    }
    const PF_TransferParams params = {mode, premultiplied, opacity, light.get(), masked ? mask.get() : nullptr, {0, 0}};
    const PF_LayerDef from = pftool::RecordOf(*layer);
    PF_LayerDef to = pftool::RecordOf(*base);
    ASSERT_EQ(PF_TransferRect(nullptr, &params, &from, nullptr, &to, nullptr), 0);
    for (int x = 0; x < kWidth; ++x) {
      pftool::ExplainCase c = {&pftool::ModeOf(mode),
                               depth,
                               pftool::PixelAt(*layer, x, 0),
                               pftool::PixelAt(*before, x, 0),
                               premultiplied && mode >= 0 && mode != 21,
                               true,
                               true,
                               opacity,
                               {},
                               light.get()};
      if (masked) c.mask = pftool::ConvertedValue(pftool::PixelAt(*coverage, x, 0).a, mask_depth, depth);
      const pftool::Explanation explanation = pftool::Explain(c);
      const Quad made = pftool::PixelAt(*base, x, 0);
      ASSERT_LE(pftool::StepsFrom(c, explanation, made), 1)
          << "seed " << seed << " depth " << depth << " x " << x << " mask " << masked << " of " << mask_depth
          << (light ? " linear" : "") << (premultiplied ? " premultiplied" : "") << " made " << made.a << " " << made.r
          << " " << made.g << " " << made.b << " explained " << explanation.stored.a << " " << explanation.stored.r
          << " " << explanation.stored.g << " " << explanation.stored.b;
      Quad wrong = made;
      wrong.g += depth == 32 ? 0.01 : 3;
      if (!light) {
        ASSERT_GT(pftool::StepsFrom(c, explanation, wrong), 1) << "a wrong pixel passes";
      }
    }
  }
}

std::vector<int> AllModes() {
  std::vector<int> modes;
  for (const pftool::ModeText& mode : pftool::ModeTexts()) modes.push_back(mode.number);
  return modes;
}
INSTANTIATE_TEST_SUITE_P(All, ExplainedMode, ::testing::ValuesIn(AllModes()),
                         [](const auto& row) { return std::to_string(row.param + 3); });

TEST(Explain, TellsWhatBlendWrites) {
  const Folder folder;
  pftest::FilePicture base(9, 7, 4, TypeDesc::UINT8), layer(5, 5, 4, TypeDesc::UINT16), mask(5, 4, 1, TypeDesc::UINT8);
  base.spec.attribute("oiio:UnassociatedAlpha", 1);
  FillRandom(&base, 1), FillRandom(&layer, 2), FillRandom(&mask, 3);
  for (std::size_t i = 0; i < layer.count(); ++i) {  // premultiplied
    auto* p = layer.as<std::uint16_t>() + i / 4 * 4;
    if (i % 4 != 3) p[i % 4] = static_cast<std::uint16_t>(p[i % 4] * std::uint64_t{p[3]} / 65535);
  }
  Write(folder / "base.png", base);
  Write(folder / "layer.tif", layer);
  Write(folder / "mask.png", mask);
  std::mt19937 random(5);
  for (const char* mode : {"over", "screen", "premul-over", "premultiplied-in", "luminosity"}) {
    const std::vector<std::string> options = {"base.png", "layer.tif", "--mode", mode,       "--opacity",  "0.8",
                                              "--light",  "linear",    "--mask", "mask.png", "--progress", "none"};
    std::vector<std::string> blend = {"blend", "-o", "out.png", "--overwrite", "--at", "3,-1"};
    blend.insert(blend.end(), options.begin(), options.end());
    ASSERT_EQ(RunPf(folder, blend).status, 0);
    const std::vector<std::uint16_t> made = pftest::ValuesOf<std::uint16_t>(folder / "out.png");
    for (int i = 0; i < 4; ++i) {
      const int x = static_cast<int>(random() % 9), y = static_cast<int>(random() % 7);
      const std::string at = std::to_string(x) + "," + std::to_string(y);
      std::vector<std::string> explain = {"explain", "--json", "--place", "3,-1", "--at", at};
      explain.insert(explain.end(), options.begin(), options.end());
      const auto outcome = RunPf(folder, explain);
      ASSERT_EQ(outcome.status, 0) << outcome.err;
      const auto told = nlohmann::json::parse(outcome.out);
      EXPECT_EQ(told["depth"], 16);
      const std::uint16_t* pixel = &made[static_cast<std::size_t>(y * 9 + x) * 4];
      // Mode -2 leaves colours premultiplied; the PNG holds them straight.
      const bool straight = std::string(mode) != "premultiplied-in";
      const char* names[] = {"red", "green", "blue", "alpha"};
      for (int part = straight ? 0 : 3; part < 4; ++part) {
        EXPECT_NEAR(told["library"][names[part]].get<double>() * 65535 / 32768, pixel[part], 1.01) << mode << " " << at;
        EXPECT_NEAR(told["result"][names[part]].get<double>(), told["library"][names[part]].get<double>(), 16) << mode;
      }
    }
  }
  const auto refused = [&](std::vector<std::string> extra) {
    extra.insert(extra.begin(), {"explain", "base.png"});
    return RunPf(folder, extra).status;
  };
  EXPECT_EQ(refused({"layer.tif", "--at", "9,0"}), 64);
  EXPECT_EQ(refused({"layer.tif"}), 64);
  EXPECT_EQ(refused({"layer.tif", "layer.tif", "--at", "0,0"}), 64);
  EXPECT_EQ(refused({"layer.tif", "--at", "0,0", "--mode", "41"}), 64);
  EXPECT_EQ(refused({"layer.png", "--at", "0,0"}), 66);
  EXPECT_EQ(refused({"layer.tif", "--at", "0,0", "--place", "100,100"}), 0);
}

void WriteText(const std::string& path, const std::string& text) { std::ofstream(path) << text; }

TEST(OutputFolders, AppearWholeOrNotAtAll) {
  const Folder folder;
  const std::string target = folder / "made";
  {
    const pftool::OutputFolder abandoned(target, false);
    WriteText(abandoned / "a", "1");
  }
  EXPECT_TRUE(folder.Names().empty());
  const auto make = [&](bool overwrite, const std::string& text) {
    pftool::OutputFolder made(target, overwrite);
    for (const char* name : {"a", "index.html"}) WriteText(made / name, text);
    made.Commit("index.html");
  };
  std::filesystem::create_directory(target);
  make(false, "first");
  WriteText(target + "/mine", "kept");
  EXPECT_THROW(make(false, "second"), pftool::Failure);
  EXPECT_EQ(pftest::Slurp(target + "/a"), "first");
  make(true, "third");
  EXPECT_EQ(pftest::Slurp(target + "/a") + pftest::Slurp(target + "/index.html"), "thirdthird");
  EXPECT_EQ(pftest::Slurp(target + "/mine"), "kept");
  EXPECT_THROW(pftool::OutputFolder(target + "/mine", true), pftool::Failure);
  EXPECT_THROW(pftool::OutputFolder(folder / "no/such", true), pftool::Failure);
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"made"}));
}

TEST(Gallery, ShowsEveryModeAndItsDifferenceFromTheFormula) {
  const Folder folder;
  pftest::FilePicture base(30, 20, 3, TypeDesc::UINT8), layer(7, 40, 4, TypeDesc::UINT16);
  FillRandom(&base, 1), FillRandom(&layer, 2);
  Write(folder / "base.png", base);
  Write(folder / "layer.tif", layer);
  const auto outcome = RunPf(folder, {"gallery", "-o", "g/", "--base", "base.png", "--layer", "layer.tif", "--json"});
  ASSERT_EQ(outcome.status, 0) << outcome.err;
  const auto told = nlohmann::json::parse(outcome.out);
  ASSERT_EQ(told["modes"].size(), 43u);
  const std::string page = pftest::Slurp(folder / "g/index.html");
  for (const auto& mode : told["modes"]) {
    for (const auto& [depth, steps] : mode["difference_in_steps"].items()) {
      EXPECT_LE(steps.get<double>(), depth == "32" ? 0.0 : 0.51) << mode["name"] << " at " << depth;
    }
    for (const char* kind : {"maps", "examples"}) {
      for (const std::string name : mode[kind]) {
        EXPECT_NE(page.find("src=\"" + name + "\""), std::string::npos) << name;
        EXPECT_TRUE(std::filesystem::exists(folder / ("g/" + name))) << name;
      }
    }
  }
  // Source 51 / 255 on the x axis, destination 102 / 255 on the y axis, from below.
  const auto pixel = [&](const char* file) {
    return pftest::Read(folder / file).as<std::uint8_t>()[((255 - 102) * 256 + 51) * 4];
  };
  EXPECT_EQ(pixel("g/add-map-opaque.png"), 153);
  EXPECT_EQ(pixel("g/multiply-map-opaque.png"), 20);
  EXPECT_EQ(pixel("g/difference-map-opaque.png"), 51);
  EXPECT_EQ(RunPf(folder, {"gallery", "-o", "g"}).status, 73);
  EXPECT_EQ(RunPf(folder, {"gallery", "-o", "base.png", "--overwrite"}).status, 73);
  EXPECT_EQ(RunPf(folder, {"gallery", "-o", "h", "--base", "none.png"}).status, 66);
  EXPECT_EQ(folder.Names(), (std::set<std::string>{"base.png", "g", "layer.tif"}));
}

TEST(Gallery, LeavesNothingAfterASignal) {
  for (const int signals : {1, 2}) {
    const Folder folder;
    pftest::Child child(folder, {"gallery", "-o", "g", "--progress", "plain"});
    ASSERT_TRUE(child.WaitForError("overlay"));
    for (int i = 0; i < signals; ++i) child.Signal(SIGINT);
    EXPECT_EQ(child.Wait().status, 130);
    EXPECT_TRUE(folder.Names().empty()) << *folder.Names().begin();
  }
}

}  // namespace
