#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <optional>

#include "engine.h"
#include "mask.h"
#include "numbers.h"
#include "output_file.h"
#include "picture_options.h"

namespace pftool {
namespace {

struct MakeOptions {
  PictureFiles files;
  MaskReadOptions read;
  std::string picture, size, rect, value = "1";
  int depth = 0;
};

/// Coverage 0..1 on the scale of a depth, to nearest.
template <class T>
T Scaled(double value, int full) {
  return static_cast<T>(std::floor(value * full + 0.5));
}

void Fill(PF_UnoBuffer* mask, double value, const std::optional<M_LRect>& rect, const std::string& where) {
  PF_Err error = PF_Err_NONE;
  if (mask->depth == 8) {
    const auto v = Scaled<std::uint8_t>(value, PF_MAX_CHAN8);
    error = rect ? PF_FillUnoBuffer(v, *rect, mask) : PF_FillUnoBuffer(v, mask);
  } else {
    const auto v = Scaled<std::uint16_t>(value, PF_MAX_CHAN16);
    error = rect ? PF_FillDeepUnoBuffer(v, *rect, mask) : PF_FillDeepUnoBuffer(v, mask);
  }
  Check(error, "cannot fill", where);
}

/// The part of a mask that --rect names.
std::optional<M_LRect> RectIn(const std::string& text, const SizeText& size) {
  if (text.empty()) return std::nullopt;
  const CropText part = ParseCrop("--rect", text);
  const M_LRect rect = {part.left, part.top, std::min(part.left + part.width, size.width),
                        std::min(part.top + part.height, size.height)};
  if (rect.left < rect.right && rect.top < rect.bottom) return rect;
  throw UsageFailure("cannot use --rect", "'" + text + "'", "it lies outside the mask",
                     fmt::format("the mask has {} x {} values", size.width, size.height));
}

ExitCode FromFill(const MakeOptions& options, const CommonOptions& common) {
  RefuseJsonWithPicture(options.files, common);
  const SizeText size = ParseSize("--size", options.size);
  if (size.width == 0 || size.height == 0) {
    throw UsageFailure("cannot use --size", "'" + options.size + "'", "a mask needs both sides",
                       "write it like 640x480");
  }
  const double value = ParseNumber("--value", options.value, 0, 1);
  const std::optional<M_LRect> rect = RectIn(options.rect, size);
  const int depth = options.depth ? options.depth : 8;
  if (depth == 32) throw UsageFailure("cannot use --depth", "32", "filled masks have 8 or 16 bits", "give --depth 16");
  CheckOutputPath(options.files.output, common.overwrite);
  const FileFormat& format = FormatFor(options.files.output, options.files.format);
  const Engine engine(common.threads);
  Reporter reporter(common.progress);
  reporter.Begin(1);
  reporter.Picture(options.files.output);
  const std::string where = QuotedOutput(options.files.output);
  const MaskPtr mask = NewMask(size.width, size.height, depth, where);
  if (rect) Fill(mask.get(), 0, std::nullopt, where);
  Fill(mask.get(), value, rect, where);
  PictureFacts facts;
  facts.width = size.width, facts.height = size.height;
  facts.encoding = "coverage";
  const WrittenFacts written =
      WriteMask(*mask, facts, {options.files.output, &format, common.overwrite, depth == 16}, &reporter);
  if (common.json) {
    PrintResult(JsonText({{"verb", "mask make"},
                          {"pictures",
                           {{{"output", options.files.output},
                             {"width", written.width},
                             {"height", written.height},
                             {"depth", written.depth}}}}}));
  }
  return ExitCode::kDone;
}

ExitCode FromPicture(const MakeOptions& options, const CommonOptions& common) {
  PictureFiles files = options.files;
  files.inputs = {options.picture};
  return ForEachPicture("mask make", files, common,
                        [&](const Job& job, const WriteRequest& request, Reporter* reporter) {
                          reporter->Stage("read", 0, 0.5);
                          const MaskRead read = ReadMask(job.input, options.read, reporter);
                          reporter->Stage("write", 0.5, 1);
                          return WriteMask(*read.mask, read.facts, request, reporter);
                        });
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<MakeOptions>();
  app.add_option("picture", options->picture, "Picture or sequence whose channel becomes the mask")
      ->type_name("PICTURE");
  AddOutput(app, &options->files);
  AddChannelOption(app, &options->read.channel);
  app.add_option("--size", options->size, "Without a picture: the size of a filled mask")->type_name("WxH");
  app.add_option("--value", options->value, "Coverage of the fill, 0 to 1")->type_name("V")->capture_default_str();
  app.add_option("--rect", options->rect, "Fill this part only, and 0 around it")->type_name("WxH+X+Y");
  AddDepthOption(app, &options->depth, "Bits of a filled mask, 8 or 16; 8 without it");
  return [options](const CommonOptions& common) {
    if (options->picture.empty() == options->size.empty()) {
      throw UsageFailure("cannot make a mask", "", "it comes from a picture or from --size, from one of both",
                         "give a picture, or --size WxH");
    }
    return options->picture.empty() ? FromFill(*options, common) : FromPicture(*options, common);
  };
}

}  // namespace

Verb MaskMakeVerb() {
  return {"mask make",
          "Make a mask from a picture's channel or a fill",
          "A mask is a picture of one channel: coverage from 0 to full.",
          {{"pf mask make logo.png -o matte.png", "the alpha of a picture"},
           {"pf mask make shot.exr -o matte.exr --channel green", "one channel"},
           {"pf mask make -o box.png --size 640x480 --rect 400x300+120+90", "a filled rectangle"}},
          kHasAll,
          Setup};
}

}  // namespace pftool
