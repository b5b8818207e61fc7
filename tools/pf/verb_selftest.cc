#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "choices.h"
#include "picture_options.h"
#include "selftest/Runner.h"
#include "selftest/Targets.h"
#include "signals.h"
#include "verb.h"

namespace pftool {
namespace {

struct Wish {
  selftest::RunOptions run;
  std::string expected;
};

selftest::Expected ExpectedBy(const Wish& wish) {
  if (wish.expected.empty()) return selftest::ExpectedResults();
  std::ifstream file(wish.expected, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  if (!file) {
    throw Failure(ExitCode::kNoInput, "cannot read", QuotedInput(wish.expected), "it does not exist or is not readable",
                  "give a file that --write-expected of pf-selftest made");
  }
  try {
    return selftest::ReadExpected(text);
  } catch (const std::invalid_argument& error) {
    throw Failure(ExitCode::kBadData, "cannot use", QuotedInput(wish.expected), error.what(),
                  "give a file that --write-expected of pf-selftest made");
  }
}

selftest::Results RunAll(const Wish& wish, const std::function<void(const selftest::Row&)>& told) {
  try {
    return selftest::Run(selftest::Operations(), wish.run, told);
  } catch (const std::invalid_argument& error) {
    throw UsageFailure("cannot run", "--target", error.what(), "leave it out for the widest that there is");
  }
}

nlohmann::json JsonOf(const selftest::Results& results, const selftest::Expected& expected,
                      const selftest::Difference* first) {
  nlohmann::json rows = nlohmann::json::array();
  for (const selftest::Row& row : results.rows) {
    rows.push_back({{"operation", row.name},
                    {"depth", row.depth},
                    {"seeds", row.seeds.size()},
                    {"hash", row.hash.Text()},
                    {"as_expected", selftest::AsExpected(expected.results, row)}});
  }
  nlohmann::json value = {{"version", expected.version},
                          {"all", results.all.Text()},
                          {"as_expected", first == nullptr},
                          {"operations", rows},
                          {"outside", "what comes from the host's colour engine"}};
  if (first != nullptr) {
    value["first_difference"] = {{"operation", first->operation}, {"depth", first->depth}};
    if (first->seed >= 0) value["first_difference"]["seed"] = first->seed;
  }
  return value;
}

ExitCode Test(const Wish& wish, const CommonOptions& common) {
  const selftest::Expected expected = ExpectedBy(wish);
  if (!common.json) PrintResult(selftest::FirstLine());
  const selftest::Results results = RunAll(wish, [&](const selftest::Row& row) {
    StopIfSignalled();
    if (!common.json) PrintResult(selftest::LineOf(row, selftest::AsExpected(expected.results, row)));
  });
  selftest::Difference first;
  const bool differs = selftest::FindDifference(expected.results, results, &first);
  if (common.json) {
    PrintResult(JsonText(JsonOf(results, expected, differs ? &first : nullptr)));
  } else {
    PrintResult(selftest::OutsideLine() + selftest::LastLine(results, expected.version));
  }
  if (!differs) return ExitCode::kDone;
  fmt::print(stderr, "pf: {}\n", first.Text());
  return ExitCode::kDiffers;
}

std::vector<std::string> TargetNames() {
  std::vector<std::string> names;
  for (const selftest::Target& target : selftest::kTargets) names.push_back(target.name);
  return names;
}

Action Setup(CLI::App& app) {
  auto wish = std::make_shared<Wish>();
  app.add_option("--target", wish->run.target, "Widest vector target to use; all give the same")
      ->check(OneOf(TargetNames()))
      ->type_name("portable|baseline|ssse3|sse4|avx2|avx3|avx3_dl");
  app.add_option("--threads", wish->run.threads, "Threads to use; 0 = one per processor. Results do not depend on it")
      ->check(CLI::Range(0, 1024))
      ->type_name("N");
  app.add_option("--expected", wish->expected, "Compare with this file instead of what this version shall give")
      ->type_name("FILE");
  return [wish](const CommonOptions& common) { return Test(*wish, common); };
}

}  // namespace

Verb SelftestVerb() {
  return {"selftest",
          "Check that the library gives the bits it promises",
          "Runs every operation at every depth on fixed inputs and hashes what comes out: pixels, codes, reports. The "
          "last line is the same on every machine, platform, vector target and number of threads; a line that "
          "differs makes the exit code 1, and the first operation, depth and seed are named. What comes from the "
          "host's colour engine is not part of it.",
          {{"pf selftest", "the table, and one line to compare with another machine"},
           {"pf selftest --target portable --threads 1", "the plain code alone"},
           {"pf selftest --json", "for programs"}},
          kHasJson,
          &Setup};
}

}  // namespace pftool
