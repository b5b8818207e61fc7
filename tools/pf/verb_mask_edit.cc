// Verbs that change one mask: invert, fade, blur.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>

#include "choices.h"
#include "engine.h"
#include "mask.h"
#include "numbers.h"
#include "picture_options.h"

namespace pftool {
namespace {

struct EditOptions {
  PictureFiles files;
  MaskReadOptions read;
  std::string amount, kind = "gaussian";
};

/// Changes a mask in place.
using Edit = std::function<void(PF_UnoBuffer* mask, const std::string& where, Reporter* reporter)>;

std::shared_ptr<EditOptions> AddEditOptions(CLI::App& app) {
  const auto options = std::make_shared<EditOptions>();
  AddPictureFiles(app, &options->files);
  AddChannelOption(app, &options->read.channel);
  return options;
}

ExitCode ForEachMask(const char* verb, const EditOptions& options, const CommonOptions& common, const Edit& edit) {
  return ForEachPicture(verb, options.files, common,
                        [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
                          reporter->Stage("read", 0, 0.4);
                          const MaskRead read = ReadMask(job.input, options.read, reporter);
                          reporter->Stage("change", 0.4, 0.6);
                          edit(read.mask.get(), QuotedInput(job.input.name), reporter);
                          reporter->Stage("write", 0.6, 1);
                          return WriteMask(*read.mask, read.facts, request, reporter);
                        });
}

constexpr double kMostFade = 1;

Action SetupInvert(CLI::App& app) {
  const auto options = AddEditOptions(app);
  app.add_option("--fade", options->amount, "Then scale the result by this, 0 to 1")->type_name("F");
  return [options](const CommonOptions& common) {
    const double fade = options->amount.empty() ? 1 : ParseNumber("--fade", options->amount, 0, kMostFade);
    return ForEachMask("mask invert", *options, common,
                       [&](PF_UnoBuffer* mask, const std::string& where, Reporter* reporter) {
                         Check(PF_InvertUnoBuffer(reporter->Info(mask->height), mask), "cannot invert", where);
                         if (fade < 1)
                           Check(PF_FadeUnoBuffer(nullptr, static_cast<float>(fade), mask), "cannot fade", where);
                       });
  };
}

Action SetupFade(CLI::App& app) {
  const auto options = AddEditOptions(app);
  app.add_option("--by", options->amount, "Scale, 0 to 1")->required()->type_name("F");
  return [options](const CommonOptions& common) {
    const auto fade = static_cast<float>(ParseNumber("--by", options->amount, 0, kMostFade));
    return ForEachMask("mask fade", *options, common, [&](PF_UnoBuffer* mask, const std::string& where, Reporter*) {
      Check(PF_FadeUnoBuffer(nullptr, fade, mask), "cannot fade", where);
    });
  };
}

Action SetupBlur(CLI::App& app) {
  const auto options = AddEditOptions(app);
  options->read.deepest = 16;
  app.add_option("--radius", options->amount, "Radius in pixels, 0 to 32767")->required()->type_name("R");
  app.add_option("--kind", options->kind, "Weights")
      ->check(OneOf({"gaussian", "box"}))
      ->type_name("gaussian|box")
      ->capture_default_str();
  return [options](const CommonOptions& common) {
    const auto radius = static_cast<float>(ParseNumber("--radius", options->amount, 0, kLargestRadius));
    return ForEachMask(
        "mask blur", *options, common, [&](PF_UnoBuffer* mask, const std::string& where, Reporter* reporter) {
          const bool box = options->kind == "box";
          const auto scan = mask->depth == 8 ? (box ? PF_BoxBlurUnoScan : PF_GBlurUnoScan)
                                             : (box ? PF_BoxBlurDeepUnoScan : PF_GBlurDeepUnoScan);
          for (const int direction : {0, 1}) {
            Check(scan(mask, mask, radius, direction, reporter->Info(mask->height)), "cannot blur", where);
          }
        });
  };
}

}  // namespace

Verb MaskInvertVerb() {
  return {"mask invert",
          "Turn covered into uncovered",
          "Coverage v becomes full - v, and with --fade that times F.",
          {{"pf mask invert matte.png -o holes.png", "what was covered is free"}},
          kHasAll,
          SetupInvert};
}

Verb MaskFadeVerb() {
  return {"mask fade",
          "Scale a mask",
          "Coverage v becomes v times F, rounded to nearest.",
          {{"pf mask fade matte.png -o half.png --by 0.5", "half as strong"}},
          kHasAll,
          SetupFade};
}

Verb MaskBlurVerb() {
  return {"mask blur",
          "Soften a mask",
          "Blurs along rows, then along columns. Beyond the border coverage counts as none, so masks that touch it "
          "fade there. Float masks are blurred at 16 bits.",
          {{"pf mask blur matte.png -o soft.png --radius 12", "a soft edge of 12 pixels"},
           {"pf mask blur 'm.####.png' -o 'soft.####.png' --radius 40 --kind box", "a sequence, quickly"}},
          kHasAll,
          SetupBlur};
}

}  // namespace pftool
