#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>

#include "picture_options.h"

namespace pftool {
namespace {

struct InfoOptions {
  std::vector<std::string> inputs;
  ReadOptions read;
  bool metadata = false;
  bool check = false;
};

std::size_t ProfileBytes(const PictureFacts& facts) {
  const OIIO::ParamValue* profile = facts.spec.find_attribute("ICCProfile");
  return profile ? profile->type().size() : 0;
}

/// An attribute as text; blocks of bytes as their size.
std::string TextOf(const OIIO::ParamValue& attribute, int values) {
  if (attribute.type().basetype == OIIO::TypeDesc::UINT8 && attribute.type().arraylen) {
    return fmt::format("{} bytes", attribute.type().size());
  }
  return attribute.get_string(values);
}

nlohmann::json JsonOf(const PictureFacts& facts, bool checked) {
  nlohmann::json value = {{"name", facts.name},
                          {"format", facts.format},
                          {"width", facts.width},
                          {"height", facts.height},
                          {"channels", facts.file_channels},
                          {"channel_names", facts.spec.channelnames},
                          {"type", facts.spec.format.c_str()},
                          {"depth", facts.depth},
                          {"alpha", AlphaText(facts.alpha)},
                          {"encoding", facts.encoding},
                          {"orientation", facts.spec.get_int_attribute("Orientation", 1)},
                          {"profile_bytes", ProfileBytes(facts)},
                          {"world_bytes", WorldBytes(facts.width, facts.height, facts.depth)},
                          {"more_parts", facts.has_more_parts},
                          {"pixels_checked", checked}};
  for (const OIIO::ParamValue& attribute : facts.spec.extra_attribs) {
    value["metadata"][attribute.name().string()] = TextOf(attribute, 200);
  }
  return value;
}

std::string TextOf(const PictureFacts& facts, const InfoOptions& options) {
  std::string text = fmt::format("{}\n  file      {}, {} x {} pixels, {} x {}\n", facts.name, facts.format, facts.width,
                                 facts.height, facts.file_channels, facts.spec.format.c_str());
  text += fmt::format("  read as   {}\n", AssumptionText(facts));
  text += fmt::format("  world     {:.1f} MB\n",
                      static_cast<double>(WorldBytes(facts.width, facts.height, facts.depth)) / 1e6);
  if (const std::size_t bytes = ProfileBytes(facts)) text += fmt::format("  profile   ICC, {} bytes\n", bytes);
  if (options.check) text += "  pixels    complete\n";
  if (!options.metadata) return text;
  for (const OIIO::ParamValue& attribute : facts.spec.extra_attribs) {
    text += fmt::format("    {} = {}\n", attribute.name().string(), TextOf(attribute, 16));
  }
  return text;
}

void CheckPixels(PictureReader* reader, Reporter* reporter) {
  const PictureFacts& facts = reader->facts();
  std::vector<std::byte> band(reader->band_row_bytes() * static_cast<std::size_t>(reader->band_rows()));
  reporter->Stage("check", 0, 1);
  for (int first = 0; first < facts.height; first += reader->band_rows()) {
    reader->ReadBand(first, band.data(), reporter);
    reporter->Rows(first, facts.height);
  }
}

ExitCode Run(const InfoOptions& options, const CommonOptions& common) {
  const Inputs inputs(options.inputs, common.frames);
  Reporter reporter(common.progress);
  reporter.Begin(inputs.files().size());
  nlohmann::json pictures = nlohmann::json::array();
  for (const InputName& input : inputs.files()) {
    reporter.Picture(input.name);
    PictureReader reader(input.path, input.name, options.read);
    if (options.check) CheckPixels(&reader, &reporter);
    if (common.json) {
      pictures.push_back(JsonOf(reader.facts(), options.check));
    } else {
      PrintResult(TextOf(reader.facts(), options));
    }
  }
  if (common.json) PrintResult(JsonText({{"pictures", pictures}}));
  return ExitCode::kDone;
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<InfoOptions>();
  app.add_option("inputs", options->inputs, "Pictures, sequences like shot.%04d.exr or shot.####.exr, or - for a pipe")
      ->required()
      ->type_name("INPUT");
  app.add_flag("--metadata", options->metadata, "List everything that the file says about itself");
  app.add_flag("--check", options->check, "Also read all pixels, to find files that end early");
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) { return Run(*options, common); };
}

}  // namespace

Verb InfoVerb() {
  return {"info",
          "Tell what a picture is and how it would be read",
          "Size, type and channels of the file, the depth and alpha convention that the other verbs assume, and the "
          "memory that its pixels take.",
          {{"pf info photo.jpg", "one picture"},
           {"pf info --json *.png", "several, for a program"},
           {"pf info 'shot.####.exr' --check", "look for damaged frames"}},
          kHasJson | kHasWork,
          Setup};
}

}  // namespace pftool
