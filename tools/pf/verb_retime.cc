#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <filesystem>
#include <memory>
#include <set>

#include "choices.h"
#include "engine.h"
#include "numbers.h"
#include "output_file.h"
#include "retime/retimer.h"

namespace pftool {
namespace {

struct RetimeOptions {
  std::vector<std::string> inputs;
  PictureFiles files;
  std::string fps, speed, at, start, vectors, cuts = "cut", repeated = "keep";
  bool hold_last = false, resume = false;
  int depth = 0;
  ReadOptions read;
  FlowOptions flow;

  bool from_stream() const { return inputs.size() == 1 && inputs[0] == "-"; }
  bool to_stream() const { return files.output == "-" && (files.format.empty() || files.format == "pam"); }
};

/// The input as files in their order, and how they are named.
struct FileInput {
  std::vector<InputName> files;
  std::optional<NamePattern> pattern;
  std::vector<int> numbers;
};

// A number that is missing would shift all times behind it.
void RefuseGaps(const std::string& name, const std::vector<int>& numbers) {
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    if (numbers[i] == numbers[i - 1] + 1) continue;
    throw Failure(ExitCode::kNoInput, "cannot retime", QuotedInput(name),
                  fmt::format("frame {} is missing between {} and {}", numbers[i - 1] + 1, numbers[i - 1], numbers[i]),
                  "supply it, or choose with --frames what follows one another");
  }
}

FileInput FilesOf(const RetimeOptions& options, const CommonOptions& common) {
  for (const std::string& name : options.inputs) {
    if (name == "-") {
      throw UsageFailure("cannot retime", "standard input", "it is named beside other inputs",
                         "name it alone; all its pictures are frames");
    }
  }
  const Inputs inputs(options.inputs, common.frames);
  FileInput input = {inputs.files(), std::nullopt, {}};
  if (options.inputs.size() != 1 || !IsSequenceName(options.inputs[0])) return input;
  input.pattern = ParsePattern(options.inputs[0], nullptr);
  input.numbers = inputs.frames();
  if (common.frames.empty()) RefuseGaps(options.inputs[0], input.numbers);
  return input;
}

std::string Identity(const std::string& path) {
  std::error_code error;
  return std::filesystem::weakly_canonical(path, error).string();
}

/// Refuses early what would be refused at a later frame.
void CheckOutputs(const RetimeOptions& options, const CommonOptions& common, const OutputNames& names,
                  const FileInput& input, std::int64_t count) {
  names.RequireFor(count);
  std::set<std::string> inputs;
  for (const InputName& file : input.files) inputs.insert(Identity(file.path));
  for (std::int64_t i = 0; i < count; ++i) {
    const std::string name = names.Name(i);
    if (i == 0) FormatFor(name, options.files.format);
    if (name != "-" && inputs.count(Identity(name))) {
      throw UsageFailure("cannot write", QuotedOutput(name), "it is also an input", "write to another name or folder");
    }
    CheckOutputPath(name, common.overwrite || options.resume);
  }
}

void CheckOptions(const RetimeOptions& options, const CommonOptions& common) {
  RefuseJsonWithPicture(options.files, common);
  if (options.files.output.empty() && options.vectors.empty()) {
    throw UsageFailure("cannot retime", "", "no output was named", "give -o, or --vectors for the motion alone");
  }
  if (options.from_stream() && !common.frames.empty()) {
    throw UsageFailure("cannot use --frames", "'" + common.frames + "'", "standard input has no frame numbers",
                       "choose frames with the program before the pipe");
  }
  if (options.resume && (options.from_stream() || options.files.output.empty() || options.files.output == "-")) {
    throw UsageFailure("cannot use", "--resume", "a pipe cannot be taken up again", "name files as input and output");
  }
}

int FirstNumber(const RetimeOptions& options, const FileInput& input) {
  if (!options.start.empty()) return static_cast<int>(ParseNumber("--start", options.start, 0, kMaxFrame));
  return input.numbers.empty() ? 1 : input.numbers.front();
}

std::string SettingsText(const RetimeOptions& options, const PF_Tavros_AlgoParams& params) {
  PF_CRC32 crc;
  params.ComputeCRC(crc);
  return fmt::format("{} {:08x} {} {} {} {} {} {}", PF_TOOL_VERSION, crc.checksum(), options.cuts, options.repeated,
                     options.depth, options.files.format, static_cast<int>(options.read.assume_alpha),
                     options.read.rgba_only);
}

OutputNames VectorNames(const RetimeOptions& options, const FileInput& input, std::int64_t pairs) {
  if (options.vectors == "-") {
    throw UsageFailure("cannot write", "standard output", "motion is written to files only", "name a file");
  }
  OutputNames names(options.vectors, input.pattern, FirstNumber(options, input));
  names.RequireFor(pairs);
  if (!IsFlowName(names.Name(0))) FormatFor(names.Name(0), "");
  return names;
}

std::unique_ptr<FrameWriter> WriterFor(const RetimeOptions& options, const CommonOptions& common,
                                       const FileInput& input, std::optional<std::int64_t> count, Footage* footage,
                                       Reporter* reporter) {
  if (options.files.output.empty()) return nullptr;
  if (options.to_stream()) return NewStreamWriter(options.depth, footage, reporter);
  FileOutput output = {OutputNames(options.files.output, input.pattern, FirstNumber(options, input)),
                       options.files.format,
                       options.depth,
                       true,
                       common.overwrite,
                       std::nullopt};
  output.keep_values = options.read.assume_alpha == Alpha::kNone && !options.read.rgba_only;
  // How many frames a stream has shows at its end; it is taken for many.
  if (count) {
    CheckOutputs(options, common, output.names, input, *count);
  } else if (options.from_stream()) {
    output.names.RequireFor(2);
    FormatFor(output.names.Name(0), options.files.format);
  }
  if (options.resume) {
    if (!output.names.is_sequence()) {
      throw UsageFailure("cannot use", "--resume", "the output is one picture", "leave it out");
    }
    output.journal.emplace(output.names.JournalName());
  }
  return NewFileWriter(std::move(output), footage, reporter);
}

RetimePlan PlanOf(const RetimeOptions& options, const CommonOptions& common, const PF_Tavros_AlgoParams& params) {
  RetimePlan plan;
  const bool only_vectors = options.files.output.empty();
  if (!only_vectors || !options.fps.empty() || !options.speed.empty() || !options.at.empty()) {
    plan.timeline = ParseTimeline(options.fps, options.speed, options.at, options.hold_last);
  }
  plan.at_cuts = options.cuts == "cut" ? AtCuts::kCut : options.cuts == "fade" ? AtCuts::kFade : AtCuts::kIgnore;
  plan.skip_repeats = options.repeated == "skip";
  plan.settings = SettingsText(options, params);
  plan.resume = options.resume;
  plan.overwrite = common.overwrite;
  return plan;
}

ExitCode Run(const RetimeOptions& options, const CommonOptions& common) {
  CheckOptions(options, common);
  const PF_Tavros_AlgoParams params = ParseFlow(options.flow);
  RetimePlan plan = PlanOf(options, common, params);
  const FileInput input = options.from_stream() ? FileInput{} : FilesOf(options, common);
  std::optional<std::int64_t> sources, count;
  if (!options.from_stream()) sources = static_cast<std::int64_t>(input.files.size());
  if (sources && *sources > 1) count = plan.timeline.Count(*sources);

  const Engine engine(common.threads);
  Reporter reporter(common.progress);
  const auto footage = options.from_stream()
                           ? std::make_unique<Footage>(std::make_unique<StreamReader>(STDIN_FILENO, "standard input"),
                                                       "standard input", options.read, options.depth, &reporter)
                           : std::make_unique<Footage>(input.files, options.read, options.depth, &reporter);
  const auto writer = WriterFor(options, common, input, count, footage.get(), &reporter);
  if (!options.vectors.empty()) plan.vectors = VectorNames(options, input, sources ? *sources - 1 : 2);
  const Flow flow(params, &reporter);
  Retimer retimer(std::move(plan), footage.get(), &flow, writer.get(), &reporter);
  reporter.Begin(static_cast<std::size_t>(writer ? count.value_or(0) : sources.value_or(1) - 1));
  const auto start = std::chrono::steady_clock::now();
  retimer.Run();
  if (common.json) {
    nlohmann::json result = retimer.Result();
    result["verb"] = "retime";
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    result["seconds"] = seconds.count();
    result["frames_per_second"] = static_cast<double>(result["frames"].size()) / seconds.count();
    PrintResult(JsonText(result));
  }
  return ExitCode::kDone;
}

void AddOutputOptions(CLI::App& app, RetimeOptions* options) {
  app.add_option("-o,--output", options->files.output,
                 "Sequence like out.%04d.png, folder, a picture where one frame is made, or - for a pipe")
      ->type_name("OUTPUT");
  app.add_option("--format", options->files.format,
                 "Format of the output: " + FormatNames() +
                     "; without it by the extension. For a pipe without it pam, one picture behind the other, and pfm "
                     "for float")
      ->type_name("NAME");
  app.add_option("--start", options->start, "Number of the first output frame; without it the input's, or 1")
      ->type_name("N");
  app.add_flag("--resume", options->resume,
               "Make only the frames that are missing or were made from other frames or options; what is there is told "
               "from a file retime.log beside the frames");
  app.add_option("--vectors", options->vectors,
                 "Write the motion from each frame to the next: .flo, or a picture (hue = direction, saturation = "
                 "length)")
      ->type_name("FILE");
  AddDepthOption(app, &options->depth, "Bits per channel of the result, 32 = float; without it as the input");
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<RetimeOptions>();
  app.add_option(
         "inputs", options->inputs,
         "Frames: two or more pictures, a sequence like shot.%04d.exr or shot.####.exr, or - for a pipe of pam, "
         "ppm, pgm or pfm pictures")
      ->required()
      ->type_name("INPUT");
  app.add_option("--fps", options->fps, "Frames per second before and after; fractions like 24000/1001 are exact")
      ->type_name("FROM:TO");
  app.add_option("--speed", options->speed, "0.5 = half as fast, twice as many frames; 2 = every other frame")
      ->type_name("S");
  app.add_option("--at", options->at, "One frame between each two, at this time from 0 (the first) to 1 (the second)")
      ->type_name("T");
  app.add_flag("--hold-last", options->hold_last, "Show the last frame as long as every other, so that time is kept");
  app.add_option("--cuts", options->cuts,
                 "Between two scenes the nearer frame is repeated, the frames cross-fade, or cuts are only told of")
      ->check(OneOf({"cut", "fade", "ignore"}))
      ->type_name("cut|fade|ignore")
      ->capture_default_str();
  app.add_option("--repeated", options->repeated,
                 "Frames that repeat the one before are kept, or made anew from the frames around")
      ->check(OneOf({"keep", "skip"}))
      ->type_name("keep|skip")
      ->capture_default_str();
  AddOutputOptions(app, options.get());
  AddFlowOptions(app, &options->flow);
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) { return Run(*options, common); };
}

}  // namespace

Verb RetimeVerb() {
  return {
      "retime",
      "Make frames between frames",
      "Changes the rate or the speed of footage: what is in two neighbouring frames is moved to where it is between "
      "them. A frame whose time is that of a source frame is that frame, bit for bit where the format stays. Times "
      "are counted in exact fractions. Cuts are found and told, and nothing is mixed across them unless --cuts "
      "says so; so are frames that repeat the one before. Premultiplied colours are divided by their alpha for the "
      "work.",
      {{"pf retime a.png b.png --at 0.5 -o middle.png", "the frame half-way between two"},
       {"pf retime 'shot.####.exr' -o 'out/####.exr' --fps 24:60", "from 24 to 60 frames per second"},
       {"pf retime 'shot.####.png' -o 'slow.####.png' --speed 0.25 --resume", "a quarter of the speed, resumable"},
       {"pf retime a.png b.png --vectors motion.flo", "the motion alone"},
       {"ffmpeg -i in.mp4 -f image2pipe -c:v pam - | pf retime - -o - --fps 25:50 | ffmpeg -f image2pipe "
        "-framerate 50 -c:v pam -i - out.mp4",
        "a film through pipes"}},
      kHasAll,
      Setup};
}

}  // namespace pftool
