#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

#include "PF/PF_Copy.h"
#include "engine.h"
#include "output_file.h"
#include "picture_options.h"
#include "scale_plan.h"
#include "sheet.h"

namespace pftool {
namespace {

struct SheetOptions {
  std::vector<std::string> inputs, captions;
  std::string output, page, title, cell = "320x240";
  int columns = 4;
  bool linear = false;
  ReadOptions read;
};

float Encoded(float linear) {
  if (!(linear > 0)) return 0;
  return linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}

/// Puts the sRGB curve on the colours of a float world.
void EncodeForDisplay(PF_World* world) {
  for (int y = 0; y < world->height; ++y) {
    auto* row = reinterpret_cast<PF_PixelFloat*>(static_cast<std::byte*>(world->data) +
                                                 static_cast<std::ptrdiff_t>(y) * world->row_bytes);
    for (int x = 0; x < world->width; ++x) {
      row[x].red = Encoded(row[x].red);
      row[x].green = Encoded(row[x].green);
      row[x].blue = Encoded(row[x].blue);
    }
  }
}

/// The world reduced to fit the cell; small ones stay as they are.
WorldPtr Reduced(WorldPtr world, Alpha alpha, const SheetLayout& layout, const std::string& where, Reporter* reporter) {
  if (world->width <= layout.cell_width && world->height <= layout.cell_height) return world;
  const ScaleRequest request{SizeText{layout.cell_width, layout.cell_height}, {}, {}, Aspect::kFit};
  const ScalePlan plan = PlanScale(world->width, world->height, request, where);
  WorldPtr small = NewWorld(plan.width, plan.height, world->Depth(), where);
  const PF_LayerDef from = RecordOf(*world);
  PF_LayerDef to = RecordOf(*small);
  const auto copy = alpha == Alpha::kPremultiplied ? PF_CopyBits_HQ_Premul : PF_CopyBits_HQ_Straight;
  Check(copy(reporter->Info(plan.height), &from, &to, nullptr, nullptr), "cannot scale", where);
  return small;
}

WorldPtr Thumbnail(PictureReader* reader, const SheetOptions& options, const SheetLayout& layout, Reporter* reporter) {
  const PictureFacts& facts = reader->facts();
  const std::string where = QuotedInput(facts.name);
  RequireMemory(WorldBytes(facts.width, facts.height, facts.depth), where);
  WorldPtr world = NewWorld(facts.width, facts.height, facts.depth, where);
  reporter->Stage("read", 0, 0.7);
  reader->ReadInto(world.get(), reporter);
  reporter->Stage("scale", 0.7, 1);
  world = Reduced(std::move(world), facts.alpha, layout, where, reporter);
  if (options.linear) {
    world = Converted(std::move(world), 32, false, where, reporter);
    EncodeForDisplay(world.get());
  }
  return Converted(std::move(world), 8, false, where, reporter);
}

std::string FactsText(const PictureFacts& facts) {
  return fmt::format("{} x {}, {}, {}", facts.width, facts.height,
                     facts.depth == 32 ? "float" : std::to_string(facts.depth) + "-bit", AlphaText(facts.alpha));
}

void DrawCaption(Canvas* canvas, const std::string& text, int left, int baseline, int width, int size,
                 Reporter* reporter) {
  if (text.empty() || canvas->DrawText(text, left, baseline, width, size)) return;
  reporter->Note("captions are left out because the font DejaVu Sans is not installed");
}

void DrawPicture(Canvas* canvas, const SheetLayout& layout, std::size_t index, const PF_World& world, Alpha alpha,
                 const std::string& caption, Reporter* reporter) {
  const int left = layout.left(index), top = layout.top(index);
  canvas->DrawOverChecks(world, alpha, left + (layout.cell_width - world.width) / 2,
                         top + (layout.cell_height - world.height) / 2);
  DrawCaption(canvas, caption, left, top + layout.cell_height + 18, layout.cell_width, 14, reporter);
}

void WriteCanvas(const Canvas& canvas, const FileFormat& format, const SheetOptions& options, bool overwrite,
                 Reporter* reporter) {
  WorldPtr world = NewWorld(canvas.width(), canvas.height(), 8, "the sheet");
  PictureFacts like;
  like.channels = like.file_channels = 3;
  like.encoding = "sRGB";
  like.spec.attribute("oiio:ColorSpace", "sRGB");
  for (int y = 0; y < canvas.height(); ++y) {
    auto* row = static_cast<std::byte*>(world->data) + static_cast<std::ptrdiff_t>(y) * world->row_bytes;
    RowToWorld(reinterpret_cast<const std::byte*>(canvas.row(y)), OIIO::TypeDesc::UINT8, like, canvas.width(), row);
  }
  WritePicture(std::move(world), Alpha::kNone, like, {options.output, &format, overwrite, false}, reporter);
}

SheetLayout LayoutOf(const SheetOptions& options, std::size_t pictures) {
  const SizeText cell = ParseSize("--cell", options.cell);
  if (cell.width == 0 || cell.height == 0) {
    throw UsageFailure("cannot use --cell", "'" + options.cell + "'", "both sides are needed", "write it like 320x240");
  }
  return {options.columns, cell.width, cell.height, !options.title.empty(), pictures};
}

void CheckOptions(const SheetOptions& options, const Inputs& inputs, bool overwrite) {
  if (!options.captions.empty() && options.captions.size() != inputs.files().size()) {
    throw UsageFailure(
        "cannot use --caption", "",
        fmt::format("there are {} captions for {} pictures", options.captions.size(), inputs.files().size()),
        "give one for each picture, or none");
  }
  CheckOutputPath(options.output, overwrite);
  if (options.page.empty()) return;
  if (options.output == "-" || options.page == "-" || options.output == options.page) {
    throw UsageFailure("cannot write", "the page", "the sheet and the page need two file names", "name two files");
  }
  CheckOutputPath(options.page, overwrite);
}

ExitCode Run(const SheetOptions& options, const CommonOptions& common) {
  const Inputs inputs(options.inputs, common.frames);
  CheckOptions(options, inputs, common.overwrite);
  const FileFormat& format = FormatFor(options.output, "");
  const SheetLayout layout = LayoutOf(options, inputs.files().size());
  Canvas canvas(layout.width(), layout.height());
  const Engine engine(common.threads);
  Reporter reporter(common.progress);
  reporter.Begin(inputs.files().size());
  std::vector<SheetEntry> entries;
  for (std::size_t i = 0; i < inputs.files().size(); ++i) {
    const InputName& input = inputs.files()[i];
    reporter.Picture(input.name);
    PictureReader reader(input.path, input.name, options.read);
    const WorldPtr thumbnail = Thumbnail(&reader, options, layout, &reporter);
    const std::string caption =
        options.captions.empty() ? std::filesystem::path(input.name).filename().string() : options.captions[i];
    DrawPicture(&canvas, layout, i, *thumbnail, reader.facts().alpha, caption, &reporter);
    entries.push_back({input.name, caption, FactsText(reader.facts())});
  }
  DrawCaption(&canvas, options.title, 0, 40, canvas.width(), 24, &reporter);
  // The page is made first and named last, so that a failure leaves neither file.
  std::unique_ptr<OutputFile> page;
  if (!options.page.empty()) {
    page = std::make_unique<OutputFile>(options.page, common.overwrite);
    page->Write(SheetPage(options.page, options.output, options.title, layout, entries));
  }
  WriteCanvas(canvas, format, options, common.overwrite, &reporter);
  if (page) page->Commit();
  return ExitCode::kDone;
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<SheetOptions>();
  app.add_option("inputs", options->inputs, "Pictures or sequences")->required()->type_name("INPUT");
  app.add_option("-o,--output", options->output, "The sheet, a picture file")->required()->type_name("OUTPUT");
  app.add_option("--page", options->page, "Also write an HTML page with links to the pictures")->type_name("FILE");
  app.add_option("--columns", options->columns, "Pictures in a row")
      ->check(CLI::Range(1, 100))
      ->type_name("N")
      ->capture_default_str();
  app.add_option("--cell", options->cell, "Room for one picture; larger ones are reduced into it")
      ->type_name("WxH")
      ->capture_default_str();
  app.add_option("--caption", options->captions,
                 "Texts below the pictures, one for each in order; without it the file names")
      ->type_name("TEXT...");
  app.add_option("--title", options->title, "Text at the top")->type_name("TEXT");
  app.add_flag("--linear", options->linear, "The values are linear light: show them through the sRGB curve");
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) { return Run(*options, common); };
}

}  // namespace

Verb SheetVerb() {
  return {
      "sheet",
      "Put pictures on a contact sheet",
      "Pictures larger than their cell are reduced in high quality, smaller ones are shown pixel for pixel. What is "
      "transparent shows a checkerboard. Float values are limited to 0..1.",
      {{"pf sheet a.jpg b.png -o sheet.png --columns 2", "two pictures side by side"},
       {"pf sheet 'shot.####.exr' -o sheet.png --page sheet.html --linear", "every frame, with a page of links"}},
      kHasWork | kHasWrite,
      Setup};
}

}  // namespace pftool
