#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>

#include "PF/PF_Blend.h"
#include "engine.h"
#include "numbers.h"
#include "picture_options.h"

namespace pftool {
namespace {

struct FadeOptions {
  PictureFiles files;
  std::string first, second, ratio;
  ReadOptions read;
  int depth = 0;
};

struct Loaded {
  PictureFacts facts;
  WorldPtr world;
};

Loaded Load(const InputName& input, const ReadOptions& options, int depth, Reporter* reporter) {
  PictureReader reader(input.path, input.name, options);
  Loaded loaded = {reader.facts(), nullptr};
  const std::string where = QuotedInput(input.name);
  NoteAssumptions(loaded.facts, reporter);
  RequireMemory(2 * WorldBytes(loaded.facts.width, loaded.facts.height, std::max(depth, loaded.facts.depth)), where);
  loaded.world = NewWorld(loaded.facts.width, loaded.facts.height, loaded.facts.depth, where);
  reader.ReadInto(loaded.world.get(), reporter);
  return loaded;
}

void CheckSizes(const PictureFacts& a, const PictureFacts& b) {
  if (a.width == b.width && a.height == b.height) return;
  throw Failure(ExitCode::kBadData, "cannot fade", QuotedInput(a.name),
                fmt::format("it has {} x {} pixels and {} has {} x {}", a.width, a.height, QuotedInput(b.name), b.width,
                            b.height),
                "bring one to the other's size with 'pf scale'");
}

/// Brings the second picture's colours into the first one's convention. Opaque pictures are in both.
Alpha Agree(Loaded* a, Loaded* b, Reporter* reporter) {
  if (a->facts.alpha == Alpha::kNone) return b->facts.alpha;
  if (b->facts.alpha == Alpha::kNone || b->facts.alpha == a->facts.alpha) return a->facts.alpha;
  const bool straight = a->facts.alpha == Alpha::kStraight;
  Guarded("cannot fade", QuotedInput(b->facts.name),
          [&] { straight ? b->world->Unmultiply() : b->world->Premultiply(); });
  reporter->Note(fmt::format("{} is converted to {}", QuotedInput(b->facts.name), AlphaText(a->facts.alpha)));
  return a->facts.alpha;
}

WrittenFacts FadeOne(const FadeOptions& options, const InputName& first, const InputName& second, double ratio,
                     WriteRequest request, Reporter* reporter) {
  reporter->Stage("read", 0, 0.5);
  Loaded a = Load(first, options.read, options.depth, reporter),
         b = Load(second, options.read, options.depth, reporter);
  CheckSizes(a.facts, b.facts);
  const int depth = std::max({a.facts.depth, b.facts.depth, options.depth});
  a.world = Converted(std::move(a.world), depth, false, QuotedInput(first.name), reporter);
  b.world = Converted(std::move(b.world), depth, false, QuotedInput(second.name), reporter);
  const Alpha alpha = Agree(&a, &b, reporter);
  if (depth == 32 && ratio > 0 && ratio < 1 && alpha != Alpha::kNone) {
    reporter->Note(alpha == Alpha::kPremultiplied
                       ? "premultiplied float pictures fade in steps of 1/65536, and negative values are not kept"
                       : "the alpha of float pictures fades in steps of 1/65536");
  }
  reporter->Stage("fade", 0.5, 0.6);
  const PF_LayerDef from = RecordOf(*a.world), to = RecordOf(*b.world);
  PF_LayerDef result = RecordOf(*a.world);  // in place
  const auto fixed = static_cast<std::int32_t>(std::lround(ratio * 65536));
  const auto blend = alpha == Alpha::kPremultiplied ? PF_Blend_Premul : PF_Blend_Straight;
  Check(blend(nullptr, &from, &to, fixed, &result), "cannot fade", QuotedInput(first.name));
  PictureFacts facts = a.facts;
  const bool grey = std::max(a.facts.channels, b.facts.channels) < 3;
  facts.channels = (grey ? 1 : 3) + (a.facts.has_alpha() || b.facts.has_alpha() ? 1 : 0);
  if (options.depth) a.world = Converted(std::move(a.world), options.depth, false, QuotedInput(first.name), reporter);
  request.depth_was_asked = options.depth != 0;
  reporter->Stage("write", 0.6, 1);
  return WritePicture(std::move(a.world), alpha, facts, request, reporter);
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<FadeOptions>();
  app.add_option("a", options->first, "Picture or sequence at ratio 0, or - for a pipe")->required()->type_name("A");
  app.add_option("b", options->second, "Picture or sequence at ratio 1")->required()->type_name("B");
  AddOutput(app, &options->files);
  app.add_option("--ratio", options->ratio, "Share of B, 0 to 1; R1:R2 runs from the first frame to the last")
      ->required()
      ->type_name("R|R1:R2");
  AddDepthOption(app, &options->depth, "Bits per channel of the result, 32 = float; without it the deeper input's");
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) {
    const RampText ramp = ParseRamp("--ratio", options->ratio, 0, 1);
    RefuseJsonWithPicture(options->files, common);
    const InputPairs pairs = PairInputs(options->first, options->second, common.frames);
    const std::vector<Job> jobs = PairWithOutputs(pairs.first, options->files.output, common.overwrite);
    std::size_t index = 0;
    return ForEachJob(
        "fade", jobs, options->files, common, [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
          const double along = jobs.size() < 2 ? 0 : static_cast<double>(index) / static_cast<double>(jobs.size() - 1);
          const double ratio = ramp.first + (ramp.last - ramp.first) * along;
          return FadeOne(*options, job.input, pairs.second.files()[index++], ratio, request, reporter);
        });
  };
}

}  // namespace

Verb FadeVerb() {
  return {
      "fade",
      "Cross-fade two pictures of one size",
      "Every pixel becomes A times (1 - R) plus B times R. Straight colours are weighted by their share of the "
      "result's alpha, so that transparent pixels lend no colour; premultiplied channels mix alike. A picture beside "
      "a sequence is used for every frame.",
      {{"pf fade a.png b.png -o half.png --ratio 0.5", "half of each"},
       {"pf fade 'a.####.exr' 'b.####.exr' -o 'out.####.exr' --ratio 0:1", "a dissolve over a shot"},
       {"pf fade a.png b.png -o 'out.%03d.png' --ratio 0:1 --frames 1-25", "a dissolve of two stills"}},
      kHasAll,
      Setup};
}

}  // namespace pftool
