#include "picture_options.h"

#include <CLI/CLI.hpp>

#include "choices.h"
#include "engine.h"

namespace pftool {

void AddAlphaOption(CLI::App& app, const char* name, Alpha* alpha, const char* help) {
  app.add_option_function<std::string>(
         name,
         [alpha](const std::string& text) { *alpha = text == "straight" ? Alpha::kStraight : Alpha::kPremultiplied; },
         help)
      ->check(OneOf({"straight", "premultiplied"}))
      ->type_name("straight|premultiplied");
}

void AddReadOptions(CLI::App& app, ReadOptions* options) {
  AddAlphaOption(app, "--alpha", &options->assume_alpha,
                 "How the input's colours are stored; without it as its format says");
  AddRgbaOption(app, options);
}

void AddRgbaOption(CLI::App& app, ReadOptions* options) {
  app.add_flag("--rgba", options->rgba_only, "Of more than four channels use R, G, B and A, and leave the others out");
}

void AddPictureFiles(CLI::App& app, PictureFiles* files) {
  app.add_option("inputs", files->inputs, "Pictures, sequences like shot.%04d.exr or shot.####.exr, or - for a pipe")
      ->required()
      ->type_name("INPUT");
  AddOutput(app, files);
}

void AddOutput(CLI::App& app, PictureFiles* files) {
  app.add_option("-o,--output", files->output, "Picture, sequence, folder, or - for a pipe")
      ->required()
      ->type_name("OUTPUT");
  app.add_option("--format", files->format,
                 "Format of the output: " + FormatNames() + "; without it by the extension, png for a pipe")
      ->type_name("NAME");
}

void AddDepthOption(CLI::App& app, int* depth, const char* help) {
  app.add_option("--depth", *depth, help)->check(OneOf({"8", "16", "32"}))->type_name("8|16|32");
}

void NoteAssumptions(const PictureFacts& facts, Reporter* reporter) {
  reporter->Note("input: " + AssumptionText(facts));
}

std::string JsonText(const nlohmann::json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

void RefuseJsonWithPicture(const PictureFiles& files, const CommonOptions& common) {
  if (!common.json || files.output != "-") return;
  throw UsageFailure("cannot write", "standard output", "it cannot take the picture and --json",
                     "write the picture to a file or leave --json out");
}

ExitCode ForEachPicture(const char* verb, const PictureFiles& files, const CommonOptions& common,
                        const PictureWork& work) {
  RefuseJsonWithPicture(files, common);
  const Inputs inputs(files.inputs, common.frames);
  return ForEachJob(verb, PairWithOutputs(inputs, files.output, common.overwrite), files, common, work);
}

ExitCode ForEachJob(const char* verb, const std::vector<Job>& jobs, const PictureFiles& files,
                    const CommonOptions& common, const PictureWork& work) {
  for (const Job& job : jobs) FormatFor(job.output, files.format);
  const Engine engine(common.threads);
  Reporter reporter(common.progress);
  reporter.Begin(jobs.size());
  nlohmann::json pictures = nlohmann::json::array();
  for (const Job& job : jobs) {
    reporter.Picture(job.input.name);
    const auto start = std::chrono::steady_clock::now();
    const WrittenFacts facts =
        work(job, {job.output, &FormatFor(job.output, files.format), common.overwrite, false}, &reporter);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    pictures.push_back({{"input", job.input.name},
                        {"output", job.output},
                        {"width", facts.width},
                        {"height", facts.height},
                        {"depth", facts.depth},
                        {"channels", facts.channels},
                        {"alpha", AlphaText(facts.alpha)},
                        {"seconds", seconds.count()}});
  }
  if (common.json) PrintResult(JsonText({{"verb", verb}, {"pictures", pictures}}));
  return ExitCode::kDone;
}

}  // namespace pftool
