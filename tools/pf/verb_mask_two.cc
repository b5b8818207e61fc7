// Verbs that take a mask and something else: combine, apply.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "choices.h"
#include "engine.h"
#include "mask.h"
#include "numbers.h"
#include "picture_options.h"

namespace pftool {
namespace {

struct TwoOptions {
  PictureFiles files;
  std::string first, second, at = "0,0";
  MaskReadOptions read;       // of the second, and of the first too when it is a mask
  ReadOptions picture;        // of the first when it is a picture
  std::string mode, weights;  // of combine
};

std::shared_ptr<TwoOptions> AddTwo(CLI::App& app, const char* first, const char* first_help, const char* at_help) {
  const auto options = std::make_shared<TwoOptions>();
  app.add_option("first", options->first, first_help)->required()->type_name(first);
  app.add_option("mask", options->second, "Mask or sequence of masks")->required()->type_name("MASK");
  AddOutput(app, &options->files);
  app.add_option("--at", options->at, at_help)->type_name("X,Y")->capture_default_str();
  AddChannelOption(app, &options->read.channel);
  return options;
}

/// One picture of a run: the pair of inputs that belongs to the job.
using PairWork = std::function<WrittenFacts(const InputName& first, const InputName& second,
                                            const WriteRequest& request, Reporter* reporter)>;

ExitCode ForEachPair(const char* verb, const TwoOptions& options, const CommonOptions& common, const PairWork& work) {
  RefuseJsonWithPicture(options.files, common);
  const InputPairs pairs = PairInputs(options.first, options.second, common.frames);
  const std::vector<Job> jobs = PairWithOutputs(pairs.first, options.files.output, common.overwrite);
  std::size_t index = 0;
  return ForEachJob(verb, jobs, options.files, common,
                    [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
                      return work(job.input, pairs.second.files()[index++], request, reporter);
                    });
}

const std::map<std::string, PF_MaskMode> kModes = {{"copy", PF_MaskMode_COPY},
                                                   {"add", PF_MaskMode_ADD},
                                                   {"subtract", PF_MaskMode_SUBTRACT},
                                                   {"intersect", PF_MaskMode_INTERSECT},
                                                   {"lighten", PF_MaskMode_LIGHTEN},
                                                   {"darken", PF_MaskMode_DARKEN},
                                                   {"difference", PF_MaskMode_DIFFERENCE}};

WrittenFacts CombineOne(const TwoOptions& options, const InputName& first, const InputName& second,
                        const WriteRequest& request, Reporter* reporter) {
  reporter->Stage("read", 0, 0.5);
  const MaskRead to = ReadMask(first, options.read, reporter);
  const MaskRead from = ReadMask(second, options.read, reporter);
  const PointText at = ParsePoint("--at", options.at);
  const RampText weights = options.weights.empty() ? RampText{1, 1} : ParseRamp("--weights", options.weights, 0, 1);
  const M_LRect all = {0, 0, from.mask->width, from.mask->height};
  const M_LPoint point = {at.x, at.y};
  reporter->Stage("combine", 0.5, 0.6);
  Check(PF_AccumulateUnoBuffers(reporter->Info(to.mask->height), from.mask.get(), kModes.at(options.mode),
                                static_cast<float>(weights.last), static_cast<float>(weights.first), &all, &point,
                                to.mask.get()),
        "cannot combine", QuotedInput(second.name));
  reporter->Stage("write", 0.6, 1);
  return WriteMask(*to.mask, to.facts, request, reporter);
}

Action SetupCombine(CLI::App& app) {
  const auto options =
      AddTwo(app, "MASK", "Mask that is changed", "Where the second mask's top left value lies in the first");
  app.add_option("--mode", options->mode, "How the two become one: s is the second, d the first")
      ->required()
      ->check(OneOf({"copy", "add", "subtract", "intersect", "lighten", "darken", "difference"}))
      ->type_name("copy|add|subtract|intersect|lighten|darken|difference");
  app.add_option("--weights", options->weights, "Scale both first: the first by A, the second by B, 0 to 1")
      ->type_name("A:B");
  return [options](const CommonOptions& common) {
    return ForEachPair("mask combine", *options, common,
                       [&](const InputName& first, const InputName& second, const WriteRequest& request,
                           Reporter* reporter) { return CombineOne(*options, first, second, request, reporter); });
  };
}

/// Multiplies alpha and, where colours carry it, colours too.
WorldPtr Cut(WorldPtr world, Alpha alpha, const PF_UnoBuffer& mask, PointText at, const std::string& where,
             Reporter* reporter) {
  const int depth = world->Depth();
  const bool premultiplied = alpha == Alpha::kPremultiplied;
  // Dividing by alpha and multiplying again would cost 8-bit colours a step.
  if (premultiplied && depth == 8) world = Converted(std::move(world), 16, false, where, reporter);
  if (premultiplied) Guarded("cannot cut out", where, [&] { world->Unmultiply(); });
  Check(PF_MergeMaskAlpha(reporter->Info(world->height), at.x, at.y, nullptr, &mask, nullptr, world.get()),
        "cannot cut out", where);
  if (premultiplied) Guarded("cannot cut out", where, [&] { world->Premultiply(); });
  return Converted(std::move(world), depth, false, where, reporter);
}

WrittenFacts ApplyOne(const TwoOptions& options, const InputName& first, const InputName& second,
                      const WriteRequest& request, Reporter* reporter) {
  const PointText at = ParsePoint("--at", options.at);
  PictureReader reader(first.path, first.name, options.picture);
  PictureFacts facts = reader.facts();
  NoteAssumptions(facts, reporter);
  const std::string where = QuotedInput(facts.name);
  RequireMemory(2 * WorldBytes(facts.width, facts.height, facts.depth), where);
  WorldPtr world = NewWorld(facts.width, facts.height, facts.depth, where);
  reporter->Stage("read", 0, 0.4);
  reader.ReadInto(world.get(), reporter);
  const MaskRead mask = ReadMask(second, options.read, reporter);
  reporter->Stage("cut out", 0.4, 0.6);
  const Alpha alpha = facts.alpha == Alpha::kNone ? Alpha::kStraight : facts.alpha;
  world = Cut(std::move(world), alpha, *mask.mask, at, where, reporter);
  if (!facts.has_alpha()) {
    ++facts.channels;
    facts.alpha = alpha;
  }
  reporter->Stage("write", 0.6, 1);
  return WritePicture(std::move(world), alpha, facts, request, reporter);
}

Action SetupApply(CLI::App& app) {
  const auto options = AddTwo(app, "PICTURE", "Picture or sequence to cut out of",
                              "Where the mask's top left value lies in the picture");
  options->read.deepest = 16;
  AddReadOptions(app, &options->picture);
  return [options](const CommonOptions& common) {
    return ForEachPair("mask apply", *options, common,
                       [&](const InputName& first, const InputName& second, const WriteRequest& request,
                           Reporter* reporter) { return ApplyOne(*options, first, second, request, reporter); });
  };
}

}  // namespace

Verb MaskCombineVerb() {
  return {
      "mask combine",
      "Combine two masks",
      "With s the second mask, d the first and full = 1: copy s; add s + d - s d; subtract d (1 - s); intersect s d; "
      "lighten the larger; darken the smaller; difference |s - d|. Intersect and darken also clear what lies beside "
      "the second mask. The result has the first mask's size and depth.",
      {{"pf mask combine matte.png hole.png -o out.png --mode subtract", "cut a hole"},
       {"pf mask combine a.png b.png -o out.png --mode add --at 100,-20", "put the second one elsewhere"}},
      kHasAll,
      SetupCombine};
}

Verb MaskApplyVerb() {
  return {"mask apply",
          "Multiply a picture's alpha by a mask",
          "Where there is no mask the picture becomes transparent. Premultiplied colours are multiplied along. A "
          "picture without alpha gets one; write it to a format that holds alpha. Float masks are used at 16 bits.",
          {{"pf mask apply photo.jpg matte.png -o cut.png", "cut a picture out"},
           {"pf mask apply 'shot.####.exr' matte.png -o 'cut.####.exr' --at 200,80", "one mask for a sequence"}},
          kHasAll,
          SetupApply};
}

}  // namespace pftool
