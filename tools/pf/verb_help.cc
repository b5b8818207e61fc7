#include <CLI/CLI.hpp>
#include <memory>

#include "command_line.h"

namespace pftool {
namespace {

Action Setup(CLI::App& app) {
  const auto verb = std::make_shared<std::string>();
  app.add_option("verb", *verb, "Verb to explain")->type_name("VERB");
  return [verb](const CommonOptions&) {
    PrintResult(CommandLine().Help(*verb));
    return ExitCode::kDone;
  };
}

}  // namespace

Verb HelpVerb() {
  return {"help",
          "Explain the program or a verb",
          "The same as --help.",
          {{"pf help scale", "options and examples of a verb"}},
          0,
          Setup};
}

}  // namespace pftool
