#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>

#include "engine.h"
#include "picture_options.h"
#include "profile_conversion.h"

namespace pftool {
namespace {

struct ConvertOptions {
  PictureFiles files;
  ReadOptions read;
  int depth = 0;
  bool dither = false;
  Alpha to_alpha = Alpha::kNone;
  ProfileOptions profile;
};

void RefuseAlpha(const ConvertOptions& options, const WriteRequest& request) {
  const AlphaRule rule = request.format->alpha;
  const bool fits = options.to_alpha == Alpha::kNone || rule == AlphaRule::kEither ||
                    (rule == AlphaRule::kStraight && options.to_alpha == Alpha::kStraight) ||
                    (rule == AlphaRule::kPremultiplied && options.to_alpha == Alpha::kPremultiplied);
  if (fits) return;
  throw UsageFailure("cannot write", QuotedOutput(request.path),
                     fmt::format("{} files do not hold {}", request.format->name, AlphaText(options.to_alpha)),
                     "write a .tif file, which holds both");
}

Alpha ConvertAlpha(PF_World* world, Alpha from, Alpha to, const std::string& where) {
  if (from == Alpha::kNone || to == Alpha::kNone || from == to) return from;
  Guarded("cannot convert", where, [&] { to == Alpha::kStraight ? world->Unmultiply() : world->Premultiply(); });
  return to;
}

WrittenFacts ConvertOne(const ConvertOptions& options, const Job& job, WriteRequest request, Reporter* reporter) {
  RefuseAlpha(options, request);
  PictureReader reader(job.input.path, job.input.name, options.read);
  PictureFacts facts = reader.facts();
  const std::string where = QuotedInput(facts.name);
  NoteAssumptions(facts, reporter);
  const int depth = options.depth ? options.depth : facts.depth;
  std::optional<ProfileConversion> profile;
  if (options.profile.wanted()) profile.emplace(options.profile, &facts, depth, reporter);
  if (options.dither && (depth != 8 || facts.depth == 8)) {
    reporter->Note("--dither changes nothing here: it acts from 16 bits or float to 8 bits");
  }
  RequireMemory(WorldBytes(facts.width, facts.height, facts.depth) + WorldBytes(facts.width, facts.height, depth),
                where);

  WorldPtr world = NewWorld(facts.width, facts.height, facts.depth, where);
  reporter->Stage("read", 0, 0.4);
  reader.ReadInto(world.get(), reporter);
  reporter->Stage("convert", 0.4, 0.5);
  // Alpha is multiplied or divided at the deeper of the two depths, and not in 8 bits on the way to other colours.
  const bool passing = profile && facts.alpha == Alpha::kPremultiplied;
  const int work_depth = std::max({depth, facts.depth, passing ? 16 : 8});
  world = Converted(std::move(world), work_depth, false, where, reporter);
  Alpha alpha = facts.alpha;
  if (profile) {
    alpha = ConvertAlpha(world.get(), alpha, Alpha::kStraight, where);
    profile->Apply(world.get(), reporter);
  }
  // Back to the picture's own convention, unless the file takes straight colours in any case.
  const bool stays_straight =
      profile && request.format->alpha == AlphaRule::kStraight && facts.format != request.format->plugin;
  const Alpha own = stays_straight ? alpha : facts.alpha;
  alpha = ConvertAlpha(world.get(), alpha, options.to_alpha == Alpha::kNone ? own : options.to_alpha, where);
  PF_ResetDitherRandomIndex();
  world = Converted(std::move(world), depth, options.dither, where, reporter);
  reporter->Stage("write", 0.5, 1);
  request.depth_was_asked = options.depth != 0;
  return WritePicture(std::move(world), alpha, facts, request, reporter);
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<ConvertOptions>();
  AddPictureFiles(app, &options->files);
  AddDepthOption(app, &options->depth, "Bits per channel of the result, 32 = float; without it as the input");
  app.add_flag("--dither", options->dither, "Add noise below one step when going to 8 bits; the same for every run");
  AddAlphaOption(app, "--to-alpha", &options->to_alpha, "Convert the colours to this convention");
  AddProfileOptions(app, &options->profile);
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) {
    CheckProfileOptions(options->profile);
    return ForEachPicture("convert", options->files, common,
                          [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
                            return ConvertOne(*options, job, request, reporter);
                          });
  };
}

}  // namespace

Verb ConvertVerb() {
  return {
      "convert",
      "Change depth, alpha convention, colour space or file format",
      "Values keep their meaning: 8-bit 255, 16-bit 32768 (65535 in files) and float 1.0 are the same white. A "
      "picture that is written at its own depth comes back bit for bit from 8-bit and float files, and within one "
      "step of 65535 from 16-bit files, because 16-bit pixels have 32769 values. Colours are limited to 0..1 when "
      "float becomes integer. Profile, orientation and other metadata are carried over and change no value; --profile "
      "converts colours "
      "from one space to another and stores the new profile with the picture.",
      {{"pf convert shot.exr -o shot.png --depth 8 --dither", "float to 8 bits without banding"},
       {"pf convert 'in.####.exr' -o 'out.%04d.tif' --depth 16 --frames 1-100x2", "every second frame to 16-bit TIFF"},
       {"pf convert logo.png -o logo.tif --to-alpha premultiplied", "straight to premultiplied colours"},
       {"pf convert shot.jpg -o wide.png --profile file:display-p3 --depth 16", "from its own colour space to another"},
       {"curl -s URL | pf convert - -o - --format tiff > a.tif", "from a pipe to a pipe"}},
      kHasAll,
      Setup};
}

}  // namespace pftool
