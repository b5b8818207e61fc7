#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <utility>

#include "engine.h"
#include "explain.h"
#include "gallery.h"
#include "layers.h"

namespace pftool {
namespace {

struct ExplainOptions {
  BlendOptions blend;
  std::string at;
};

/// What was found out about one pixel.
struct Finding {
  Explanation explanation;
  Quad library;  ///< what the library's compositor made of it
  double steps;
  int depth;
  PointText at;
  const LayerPlan* plan;
  bool linear;
};

double ValueOf(const PF_UnoBuffer& mask, int x, int y) {
  const auto i = static_cast<std::size_t>(y) * static_cast<std::size_t>(mask.width) + static_cast<std::size_t>(x);
  const void* values = *mask.data;
  if (mask.depth == 8) return static_cast<const std::uint8_t*>(values)[i];
  if (mask.depth == 16) return static_cast<const std::uint16_t*>(values)[i];
  return double{static_cast<const float*>(values)[i]};
}

bool Inside(int x, int y, int width, int height) { return x >= 0 && y >= 0 && x < width && y < height; }

Finding Find(const BlendOptions& options, const LayerPlan& plan, PointText at, const std::vector<Inputs>& inputs,
             const PF_LinearBlendingTables* tables, Reporter* reporter) {
  reporter->Stage("read", 0, 0.6);
  std::vector<LoadedPicture> pictures;
  for (std::size_t i = 0; i < 2; ++i) {
    pictures.push_back(LoadPicture(inputs[i].files().front(), options.read, reporter));
  }
  LoadedPicture &base = pictures[0], &layer = pictures[1];
  if (!Inside(at.x, at.y, base.world->width, base.world->height)) {
    throw UsageFailure(
        "cannot use --at", fmt::format("'{},{}'", at.x, at.y),
        fmt::format("{} has {} x {} pixels", QuotedInput(base.facts.name), base.world->width, base.world->height),
        "pixels are counted from 0,0 at the top left");
  }
  const int depth = WorkingDepth(pictures, options.depth);
  for (LoadedPicture& picture : pictures) Bring(&picture, depth, picture.alpha, reporter);
  BringFor(plan, &base, &layer, reporter);

  const int x = at.x - plan.at.x, y = at.y - plan.at.y;
  ExplainCase c = {plan.mode,    depth, {},    PixelAt(*base.world, at.x, at.y), DividesLayer(plan, layer), false, true,
                   plan.opacity, {},    tables};
  c.inside = Inside(x, y, layer.world->width, layer.world->height);
  std::optional<MaskRead> mask;
  if (!plan.mask.empty()) {
    mask = ReadMask(inputs[2].files().front(), {options.mask_channel, 32}, reporter);
    c.covered = Inside(x, y, mask->mask->width, mask->mask->height);
    if (c.covered) c.mask = ConvertedValue(ValueOf(*mask->mask, x, y), mask->mask->depth, depth);
  }
  if (c.inside) c.layer = PixelAt(*layer.world, x, y);
  Finding finding = {Explain(c), {}, 0, depth, at, &plan, tables != nullptr};
  reporter->Stage("blend", 0.6, 1);
  LayOnto(&base, &layer, plan, mask ? mask->mask.get() : nullptr, tables, reporter);
  finding.library = PixelAt(*base.world, at.x, at.y);
  finding.steps = StepsFrom(c, finding.explanation, finding.library);
  return finding;
}

std::string Cell(double unit, int depth) {
  if (depth == 8 || depth == 16) return fmt::format("{:>6} = {:<11.6g}", std::lround(unit * FullOf(depth)), unit);
  return fmt::format("{:>9}{:<11.6g}", "", unit);
}

std::string LineOf(const ExplainRow& row) {
  std::string line = fmt::format("{:<16}", row.name);
  const double values[] = {row.value.a, row.value.r, row.value.g, row.value.b};
  for (int i = 0; i < 4; ++i) {
    const bool shown = row.parts == Parts::kPixel || (row.parts == Parts::kOne) == (i == 0);
    line += shown ? Cell(values[i], row.depth) : std::string(20, ' ');
  }
  line += row.formula;
  return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string Verdict(const Finding& finding) {
  const Quad &a = finding.library, &b = finding.explanation.stored;
  const char* same = a.a == b.a && a.r == b.r && a.g == b.g && a.b == b.b ? " gives the same: it" : "";
  return fmt::format("The library's compositor{} is within {:.3g} of a step of the formula.\n", same, finding.steps);
}

std::string TextOf(const Finding& finding, const BlendOptions& options) {
  const LayerPlan& plan = *finding.plan;
  std::string text = fmt::format(
      "pixel {},{} of {}, {} on it at {},{}\nmode {}, {}, {}, {} light\n  {}\n", finding.at.x, finding.at.y,
      QuotedInput(options.base), QuotedInput(options.layers.front()), plan.at.x, plan.at.y, plan.mode->number,
      plan.mode->name, DepthText(finding.depth), finding.linear ? "linear" : "stored", plan.mode->formula);
  const std::string family = FamilyText(plan.mode->number);
  if (!family.empty()) text += "  " + family + "\n";
  text += fmt::format("\n{:<16}{:<20}{:<20}{:<20}{:<20}\n", "", "    alpha", "    red", "    green", "    blue");
  for (const ExplainRow& row : finding.explanation.rows) text += LineOf(row);
  text += LineOf({"library", "", UnitOf(finding.library, finding.depth), Parts::kPixel, finding.depth});
  return text + "\n" + Verdict(finding);
}

nlohmann::json JsonOf(const Quad& value, Parts parts) {
  if (parts == Parts::kOne) return {{"value", value.a}};
  nlohmann::json json = {{"red", value.r}, {"green", value.g}, {"blue", value.b}};
  if (parts == Parts::kPixel) json["alpha"] = value.a;
  return json;
}

nlohmann::json StoredJson(const Quad& unit, Parts parts, int depth) {
  const double full = FullOf(depth);
  return JsonOf({unit.a * full, unit.r * full, unit.g * full, unit.b * full}, parts);
}

nlohmann::json JsonOf(const Finding& finding, const BlendOptions& options) {
  const LayerPlan& plan = *finding.plan;
  nlohmann::json steps = nlohmann::json::array();
  for (const ExplainRow& row : finding.explanation.rows) {
    nlohmann::json step = {{"name", row.name}, {"formula", row.formula}, {"unit", JsonOf(row.value, row.parts)}};
    if (row.depth) step["stored"] = StoredJson(row.value, row.parts, row.depth);
    steps.push_back(std::move(step));
  }
  return {{"verb", "explain"},
          {"base", options.base},
          {"layer", options.layers.front()},
          {"at", {finding.at.x, finding.at.y}},
          {"place", {plan.at.x, plan.at.y}},
          {"mode", plan.mode->number},
          {"name", plan.mode->name},
          {"formula", plan.mode->formula},
          {"depth", finding.depth},
          {"light", finding.linear ? "linear" : "stored"},
          {"steps", steps},
          {"result", JsonOf(finding.explanation.stored, Parts::kPixel)},
          {"library", JsonOf(finding.library, Parts::kPixel)},
          {"difference_in_steps", finding.steps}};
}

ExitCode Run(const ExplainOptions& options, const CommonOptions& common) {
  const std::vector<LayerPlan> plan = PlanLayers(options.blend);
  const PointText at = ParsePoint("--at", options.at);
  const std::vector<Inputs> inputs = GroupInputs(InputNames(options.blend, plan), common.frames);
  if (inputs.front().files().size() != 1) {
    throw UsageFailure("cannot explain", "a sequence", "one pixel of one picture is explained at a time",
                       "choose a frame, like --frames 12");
  }
  const Engine engine(common.threads);
  Reporter reporter(common.progress);
  reporter.Begin(1);
  reporter.Picture(options.blend.base);
  const Tables tables = TablesFor(options.blend.light, &reporter);
  const Finding finding = Find(options.blend, plan.front(), at, inputs, tables.get(), &reporter);
  PrintResult(common.json ? JsonText(JsonOf(finding, options.blend)) : TextOf(finding, options.blend));
  if (finding.steps <= 1) return ExitCode::kDone;
  throw Failure(ExitCode::kInternal, "cannot vouch for", fmt::format("pixel {},{}", at.x, at.y),
                fmt::format("the library's result is {:.3g} steps from the formula", finding.steps),
                "please report this with the command line and the pictures");
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<ExplainOptions>();
  options->blend.place_option = "--place";
  AddBlendOptions(app, &options->blend);
  app.get_option("layers")->expected(1)->type_name("LAYER");
  app.add_option("--at", options->at, "The pixel of the base to explain")->required()->type_name("X,Y");
  return [options](const CommonOptions& common) { return Run(*options, common); };
}

}  // namespace

Verb ExplainVerb() {
  return {"explain",
          "Show every step of a blend at one pixel",
          "Takes the options of 'pf blend' for one layer; as --at names the pixel here, the layer is placed by "
          "--place. Stored values are shown as integers = part of full, then come the effective alpha, linear values, "
          "the terms of the mode's formula in double precision, the result before and after rounding, and what the "
          "library's compositor makes of the same pixel. If that is more than one step from the formula the run "
          "ends with code 70. A float picture's step is a millionth, and its formula counts in single precision.",
          {{"pf explain photo.jpg logo.png --at 120,80 --mode multiply", "one pixel of a blend"},
           {"pf explain photo.jpg glow.png --at 64,64 --place 40,30 --mode add --light linear --opacity 0.5",
            "the same in linear light, with the layer elsewhere"},
           {"pf explain a.png b.png --at 0,0 --json", "for programs"}},
          kHasJson | kHasWork,
          Setup};
}

}  // namespace pftool
