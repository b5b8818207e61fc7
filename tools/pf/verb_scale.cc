#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "PF/PF_Copy.h"
#include "choices.h"
#include "engine.h"
#include "picture_options.h"
#include "scale_plan.h"

namespace pftool {
namespace {

struct ScaleOptions {
  PictureFiles files;
  ReadOptions read;
  std::string size, percent, crop;
  bool fit = false, fill = false;
  std::string quality = "high", edge = "repeat";
  int depth = 0;
  ScaleRequest request;
};

void ReadRequest(ScaleOptions* options) {
  ScaleRequest& request = options->request;
  if (!options->size.empty()) request.size = ParseSize("--size", options->size);
  if (!options->percent.empty()) request.percent = ParsePercent(options->percent);
  if (!options->crop.empty()) request.crop = ParseCrop("--crop", options->crop);
  if (!request.size && !request.percent && !request.crop) {
    throw UsageFailure("cannot scale", "", "no size was given", "give --size WxH, --percent P or --crop WxH+X+Y");
  }
  request.aspect = options->fit ? Aspect::kFit : options->fill ? Aspect::kFill : Aspect::kStretch;
}

bool HasOneSide(const ScaleRequest& request) {
  return request.size && (request.size->width == 0 || request.size->height == 0);
}

void CheckRequest(const ScaleOptions& options) {
  if ((options.fit || options.fill) && (!options.request.size || HasOneSide(options.request))) {
    throw UsageFailure("cannot use", options.fit ? "--fit" : "--fill", "it needs both sides of a box",
                       "give --size WxH");
  }
}

/// Pixels that the source world has around the picture, so that enlarging finds the edge repeated there.
int MarginFor(const ScaleOptions& options, const PictureFacts& facts, const ScalePlan& plan, Reporter* reporter) {
  const int sw = plan.source.right - plan.source.left, sh = plan.source.bottom - plan.source.top;
  const bool enlarges = sw <= plan.width && sh <= plan.height && (sw < plan.width || sh < plan.height);
  if (!enlarges || options.quality == "draft" || options.edge == "fade") return 0;
  if (std::max(facts.width, facts.height) + 2 <= PF_MAX_WORLD_SIZE) return 1;
  reporter->Note("the picture is too large to repeat its edges; they fade");
  return 0;
}

/// Reads the picture into a world of `depth` with a margin of repeated edges.
WorldPtr ReadSource(PictureReader* reader, int depth, int margin, Reporter* reporter) {
  const PictureFacts& facts = reader->facts();
  const std::string where = QuotedInput(facts.name);
  WorldPtr source = NewWorld(facts.width + 2 * margin, facts.height + 2 * margin, depth, where);
  if (depth == facts.depth) {
    const WorldPtr part = PartOf(source.get(), {margin, margin, margin + facts.width, margin + facts.height});
    reader->ReadInto(part.get(), reporter);
  } else {
    const WorldPtr read = NewWorld(facts.width, facts.height, facts.depth, where);
    reader->ReadInto(read.get(), reporter);
    ConvertInto(*read, source.get(), margin, margin, false, where, reporter);
  }
  if (margin) RepeatEdges(source.get(), margin);
  return source;
}

void CopyScaled(const ScaleOptions& options, Alpha alpha, const PF_World& source, M_LRect part, PF_World* result,
                const std::string& where, Reporter* reporter) {
  const PF_LayerDef from = RecordOf(source);
  PF_LayerDef to = RecordOf(*result);
  const auto copy = options.quality == "draft"       ? PF_CopyBits_Draft
                    : alpha == Alpha::kPremultiplied ? PF_CopyBits_HQ_Premul
                                                     : PF_CopyBits_HQ_Straight;
  Check(copy(reporter->Info(result->height), &from, &to, &part, nullptr), "cannot scale", where);
}

void RequireScaleMemory(const PictureFacts& facts, const ScalePlan& plan, int margin, int depth) {
  std::uint64_t bytes = WorldBytes(facts.width + 2 * margin, facts.height + 2 * margin, depth);
  const std::uint64_t read = depth == facts.depth ? 0 : WorldBytes(facts.width, facts.height, facts.depth);
  bytes += std::max(read, WorldBytes(plan.width, plan.height, depth));
  RequireMemory(bytes, QuotedInput(facts.name));
}

WrittenFacts ScaleOne(const ScaleOptions& options, const Job& job, WriteRequest request, Reporter* reporter) {
  PictureReader reader(job.input.path, job.input.name, options.read);
  const PictureFacts& facts = reader.facts();
  const std::string where = QuotedInput(facts.name);
  NoteAssumptions(facts, reporter);
  const ScalePlan plan = PlanScale(facts.width, facts.height, options.request, where);
  const int final_depth = options.depth ? options.depth : facts.depth;
  const int work_depth = std::max(final_depth, facts.depth);
  const int margin = MarginFor(options, facts, plan, reporter);
  RequireScaleMemory(facts, plan, margin, work_depth);

  reporter->Stage("read", 0, 0.2);
  WorldPtr source = ReadSource(&reader, work_depth, margin, reporter);
  reporter->Stage("scale", 0.2, 0.7);
  WorldPtr result = NewWorld(plan.width, plan.height, work_depth, where);
  const M_LRect part = {plan.source.left + margin, plan.source.top + margin, plan.source.right + margin,
                        plan.source.bottom + margin};
  CopyScaled(options, facts.alpha, *source, part, result.get(), where, reporter);
  source.reset();
  result = Converted(std::move(result), final_depth, false, where, reporter);
  reporter->Stage("write", 0.7, 1);
  request.depth_was_asked = options.depth != 0;
  return WritePicture(std::move(result), facts.alpha, facts, request, reporter);
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<ScaleOptions>();
  AddPictureFiles(app, &options->files);
  auto* size =
      app.add_option("--size", options->size, "Size of the result, 1 to 30000 each way; Wx and xH keep the aspect")
          ->type_name("WxH");
  app.add_option("--percent", options->percent, "Size of the result in percent of the picture")
      ->type_name("P")
      ->excludes(size);
  auto* fit = app.add_flag("--fit", options->fit, "Keep the aspect, inside the box of --size");
  app.add_flag("--fill", options->fill, "Keep the aspect, cover the box of --size and cut off what is outside")
      ->excludes(fit);
  app.add_option("--crop", options->crop, "Part of the picture to scale")->type_name("WxH+X+Y");
  app.add_option("--quality", options->quality,
                 "draft repeats or drops pixels, high interpolates when enlarging and averages when reducing")
      ->check(OneOf({"draft", "high"}))
      ->type_name("draft|high")
      ->capture_default_str();
  app.add_option("--edge", options->edge, "Beyond the edge of an enlarged picture its pixels repeat, or alpha fades")
      ->check(OneOf({"repeat", "fade"}))
      ->type_name("repeat|fade")
      ->capture_default_str();
  AddDepthOption(app, &options->depth,
                 "Bits per channel of the result, 32 = float; the work is done at the deeper of both");
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) {
    ReadRequest(options.get());
    CheckRequest(*options);
    return ForEachPicture("scale", options->files, common,
                          [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
                            return ScaleOne(*options, job, request, reporter);
                          });
  };
}

}  // namespace

Verb ScaleVerb() {
  return {"scale",
          "Enlarge, reduce or crop",
          "Straight colours are weighted by their alpha, so that what is transparent does not bleed; premultiplied "
          "colours are averaged as they are. Values are used as stored: averaging in the encoding of the file. Files "
          "keep their type where the format allows: see 'pf convert --help' for what comes back bit for bit.",
          {{"pf scale photo.jpg -o small.png --size 1280x720 --fit", "reduce into a box, keep the aspect"},
           {"pf scale photo.png -o big.png --percent 200 --depth 16", "twice the size, in 16 bits"},
           {"pf scale photo.png -o proxy.png --percent 25 --quality draft", "a quick proxy"},
           {"pf scale photo.png -o eye.png --crop 320x240+1500+800 --size 1280x960", "a part, four times as large"},
           {"pf scale 'shot.####.exr' -o 'half.####.exr' --percent 50", "every frame of a sequence"}},
          kHasAll,
          Setup};
}

}  // namespace pftool
