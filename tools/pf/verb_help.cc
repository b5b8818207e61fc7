#include <CLI/CLI.hpp>
#include <memory>

#include "command_line.h"

namespace pftool {
namespace {

Action Setup(CLI::App& app) {
  const auto words = std::make_shared<std::vector<std::string>>();
  app.add_option("verb", *words, "Verb to explain, of one word or two")->type_name("VERB");
  return [words](const CommonOptions&) {
    std::string verb;
    for (const std::string& word : *words) verb += (verb.empty() ? "" : " ") + word;
    PrintResult(CommandLine().Help(verb));
    return ExitCode::kDone;
  };
}

}  // namespace

Verb HelpVerb() {
  return {
      "help",
      "Explain the program or a verb",
      "The same as --help.",
      {{"pf help scale", "options and examples of a verb"}, {"pf help mask blur", "the same for a verb of a group"}},
      0,
      Setup};
}

}  // namespace pftool
