#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>

#include "difference.h"
#include "numbers.h"
#include "picture_options.h"

namespace pftool {
namespace {

struct CompareOptions {
  std::string a, b, max_text = "0";
  ReadOptions read;
  double max = 0;
};

/// One compared pair.
struct Outcome {
  std::string a, b;
  bool same_size = true;
  std::string sizes;
  Difference difference;
  bool differs = false;
};

Outcome ComparePair(const CompareOptions& options, const InputName& a, const InputName& b, Reporter* reporter) {
  PictureReader reader_a(a.path, a.name, options.read), reader_b(b.path, b.name, options.read);
  const PictureFacts &fa = reader_a.facts(), &fb = reader_b.facts();
  reporter->Note(QuotedInput(a.name) + ": " + AssumptionText(fa));
  reporter->Note(QuotedInput(b.name) + ": " + AssumptionText(fb));
  Outcome outcome{a.name, b.name, true, "", {}, false};
  if (fa.width != fb.width || fa.height != fb.height) {
    outcome.same_size = false;
    outcome.sizes = fmt::format("{} x {} and {} x {}", fa.width, fa.height, fb.width, fb.height);
    outcome.differs = true;
    return outcome;
  }
  reporter->Stage("compare", 0, 1);
  outcome.difference = ComparePictures(&reader_a, &reader_b, reporter);
  outcome.differs = outcome.difference.largest > options.max;
  return outcome;
}

std::string TextOf(const Outcome& outcome, double max) {
  const std::string names = QuotedInput(outcome.a) + " and " + QuotedInput(outcome.b);
  if (!outcome.same_size) return fmt::format("{}: sizes differ, {}\n", names, outcome.sizes);
  const Difference& d = outcome.difference;
  if (d.largest == 0) return fmt::format("{}: equal\n", names);
  return fmt::format(
      "{}: largest difference {:.7g} of {:g} (channel {} at {}, {}), mean {:.6g}, PSNR {:.2f} dB, {} the limit {:g}\n",
      names, d.largest, d.full, d.channel, d.x, d.y, d.mean(), d.psnr(), outcome.differs ? "above" : "within", max);
}

nlohmann::json JsonOf(const Outcome& outcome, double max) {
  nlohmann::json value = {{"a", outcome.a}, {"b", outcome.b}, {"differs", outcome.differs}, {"max", max}};
  value["same_size"] = outcome.same_size;
  if (!outcome.same_size) return value;
  const Difference& d = outcome.difference;
  value["equal"] = d.largest == 0;
  value["full"] = d.full;
  // JSON has no infinity: an infinite difference and the PSNR of equal pictures are null.
  value["largest"] = d.largest;
  value["mean"] = d.mean();
  value["psnr_db"] = d.psnr();
  if (d.largest > 0) value["at"] = {{"x", d.x}, {"y", d.y}, {"channel", std::string(1, d.channel)}};
  return value;
}

ExitCode Run(const CompareOptions& options, const CommonOptions& common) {
  if (options.a == "-" && options.b == "-") {
    throw UsageFailure("cannot compare", "standard input", "it is named twice", "name a file");
  }
  const Inputs a({options.a}, IsSequenceName(options.a) ? common.frames : "");
  const Inputs b({options.b}, IsSequenceName(options.b) ? common.frames : "");
  if (a.files().size() != b.files().size()) {
    throw UsageFailure("cannot compare", "the sequences",
                       fmt::format("the first has {} pictures and the second {}", a.files().size(), b.files().size()),
                       "choose frames that both have with --frames");
  }
  Reporter reporter(common.progress);
  reporter.Begin(a.files().size());
  nlohmann::json pairs = nlohmann::json::array();
  bool differs = false;
  for (std::size_t i = 0; i < a.files().size(); ++i) {
    reporter.Picture(a.files()[i].name);
    const Outcome outcome = ComparePair(options, a.files()[i], b.files()[i], &reporter);
    differs |= outcome.differs;
    if (common.json) {
      pairs.push_back(JsonOf(outcome, options.max));
    } else {
      PrintResult(TextOf(outcome, options.max));
    }
  }
  if (common.json) PrintResult(JsonText({{"differs", differs}, {"pairs", pairs}}));
  return differs ? ExitCode::kDiffers : ExitCode::kDone;
}

Action Setup(CLI::App& app) {
  const auto options = std::make_shared<CompareOptions>();
  app.add_option("a", options->a, "First picture or sequence, or - for a pipe")->required()->type_name("A");
  app.add_option("b", options->b, "Second picture or sequence")->required()->type_name("B");
  app.add_option("--max", options->max_text,
                 "Largest difference that counts as equal: in steps when both files have the same integer type, else "
                 "as a fraction of full value")
      ->type_name("N")
      ->capture_default_str();
  AddReadOptions(app, &options->read);
  return [options](const CommonOptions& common) {
    options->max = ParseLimit("--max", options->max_text);
    return Run(*options, common);
  };
}

}  // namespace

Verb CompareVerb() {
  return {"compare",
          "Tell how far two pictures differ",
          "Prints the largest and the mean difference and the PSNR over all channels. Exit code 1 says that the "
          "largest difference is above --max or that the sizes differ. 16-bit files are compared in all their 65536 "
          "steps, floats as they are. A picture without alpha counts as opaque.",
          {{"pf compare a.png b.png", "exit code 0 only when they are equal"},
           {"pf compare a.png b.png --max 2 --json", "for a test program"},
           {"pf compare 'a.####.exr' 'b.####.exr' --frames 1-20", "two sequences, frame by frame"}},
          kHasJson | kHasWork,
          Setup};
}

}  // namespace pftool
