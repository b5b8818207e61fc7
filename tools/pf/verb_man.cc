#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "command_line.h"

namespace pftool {
namespace {

/// Text for roff: backslashes, hyphens and leading dots would be read as commands or typeset.
std::string Roff(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const bool line_start = i == 0 || text[i - 1] == '\n';
    if (line_start && (c == '.' || c == '\'')) out += "\\&";
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
  }
  return out;
}

std::string OptionsPart(const CLI::App& app) {
  std::string text;
  for (const CLI::Option* option : app.get_options()) {
    const std::string type = option->get_type_size() ? " " + option->get_type_name() : "";
    const bool positional = option->get_positional();
    const std::string name = positional ? option->get_type_name() : option->get_name(false, true) + type;
    text += fmt::format(".TP\n.B {}\n{}\n", Roff(name), Roff(option->get_description()));
  }
  return text;
}

std::string VerbPart(const Verb& verb, const CLI::App& app) {
  std::string text =
      fmt::format(".SS \"pf {}\"\n{}.\n.PP\n{}\n", verb.name, Roff(verb.summary), Roff(verb.description));
  text += OptionsPart(app);
  text += ".PP\nExamples:\n";
  for (const Example& example : verb.examples) {
    text +=
        fmt::format(".PP\n.RS 4\n.nf\n{}\n.fi\n.RS 4\n{}\n.RE\n.RE\n", Roff(example.command), Roff(example.meaning));
  }
  return text;
}

std::string ManPage() {
  const CommandLine line;
  std::string text =
      ".TH PF 1 \"\" \"pf " PF_TOOL_VERSION
      "\" \"User commands\"\n"
      ".SH NAME\npf \\- image processing on pictures and frame sequences\n"
      ".SH SYNOPSIS\n.B pf\n.I VERB\n[\\fIoptions\\fR] \\fIINPUT\\fR... \\fB\\-o\\fR \\fIOUTPUT\\fR\n"
      ".SH DESCRIPTION\n"
      "Results go to standard output, progress and messages to standard error. Outputs are written whole or not at "
      "all: under a temporary name in their folder, then renamed. Nothing that exists is replaced without "
      "\\-\\-overwrite.\n"
      ".SH VERBS\n";
  for (const Verb& verb : Verbs()) text += VerbPart(verb, line.AppOf(verb));
  text += ".SH EXIT STATUS\n";
  for (const ExitCodeText* row = kExitCodeTexts; row->meaning; ++row) {
    text += fmt::format(".TP\n.B {}\n{}\n", row->code, Roff(row->meaning));
  }
  return text;
}

Action Setup(CLI::App&) {
  return [](const CommonOptions&) {
    PrintResult(ManPage());
    return ExitCode::kDone;
  };
}

}  // namespace

Verb ManVerb() {
  return {"man", "Print the man page", "The page covers all verbs.", {{"pf man | man -l -", "read it"}}, 0, Setup};
}

}  // namespace pftool
