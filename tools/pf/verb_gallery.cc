#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "PF/PF_TransferModes.h"
#include "engine.h"
#include "gallery.h"
#include "output_file.h"
#include "output_folder.h"

namespace pftool {
namespace {

constexpr int kWidth = 200, kHeight = 150;
constexpr const char* kPage = "index.html";

struct GalleryOptions {
  std::string folder, base, layer, profile = "srgb";
  ReadOptions read;
};

void WritePng(WorldPtr world, const std::string& path, Reporter* reporter) {
  PictureFacts like;
  like.channels = like.file_channels = 4;
  like.alpha = Alpha::kStraight;
  like.encoding = "sRGB";
  like.spec.attribute("oiio:ColorSpace", "sRGB");
  WritePicture(std::move(world), Alpha::kStraight, like, {path, &FormatFor(path, ""), false, false}, reporter);
}

double CheckedMaps(const ModeText& mode, int depth, const OutputFolder& folder, Reporter* reporter) {
  double steps = 0;
  for (const MapAlphas& alphas : kMapAlphas) {
    ResponseMap map = MakeMap(mode, depth, alphas, reporter);
    steps = std::max(steps, map.steps);
    if (depth == 8) WritePng(std::move(map.picture), folder / MapFile(mode, alphas), reporter);
  }
  if (steps <= 1) return steps;
  throw Failure(
      ExitCode::kInternal, "cannot vouch for", fmt::format("mode {}", mode.name),
      fmt::format("at {} the library's result is up to {:.3g} steps from the formula", DepthText(depth), steps),
      "please report this");
}

GalleryEntry ShowMode(const ModeText& mode, const ExamplePictures& pictures, const PF_LinearBlendingTables* tables,
                      const OutputFolder& folder, Reporter* reporter) {
  GalleryEntry entry = {&mode, {}};
  for (std::size_t i = 0; i < kGalleryDepths.size(); ++i) {
    const int depth = kGalleryDepths[i];
    reporter->Stage("mode " + std::string(mode.name), static_cast<double>(i) / 3, static_cast<double>(i + 1) / 3);
    entry.steps[i] = CheckedMaps(mode, depth, folder, reporter);
    for (const bool linear : {false, true}) {
      WritePng(MakeExample(mode, depth, pictures, linear ? tables : nullptr, reporter),
               folder / ExampleFile(mode, depth, linear), reporter);
    }
  }
  return entry;
}

nlohmann::json JsonOf(const GalleryEntry& entry) {
  const ModeText& mode = *entry.mode;
  nlohmann::json maps = nlohmann::json::array(), examples = nlohmann::json::array(), steps;
  for (const MapAlphas& alphas : kMapAlphas) maps.push_back(MapFile(mode, alphas));
  for (std::size_t i = 0; i < kGalleryDepths.size(); ++i) {
    steps[std::to_string(kGalleryDepths[i])] = entry.steps[i];
    for (const bool linear : {false, true}) examples.push_back(ExampleFile(mode, kGalleryDepths[i], linear));
  }
  return {{"mode", mode.number},
          {"name", mode.name},
          {"formula", mode.formula},
          {"flag", PF_GetTransferFlags(mode.number)},
          {"maps", maps},
          {"examples", examples},
          {"difference_in_steps", steps}};
}

ExitCode Run(const GalleryOptions& options, const CommonOptions& common) {
  if (!common.frames.empty()) {
    throw UsageFailure("cannot use", "--frames", "a gallery shows single pictures", "name the files of two frames");
  }
  std::vector<std::string> names;
  for (const std::string& name : {options.base, options.layer}) {
    if (!name.empty()) names.push_back(name);
  }
  const std::vector<Inputs> inputs = names.empty() ? std::vector<Inputs>() : GroupInputs(names, "");
  const auto input = [&](bool given, std::size_t index) {
    if (!given) return std::optional<InputName>();
    if (inputs[index].files().size() == 1) return std::optional(inputs[index].files().front());
    throw UsageFailure("cannot show", QuotedInput(names[index]), "it is a sequence", "name the file of one frame");
  };
  const std::optional<InputName> base = input(!options.base.empty(), 0);
  const std::optional<InputName> layer = input(!options.layer.empty(), names.size() - 1);

  const Engine engine(common.threads);
  Reporter reporter(common.progress);
  reporter.Begin(ModeTexts().size());
  const Profile profile = ReadProfile("--profile", options.profile);
  Tables tables;
  Guarded("cannot use the profile", options.profile, [&] { tables = PF_MakeLinearizationTables(profile); });
  OutputFolder folder(options.folder, common.overwrite);
  const ExamplePictures pictures = MakeExamplePictures(base, layer, kWidth, kHeight, options.read, &reporter);
  WritePng(ShownAt8Bits(*pictures.base, &reporter), folder / "base.png", &reporter);
  WritePng(ShownAt8Bits(*pictures.layer, &reporter), folder / "layer.png", &reporter);
  std::vector<GalleryEntry> entries;
  for (const ModeText& mode : ModeTexts()) {
    reporter.Picture(mode.name);
    entries.push_back(ShowMode(mode, pictures, tables.get(), folder, &reporter));
  }
  OutputFile page(folder / kPage, false);
  page.Write(GalleryPage(entries, pictures, ProfileTitle(profile)));
  page.Commit();
  folder.Commit(kPage);
  if (!common.json) return ExitCode::kDone;
  nlohmann::json modes = nlohmann::json::array();
  for (const GalleryEntry& entry : entries) modes.push_back(JsonOf(entry));
  PrintResult(JsonText({{"verb", "gallery"}, {"folder", options.folder}, {"page", kPage}, {"modes", modes}}));
  return ExitCode::kDone;
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<GalleryOptions>();
  app.add_option("-o,--output", options->folder, "Folder to make, with index.html and its pictures")
      ->required()
      ->type_name("FOLDER");
  app.add_option("--base", options->base, "Picture below; without it one is made")->type_name("PICTURE");
  app.add_option("--layer", options->layer, "Picture laid on it; without it one is made")->type_name("PICTURE");
  app.add_option("--profile", options->profile, "Colour space of the pictures, for linear light: file or name")
      ->type_name("FILE|NAME")
      ->capture_default_str();
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) { return Run(*options, common); };
}

}  // namespace

Verb GalleryVerb() {
  return {"gallery",
          "Show all transfer modes on a page",
          "For every mode its number, name, flag and formula, how the result depends on source and destination values, "
          "and an example at three depths, on stored values and in linear light. The response maps are compared with "
          "the formulas in double precision; a difference above one step ends the run with code 70. The folder needs "
          "nothing outside itself, and appears whole or not at all.",
          {{"pf gallery -o modes", "with pictures made by rule"},
           {"pf gallery -o modes --base photo.jpg --layer cut-out.png", "with pictures of one's own"}},
          kHasAll,
          Setup};
}

}  // namespace pftool
