#include "retime/flow.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cmath>

#include "choices.h"
#include "engine.h"
#include "numbers.h"

namespace pftool {
namespace {

const std::vector<std::string> kModes = {"fade", "move", "refine"};
const std::vector<std::string> kFetches = {"cubic", "linear", "nearer-cubic", "nearer-linear"};
constexpr double kLongestMotion = 1000;
constexpr int kUsualBlurSteps = 8;

std::int16_t IndexOf(const std::vector<std::string>& words, const std::string& word) {
  return static_cast<std::int16_t>(std::find(words.begin(), words.end(), word) - words.begin());
}

std::int16_t Whole(const std::string& option, const std::string& text, int low, int high) {
  const double value = ParseNumber(option, text, low, high);
  if (value == std::floor(value)) return static_cast<std::int16_t>(value);
  throw UsageFailure("cannot use " + option, "'" + text + "'", "it is not a whole number",
                     fmt::format("write one from {} to {}", low, high));
}

// Pixels, or percent of the frame, which the library takes as negative thousandths.
float Bound(const std::string& text) {
  if (text.empty() || text.back() != '%') {
    return static_cast<float>(ParseNumber("--largest-motion", text, 0, kLongestMotion));
  }
  return static_cast<float>(-10 * ParseNumber("--largest-motion", text.substr(0, text.size() - 1), 0, 100));
}

void ParseBounds(const std::string& text, PF_Tavros_AlgoParams* params) {
  const std::size_t comma = text.find(',');
  params->boundA = Bound(text.substr(0, comma));
  params->boundB = comma == std::string::npos ? params->boundA : Bound(text.substr(comma + 1));
}

void ParseWeights(const std::string& text, PF_Tavros_AlgoParams* params) {
  std::array<double, 3> weights = {};
  std::size_t at = 0;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    const std::size_t comma = text.find(',', at);
    if ((comma == std::string::npos) != (i == 2)) {
      throw UsageFailure("cannot use --weights", "'" + text + "'", "it does not have three numbers",
                         "write the shares of red, green and blue in percent, like 30,59,11");
    }
    weights[i] = ParseNumber("--weights", text.substr(at, comma - at), 0, 100);
    at = comma + 1;
  }
  const double sum = weights[0] + weights[1] + weights[2];
  if (!(std::abs(sum - 100) <= 1)) {
    throw UsageFailure("cannot use --weights", "'" + text + "'", fmt::format("the shares add up to {:g}", sum),
                       "write shares that add up to 100, like 30,59,11");
  }
  params->weightR = weights[0], params->weightG = weights[1], params->weightB = weights[2];
}

PF_Tavros_AlgoParams UsualParams() {
  PF_Tavros_AlgoParams params = {};
  params.mode = 2;
  params.fraction = 20;
  params.boundA = params.boundB = 500;
  params.count = 5;
  params.threshold = 1;
  params.size = 6;
  params.weightR = 29.9, params.weightG = 58.7, params.weightB = 11.4;
  params.degrees = 180;
  params.steps = 1;
  return params;
}

std::int32_t Stop(void* data) {
  const auto* progress = static_cast<const PF_ProgressInfo*>(data);
  return progress->abort(progress->reference) == PF_Err_NONE ? 0 : 1;
}

}  // namespace

void AddFlowOptions(CLI::App& app, FlowOptions* options) {
  const auto add = [&app](const char* name, std::string* value, const char* type, const char* help) {
    return app.add_option(name, *value, help)->type_name(type)->group("Motion");
  };
  add("--mode", &options->mode, "fade|move|refine",
      "fade: no motion, frames are mixed; move: both frames are moved along their motion, quick; refine: the motion is "
      "also refined at the wanted time. Without it refine")
      ->check(OneOf(kModes));
  add("--stiffness", &options->stiffness, "PERCENT",
      "5 to 100: from motion that is free at every place to large areas that move together; without it 20");
  add("--largest-motion", &options->largest_motion, "N[%][,N[%]]",
      "Longest motion from frame to frame, across and down, in pixels or percent of the frame; without it 500");
  add("--rounds", &options->rounds, "N", "Rounds of refinement, 1 to 50; time grows with them. Without it 5");
  add("--patch", &options->patch, "PIXELS",
      "4 to 40: edge of the patches that are looked for; small ones follow small things, large ones withstand noise. "
      "Without it 6");
  add("--hidden", &options->hidden, "PERCENT",
      "0 to 10: how far motion there and back may differ before a place counts as hidden in a frame; without it 1");
  add("--weights", &options->weights, "R,G,B", "Shares of the colours in what is compared, in percent");
  app.add_flag("--flicker", options->flicker, "Brightness may change between frames: only structure is compared")
      ->group("Motion");
  add("--blur", &options->blur, "ANGLE", "Motion blur of a shutter of 0 to 360 degrees in the frames that are made");
  add("--blur-steps", &options->blur_steps, "N", "Moments that the blur averages, 2 to 20; without it 8");
  add("--fetch", &options->fetch, "cubic|linear|nearer-cubic|nearer-linear",
      "How pixels are fetched: cubic or linear, from both frames or from the one nearer in time; without it cubic")
      ->check(OneOf(kFetches));
}

