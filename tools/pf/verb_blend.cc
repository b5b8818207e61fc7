#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "engine.h"
#include "layers.h"

namespace pftool {
namespace {

/// What one picture of the run reads: base, layers, masks.
using Sources = std::vector<InputName>;

WrittenFacts BlendOne(const BlendOptions& options, const std::vector<LayerPlan>& plan, const Sources& sources,
                      const PF_LinearBlendingTables* tables, WriteRequest request, Reporter* reporter) {
  const std::size_t layers = plan.size();
  std::vector<LoadedPicture> pictures;
  reporter->Stage("read", 0, 0.4);
  for (std::size_t i = 0; i <= layers; ++i) pictures.push_back(LoadPicture(sources[i], options.read, reporter));
  const int depth = WorkingDepth(pictures, options.depth);
  for (LoadedPicture& picture : pictures) Bring(&picture, depth, picture.alpha, reporter);

  LoadedPicture& base = pictures.front();
  std::size_t next_mask = layers + 1;
  for (std::size_t i = 0; i < layers; ++i) {
    const double from = 0.4 + 0.3 * static_cast<double>(i) / static_cast<double>(layers);
    reporter->Stage("blend", from, from + 0.3 / static_cast<double>(layers));
    std::optional<MaskRead> mask;
    if (!plan[i].mask.empty()) mask = ReadMask(sources[next_mask++], {options.mask_channel, 32}, reporter);
    LayOnto(&base, &pictures[i + 1], plan[i], mask ? mask->mask.get() : nullptr, tables, reporter);
    pictures[i + 1].world.reset();
  }
  reporter->Stage("write", 0.7, 1);
  const bool back_to_8 =
      options.depth == 0 && depth == 16 &&
      std::all_of(pictures.begin(), pictures.end(), [](const auto& p) { return p.facts.depth == 8; });
  if (back_to_8) base.world = Converted(std::move(base.world), 8, false, QuotedInput(sources[0].name), reporter);
  request.depth_was_asked = options.depth != 0;
  return WritePicture(std::move(base.world), base.alpha, base.facts, request, reporter);
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<BlendOptions>();
  AddBlendOptions(app, options.get());
  AddOutput(app, &options->files);
  return [options](const CommonOptions& common) {
    const std::vector<LayerPlan> plan = PlanLayers(*options);
    RefuseJsonWithPicture(options->files, common);
    const std::vector<Inputs> inputs = GroupInputs(InputNames(*options, plan), common.frames);
    const std::vector<Job> jobs = PairWithOutputs(inputs.front(), options->files.output, common.overwrite);
    std::optional<Tables> tables;  // made once, when the library runs
    std::size_t index = 0;
    return ForEachJob("blend", jobs, options->files, common,
                      [&](const Job&, const WriteRequest& request, Reporter* reporter) {
                        if (!tables) tables = TablesFor(options->light, reporter);
                        Sources sources;
                        for (const Inputs& input : inputs) sources.push_back(input.files()[index]);
                        ++index;
                        return BlendOne(*options, plan, sources, tables->get(), request, reporter);
                      });
  };
}

}  // namespace

Verb BlendVerb() {
  return {
      "blend",
      "Lay pictures onto a picture by transfer modes",
      "The layers are laid onto the base from left to right; --mode, --opacity, --mask and --at are given once for all "
      "layers, or once for each. The result has the base's size. Values are blended as they are stored, or, with "
      "--light linear, in the linear light of a colour space: sums of light look as in a camera, and soft edges do not "
      "darken. Pictures of different depths are composed at the deepest one.",
      {{"pf blend photo.jpg logo.png -o out.png --at 40,30", "a logo over a photograph"},
       {"pf blend photo.jpg glow.png -o out.png --mode add --light linear", "light added to light"},
       {"pf blend base.png a.png b.png -o out.png --mode multiply --mode over --opacity 0.5 --opacity 1",
        "two layers with modes of their own"},
       {"pf blend 'plate.####.exr' 'fx.####.exr' -o 'comp.####.exr' --mode screen --mask matte.png",
        "a sequence through one mask"}},
      kHasAll,
      Setup};
}

}  // namespace pftool
