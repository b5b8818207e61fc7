#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "PF/PF_Filters.h"
#include "choices.h"
#include "engine.h"
#include "numbers.h"
#include "picture_options.h"

namespace pftool {
namespace {

struct BlurOptions {
  PictureFiles files;
  ReadOptions read;
  std::string radius_text, kind = "gaussian", edges = "repeat", alpha;
  int depth = 0;
  PairText radius;

  bool box() const { return kind == "box"; }
  bool alpha_only() const { return alpha == "only"; }
  bool transparent() const { return edges == "transparent"; }
};

/// One direction of a blur.
struct Pass {
  float radius;
  int direction;  ///< of the lines: 0 rows, 1 columns
  const char* stage;
  double from, to;
};

/// The directions in which anything happens: a box has whole pixels on each side.
std::vector<Pass> PassesOf(const BlurOptions& options) {
  std::vector<Pass> passes;
  const auto add = [&](double asked, int direction, const char* stage, double from, double to) {
    const auto radius = static_cast<float>(asked);
    if (options.box() ? radius >= 0.5f : radius > 0) passes.push_back({radius, direction, stage, from, to});
  };
  add(options.radius.x, 0, "blur rows", 0.25, 0.5);
  add(options.radius.y, 1, "blur columns", 0.5, 0.7);
  return passes;
}

WorldPtr ReadAt(PictureReader* reader, int depth, Reporter* reporter) {
  const PictureFacts& facts = reader->facts();
  const std::string where = QuotedInput(facts.name);
  const std::uint64_t converted = depth == facts.depth ? 0 : WorldBytes(facts.width, facts.height, depth);
  RequireMemory(WorldBytes(facts.width, facts.height, facts.depth) + converted, where);
  WorldPtr world = NewWorld(facts.width, facts.height, facts.depth, where);
  reporter->Stage("read", 0, 0.2);
  reader->ReadInto(world.get(), reporter);
  if (converted != 0) reporter->Stage("convert", 0.2, 0.25);
  return Converted(std::move(world), depth, false, where, reporter);
}

WrittenFacts BlurOne(const BlurOptions& options, const Job& job, WriteRequest request, Reporter* reporter) {
  PictureReader reader(job.input.path, job.input.name, options.read);
  PictureFacts facts = reader.facts();
  const std::string where = QuotedInput(facts.name);
  NoteAssumptions(facts, reporter);
  const std::vector<Pass> passes = PassesOf(options);
  // Where nothing lies beyond the edges an opaque picture fades there.
  if (!facts.has_alpha() && options.transparent() && !passes.empty()) {
    ++facts.channels;
    facts.alpha = options.read.assume_alpha == Alpha::kPremultiplied ? Alpha::kPremultiplied : Alpha::kStraight;
  }
  if (options.alpha_only() && facts.alpha == Alpha::kNone) reporter->Note(where + ": without alpha nothing is blurred");
  if (options.alpha_only() && facts.alpha == Alpha::kPremultiplied) {
    reporter->Note("premultiplied colours stay as they are stored, whatever their new alpha");
  }
  const int final_depth = options.depth ? options.depth : facts.depth;

  WorldPtr world = ReadAt(&reader, std::max(final_depth, facts.depth), reporter);
  const auto blur = options.box() ? PF_BoxBlur1D : PF_GaussianBlur1D;
  const std::int32_t flags =
      (options.transparent() ? PF_BlurFlag_TRANSPARENT_EDGES : 0) | (options.alpha_only() ? PF_BlurFlag_ALPHA_ONLY : 0);
  const std::int32_t straight = facts.alpha == Alpha::kStraight ? 1 : 0;
  for (const Pass& pass : passes) {
    reporter->Stage(pass.stage, pass.from, pass.to);
    const int lines = pass.direction == 0 ? world->height : world->width;
    Check(blur(world.get(), world.get(), pass.radius, flags, pass.direction, pass.direction, straight,
               reporter->Info(lines)),
          "cannot blur", where);
  }
  if (world->Depth() != final_depth) reporter->Stage("convert", 0.7, 0.75);
  world = Converted(std::move(world), final_depth, false, where, reporter);
  reporter->Stage("write", 0.75, 1);
  request.depth_was_asked = options.depth != 0;
  return WritePicture(std::move(world), facts.alpha, facts, request, reporter);
}

void AddBlurOptions(CLI::App& app, BlurOptions* options) {
  AddPictureFiles(app, &options->files);
  app.add_option("--radius", options->radius_text,
                 "Radius in pixels, 0 to 32767, fractions too; R,RY across and down, where 0 leaves a direction alone")
      ->required()
      ->type_name("R[,RY]");
  app.add_option("--kind", options->kind, "Weights: a bell, or a mean of whole pixels")
      ->check(OneOf({"gaussian", "box"}))
      ->type_name("gaussian|box")
      ->capture_default_str();
  app.add_option("--edges", options->edges,
                 "Beyond the picture its edge pixels repeat, or there is nothing and the edge fades")
      ->check(OneOf({"repeat", "transparent"}))
      ->type_name("repeat|transparent")
      ->capture_default_str();
  app.add_option("--alpha", options->alpha,
                 "How the input's colours are stored, without it as its format says; or only: colours stay and alpha "
                 "is blurred")
      ->check(OneOf({"straight", "premultiplied", "only"}))
      ->type_name("straight|premultiplied|only");
  AddDepthOption(app, &options->depth,
                 "Bits per channel of the result, 32 = float; the work is done at the deeper of both");
  AddRgbaOption(app, &options->read);
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<BlurOptions>();
  AddBlurOptions(app, options.get());
  return [options](const CommonOptions& common) {
    options->radius = ParsePair("--radius", options->radius_text, 0, kLargestRadius);
    if (options->alpha == "straight") options->read.assume_alpha = Alpha::kStraight;
    if (options->alpha == "premultiplied") options->read.assume_alpha = Alpha::kPremultiplied;
    return ForEachPicture("blur", options->files, common,
                          [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
                            return BlurOne(*options, job, request, reporter);
                          });
  };
}

}  // namespace

Verb BlurVerb() {
  return {"blur",
          "Blur pictures by a bell or a box",
          "Blurs along rows, then along columns; the time does not grow with the radius. Straight colours are weighted "
          "by their alpha, so that what is transparent does not bleed; premultiplied channels are blurred alike. With "
          "--edges transparent a picture without alpha gets one. Values are used as stored. 8-bit pixels are rounded "
          "after each direction; --depth 16 keeps more.",
          {{"pf blur photo.jpg -o soft.png --radius 8", "as far as 8 pixels in all directions"},
           {"pf blur photo.jpg -o swept.png --radius 60,0 --kind box", "across only"},
           {"pf blur logo.png -o glow.png --radius 20 --alpha only", "the alpha alone, for shadows and glows"},
           {"pf blur 'shot.####.exr' -o 'soft.####.exr' --radius 4.5 --edges transparent", "a sequence, edges fading"}},
          kHasAll,
          Setup};
}

}  // namespace pftool