PF_Tavros_AlgoParams ParseFlow(const FlowOptions& options) {
  PF_Tavros_AlgoParams params = UsualParams();
  const auto number = [](const char* option, const std::string& text, double low, double high, float* value) {
    if (!text.empty()) *value = static_cast<float>(ParseNumber(option, text, low, high));
  };
  if (!options.mode.empty()) params.mode = IndexOf(kModes, options.mode);
  if (!options.fetch.empty()) params.variant = IndexOf(kFetches, options.fetch);
  number("--stiffness", options.stiffness, 5, 100, &params.fraction);
  number("--hidden", options.hidden, 0, 10, &params.threshold);
  if (!options.rounds.empty()) params.count = Whole("--rounds", options.rounds, 1, 50);
  if (!options.patch.empty()) params.size = Whole("--patch", options.patch, 4, 40);
  if (!options.largest_motion.empty()) ParseBounds(options.largest_motion, &params);
  if (!options.weights.empty()) ParseWeights(options.weights, &params);
  params.switchFlag = options.flicker ? 1 : 0;
  if (options.blur.empty() && !options.blur_steps.empty()) {
    throw UsageFailure("cannot use --blur-steps", "'" + options.blur_steps + "'", "no motion blur was asked for",
                       "give --blur with an angle, like 180");
  }
  if (!options.blur.empty()) {
    number("--blur", options.blur, 0, 360, &params.degrees);
    params.steps = options.blur_steps.empty() ? kUsualBlurSteps : Whole("--blur-steps", options.blur_steps, 2, 20);
  }
  return params;
}

PF_AdvancedFrameBlending Flow::Blending(double time, bool plain, const PF_ProgressInfo* progress) const {
  PF_Tavros_OtherParams other = {};
  other.flag = 1;
  other.numbers[0] = static_cast<float>(time);
  PF_Tavros_AlgoParams params = params_;
  if (plain) params.mode = 0;
  PF_AdvancedFrameBlending blending(params, other, {&Stop, const_cast<PF_ProgressInfo*>(progress)});
  // Five percent come out a little below the least.
  blending.algoParams.fraction = std::max(blending.algoParams.fraction, 0.05f);
  return blending;
}

WorldPtr Flow::Between(const SourceFrame& previous, const SourceFrame& next, double time, bool plain) const {
  const PF_World& first = *previous.world;
  WorldPtr result = NewWorld(first.width, first.height, first.Depth(), QuotedInput(previous.name));
  const auto blending = Blending(time, plain, reporter_->Info(first.height));
  Check(blending.Render(&first, next.world.get(), result.get()), "cannot make",
        "a frame between " + QuotedInput(previous.name) + " and " + QuotedInput(next.name));
  return result;
}

boost::shared_ptr<PF_TavrosCache_Stuff> Flow::Motion(const SourceFrame& previous, const SourceFrame& next) const {
  boost::shared_ptr<PF_TavrosCache_Stuff> motion;
  auto blending = Blending(0.5, false, reporter_->Info(previous.world->height));
  if (blending.algoParams.mode == 0) blending.algoParams.mode = 2;  // a cross-fade has none
  Check(blending.FindVectors(previous.world.get(), next.world.get(), &motion), "cannot find the motion",
        "between " + QuotedInput(previous.name) + " and " + QuotedInput(next.name));
  return motion;
}

}  // namespace pftool
